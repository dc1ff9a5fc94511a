// Reference counts of what is lent to a figure, that its use leaves nothing behind, and that what it keeps is made
// once.
#include <fmt/format.h>
#include <malloc.h>

#include <thread>

#include "check/FigureLists.h"
#include "check/Groups.h"
#include "check/Scenario.h"
#include "check/Streams.h"

namespace {

void CheckHeldMask(Checks& checks) {
    checks.Begin("a mask holds one reference to its image, and shares it with its copy");
    const auto mask = Require<IROIMask>(checks.module.New<IROI>(ClassNamed("ROIMask")));
    SizedImage first(20, 30);
    SizedImage second(20, 30);
    for (SizedImage* image : {&first, &first, &second}) {
        checks.Code(mask->SetMask(image, 0), S_OK);
        checks.Equal(first.references, image == &first ? 2 : 1);
        checks.Equal(second.references, image == &second ? 2 : 1);
    }
    SmartPtr<IUnknown> copy;
    checks.Code(mask->Replicate(copy.Receive()), S_OK);
    checks.Equal(second.references, 3);
    SmartPtr<ICIF> shared;
    checks.Code(Require<IROIMask>(copy)->GetMask(shared.Receive()), S_OK);
    checks.Expect(shared.Get() == &second, "the same image", "another");
    shared.Reset();
    copy.Reset();
    second.width = 7;
    checks.Begin("a mask's box is as large as its image is now");
    const Step box[] = {{"GetBoundingRect", {}, {25, 25, 7, 30}}};
    TakeSteps(checks, ClassNamed("ROIMask"), Require<IROI>(mask), box);
    checks.Code(mask->SetMask(nullptr, 0), S_OK);
    checks.Equal(second.references, 1);
}

void CheckHeldGeometry(Checks& checks) {
    checks.Begin("a shape holds one reference to its geometry");
    BoxGeometry geometry;
    {
        const auto shape = Require<IROIShape>(checks.module.New<IROI>(ClassNamed("ROIShape")));
        checks.Code(shape->SetGeometry(&geometry), S_OK);
        checks.Equal(geometry.references, 2);
        double x = 0;
        double y = 0;
        checks.Code(shape->GetCenter(&x, &y), S_OK);
        checks.Code(shape->GetBoundingSize(&x, &y), S_OK);
        checks.Equal(geometry.references, 2);
        checks.Code(shape->SetGeometry(&geometry), S_OK);
        checks.Equal(geometry.references, 2);
    }
    checks.Equal(geometry.references, 1);
}

void CheckBorrowedStream(Checks& checks, const ClassContract& figure) {
    if (!figure.Answers("IDataPersist")) {
        return;
    }
    checks.Begin(fmt::format("{} gives a stream and a list back as it got them", figure.name));
    const auto roi = NewTypical(checks, figure);
    PlainStream plain;
    const auto persist = Require<IDataPersist>(roi);
    persist->Save(&plain, 0);
    persist->Load(&plain, 0);
    checks.Equal(plain.references, 1);
    const auto list = MakeList({{"CenterX", 1.0}});
    Require<IParametricObject>(roi)->SetParameters(list.Get());
    checks.Equal(list->AddRef(), 2);
    list->Release();
}

template <class Call>
void ExpectNoneMade(Checks& checks, const ClassContract& figure, const char* what, Call call) {
    checks.Begin(fmt::format("{} of {} keeps the descriptors of what it makes", what, figure.name));
    checks.Code(call(), S_OK);
    const int made = checks.module.MadeDescriptors();
    checks.Code(call(), S_OK);
    const int again = checks.module.MadeDescriptors() - made;
    checks.Expect(again == 0, "none made again", std::to_string(again));
}

// Those of strings, variants, collections and lists are made once, and the module keeps them.
void CheckKeptDescriptors(Checks& checks, const ClassContract& figure) {
    checks.Begin(fmt::format("{} is created", figure.name));
    const auto roi = NewTypical(checks, figure);
    if (const auto specify = SmartPtr<IUIPropertyPageSpecify>::QueryFrom(roi.Get())) {
        ExpectNoneMade(checks, figure, "GetPages(0)", [&] {
            SmartPtr<INamedCollection> pages;
            return specify->GetPages(0, pages.Receive(), nullptr);
        });
    }
    if (const auto parametric = SmartPtr<IParametricObject>::QueryFrom(roi.Get())) {
        ExpectNoneMade(checks, figure, "GetParameters(0)", [&] {
            SmartPtr<INamedCollection> list;
            return parametric->GetParameters(list.Receive(), 0);
        });
    }
    if (const auto persist = SmartPtr<IDataPersist>::QueryFrom(roi.Get())) {
        const Storage storage;
        const auto folder = storage.Folder();
        ExpectNoneMade(checks, figure, "Save(a folder, 0)", [&] { return persist->Save(folder.Get(), 0); });
        ExpectNoneMade(checks, figure, "Load(a folder, 0)", [&] { return persist->Load(folder.Get(), 0); });
    }
}

// Everything that hands objects out or takes some in.
void Use(Checks& checks, const ClassContract& figure) {
    const auto roi = NewTypical(checks, figure);
    Observe(roi, figure);
    for (const char* operation : {"Replicate", "GetMask", "GetMask"}) {
        Call(*roi, figure.At(operation), {});
    }
    if (figure.Answers("IParametricObject")) {
        SetParametersOf(roi, ParametersOf(roi));
    }
    void* refused = nullptr;
    checks.module.Create(figure, __IIDOfc("INoSuchInterface"), &refused);
    if (figure.Answers("IUIPropertyPageSpecify")) {
        SmartPtr<INamedCollection> pages;
        Require<IUIPropertyPageSpecify>(roi)->GetPages(0, pages.Receive(), nullptr);
    }
    if (figure.Answers("IDataPersist")) {
        const Storage storage;
        const auto persist = Require<IDataPersist>(roi);
        for (const auto& stream : {storage.Folder(), storage.Element(), storage.Parent()}) {
            persist->Save(stream.Get(), 0);
            persist->Load(stream.Get(), 0);
        }
    }
}

// Counts that are not atomic lose some of what two threads do at once.
void CheckAtomicCount(Checks& checks, const ClassContract& figure) {
    constexpr int kThreads = 4;
    constexpr int kTimes = 100000;
    checks.Begin(fmt::format("references to {} are counted from several threads at once", figure.name));
    const auto object = checks.module.New<IUnknown>(figure);
    const auto fromAll = [&](auto count) {
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                for (int n = 0; n < kTimes; ++n) {
                    count();
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    };
    fromAll([&] { object->AddRef(); });
    checks.Equal(object->AddRef(), kThreads * kTimes + 2);
    fromAll([&] { object->Release(); });
    checks.Equal(object->Release(), 1);
}

void CheckLastRelease(Checks& checks, const ClassContract& figure) {
    checks.Begin(fmt::format("the last Release of {} answers 0", figure.name));
    IUnknown* const object = checks.module.New<IUnknown>(figure).Detach();
    checks.Equal(object->Release(), 0);
}

std::size_t BytesInUse() { return mallinfo2().uordblks; }

// Memory is counted over many rounds: what the allocator keeps at hand varies a little, what leaks adds up.
void CheckNothingStays(Checks& checks, const ClassContract& figure) {
    constexpr int kRounds = 64;
    constexpr std::size_t kSmallestLeak = 16;
    checks.Begin(fmt::format("using {} leaves no object and no memory behind", figure.name));
    for (int i = 0; i < 4; ++i) {
        Use(checks, figure);
    }
    const int objects = checks.module.LiveFrameworkObjects();
    const std::size_t bytes = BytesInUse();
    for (int i = 0; i < kRounds; ++i) {
        Use(checks, figure);
    }
    checks.Equal(checks.module.LiveFrameworkObjects(), objects);
    const std::size_t now = BytesInUse();
    checks.Expect(now < bytes + kRounds * kSmallestLeak, fmt::format("{} bytes in use", bytes), fmt::format("{}", now));
}

}  // namespace

void CheckReferences(Checks& checks) {
    checks.Try([&] { CheckHeldMask(checks); });
    checks.Try([&] { CheckHeldGeometry(checks); });
    ForEachClass(checks, [&](const ClassContract& figure) { CheckBorrowedStream(checks, figure); });
    ForEachClass(checks, [&](const ClassContract& figure) { CheckKeptDescriptors(checks, figure); });
    ForEachClass(checks, [&](const ClassContract& figure) { CheckNothingStays(checks, figure); });
    // Threads leave memory of their own behind.
    ForEachClass(checks, [&](const ClassContract& figure) {
        CheckLastRelease(checks, figure);
        CheckAtomicCount(checks, figure);
    });
}

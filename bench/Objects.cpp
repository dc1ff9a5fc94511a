// What do creating, copying and asking for an interface cost beside what the language does itself?
#include <dlfcn.h>

#include <array>
#include <memory>

#include "bench/Questions.h"
#include "bench/RatioTable.h"
#include "contract/Module.h"

namespace {

// What an object of the language's own would hold in a rectangle's place.
struct Plain {
    Plain() = default;
    Plain(const Plain&) = default;
    Plain& operator=(const Plain&) = default;
    virtual ~Plain() = default;

    std::array<double, 10> numbers{50.0, 50.0, 0.0, 1.0, 0.0, 50.0, 50.0};
};

ComponentCreator CreatorOf(tagREFString className) {
    void* const module = dlopen("./ROI.so", RTLD_NOW);
    const auto createFunction = reinterpret_cast<CreateFunctionEntry>(dlsym(module, kCreateFunctionSymbol));
    ComponentCreator creator = nullptr;
    createFunction(className, &creator);
    return creator;
}

// A thousand objects are alive; the oldest goes and a new one takes its place.
template <class Owner, class Make>
Body MadeAnew(Make make) {
    const auto alive = std::make_shared<std::array<Owner, 1000>>();
    for (Owner& owner : *alive) {
        owner = make();
    }
    return [alive, make](benchmark::State& state) {
        std::size_t next = 0;
        for (auto _ : state) {
            (*alive)[next] = make();
            benchmark::ClobberMemory();
            next = next + 1 < alive->size() ? next + 1 : 0;
        }
    };
}

void AddCreation() {
    const ComponentCreator create = CreatorOf(Text(L"ROIRectangle"));
    Row("create and release, rectangle")
        .Ours(MadeAnew<SmartPtr<IROI>>([create] {
            SmartPtr<IROI> figure;
            create(nullptr, &IidOf<IROI>(), figure.ReceiveVoid());
            return figure;
        }))
        .Limit("new and delete of an object with one virtual", 2.0,
               MadeAnew<std::unique_ptr<Plain>>([] { return std::make_unique<Plain>(); }));
}

void AddCopy(const host::Session& session, const std::string& operation, const char* className) {
    const auto figure = SmartPtr<IReplicableObject>::QueryFrom(session.Create("figure", className).roi.Get());
    Row(operation)
        .Ours(Repeat([figure] {
            SmartPtr<IUnknown> copy;
            figure->Replicate(copy.Receive());
            return copy.Get();
        }))
        .Limit("std::make_shared copy", 2.0,
               Repeat([original = std::make_shared<Plain>()] { return std::make_shared<Plain>(*original).get(); }));
}

Body AddRefAndRelease(SmartPtr<IROI> figure) {
    return Repeat([figure] {
        figure->AddRef();
        return figure->Release();
    });
}

Body Queried(SmartPtr<IROI> figure, const IID& iid) {
    return Repeat([figure, iid] {
        SmartPtr<IUnknown> answer;
        return figure->QueryInterface(iid, answer.ReceiveVoid());
    });
}

void AddQuery(const host::Session& session) {
    const SmartPtr<IROI> figure = session.Create("rectangle", "ROIRectangle").roi;
    constexpr const char* kLimit = "AddRef and Release";
    Row("QueryInterface and Release, rectangle's first identifier")
        .Ours(Queried(figure, IidOf<IObjectInfo>()))
        .Limit(kLimit, 1.3, AddRefAndRelease(figure));
    Row("QueryInterface and Release, rectangle's last identifier")
        .Ours(Queried(figure, IidOf<IGeometry>()))
        .Limit(kLimit, 2.0, AddRefAndRelease(figure));
}

}  // namespace

void AddObjects(const host::Session& session) {
    AddCreation();
    AddCopy(session, "clone and release, rectangle", "ROIRectangle");
    AddCopy(session, "clone and release, donut", "ROIDonut");
    AddQuery(session);
}

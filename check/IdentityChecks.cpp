// What every class answers and refuses: the classes by the names of all interfaces.
#include <fmt/format.h>

#include "check/Groups.h"
#include "check/Scenario.h"
#include "framework/support/Utf8.h"

namespace {

IID IidNamed(const char* interfaceName) { return __IIDOfc(interfaceName); }

void CheckCount(Checks& checks, IUnknown& object) {
    checks.Equal(object.AddRef(), 2);
    checks.Equal(object.Release(), 1);
}

// An answer is the same object with one reference more; a refusal empties the output and leaves none.
void CheckQuery(Checks& checks, const ClassContract& figure, IUnknown& object, const char* name) {
    const bool answers = figure.Answers(name);
    checks.Begin(fmt::format("{} {} '{}'", figure.name, answers ? "answers" : "refuses", name));
    void* out = &object;
    const Result code = object.QueryInterface(IidNamed(name), &out);
    checks.Code(code, answers ? S_OK : E_NOINTERFACE);
    checks.Expect((out != nullptr) == answers, answers ? "an interface" : "null", answers ? "null" : "a pointer");
    if (code == S_OK && out != nullptr) {
        const auto answer = SmartPtr<IUnknown>::Adopt(static_cast<IUnknown*>(out));
        const auto identity = SmartPtr<IUnknown>::QueryFrom(answer.Get());
        checks.Expect(identity.Get() == &object, "the object's one IUnknown", "another");
        checks.Equal(answer->AddRef(), 4);
        checks.Equal(answer->Release(), 3);
    }
    CheckCount(checks, object);
}

// Every interface has a table of its own: through each, the object must answer alike.
void CheckThrough(Checks& checks, const ClassContract& figure, IUnknown& object, const char* through) {
    void* face = nullptr;
    if (object.QueryInterface(IidNamed(through), &face) != S_OK) {
        return;
    }
    const auto owner = SmartPtr<IUnknown>::Adopt(static_cast<IUnknown*>(face));
    for (const char* name : InterfaceNames()) {
        checks.Begin(fmt::format("{} answers alike for {} through {}", figure.name, name, through));
        SmartPtr<IUnknown> direct;
        SmartPtr<IUnknown> indirect;
        const Result expected = object.QueryInterface(IidNamed(name), direct.ReceiveVoid());
        checks.Code(owner->QueryInterface(IidNamed(name), indirect.ReceiveVoid()), expected);
        checks.Expect(indirect.Get() == direct.Get(), "the same pointer", "another");
    }
}

void CheckCreatedAs(Checks& checks, const ClassContract& figure, const char* name) {
    const bool answers = figure.Answers(name);
    checks.Begin(fmt::format("{} {} created as {}", figure.name, answers ? "is" : "is not", name));
    int preset = 0;
    void* out = &preset;
    checks.Code(checks.module.Create(figure, IidNamed(name), &out, &preset), answers ? S_OK : E_NOINTERFACE);
    checks.Expect((out != nullptr) == answers, answers ? "an object" : "null", answers ? "null" : "a pointer");
    if (answers && out != nullptr && out != &preset) {
        const auto object = SmartPtr<IUnknown>::Adopt(static_cast<IUnknown*>(out));
        CheckCount(checks, *object);
    }
}

void CheckSharedPointer(Checks& checks, const ClassContract& figure, IUnknown& object) {
    checks.Begin(fmt::format("the IROI of {} and what derives from it are one pointer", figure.name));
    const auto roi = SmartPtr<IROI>::QueryFrom(&object);
    for (const char* name : figure.answers) {
        void* out = nullptr;
        if (std::string_view(name).rfind("IROI", 0) == 0 && object.QueryInterface(IidNamed(name), &out) == S_OK) {
            checks.Expect(out == roi.Get(), "the IROI", name);
            object.Release();
        }
    }
}

void CheckName(Checks& checks, const ClassContract& figure, IUnknown& object) {
    checks.Begin(fmt::format("{} tells its registered name", figure.name));
    const auto info = SmartPtr<IObjectInfo>::QueryFrom(&object);
    tagREFString name{0, nullptr};
    checks.Code(info ? info->GetName(99, &name) : E_NOINTERFACE, S_OK);
    checks.Equal(ToUtf8(name), figure.name);
}

}  // namespace

void CheckIdentities(Checks& checks) {
    ForEachClass(checks, [&](const ClassContract& figure) {
        checks.Begin(fmt::format("{} is created", figure.name));
        const auto object = checks.module.New<IUnknown>(figure);
        CheckCount(checks, *object);
        for (const char* name : InterfaceNames()) {
            CheckQuery(checks, figure, *object, name);
            CheckCreatedAs(checks, figure, name);
        }
        for (const char* name : {"", "IROIX", "IROIRectangleEx", "INoSuchInterface"}) {
            CheckQuery(checks, figure, *object, name);
        }
        for (const char* name : figure.answers) {
            CheckThrough(checks, figure, *object, name);
            CheckCount(checks, *object);
        }
        CheckSharedPointer(checks, figure, *object);
        CheckName(checks, figure, *object);
    });
}

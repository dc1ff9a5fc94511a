// The module where no framework is found: what needs it fails, alone and aloud, and nothing crashes.
#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "check/Groups.h"
#include "check/TestedModule.h"

namespace {

// What the module prints on standard output meanwhile.
template <class Action>
std::string PrintedDuring(Action action) {
    std::fflush(stdout);
    const int usual = dup(STDOUT_FILENO);
    std::FILE* const caught = std::tmpfile();
    if (caught == nullptr) {
        throw CheckFailed{"a temporary file", "none"};
    }
    dup2(fileno(caught), STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(usual, STDOUT_FILENO);
    close(usual);
    std::rewind(caught);
    std::string printed;
    for (int c = 0; (c = std::fgetc(caught)) != EOF;) {
        printed += static_cast<char>(c);
    }
    std::fclose(caught);
    return printed;
}

constexpr const char* kSibling = "./CollectionsEx.so";

// What is said of every try to open the sibling: nothing where it opens, though it has no entry point.
std::string MissingLine() {
    return dlopen(kSibling, RTLD_NOW) == nullptr
               ? fmt::format("Module not available {}, error {}\n", kSibling, dlerror())
               : "";
}

bool IsRepeated(const std::string& text, const std::string& line) {
    std::size_t told = 0;
    while (!line.empty() && text.compare(told, line.size(), line) == 0) {
        told += line.size();
    }
    return told == text.size() && line.empty() == text.empty();
}

// Calls what hands an object out; it must fail, give none, and say on every try which module is missing.
template <class Call>
void ExpectRefusal(Checks& checks, const ClassContract& figure, const char* operation, Call call) {
    std::ptrdiff_t before = -1;
    for (const char* time : {"first", "second"}) {
        checks.Begin(fmt::format("{} of {} fails without a framework, the {} time", operation, figure.name, time));
        Result code = S_OK;
        const std::string printed = PrintedDuring([&] { code = call(); });
        checks.Expect(Failed(code), "a failure", CodeText(code));
        const std::string line = MissingLine();
        checks.Expect(IsRepeated(printed, line), '"' + line + '"', '"' + printed + '"');
        const auto tries = std::count(printed.begin(), printed.end(), '\n');
        checks.Expect(before < 0 || tries == before, fmt::format("{} tries, as before", before),
                      fmt::format("{}", tries));
        before = tries;
    }
}

void CheckClass(Checks& checks, const ClassContract& figure) {
    checks.Begin(fmt::format("{} is created without a framework", figure.name));
    const auto roi = checks.module.New<IROI>(figure);
    SmartPtr<IUnknown> out;
    if (const auto parametric = SmartPtr<IParametricObject>::QueryFrom(roi.Get())) {
        ExpectRefusal(checks, figure, "GetParameters", [&] {
            SmartPtr<INamedCollection> list;
            const Result code = parametric->GetParameters(list.Receive(), 0);
            return list ? S_OK : code;
        });
    }
    if (const auto specify = SmartPtr<IUIPropertyPageSpecify>::QueryFrom(roi.Get())) {
        ExpectRefusal(checks, figure, "GetPages", [&] {
            SmartPtr<INamedCollection> pages;
            const Result code = specify->GetPages(0, pages.Receive(), nullptr);
            return pages ? S_OK : code;
        });
    }
    if (const auto rectangle = SmartPtr<IROIRectangle>::QueryFrom(roi.Get())) {
        rectangle->put_Roll(1);
    }
    const std::string_view name = figure.name;
    if (name == "ROIRectangle" || name == "ROIDonut" || name == "ROIArcDonut") {
        ExpectRefusal(checks, figure, "GetMask", [&] {
            SmartPtr<ICIF> mask;
            const Result code = roi->GetMask(mask.Receive());
            return mask ? S_OK : code;
        });
    }
}

}  // namespace

void CheckAlone(Checks& checks) {
    const auto checkClasses = [&] {
        for (const ClassContract& figure : ClassContracts()) {
            if (std::string_view(figure.name) != "ROIMask") {  // It may refuse to be created.
                checks.Try([&] { CheckClass(checks, figure); });
            }
        }
    };
    checkClasses();
    // Any library without the entry point in the sibling's place.
    Dl_info library = {};
    if (dladdr(reinterpret_cast<void*>(&dlopen), &library) != 0 && symlink(library.dli_fname, kSibling) == 0) {
        checkClasses();
        unlink(kSibling);
    }
}

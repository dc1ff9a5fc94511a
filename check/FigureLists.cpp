#include "check/FigureLists.h"

#include <fmt/format.h>

std::vector<NamedValue> ParametersOf(const SmartPtr<IROI>& roi, int flags) {
    SmartPtr<INamedCollection> list;
    const Result code = Require<IParametricObject>(roi)->GetParameters(list.Receive(), flags);
    if (code != S_OK || !list) {
        throw CheckFailed{"a parameter list", CodeText(code)};
    }
    return Entries(*list);
}

Result SetParametersOf(const SmartPtr<IROI>& roi, const std::vector<NamedValue>& values) {
    const SmartPtr<INamedCollection> list = MakeList(values);
    if (!list) {
        throw CheckFailed{"a framework that makes a list", "none"};
    }
    return Require<IParametricObject>(roi)->SetParameters(list.Get());
}

std::string ParametersText(const std::vector<NamedValue>& values) {
    std::string text;
    for (const NamedValue& value : values) {
        text += (text.empty() ? "" : " ") + value.AsAssignment();
        if (value.presentationKind != 0) {
            text += fmt::format(" (kind {:#x})", value.presentationKind);
        }
    }
    return text;
}

#include "host/check/ParameterList.h"

#include <fmt/format.h>

#include "runtime/Components.h"

namespace {

SmartPtr<IUnknown> ObjectOf(const NamedValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.value)) {
        const std::wstring wide(text->begin(), text->end());
        return CreateStringOf(RecordOf(wide));
    }
    SmartPtr<IVariant> variant = CREFString::CreateVariant();
    if (!variant) {
        return nullptr;
    }
    if (const auto* number = std::get_if<double>(&value.value)) {
        variant->SetDouble(*number);
    } else {
        variant->SetInteger(std::get<int>(value.value));
    }
    return variant;
}

}  // namespace

SmartPtr<INamedCollection> MakeList(const std::vector<NamedValue>& values) {
    SmartPtr<INamedCollection> list = BASEObject::CreateParameters();
    for (const NamedValue& value : values) {
        const std::wstring wide(value.name.begin(), value.name.end());
        const SmartPtr<IString> name = CreateStringOf(RecordOf(wide));
        const SmartPtr<IUnknown> object = ObjectOf(value);
        if (!list || !name || !object) {
            throw CheckFailed{"a framework that makes a list", "none"};
        }
        list->Add(name.Get(), object.Get(), 0, value.presentationKind);
    }
    return list;
}

std::vector<NamedValue> ParametersOf(const SmartPtr<IROI>& roi) {
    SmartPtr<INamedCollection> list;
    const Result code = Require<IParametricObject>(roi)->GetParameters(list.Receive(), 0);
    if (code != S_OK || !list) {
        throw CheckFailed{"a parameter list", CodeText(code)};
    }
    return Entries(*list);
}

Result SetParametersOf(const SmartPtr<IROI>& roi, const std::vector<NamedValue>& values) {
    return Require<IParametricObject>(roi)->SetParameters(MakeList(values).Get());
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

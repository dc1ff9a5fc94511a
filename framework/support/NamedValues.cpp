#include "framework/support/NamedValues.h"

#include <fmt/format.h>

#include "contract/Components.h"
#include "contract/Extensions.h"
#include "contract/Presentation.h"
#include "framework/support/Utf8.h"

namespace {

std::string TextOf(IUnknown* string) {
    tagREFString text{0, nullptr};
    if (const auto held = SmartPtr<IString>::QueryFrom(string)) {
        held->GetText(&text.text, &text.length);
    }
    return ToUtf8(text);
}

std::variant<int, double, std::string> ValueOf(IUnknown* item) {
    const auto variant = SmartPtr<IVariant>::QueryFrom(item);
    if (!variant) {
        return TextOf(item);
    }
    if (variant->HasString() != 0) {
        SmartPtr<IUnknown> held;
        variant->GetString(held.Receive());
        return TextOf(held.Get());
    }
    if (variant->GetKind() == kVariantInteger) {
        return variant->GetInteger();
    }
    return variant->GetDouble();
}

NamedValue Entry(INamedCollection& list, IListing& listing, int index) {
    tagREFString name{0, nullptr};
    listing.GetName(index, &name);
    SmartPtr<IUnknown> item;
    list.GetItem(index, item.Receive());
    return {ToUtf8(name), ValueOf(item.Get()), listing.GetPresentationKind(index)};
}

SmartPtr<IUnknown> ObjectOf(const NamedValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.value)) {
        return CreateStringOf(Text(FromUtf8(*text)));
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

bool NamedValue::IsState() const noexcept {
    return presentationKind != kPresentShown && presentationKind != kPresentAction;
}

std::string NamedValue::AsAssignment() const {
    return std::visit([&](const auto& held) { return fmt::format("{}={}", name, held); }, value);
}

std::vector<NamedValue> Entries(INamedCollection& list) {
    std::vector<NamedValue> entries;
    if (const auto listing = SmartPtr<IListing>::QueryFrom(&list)) {
        for (int i = 0; i < listing->GetCount(); ++i) {
            entries.push_back(Entry(list, *listing, i));
        }
    }
    return entries;
}

SmartPtr<INamedCollection> MakeList(const std::vector<NamedValue>& values) {
    SmartPtr<INamedCollection> list = BASEObject::CreateParameters();
    for (const NamedValue& value : values) {
        const SmartPtr<IString> name = CreateStringOf(Text(FromUtf8(value.name)));
        const SmartPtr<IUnknown> object = ObjectOf(value);
        if (!list || !name || !object) {
            return nullptr;
        }
        list->Add(name.Get(), object.Get(), 0, value.presentationKind);
    }
    return list;
}

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

bool IsText(IVariant* variant) noexcept { return variant == nullptr || variant->HasString() != 0; }

std::variant<int, double, std::string> ValueOf(IUnknown* item) {
    const auto variant = SmartPtr<IVariant>::QueryFrom(item);
    if (!variant) {
        return TextOf(item);
    }
    if (IsText(variant.Get())) {
        SmartPtr<IUnknown> held;
        variant->GetString(held.Receive());
        return TextOf(held.Get());
    }
    if (variant->GetKind() == kVariantInteger) {
        return variant->GetInteger();
    }
    return variant->GetDouble();
}

// The entries of a list whose items are wanted.
template <class IsWanted>
std::vector<NamedValue> EntriesThat(INamedCollection& list, IsWanted isWanted) {
    std::vector<NamedValue> entries;
    const auto listing = SmartPtr<IListing>::QueryFrom(&list);
    const int count = listing ? listing->GetCount() : 0;
    for (int i = 0; i < count; ++i) {
        SmartPtr<IUnknown> item;
        list.GetItem(i, item.Receive());
        if (isWanted(item.Get())) {
            tagREFString name{0, nullptr};
            listing->GetName(i, &name);
            entries.push_back({ToUtf8(name), ValueOf(item.Get()), listing->GetPresentationKind(i)});
        }
    }
    return entries;
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
    return EntriesThat(list, [](IUnknown*) { return true; });
}

std::vector<NamedValue> TextEntries(INamedCollection& list) {
    return EntriesThat(list, [](IUnknown* item) { return IsText(SmartPtr<IVariant>::QueryFrom(item).Get()); });
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

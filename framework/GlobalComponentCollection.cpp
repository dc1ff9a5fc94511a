#include "framework/GlobalComponentCollection.h"

#include <algorithm>

#include "contract/Components.h"
#include "framework/ComponentString.h"

namespace {

constexpr int kCount = static_cast<int>(kFrameworkClasses.size());

// The position of a class, or -1.
int IndexOf(tagREFString className) noexcept {
    const auto found = std::find_if(kFrameworkClasses.begin(), kFrameworkClasses.end(),
                                    [&](const FrameworkClass& entry) { return entry.className == className; });
    return found != kFrameworkClasses.end() ? static_cast<int>(found - kFrameworkClasses.begin()) : -1;
}

// The class at an index, or null.
const FrameworkClass* At(int index) noexcept {
    return index >= 0 && index < kCount ? &kFrameworkClasses[static_cast<std::size_t>(index)] : nullptr;
}

}  // namespace

Result CGlobalComponentCollection::GetItem(int index, IUnknown** item) noexcept {
    if (item == nullptr) {
        return Misuse("IComponentCollection::GetItem", "null output");
    }
    *item = nullptr;
    const FrameworkClass* entry = At(index);
    if (entry == nullptr) {
        return E_INVALIDARG;
    }
    auto descriptor = MakeObject<IComponentString, CComponentString>();
    if (!descriptor || Failed(descriptor->SetString(kDescriptorModuleName, entry->moduleName)) ||
        Failed(descriptor->SetString(kDescriptorClassName, entry->className))) {
        return E_FAIL;
    }
    *item = descriptor.Detach();
    return S_OK;
}

Result CGlobalComponentCollection::FindByName(IString* name, int* index) noexcept {
    if (name == nullptr || index == nullptr) {
        return Misuse("IComponentCollection::FindByName", "null argument");
    }
    tagREFString text{0, nullptr};
    name->GetText(&text.text, &text.length);
    *index = IndexOf(text);
    return *index >= 0 ? S_OK : E_FAIL;
}

Result CGlobalComponentCollection::CreateComponent(tagREFString className, const IID& iid, void** out) noexcept {
    if (out == nullptr) {
        return Misuse("IComponentCollection::CreateComponent", "null output");
    }
    *out = nullptr;
    const int index = IndexOf(className);
    if (index < 0) {
        return E_FAIL;
    }
    ComponentCreator& create = m_creators[static_cast<std::size_t>(index)];
    if (create == nullptr) {
        create = MODULECreateFunction(At(index)->moduleName, className);
    }
    IID wanted = iid;
    return create != nullptr ? create(nullptr, &wanted, out) : E_FAIL;
}

int CGlobalComponentCollection::GetCount() noexcept { return kCount; }

Result CGlobalComponentCollection::GetEntryName(int index, tagREFString* name) noexcept {
    if (name == nullptr) {
        return Misuse("IListing::GetName", "null output");
    }
    const FrameworkClass* entry = At(index);
    *name = entry != nullptr ? entry->className : tagREFString{0, nullptr};
    return entry != nullptr ? S_OK : E_INVALIDARG;
}

int CGlobalComponentCollection::GetPresentationKind(int /*index*/) noexcept { return 0; }

#include "framework/ParametersCreatable.h"

#include "framework/CreatableString.h"
#include "framework/ParameterBlock.h"
#include "framework/ParameterValue.h"

namespace {

void MakeRoom(ParameterEntries* entries) {
    if (entries->empty()) {
        entries->reserve(8);  // Most figures have as many parameters or fewer.
    }
}

}  // namespace

const ParameterEntry* CParametersCreatable::At(int index) const noexcept {
    const bool inside = index >= 0 && static_cast<std::size_t>(index) < m_entries.size();
    return inside ? &m_entries[static_cast<std::size_t>(index)] : nullptr;
}

Result CParametersCreatable::GetItem(int index, IUnknown** value) noexcept {
    if (value == nullptr) {
        return Misuse("INamedCollection::GetItem", "null output");
    }
    const ParameterEntry* entry = At(index);
    *value = entry != nullptr ? SmartPtr<IUnknown>(entry->item).Detach() : nullptr;
    return entry != nullptr ? S_OK : E_INVALIDARG;
}

Result CParametersCreatable::FindByName(IString* name, int* index) noexcept {
    if (name == nullptr || index == nullptr) {
        return Misuse("INamedCollection::FindByName", "null argument");
    }
    tagREFString wanted{0, nullptr};
    name->GetText(&wanted.text, &wanted.length);
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].name == wanted) {
            *index = static_cast<int>(i);
            return S_OK;
        }
    }
    *index = -1;
    return E_FAIL;
}

Result CParametersCreatable::Add(IString* name, IUnknown* value, int reserved, int presentationKind) noexcept {
    if (name == nullptr || value == nullptr) {
        return Misuse("INamedCollection::Add", "null argument");
    }
    if (reserved != 0) {
        return Misuse("INamedCollection::Add", "the third argument is not 0");
    }
    return Guarded("INamedCollection::Add", [&] {
        tagREFString text{0, nullptr};
        if (Failed(name->GetText(&text.text, &text.length))) {
            return E_FAIL;
        }
        MakeRoom(&m_entries);
        ParameterEntry& entry = m_entries.emplace_back(SmartPtr<IUnknown>::Share(value), presentationKind);
        if (!entry.name.Assign(text.text, text.length)) {
            m_entries.pop_back();
            return E_FAIL;
        }
        return S_OK;
    });
}

int CParametersCreatable::GetCount() noexcept { return static_cast<int>(m_entries.size()); }

Result CParametersCreatable::GetEntryName(int index, tagREFString* name) noexcept {
    if (name == nullptr) {
        return Misuse("IListing::GetName", "null output");
    }
    const ParameterEntry* entry = At(index);
    *name = entry != nullptr ? static_cast<const tagREFString&>(entry->name) : tagREFString{0, nullptr};
    return entry != nullptr ? S_OK : E_INVALIDARG;
}

int CParametersCreatable::GetPresentationKind(int index) noexcept {
    const ParameterEntry* entry = At(index);
    return entry != nullptr ? entry->presentationKind : 0;
}

// ---------------------------------------------------------------------------------------------------
// Structured streams

namespace {

Result SaveElements(const ParameterEntries& entries, IXMLStream& stream) {
    // All values before the first is written, so that a list that cannot be stored leaves no half.
    std::vector<ParameterValue> values(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!ReadItem(entries[i].item.Get(), &values[i])) {
            return E_FAIL;
        }
    }
    const auto name = MakeObject<CCreatableString, CCreatableString>();
    const auto value = MakeObject<CCreatableString, CCreatableString>();
    if (!name || !value) {
        return E_FAIL;
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const tagREFString nameText = entries[i].name;
        if (Failed(name->SetText(nameText.length, nameText.text)) || !WriteText(values[i], *value) ||
            Failed(stream.WriteValue(name.Get(), 0, value.Get(), 0))) {
            return E_FAIL;
        }
    }
    return S_OK;
}

// Calls `visit(name, text, child)` for every child element until it fails.
template <class Visit>
Result ForEachChild(IXMLStream& stream, Visit visit) {
    Result code = S_OK;
    tagREFString name{0, nullptr};
    while (Succeeded(code) && Succeeded(stream.NextChild(&name))) {
        tagREFString text{0, nullptr};
        SmartPtr<IUnknown> child;
        code = stream.OpenChild(name, &text, child.Receive(), 1);
        if (Succeeded(code)) {
            code = visit(name, text, child.Get());
        }
    }
    return code;
}

// Adds an element's value; a failure leaves the entries of no use. An element without text is no value but an object
// without any.
Result AddElement(tagREFString name, tagREFString text, IUnknown* child, ParameterEntries* entries) {
    const auto string = SmartPtr<IString>::QueryFrom(text.length > 0 ? nullptr : child);
    if (string) {
        string->GetText(&text.text, &text.length);
    }
    if (text.length <= 0) {
        return S_OK;
    }
    MakeRoom(entries);
    ParameterEntry& entry = entries->emplace_back(ItemFromText(text));
    return entry.item && entry.name.Assign(name.text, name.length) ? S_OK : E_FAIL;
}

Result LoadElements(IXMLStream& stream, ParameterEntries* entries) {
    return ForEachChild(stream, [entries](tagREFString name, tagREFString text, IUnknown* child) {
        bool isEntry = false;
        Result code = S_OK;
        if (const auto elements = SmartPtr<IXMLStream>::QueryFrom(child)) {
            code = ForEachChild(*elements, [&](tagREFString inner, tagREFString innerText, IUnknown* innerChild) {
                isEntry = true;
                return AddElement(inner, innerText, innerChild, entries);
            });
        }
        return isEntry || Failed(code) ? code : AddElement(name, text, child, entries);
    });
}

}  // namespace

// ---------------------------------------------------------------------------------------------------
// Persistence

Result CParametersCreatable::Save(IDataStream* stream, int /*flags*/) noexcept {
    if (stream == nullptr) {
        return Misuse("IDataPersist::Save", "null stream");
    }
    return Guarded("IDataPersist::Save", [&] {
        if (const auto xml = SmartPtr<IXMLStream>::QueryFrom(stream)) {
            return SaveElements(m_entries, *xml);
        }
        const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream);
        return folder ? SaveBlock(m_entries, *folder) : E_FAIL;
    });
}

Result CParametersCreatable::Load(IDataStream* stream, int flags) noexcept {
    if (stream == nullptr || flags != 0) {
        return Misuse("IDataPersist::Load", stream == nullptr ? "null stream" : "flags are not 0");
    }
    return Guarded("IDataPersist::Load", [&] {
        ParameterEntries loaded;
        Result code = E_FAIL;
        if (const auto xml = SmartPtr<IXMLStream>::QueryFrom(stream)) {
            code = LoadElements(*xml, &loaded);
        } else if (const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream)) {
            code = LoadBlock(*folder, &loaded);
        }
        if (Succeeded(code)) {
            m_entries = std::move(loaded);
        }
        return code;
    });
}

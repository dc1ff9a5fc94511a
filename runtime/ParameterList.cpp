#include "runtime/ParameterList.h"

#include "contract/NumberText.h"
#include "contract/Numbers.h"

namespace {

// The entry of that name, with one reference; empty when there is none.
SmartPtr<IUnknown> FindItem(INamedCollection& parameters, IString* name) noexcept {
    int index = 0;
    SmartPtr<IUnknown> item;
    if (Succeeded(parameters.FindByName(name, &index))) {
        parameters.GetItem(index, item.Receive());
    }
    return item;
}

void Take(IVariant& variant, double* value) noexcept { *value = variant.GetDouble(); }
void Take(IVariant& variant, int* value) noexcept { *value = variant.GetInteger(); }

template <class Value>
bool ReadVariant(IUnknown* item, Value* value) noexcept {
    const auto variant = SmartPtr<IVariant>::QueryFrom(item);
    if (variant) {
        Take(*variant, value);
    }
    return static_cast<bool>(variant);
}

bool ReadText(IUnknown* item, double* value) noexcept {
    const auto string = SmartPtr<IString>::QueryFrom(item);
    tagREFString text{0, nullptr};
    return string && Succeeded(string->GetText(&text.text, &text.length)) && TextToNumber(text, value);
}

bool ReadNumber(IUnknown* item, double* value) noexcept { return ReadVariant(item, value) || ReadText(item, value); }

bool ReadNumber(IUnknown* item, int* value) noexcept {
    double number = 0.0;
    if (ReadVariant(item, value)) {
        return true;
    }
    if (!ReadText(item, &number)) {
        return false;
    }
    *value = ToInt32(number);
    return true;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------
// Writing a list

template <class Store>
void ParameterWriter::AddVariant(tagREFString name, int presentationKind, Store store) noexcept {
    if (!m_complete) {
        return;
    }
    const SmartPtr<IVariant> variant = CREFString::CreateVariant();
    const SmartPtr<IString> nameString = CreateStringOf(name);
    if (!variant || !nameString) {
        m_complete = false;
        return;
    }
    store(*variant);
    m_list->Add(nameString.Get(), variant.Get(), 0, presentationKind);
}

void ParameterWriter::Add(tagREFString name, double value, int presentationKind) noexcept {
    AddVariant(name, presentationKind, [value](IVariant& variant) { variant.SetDouble(value); });
}

void ParameterWriter::Add(tagREFString name, int value, int presentationKind) noexcept {
    AddVariant(name, presentationKind, [value](IVariant& variant) { variant.SetInteger(value); });
}

Result ParameterWriter::HandOut(INamedCollection** out) noexcept {
    *out = m_complete ? m_list.Detach() : nullptr;
    return m_complete ? S_OK : E_FAIL;
}

// ---------------------------------------------------------------------------------------------------
// Reading a list

bool ParameterReader::SetName(tagREFString name) noexcept {
    if (!m_name) {
        m_name = CREFString::CreateString();
    }
    return m_name && Succeeded(m_name->SetText(name.length, name.text));
}

template <class Value, class Read>
Lookup ParameterReader::LookUp(tagREFString name, Value* value, Read read) noexcept {
    if (!SetName(name)) {
        m_outcome = E_FAIL;
        return Lookup::kMissing;
    }
    int index = 0;
    if (Failed(m_parameters.FindByName(m_name.Get(), &index))) {
        return Lookup::kMissing;
    }
    SmartPtr<IUnknown> item;
    m_parameters.GetItem(index, item.Receive());
    return read(item.Get(), value) ? Lookup::kRead : Lookup::kUnusable;
}

Lookup ParameterReader::Variant(tagREFString name, double* value) noexcept {
    return LookUp(name, value, [](IUnknown* item, double* out) { return ReadVariant(item, out); });
}

Lookup ParameterReader::Variant(tagREFString name, int* value) noexcept {
    return LookUp(name, value, [](IUnknown* item, int* out) { return ReadVariant(item, out); });
}

Lookup ParameterReader::Number(tagREFString name, double* value) noexcept {
    return LookUp(name, value, [](IUnknown* item, double* out) { return ReadNumber(item, out); });
}

Lookup ParameterReader::Number(tagREFString name, int* value) noexcept {
    return LookUp(name, value, [](IUnknown* item, int* out) { return ReadNumber(item, out); });
}

Result ReadDouble(INamedCollection* parameters, IString* name, double* value) noexcept {
    return ReadNumber(FindItem(*parameters, name).Get(), value) ? S_OK : E_FAIL;
}

Result ReadInteger(INamedCollection* parameters, IString* name, int* value) noexcept {
    return ReadNumber(FindItem(*parameters, name).Get(), value) ? S_OK : E_FAIL;
}

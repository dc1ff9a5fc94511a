#include "runtime/Parametric.h"

#include <algorithm>
#include <memory>

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

SmartPtr<IString> TextOfNumber(double value, int decimals) noexcept {
    const int room = RoomForNumber(decimals);
    const std::unique_ptr<char[]> narrow(new (std::nothrow) char[static_cast<std::size_t>(room)]);
    const std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[static_cast<std::size_t>(room)]);
    if (narrow == nullptr || wide == nullptr) {
        return nullptr;
    }
    const int length = NumberToText(value, decimals, narrow.get());
    std::copy_n(narrow.get(), length, wide.get());
    return CreateStringOf({length, wide.get()});
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

// ---------------------------------------------------------------------------------------------------
// Property pages

Result MakePages(tagREFString key, tagREFString pageClass, tagREFString objectName, INamedCollection** pages) noexcept {
    *pages = nullptr;
    SmartPtr<ISuperCollection> collection = CREFString::CreateCollection();
    const SmartPtr<IString> keyString = CreateStringOf(key);
    const SmartPtr<IString> pageString = CreateStringOf(pageClass);
    const SmartPtr<IString> nameString = CreateStringOf(objectName);
    if (!collection || !keyString || !pageString || !nameString) {
        return E_FAIL;
    }
    collection->AddPage(keyString.Get(), pageString.Get(), nameString.Get(), 0);
    // The operation's output is typed INamedCollection, the collection that carries pages is an
    // ISuperCollection, and receivers expect exactly that pointer: they call it through the slots that
    // every interface begins with and query it for the collection interface they know. The types are
    // unrelated to the compiler only; the pointer is handed out as it is.
    *pages = reinterpret_cast<INamedCollection*>(collection.Detach());
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Persistence through the parameter list

bool TakesParameters(IDataStream* stream) noexcept {
    const auto structured = SmartPtr<IXMLStream>::QueryFrom(stream);
    const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream);
    return structured || folder;
}

Result SaveParameters(IParametricObject& object, IDataStream* stream, int flags) noexcept {
    if (!TakesParameters(stream)) {
        return S_OK;
    }
    SmartPtr<INamedCollection> parameters;
    object.GetParameters(parameters.Receive(), 0);
    const auto persist = SmartPtr<IDataPersist>::QueryFrom(parameters.Get());
    if (persist) {
        persist->Save(stream, flags);
    }
    return S_OK;
}

Result LoadParametersThrough(IParametricObject& object, IDataStream* stream,
                             const SmartPtr<INamedCollection>& list) noexcept {
    const auto persist = SmartPtr<IDataPersist>::QueryFrom(list.Get());
    if (!persist) {
        return E_FAIL;
    }
    persist->Load(stream, 0);
    // Fails only where the framework does not give the strings to look the names up with.
    return object.SetParameters(list.Get());
}

Result LoadParameters(IParametricObject& object, IDataStream* stream) noexcept {
    return TakesParameters(stream) ? LoadParametersThrough(object, stream, BASEObject::CreateParameters()) : E_FAIL;
}

// ---------------------------------------------------------------------------------------------------
// Variants as text

SmartPtr<IString> ISCreate(IVariant* value, short precision) noexcept {
    if (value == nullptr) {
        return nullptr;
    }
    if (value->HasString() != 0) {
        SmartPtr<IUnknown> text;
        value->GetString(text.Receive());
        return SmartPtr<IString>::QueryFrom(text.Get());
    }
    const int kind = value->GetKind();
    if (kind == kVariantNone) {
        return nullptr;
    }
    if (kind == kVariantInteger || precision == 0) {
        return TextOfNumber(value->GetInteger(), 0);
    }
    const double number = value->GetDouble();
    return TextOfNumber(number, precision < 0 ? DecimalsNeeded(number) : precision);
}

SmartPtr<IString> ISCreate(IVariant* value) noexcept {
    if (value == nullptr) {
        return nullptr;
    }
    if (value->HasString() != 0 || value->GetKind() != kVariantNone) {
        return ISCreate(value, -1);
    }
    SmartPtr<IUnknown> object;
    value->GetObject(object.Receive());
    tagREFString name{0, nullptr};
    if (const auto info = SmartPtr<IObjectInfo>::QueryFrom(object.Get())) {
        info->GetName(0, &name);
    }
    return CreateStringOf(name);
}

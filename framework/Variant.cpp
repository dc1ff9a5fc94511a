#include "framework/Variant.h"

#include "contract/NumberText.h"
#include "contract/Numbers.h"

namespace {

// Hands out what is held, with one reference.
template <class Held>
Result HandOut(SmartPtr<Held> held, IUnknown** out) noexcept {
    *out = held.Detach();
    return *out != nullptr ? S_OK : E_FAIL;
}

double NumberIn(IString& string) noexcept {
    tagREFString text{0, nullptr};
    double number = 0.0;
    if (Succeeded(string.GetText(&text.text, &text.length))) {
        TextToNumber(text, &number);
    }
    return number;
}

}  // namespace

void CVariant::Empty() noexcept {
    m_kind = kVariantNone;
    m_string.Reset();
    m_object.Reset();
}

int CVariant::GetKind() noexcept { return m_kind; }

double CVariant::GetDouble() noexcept {
    switch (m_kind) {
        case kVariantDouble:
            return m_double;
        case kVariantInteger:
            return m_integer;
        default:
            return m_string ? NumberIn(*m_string) : 0.0;
    }
}

int CVariant::GetInteger() noexcept { return m_kind == kVariantInteger ? m_integer : ToInt32(GetDouble()); }

Result CVariant::SetInteger(int value) noexcept {
    Empty();
    m_kind = kVariantInteger;
    m_integer = value;
    return S_OK;
}

Result CVariant::SetDouble(double value) noexcept {
    Empty();
    m_kind = kVariantDouble;
    m_double = value;
    return S_OK;
}

Result CVariant::GetObject(IUnknown** object) noexcept {
    return object != nullptr ? HandOut(m_object, object) : Misuse("IVariant::GetObject", "null output");
}

int CVariant::HasString() noexcept { return m_string ? 1 : 0; }

Result CVariant::GetString(IUnknown** text) noexcept {
    return text != nullptr ? HandOut(m_string, text) : Misuse("IVariant::GetString", "null output");
}

// The new contents are shared before the old ones go, which may hold the last reference to them.
Result CVariant::PutString(IString* text) noexcept {
    auto shared = SmartPtr<IString>::Share(text);
    Empty();
    m_string = std::move(shared);
    return S_OK;
}

Result CVariant::PutObject(IUnknown* object) noexcept {
    auto shared = SmartPtr<IUnknown>::Share(object);
    Empty();
    m_object = std::move(shared);
    return S_OK;
}

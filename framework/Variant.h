// "Variant": one value, which is nothing, an integer, a double, a string or an object.
#pragma once

#include "contract/Extensions.h"
#include "contract/SmartPtr.h"
#include "framework/FrameworkComponent.h"

class CVariant;
template <>
inline const tagREFString IObjectInfoImpl<CVariant>::m_ObjectName = Text(L"Variant");

class CVariant final : public FrameworkComponent<CVariant, IVariant, IVariantStore> {
  public:
    // The one that is asked for most comes first.
    using Answers = InterfaceMap<IVariant, IVariantStore, IObjectInfo>;

    int GetKind() noexcept override;
    /// A string is read as a number (0 when it is blank); nothing and objects give 0.
    double GetDouble() noexcept override;
    /// As GetDouble, truncated; out of range and NaN give INT_MIN.
    int GetInteger() noexcept override;
    Result SetInteger(int value) noexcept override;
    Result SetDouble(double value) noexcept override;
    /// E_FAIL with `*object` null when no object is held; a string does not count as one.
    Result GetObject(IUnknown** object) noexcept override;
    int HasString() noexcept override;
    /// E_FAIL with `*text` null when no string is held.
    Result GetString(IUnknown** text) noexcept override;

    Result PutString(IString* text) noexcept override;
    Result PutObject(IUnknown* object) noexcept override;

  private:
    // At most one of the four holds something; `m_kind` says which of the numbers.
    void Empty() noexcept;

    int m_kind = kVariantNone;
    int m_integer = 0;
    double m_double = 0.0;
    SmartPtr<IString> m_string;
    SmartPtr<IUnknown> m_object;
};

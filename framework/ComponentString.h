// "ComponentString": a component descriptor, which names a class in a module and creates instances.
#pragma once

#include "framework/FrameworkComponent.h"

class CComponentString;
template <>
inline const tagREFString IObjectInfoImpl<CComponentString>::m_ObjectName = Text(L"ComponentString");

class CComponentString final : public FrameworkComponent<CComponentString, IComponentString> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IComponentString>;

    /// E_FAIL with `*out` null when the module or its class cannot be had; the next call tries again.
    Result CreateInstance(const IID& iid, void** out) noexcept override;
    Result SetString(int field, tagREFString value) noexcept override;

  private:
    CREFString m_className;
    CREFString m_moduleName;
    // Found on first use; null again when a field changes.
    ComponentCreator m_create = nullptr;
};

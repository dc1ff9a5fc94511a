#include "framework/ComponentString.h"

#include "contract/Components.h"

Result CComponentString::CreateInstance(const IID& iid, void** out) noexcept {
    if (out == nullptr) {
        return Misuse("IComponentString::CreateInstance", "null output");
    }
    *out = nullptr;
    if (m_create == nullptr) {
        m_create = MODULECreateFunction(m_moduleName, m_className);
    }
    IID wanted = iid;
    return m_create != nullptr ? m_create(nullptr, &wanted, out) : E_FAIL;
}

Result CComponentString::SetString(int field, tagREFString value) noexcept {
    if (field != kDescriptorClassName && field != kDescriptorModuleName) {
        return Misuse("IComponentString::SetString", "no such field");
    }
    if (value.length < 0 || (value.text == nullptr && value.length > 0)) {
        return Misuse("IComponentString::SetString", "no characters");
    }
    CREFString& target = field == kDescriptorClassName ? m_className : m_moduleName;
    if (!target.Assign(value.text, value.length)) {
        return E_FAIL;
    }
    m_create = nullptr;
    return S_OK;
}

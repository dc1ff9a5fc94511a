#include "framework/CreatableString.h"

Result CCreatableString::GetText(const wchar_t** text, int* length) noexcept {
    if (text == nullptr || length == nullptr) {
        return Misuse("IString::GetText", "null output");
    }
    *text = m_text.text;
    *length = m_text.length;
    return S_OK;
}

Result CCreatableString::SetText(int length, const wchar_t* text) noexcept {
    if (length < 0 || (text == nullptr && length > 0)) {
        return Misuse("IString::SetText", "no characters");
    }
    return m_text.Assign(text, length) ? S_OK : E_FAIL;
}

Result CCreatableString::Append(int count, const wchar_t* characters) noexcept {
    if (count < 0 || (characters == nullptr && count > 0)) {
        return Misuse("IString::Append", "no characters");
    }
    return m_text.Append(characters, count) ? S_OK : E_FAIL;
}

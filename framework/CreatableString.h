// "CreatableString": the framework's mutable text.
#pragma once

#include "framework/FrameworkComponent.h"

class CCreatableString;
template <>
inline const tagREFString IObjectInfoImpl<CCreatableString>::m_ObjectName = Text(L"CreatableString");

class CCreatableString final : public FrameworkComponent<CCreatableString, ICreatableString> {
  public:
    // The one that is asked for most comes first.
    using Answers = InterfaceMap<ICreatableString, IString, IObjectInfo>;

    Result GetText(const wchar_t** text, int* length) noexcept override;
    Result SetText(int length, const wchar_t* text) noexcept override;
    Result Append(int count, const wchar_t* characters) noexcept override;

  private:
    CREFString m_text;
};

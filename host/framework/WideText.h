// Between the framework's 32-bit texts and UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "runtime/REFString.h"

/// Appends a text as UTF-8; false, with part of it appended, when it holds what is no character.
bool AppendUtf8(tagREFString text, std::string* utf8);

/// UTF-8 as a wide text; a byte that is not part of a character becomes U+FFFD.
std::wstring FromUtf8(std::string_view utf8);

/// The record of a text, which it borrows.
inline tagREFString View(const std::wstring& text) noexcept { return {static_cast<int>(text.size()), text.data()}; }

// Between the framework's 32-bit texts and UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "contract/REFString.h"

/// Appends a text as UTF-8; false, with part of it appended, when it holds what is no character.
bool AppendUtf8(tagREFString text, std::string* utf8);

/// UTF-8 as a wide text; a byte that is not part of a character becomes U+FFFD.
std::wstring FromUtf8(std::string_view utf8);
/// A text as UTF-8; what is no character ends it.
std::string ToUtf8(tagREFString text);

/// Text made fit for one line of a terminal: control characters, line breaks among them, appear as \n,
/// \t or \xHH.
std::string Harmless(std::string_view text);

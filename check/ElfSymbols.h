// What a shared object exports, read from the file itself: a symbol that nobody asks for is seen too.
#pragma once

#include <set>
#include <string>
#include <string_view>

/// Whether bytes begin like a shared object for this processor: a 64-bit ELF file of that type.
bool BeginsAsSharedObject(std::string_view start) noexcept;

/// The dynamic symbols that a 64-bit ELF file defines and shows to others. Empty for anything else.
std::set<std::string> ExportedSymbols(std::string_view file);

// Modules of the host's own that are opened when what they do is wanted first, so that other work does not load the
// libraries beneath them. They lie in the folder of the modules and stay open.
#pragma once

#include <string>

namespace host {

/// Whether there is such a file. Throws Error for a shared object of which a part is missing: to open it would end the
/// process. What is none at all is left to the loader to refuse.
bool CheckWhole(const std::string& path);

/// A function that a module, NAME.so, exports. Throws std::runtime_error in the loader's words, Error when its
/// file is cut short.
void* SymbolOf(const char* module, const char* symbol);

template <class Entry>
Entry EntryOf(const char* module, const char* symbol) {
    return reinterpret_cast<Entry>(SymbolOf(module, symbol));
}

}  // namespace host

// Modules of the host's own that are opened when what they do is wanted first, so that other work does not load the
// libraries beneath them. They lie in the folder of the modules and stay open.
#pragma once

namespace host {

/// A function that a module, NAME.so, exports. Throws std::runtime_error in the loader's words.
void* SymbolOf(const char* module, const char* symbol);

template <class Entry>
Entry EntryOf(const char* module, const char* symbol) {
    return reinterpret_cast<Entry>(SymbolOf(module, symbol));
}

}  // namespace host

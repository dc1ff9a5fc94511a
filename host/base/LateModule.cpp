#include "host/base/LateModule.h"

#include <dlfcn.h>

#include <stdexcept>

#include "host/base/ModuleFolder.h"

namespace host {

void* SymbolOf(const char* module, const char* symbol) {
    void* const handle = dlopen((DefaultModuleFolder() / module).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const found = handle != nullptr ? dlsym(handle, symbol) : nullptr;
    if (found == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return found;
}

}  // namespace host

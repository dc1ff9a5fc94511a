// A module that crashes where the variable ROI_CRASH says: `open`, `stack` (as it is opened, for want of stack) or
// `create`, `initialize`, in one of the functions that it exports.
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "contract/Module.h"

namespace {

bool Crashes(const char* where) {
    const char* const wanted = std::getenv("ROI_CRASH");
    return wanted != nullptr && std::strcmp(wanted, where) == 0;
}

// Calls itself as long as there is stack: `depth` never gets there.
int Dive(volatile int* depth) {
    volatile int deeper = *depth + 1;
    return deeper == 0 ? 0 : Dive(&deeper) + deeper;
}

const bool kSound = [] {
    if (Crashes("open")) {
        std::abort();
    }
    volatile int depth = 0;
    return !Crashes("stack") || Dive(&depth) == 0;
}();

}  // namespace

Result InitializeModule(void*, IComponentCollection*) noexcept {
    return Crashes("initialize") ? std::raise(SIGFPE) : S_OK;
}

Result CreateFunction(tagREFString, ComponentCreator*) noexcept {
    return Crashes("create") ? std::raise(SIGSEGV) : E_FAIL;
}

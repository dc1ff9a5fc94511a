#include "framework/ModuleEntry.h"

// These modules find one another by file name and need no collection of the host's.
Result InitializeModule(void* /*reserved*/, IComponentCollection* /*collection*/) noexcept { return S_OK; }

extern "C" Result CreateFunction(tagREFString className, ComponentCreator* out) noexcept {
    return FindRegisteredClass(gModuleClasses, className, out);
}

extern "C" int LiveObjects() noexcept { return gLiveObjects.load(std::memory_order_relaxed); }
extern "C" int MadeObjects() noexcept { return gMadeObjects.load(std::memory_order_relaxed); }

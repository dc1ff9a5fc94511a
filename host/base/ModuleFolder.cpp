#include "host/base/ModuleFolder.h"

#include <dlfcn.h>
#include <link.h>

namespace host {

namespace {

namespace fs = std::filesystem;

// Of the program or, where the host is part of a library that a program loaded, of that library.
fs::path FindModuleFolder() {
    Dl_info info;
    void* loaded = nullptr;
    const int found = dladdr1(reinterpret_cast<void*>(&FindModuleFolder), &info, &loaded, RTLD_DL_LINKMAP);
    const char* const library = found != 0 ? static_cast<const link_map*>(loaded)->l_name : "";
    std::error_code failure;
    const fs::path own = fs::canonical(*library != '\0' ? library : "/proc/self/exe", failure).parent_path();
    const fs::path lib = own / ROI_BIN_TO_MODULES;
    return !fs::exists(own / "ROI.so", failure) && fs::exists(lib / "ROI.so", failure) ? lib : own;
}

}  // namespace

std::filesystem::path DefaultModuleFolder() {
    // Once, as a library may have been loaded by a path that depends on the current directory.
    static const fs::path folder = FindModuleFolder();
    return folder;
}

}  // namespace host

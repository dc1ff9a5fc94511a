#include "host/base/ModuleFolder.h"

namespace host {

std::filesystem::path DefaultModuleFolder() {
    namespace fs = std::filesystem;
    std::error_code failure;
    const fs::path bin = fs::read_symlink("/proc/self/exe", failure).parent_path();
    const fs::path lib = bin / ROI_BIN_TO_MODULES;
    return !fs::exists(bin / "ROI.so", failure) && fs::exists(lib / "ROI.so", failure) ? lib : bin;
}

}  // namespace host

// Where the modules lie that the host opens.
#pragma once

#include <filesystem>

namespace host {

/// The folder of the running program when the modules lie there, or else where an installation puts them.
std::filesystem::path DefaultModuleFolder();

}  // namespace host

// Where the modules lie that the host opens.
#pragma once

#include <filesystem>

namespace host {

/// The folder of the running program, or of the library that the host is part of, when the modules lie there, or else
/// where an installation puts them.
std::filesystem::path DefaultModuleFolder();

}  // namespace host

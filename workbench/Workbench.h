// What the module Workbench.so exports for the command.
#pragma once

#include <functional>

#include "workbench/Server.h"

namespace host::workbench {

/// Serves until the process is told to end (SIGINT, SIGTERM, SIGHUP), and calls `started` with the address. Throws
/// Error.
using RunWorkbenchEntry = void (*)(const ServerOptions& options,
                                   const std::function<void(const std::string&)>& started);
inline constexpr const char* kRunWorkbenchSymbol = "RunWorkbench";

}  // namespace host::workbench

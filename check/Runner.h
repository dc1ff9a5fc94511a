// Runs groups of checks, each in a child process that loads the module by itself.
#pragma once

#include <functional>
#include <string>

#include "check/Groups.h"

struct CheckCounts {
    int passed = 0;
    int failed = 0;
};

/// Runs one group on the module in a file. A crash, a hang and an early end are failed checks, named by
/// what was being checked; so is a group that checked nothing. The module must not be loaded in this
/// process. Throws std::runtime_error when no process can be made.
CheckCounts RunGroup(const CheckGroup& group, const std::string& module, const CheckOptions& options);

/// The same for any checks: runs `body` in a process of its own, and blames its end on the progress that the
/// body keeps.
CheckCounts RunApart(const char* group, const CheckOptions& options, const std::function<void(CheckProgress&)>& body);

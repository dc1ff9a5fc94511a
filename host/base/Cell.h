// One value of a table.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "framework/support/NamedValues.h"

namespace host {

/// Nothing, a whole number, a number, a UTF-8 text or values with names.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string, std::vector<NamedValue>>;

}  // namespace host

// One value of a table.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace host {

/// Nothing, a whole number, a number or a UTF-8 text.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string>;

}  // namespace host

// JSON of other programs, within bounds.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

namespace host {

/// The value that a text is. Throws std::exception for anything else, for a text longer than 64 MiB and for one nested
/// deeper than any of the formats is.
nlohmann::ordered_json ParseJsonText(std::string_view text);

/// The text of a value, a line for every element of its outermost list.
std::string JsonText(const nlohmann::ordered_json& value);

}  // namespace host

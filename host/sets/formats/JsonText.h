// JSON of other programs, within bounds, and the object that a figure is in JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

#include "host/sets/formats/ForeignFigure.h"

namespace host {

/// The value that a text is. Throws std::exception for anything else, for a text longer than 64 MiB and for one nested
/// deeper than any of the formats is.
nlohmann::ordered_json ParseJsonText(std::string_view text);

/// The text of a value, a line for every element of its outermost list.
std::string JsonText(const nlohmann::ordered_json& value);

/// The values of a figure, without its name, and back. Throws std::exception for anything else.
nlohmann::ordered_json ValuesOf(const ForeignFigure& figure);
ForeignFigure FigureWithValues(const nlohmann::ordered_json& values, Reading& reading);

/// The member under which objects of other programs carry these values.
inline constexpr const char* kCarried = "roiValues";

/// Makes the values in this member of an object the figure's carried one. Anything else in the member is passed over.
void TakeCarried(const nlohmann::ordered_json& object, ForeignFigure& figure, Reading& reading);

}  // namespace host

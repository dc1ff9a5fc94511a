// Texts: UTF-8 and the framework's wide characters, numbers that do not depend on the locale, points as
// people type them, and the nearest known name for a mistyped one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contract/REFString.h"
#include "host/base/Error.h"

namespace host {

/// UTF-8 as wide text, or nothing where it is not sound UTF-8.
std::optional<std::wstring> ToWide(std::string_view utf8);

/// The shortest text that reads back as exactly this number, with a point as decimal sign; 0 without a sign.
std::string NumberText(double value);

/// The number that the whole text is: decimal with an optional sign and exponent, or '#' and up to 16
/// hexadecimal digits. Nothing for any other text and for numbers that are not finite.
std::optional<double> ParseNumber(std::string_view text);

/// As ParseNumber, for a whole number that an int holds.
std::optional<int> ParseInteger(std::string_view text);

/// A field of a row of CSV: a text with commas, quotes or line ends in quotes, its own quotes doubled.
std::string CsvField(std::string text);

/// A point in image pixels.
struct ImagePoint {
    double x = 0.0;
    double y = 0.0;

    ImagePoint() = default;
    ImagePoint(double xValue, double yValue) : x(xValue), y(yValue) {}
    /// Reads `X,Y`. Throws a usage error for anything else.
    explicit ImagePoint(const std::string& text);
};

inline ImagePoint operator+(ImagePoint a, ImagePoint b) noexcept { return {a.x + b.x, a.y + b.y}; }
inline ImagePoint operator-(ImagePoint a, ImagePoint b) noexcept { return {a.x - b.x, a.y - b.y}; }
inline ImagePoint operator*(double factor, ImagePoint p) noexcept { return {factor * p.x, factor * p.y}; }

/// Of the known names the one fewest edits away, letter case counting little; the first of equals.
/// Empty when there are none.
std::string NearestName(std::string_view name, const std::vector<std::string>& known);

/// The error about it: `unknown class: ROIElipse: the nearest is ROIEllipse`.
Error UnknownName(std::string_view kind, std::string_view name, const std::vector<std::string>& known,
                  ErrorKind errorKind = ErrorKind::usage);

}  // namespace host

// How large pixels are: what turns numbers of them into lengths and areas.
#pragma once

#include <string>

#include "host/images/FileReader.h"

namespace host {

/// The distances of columns and of rows, in a unit that is called so.
struct PixelScale {
    double x = 1.0;
    double y = 1.0;
    std::string unit = "px";

    /// Pixels themselves.
    PixelScale() = default;
    /// Reads `0.65um`, `0.65x0.70um` (columns, rows) or `px`. Any word is a unit. Throws a usage error.
    explicit PixelScale(const std::string& text);
    /// By what a page says of itself, in um; pixels where it names no length.
    explicit PixelScale(const PageInfo& page);

    double Area() const noexcept { return x * y; }
    friend bool operator==(const PixelScale&, const PixelScale&) = default;
};

}  // namespace host

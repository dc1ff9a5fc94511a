// Lengths of pixels: what turns numbers of pixels into lengths and areas that people name.
#pragma once

#include <string>

#include "host/base/Text.h"

namespace host {

/// How large a pixel is. Without a unit, lengths are counted in pixels.
struct PixelScale {
    double width = 1.0;   ///< of a pixel along x, in `unit`
    double height = 1.0;  ///< along y
    std::string unit;     ///< empty: pixels

    PixelScale() = default;
    /// Reads `0.65um` or `0.65x0.70um`: one or two positive numbers and the name of a unit. Throws a usage error for
    /// anything else.
    explicit PixelScale(const std::string& text);

    bool IsPixels() const noexcept { return unit.empty(); }
    /// What a length is in.
    std::string LengthUnit() const { return IsPixels() ? "px" : unit; }
    /// The length of a vector of pixels: its sides are scaled each by its own size.
    double LengthOf(double x, double y) const noexcept;
    double AreaOf(double pixels) const noexcept { return pixels * width * height; }
    ImagePoint Scaled(ImagePoint p) const noexcept { return {p.x * width, p.y * height}; }
    friend bool operator==(const PixelScale&, const PixelScale&) = default;
};

}  // namespace host

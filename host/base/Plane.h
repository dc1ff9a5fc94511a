// Sizes and boxes in whole pixels.
#pragma once

#include <algorithm>
#include <cstdint>

namespace host {

/// The size of an image: columns and rows.
struct PixelSize {
    int width = 0;
    int height = 0;

    constexpr bool IsEmpty() const noexcept { return width <= 0 || height <= 0; }
    friend constexpr bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// The pixels left <= x < left + width, top <= y < top + height. Empty when a size is 0 or less.
struct PixelRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;

    constexpr bool IsEmpty() const noexcept { return width <= 0 || height <= 0; }
    constexpr std::int64_t Right() const noexcept { return std::int64_t{left} + width; }
    constexpr std::int64_t Bottom() const noexcept { return std::int64_t{top} + height; }
    friend constexpr bool operator==(const PixelRect&, const PixelRect&) = default;
};

/// What both boxes hold; empty when they do not meet.
constexpr PixelRect Intersection(const PixelRect& a, const PixelRect& b) noexcept {
    const int left = std::max(a.left, b.left);
    const int top = std::max(a.top, b.top);
    const std::int64_t width = std::max<std::int64_t>(std::min(a.Right(), b.Right()) - left, 0);
    const std::int64_t height = std::max<std::int64_t>(std::min(a.Bottom(), b.Bottom()) - top, 0);
    return width == 0 || height == 0 ? PixelRect{}
                                     : PixelRect{left, top, static_cast<int>(width), static_cast<int>(height)};
}

}  // namespace host

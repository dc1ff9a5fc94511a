#include "host/measure/PixelSet.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace host {

PixelRect BoxAround(const PixelSet& pixels) noexcept {
    int left = std::numeric_limits<int>::max();
    int top = left;
    int right = std::numeric_limits<int>::min();
    int bottom = right;
    const auto include = [&](int y, int firstX, int lastX) {
        left = std::min(left, firstX);
        right = std::max(right, lastX);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    };
    for (const Span& span : pixels.spans) {
        include(span.y, span.firstX, span.lastX);
    }
    for (const PartSpan& span : pixels.parts.spans) {
        include(span.y, span.firstX, span.lastX);
    }
    return pixels.IsEmpty() ? PixelRect{} : PixelRect{left, top, right - left + 1, bottom - top + 1};
}

Raster Painted(const PixelSet& pixels, const PixelRect& box) {
    Raster image({box.width, box.height}, 1, Depth::u8);
    std::memset(image.Data(), 0, image.RowBytes() * static_cast<std::size_t>(box.height));
    for (const Span& span : pixels.spans) {
        std::memset(image.Row<std::uint8_t>(span.y - box.top) + (span.firstX - box.left), 255,
                    static_cast<std::size_t>(span.Length()));
    }
    for (const PartPixel part : pixels.parts) {
        image.Row<std::uint8_t>(part.y - box.top)[part.x - box.left] =
            static_cast<std::uint8_t>(std::lround(255.0 * part.weight));
    }
    return image;
}

}  // namespace host

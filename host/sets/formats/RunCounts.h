// Masks as counts of pixels that are not marked and marked, in turn.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

#include "host/sets/formats/ForeignFigure.h"

namespace host {

/// Row by row, beginning with those that are not marked.
inline std::vector<std::int64_t> CountsOf(Raster mask) {
    std::vector<std::int64_t> counts = {0};
    bool marked = false;
    for (int y = 0; y < mask.Size().height; ++y) {
        for (int x = 0; x < mask.Size().width; ++x) {
            if ((mask.Row<unsigned char>(y)[x] != 0) != marked) {
                counts.push_back(0);
                marked = !marked;
            }
            ++counts.back();
        }
    }
    return counts;
}

/// Throws std::runtime_error unless the counts are those of a mask of this size.
inline Raster MaskOf(std::int64_t width, std::int64_t height, std::span<const std::int64_t> counts, Reading& reading) {
    constexpr std::int64_t kLongest = 1 << 30;
    if (width < 1 || height < 1 || width > kLongest || height > kLongest) {
        throw std::runtime_error("a mask without a size");
    }
    reading.TakePixels(static_cast<double>(width) * static_cast<double>(height));
    Raster mask = EmptyMask(static_cast<int>(width), static_cast<int>(height));
    std::int64_t at = 0;
    bool marked = false;
    for (const std::int64_t count : counts) {
        if (count < 0 || count > width * height - at) {
            throw std::runtime_error("a mask whose counts do not fit its size");
        }
        std::fill_n(mask.Data() + at, count, std::byte{static_cast<unsigned char>(marked ? 255 : 0)});
        at += count;
        marked = !marked;
    }
    if (at != width * height) {
        throw std::runtime_error("a mask whose counts do not fit its size");
    }
    return mask;
}

}  // namespace host

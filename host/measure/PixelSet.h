// The pixels of a figure, as row spans and, where only a part of a pixel counts, as pixels with a weight.
#pragma once

#include <memory>
#include <new>
#include <vector>

#include "host/base/Plane.h"
#include "host/base/Raster.h"

namespace host {

/// Pixels firstX to lastX, both included, of row y, in image coordinates. They count wholly.
struct Span {
    int y;
    int firstX;
    int lastX;

    int Length() const noexcept { return lastX - firstX + 1; }
};

/// A pixel of which the part `weight`, above 0 and below 1, counts.
struct PartPixel {
    int y;
    int x;
    double weight;
};

/// Resized by it, a list does not write elements that are to be written anyway.
template <class T>
struct Unwritten : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = Unwritten<U>;
    };
    Unwritten() = default;
    template <class U>
    Unwritten(const Unwritten<U>& /*other*/) noexcept {}

    template <class U>
    void construct(U* place) noexcept {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Values>
    void construct(U* place, Values&&... values) {
        std::construct_at(place, std::forward<Values>(values)...);
    }
};

using Spans = std::vector<Span, Unwritten<Span>>;
using PartPixels = std::vector<PartPixel, Unwritten<PartPixel>>;

/// Rows ascending and from left to right in either list, no pixel twice.
struct PixelSet {
    Spans spans;
    PartPixels parts;

    bool IsEmpty() const noexcept { return spans.empty() && parts.empty(); }
    /// Appends pixels that lie behind all spans in their order; they join the last span where they touch it.
    void AddSpan(int y, int firstX, int lastX) {
        if (!spans.empty() && spans.back().y == y && spans.back().lastX + 1 == firstX) {
            spans.back().lastX = lastX;
        } else {
            spans.push_back({y, firstX, lastX});
        }
    }
};

/// The smallest box around pixels; empty when there are none.
PixelRect BoxAround(const PixelSet& pixels) noexcept;

/// An 8-bit image of a box: 255 at the pixels, in proportion where only a part counts, and 0 elsewhere. The pixels
/// must lie in the box.
Raster Painted(const PixelSet& pixels, const PixelRect& box);

}  // namespace host

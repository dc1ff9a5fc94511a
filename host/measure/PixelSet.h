// The pixels of a figure, as row spans and, where only a part of a pixel counts, as pixels with a weight.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <span>
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

/// Pixels firstX to lastX, both included, of row y, that count in part: with the weights from number `weights` on.
struct PartSpan {
    int y;
    int firstX;
    int lastX;
    int weights;
};

/// Pixels that count in part, as spans with their weights. The spans and the weights that `weights` points to must
/// stay.
struct PartView {
    class Iterator {
      public:
        using value_type = PartPixel;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        Iterator(const PartSpan* span, const double* weights) noexcept : m_span(span), m_weights(weights) {}

        PartPixel operator*() const noexcept {
            return {m_span->y, m_span->firstX + m_at, m_weights[m_span->weights + m_at]};
        }
        Iterator& operator++() noexcept {
            if (m_span->firstX + m_at++ == m_span->lastX) {
                ++m_span;
                m_at = 0;
            }
            return *this;
        }
        Iterator operator++(int) noexcept {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator&) const noexcept = default;

      private:
        const PartSpan* m_span = nullptr;
        const double* m_weights = nullptr;
        int m_at = 0;
    };

    std::span<const PartSpan> spans;
    const double* weights;

    Iterator begin() const noexcept { return {spans.data(), weights}; }
    Iterator end() const noexcept { return {spans.data() + spans.size(), weights}; }
};

struct PartPixels {
    std::vector<PartSpan, Unwritten<PartSpan>> spans;
    std::vector<double, Unwritten<double>> weights;

    PartView View() const noexcept { return {spans, weights.data()}; }
    PartView::Iterator begin() const noexcept { return View().begin(); }
    PartView::Iterator end() const noexcept { return View().end(); }
    std::size_t size() const noexcept { return weights.size(); }
    bool empty() const noexcept { return weights.empty(); }

    /// Appends a pixel that lies behind all others in their order.
    void push_back(const PartPixel& part) {
        if (!spans.empty() && spans.back().y == part.y && spans.back().lastX + 1 == part.x) {
            spans.back().lastX = part.x;
        } else {
            spans.push_back({part.y, part.x, part.x, static_cast<int>(weights.size())});
        }
        weights.push_back(part.weight);
    }
};

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

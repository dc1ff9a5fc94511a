// Cutting lines to a box in doubles, before anything becomes an integer.
#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

#include "host/base/Text.h"

namespace host {

/// A box in exact coordinates, borders included.
struct ClipBox {
    double left, top, right, bottom;
};

/// From where to where a line lies in a box, in multiples of its direction.
struct Stretch {
    double from;
    double to;
};

/// The part of `within` for which origin + t * direction lies in the box, borders included. Nothing when
/// the line misses the box, or when an argument is not a number.
inline std::optional<Stretch> ClipLine(const ClipBox& box, ImagePoint origin, ImagePoint direction,
                                       Stretch within) noexcept {
    const auto cut = [&within](double start, double step, double low, double high) {
        if (step == 0.0) {
            return low <= start && start <= high;
        }
        const double first = ((step > 0.0 ? low : high) - start) / step;
        const double last = ((step > 0.0 ? high : low) - start) / step;
        within.from = std::max(within.from, first);
        within.to = std::min(within.to, last);
        // False for a step or a start that is not a number, too.
        return std::isfinite(start) && std::isfinite(step) && within.from <= within.to;
    };
    if (cut(origin.x, direction.x, box.left, box.right) && cut(origin.y, direction.y, box.top, box.bottom)) {
        return within;
    }
    return std::nullopt;
}

}  // namespace host

#include "host/figures/Outline.h"

#include <algorithm>
#include <cmath>

#include "contract/Numbers.h"

namespace host {

namespace {

// Chords of an arc, without its end when it goes all the way round. Then it has chords for each quarter: one that
// starts at an axis meets both.
void AppendChords(const Arc& arc, double tolerance, std::vector<ImagePoint>& corners) {
    constexpr double kMost = 16384.0;
    const double radius = std::max({std::abs(arc.radiusX), std::abs(arc.radiusY), tolerance});
    const double step = 2.0 * std::acos(std::max(1.0 - tolerance / radius, 0.0));
    const bool full = std::abs(arc.delta) >= 2.0 * kPi;
    const int count = 4 * static_cast<int>(std::clamp(std::ceil(0.25 * std::abs(arc.delta) / step), 2.0, 0.25 * kMost));
    for (int i = 0; i < (full ? count : count + 1); ++i) {
        const double angle = arc.start + arc.delta * i / count;
        corners.emplace_back(arc.center.x + arc.radiusX * std::cos(angle),
                             arc.center.y + arc.radiusY * std::sin(angle));
    }
}

}  // namespace

std::vector<ImagePoint> CornersOf(const Contour& contour, double tolerance) {
    std::vector<ImagePoint> corners;
    for (const auto& part : contour) {
        if (const Arc* const arc = std::get_if<Arc>(&part)) {
            AppendChords(*arc, tolerance, corners);
        } else {
            corners.push_back(std::get<ImagePoint>(part));
        }
    }
    return corners;
}

}  // namespace host

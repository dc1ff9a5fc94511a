// The outline of a figure: the region that a person sees, in exact coordinates. Measuring, masks, overlays and hits
// all start from it.
#pragma once

#include <variant>
#include <vector>

#include "host/base/Text.h"

namespace host {

/// An arc of an upright ellipse: the points (center.x + radiusX cos t, center.y + radiusY sin t) for t from `start` to
/// `start + delta`, in radians. A negative extent runs the other way; a negative radius mirrors the curve.
struct Arc {
    ImagePoint center;
    double radiusX = 0.0;
    double radiusY = 0.0;
    double start = 0.0;
    double delta = 0.0;
};

/// A closed curve: corners and arcs in order, joined by straight lines, the last to the first.
using Contour = std::vector<std::variant<ImagePoint, Arc>>;

/// The curve as a polygon, its arcs as chords at most `tolerance` pixels off: at least eight for each arc, and at most
/// 16,384 whatever that needs. The first corner does not come again.
std::vector<ImagePoint> CornersOf(const Contour& contour, double tolerance);

/// What lies inside by the nonzero rule: a point belongs to the region when the contours run around it, taken
/// together, a number of times that is not 0. Contours that run in opposite directions cancel, those that run in the
/// same one count once.
struct Outline {
    std::vector<Contour> contours;
    /// The polyline of a profile, which is drawn and encloses nothing.
    std::vector<ImagePoint> axis;
    /// Whether the region is the marked pixels of the figure's own image instead of what the contours enclose.
    bool isImage = false;
};

}  // namespace host

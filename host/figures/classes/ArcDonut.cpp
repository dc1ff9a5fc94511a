// What the host knows of the arc donut.
#include <array>
#include <cmath>

#include "contract/Numbers.h"
#include "host/figures/classes/Rows.h"

namespace host {

namespace {

constexpr std::array kNodes = {"centre",
                               "ring 0 at the start",
                               "ring 1 at the start",
                               "ring 0 at the end",
                               "ring 1 at the end",
                               "middle of the start edge",
                               "middle of the end edge"};

// From node 2 along ring 0 to node 4, straight to node 5, and along ring 1 back to node 3. A full turn or more is the
// whole ring.
Outline OutlineOf(const Figure& figure) {
    double start = 0.0;
    double delta = 0.0;
    figure.As<IROIArcDonut>()->GetLimits(&start, &delta);
    if (std::abs(delta) >= 2.0 * kPi) {
        return FullRing(*figure.roi);
    }
    const Ring ring0 = RingOf(*figure.roi, 0);
    const Ring ring1 = RingOf(*figure.roi, 1);
    Outline outline;
    outline.contours = {{Arc{ring0.center, ring0.radiusX, ring0.radiusY, start, delta},
                         Arc{ring1.center, ring1.radiusX, ring1.radiusY, start + delta, -delta}}};
    return outline;
}

std::string LeftOut(IROI& roi, const Matrix& matrix) {
    const std::string ring = DonutLeavesOut(roi, matrix);
    return ring.empty() && !matrix.KeepsDirections() ? "an arc donut keeps its limits" : ring;
}

}  // namespace

const FigureClass kArcDonut = {.name = "ROIArcDonut",
                               .what = "a ring sector between two edges",
                               .nodes = kNodes,
                               .modifiers = kKeepCenter,
                               .getNode = GetRoundNode<IROIArcDonut>,
                               .dragNode = DragRoundNode<IROIArcDonut>,
                               .outline = OutlineOf,
                               .hitBoxes = DonutHitBoxes,
                               .leftOut = LeftOut};

}  // namespace host

// The rows of the table of classes, each in a file of its own, and what several of them share.
#pragma once

#include <cmath>
#include <cstdint>

#include "contract/Numbers.h"
#include "host/figures/FigureClass.h"

namespace host {

extern const FigureClass kRectangle;
extern const FigureClass kParallelogram;
extern const FigureClass kEllipse;
extern const FigureClass kDonut;
extern const FigureClass kArcDonut;
extern const FigureClass kProfile;
extern const FigureClass kShape;
extern const FigureClass kMask;

/// The figure by the interface of its own class. The table is only ever asked about figures of the row's class.
template <class Interface>
SmartPtr<Interface> Its(IROI& roi) noexcept {
    return SmartPtr<Interface>::QueryFrom(&roi);
}

// ---------------------------------------------------------------------------------------------------
// Boxes that are turned by a roll: rectangle, parallelogram, mask

/// Nodes 1 to 11 of a turned box; the last is the parallelogram's.
std::span<const char* const> BoxNodes(int count) noexcept;

template <class Box>
Result GetBoxNode(IROI& roi, NodeId node, double* x, double* y) {
    return Its<Box>(roi)->GetCornerPoint(static_cast<ROICorner>(node.number), x, y);
}
template <class Box>
Result DragBoxNode(IROI& roi, NodeId node, int flags, double x, double y) {
    return Its<Box>(roi)->SetCornerPoint(node.number | flags, x, y);
}
template <class Box>
Result GetBoxRoll(IROI& roi, double* radians) {
    return Its<Box>(roi)->get_Roll(radians);
}
template <class Box>
Result PutBoxRoll(IROI& roi, double radians) {
    return Its<Box>(roi)->put_Roll(radians);
}

/// The polygon of corners 2, 3, 4 and 5.
template <class Box>
Outline CornerOutline(const Figure& figure) {
    Contour corners;
    const auto box = figure.As<Box>();
    // The sine of half a turn is not quite 0: the last bits would part pixels that lie on one side.
    constexpr double kStep = 1.0 / (std::int64_t{1} << 36);
    constexpr double kRounding = 1e-12;
    double roll = 0.0;
    box->get_Roll(&roll);
    const bool isByQuarters = roll != 0.0 && std::abs(std::remainder(roll, 0.5 * kPi)) < kRounding;
    for (const ROICorner corner : {kNodeCorner2, kNodeCorner3, kNodeCorner4, kNodeCorner5}) {
        ImagePoint at;
        box->GetCornerPoint(corner, &at.x, &at.y);
        if (isByQuarters) {
            at = {at.x - std::remainder(at.x, kStep), at.y - std::remainder(at.y, kStep)};
        }
        corners.emplace_back(at);
    }
    Outline outline;
    outline.contours.push_back(std::move(corners));
    return outline;
}

/// The upright box that the figure's own bounding size describes about its centre.
std::vector<HitBox> BoundingHitBox(IROI& roi);

// ---------------------------------------------------------------------------------------------------
// Round figures: ellipse, donut, arc donut

template <class Round>
Result GetRoundNode(IROI& roi, NodeId node, double* x, double* y) {
    return Its<Round>(roi)->GetNode(node.number, x, y);
}
template <class Round>
Result DragRoundNode(IROI& roi, NodeId node, int flags, double x, double y) {
    return Its<Round>(roi)->SetNode(node.number | flags, x, y);
}

/// The centre and one pair of half-axes of an upright ellipse.
struct Ring {
    ImagePoint center;
    double radiusX = 0.0;
    double radiusY = 0.0;
};

/// The ring 0 or 1 of a donut of either kind.
Ring RingOf(IROI& roi, int ring);

/// The whole ring between ring 0 and ring 1, whichever is the outer one; negative radii mean the same curve.
Outline FullRing(IROI& roi);

/// The box of the circle within which a round figure is hit: its squared radius is the product of the half-axes.
HitBox CircleBox(const Ring& ring) noexcept;
/// The box of the larger of a donut's two circles.
std::vector<HitBox> DonutHitBoxes(IROI& roi);

/// Whether an upright ellipse stays one under a matrix, or would have to turn.
bool StaysUpright(const Matrix& matrix, const Ring& ring) noexcept;
/// What a donut of either kind leaves out of a matrix.
std::string DonutLeavesOut(IROI& roi, const Matrix& matrix);

}  // namespace host

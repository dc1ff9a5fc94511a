#include "host/figures/classes/Rows.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "contract/Numbers.h"

namespace host {

std::span<const char* const> BoxNodes(int count) noexcept {
    static constexpr std::array kMeanings = {
        "centre",     "top left corner", "top right corner", "bottom right corner", "bottom left corner", "top edge",
        "right edge", "bottom edge",     "left edge",        "roll grip",           "shear grip"};
    return std::span(kMeanings).first(static_cast<std::size_t>(count));
}

std::vector<HitBox> BoundingHitBox(IROI& roi) {
    ImagePoint center;
    double width = 0.0;
    double height = 0.0;
    if (Failed(roi.GetCenter(&center.x, &center.y)) || Failed(roi.GetBoundingSize(&width, &height))) {
        return {};
    }
    return {{center.x - 0.5 * width, center.y - 0.5 * height, center.x + 0.5 * width, center.y + 0.5 * height}};
}

Ring RingOf(IROI& roi, int ring) {
    Ring answer;
    roi.GetCenter(&answer.center.x, &answer.center.y);
    Its<IROIDonut>(roi)->GetRadius(ring, &answer.radiusX, &answer.radiusY);
    return answer;
}

Outline FullRing(IROI& roi) {
    constexpr double kTurn = 2.0 * kPi;
    const Ring ring0 = RingOf(roi, 0);
    const Ring ring1 = RingOf(roi, 1);
    Outline outline;
    // In opposite directions, so that what lies in both cancels.
    outline.contours = {{Arc{ring0.center, std::abs(ring0.radiusX), std::abs(ring0.radiusY), 0.0, kTurn}},
                        {Arc{ring1.center, std::abs(ring1.radiusX), std::abs(ring1.radiusY), 0.0, -kTurn}}};
    return outline;
}

HitBox CircleBox(const Ring& ring) noexcept {
    const double radius = std::sqrt(std::abs(ring.radiusX * ring.radiusY));
    return {ring.center.x - radius, ring.center.y - radius, ring.center.x + radius, ring.center.y + radius};
}

std::vector<HitBox> DonutHitBoxes(IROI& roi) {
    const HitBox box0 = CircleBox(RingOf(roi, 0));
    const HitBox box1 = CircleBox(RingOf(roi, 1));
    return {{std::min(box0.left, box1.left), std::min(box0.top, box1.top), std::max(box0.right, box1.right),
             std::max(box0.bottom, box1.bottom)}};
}

bool StaysUpright(const Matrix& matrix, const Ring& ring) noexcept {
    const bool circle = std::abs(ring.radiusX) == std::abs(ring.radiusY);
    return matrix.KeepsAxes() || (matrix.KeepsCircles() && circle);
}

std::string DonutLeavesOut(IROI& roi, const Matrix& matrix) {
    return StaysUpright(matrix, RingOf(roi, 0)) && StaysUpright(matrix, RingOf(roi, 1)) ? "" : "its axes stay upright";
}

}  // namespace host

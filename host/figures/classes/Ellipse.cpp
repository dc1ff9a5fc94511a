// What the host knows of the ellipse.
#include <array>

#include "contract/Numbers.h"
#include "host/figures/classes/Rows.h"

namespace host {

namespace {

constexpr std::array kNodes = {"centre", "x radius", "y radius"};

Ring Curve(IROI& roi) {
    Ring ring;
    roi.GetCenter(&ring.center.x, &ring.center.y);
    Its<IROIEllipse>(roi)->GetRadius(&ring.radiusX, &ring.radiusY);
    return ring;
}

Outline OutlineOf(const Figure& figure) {
    const Ring ring = Curve(*figure.roi);
    Outline outline;
    outline.contours = {{Arc{ring.center, ring.radiusX, ring.radiusY, 0.0, 2.0 * kPi}}};
    return outline;
}

std::vector<HitBox> HitBoxes(IROI& roi) { return {CircleBox(Curve(roi))}; }

std::string LeftOut(IROI& roi, const Matrix& matrix) {
    return StaysUpright(matrix, Curve(roi)) ? "" : "its axes stay upright";
}

}  // namespace

const FigureClass kEllipse = {.name = "ROIEllipse",
                              .what = "an upright ellipse",
                              .nodes = kNodes,
                              .getNode = GetRoundNode<IROIEllipse>,
                              .dragNode = DragRoundNode<IROIEllipse>,
                              .outline = OutlineOf,
                              .hitBoxes = HitBoxes,
                              .leftOut = LeftOut};

}  // namespace host

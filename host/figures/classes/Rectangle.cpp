// What the host knows of the rectangle.
#include <cmath>

#include "host/figures/classes/Rows.h"

namespace host {

namespace {

std::string LeftOut(IROI& roi, const Matrix& matrix) {
    double roll = 0.0;
    GetBoxRoll<IROIRectangle>(roi, &roll);
    return matrix.KeepsRightAngle(std::cos(roll), std::sin(roll)) ? "" : "a rectangle does not lean";
}

}  // namespace

const FigureClass kRectangle = {.name = "ROIRectangle",
                                .what = "a rectangle, turned by its roll",
                                .nodes = BoxNodes(kNodeRollGrip),
                                .getNode = GetBoxNode<IROIRectangle>,
                                .dragNode = DragBoxNode<IROIRectangle>,
                                .outline = CornerOutline<IROIRectangle>,
                                .modulePixels = ModulePixels::maskOrBox,
                                .hitBoxes = BoundingHitBox,
                                .rollParameter = "Angle",
                                .getRoll = GetBoxRoll<IROIRectangle>,
                                .putRoll = PutBoxRoll<IROIRectangle>,
                                .leftOut = LeftOut};

}  // namespace host

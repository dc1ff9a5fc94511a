// What the host knows of the parallelogram.
#include <cmath>

#include "host/figures/classes/Rows.h"

namespace host {

namespace {

std::string LeftOut(IROI& roi, const Matrix& matrix) {
    double roll = 0.0;
    double shear = 0.0;
    GetBoxRoll<IROIParallelogram>(roi, &roll);
    Its<IROIParallelogram>(roi)->get_Shear(&shear);
    const bool follows = shear == 0.0 ? matrix.KeepsRightAngle(std::cos(roll), std::sin(roll))
                                      : matrix.KeepsCircles() && !matrix.Mirrors();
    return follows ? "" : "a parallelogram keeps its shear";
}

}  // namespace

const FigureClass kParallelogram = {.name = "ROIParallelogram",
                                    .what = "a rectangle whose slanted sides lean by its shear",
                                    .nodes = BoxNodes(kNodeShearGrip),
                                    .getNode = GetBoxNode<IROIParallelogram>,
                                    .dragNode = DragBoxNode<IROIParallelogram>,
                                    .outline = CornerOutline<IROIParallelogram>,
                                    .hitBoxes = BoundingHitBox,
                                    .rollParameter = "Roll",
                                    .getRoll = GetBoxRoll<IROIParallelogram>,
                                    .putRoll = PutBoxRoll<IROIParallelogram>,
                                    .leftOut = LeftOut};

}  // namespace host

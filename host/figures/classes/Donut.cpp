// What the host knows of the donut.
#include <array>

#include "host/figures/classes/Rows.h"

namespace host {

namespace {

constexpr std::array kNodes = {"centre", "x radius of ring 0", "y radius of ring 0", "x radius of ring 1",
                               "y radius of ring 1"};

}  // namespace

const FigureClass kDonut = {.name = "ROIDonut",
                            .what = "the full ring between two upright ellipses",
                            .nodes = kNodes,
                            .getNode = GetRoundNode<IROIDonut>,
                            .dragNode = DragRoundNode<IROIDonut>,
                            .outline = [](const Figure& figure) { return FullRing(*figure.roi); },
                            .hitBoxes = DonutHitBoxes,
                            .leftOut = DonutLeavesOut};

}  // namespace host

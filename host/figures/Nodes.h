// The nodes of figures of every class: where they lie, and dragging them.
#pragma once

#include <string>
#include <vector>

#include "host/figures/Figure.h"

namespace host {

struct Node {
    /// The number, 1 to 11, or for a profile kind and point: `2:0` is node kind 2 of point 0.
    std::string number;
    std::string meaning;
    ImagePoint at;
};

/// All nodes of a figure, in order of their numbers; a profile's point by point. Empty for a shape.
std::vector<Node> NodesOf(const Figure& figure);

/// Drags a node to a point, with NodeFlag modifiers (see contract/IROI.h). Throws a usage error for a node
/// that the figure does not have or that cannot be dragged, and for modifiers that a profile does not know.
void DragNode(const Figure& figure, const std::string& node, ImagePoint to, int flags);

}  // namespace host

// The points that a profile or a polygon is made of, edited one by one.
#pragma once

#include "host/figures/Figure.h"

namespace host {

/// Appends a point, inserts one before the point `index` (the number of points appends), moves one, removes one.
/// Indices count from 0. Throw a usage error for a figure that is not made of points and for an index that it does not
/// have, and Error where the figure does not take the change.
void AddPoint(Figure& figure, ImagePoint at);
void InsertPoint(Figure& figure, int index, ImagePoint at);
void MovePoint(Figure& figure, int index, ImagePoint at);
void RemovePoint(Figure& figure, int index);

}  // namespace host

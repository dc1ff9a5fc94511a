// A figure's pixels as the module itself answers for them.
#pragma once

#include <optional>

#include "host/measure/Region.h"

namespace host {

struct Figure;

/// The pixels that a figure's mask marks, the mask's pixel (0, 0) lying at the left and top of GetBoundingRect. Nothing
/// when the figure gives no mask with pixels, or one out of all proportion.
std::optional<PixelSet> MarkedPixels(const Figure& figure);

/// The pixels of a figure by its mask and its hit test:
/// - those that its mask marks;
/// - its whole bounding box for a rectangle without roll, which says so by an empty mask, and for a shape,
///   which offers no test of its own;
/// - for every other figure those whose coordinates HitTest accepts. A figure whose mask cannot be made
///   (a ring under two pixels) or would be out of all proportion is tested in the same way.
Pixels FindModulePixels(const Figure& figure, const PixelRect& field);

/// A box that holds all those pixels; empty when there are none, nothing when it does not fit whole numbers.
std::optional<PixelRect> ModuleExtent(const Figure& figure);

}  // namespace host

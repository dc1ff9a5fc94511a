// The marked pixels of a mask as polygons.
#pragma once

#include "host/sets/formats/ForeignFigure.h"

namespace host {

/// A polygon, with its holes, for each set of marked pixels that hang together by their sides. No loop touches itself,
/// and loops touch one another in corners alone. The first pixel's corner lies half a pixel off `origin`.
std::vector<Loops> PolygonsOf(Raster mask, ImagePoint origin);

}  // namespace host

// How much of every pixel lies inside an outline, exactly.
#pragma once

#include <vector>

#include "host/base/Plane.h"
#include "host/measure/Edges.h"
#include "host/measure/PixelSet.h"

namespace host {

/// The pixels of `field` of whose unit squares around (x, y) a part lies inside by the nonzero rule: those that lie
/// inside wholly as spans, the others with that part as weight. Parts below 1e-12 may be rounding and may be left out.
/// All arcs must have one centre, as those of a figure do.
PixelSet CoverageOf(const std::vector<Edge>& edges, const PixelRect& field);

}  // namespace host

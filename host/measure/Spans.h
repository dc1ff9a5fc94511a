// The pixels inside an outline, found row by row where its edges cross: in time that grows with rows and crossings.
#pragma once

#include <vector>

#include "host/base/Plane.h"
#include "host/measure/Edges.h"
#include "host/measure/PixelSet.h"

namespace host {

/// The pixels of `field` whose centres lie inside by the nonzero rule; of a centre on an edge the left and the top side
/// count.
PixelSet SpansOf(const std::vector<Edge>& edges, const PixelRect& field);

}  // namespace host

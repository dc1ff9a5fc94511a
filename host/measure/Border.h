// The edge around pixels.
#pragma once

#include <vector>

#include "host/measure/PixelSet.h"

namespace host {

/// A level or upright line between corners of pixels: corner (x, y) is the point (x - 0.5, y - 0.5), where pixel (x, y)
/// begins.
struct BorderLine {
    int x0, y0, x1, y1;
};

/// The lines that part pixels that count, wholly or not, from those that do not: each once, as long as can be.
std::vector<BorderLine> BorderOf(const PixelSet& pixels);

}  // namespace host

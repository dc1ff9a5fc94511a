// How long, how wide and how large an outline is, exactly, however much of it an image shows.
#pragma once

#include "host/figures/Outline.h"
#include "host/measure/PixelSet.h"

namespace host {

/// In the unit of the coordinates.
struct OutlineShape {
    double area;       ///< of what lies inside by the nonzero rule
    double perimeter;  ///< the length of the border of that, its holes' included
    double feret;      ///< the largest distance of two of its points
};

/// Of an outline whose coordinates are multiplied by `scaleX` and `scaleY`. All 0 when nothing lies inside, or when a
/// coordinate is not a finite number.
OutlineShape ShapeOf(const Outline& outline, double scaleX, double scaleY);

/// The same of the squares of pixels; those of which only a part counts belong to it wholly.
OutlineShape ShapeOf(const PixelSet& pixels, double scaleX, double scaleY);

}  // namespace host

// The image of a mask figure, between the framework's image component and rasters.
#pragma once

#include "host/base/Raster.h"
#include "host/figures/Figure.h"

namespace host {

/// Gives a mask figure an 8-bit, single-plane image, copied; every value above 0 marks a pixel. Throws
/// Error when the framework cannot hold it.
void SetMaskImage(const Figure& figure, const RasterView& image);

/// Gives a mask figure an image of one channel and any depth, copied: every value above 0 marks a pixel. The rectangle
/// is given the size at which its box covers the image's pixels one for one, and lies at their place. Throws a usage
/// error for other classes, and Error as SetMaskImage does.
void GiveMask(const Figure& figure, const RasterView& image);

/// Whether a figure is a mask that has an image.
bool HasMaskImage(const Figure& figure) noexcept;

/// The 8-bit image of a mask figure, copied; empty when it has none.
Raster MaskImageOf(const Figure& figure);

}  // namespace host

// Images made fit to be looked at.
#pragma once

#include <vector>

#include "host/base/Raster.h"

namespace host {

/// A copy of 8 bits, red, green and blue. Deeper images are stretched from the value below which a thousandth of their
/// values lies to the one above which a thousandth lies, so that single hot pixels do not darken the rest; of large
/// ones some four million values, evenly spread, are looked at. What is not a number is shown as the darkest. Alpha is
/// dropped. `bits` is how many of an 8-bit value the image uses.
Raster ForDisplay(const RasterView& image, int bits = 8);
/// Images of one size side by side, each stretched by itself.
Raster ForDisplay(const std::vector<RasterView>& images, int bits = 8);

}  // namespace host

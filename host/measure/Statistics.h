// Statistics of pixels, each with its weight.
#pragma once

#include <cstdint>
#include <optional>

#include "host/base/Raster.h"
#include "host/measure/PixelSet.h"

namespace host {

/// What is measured of at least one pixel. Values are those of the image's own depth. A pixel of which only a part
/// counts counts with that part in everything but `pixels`, `min`, `max` and the box. The centroid, the angle and the
/// box are those of the pixels, whatever their values.
struct Statistics {
    std::int64_t pixels;  ///< of which at least a part counts
    double area;          ///< in pixels: the sum of their weights
    double sum;
    double mean;
    double deviation;  ///< of the whole population
    double min;
    double max;
    double centroidX;
    double centroidY;
    /// Of the pixels' long axis, from +x toward +y, above -pi/2 up to pi/2; not a number when they are as
    /// broad as long, to a thousandth.
    double angle;
    PixelRect box;
};

/// Measures an image of one channel, of any depth, at pixels that lie inside it. Nothing when there is no
/// pixel. A value that is not a number makes sum, mean and deviation not a number, and is passed over in
/// the extremes.
std::optional<Statistics> Measure(const RasterView& plane, const PixelSet& pixels);

/// The value below and above which half of the area lies, or the mean of two that part it, at pixels that lie inside
/// the image. Not a number when there is no pixel or a value is not a number. Takes memory for a copy of the values.
double Median(const RasterView& plane, const PixelSet& pixels);

}  // namespace host

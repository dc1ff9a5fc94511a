// The values of an image along a profile's polyline.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "contract/IROI.h"
#include "host/base/Raster.h"
#include "host/base/Text.h"

namespace host {

/// One step of the curve: what the band across the polyline holds there.
struct CurvePoint {
    double distance;  ///< along the polyline, in pixels
    ImagePoint at;
    double mean;       ///< not a number without samples
    double deviation;  ///< of the whole population; not a number without samples
    int samples;       ///< that lie in the image and are numbers
};

/// The curve at distance 0, 1, 2, ... up to the polyline's length. The band reaches across its segment
/// from thickness 1 on the one side to thickness 2 on the other, with one sample per pixel counted from
/// the polyline itself, or from `thickness` to as much on either side; a band between two such samples is sampled once,
/// in its middle. Values are bilinear between the four pixels around a sample, in double precision. The image has one
/// channel. Samples outside the image, and those that are not numbers, do not count. Throws Error, naming the figure by
/// `name`, for a profile of fewer than two points, one that is not a number somewhere, and one of absurd length.
std::vector<CurvePoint> SampleCurve(IROIProfile& profile, const std::string& name, const RasterView& plane,
                                    std::optional<double> thickness = {});

}  // namespace host

// The values of an image along a profile's polyline, and a picture of the curve.
#pragma once

#include <string>
#include <vector>

#include "contract/IROI.h"
#include "host/base/Raster.h"
#include "host/base/Text.h"
#include "host/base/UserPath.h"

namespace host {

/// One step of the curve: what the band across the polyline holds there.
struct CurvePoint {
    double distance;  ///< along the polyline, in pixels
    ImagePoint at;
    double mean;       ///< not a number when no sample lies in the image
    double deviation;  ///< of the whole population; not a number without samples
    int samples;
};

/// The curve at distance 0, 1, 2, ... up to the polyline's length. The band reaches across its segment
/// from thickness 1 on the one side to thickness 2 on the other, with one sample per pixel counted from
/// the polyline itself; a band between two such samples is sampled once, in its middle. Values are
/// bilinear between the four pixels around a sample, in double precision. The image has one channel. Samples outside
/// the image do not count. Throws Error, naming the figure by `name`, for a profile of fewer than two points, one that
/// is not a number somewhere, and one of absurd length.
std::vector<CurvePoint> SampleCurve(IROIProfile& profile, const std::string& name, const RasterView& plane);

/// Throws a usage error unless the path ends in .svg or .png.
void CheckPlotEnding(const UserPath& path);

/// Draws the curve, with the deviation as a band around the mean, through gnuplot. Throws Error when
/// gnuplot is missing or fails, when no point has a sample, and when the file cannot be written.
void PlotCurve(const std::vector<CurvePoint>& curve, const std::string& title, const UserPath& path);

}  // namespace host

// The values of an image along a profile's polyline.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "contract/IROI.h"
#include "host/base/Raster.h"
#include "host/base/Text.h"
#include "host/measure/ClipLine.h"

namespace host {

/// One step of the curve: what the band across the polyline holds there.
struct CurvePoint {
    double distance;  ///< along the polyline, in pixels
    ImagePoint at;
    double mean;       ///< not a number without samples
    double deviation;  ///< of the whole population; not a number without samples
    int samples;       ///< that lie in the image and are numbers
};

/// The band along a profile's polyline, asked from the module once, to be sampled on any number of images.
///
/// It reaches across its segment from thickness 1 on the one side to thickness 2 on the other, or `thickness` to
/// either side.
class ProfileBand {
  public:
    /// Throws Error, naming the figure by `name`, for a profile of fewer than two points that differ, one that is not
    /// a number somewhere, and one of absurd length.
    ProfileBand(IROIProfile& profile, const std::string& name, std::optional<double> thickness = {});

    /// The curve at distance 0, 1, 2, ... up to the polyline's length, with one sample per pixel across the band,
    /// counted from the polyline itself; a band between two such samples is sampled once, in its middle. Values are
    /// bilinear between the four pixels around a sample, in double precision. The image has one channel. Samples
    /// outside the image, and those that are not numbers, do not count.
    std::vector<CurvePoint> Sample(const RasterView& plane) const;

    struct Segment {
        ImagePoint start;
        ImagePoint along;   ///< unit vectors: along the segment,
        ImagePoint across;  ///< and from its thickness-1 to its thickness-2 side
        Stretch band;       ///< where it begins and ends across
        double from;        ///< the polyline's length up to here
        double length;
    };

  private:
    std::vector<Segment> m_segments;
};

}  // namespace host

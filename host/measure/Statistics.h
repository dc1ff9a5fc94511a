// Statistics of the pixels in row spans.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <opencv2/core.hpp>

#include "host/measure/Region.h"

namespace host {

/// What is measured of at least one pixel. Values are those of the image's own depth; the centroid, the
/// angle and the box are those of the pixels, whatever their values.
struct Statistics {
    std::int64_t pixels;
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
    cv::Rect box;
};

/// Measures an image of one plane, of any depth, at spans that lie inside it. Nothing when there is no
/// pixel. A value that is not a number makes sum, mean and deviation not a number, and is passed over in
/// the extremes.
std::optional<Statistics> Measure(const cv::Mat& plane, const std::vector<Span>& spans);

/// The middle value, or the mean of the two middle ones, at spans that lie inside the image. Not a number when
/// there is no pixel or a value is not a number. Takes memory for a copy of the values.
double Median(const cv::Mat& plane, const std::vector<Span>& spans);

}  // namespace host

// Statistics of the pixels in row spans.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <opencv2/core.hpp>

#include "host/Region.h"

/// What is measured of at least one pixel. Values are those of the image's own depth; the centroid and
/// the box are those of the pixels, whatever their values.
struct Statistics {
    std::int64_t pixels;
    double mean;
    double deviation;  ///< of the whole population
    double min;
    double max;
    double centroidX;
    double centroidY;
    cv::Rect box;
};

/// Measures an image of one plane, of any depth, at spans that lie inside it. Nothing when there is no
/// pixel. A value that is not a number makes mean and deviation not a number, and is passed over in the extremes.
std::optional<Statistics> Measure(const cv::Mat& plane, const std::vector<Span>& spans);

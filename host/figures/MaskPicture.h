// The image of a mask figure, between the framework's image component and OpenCV.
#pragma once

#include <opencv2/core.hpp>

#include "host/figures/Figure.h"

namespace host {

/// Gives a mask figure an 8-bit, single-plane image, copied; every value above 0 marks a pixel. Throws
/// Error when the framework cannot hold it.
void SetMaskImage(const Figure& figure, const cv::Mat& image);

/// Whether a figure is a mask that has an image.
bool HasMaskImage(const Figure& figure) noexcept;

/// The 8-bit image of a mask figure, copied; empty when it has none.
cv::Mat MaskImageOf(const Figure& figure);

}  // namespace host

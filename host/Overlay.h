// Figures drawn over an image, to be looked at.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "host/RoiSet.h"

/// Draws every figure on a picture of 8-bit blue, green and red: its pixels tinted, its outline, its
/// nodes with their numbers, and its name. Each figure has a colour of its own, and every bright line a
/// dark border, so that it shows on any ground. Lines and letters grow with the picture. Whatever lies
/// outside, or is not a number, is left out.
void DrawOverlay(cv::Mat& picture, const std::vector<Figure>& figures);

// Figures drawn over an image, to be looked at.
#pragma once

#include <cstddef>
#include <vector>

#include <opencv2/core.hpp>

#include "host/sets/RoiSet.h"

namespace host {

/// Nodes are small marks, with or without the numbers that NodesOf gives them.
enum class NodeMarks { plain, numbered };

/// Draws every figure on a picture of 8-bit blue, green and red: its pixels tinted, its outline, its
/// nodes and its name. Each figure has a colour of its own, and every bright line a dark border, so that
/// it shows on any ground. Lines and letters grow with the picture. Whatever lies outside, or is not a
/// number, is left out.
void DrawOverlay(cv::Mat& picture, const std::vector<Figure>& figures, NodeMarks marks);

/// A picture of one figure alone, in the colour it has among all: the part of an image (8-bit blue, green
/// and red) that holds the figure and its nodes, with a margin. A small part is enlarged to at least 600
/// pixels along its longer side, each pixel a square. Throws Error when the figure lies outside the image.
cv::Mat DrawCloseUp(const cv::Mat& image, const std::vector<Figure>& figures, std::size_t index, NodeMarks marks);

}  // namespace host

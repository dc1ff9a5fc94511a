// Figures drawn over an image, to be looked at.
#pragma once

#include <string>
#include <vector>

#include "host/base/Raster.h"
#include "host/measure/Region.h"
#include "host/sets/RoiSet.h"

namespace host {

/// What an overlay shows beside the edges of the figures' pixels.
struct OverlayOptions {
    PixelRule rule = PixelRule::outline;
    bool nodes = false;  ///< the nodes, with the numbers that NodesOf gives them
    bool names = true;
    /// The figures to draw, by name; all when there is none.
    std::vector<std::string> only;
};

/// Draws figures on a picture of 8-bit red, green and blue: an edge around exactly the pixels that count, which are
/// tinted, the line of a profile and what the options ask for. Each figure has a colour of its own among all of the
/// set, and every bright line a dark border, so that it shows on any ground. Lines and letters grow with the picture.
/// Whatever lies outside, or is not a number, is left out. Throws Error for a name that no figure has.
void DrawOverlay(Raster& picture, const RoiSet& set, const OverlayOptions& options);

/// A picture of one figure alone, in the colour it has among all: the part of an image (8-bit red, green and blue) that
/// holds the figure and its nodes, with a margin. A small part is enlarged to at least 600 pixels along its longer
/// side, each pixel a square. Throws Error when the figure lies outside the image.
Raster DrawCloseUp(const RasterView& image, const RoiSet& set, const std::string& name, const OverlayOptions& options);

}  // namespace host

// Figures drawn over an image, to be looked at.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/base/Raster.h"
#include "host/base/UserPath.h"
#include "host/draw/Canvas.h"
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
    /// A figure that is shown alone and close up: the part of the image that holds it and its nodes, with a margin. A
    /// small part is enlarged to at least 600 pixels along its longer side, each pixel a square. Empty for none.
    std::string closeUp;
};

/// An edge around exactly the pixels of each figure that count, which are tinted, the line of a profile and what the
/// options ask for. Each figure has a colour of its own among all of the set, and every bright line a dark border, so
/// that it shows on any ground. Lines and letters grow with the picture. Whatever lies outside, or is not a number, is
/// left out.
class Overlay {
  public:
    /// For images of a size. The set is not looked at later. Throws Error for a name that no figure has, for a close-up
    /// of a figure that lies outside the image, and where the module that draws cannot be opened.
    Overlay(const RoiSet& set, PixelSize image, const OverlayOptions& options);

    /// The part of the image that is shown.
    const PixelRect& Window() const noexcept { return m_window; }

    /// The overlay on that part of an image, which is given in 8-bit red, green and blue, as ForDisplay makes it, or
    /// on each of several that stand side by side: as a picture, and as the bytes of a file of lines and letters.
    /// Throws Error.
    Raster Picture(const RasterView& window) const;
    std::string Document(DocumentFormat format, const RasterView& window) const;

  private:
    PixelRect m_window;
    int m_scale = 1;
    std::unique_ptr<Canvas> m_canvas;
};

/// The colours that figures have by their places in the set, over and over.
std::span<const Colour> FigureColours() noexcept;

/// Throws a usage error unless the ending of the path names a format of overlays: PNG, JPEG, TIFF, SVG or PDF.
void CheckOverlayEnding(const UserPath& path);

/// Writes an overlay on a part of an image (see Overlay) in the format that the ending names, whole or not at all.
/// Throws Error.
void SaveOverlay(const UserPath& path, const Overlay& overlay, const RasterView& window);

}  // namespace host

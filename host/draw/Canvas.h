// What overlays are drawn on. The only implementation lies in a module of its own, so that a command that draws nothing
// loads no drawing library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/base/Plane.h"
#include "host/base/Raster.h"
#include "host/base/Text.h"

namespace host {

struct Colour {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

/// Points joined by straight lines.
using Path = std::vector<ImagePoint>;

/// The files of lines and letters instead of pixels.
enum class DocumentFormat { svg, pdf };

/// Keeps what is drawn, in order, until it is shown. Coordinates are those of the picture's pixels, each of which is
/// the unit square below and to the right of the point of its numbers.
class Canvas {
  public:
    Canvas() = default;
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    virtual ~Canvas() = default;

    /// Mixes a share of a colour, 0 to 1, into whole pixels; boxes must not overlap.
    virtual void Tint(const std::vector<PixelRect>& boxes, Colour colour, double share) = 0;
    virtual void Stroke(const std::vector<Path>& paths, Colour colour, double width) = 0;
    virtual void Disc(ImagePoint center, double radius, Colour colour) = 0;
    /// How long a UTF-8 text is whose capital letters are `height` high.
    virtual double TextWidth(const std::string& text, double height) = 0;
    /// Writes a text with a border; its first letter stands to the right of `start`.
    virtual void Write(const std::string& text, ImagePoint start, double height, Colour colour, Colour border,
                       double borderWidth) = 0;

    /// Paints all of it on pixels of 8-bit red, green and blue, in rows without gaps: once, or as often as pictures of
    /// the canvas's size stand side by side there. Throws std::runtime_error.
    virtual void PaintOn(std::uint8_t* pixels, PixelSize size) = 0;
    /// A file with such pixels and all of it on top. Throws std::runtime_error.
    virtual std::string Document(DocumentFormat format, const RasterView& picture) = 0;
};

/// What the module exports: a new canvas, owned by the caller, for pictures of a size.
using NewCanvasEntry = Canvas* (*)(PixelSize size);
inline constexpr const char* kCanvasModule = "CairoCanvas.so";
inline constexpr const char* kNewCanvasSymbol = "NewCanvas";

}  // namespace host

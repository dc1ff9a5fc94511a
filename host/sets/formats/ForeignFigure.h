// What all file formats of other programs have in common: figures as plain values, and regions as loops of points.
// Coordinates are the set's: the centre of the first pixel is (0, 0).
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/base/Raster.h"
#include "host/base/Text.h"
#include "host/figures/Figure.h"
#include "host/figures/Session.h"
#include "host/sets/RoiSet.h"

namespace host {

/// A point of a profile or a shape; the thicknesses are a profile's.
struct ForeignPoint {
    ImagePoint at;
    double thickness1 = 0.0;
    double thickness2 = 0.0;
};

/// What goes on while a file is read: what people should be told, and how many pixels its masks may still have.
class Reading {
  public:
    std::vector<Warning> warnings;

    /// Throws std::runtime_error when all masks together have more than 64 Mi pixels: a few bytes may stand for many.
    void TakePixels(double pixels);

  private:
    double m_pixelsLeft = 64.0 * 1024 * 1024;
};

struct ForeignFigure {
    std::string name;
    std::string className;
    std::vector<std::pair<std::string, double>> parameters;  ///< the others keep their defaults
    std::vector<ForeignPoint> points;
    Raster mask;  ///< 8 bits, above 0 where it marks; its rectangle is in the parameters
};

/// A figure as it is, and one made of such a description. Building throws Error where the figure does not take it.
ForeignFigure Describe(const Figure& figure);
Figure Build(const Session& session, const ForeignFigure& description);

using Loop = std::vector<ImagePoint>;

/// A polygon or several, with the holes in them.
struct Loops {
    std::vector<Loop> outer;
    std::vector<Loop> holes;
};

/// The outline of a figure with its arcs as chords, at most 0.02 pixels off, each loop open: its first point does not
/// come again. For a mask with an image, the sides of its runs of pixels.
Loops LoopsOf(const Figure& figure);

// Figures out of what other programs draw. A line without a width is a pixel wide; a spot is a box without a size.
ForeignFigure BoxFigure(std::string name, ImagePoint center, double width, double height, double degrees);
ForeignFigure EllipseFigure(std::string name, ImagePoint center, double radiusX, double radiusY);
ForeignFigure LineFigure(std::string name, const std::vector<ImagePoint>& points, double width);
ForeignFigure SpotFigure(std::string name, ImagePoint at);
/// A shape for one loop of three points or more; a mask of the pixels inside, with a warning, for anything else: a
/// point is inside when the loops run around it an odd number of times. Throws std::runtime_error for a region without
/// pixels and too many pixels.
ForeignFigure RegionFigure(std::string name, const std::vector<Loop>& loops, Reading& reading);
/// A mask of that size that marks nothing.
Raster EmptyMask(int width, int height);
/// The pixels of a mask whose first one is the pixel (left, top) of the image.
ForeignFigure MaskFigure(std::string name, Raster mask, int left, int top);

}  // namespace host

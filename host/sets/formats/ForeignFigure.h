// What all file formats of other programs have in common: figures as plain values, and regions as loops of points.
// Coordinates are the set's: the centre of the first pixel is (0, 0).
#pragma once

#include <memory>
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

/// How much the masks of a file may still take: a few bytes may stand for many pixels.
class Reading {
  public:
    /// Throws std::runtime_error when all masks together have more than 64 Mi pixels.
    void TakePixels(double pixels);
    /// The same for the rows of pixels that the sides of all regions cross, more than 256 Mi together.
    void TakeCrossings(double rows);

  private:
    double m_pixelsLeft = 64.0 * 1024 * 1024;
    double m_crossingsLeft = 256.0 * 1024 * 1024;
};

using Loop = std::vector<ImagePoint>;

/// A polygon or several, with the holes in them.
struct Loops {
    std::vector<Loop> outer;
    std::vector<Loop> holes;
};

/// The outline of a figure with its arcs as chords, at most a thousandth of a pixel off, each loop open: its first
/// point does not come again. For a mask with an image, the sides of its runs of pixels.
Loops LoopsOf(const Figure& figure);

/// The same as polygons that neither cross nor touch themselves or one another along a side: one, or several for a
/// mask with an image.
std::vector<Loops> PolygonsOf(const Figure& figure);

/// What a loop encloses; below 0 when it runs against the clock, with y downwards.
double SignedArea(const Loop& loop);

struct ForeignFigure {
    std::string name = {};
    std::string className = {};
    std::vector<std::pair<std::string, double>> parameters = {};  ///< the others keep their defaults
    std::vector<ForeignPoint> points = {};
    Raster mask = {};          ///< 8 bits, above 0 where it marks; its rectangle is in the parameters
    std::string warning = {};  ///< half a sentence on what does not come over; empty when everything does

    /// The figure that the file carries for this system alone, beside the loops or the line that it draws for all;
    /// null when there is none.
    std::shared_ptr<const ForeignFigure> carried = {};
    std::vector<Loop> drawn = {};
};

/// A figure as it is, with all of its values.
ForeignFigure Describe(const Figure& figure);

/// A figure made of a description: of the carried one, as long as what is drawn is still the outline of that figure to
/// a hundredth of a pixel, and otherwise of what is drawn, with the description's warning. Throws Error where the
/// figure does not take it.
Figure Build(const Session& session, const ForeignFigure& description, std::vector<Warning>& warnings);

// Figures out of what other programs draw. A line without a width is a pixel wide, and a spot a box of one pixel.
ForeignFigure BoxFigure(std::string name, ImagePoint center, double width, double height, double degrees);
ForeignFigure EllipseFigure(std::string name, ImagePoint center, double radiusX, double radiusY);
ForeignFigure LineFigure(std::string name, const std::vector<ImagePoint>& points, double width);
ForeignFigure SpotFigure(std::string name, ImagePoint at);
/// A shape for one loop of three points or more; a mask of the pixels inside, with a warning, for anything else: a
/// point is inside when the loops run around it an odd number of times. Throws std::runtime_error for a region without
/// pixels and for more than the reading has left.
ForeignFigure RegionFigure(std::string name, const std::vector<Loop>& loops, Reading& reading);
/// A mask of that size that marks nothing.
Raster EmptyMask(int width, int height);
/// The pixels of a mask whose first one is the pixel (left, top) of the image.
ForeignFigure MaskFigure(std::string name, Raster mask, int left, int top);

}  // namespace host

// A figure's pixels as row spans: measuring, masks and overlays are loops over them.
//
// Pixel (i, j) is tested at the point (i, j). The pixels of a figure are
// - those that its mask marks, the mask's pixel (0, 0) lying at the left and top of GetBoundingRect;
// - its whole bounding box for a rectangle without roll, which says so by an empty mask, and for a shape,
//   which offers no test of its own;
// - for every other figure those whose coordinates HitTest accepts. A figure whose mask cannot be made
//   (a ring under two pixels) or would be out of all proportion is tested in the same way.
#pragma once

#include <optional>
#include <vector>

#include <opencv2/core.hpp>

namespace host {

struct Figure;

/// Pixels firstX to lastX, both included, of row y, in image coordinates.
struct Span {
    int y;
    int firstX;
    int lastX;

    int Length() const noexcept { return lastX - firstX + 1; }
};

/// The smallest box around spans; empty when there are none.
cv::Rect BoxAround(const std::vector<Span>& spans) noexcept;

/// An 8-bit image of a box, 255 at the pixels of the spans and 0 elsewhere. The spans must lie in the box.
cv::Mat Painted(const std::vector<Span>& spans, cv::Rect box);

/// Whether the host cuts the ring of an arc donut by its limits. The figure itself never does: its hit
/// test and its mask are those of the full ring. Other figures are not affected.
enum class Cut { none, sector };

/// A figure's pixels, rows ascending and spans from left to right, without overlap.
struct Pixels {
    std::vector<Span> spans;
    /// What the spans lie in: the mask's or the figure's own box, otherwise the box around the spans.
    cv::Rect box;
    /// False when the figure reaches beyond the field that was searched.
    bool complete = true;
};

/// Finds the pixels of a figure in `field`. Those outside may be among the spans, but only a complete
/// result is sure to have them all. The work is bounded by the field, the size of a mask and the number
/// of a profile's points, however large the figure; coordinates that are not numbers give no pixels.
Pixels FindPixels(const Figure& figure, cv::Rect field, Cut cut);

/// All pixels of a figure, or nothing when it is too large to be taken as a whole.
std::optional<Pixels> FindAllPixels(const Figure& figure, Cut cut);

/// How a figure lies to an image: all its pixels in it, some beyond its border, all beyond, or no pixels
/// at all (a figure that lies between the pixels).
enum class Placement { ok, clipped, outside, empty };

/// What an image shows of a figure.
struct View {
    std::vector<Span> spans;
    Placement placement = Placement::empty;
};

/// The pixels of one figure for images of any size. They are found once and clipped to each size; only
/// an image that exceeds the earlier ones can make a figure that reached beyond those be searched again.
/// The figure is referred to and must neither change nor go while the region is used.
class Region {
  public:
    Region(const Figure& figure, Cut cut) : m_figure(&figure), m_cut(cut) {}

    /// What an image of that size shows.
    View In(cv::Size image);

  private:
    const Figure* m_figure;
    Cut m_cut;
    cv::Size m_field;
    std::optional<Pixels> m_pixels;
};

}  // namespace host

// Which pixels are a figure's: the one place that measuring, masks, labels, overlays and hits take it from.
//
// Pixel (i, j) is the unit square around the point (i, j). It belongs to a figure when its centre lies inside the
// figure's outline; on an edge the left and top side count, the right and bottom side do not. So figures that share an
// edge share no pixel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "host/base/Plane.h"
#include "host/base/Text.h"
#include "host/figures/Outline.h"
#include "host/measure/PixelSet.h"

namespace host {

struct Figure;

/// Which pixels count.
enum class PixelRule {
    outline,  ///< those whose centres lie inside the outline
    exact,    ///< those of whose squares a part lies inside the outline, each with that part
    module,   ///< those that the module answers for, by its masks and hit tests
};

/// Of more pixels nobody takes a mask, or a figure as a whole.
inline constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;

struct Pixels {
    PixelSet set;
    /// False when the figure reaches beyond the field that was searched.
    bool complete = true;
};

/// What is searched for pixels in a field: a little more, so that what a figure that ends just outside has there is
/// seen.
constexpr PixelRect Searched(const PixelRect& field) noexcept {
    return {field.left - 2, field.top - 2, field.width + 4, field.height + 4};
}

/// Finds the pixels of a figure in `field`. Those outside may be among them, but only a complete result is sure to
/// have them all. The work is bounded by the field, the size of a mask and the number of a figure's points, however
/// large the figure; coordinates that are not finite numbers give no pixels.
Pixels FindPixels(const Figure& figure, const PixelRect& field, PixelRule rule);

/// All pixels of a figure, or nothing when it is too large to be taken as a whole.
std::optional<PixelSet> FindAllPixels(const Figure& figure, PixelRule rule);

/// Whether a point belongs to a figure: by its outline, or with PixelRule::module by the module's hit test. A point of
/// a mask's image belongs when its pixel does.
bool HoldsPoint(const Figure& figure, ImagePoint point, PixelRule rule);

/// How a figure lies to an image: all its pixels in it, some beyond its border, all beyond, or no pixels
/// at all (a figure that lies between the pixels).
enum class Placement { ok, clipped, outside, empty };

/// What an image shows of a figure.
struct View {
    PixelSet pixels;
    Placement placement = Placement::empty;
    /// The whole figure's, beyond the image, too; null where the region is no outline but the pixels themselves.
    std::shared_ptr<const Outline> outline;
};

/// What the topmost rows of the image show of it.
View Above(const View& view, int rows);

/// The pixels of one figure for images of any size. They are found once and clipped to each size; only
/// an image that exceeds the earlier ones can make a figure that reached beyond those be searched again.
/// The figure is referred to and must neither change nor go while the region is used.
class Region {
  public:
    Region(const Figure& figure, PixelRule rule) : m_figure(&figure), m_rule(rule) {}

    /// What an image of that size shows.
    View In(PixelSize image);

  private:
    const Figure* m_figure;
    PixelRule m_rule;
    PixelSize m_field;
    std::optional<Pixels> m_pixels;
    std::shared_ptr<const Outline> m_outline;
};

}  // namespace host

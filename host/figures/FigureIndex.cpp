#include "host/figures/FigureIndex.h"

#include <algorithm>
#include <boost/geometry/algorithms/disjoint.hpp>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <cmath>
#include <iterator>
#include <utility>

#include "host/figures/FigureClass.h"
#include "host/figures/MaskPicture.h"

namespace host {

namespace {

namespace bg = boost::geometry;

using Corner = bg::model::point<double, 2, bg::cs::cartesian>;
using Box = bg::model::box<Corner>;
using Entry = std::pair<Box, std::size_t>;

class Extent {
  public:
    void Add(double left, double top, double right, double bottom) {
        // What is no number makes the sums none either.
        m_sound = m_sound && std::isfinite(left + top + right + bottom);
        m_left = std::min(m_left, left);
        m_top = std::min(m_top, top);
        m_right = std::max(m_right, right);
        m_bottom = std::max(m_bottom, bottom);
    }
    void Add(ImagePoint at) { Add(at.x, at.y, at.x, at.y); }
    void Add(const Arc& arc) {
        const double x = std::abs(arc.radiusX);
        const double y = std::abs(arc.radiusY);
        Add(arc.center.x - x, arc.center.y - y, arc.center.x + x, arc.center.y + y);
    }

    bool IsSound() const noexcept { return m_sound; }
    bool IsEmpty() const noexcept { return m_left > m_right; }
    operator Box() const { return {{m_left, m_top}, {m_right, m_bottom}}; }

  private:
    double m_left = HUGE_VAL, m_top = HUGE_VAL, m_right = -HUGE_VAL, m_bottom = -HUGE_VAL;
    bool m_sound = true;
};

// The pixels of a mask begin in the corner of its box, whatever the size of that.
void AddMask(const Figure& figure, Extent& extent) {
    int left = 0;
    int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    if (Failed(figure.roi->GetBoundingRect(&left, &top, &width, &height))) {
        return;
    }
    const PixelSize mask = MaskImageOf(figure).Size();
    const double across = std::max<double>(width, mask.width);
    const double down = std::max<double>(height, mask.height);
    extent.Add(left - 1.0, top - 1.0, left + across + 1.0, top + down + 1.0);
}

Extent ExtentOf(const Figure& figure) {
    Extent extent;
    const Outline outline = figure.type->outline(figure);
    for (const Contour& contour : outline.contours) {
        for (const auto& part : contour) {
            std::visit([&extent](const auto& drawn) { extent.Add(drawn); }, part);
        }
    }
    for (const ImagePoint& at : outline.axis) {
        extent.Add(at);
    }
    for (const HitBox& box : figure.type->hitBoxes(*figure.roi)) {
        extent.Add(box.left, box.top, box.right, box.bottom);
    }
    if (outline.isImage) {
        AddMask(figure, extent);
    }
    return extent;
}

}  // namespace

struct FigureIndex::Boxes {
    bg::index::rtree<Entry, bg::index::linear<16>> tree;
    std::vector<std::size_t> boundless;
};

FigureIndex::FigureIndex(std::span<const Figure> figures) {
    auto boxes = std::make_unique<Boxes>();
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < figures.size(); ++i) {
        const Extent extent = ExtentOf(figures[i]);
        if (!extent.IsSound()) {
            boxes->boundless.push_back(i);
        } else if (!extent.IsEmpty()) {
            entries.emplace_back(extent, i);
        }
    }
    // Packed when it is made of all at once.
    boxes->tree = {entries.begin(), entries.end()};
    m_boxes = std::move(boxes);
}

FigureIndex::FigureIndex(FigureIndex&& other) noexcept = default;
FigureIndex& FigureIndex::operator=(FigureIndex&& other) noexcept = default;
FigureIndex::~FigureIndex() = default;

std::vector<std::size_t> FigureIndex::At(ImagePoint point, double reach) const {
    std::vector<std::size_t> found = m_boxes->boundless;
    const Box around{{point.x - reach, point.y - reach}, {point.x + reach, point.y + reach}};
    const auto query = m_boxes->tree.qbegin(bg::index::intersects(around));
    std::transform(query, m_boxes->tree.qend(), std::back_inserter(found),
                   [](const Entry& entry) { return entry.second; });
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace host

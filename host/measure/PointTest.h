// Many points asked of one figure: made once, then a few comparisons for each point.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/Raster.h"
#include "host/base/Text.h"
#include "host/measure/Edges.h"

namespace host {

struct Figure;

/// Which points belong to a figure by its outline: the answers of HoldsPoint. Asks the module when it is made and never
/// after, so that any thread may use it.
class PointTest {
  public:
    explicit PointTest(const Figure& figure);

    /// Answers for `count` points, of which each is an x and a y: 1 for those that belong, 0 for the others.
    void Test(const double* xy, std::size_t count, std::uint8_t* inside) const noexcept;

  private:
    // What an edge is to the points of one band of rows.
    struct Side {
        double top;
        double bottom;
        double left;   // a point further left does not have the edge on its left
        double right;  // a point from here on has
        int winding;
    };

    double BandOf(double y) const noexcept;
    std::size_t SidesIn(double bands);
    void FillBands();
    bool Encloses(ImagePoint point) const noexcept;
    bool IsMarked(ImagePoint point) const noexcept;

    std::vector<Edge> m_edges;
    EdgeExtent m_extent;
    double m_bands = 0.0;
    double m_perRow = 0.0;
    std::vector<std::size_t> m_starts;  // of a band's sides; one more at the end
    std::vector<Side> m_sides;
    Raster m_marks;  // of a figure that is its own image
    PixelRect m_box;
};

}  // namespace host

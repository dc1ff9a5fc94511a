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

/// Places on a line in equal steps: rising, so that what lies between two values has places between theirs. What lies
/// before the first place, and what is not a number, falls into it, what lies behind the last into that.
class Steps {
  public:
    Steps() = default;
    Steps(double first, double last, double count) noexcept;

    int Of(double value) const noexcept {
        const double place = (value - m_first) * m_perUnit;
        const double behind = place > 0.0 ? place : 0.0;
        return static_cast<int>(behind < m_last ? behind : m_last);
    }
    /// The middle and the length of a place; not a number where all is one place.
    double Middle(int place) const noexcept { return m_first + (place + 0.5) * Length(); }
    double Length() const noexcept { return 1.0 / m_perUnit; }

  private:
    double m_first = 0.0;
    double m_last = 0.0;
    double m_perUnit = 0.0;
};

/// Which points belong to a figure by its outline: the answers of HoldsPoint. Asks the module when it is made and never
/// after, so that any thread may use it.
class PointTest {
  public:
    explicit PointTest(const Figure& figure);

    /// Answers for `count` points, of which each is an x and a y: 1 for those that belong, 0 for the others.
    void Test(const double* xy, std::size_t count, std::uint8_t* inside) const;

  private:
    // What an edge is to the points of one band of rows.
    struct Side {
        double top;
        double bottom;
        double left;   // a point further left does not have the edge on its left
        double right;  // a point from here on has
        int winding;
    };
    class Cells;

    std::size_t CountSides(double bands);
    void FillBands();
    bool Encloses(ImagePoint point) const noexcept;
    bool IsMarked(ImagePoint point) const noexcept;

    std::vector<Edge> m_edges;
    EdgeExtent m_extent;
    Steps m_bands;
    std::vector<std::size_t> m_starts;  // of a band's sides; one more at the end
    std::vector<Side> m_sides;
    Raster m_marks;  // of a figure that is its own image
    PixelRect m_box;
};

}  // namespace host

// Finds the upright boxes that hold a point, without walking over all of them: a grid lies over them, and each
// cell knows the boxes that reach it.
#pragma once

#include <memory>
#include <span>

#include "roi/Geometry.h"

namespace roi {

/// Whether a box holds a point, edges included; false when either has a NaN in it.
constexpr bool Holds(const Extent<double>& box, Point p) noexcept {
    const int x = static_cast<int>(box.minX <= p.x) & static_cast<int>(p.x <= box.maxX);
    const int y = static_cast<int>(box.minY <= p.y) & static_cast<int>(p.y <= box.maxY);
    return (x & y) != 0;
}

/// The boxes of a polyline's segments, each widened by its margin, ready to be asked.
class SegmentIndex {
  public:
    /// Makes the index anew from `count` boxes, which are copied; boxes with a NaN in them hold nothing.
    /// False, with the index empty, when there is no memory.
    bool Build(const Extent<double>* boxes, int count) noexcept;

    /// Whether any of the boxes holds the point, edges included. A point outside the box around all of
    /// them is answered at once; any other costs the boxes of one cell.
    bool Holds(Point p) const noexcept;

    /// The boxes that a question for the point looks at, the index's own: none outside the box around all of them.
    std::span<const Extent<double>> Beside(Point p) const noexcept;

  private:
    using Box = Extent<double>;

    // An axis of the grid, cut into cells of one width.
    struct Axis {
        double low = 0.0;      // Where the first cell begins,
        double perUnit = 0.0;  // and how many cells there are to a pixel.
        int cells = 1;

        void Cut(double from, double to, int count) noexcept;
        int CellOf(double along) const noexcept;
    };
    // The cells that a box reaches, first and last included; none for a box that can hold no point.
    struct Reach {
        int left, right, top, bottom;
    };

    int MeasureBoxes(const Box* boxes, int count, double* columns, double* rows) noexcept;
    void LayGrid(const Box* boxes, int count) noexcept;
    Reach ReachOf(const Box& box) const noexcept;
    std::size_t CellAt(int column, int row) const noexcept;

    static constexpr Box kNothing = {1.0, -1.0, 1.0, -1.0};

    Box m_all = kNothing;
    Axis m_x;
    Axis m_y;
    std::unique_ptr<int[]> m_starts;  // Row by row; the last cell ends at the entry behind it.
    std::unique_ptr<Box[]> m_boxes;   // Cell by cell; a box stands in every cell that it reaches.
};

}  // namespace roi

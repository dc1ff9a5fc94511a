// Finds the upright boxes that hold a point, without walking over all of them: the boxes are sorted into
// buckets along the axis on which they are spread out most.
#pragma once

#include <memory>

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
    /// them is answered at once; any other costs the boxes of one bucket.
    bool Holds(Point p) const noexcept;

  private:
    using Box = Extent<double>;

    int BucketOf(double along) const noexcept;
    int CountBuckets(const Box* boxes, int count) noexcept;

    static constexpr Box kNothing = {1.0, -1.0, 1.0, -1.0};

    Box m_all = kNothing;
    bool m_alongX = true;
    double m_low = 0.0;      // Where the first bucket begins,
    double m_perUnit = 0.0;  // and how many buckets there are to a pixel.
    int m_buckets = 0;       // The last bucket ends at m_starts[m_buckets].
    std::unique_ptr<int[]> m_starts;
    std::unique_ptr<Box[]> m_boxes;  // Bucket by bucket; a box stands in every bucket that it reaches.
};

}  // namespace roi

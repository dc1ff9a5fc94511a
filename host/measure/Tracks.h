// Where chains of edges run through rows of pixels, and what of the pixels lies to their right: in loops without
// branches, for a block of rows at a time.
#pragma once

#include <array>
#include <vector>

#include "host/base/Plane.h"
#include "host/measure/Curves.h"
#include "host/measure/PixelSet.h"

namespace host {

/// As many rows are looked at together.
inline constexpr int kBlock = 32;

/// Parts of pixels that are less are rounding.
inline constexpr double kNothing = 1e-12;

/// A chain's way through the rows of a block, in a box of pixels as Curve has it.
struct Track {
    template <class T>
    using Rows = std::array<T, kBlock>;

    std::array<double, kBlock + 1> xs;  ///< at the top of each row and at the bottom of the last
    Rows<double> left;                  ///< how far it goes in each row
    Rows<double> right;
    Rows<const Curve*> curves;  ///< its edge at the top of each row
    Rows<int> first;            ///< the columns that it goes through, one beyond the box standing for all
    Rows<int> last;
    /// What lies to its right of the first column, and of those behind it together, which of an arc is known of one; of
    /// a column alone, the same again.
    Rows<double> head;
    Rows<double> rest;
    /// Whether those are known and the first and a second column count in part. Not where it has a joint in the row, or
    /// is a small arc.
    Rows<int> isPlain;

    /// Follows a chain through rows of a box that is `width` columns wide, through all of which it runs. `begin` is its
    /// edge at the top of the first of them, row `top` of the box.
    void Follow(const Curve& begin, int top, int rows, int width) noexcept;
    /// Adds the pixels of a row in which it is plain, a row of the block that begins at row `top` of the box. What is
    /// to the right of a left side counts, and the rest at a right one.
    void AddParts(int top, int row, const PixelRect& box, bool isLeft, PartPixels& parts) const;
};

/// The tracks between which a region lies, by turns its left and its right sides; `top` is the first row of the block.
class Sides {
  public:
    int top = 0;
    std::vector<const Track*> tracks;

    /// Whether each of the rows [row, end) of the block is plain: all sides are followed there, through pixels of their
    /// own that count in part.
    void FindPlain(int row, int end, int width, Track::Rows<int>& isPlain) const noexcept;
    /// Adds the pixels of rows that are.
    void AddPlain(int row, int end, const PixelRect& box, PixelSet& pixels) const;
};

}  // namespace host

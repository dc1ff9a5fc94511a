// Where chains of edges run through rows of pixels, and what of the pixels lies to their right: in loops without
// branches, for a block of rows at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/Plane.h"
#include "host/measure/Curves.h"
#include "host/measure/PixelSet.h"

namespace host {

/// As many rows are looked at together.
inline constexpr int kBlock = 64;  // as many as `unknown` has bits

/// Loops over rows may run on to a multiple of it, so that no vector is filled in part.
inline constexpr int kLanes = 8;

/// Of sides that go through so many columns of a row all is known beforehand.
inline constexpr int kFew = 4;

/// Parts of pixels that are less are rounding.
inline constexpr double kNothing = 1e-12;

/// By less a chain may lie beside a column's border: what it has of the column may be rounding then.
inline constexpr double kBeside = 1e-4;

/// How many columns a chain goes through in a row: two at most, kFew at most, or any number.
enum class Reach { narrow, few, wide };

/// A chain's way through rows of a block, in a box of pixels as Curve has it.
struct Track {
    template <class T>
    using Rows = std::array<T, kBlock + kLanes>;

    /// At the top of each row and at the bottom of the last; what lies beyond the box is as far as a column beyond.
    /// Loops run on into rows that were never found: these three must be numbers there, too.
    Rows<double> xs{};
    Rows<double> left{};  ///< how far it goes in each row
    Rows<double> right{};
    Rows<const Curve*> curves;  ///< its edge at the top of each row
    Rows<int> first;            ///< the columns that it goes through
    Rows<int> last;
    /// How far it stays away from the borders where it would have nothing of its first column or all of its last; 0
    /// where its shares are not known.
    Rows<double> margin;
    /// What lies to its right of each of the first columns, of two at least and of kFew at most.
    std::array<Rows<double>, kFew> shares;
    std::uint64_t unknown;  ///< a bit for each row of which FindShares has not found the shares and the margin
    Reach reach;            ///< in the row in which it goes through most

    /// Follows a chain through rows [row, end), through all of which it runs, of a block that begins at row `top` of a
    /// box of that width. `begin` is its edge at the top of the first of them.
    void Follow(const Curve& begin, int top, int row, int end, int width) noexcept;
    /// Finds the shares of the rows [row, end) of which they are unknown, by all edges, of whatever kind, that it
    /// follows there.
    void FindShares(int top, int row, int end, int width) noexcept;
    /// Whether all columns of a row count in part, as its shares say or, in those behind the first few, its edge.
    bool IsPlain(std::size_t row) const noexcept { return margin[row] > kBeside; }
    /// Whether its shares, once they are found, are those of all columns that it goes through in a row. A row may have
    /// a column more by rounding; then the margin is next to nothing.
    bool HasShares(std::size_t row) const noexcept {
        const int more = last[row] - first[row];
        return more < 2 || (more < kFew && IsPlain(row));
    }
    /// What lies to its right of any column of a row that it has the shares of.
    double ShareOf(int column, std::size_t row) const noexcept {
        if (column < first[row]) {
            return 0.0;
        }
        return column > last[row] ? 1.0 : shares[static_cast<std::size_t>(column - first[row])][row];
    }
    /// Calls `use` for the edges that it follows in a row of a block that begins at row `top` of the box, each with its
    /// way and the places where that begins and ends.
    template <class Using>
    void ForEachStrand(int top, int row, Using use) const {
        const auto at = static_cast<std::size_t>(row);
        const Curve* curve = curves[at];
        double y = top + row;
        double x = xs[at];
        const double bottom = y + 1.0;
        for (; curve->bottom < bottom; curve = curve->next) {
            use(Strand{curve, x, curve->xBottom}, y, curve->bottom);
            x = curve->xBottom;
            y = curve->bottom;
        }
        use(Strand{curve, x, xs[at + 1]}, y, bottom);
    }
    /// Adds the pixels of a row in which it is plain, a row of the block that begins at row `top` of the box. What is
    /// to the right of a left side counts, and the rest at a right one.
    void AddParts(int top, int row, const PixelRect& box, bool isLeft, PartPixels& parts) const;

  private:
    void FindShares(int top, std::size_t row, int width) noexcept;
};

/// The tracks between which a region lies, by turns its left and its right sides; `top` is the first row of the block.
class Sides {
  public:
    int top = 0;
    std::vector<Track*> tracks;

    /// Whether each of the rows [row, end) of the block is plain: the shares of all sides are known there, and each
    /// goes through pixels of its own.
    void FindPlain(int row, int end, int width, Track::Rows<int>& isPlain) noexcept;
    /// Adds the pixels of rows that are.
    void AddPlain(int row, int end, const PixelRect& box, PixelSet& pixels) const;

  private:
    std::size_t MostParts(int row, int end) const noexcept;
    template <class Writing>
    void ForEachPair(int row, int end, Writing write) const noexcept;
    Span* WriteSpans(int row, int end, const PixelRect& box, Span* span) const noexcept;
    template <Reach kReach>
    int WriteParts(int row, int end, const PixelRect& box, int count, PartSpan* spans, double* weights) const noexcept;
};

}  // namespace host

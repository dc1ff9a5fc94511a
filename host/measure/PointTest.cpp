#include "host/measure/PointTest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "host/figures/FigureClass.h"
#include "host/measure/ModulePixels.h"

namespace host {

namespace {

// Where an edge lies within a step of rows, with room for the rounding of its x and of where the step ends: a quarter
// of it to either side.
std::pair<double, double> ReachOf(const Edge& edge, const Steps& rows, int row) noexcept {
    if (edge.IsLevel()) {
        return std::minmax({edge.xTop, edge.xBottom});
    }
    const double top = rows.Middle(row) - 0.75 * rows.Length();
    const double bottom = rows.Middle(row) + 0.75 * rows.Length();
    // All of the edge where these are not numbers.
    const double first = edge.X(top > edge.top ? std::min(top, edge.bottom) : edge.top);
    const double last = edge.X(bottom < edge.bottom ? std::max(bottom, edge.top) : edge.bottom);
    const double room = 1e-9 * (std::abs(edge.xTop) + std::abs(edge.xBottom) + std::abs(edge.radiusX));
    return {std::max(std::min(first, last) - room, std::min(edge.xTop, edge.xBottom)),
            std::min(std::max(first, last) + room, std::max(edge.xTop, edge.xBottom))};
}

}  // namespace

Steps::Steps(double first, double last, double count) noexcept : m_first(first), m_last(count - 1.0) {
    const double perUnit = count / (last - first);
    // What is too long or too short to be divided is one place.
    m_perUnit = std::isnormal(perUnit) ? perUnit : 0.0;
}

// ---------------------------------------------------------------------------------------------------
// Many points: the outline's box in cells, most of which lie inside or outside as a whole

class PointTest::Cells {
  public:
    explicit Cells(const PointTest& test)
        : m_test(test),
          m_rows(WithBorder(test.m_extent.top, test.m_extent.bottom)),
          m_columns(WithBorder(test.m_extent.left, test.m_extent.right)),
          m_cells(std::size_t{kSide} * kSide, kUnknown) {
        for (const Edge& edge : test.m_edges) {
            Mark(edge);
        }
        for (int row = 0; row < kSide; ++row) {
            Fill(row);
        }
    }

    void Test(const double* xy, std::size_t count, std::uint8_t* inside) const noexcept {
        constexpr std::size_t kBlock = 512;
        std::array<std::int32_t, kBlock> cells;
        for (std::size_t done = 0; done < count; done += kBlock) {
            const std::size_t size = std::min(kBlock, count - done);
            Find(xy + 2 * done, size, cells.data());
            for (std::size_t i = 0; i < size; ++i) {
                const std::uint8_t cell = m_cells[static_cast<std::size_t>(cells[i])];
                const double* const point = xy + 2 * (done + i);
                inside[done + i] =
                    cell == kCrossed ? static_cast<std::uint8_t>(m_test.Encloses({point[0], point[1]})) : cell;
            }
        }
    }

  private:
    enum Cell : std::uint8_t { kOutside, kInside, kCrossed, kUnknown };

    static constexpr int kSide = 128;

    std::uint8_t* CellsOf(int row) noexcept { return m_cells.data() + std::ptrdiff_t{row} * kSide; }

    // A step more at either end, for what lies beyond.
    static Steps WithBorder(double first, double last) noexcept {
        const double step = (last - first) / (kSide - 2.0);
        return {first - step, last + step, kSide};
    }

    // The cells of points, in a loop without branches.
    void Find(const double* xy, std::size_t count, std::int32_t* cells) const noexcept {
        const Steps rows = m_rows;
        const Steps columns = m_columns;
        for (std::size_t i = 0; i < count; ++i) {
            cells[i] = rows.Of(xy[2 * i + 1]) * kSide + columns.Of(xy[2 * i]);
        }
    }

    void Mark(const Edge& edge) {
        const int last = m_rows.Of(edge.bottom);
        for (int row = m_rows.Of(edge.top); row <= last; ++row) {
            const auto [left, right] = ReachOf(edge, m_rows, row);
            std::uint8_t* const cells = CellsOf(row);
            std::fill(cells + m_columns.Of(left), cells + m_columns.Of(right) + 1, std::uint8_t{kCrossed});
        }
    }

    // Cells side by side that no edge crosses lie all inside or all outside.
    void Fill(int row) {
        std::uint8_t* const cells = CellsOf(row);
        for (int column = 0; column < kSide; ++column) {
            if (cells[column] == kUnknown) {
                const bool goesOn = column > 0 && cells[column - 1] != kCrossed;
                const bool inside = goesOn ? cells[column - 1] == kInside
                                           : m_test.Encloses({m_columns.Middle(column), m_rows.Middle(row)});
                cells[column] = inside ? kInside : kOutside;
            }
        }
    }

    const PointTest& m_test;
    Steps m_rows;
    Steps m_columns;
    std::vector<std::uint8_t> m_cells;
};

// ---------------------------------------------------------------------------------------------------
// Single points: the outline in bands of rows, each with the edges that cross it

PointTest::PointTest(const Figure& figure) : m_extent{} {
    const Outline outline = figure.type->outline(figure);
    if (outline.isImage) {
        const PixelSet marked = MarkedPixels(figure).value_or(PixelSet{});
        m_box = BoxAround(marked);
        m_marks = Painted(marked, m_box);
        return;
    }
    m_edges = EdgesOf(outline);
    m_extent = ExtentOf(m_edges);
    if (!m_edges.empty()) {
        FillBands();
    }
}

// Divides the rows into bands and counts the sides of each.
std::size_t PointTest::CountSides(double bands) {
    m_bands = Steps(m_extent.top, m_extent.bottom, bands);
    m_starts.assign(static_cast<std::size_t>(bands) + 1, 0);
    std::size_t sides = 0;
    for (const Edge& edge : m_edges) {
        const int first = m_bands.Of(edge.top);
        const int last = m_bands.Of(edge.bottom);
        sides += static_cast<std::size_t>(last + 1 - first);
        for (int band = first; band <= last; ++band) {
            ++m_starts[static_cast<std::size_t>(band)];
        }
    }
    return sides;
}

void PointTest::FillBands() {
    constexpr double kFewBands = 256.0;
    constexpr double kMostBands = 65536.0;
    const auto edges = static_cast<double>(m_edges.size());
    double bands = std::clamp(4.0 * edges, kFewBands, kMostBands);
    // Long edges side by side are in every band: fewer bands then.
    while (static_cast<double>(CountSides(bands)) > 16.0 * edges + 4.0 * kFewBands) {
        bands = std::floor(0.5 * bands);
    }
    std::size_t end = 0;
    for (std::size_t& start : m_starts) {
        end += start;
        start = end;
    }
    m_sides.resize(end);
    for (const Edge& edge : m_edges) {
        const int last = m_bands.Of(edge.bottom);
        for (int band = m_bands.Of(edge.top); band <= last; ++band) {
            const auto [left, right] = ReachOf(edge, m_bands, band);
            m_sides[--m_starts[static_cast<std::size_t>(band)]] = {edge.top, edge.bottom, left, right, edge.winding};
        }
    }
}

bool PointTest::Encloses(ImagePoint point) const noexcept {
    const auto band = static_cast<std::size_t>(m_bands.Of(point.y));
    int winding = 0;
    int close = 0;
    for (std::size_t i = m_starts[band]; i < m_starts[band + 1]; ++i) {
        const Side& side = m_sides[i];
        const int crosses = static_cast<int>(side.top <= point.y) & static_cast<int>(point.y < side.bottom);
        const int beyond = static_cast<int>(side.right <= point.x);
        winding += side.winding * (crosses & beyond);
        close |= crosses & ~beyond & static_cast<int>(side.left <= point.x);
    }
    return close != 0 ? host::Encloses(m_edges, point) : winding != 0;
}

bool PointTest::IsMarked(ImagePoint point) const noexcept {
    const double x = point.x + 0.5 - m_box.left;
    const double y = point.y + 0.5 - m_box.top;
    if (!(x >= 0.0 && y >= 0.0 && x < m_box.width && y < m_box.height)) {
        return false;
    }
    return m_marks.View().Row<std::uint8_t>(static_cast<int>(y))[static_cast<int>(x)] != 0;
}

void PointTest::Test(const double* xy, std::size_t count, std::uint8_t* inside) const {
    constexpr std::size_t kMany = 5000;
    const auto test = [&](auto answer) {
        for (std::size_t i = 0; i < count; ++i) {
            inside[i] = answer(ImagePoint(xy[2 * i], xy[2 * i + 1])) ? 1 : 0;
        }
    };
    if (!m_marks.IsEmpty()) {
        test([this](ImagePoint point) { return IsMarked(point); });
    } else if (m_edges.empty()) {
        std::fill(inside, inside + count, std::uint8_t{0});
    } else if (count < kMany) {
        test([this](ImagePoint point) { return Encloses(point); });
    } else {
        Cells(*this).Test(xy, count, inside);
    }
}

}  // namespace host

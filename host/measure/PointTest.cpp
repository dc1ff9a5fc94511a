#include "host/measure/PointTest.h"

#include <algorithm>
#include <cmath>

#include "host/figures/FigureClass.h"
#include "host/measure/ModulePixels.h"

namespace host {

namespace {

// Where an edge lies within the rows from top to bottom, all of it where these are no numbers, with room for the
// rounding of its x.
std::pair<double, double> ReachOf(const Edge& edge, double top, double bottom) noexcept {
    const double first = edge.X(top > edge.top ? std::min(top, edge.bottom) : edge.top);
    const double last = edge.X(bottom < edge.bottom ? std::max(bottom, edge.top) : edge.bottom);
    const double room = 1e-9 * (std::abs(edge.xTop) + std::abs(edge.xBottom) + std::abs(edge.radiusX));
    return {std::max(std::min(first, last) - room, std::min(edge.xTop, edge.xBottom)),
            std::min(std::max(first, last) + room, std::max(edge.xTop, edge.xBottom))};
}

}  // namespace

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

// Rises with y, so that the bands of an edge's ends have those of all its rows between them. Rows beyond the outline,
// and what is not a number, fall into the outermost bands.
double PointTest::BandOf(double y) const noexcept {
    const double band = (y - m_extent.top) * m_perRow;
    return std::min(band > 0.0 ? band : 0.0, m_bands - 1.0);
}

std::size_t PointTest::SidesIn(double bands) {
    m_bands = bands;
    const double perRow = bands / (m_extent.bottom - m_extent.top);
    // An outline too high or too low to be divided lies in the first band.
    m_perRow = std::isnormal(perRow) ? perRow : 0.0;
    m_starts.assign(static_cast<std::size_t>(bands) + 1, 0);
    std::size_t sides = 0;
    for (const Edge& edge : m_edges) {
        const auto first = static_cast<std::size_t>(BandOf(edge.top));
        const auto last = static_cast<std::size_t>(BandOf(edge.bottom));
        sides += last + 1 - first;
        for (std::size_t band = first; band <= last; ++band) {
            ++m_starts[band];
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
    while (static_cast<double>(SidesIn(bands)) > 16.0 * edges + 4.0 * kFewBands) {
        bands = std::floor(0.5 * bands);
    }
    std::size_t end = 0;
    for (std::size_t& start : m_starts) {
        end += start;
        start = end;
    }
    m_sides.resize(end);
    const double height = 1.0 / m_perRow;
    for (const Edge& edge : m_edges) {
        const auto last = static_cast<std::size_t>(BandOf(edge.bottom));
        for (auto band = static_cast<std::size_t>(BandOf(edge.top)); band <= last; ++band) {
            // A quarter more to either side than the band has: where it ends is rounded.
            const double middle = m_extent.top + (static_cast<double>(band) + 0.5) * height;
            const auto [left, right] = ReachOf(edge, middle - 0.75 * height, middle + 0.75 * height);
            m_sides[--m_starts[band]] = {edge.top, edge.bottom, left, right, edge.winding};
        }
    }
}

bool PointTest::Encloses(ImagePoint point) const noexcept {
    const auto band = static_cast<std::size_t>(BandOf(point.y));
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
    const double x = std::floor(point.x + 0.5) - m_box.left;
    const double y = std::floor(point.y + 0.5) - m_box.top;
    if (!(x >= 0.0 && y >= 0.0 && x < m_box.width && y < m_box.height)) {
        return false;
    }
    return m_marks.View().Row<std::uint8_t>(static_cast<int>(y))[static_cast<int>(x)] != 0;
}

void PointTest::Test(const double* xy, std::size_t count, std::uint8_t* inside) const noexcept {
    const auto test = [&](auto answer) {
        for (std::size_t i = 0; i < count; ++i) {
            inside[i] = answer(ImagePoint(xy[2 * i], xy[2 * i + 1])) ? 1 : 0;
        }
    };
    if (!m_marks.IsEmpty()) {
        test([this](ImagePoint point) { return IsMarked(point); });
    } else if (!m_edges.empty()) {
        test([this](ImagePoint point) { return Encloses(point); });
    } else {
        std::fill(inside, inside + count, std::uint8_t{0});
    }
}

}  // namespace host

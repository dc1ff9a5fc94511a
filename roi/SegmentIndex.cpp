#include "roi/SegmentIndex.h"

#include <new>
#include <numeric>

namespace roi {

namespace {

using Box = Extent<double>;

// So many cells a box, at most, and so many places in which a box stands, on the average.
constexpr double kMostCells = 2.0;
constexpr double kMostPlaces = 8.0;

// A box that can hold a point at all: negative margins and NaN make boxes that cannot.
bool IsUsable(const Box& box) noexcept { return box.minX <= box.maxX && box.minY <= box.maxY; }

}  // namespace

void SegmentIndex::Axis::Cut(double from, double to, int count) noexcept {
    low = from;
    cells = count;
    perUnit = count > 1 ? count / (to - from) : 0.0;
}

int SegmentIndex::Axis::CellOf(double along) const noexcept {
    // With one cell the factor is 0; infinite coordinates then give NaN, which is the first cell too.
    // With the smallest extents it is infinite, so the last cell is chosen before the conversion.
    const double cell = (along - low) * perUnit;
    return cell >= 1.0 ? static_cast<int>(std::min(cell, cells - 1.0)) : 0;
}

SegmentIndex::Reach SegmentIndex::ReachOf(const Box& box) const noexcept {
    if (!IsUsable(box)) {
        return {0, -1, 0, -1};
    }
    return {m_x.CellOf(box.minX), m_x.CellOf(box.maxX), m_y.CellOf(box.minY), m_y.CellOf(box.maxY)};
}

std::size_t SegmentIndex::CellAt(int column, int row) const noexcept {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_x.cells) + static_cast<std::size_t>(column);
}

// Takes the box around all, and how many boxes of the mean size fit along each axis. Returns how many boxes are usable.
int SegmentIndex::MeasureBoxes(const Box* boxes, int count, double* columns, double* rows) noexcept {
    m_all = kNothing;
    double sumWidth = 0.0;
    double sumHeight = 0.0;
    int usable = 0;
    for (int i = 0; i < count; ++i) {
        if (!IsUsable(boxes[i])) {
            continue;
        }
        if (usable++ == 0) {
            m_all = boxes[i];
        }
        m_all.Include(boxes[i].minX, boxes[i].minY);
        m_all.Include(boxes[i].maxX, boxes[i].maxY);
        sumWidth += boxes[i].maxX - boxes[i].minX;
        sumHeight += boxes[i].maxY - boxes[i].minY;
    }
    const auto fitting = [usable](double extent, double sum) {
        const double fit = extent / (sum / usable);
        // Also for boxes without extent and for infinite ones, whose quotient is not a number.
        return fit >= 1.0 ? std::min(fit, static_cast<double>(usable)) : 1.0;
    };
    *columns = fitting(m_all.maxX - m_all.minX, sumWidth);
    *rows = fitting(m_all.maxY - m_all.minY, sumHeight);
    return usable;
}

// Cells about as large as the mean box, and fewer where that makes too many of them or where large boxes, which reach
// many cells, would take too much memory.
void SegmentIndex::LayGrid(const Box* boxes, int count) noexcept {
    double columns = 1.0;
    double rows = 1.0;
    const int usable = MeasureBoxes(boxes, count, &columns, &rows);
    for (;;) {
        m_x.Cut(m_all.minX, m_all.maxX, static_cast<int>(columns));
        m_y.Cut(m_all.minY, m_all.maxY, static_cast<int>(rows));
        double places = 0.0;
        for (int i = 0; i < count; ++i) {
            const Reach reach = ReachOf(boxes[i]);
            places += (reach.right - reach.left + 1.0) * (reach.bottom - reach.top + 1.0);
        }
        if (columns * rows <= kMostCells * usable + 1.0 && places <= kMostPlaces * usable) {
            return;
        }
        double& longer = columns > rows ? columns : rows;
        longer = std::max(longer * 0.5, 1.0);
    }
}

bool SegmentIndex::Build(const Box* boxes, int count) noexcept {
    LayGrid(boxes, count);
    const std::size_t cells = CellAt(0, m_y.cells);
    m_starts.reset(new (std::nothrow) int[cells + 1]());
    if (m_starts == nullptr) {
        m_all = kNothing;
        return false;
    }
    const auto forEachPlace = [&](auto visit) {
        for (int i = 0; i < count; ++i) {
            const Reach reach = ReachOf(boxes[i]);
            for (int row = reach.top; row <= reach.bottom; ++row) {
                for (int column = reach.left; column <= reach.right; ++column) {
                    visit(CellAt(column, row), boxes[i]);
                }
            }
        }
    };
    int* const starts = m_starts.get();
    // Counted, summed, and then filled from each cell's end: that leaves the starts behind.
    forEachPlace([starts](std::size_t cell, const Box&) { ++starts[cell]; });
    std::partial_sum(starts, starts + cells + 1, starts);
    m_boxes.reset(new (std::nothrow) Box[static_cast<std::size_t>(starts[cells])]);
    if (m_boxes == nullptr) {
        m_all = kNothing;
        return false;
    }
    forEachPlace([&](std::size_t cell, const Box& box) { m_boxes[static_cast<std::size_t>(--starts[cell])] = box; });
    return true;
}

std::span<const Box> SegmentIndex::Beside(Point p) const noexcept {
    if (!roi::Holds(m_all, p)) {
        return {};
    }
    const std::size_t cell = CellAt(m_x.CellOf(p.x), m_y.CellOf(p.y));
    return {m_boxes.get() + m_starts[cell], m_boxes.get() + m_starts[cell + 1]};
}

bool SegmentIndex::Holds(Point p) const noexcept {
    const std::span<const Box> beside = Beside(p);
    return std::any_of(beside.begin(), beside.end(), [p](const Box& box) { return roi::Holds(box, p); });
}

}  // namespace roi

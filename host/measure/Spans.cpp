#include "host/measure/Spans.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

#include "host/measure/NearlySorted.h"

namespace host {

namespace {

// As many rows are looked at together: the columns at which edges cross them are found in loops without branches.
constexpr int kBlock = 64;

// A list for more spans grows as they come.
constexpr std::size_t kMostReserved = 1 << 16;

// What crosses rows firstRow <= y < endRow: an edge and those that go on below it.
struct Crossing {
    int edge;  ///< the uppermost of those that cross the block
    int firstRow;
    int endRow;
    int winding;
    /// The first column to the right of it in each row of the block that it crosses, from the block's top on.
    const int* columns = nullptr;
};

// The first whole number that is not below a value within low and high; in a loop it takes no branch.
double CeilWithin(double value, double low, double high) noexcept {
    // Of numbers beside it only whole ones are kept.
    constexpr double kLarge = 6755399441055744.0;
    value = std::min(std::max(low, value), high);
    const double whole = (value + kLarge) - kLarge;
    return whole + (whole < value ? 1.0 : 0.0);
}

class Scan {
  public:
    Scan(const std::vector<Edge>& edges, const PixelRect& field)
        : m_edges(edges), m_links(LinksOf(edges)), m_field(field) {
        FindCrossings();
        m_first = m_next = m_crossings.begin();
    }

    PixelSet Run() {
        for (int y = m_field.top; m_first != m_crossings.end(); y += kBlock) {
            y = m_first == m_next ? m_next->firstRow : y;
            ScanBlock(y, y + kBlock);
        }
        return std::move(m_pixels);
    }

  private:
    using Columns = std::array<int, kBlock>;

    const Edge& At(int edge) const noexcept { return m_edges[static_cast<std::size_t>(edge)]; }
    int Below(int edge) const noexcept { return m_links[static_cast<std::size_t>(edge)].below; }
    // The first row of the field that is not above a place.
    int RowAt(double y) const noexcept {
        return static_cast<int>(CeilWithin(y, m_field.top, static_cast<double>(m_field.Bottom())));
    }

    void FindCrossings() {
        const auto begins = [](const Link& link) { return link.begins; };
        m_crossings.reserve(static_cast<std::size_t>(std::count_if(m_links.begin(), m_links.end(), begins)));
        std::size_t rows = 0;
        for (auto link = m_links.begin(); link != m_links.end(); ++link) {
            if (!link->begins) {
                continue;
            }
            const auto first = static_cast<int>(link - m_links.begin());
            int last = first;
            while (Below(last) >= 0) {
                last = Below(last);
            }
            const Crossing crossing{first, RowAt(At(first).top), RowAt(At(last).bottom), At(first).winding};
            if (crossing.firstRow < crossing.endRow) {
                m_crossings.push_back(crossing);
                rows += static_cast<std::size_t>(crossing.endRow - crossing.firstRow);
            }
        }
        m_sides.reserve(m_crossings.size());
        m_pixels.spans.reserve(std::min(rows / 2, kMostReserved));
        std::sort(m_crossings.begin(), m_crossings.end(),
                  [](const Crossing& a, const Crossing& b) { return a.firstRow < b.firstRow; });
    }

    void ScanBlock(int top, int end) {
        m_top = top;
        const auto last =
            std::find_if(m_next, m_crossings.end(), [end](const Crossing& c) { return c.firstRow >= end; });
        m_columns.resize(std::max(m_columns.size(), static_cast<std::size_t>(last - m_first)));
        auto columns = m_columns.begin();
        for (auto crossing = m_first; crossing != last; ++crossing) {
            FindColumns(*crossing, *columns++);
        }
        for (int y = top; y < end;) {
            const int changes = Change(y, end);
            while (y < changes) {
                y = AddRows(y, changes);
            }
        }
    }

    void FindColumns(Crossing& crossing, Columns& columns) const noexcept {
        const int end = std::min(crossing.endRow, m_top + kBlock);
        for (int y = std::max(crossing.firstRow, m_top);; crossing.edge = Below(crossing.edge)) {
            const Edge& edge = At(crossing.edge);
            const int edgeEnd = std::min(RowAt(edge.bottom), end);
            if (y < edgeEnd) {
                FindColumns(edge, y, edgeEnd - y, columns.data() + (y - m_top));
                y = edgeEnd;
            }
            if (y == end) {
                break;
            }
        }
        crossing.columns = columns.data();
    }

    void FindColumns(const Edge& edge, int top, int count, int* columns) const noexcept {
        // Within the edge's ends and the field.
        const auto within = [this](double x) {
            return std::min(std::max(x, 1.0 * m_field.left), static_cast<double>(m_field.Right()));
        };
        const double low = within(std::min(edge.xTop, edge.xBottom));
        const double high = within(std::max(edge.xTop, edge.xBottom));
        const auto find = [=](auto x) {
            for (int i = 0; i < count; ++i) {
                columns[i] = static_cast<int>(CeilWithin(x(static_cast<double>(top + i)), low, high));
            }
        };
        if (edge.IsArc()) {
            find([edge](double y) { return edge.ArcX(y); });
        } else {
            find([edge](double y) { return edge.LineX(y); });
        }
    }

    // Ends what ends at a row and begins what begins there. The next row with a change, or the end.
    int Change(int y, int end) {
        const auto ends = [y](const Crossing& crossing) { return crossing.endRow <= y; };
        m_first = std::remove_if(std::reverse_iterator(m_next), std::reverse_iterator(m_first), ends).base();
        while (m_next != m_crossings.end() && m_next->firstRow <= y) {
            ++m_next;
        }
        for (auto crossing = m_first; crossing != m_next; ++crossing) {
            end = std::min(end, crossing->endRow);
        }
        return m_next == m_crossings.end() ? end : std::min(end, m_next->firstRow);
    }

    // Adds the rows from `top` on that are crossed in the same order. The row behind them.
    int AddRows(int top, int end) {
        Sort(top);
        end = OrderEnd(top, end);
        m_sides.clear();
        int winding = 0;
        for (auto crossing = m_first; crossing != m_next; ++crossing) {
            const int before = std::exchange(winding, winding + crossing->winding);
            if (before == 0 || winding == 0) {
                m_sides.push_back(crossing->columns);
            }
        }
        if (!m_sides.empty()) {
            AddSpans(top, end);
        }
        return end;
    }

    // Adds what lies between the sides, of which there are some.
    void AddSpans(int top, int end) {
        Spans& spans = m_pixels.spans;
        const std::size_t count = spans.size();
        spans.resize(count + static_cast<std::size_t>(end - top) * (m_sides.size() / 2));
        Span* next = spans.data() + count;
        const int* const* const sides = m_sides.data();
        const int* const* const sidesEnd = sides + m_sides.size();
        const int blockTop = m_top;
        for (int y = top; y < end; ++y) {
            const auto columnOf = [row = y - blockTop](const int* side) { return side[row]; };
            int behind = columnOf(sides[1]);
            Span* last = next;
            *last = {y, columnOf(sides[0]), behind - 1};
            next += last->Length() > 0 ? 1 : 0;
            for (const int* const* side = sides + 2; side != sidesEnd; side += 2) {
                const int left = columnOf(side[0]);
                const int right = columnOf(side[1]);
                if (left == behind && last != next) {
                    last->lastX = right - 1;
                } else if (left < right) {
                    last = next++;
                    *last = {y, left, right - 1};
                } else {
                    continue;
                }
                behind = right;
            }
        }
        spans.resize(static_cast<std::size_t>(next - spans.data()));
    }

    // They stay nearly in order from row to row. The order of those in the same column does not matter: no pixel lies
    // between them.
    void Sort(int y) noexcept {
        SortNearlySorted(m_first, m_next, [row = y - m_top](const Crossing& a, const Crossing& b) {
            return a.columns[row] < b.columns[row];
        });
    }

    // The first row behind `top` that is crossed in another order.
    int OrderEnd(int top, int end) const noexcept {
        for (auto crossing = m_first; crossing != m_next; ++crossing) {
            if (crossing == m_first) {
                continue;
            }
            const int* const left = crossing[-1].columns - m_top;
            const int* const right = crossing->columns - m_top;
            int crossed = 0;
            for (int y = top + 1; y < end; ++y) {
                crossed |= static_cast<int>(left[y] > right[y]);
            }
            for (int y = top + 1; crossed != 0 && y < end; ++y) {
                end = left[y] > right[y] ? y : end;
            }
        }
        return end;
    }

    const std::vector<Edge>& m_edges;
    std::vector<Link> m_links;
    PixelRect m_field;
    std::vector<Crossing> m_crossings;  // those that have ended, those between m_first and m_next, from left to right,
    std::vector<Crossing>::iterator m_first;  // and those that have not begun
    std::vector<Crossing>::iterator m_next;
    int m_top = 0;  // of the block
    std::vector<Columns, Unwritten<Columns>> m_columns;
    std::vector<const int*> m_sides;  // by turns left and right ones
    PixelSet m_pixels;
};

}  // namespace

PixelSet SpansOf(const std::vector<Edge>& edges, const PixelRect& field) {
    return field.IsEmpty() ? PixelSet() : Scan(edges, field).Run();
}

}  // namespace host

#include "host/measure/Spans.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace host {

namespace {

// As many rows are looked at together: the columns at which edges cross them are found in loops without branches.
constexpr int kBlock = 32;

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
        : m_edges(edges), m_chains(ChainsOf(edges)), m_field(field) {
        FindCrossings();
        m_next = m_crossings.begin();
    }

    PixelSet Run() {
        for (int y = m_field.top; m_next != m_crossings.end() || !m_active.empty(); y += kBlock) {
            y = m_active.empty() ? m_next->firstRow : y;
            ScanBlock(y, y + kBlock);
        }
        return std::move(m_pixels);
    }

  private:
    using Columns = std::array<int, kBlock>;

    const Edge& At(int edge) const noexcept { return m_edges[static_cast<std::size_t>(edge)]; }
    int Below(int edge) const noexcept { return m_chains.next[static_cast<std::size_t>(edge)]; }
    // The first row of the field that is not above a place.
    int RowAt(double y) const noexcept {
        return static_cast<int>(CeilWithin(y, m_field.top, static_cast<double>(m_field.Bottom())));
    }

    void FindCrossings() {
        m_crossings.reserve(m_chains.first.size());
        std::size_t rows = 0;
        for (const int first : m_chains.first) {
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
        m_active.reserve(m_crossings.size());
        m_sides.reserve(m_crossings.size());
        m_pixels.spans.reserve(std::min(rows / 2, kMostReserved));
        std::sort(m_crossings.begin(), m_crossings.end(),
                  [](const Crossing& a, const Crossing& b) { return a.firstRow < b.firstRow; });
    }

    void ScanBlock(int top, int end) {
        m_top = top;
        const auto last =
            std::find_if(m_next, m_crossings.end(), [end](const Crossing& c) { return c.firstRow >= end; });
        m_columns.resize(std::max(m_columns.size(), m_active.size() + static_cast<std::size_t>(last - m_next)));
        auto columns = m_columns.begin();
        for (Crossing& crossing : m_active) {
            FindColumns(crossing, *columns++);
        }
        for (auto crossing = m_next; crossing != last; ++crossing) {
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
            FindColumns(edge, y, edgeEnd - y, columns.data() + (y - m_top));
            y = std::max(y, edgeEnd);
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
        auto kept = m_active.begin();
        for (const Crossing& crossing : m_active) {
            if (crossing.endRow > y) {
                end = std::min(end, crossing.endRow);
                *kept++ = crossing;
            }
        }
        m_active.erase(kept, m_active.end());
        for (; m_next != m_crossings.end() && m_next->firstRow <= y; ++m_next) {
            end = std::min(end, m_next->endRow);
            m_active.push_back(*m_next);
        }
        return m_next == m_crossings.end() ? end : std::min(end, m_next->firstRow);
    }

    // Adds the rows from `top` on that are crossed in the same order. The row behind them.
    int AddRows(int top, int end) {
        Sort(top);
        end = OrderEnd(top, end);
        m_sides.clear();
        int winding = 0;
        for (const Crossing& crossing : m_active) {
            const int before = std::exchange(winding, winding + crossing.winding);
            if (before == 0 || winding == 0) {
                m_sides.push_back(crossing.columns);
            }
        }
        AddSpans(top, end);
        return end;
    }

    // Adds what lies between the sides.
    void AddSpans(int top, int end) {
        Spans& spans = m_pixels.spans;
        const std::size_t count = spans.size();
        spans.resize(count + static_cast<std::size_t>(end - top) * m_sides.size() / 2);
        Span* next = spans.data() + count;
        const int* const* const sides = m_sides.data();
        const int* const* const sidesEnd = sides + m_sides.size() / 2 * 2;
        for (int row = top - m_top; row < end - m_top; ++row) {
            const Span* const first = next;
            for (const int* const* side = sides; side != sidesEnd; side += 2) {
                const int left = side[0][row];
                const int right = side[1][row];
                if (left >= right) {
                    continue;
                }
                if (next != first && next[-1].lastX + 1 == left) {
                    next[-1].lastX = right - 1;
                } else {
                    *next++ = {m_top + row, left, right - 1};
                }
            }
        }
        spans.resize(static_cast<std::size_t>(next - spans.data()));
    }

    // They stay nearly in order from row to row. The order of those in the same column does not matter: no pixel lies
    // between them.
    void Sort(int y) noexcept {
        const int row = y - m_top;
        for (std::size_t i = 1; i < m_active.size(); ++i) {
            if (m_active[i].columns[row] >= m_active[i - 1].columns[row]) {
                continue;
            }
            const Crossing moved = m_active[i];
            std::size_t to = i;
            for (; to > 0 && moved.columns[row] < m_active[to - 1].columns[row]; --to) {
                m_active[to] = m_active[to - 1];
            }
            m_active[to] = moved;
        }
    }

    // The first row behind `top` that is crossed in another order.
    int OrderEnd(int top, int end) const noexcept {
        for (std::size_t i = 1; i < m_active.size(); ++i) {
            const int* const left = m_active[i - 1].columns - m_top;
            const int* const right = m_active[i].columns - m_top;
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
    Chains m_chains;
    PixelRect m_field;
    std::vector<Crossing> m_crossings;
    std::vector<Crossing>::iterator m_next;  // the first of those that have not begun
    std::vector<Crossing> m_active;          // from left to right
    int m_top = 0;                           // of the block
    std::vector<Columns> m_columns;
    std::vector<const int*> m_sides;  // by turns left and right ones
    PixelSet m_pixels;
};

}  // namespace

PixelSet SpansOf(const std::vector<Edge>& edges, const PixelRect& field) {
    return field.IsEmpty() ? PixelSet() : Scan(edges, field).Run();
}

}  // namespace host

#include "host/measure/Coverage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace host {

namespace {

// ---------------------------------------------------------------------------------------------------
// Edges, prepared to be followed

double Between(double value, double low, double high) noexcept { return std::min(std::max(low, value), high); }

// An edge with what it takes to follow it without a division.
struct Curve {
    double top;
    double bottom;
    double xTop;
    double xBottom;
    double left;
    double right;
    int winding;
    bool isArc;
    // Of a line.
    double slope;
    double rise;
    // Of an arc.
    ImagePoint center;
    ImagePoint radius;
    ImagePoint inverse;
    double square;

    // Squares of pixels have whole numbers for borders here.
    explicit Curve(const Edge& edge) noexcept
        : top(edge.top + 0.5),
          bottom(edge.bottom + 0.5),
          xTop(edge.xTop + 0.5),
          xBottom(edge.xBottom + 0.5),
          left(std::min(xTop, xBottom)),
          right(std::max(xTop, xBottom)),
          winding(edge.winding),
          isArc(edge.IsArc()),
          slope((edge.xBottom - edge.xTop) / (edge.bottom - edge.top)),
          rise((edge.bottom - edge.top) / (edge.xBottom - edge.xTop)),
          center(edge.centerX + 0.5, edge.centerY + 0.5),
          radius(edge.radiusX, edge.radiusY),
          inverse(1.0 / edge.radiusX, 1.0 / edge.radiusY),
          square(std::abs(edge.radiusX * edge.radiusY)) {}

    double X(double y) const noexcept { return isArc ? ArcX(y) : LineX(y); }
    // At `count` rows from y on.
    void FindXs(double y, int count, double* xs) const noexcept {
        const Curve curve = *this;
        const auto find = [&](auto x) {
            for (int i = 0; i < count; ++i) {
                xs[i] = x(y + i);
            }
        };
        if (isArc) {
            find([&curve](double at) { return curve.ArcX(at); });
        } else {
            find([&curve](double at) { return curve.LineX(at); });
        }
    }
    double Y(double x) const noexcept {
        if (!isArc) {
            return Between(top + (x - xTop) * rise, top, bottom);
        }
        const double u = (x - center.x) * inverse.x;
        return Between(center.y + radius.y * std::sqrt(std::max((1.0 - u) * (1.0 + u), 0.0)), top, bottom);
    }

    double LineX(double y) const noexcept { return Between(xTop + (y - top) * slope, left, right); }
    double ArcX(double y) const noexcept {
        const double u = (y - center.y) * inverse.y;
        return Between(center.x + radius.x * std::sqrt(std::max((1.0 - u) * (1.0 + u), 0.0)), left, right);
    }

    // The area between an arc and its chord of that width and height.
    double SegmentArea(double width, double height) const noexcept {
        const double x = width * inverse.x;
        const double y = height * inverse.y;
        const double sine2 = 0.25 * (x * x + y * y);  // The square of the sine of half the arc's angle.
        const double sine = std::sqrt(sine2);
        constexpr double kShort = 0.0025;  // What the series leaves out then is 1e-9 of it.
        return square * (sine2 < kShort
                             ? sine * sine2 * (2.0 / 3.0 + sine2 * (0.2 + sine2 * (3.0 / 28.0)))
                             : std::asin(std::min(sine, 1.0)) - sine * std::sqrt(std::max(1.0 - sine2, 0.0)));
    }
};

// An edge across a band, with its x above and below.
struct Strand {
    const Curve* curve;
    double above;
    double below;
    const double* xs = nullptr;  ///< at the rows of a block

    double Left() const noexcept { return std::min(above, below); }
    double Right() const noexcept { return std::max(above, below); }
};

// ---------------------------------------------------------------------------------------------------
// One row of pixels

class Row {
  public:
    Row(int left, int width) : m_left(left), m_width(width), m_steps(static_cast<std::size_t>(width) + 2) {}

    // Adds, `sign` times, what lies to the right of a strand between two rows.
    void Add(const Strand& strand, double sign, double top, double bottom) {
        Follow(strand, top, bottom, [this, sign](int column, double height, double left) {
            m_steps[static_cast<std::size_t>(column)] += sign * (height - left);
            m_steps[static_cast<std::size_t>(column) + 1] += sign * left;
            if (!m_touched.empty() && m_touched.back().last == column) {
                m_touched.back().last = column + 1;
            } else {
                m_touched.push_back({column, column + 1});
            }
        });
    }

    // Moves what is added to the pixels of row y.
    void MoveTo(int y, PixelSet& pixels) {
        std::sort(m_touched.begin(), m_touched.end(), [](const Run& a, const Run& b) { return a.first < b.first; });
        double covered = 0.0;
        int column = 0;
        for (const Run& run : m_touched) {
            if (column < run.first) {
                AddRun(y, column, run.first, covered, pixels);
                column = run.first;
            }
            for (; column <= run.last; ++column) {
                covered += m_steps[static_cast<std::size_t>(column)];
                m_steps[static_cast<std::size_t>(column)] = 0.0;
                AddRun(y, column, column + 1, covered, pixels);
            }
        }
        AddRun(y, column, m_width, covered, pixels);
        m_touched.clear();
    }

    // Adds what lies between strands across the whole row y, each second one being a right side, at once. False when
    // two of them share a column or one leaves the row: then they are to be added one by one.
    bool AddWhole(int y, const std::vector<Strand>& strands, PixelSet& pixels) const {
        double free = 0.0;
        for (const Strand& strand : strands) {
            if (strand.Left() - m_left < free || strand.Right() - m_left >= m_width) {
                return false;
            }
            free = static_cast<int>(strand.Right() - m_left) + 1.0;
        }
        bool inside = false;
        int next = 0;
        for (const Strand& strand : strands) {
            if (inside) {
                AddRun(y, next, static_cast<int>(strand.Left() - m_left), 1.0, pixels);
            }
            double above = 0.0;
            Follow(strand, y, y + 1.0, [&](int column, double height, double left) {
                const double right = above + height - left;
                AddRun(y, column, column + 1, inside ? 1.0 - right : right, pixels);
                above += height;
                next = column + 1;
            });
            inside = !inside;
        }
        return true;
    }

  private:
    struct Run {
        int first;
        int last;
    };

    // Calls `add` for the columns of a strand from left to right: the height of its part in a column and what of the
    // column lies to the left of that part. What lies to the left of the row adds to its first column.
    template <class Adding>
    void Follow(const Strand& strand, double top, double bottom, Adding add) const {
        const Curve& curve = *strand.curve;
        const bool falls = strand.above <= strand.below;
        // Columns count from the left of the row.
        double x = strand.Left() - m_left;
        double y = falls ? top : bottom;
        double endX = strand.Right() - m_left;
        double endY = falls ? bottom : top;
        if (x < 0.0) {
            const double enters = endX > 0.0 ? curve.Y(m_left) : endY;
            add(0, std::abs(enters - y), 0.0);
            x = 0.0;
            y = enters;
        }
        if (endX > m_width && x < m_width) {
            endX = m_width;
            endY = curve.Y(m_left + endX);
        }
        if (y == endY || x >= m_width) {
            return;
        }
        const auto addPiece = [&](int column, double toX, double toY) {
            const double height = std::abs(toY - y);
            double left = 0.5 * height * ((x - column) + (toX - column));
            if (curve.isArc) {
                left += std::copysign(curve.SegmentArea(toX - x, height), curve.radius.x);
            }
            add(column, height, left);
            x = toX;
            y = toY;
        };
        int column = static_cast<int>(x);
        for (; column + 1 < endX; ++column) {
            addPiece(column, column + 1.0, curve.Y(m_left + column + 1.0));
        }
        addPiece(column, endX, endY);
    }

    void AddRun(int y, int first, int end, double covered, PixelSet& pixels) const {
        constexpr double kRounding = 1e-12;
        end = std::min(end, m_width);
        if (covered <= kRounding || first >= end) {
            return;
        }
        if (covered >= 1.0 - kRounding) {
            pixels.AddSpan(y, m_left + first, m_left + end - 1);
            return;
        }
        for (int column = first; column < end; ++column) {
            pixels.parts.push_back({y, m_left + column, covered});
        }
    }

    int m_left;
    int m_width;
    // By how much more is covered from column to column.
    std::vector<double> m_steps;
    std::vector<Run> m_touched;
};

// ---------------------------------------------------------------------------------------------------
// Bands of rows

class Sweep {
  public:
    Sweep(const std::vector<Curve>& curves, std::vector<double> meetings, const PixelRect& box)
        : m_box(box), m_meetings(std::move(meetings)), m_row(box.left, box.width) {
        for (const Curve& curve : curves) {
            m_waiting.push_back(&curve);
        }
        std::sort(m_waiting.begin(), m_waiting.end(), [](const Curve* a, const Curve* b) { return a->top > b->top; });
    }

    PixelSet Run() {
        m_pixels.parts.reserve(2 * static_cast<std::size_t>(m_box.height));
        m_pixels.spans.reserve(static_cast<std::size_t>(m_box.height));
        m_meeting = std::upper_bound(m_meetings.begin(), m_meetings.end(), static_cast<double>(m_box.top));
        Change(m_box.top);
        for (int y = m_box.top; y < m_box.Bottom();) {
            const int rows = PlainRows(y);
            if (!AddRows(y, rows)) {
                for (int row = y; row < y + std::max(rows, 1); ++row) {
                    AddRow(row);
                }
            }
            y += std::max(rows, 1);
        }
        return std::move(m_pixels);
    }

  private:
    // As many rows are looked at together where edges neither begin nor end: where they are crossed is found in a loop
    // without branches.
    static constexpr int kBlock = 32;

    // A strand and its x at the top of each row, and at the bottom of the last.
    using Xs = std::array<double, kBlock + 1>;

    // Ends the strands that end at a row and begins those that begin there.
    void Change(double y) {
        std::erase_if(m_strands, [y](const Strand& strand) { return strand.curve->bottom <= y; });
        for (; !m_waiting.empty() && m_waiting.back()->top <= y; m_waiting.pop_back()) {
            if (const Curve* const curve = m_waiting.back(); curve->bottom > y) {
                m_strands.push_back({curve, 0.0, curve->X(y)});
            }
        }
    }

    // How many whole rows, of a block at most, there are before edges begin, end or meet.
    int PlainRows(int top) const noexcept {
        const double end = m_meeting == m_meetings.end() ? top + kBlock : *m_meeting - 1.0;
        int rows = 0;
        while (rows < kBlock && top + rows < m_box.Bottom() && top + rows < end) {
            ++rows;
        }
        return rows;
    }

    // Adds rows with the same edges. False, and nothing is added, when some of them cross.
    bool AddRows(int top, int rows) {
        if (rows == 0) {
            return false;
        }
        m_xs.resize(std::max(m_xs.size(), m_strands.size()));
        auto xs = m_xs.begin();
        for (Strand& strand : m_strands) {
            strand.curve->FindXs(top, rows + 1, xs->data());
            strand.xs = xs->data();
            strand.above = strand.xs[0];
            strand.below = strand.xs[rows];
            ++xs;
        }
        Sort(m_strands, top, top + rows);
        if (std::adjacent_find(m_strands.begin(), m_strands.end(), [rows](const Strand& a, const Strand& b) {
                return !StayInOrder(a.xs, b.xs, rows + 1);
            }) != m_strands.end()) {
            for (Strand& strand : m_strands) {
                strand.below = strand.above;
            }
            return false;
        }
        FindSides(m_strands);
        for (int row = 0; row < rows; ++row) {
            for (Strand& side : m_sides) {
                side.above = side.xs[row];
                side.below = side.xs[row + 1];
            }
            if (!m_row.AddWhole(top + row, m_sides, m_pixels)) {
                AddSides(top + row, top + row + 1);
                m_row.MoveTo(top + row, m_pixels);
            }
        }
        return true;
    }

    static bool StayInOrder(const double* left, const double* right, int count) noexcept {
        int crossed = 0;
        for (int i = 0; i < count; ++i) {
            crossed += left[i] > right[i] + kRounding ? 1 : 0;
        }
        return crossed == 0;
    }

    void AddRow(int y) {
        const double end = y + 1.0;
        double top = y;
        for (; m_meeting != m_meetings.end() && *m_meeting <= end; ++m_meeting) {
            AddBand(top, *m_meeting);
            top = *m_meeting;
            Change(top);
        }
        if (top < end) {
            AddBand(top, end);
        }
        m_row.MoveTo(y, m_pixels);
    }

    // A band in which edges neither begin nor end; it begins where the last one ended.
    void AddBand(double top, double bottom) {
        for (Strand& strand : m_strands) {
            strand.above = strand.below;
        }
        for (Strand& strand : m_strands) {
            strand.below = strand.curve->X(bottom);
        }
        Sort(m_strands, top, bottom);
        const std::vector<double> crossings = Crossings(top, bottom);
        if (crossings.empty()) {
            AddSorted(m_strands, top, bottom);
            return;
        }
        for (const double end : crossings) {
            AddPart(top, end);
            top = end;
        }
        AddPart(top, bottom);
    }

    // The rows at which lines cross within a band.
    std::vector<double> Crossings(double top, double bottom) const {
        const auto crossed = [](const Strand& a, const Strand& b) {
            return a.above > b.above + kRounding || a.below > b.below + kRounding;
        };
        std::vector<double> ys;
        if (std::adjacent_find(m_strands.begin(), m_strands.end(), crossed) == m_strands.end()) {
            return ys;
        }
        for (auto a = m_strands.begin(); a != m_strands.end(); ++a) {
            for (auto b = a + 1; b != m_strands.end(); ++b) {
                if (crossed(*a, *b) && !a->curve->isArc && !b->curve->isArc) {
                    const double above = std::abs(a->above - b->above);
                    const double below = std::abs(a->below - b->below);
                    ys.push_back(top + (bottom - top) * above / (above + below));
                }
            }
        }
        std::sort(ys.begin(), ys.end());
        return ys;
    }

    // A part of a band, between two crossings.
    void AddPart(double top, double bottom) {
        if (!(top < bottom)) {
            return;
        }
        std::vector<Strand> strands = m_strands;
        for (Strand& strand : strands) {
            strand.above = strand.curve->X(top);
            strand.below = strand.curve->X(bottom);
        }
        Sort(strands, top, bottom);
        AddSorted(strands, top, bottom);
    }

    // A band in which no edge crosses another.
    void AddSorted(const std::vector<Strand>& strands, double top, double bottom) {
        FindSides(strands);
        if (bottom - top != 1.0 || !m_row.AddWhole(static_cast<int>(top), m_sides, m_pixels)) {
            AddSides(top, bottom);
        }
    }

    void FindSides(const std::vector<Strand>& strands) {
        m_sides.clear();
        int winding = 0;
        for (const Strand& strand : strands) {
            const int before = winding;
            winding += strand.curve->winding;
            if (before == 0 || winding == 0) {
                m_sides.push_back(strand);
            }
        }
    }

    void AddSides(double top, double bottom) {
        double sign = 1.0;
        for (const Strand& side : m_sides) {
            m_row.Add(side, sign, top, bottom);
            sign = -sign;
        }
    }

    static bool IsBefore(const Strand& a, const Strand& b, double top, double bottom) noexcept {
        const double middleA = a.above + a.below;
        const double middleB = b.above + b.below;
        if (middleA != middleB || a.curve->isArc == b.curve->isArc) {
            return middleA < middleB;
        }
        // An arc and its chord.
        const double middle = 0.5 * (top + bottom);
        return a.curve->X(middle) < b.curve->X(middle);
    }

    // They stay nearly in order from band to band.
    static void Sort(std::vector<Strand>& strands, double top, double bottom) noexcept {
        for (std::size_t i = 1; i < strands.size(); ++i) {
            for (std::size_t j = i; j > 0 && IsBefore(strands[j], strands[j - 1], top, bottom); --j) {
                std::swap(strands[j], strands[j - 1]);
            }
        }
    }

    // By less lines that meet at an end may seem to cross.
    static constexpr double kRounding = 1e-11;

    PixelRect m_box;
    std::vector<double> m_meetings;
    std::vector<double>::const_iterator m_meeting;  // the next one
    std::vector<const Curve*> m_waiting;            // the next one to begin last
    std::vector<Strand> m_strands;
    std::vector<Strand> m_sides;  // by turns left and right ones
    std::vector<Xs> m_xs;
    Row m_row;
    PixelSet m_pixels;
};

// The pixels whose squares an outline may reach.
PixelRect Squares(const EdgeExtent& extent, const PixelRect& field) noexcept {
    const auto within = [](double value, double low, double high) {
        return static_cast<int>(std::min(std::max(value, low), high));
    };
    const auto right = static_cast<double>(field.Right());
    const auto bottom = static_cast<double>(field.Bottom());
    const int left = within(std::floor(extent.left + 0.5), field.left, right);
    const int top = within(std::floor(extent.top + 0.5), field.top, bottom);
    return {left, top, within(std::ceil(extent.right + 0.5), left, right) - left,
            within(std::ceil(extent.bottom + 0.5), top, bottom) - top};
}

}  // namespace

PixelSet CoverageOf(const std::vector<Edge>& edges, const PixelRect& field) {
    const PixelRect box = Squares(ExtentOf(edges), field);
    if (box.IsEmpty()) {
        return {};
    }
    const std::vector<Curve> curves(edges.begin(), edges.end());
    std::vector<double> meetings = MeetingRows(edges);
    for (double& y : meetings) {
        y += 0.5;
    }
    return Sweep(curves, std::move(meetings), box).Run();
}

}  // namespace host

#include "host/measure/Coverage.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace host {

namespace {

// ---------------------------------------------------------------------------------------------------
// Where edges meet: between two such rows none of them crosses another

void AddIfFinite(double y, std::vector<double>& ys) {
    if (std::isfinite(y)) {
        ys.push_back(y);
    }
}

// Where a line meets the ellipse of an arc, and may lie inside twice.
void MeetLine(const Edge& arc, const Edge& line, std::vector<double>& ys) {
    const double slope = (line.xBottom - line.xTop) / (line.bottom - line.top);
    const double offset = line.xTop - arc.centerX + slope * (arc.centerY - line.top);
    // a d^2 + 2 b d + c = 0 for rows d below the centre.
    const double squareX = arc.radiusX * arc.radiusX;
    const double a = slope * slope / squareX + 1.0 / (arc.radiusY * arc.radiusY);
    const double b = offset * slope / squareX;
    const double c = offset * offset / squareX - 1.0;
    const double root = std::sqrt(b * b - a * c);
    AddIfFinite(arc.centerY + (-b - root) / a, ys);
    AddIfFinite(arc.centerY + (-b + root) / a, ys);
}

void MeetArc(const Edge& arc, const Edge& other, std::vector<double>& ys) {
    const double square = arc.radiusX * arc.radiusX;
    const double otherSquare = other.radiusX * other.radiusX;
    const double root = std::sqrt((square - otherSquare) / (square / (arc.radiusY * arc.radiusY) -
                                                            otherSquare / (other.radiusY * other.radiusY)));
    AddIfFinite(arc.centerY - root, ys);
    AddIfFinite(arc.centerY + root, ys);
}

// The ends of all edges and where arcs meet others, ascending. Where lines cross is found row by row.
std::vector<double> MeetingRows(const std::vector<Edge>& edges) {
    std::vector<double> ys;
    for (const Edge& edge : edges) {
        ys.insert(ys.end(), {edge.top, edge.bottom});
        if (!edge.IsArc()) {
            continue;
        }
        for (const Edge& other : edges) {
            if (!other.IsArc()) {
                MeetLine(edge, other, ys);
            } else if (std::abs(edge.radiusX) < std::abs(other.radiusX)) {
                MeetArc(edge, other, ys);
            }
        }
    }
    std::sort(ys.begin(), ys.end());
    ys.erase(std::unique(ys.begin(), ys.end()), ys.end());
    return ys;
}

// The area between an arc and its chord of that width and height.
double SegmentArea(const Edge& arc, double width, double height) noexcept {
    const double x = width / arc.radiusX;
    const double y = height / arc.radiusY;
    const double square = 0.25 * (x * x + y * y);  // of the sine of half the arc's angle
    const double sine = std::sqrt(square);
    constexpr double kShort = 0.0025;  // What the series leaves out then is 1e-9 of it.
    const double unit = square < kShort ? sine * square * (2.0 / 3.0 + square * (0.2 + square * (3.0 / 28.0)))
                                        : std::asin(std::min(sine, 1.0)) - sine * std::sqrt(std::max(1.0 - square, 0.0));
    return unit * std::abs(arc.radiusX * arc.radiusY);
}

// ---------------------------------------------------------------------------------------------------
// One row of pixels

// Sums up what lies to the right of edges, in steps from column to column.
class Row {
  public:
    Row(int left, int width) : m_left(left), m_width(width), m_steps(static_cast<std::size_t>(width) + 2) {}

    // Adds, `sign` times, what lies to the right of an edge between two rows, where its x is x0 and x1.
    void Add(const Edge& edge, double sign, double y0, double x0, double y1, double x1) {
        if (x1 < x0) {
            std::swap(x0, x1);
            std::swap(y0, y1);
        }
        // Columns count from the left of the row.
        double x = x0 - m_left;
        double y = y0;
        double endX = x1 - m_left;
        double endY = y1;
        if (x < 0.0) {
            const double enters = endX > 0.0 ? edge.Y(m_left) : endY;
            m_steps.front() += sign * std::abs(enters - y);
            m_touched.push_back({0, 0});
            x = 0.0;
            y = enters;
        }
        if (endX > m_width && x < m_width) {
            endX = m_width;
            endY = edge.Y(m_left + endX);
        }
        if (y == endY || x >= m_width) {
            return;
        }
        const int first = static_cast<int>(x);
        const int last = std::max(first, static_cast<int>(std::ceil(endX)) - 1);
        for (int column = first; column < last; ++column) {
            const double nextY = edge.Y(m_left + column + 1.0);
            AddPiece(edge, sign, column, x, y, column + 1.0, nextY);
            x = column + 1.0;
            y = nextY;
        }
        AddPiece(edge, sign, last, x, y, endX, endY);
        m_touched.push_back({first, last + 1});
    }

    // Moves what is summed up to the pixels of row y.
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

  private:
    struct Run {
        int first;
        int last;
    };

    // A piece of an edge within one column.
    void AddPiece(const Edge& edge, double sign, int column, double x0, double y0, double x1, double y1) noexcept {
        const double height = std::abs(y1 - y0);
        // What lies to the left of it.
        double left = 0.5 * height * ((x0 - column) + (x1 - column));
        if (edge.IsArc()) {
            left += std::copysign(SegmentArea(edge, x1 - x0, height), edge.radiusX);
        }
        m_steps[static_cast<std::size_t>(column)] += sign * (height - left);
        m_steps[static_cast<std::size_t>(column) + 1] += sign * left;
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
    std::vector<double> m_steps;
    std::vector<Run> m_touched;
};

// ---------------------------------------------------------------------------------------------------
// Bands of rows

// An edge across a band, with its x above and below.
struct Strand {
    const Edge* edge;
    double above;
    double below;
};

class Sweep {
  public:
    Sweep(const std::vector<Edge>& edges, const PixelRect& box)
        : m_box(box), m_meetings(MeetingRows(edges)), m_row(box.left, box.width) {
        for (const Edge& edge : edges) {
            m_waiting.push_back(&edge);
        }
        std::sort(m_waiting.begin(), m_waiting.end(), [](const Edge* a, const Edge* b) { return a->top > b->top; });
    }

    PixelSet Run() {
        PixelSet pixels;
        auto meeting = std::upper_bound(m_meetings.begin(), m_meetings.end(), static_cast<double>(m_box.top));
        for (int y = m_box.top; y < m_box.Bottom(); ++y) {
            const double end = y + 1.0;
            double top = y;
            for (; meeting != m_meetings.end() && *meeting <= end; ++meeting) {
                AddBand(top, *meeting);
                top = *meeting;
            }
            if (top < end) {
                AddBand(top, end);
            }
            m_row.MoveTo(y, pixels);
        }
        return pixels;
    }

  private:
    // A band in which edges neither begin nor end; it begins where the last one ended.
    void AddBand(double top, double bottom) {
        std::erase_if(m_strands, [top](const Strand& strand) { return strand.edge->bottom <= top; });
        for (Strand& strand : m_strands) {
            strand.above = strand.below;
        }
        for (; !m_waiting.empty() && m_waiting.back()->top < bottom; m_waiting.pop_back()) {
            if (const Edge* const edge = m_waiting.back(); edge->bottom > top) {
                m_strands.push_back({edge, edge->X(top), 0.0});
            }
        }
        for (Strand& strand : m_strands) {
            strand.below = strand.edge->X(bottom);
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
        const auto crossed = [](const Strand& a, const Strand& b) { return a.above > b.above || a.below > b.below; };
        std::vector<double> ys;
        if (std::adjacent_find(m_strands.begin(), m_strands.end(), crossed) == m_strands.end()) {
            return ys;
        }
        for (auto a = m_strands.begin(); a != m_strands.end(); ++a) {
            for (auto b = a + 1; b != m_strands.end(); ++b) {
                if (crossed(*a, *b) && !a->edge->IsArc() && !b->edge->IsArc()) {
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
            strand.above = strand.edge->X(top);
            strand.below = strand.edge->X(bottom);
        }
        Sort(strands, top, bottom);
        AddSorted(strands, top, bottom);
    }

    // A band in which no edge crosses another.
    void AddSorted(const std::vector<Strand>& strands, double top, double bottom) {
        int winding = 0;
        for (const Strand& strand : strands) {
            const int before = winding;
            winding += strand.edge->winding;
            if (before == 0 || winding == 0) {
                m_row.Add(*strand.edge, before == 0 ? 1.0 : -1.0, top, strand.above, bottom, strand.below);
            }
        }
    }

    static bool IsBefore(const Strand& a, const Strand& b, double top, double bottom) noexcept {
        const double middleA = a.above + a.below;
        const double middleB = b.above + b.below;
        if (middleA != middleB || a.edge->IsArc() == b.edge->IsArc()) {
            return middleA < middleB;
        }
        // An arc and its chord.
        const double middle = 0.5 * (top + bottom);
        return a.edge->X(middle) < b.edge->X(middle);
    }

    // They stay nearly in order from band to band.
    static void Sort(std::vector<Strand>& strands, double top, double bottom) noexcept {
        for (std::size_t i = 1; i < strands.size(); ++i) {
            for (std::size_t j = i; j > 0 && IsBefore(strands[j], strands[j - 1], top, bottom); --j) {
                std::swap(strands[j], strands[j - 1]);
            }
        }
    }

    PixelRect m_box;
    std::vector<double> m_meetings;
    std::vector<const Edge*> m_waiting;  // the next one to begin last
    std::vector<Strand> m_strands;
    Row m_row;
};

// Columns and rows from which squares have whole numbers for borders.
Edge OnGrid(Edge edge) noexcept {
    for (double* const coordinate :
         {&edge.top, &edge.bottom, &edge.xTop, &edge.xBottom, &edge.centerX, &edge.centerY}) {
        *coordinate += 0.5;
    }
    return edge;
}

PixelRect Squares(const EdgeExtent& extent, const PixelRect& field) noexcept {
    const auto within = [](double value, double low, double high) {
        return static_cast<int>(std::min(std::max(value, low), high));
    };
    const auto right = static_cast<double>(field.Right());
    const auto bottom = static_cast<double>(field.Bottom());
    const int left = within(std::floor(extent.left), field.left, right);
    const int top = within(std::floor(extent.top), field.top, bottom);
    return {left, top, within(std::ceil(extent.right), left, right) - left,
            within(std::ceil(extent.bottom), top, bottom) - top};
}

}  // namespace

PixelSet CoverageOf(const std::vector<Edge>& edges, const PixelRect& field) {
    std::vector<Edge> shifted(edges.size());
    std::transform(edges.begin(), edges.end(), shifted.begin(), OnGrid);
    const PixelRect box = Squares(ExtentOf(shifted), field);
    return box.IsEmpty() ? PixelSet{} : Sweep(shifted, box).Run();
}

}  // namespace host

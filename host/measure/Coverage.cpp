#include "host/measure/Coverage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace host {

namespace {

// ---------------------------------------------------------------------------------------------------
// Edges, prepared to be followed

// By less lines that meet at an end may seem to cross.
constexpr double kRounding = 1e-11;

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
    const Edge* edge;
    const Curve* next = nullptr;  ///< what goes on below; null where a chain ends

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
          square(std::abs(edge.radiusX * edge.radiusY)),
          edge(&edge) {}

    double X(double y) const noexcept { return isArc ? ArcX(y) : LineX(y); }
    // At `count` places from y on, one below the other.
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

// An edge between two places, with its x at them.
struct Strand {
    const Curve* curve;
    double above;
    double below;

    double Left() const noexcept { return std::min(above, below); }
    double Right() const noexcept { return std::max(above, below); }
};

// ---------------------------------------------------------------------------------------------------
// One row of pixels

class Row {
  public:
    Row(int left, int width, PixelSet& pixels)
        : m_left(left), m_width(width), m_steps(static_cast<std::size_t>(width) + 2), m_pixels(pixels) {}

    void Begin(int y) noexcept {
        m_y = y;
        m_column = 0;
        m_covered = 0.0;
    }

    // Adds, `sign` times, what lies to the right of a strand between two places.
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

    // Adds a side that runs through the whole row and is alone, behind all others that were added.
    void AddAlone(const Strand& strand, double sign) {
        const double left = strand.Left() - m_left;
        const double right = strand.Right() - m_left;
        const int first = static_cast<int>(left);
        const int last = static_cast<int>(right);
        MoveUpTo(first);
        const double base = sign > 0.0 ? 0.0 : 1.0;
        const auto add = [&](int column, double beyond) { AddPixel(column, base + sign * beyond); };
        if (strand.curve->isArc) {
            AddArc(*strand.curve, strand.above <= strand.below, left, right, add);
        } else {
            AddLine(std::abs(strand.curve->rise), left, right, add);
        }
        m_column = last + 1;
        m_covered = 1.0 - base;
    }

    // Moves what is added to the pixels.
    void End() { MoveUpTo(m_width); }

  private:
    struct Run {
        int first;
        int last;
    };

    // Moves what is added to the columns before one.
    void MoveUpTo(int end) {
        std::sort(m_touched.begin(), m_touched.end(), [](const Run& a, const Run& b) { return a.first < b.first; });
        for (const Run& run : m_touched) {
            if (m_column < run.first) {
                AddRun(m_column, run.first, m_covered);
                m_column = run.first;
            }
            for (; m_column <= run.last; ++m_column) {
                m_covered += std::exchange(m_steps[static_cast<std::size_t>(m_column)], 0.0);
                AddRun(m_column, m_column + 1, m_covered);
            }
        }
        m_touched.clear();
        AddRun(m_column, end, m_covered);
        m_column = end;
    }

    // Calls `add` for the columns of a line through the row, which rises by `rise` from one to the next, with what of
    // each lies to the right of the line.
    template <class Adding>
    static void AddLine(double rise, double left, double right, Adding add) {
        const int first = static_cast<int>(left);
        const int last = static_cast<int>(right);
        if (first == last) {
            add(first, 1.0 + first - 0.5 * (left + right));
            return;
        }
        const double begun = first + 1.0 - left;
        const double ended = right - last;
        add(first, 0.5 * begun * begun * rise);
        for (int column = first + 1; column < last; ++column) {
            add(column, (begun + (column - first) - 0.5) * rise);
        }
        add(last, 1.0 - 0.5 * ended * ended * rise);
    }

    // The same of an arc.
    template <class Adding>
    void AddArc(const Curve& curve, bool falls, double left, double right, Adding add) const {
        const int last = static_cast<int>(right);
        double x = left;
        double depth = 0.0;
        const auto addPiece = [&](int column, double toX, double toDepth) {
            const double height = toDepth - depth;
            const double before = 0.5 * height * ((x - column) + (toX - column)) +
                                  std::copysign(curve.SegmentArea(toX - x, height), curve.radius.x);
            add(column, toDepth - before);
            x = toX;
            depth = toDepth;
        };
        int column = static_cast<int>(left);
        for (; column < last; ++column) {
            const double y = curve.Y(m_left + column + 1.0) - m_y;
            addPiece(column, column + 1.0, falls ? y : 1.0 - y);
        }
        addPiece(column, right, 1.0);
    }

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

    void AddRun(int first, int end, double covered) {
        end = std::min(end, m_width);
        if (first < end && covered >= 1.0 - kNothing) {
            m_pixels.AddSpan(m_y, m_left + first, m_left + end - 1);
            return;
        }
        for (int column = first; covered > kNothing && column < end; ++column) {
            m_pixels.parts.push_back({m_y, m_left + column, covered});
        }
    }
    void AddPixel(int column, double covered) {
        if (covered > kNothing && covered < 1.0 - kNothing) [[likely]] {
            m_pixels.parts.push_back({m_y, m_left + column, covered});
        } else {
            AddRun(column, column + 1, covered);
        }
    }

    static constexpr double kNothing = 1e-12;

    int m_left;
    int m_width;
    // By how much more is covered from column to column.
    std::vector<double> m_steps;
    std::vector<Run> m_touched;
    PixelSet& m_pixels;
    int m_y = 0;
    int m_column = 0;  // the first that is not moved to the pixels
    double m_covered = 0.0;
};

// ---------------------------------------------------------------------------------------------------
// Bands of a row between which edges begin, end or cross

class Bands {
  public:
    Bands(Row& row, std::vector<const Curve*> curves) : m_row(row), m_curves(std::move(curves)) {}

    // Adds what lies inside between two rows.
    void Add(double top, double bottom) {
        std::vector<Edge> edges;
        for (const Curve* const curve : m_curves) {
            edges.push_back(*curve->edge);
        }
        double from = top;
        for (const double meeting : MeetingRows(edges)) {
            if (const double to = meeting + 0.5; from < to && to < bottom) {
                AddBand(from, to);
                from = to;
            }
        }
        AddBand(from, bottom);
    }

  private:
    // In a band edges neither begin nor end.
    void AddBand(double top, double bottom) {
        FindStrands(top, bottom);
        std::vector<double> ends = Crossings(top, bottom);
        if (ends.empty()) {
            AddStrands(top, bottom);
            return;
        }
        ends.push_back(bottom);
        for (const double end : ends) {
            if (top < end) {
                FindStrands(top, end);
                AddStrands(top, end);
                top = end;
            }
        }
    }

    // Adds a band in which no edge crosses another.
    void AddStrands(double top, double bottom) {
        int winding = 0;
        for (const Strand& strand : m_strands) {
            const int before = std::exchange(winding, winding + strand.curve->winding);
            if (before == 0 || winding == 0) {
                m_row.Add(strand, before == 0 ? 1.0 : -1.0, top, bottom);
            }
        }
    }

    // Finds what crosses a band, from left to right.
    void FindStrands(double top, double bottom) {
        m_strands.clear();
        for (const Curve* const curve : m_curves) {
            if (curve->top <= top && curve->bottom >= bottom) {
                // They come nearly in order.
                const Strand strand{curve, curve->X(top), curve->X(bottom)};
                auto to = m_strands.end();
                while (to != m_strands.begin() && IsBefore(strand, to[-1], 0.5 * (top + bottom))) {
                    --to;
                }
                m_strands.insert(to, strand);
            }
        }
    }

    static bool IsBefore(const Strand& a, const Strand& b, double middle) noexcept {
        const double middleA = a.above + a.below;
        const double middleB = b.above + b.below;
        // An arc and its chord end at the same places.
        return middleA != middleB || a.curve->isArc == b.curve->isArc ? middleA < middleB
                                                                      : a.curve->X(middle) < b.curve->X(middle);
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

    Row& m_row;
    std::vector<const Curve*> m_curves;
    std::vector<Strand> m_strands;
};

// ---------------------------------------------------------------------------------------------------
// All rows

// As many rows are looked at together: where chains of edges cross them is found in loops without branches.
constexpr int kBlock = 32;

// Where a chain runs through the rows of a block.
struct Track {
    using Columns = std::array<int, kBlock>;

    std::array<double, kBlock + 1> xs;  // at the top of each row and at the bottom of the last
    std::array<double, kBlock> left;    // how far it goes in each row
    std::array<double, kBlock> right;
    std::array<const Curve*, kBlock> curves;  // its edge at the top of each row
    Columns first;  // the columns from the left of the box that it goes through, one beyond the box standing for all
    Columns last;
};

struct Chain {
    const Curve* curve;  ///< the uppermost that has not ended
    double bottom;
    const Track* track = nullptr;
};

class Sweep {
  public:
    Sweep(const std::vector<Edge>& edges, const PixelRect& box)
        : m_box(box), m_curves(edges.begin(), edges.end()), m_row(box.left, box.width, m_pixels) {
        const Chains chains = ChainsOf(edges);
        for (std::size_t i = 0; i < edges.size(); ++i) {
            m_curves[i].next = chains.next[i] < 0 ? nullptr : &m_curves[static_cast<std::size_t>(chains.next[i])];
        }
        for (const int first : chains.first) {
            const Curve* const begin = &m_curves[static_cast<std::size_t>(first)];
            const Curve* end = begin;
            while (end->next != nullptr) {
                end = end->next;
            }
            m_waiting.push_back({begin, end->bottom});
        }
        std::sort(m_waiting.begin(), m_waiting.end(),
                  [](const Chain& a, const Chain& b) { return a.curve->top > b.curve->top; });
    }

    PixelSet Run() {
        m_pixels.parts.reserve(BorderPixels());
        for (int y = m_box.top; y < m_box.Bottom();) {
            if (const int rows = PlainRows(y); rows > 0) {
                AddRows(y, rows);
                y += rows;
            } else {
                AddMixed(y++);
            }
        }
        return std::move(m_pixels);
    }

  private:
    // About how many pixels the edges go through, or many.
    std::size_t BorderPixels() const noexcept {
        constexpr double kMany = 1 << 16;
        double count = 0.0;
        for (const Curve& curve : m_curves) {
            count += 2.0 + (curve.bottom - curve.top) + (curve.right - curve.left);
        }
        return static_cast<std::size_t>(std::min(count, kMany));
    }

    // Ends the chains that end at a row and begins those that begin there. How many rows of a block follow before
    // others do.
    int PlainRows(int y) {
        std::erase_if(m_chains, [y](const Chain& chain) { return chain.bottom <= y; });
        for (; !m_waiting.empty() && m_waiting.back().curve->top <= y; m_waiting.pop_back()) {
            if (m_waiting.back().bottom > y) {
                m_chains.push_back(m_waiting.back());
            }
        }
        double end = std::min(m_box.Bottom(), std::int64_t{y} + kBlock);
        if (!m_waiting.empty()) {
            end = std::min(end, m_waiting.back().curve->top);
        }
        for (Chain& chain : m_chains) {
            end = std::min(end, chain.bottom);
            while (chain.curve->bottom <= y) {
                chain.curve = chain.curve->next;
            }
        }
        return static_cast<int>(std::floor(end)) - y;
    }

    // Adds rows through which the same chains run.
    void AddRows(int top, int rows) {
        m_tracks.resize(std::max(m_tracks.size(), m_chains.size()));
        auto track = m_tracks.begin();
        for (Chain& chain : m_chains) {
            Follow(*chain.curve, top, rows, *track);
            chain.track = &*track++;
        }
        for (int row = 0; row < rows;) {
            Sort(row);
            const int end = OrderEnd(row, rows);
            if (end == row) {
                AddMixed(top + row++);
                continue;
            }
            FindSides();
            for (; row < end; ++row) {
                AddRow(top, row);
            }
        }
    }

    void Follow(const Curve& first, int top, int rows, Track& track) const {
        track.left.fill(std::numeric_limits<double>::infinity());
        track.right.fill(-std::numeric_limits<double>::infinity());
        int row = 0;
        for (const Curve* curve = &first; row <= rows; curve = curve->next) {
            // It is at the top of the rows before this one.
            const int end = static_cast<int>(std::min(std::ceil(curve->bottom - top), rows + 1.0));
            curve->FindXs(top + row, end - row, &track.xs[static_cast<std::size_t>(row)]);
            std::fill(track.curves.begin() + row, track.curves.begin() + std::min(end, rows), curve);
            row = std::max(row, end);
            if (row > rows) {
                break;
            }
            const auto joint = static_cast<std::size_t>(std::max(row - 1, 0));
            track.left[joint] = std::min(track.left[joint], curve->xBottom);
            track.right[joint] = std::max(track.right[joint], curve->xBottom);
            if (curve->next == nullptr) {  // The chain ends with the last row.
                track.xs[static_cast<std::size_t>(rows)] = curve->xBottom;
                break;
            }
        }
        for (std::size_t i = 0; i < static_cast<std::size_t>(rows); ++i) {
            track.left[i] = std::min(track.left[i], std::min(track.xs[i], track.xs[i + 1]));
            track.right[i] = std::max(track.right[i], std::max(track.xs[i], track.xs[i + 1]));
        }
        const double base = 1.0 - m_box.left;
        const double most = m_box.width + 1.0;
        for (std::size_t i = 0; i < static_cast<std::size_t>(rows); ++i) {
            track.first[i] = static_cast<int>(Between(track.left[i] + base, 0.0, most)) - 1;
            track.last[i] = static_cast<int>(Between(track.right[i] + base, 0.0, most)) - 1;
        }
    }

    // They stay nearly in order from block to block.
    void Sort(int row) noexcept {
        const auto at = static_cast<std::size_t>(row);
        const auto isBefore = [at](const Chain& a, const Chain& b) {
            return a.track->xs[at] + a.track->xs[at + 1] < b.track->xs[at] + b.track->xs[at + 1];
        };
        for (std::size_t i = 1; i < m_chains.size(); ++i) {
            for (std::size_t j = i; j > 0 && isBefore(m_chains[j], m_chains[j - 1]); --j) {
                std::swap(m_chains[j], m_chains[j - 1]);
            }
        }
    }

    // The first row from `row` on in which some do not lie side by side in the order of that row.
    int OrderEnd(int row, int rows) const noexcept {
        for (std::size_t i = 1; i < m_chains.size(); ++i) {
            const double* const right = m_chains[i - 1].track->right.data();
            const double* const left = m_chains[i].track->left.data();
            int overlap = 0;
            for (int k = row; k < rows; ++k) {
                overlap |= static_cast<int>(right[k] > left[k] + kRounding);
            }
            for (int k = row; overlap != 0 && k < rows; ++k) {
                rows = right[k] > left[k] + kRounding ? k : rows;
            }
        }
        return rows;
    }

    void FindSides() {
        m_sides.clear();
        int winding = 0;
        for (const Chain& chain : m_chains) {
            const int before = std::exchange(winding, winding + chain.curve->winding);
            if (before == 0 || winding == 0) {
                m_sides.push_back(chain.track);
            }
        }
    }

    void AddRow(int top, int row) {
        constexpr int kFar = 1 << 30;
        const auto at = static_cast<std::size_t>(row);
        m_row.Begin(top + row);
        // A side is alone with a column between it and those beside it.
        int before = -kFar;
        for (std::size_t i = 0; i < m_sides.size(); ++i) {
            const Track& side = *m_sides[i];
            const int behind = i + 1 < m_sides.size() ? m_sides[i + 1]->first[at] : kFar;
            const bool isAlone = side.first[at] >= 0 && side.last[at] < m_box.width && side.first[at] > before + 1 &&
                                 behind > side.last[at] + 1;
            AddSide(side, top, row, i % 2 == 0 ? 1.0 : -1.0, isAlone);
            before = std::max(side.last[at], 0);  // What lies further to the left is added there.
        }
        m_row.End();
    }

    void AddSide(const Track& side, int top, int row, double sign, bool isAlone) {
        const auto at = static_cast<std::size_t>(row);
        const Curve* curve = side.curves[at];
        double y = top + row;
        double x = side.xs[at];
        const double bottom = y + 1.0;
        if (isAlone && curve->bottom >= bottom) {
            m_row.AddAlone({curve, x, side.xs[at + 1]}, sign);
            return;
        }
        for (; curve->bottom < bottom; curve = curve->next) {
            m_row.Add({curve, x, curve->xBottom}, sign, y, curve->bottom);
            x = curve->xBottom;
            y = curve->bottom;
        }
        m_row.Add({curve, x, side.xs[at + 1]}, sign, y, bottom);
    }

    // Adds a row in which chains begin, end or meet.
    void AddMixed(int y) {
        std::vector<const Curve*> curves;
        const auto add = [&](const Chain& chain) {
            for (const Curve* curve = chain.curve; curve != nullptr && curve->top < y + 1; curve = curve->next) {
                if (curve->bottom > y) {
                    curves.push_back(curve);
                }
            }
        };
        std::for_each(m_chains.begin(), m_chains.end(), add);
        for (auto chain = m_waiting.rbegin(); chain != m_waiting.rend() && chain->curve->top < y + 1; ++chain) {
            add(*chain);
        }
        m_row.Begin(y);
        Bands(m_row, std::move(curves)).Add(y, y + 1.0);
        m_row.End();
    }

    PixelRect m_box;
    std::vector<Curve> m_curves;
    std::vector<Chain> m_waiting;  // the next one to begin last
    std::vector<Chain> m_chains;
    std::vector<Track> m_tracks;
    std::vector<const Track*> m_sides;  // by turns left and right ones
    PixelSet m_pixels;
    Row m_row;
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
    return Sweep(edges, box).Run();
}

}  // namespace host

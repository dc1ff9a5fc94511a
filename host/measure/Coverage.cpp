#include "host/measure/Coverage.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "host/measure/Tracks.h"

namespace host {

namespace {

// By less lines that meet at an end may seem to cross.
constexpr double kRounding = 1e-11;

// What of an edge lies in a row.
Strand WithinRow(const Curve& curve, int row) noexcept {
    return {&curve, curve.top > row ? curve.xTop : curve.X(row),
            curve.bottom < row + 1 ? curve.xBottom : curve.X(row + 1.0)};
}

// ---------------------------------------------------------------------------------------------------
// One row of pixels

class Row {
  public:
    Row(const PixelRect& box, PixelSet& pixels)
        : m_box(box), m_steps(static_cast<std::size_t>(box.width) + 2), m_pixels(pixels) {}

    // From the left on.
    void Begin(int row) noexcept {
        m_y = m_box.top + row;
        m_column = 0;
        m_covered = 0.0;
    }

    // Adds, `sign` times, what lies to the right of a strand between two places.
    void Add(const Strand& strand, double sign, double top, double bottom) {
        ForEachColumn(strand, top, bottom, m_box.width, [this, sign](int column, double height, double left) {
            m_steps[static_cast<std::size_t>(column)] += sign * (height - left);
            m_steps[static_cast<std::size_t>(column) + 1] += sign * left;
            if (!m_touched.empty() && m_touched.back().last == column) {
                m_touched.back().last = column + 1;
            } else {
                m_touched.push_back({column, column + 1});
            }
        });
    }

    // Adds a side that is plain in a row of its block, to the right of all that is added.
    void AddPlain(const Track& side, int blockTop, int row, bool isLeft) {
        const auto at = static_cast<std::size_t>(row);
        Move();
        AddRun(side.first[at]);
        side.AddParts(blockTop, row, m_box, isLeft, m_pixels.parts);
        m_column = side.last[at] + 1;
        m_covered = isLeft ? 1.0 : 0.0;
    }

    void End() {
        Move();
        AddRun(m_box.width);
    }

  private:
    struct Run {
        int first;
        int last;
    };

    // Moves what is added to the pixels, up to where nothing more changes.
    void Move() {
        std::sort(m_touched.begin(), m_touched.end(), [](const Run& a, const Run& b) { return a.first < b.first; });
        for (const Run& run : m_touched) {
            AddRun(run.first);
            while (m_column < run.last) {
                Step(m_column);
                AddRun(m_column + 1);
            }
            Step(run.last);
        }
        m_touched.clear();
    }

    void Step(int column) noexcept { m_covered += std::exchange(m_steps[static_cast<std::size_t>(column)], 0.0); }

    // Adds the pixels up to a column, which are all covered alike.
    void AddRun(int end) {
        const int first = std::exchange(m_column, std::max(m_column, std::min(end, m_box.width)));
        if (first < m_column && m_covered >= 1.0 - kNothing) {
            m_pixels.AddSpan(m_y, m_box.left + first, m_box.left + m_column - 1);
            return;
        }
        for (int column = first; m_covered > kNothing && column < m_column; ++column) {
            m_pixels.parts.push_back({m_y, m_box.left + column, m_covered});
        }
    }

    PixelRect m_box;
    // By how much more is covered from column to column.
    std::vector<double> m_steps;
    std::vector<Run> m_touched;
    PixelSet& m_pixels;
    int m_y = 0;
    int m_column = 0;        // the first that is not moved
    double m_covered = 0.0;  // of it, but for what is to be moved
};

// ---------------------------------------------------------------------------------------------------
// Bands of a row between which edges begin, end or cross

class Bands {
  public:
    Bands(Row& row, int boxTop) : m_row(row), m_boxTop(boxTop) {}

    // Adds what lies inside of a row of the box, given all that runs through it, level edges too. Strands apart from
    // the others are looked at for themselves: between them no edge is crossed from the row's top to its bottom.
    void Add(int row, std::vector<Strand>& strands) {
        std::sort(strands.begin(), strands.end(), [](const Strand& a, const Strand& b) { return a.Left() < b.Left(); });
        m_winding = 0;
        for (auto strand = strands.begin(); strand != strands.end();) {
            if (const auto next = strand + 1; IsAlone(*strand, next == strands.end() ? nullptr : &*next, row)) {
                AddWhole(*strand, row);
                strand = next;
                continue;
            }
            m_curves.clear();
            int winding = m_winding;
            for (double right = strand->Right(); strand != strands.end() && strand->Left() <= right; ++strand) {
                right = std::max(right, strand->Right());
                m_curves.push_back(strand->curve);
                winding += strand->curve->top <= row ? strand->curve->winding : 0;
            }
            AddGroup(row);
            m_winding = winding;
        }
    }

  private:
    // Whether a strand goes through the whole row beside all behind it.
    static bool IsAlone(const Strand& strand, const Strand* next, int row) noexcept {
        return strand.curve->top <= row && strand.curve->bottom >= row + 1 &&
               (next == nullptr || strand.Right() < next->Left());
    }

    void AddWhole(const Strand& strand, int row) {
        const int before = std::exchange(m_winding, m_winding + strand.curve->winding);
        if (before == 0 || m_winding == 0) {
            m_row.Add(strand, before == 0 ? 1.0 : -1.0, row, row + 1.0);
        }
    }

    void AddGroup(int row) {
        const double bottom = row + 1.0;
        double from = row;
        for (const double to : Ends(row)) {
            if (from < to && to < bottom) {
                AddBand(from, to);
                from = to;
            }
        }
        AddBand(from, bottom);
    }

    // Where in a row edges begin or end, or may meet.
    std::vector<double> Ends(int row) const {
        std::vector<double> ends;
        if (std::any_of(m_curves.begin(), m_curves.end(), [](const Curve* curve) { return curve->isArc; })) {
            std::vector<Edge> edges;
            for (const Curve* const curve : m_curves) {
                edges.push_back(*curve->edge);
            }
            ends = MeetingRows(edges);
            std::for_each(ends.begin(), ends.end(), [this](double& end) { end -= m_boxTop - 0.5; });
            return ends;
        }
        for (const Curve* const curve : m_curves) {
            if (curve->top > row) {
                ends.push_back(curve->top);
            }
            if (curve->bottom < row + 1) {
                ends.push_back(curve->bottom);
            }
        }
        std::sort(ends.begin(), ends.end());
        return ends;
    }

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
        int winding = m_winding;
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
    int m_boxTop;
    int m_winding = 0;  // to the left of those that are looked at
    std::vector<const Curve*> m_curves;
    std::vector<Strand> m_strands;
};

// ---------------------------------------------------------------------------------------------------
// All rows

struct Chain {
    const Curve* curve;  ///< the uppermost that has not ended
    double bottom;
    Track* track = nullptr;
};

// Rows count from the top of the box.
class Sweep {
  public:
    Sweep(const std::vector<Edge>& edges, const PixelRect& box)
        : m_box(box), m_row(box, m_pixels), m_bands(m_row, box.top) {
        const std::vector<Link> links = LinksOf(edges);
        m_curves.reserve(edges.size());
        for (const Edge& edge : edges) {
            m_curves.emplace_back(edge, box.left, box.top);
        }
        for (std::size_t i = 0; i < edges.size(); ++i) {
            m_curves[i].next = links[i].below < 0 ? nullptr : &m_curves[static_cast<std::size_t>(links[i].below)];
        }
        for (std::size_t i = 0; i < edges.size(); ++i) {
            if (!links[i].begins) {
                continue;
            }
            const Curve* end = &m_curves[i];
            while (end->next != nullptr) {
                end = end->next;
            }
            m_waiting.push_back({&m_curves[i], end->bottom});
        }
        std::sort(m_waiting.begin(), m_waiting.end(),
                  [](const Chain& a, const Chain& b) { return a.curve->top > b.curve->top; });
    }

    PixelSet Run() {
        m_pixels.parts.weights.reserve(BorderPixels());
        m_pixels.parts.spans.reserve(BorderPixels());
        m_pixels.spans.reserve(BorderPixels() / 2);
        for (int row = 0; row < m_box.height;) {
            if (const int rows = PlainRows(row); rows > 0) {
                AddBlock(row, rows);
                row += rows;
            } else {
                AddMixed(row++);
            }
        }
        return std::move(m_pixels);
    }

  private:
    // About how many pixels the edges go through, or many.
    std::size_t BorderPixels() const noexcept {
        constexpr double kMany = 1 << 16;
        // A block is begun with room for more than it needs.
        constexpr std::size_t kFewSides = 4;
        double count = 1.0 * kFew * kBlock * static_cast<double>(std::min(m_waiting.size(), kFewSides));
        for (const Curve& curve : m_curves) {
            count += 2.0 + (curve.bottom - curve.top) + (curve.right - curve.left);
        }
        return static_cast<std::size_t>(std::min(count, kMany));
    }

    // Ends the chains that end at a row and begins those that begin there. How many rows of a block follow before
    // others do.
    int PlainRows(int row) {
        std::erase_if(m_chains, [row](const Chain& chain) { return chain.bottom <= row; });
        for (; !m_waiting.empty() && m_waiting.back().curve->top <= row; m_waiting.pop_back()) {
            if (m_waiting.back().bottom > row) {
                m_chains.push_back(m_waiting.back());
            }
        }
        double end = std::min(m_box.height, row + kBlock);
        if (!m_waiting.empty()) {
            end = std::min(end, m_waiting.back().curve->top);
        }
        for (Chain& chain : m_chains) {
            end = std::min(end, chain.bottom);
            while (chain.curve->bottom <= row) {
                chain.curve = chain.curve->next;
            }
        }
        return static_cast<int>(std::floor(end)) - row;
    }

    // Adds rows through which the same chains run.
    void AddBlock(int top, int rows) {
        m_sides.top = top;
        m_tracks.resize(std::max(m_tracks.size(), m_chains.size()));
        auto track = m_tracks.begin();
        for (Chain& chain : m_chains) {
            track->Follow(*chain.curve, top, rows, m_box.width);
            chain.track = &*track++;
        }
        for (int row = 0; row < rows;) {
            Sort(row);
            if (const int end = OrderEnd(row, rows); end > row) {
                AddOrdered(row, end);
                row = end;
            } else {
                AddMixed(top + row++);
            }
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
            const Track& before = *m_chains[i - 1].track;
            const Track& behind = *m_chains[i].track;
            const int* const last = before.last.data();
            const int* const first = behind.first.data();
            int meets = 0;
            for (int k = row; k < rows; ++k) {
                meets |= static_cast<int>(last[k] >= first[k]);
            }
            for (int k = row; meets != 0 && k < rows; ++k) {
                const auto at = static_cast<std::size_t>(k);
                rows = before.right[at] > behind.left[at] + kRounding && !AreBeside(before, behind, k) ? k : rows;
            }
        }
        return rows;
    }

    // Whether both are lines that do not cross in a row.
    bool AreBeside(const Track& before, const Track& behind, int row) const noexcept {
        const auto at = static_cast<std::size_t>(row);
        const double bottom = m_sides.top + row + 1;
        const auto isLine = [bottom](const Curve& curve) { return !curve.isArc && curve.bottom >= bottom; };
        return before.xs[at] <= behind.xs[at] && before.xs[at + 1] <= behind.xs[at + 1] && isLine(*before.curves[at]) &&
               isLine(*behind.curves[at]);
    }

    // Adds rows in which the chains lie side by side in their order.
    void AddOrdered(int row, int end) {
        FindSides();
        m_sides.FindPlain(row, end, m_box.width, m_isPlain);
        while (row < end) {
            const auto begin = m_isPlain.begin() + row;
            const auto change = std::find(begin, m_isPlain.begin() + end, 1 - *begin);
            const int next = row + static_cast<int>(change - begin);
            if (*begin != 0) {
                m_sides.AddPlain(row, next, m_box, m_pixels);
            } else {
                AddSides(row, next);
            }
            row = next;
        }
    }

    void FindSides() {
        m_sides.tracks.clear();
        int winding = 0;
        for (const Chain& chain : m_chains) {
            const int before = std::exchange(winding, winding + chain.curve->winding);
            if (before == 0 || winding == 0) {
                m_sides.tracks.push_back(chain.track);
            }
        }
    }

    // Adds rows in which some sides are not plain or share pixels.
    void AddSides(int row, int end) {
        const std::vector<Track*>& sides = m_sides.tracks;
        for (; row < end; ++row) {
            const auto at = static_cast<std::size_t>(row);
            m_row.Begin(m_sides.top + row);
            int before = -1;
            for (std::size_t i = 0; i < sides.size(); ++i) {
                const Track& side = *sides[i];
                const int behind = i + 1 < sides.size() ? sides[i + 1]->first[at] : m_box.width;
                if (side.IsPlain(at) && before < side.first[at] && side.last[at] < std::min(behind, m_box.width)) {
                    m_row.AddPlain(side, m_sides.top, row, i % 2 == 0);
                } else {
                    AddSide(side, row, i % 2 == 0 ? 1.0 : -1.0);
                }
                before = std::max(side.last[at], 0);  // What lies to the left of the row is in its first column.
            }
            m_row.End();
        }
    }

    void AddSide(const Track& side, int row, double sign) {
        side.ForEachStrand(m_sides.top, row, [this, sign](const Strand& strand, double top, double bottom) {
            m_row.Add(strand, sign, top, bottom);
        });
    }

    // Adds a row in which chains begin, end or cross.
    void AddMixed(int row) {
        m_strands.clear();
        const auto add = [&](const Chain& chain) { AppendStrands(chain.curve, row); };
        std::for_each(m_chains.begin(), m_chains.end(), add);
        for (auto chain = m_waiting.rbegin(); chain != m_waiting.rend() && chain->curve->top < row + 1; ++chain) {
            add(*chain);
        }
        m_row.Begin(row);
        m_bands.Add(row, m_strands);
        m_row.End();
    }

    // Those of a chain that run through a row or a part of it, from one on.
    void AppendStrands(const Curve* curve, int row) {
        for (; curve != nullptr && curve->top < row + 1; curve = curve->next) {
            if (curve->bottom > row) {
                m_strands.push_back(WithinRow(*curve, row));
            }
        }
    }

    PixelRect m_box;
    std::vector<Curve> m_curves;
    std::vector<Chain> m_waiting;  // the next one to begin last
    std::vector<Chain> m_chains;
    std::vector<Track> m_tracks;
    Sides m_sides;
    Track::Rows<int> m_isPlain;
    PixelSet m_pixels;
    Row m_row;
    Bands m_bands;
    std::vector<Strand> m_strands;
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

#include "host/measure/Coverage.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "host/base/WidestVectors.h"
#include "host/measure/NearlySorted.h"
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

    // Adds sides that share pixels, to the right of all that is added, from a left or a right one on. Of all of them
    // the shares are known.
    void AddShares(std::span<Track* const> sides, bool isLeft, std::size_t at) {
        Move();
        const double covered = m_covered;
        int last = 0;
        AddRun(sides[0]->first[at]);
        for (const Track* const side : sides) {
            last = std::max(last, side->last[at]);
        }
        for (int column = sides[0]->first[at]; column <= last; ++column) {
            m_covered = covered;
            double sign = isLeft ? 1.0 : -1.0;
            for (const Track* const side : sides) {
                m_covered += std::exchange(sign, -sign) * side->ShareOf(column, at);
            }
            AddRun(column + 1);
        }
        m_covered = (sides.size() % 2 == 0) == isLeft ? 0.0 : 1.0;
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
        if (m_touched.empty()) {
            return;
        }
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
        if (m_covered > kNothing && first < m_column) {
            AddCovered(first);
        }
    }

    // Adds the pixels from a column on.
    void AddCovered(int first) {
        if (m_covered >= 1.0 - kNothing) {
            m_pixels.AddSpan(m_y, m_box.left + first, m_box.left + m_column - 1);
            return;
        }
        for (int column = first; column < m_column; ++column) {
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

// An edge in a row, or a chain that goes through the whole of it.
struct Piece {
    Strand strand;
    const Track* track;  // of the chain; null where it begins, ends or goes on with another edge
};

class Bands {
  public:
    Bands(Row& row, const PixelRect& box) : m_row(row), m_width(box.width), m_boxTop(box.top) {}

    // Adds what lies inside of a row of a block that begins at row `blockTop` of the box, given all that runs through
    // it, level edges too. Pieces apart from the others are looked at for themselves: between them no edge is crossed
    // from the row's top to its bottom.
    void Add(int blockTop, int row, std::vector<Piece>& pieces) {
        Sort(pieces);
        m_winding = 0;
        int column = -1;  // The last so far; what lies to the left of the row is in the first.
        for (auto piece = pieces.begin(); piece != pieces.end();) {
            const auto begin = piece;
            double right = piece->strand.Right();
            for (++piece; piece != pieces.end() && piece->strand.Left() <= right; ++piece) {
                right = std::max(right, piece->strand.Right());
            }
            const int behind = piece == pieces.end() ? m_width : ColumnOf(piece->strand.Left());
            if (begin + 1 == piece && begin->track != nullptr) {
                AddWhole(*begin, blockTop, row, column, behind);
            } else {
                AddGroup(begin, piece, blockTop + row);
            }
            column = ColumnOf(right);
        }
    }

  private:
    using Pieces = std::vector<Piece>::const_iterator;

    static void Sort(std::vector<Piece>& pieces) {
        constexpr std::size_t kLittle = 64;
        const auto isBefore = [](const Piece& a, const Piece& b) { return a.strand.Left() < b.strand.Left(); };
        if (pieces.size() <= kLittle) {
            SortNearlySorted(pieces.begin(), pieces.end(), isBefore);
        } else {
            std::sort(pieces.begin(), pieces.end(), isBefore);
        }
    }

    int ColumnOf(double x) const noexcept { return static_cast<int>(Between(x, 0.0, m_width)); }

    // Adds an edge that goes through the whole row, between two columns that others go through.
    void AddWhole(const Piece& piece, int blockTop, int row, int before, int behind) {
        const Strand& strand = piece.strand;
        const int outside = std::exchange(m_winding, m_winding + strand.curve->winding);
        const bool isLeft = outside == 0;
        if (!isLeft && m_winding != 0) {
            return;
        }
        const auto at = static_cast<std::size_t>(row);
        const Track& track = *piece.track;
        if (track.IsPlain(at) && before < track.first[at] && track.last[at] < behind) {
            m_row.AddPlain(track, blockTop, row, isLeft);
        } else {
            m_row.Add(strand, isLeft ? 1.0 : -1.0, blockTop + row, blockTop + row + 1.0);
        }
    }

    // Adds edges that meet in a row of the box, or of which one begins or ends there.
    void AddGroup(Pieces begin, Pieces end, int inBox) {
        m_curves.clear();
        int winding = m_winding;
        for (auto piece = begin; piece != end; ++piece) {
            const Curve* const curve = piece->strand.curve;
            m_curves.push_back(curve);
            winding += curve->top <= inBox ? curve->winding : 0;
        }
        const double bottom = inBox + 1.0;
        double from = inBox;
        FindEnds(inBox);
        for (const double to : m_ends) {
            if (from < to && to < bottom) {
                AddBand(from, to);
                from = to;
            }
        }
        AddBand(from, bottom);
        m_winding = winding;
    }

    // Finds where in a row of the box edges begin or end, or may meet.
    void FindEnds(int inBox) {
        if (std::any_of(m_curves.begin(), m_curves.end(), [](const Curve* curve) { return curve->isArc; })) {
            std::vector<Edge> edges;
            for (const Curve* const curve : m_curves) {
                edges.push_back(*curve->edge);
            }
            m_ends = MeetingRows(edges);
            std::for_each(m_ends.begin(), m_ends.end(), [this](double& end) { end -= m_boxTop - 0.5; });
            return;
        }
        m_ends.clear();
        for (const Curve* const curve : m_curves) {
            if (curve->top > inBox) {
                m_ends.push_back(curve->top);
            }
            if (curve->bottom < inBox + 1) {
                m_ends.push_back(curve->bottom);
            }
        }
        std::sort(m_ends.begin(), m_ends.end());
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
    int m_width;
    int m_boxTop;
    int m_winding = 0;  // to the left of those that are looked at
    std::vector<const Curve*> m_curves;
    std::vector<double> m_ends;
    std::vector<Strand> m_strands;
};

// ---------------------------------------------------------------------------------------------------
// All rows

struct Chain {
    const Curve* curve;  // the uppermost that has not ended
    double bottom;
    Track* track = nullptr;  // through the whole rows that it goes through in the block
};

// Rows count from the top of the box.
class Sweep {
  public:
    Sweep(const std::vector<Edge>& edges, const PixelRect& box)
        : m_box(box), m_row(box, m_pixels), m_bands(m_row, box) {
        std::vector<Link> links = LinksOf(edges);
        m_curves.reserve(edges.size());
        for (const Edge& edge : edges) {
            m_curves.emplace_back(edge, box.left, box.top);
        }
        for (std::size_t i = 0; i < edges.size(); ++i) {
            if (links[i].below < 0) {
                continue;
            }
            const auto below = static_cast<std::size_t>(links[i].below);
            // An edge may have lost its height by rounding. A chain has one place at the border of two rows, so it ends
            // there.
            if (m_curves[i].IsLevel() || m_curves[below].IsLevel()) {
                links[below].begins = true;
            } else {
                m_curves[i].next = &m_curves[below];
            }
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
        for (int top = 0; top < m_box.height; top += kBlock) {
            AddBlock(top, std::min(kBlock, m_box.height - top));
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

    // Adds as many rows as are followed together, or what is left of them.
    void AddBlock(int top, int rows) {
        m_sides.top = top;
        FollowChains(rows);
        for (int row = 0; row < rows;) {
            const int end = OrderEnd(row, ChangeRow(row, rows));
            if (row < end) {
                AddOrdered(row, end);
                row = end;
            } else {
                AddMixed(row++);
            }
        }
    }

    // A chain with the rows of the block that it goes through from top to bottom, the last one behind them.
    struct Whole {
        Chain* chain;
        int row;
        int end;
    };

    // Follows all chains through the whole rows of a block that they go through.
    void FollowChains(int rows) {
        m_whole.clear();
        const auto add = [this, rows](Chain& chain) {
            if (const Whole whole = WholeRows(chain, rows); whole.row < whole.end) {
                m_whole.push_back(whole);
            }
        };
        std::for_each(m_chains.begin(), m_chains.end(), add);
        const double behind = m_sides.top + rows;
        for (auto chain = m_waiting.rbegin(); chain != m_waiting.rend() && chain->curve->top < behind; ++chain) {
            add(*chain);
        }
        if (m_tracks.size() < m_whole.size()) {
            m_tracks = {};  // None is kept from block to block, so nothing need be copied.
            m_tracks.resize(m_whole.size() + m_whole.size() / 2);
        }
        auto track = m_tracks.begin();
        for (const auto& [chain, row, end] : m_whole) {
            const Curve* curve = chain->curve;
            while (curve->bottom <= m_sides.top + row) {
                curve = curve->next;
            }
            chain->track = &*track++;
            chain->track->Follow(*curve, m_sides.top, row, end, m_box.width);
        }
    }

    Whole WholeRows(Chain& chain, int rows) const noexcept {
        const double above = Between(chain.curve->top - m_sides.top, 0.0, rows);
        const int row = static_cast<int>(above);
        return {&chain, row < above ? row + 1 : row, static_cast<int>(Between(chain.bottom - m_sides.top, 0.0, rows))};
    }

    // Ends the chains that end at a row of the block, begins those that begin there and moves all on to their edges at
    // it. The row in which the next ones end or begin, or `rows`.
    int ChangeRow(int row, int rows) {
        const int inBox = m_sides.top + row;
        std::erase_if(m_chains, [inBox](const Chain& chain) { return chain.bottom <= inBox; });
        for (; !m_waiting.empty() && m_waiting.back().curve->top <= inBox; m_waiting.pop_back()) {
            if (m_waiting.back().bottom > inBox) {
                m_chains.push_back(m_waiting.back());
            }
        }
        double end = m_sides.top + rows;
        if (!m_waiting.empty()) {
            end = std::min(end, m_waiting.back().curve->top);
        }
        for (Chain& chain : m_chains) {
            end = std::min(end, chain.bottom);
            while (chain.curve->bottom <= inBox) {
                chain.curve = chain.curve->next;
            }
        }
        return static_cast<int>(std::floor(end)) - m_sides.top;
    }

    // They stay nearly in order from row to row.
    void Sort(int row) noexcept {
        const auto at = static_cast<std::size_t>(row);
        SortNearlySorted(m_chains.begin(), m_chains.end(), [at](const Chain& a, const Chain& b) {
            return a.track->xs[at] + a.track->xs[at + 1] < b.track->xs[at] + b.track->xs[at + 1];
        });
    }

    // Puts the chains in the order of a row. The first of the rows [row, end), through which the same chains run, in
    // which some do not lie side by side in that order; `end` where there is none.
    int OrderEnd(int row, int end) noexcept {
        if (row < end) {
            Sort(row);
            OnWidestVectors<FindOrderEnd>(&m_chains, m_sides.top, row, &end);
        }
        return end;
    }

    static void FindOrderEnd(const std::vector<Chain>* chains, int top, int row, int* orderEnd) noexcept {
        int end = *orderEnd;
        for (std::size_t i = 1; i < chains->size(); ++i) {
            const Track& before = *(*chains)[i - 1].track;
            const Track& behind = *(*chains)[i].track;
            int meets = 0;
            for (auto at = static_cast<std::size_t>(row); at < static_cast<std::size_t>(end); ++at) {
                meets |= static_cast<int>(before.last[at] >= behind.first[at]);
            }
            for (int k = row; meets != 0 && k < end; ++k) {
                const auto at = static_cast<std::size_t>(k);
                end =
                    before.right[at] > behind.left[at] + kRounding && !AreBeside(before, behind, top + k, at) ? k : end;
            }
        }
        *orderEnd = end;
    }

    // Whether both are lines that do not cross in a row of the box, given all of their way: beside the box, too, which
    // tracks do not have.
    static bool AreBeside(const Track& before, const Track& behind, int inBox, std::size_t at) noexcept {
        const Curve& a = *before.curves[at];
        const Curve& b = *behind.curves[at];
        const double bottom = inBox + 1.0;
        return !a.isArc && !b.isArc && a.bottom >= bottom && b.bottom >= bottom && a.LineX(inBox) <= b.LineX(inBox) &&
               a.LineX(bottom) <= b.LineX(bottom);
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
        for (; row < end; ++row) {
            m_row.Begin(m_sides.top + row);
            bool isLeft = true;
            for (std::span<Track* const> sides = m_sides.tracks; !sides.empty();) {
                const auto group = sides.first(GroupSize(sides, static_cast<std::size_t>(row)));
                AddGroup(group, isLeft, row);
                isLeft = isLeft == (group.size() % 2 == 0);
                sides = sides.subspan(group.size());
            }
            m_row.End();
        }
    }

    // How many sides share pixels with the ones before them, from the first on.
    static std::size_t GroupSize(std::span<Track* const> sides, std::size_t at) noexcept {
        std::size_t size = 0;
        int last = 0;  // What lies to the left of the row is in its first column.
        do {
            last = std::max(sides[size++]->last[at], last);
        } while (size < sides.size() && sides[size]->first[at] <= last);
        return size;
    }

    // Adds sides that share pixels in a row, from a left or a right one on.
    void AddGroup(std::span<Track* const> sides, bool isLeft, int row) {
        const auto at = static_cast<std::size_t>(row);
        const auto isKnown = [&](const Track* side) {
            return side->first[at] >= 0 && side->last[at] < m_box.width &&
                   (sides.size() == 1 ? side->IsPlain(at) : side->HasShares(at));
        };
        if (std::all_of(sides.begin(), sides.end(), isKnown)) {
            sides.size() == 1 ? m_row.AddPlain(*sides[0], m_sides.top, row, isLeft)
                              : m_row.AddShares(sides, isLeft, at);
            return;
        }
        for (const Track* const side : sides) {
            AddSide(*side, row, isLeft ? 1.0 : -1.0);
            isLeft = !isLeft;
        }
    }

    void AddSide(const Track& side, int row, double sign) {
        side.ForEachStrand(m_sides.top, row, [this, sign](const Strand& strand, double top, double bottom) {
            m_row.Add(strand, sign, top, bottom);
        });
    }

    // Adds a row in which chains begin, end or cross.
    void AddMixed(int row) {
        m_pieces.clear();
        const auto add = [&](const Chain& chain) { AppendPieces(chain, row); };
        std::for_each(m_chains.begin(), m_chains.end(), add);
        const int inBox = m_sides.top + row;
        for (auto chain = m_waiting.rbegin(); chain != m_waiting.rend() && chain->curve->top < inBox + 1; ++chain) {
            add(*chain);
        }
        m_row.Begin(inBox);
        m_bands.Add(m_sides.top, row, m_pieces);
        m_row.End();
    }

    // What a chain has of a row, from its edge that has not ended on.
    void AppendPieces(const Chain& chain, int row) {
        const int inBox = m_sides.top + row;
        for (const Curve* curve = chain.curve; curve != nullptr && curve->top < inBox + 1; curve = curve->next) {
            if (curve->GoesThrough(inBox)) {
                const auto at = static_cast<std::size_t>(row);
                m_pieces.push_back({{curve, chain.track->xs[at], chain.track->xs[at + 1]}, chain.track});
            } else if (curve->bottom > inBox) {
                m_pieces.push_back({WithinRow(*curve, inBox), nullptr});
            }
        }
    }

    PixelRect m_box;
    std::vector<Curve> m_curves;
    std::vector<Chain> m_waiting;  // the next one to begin last
    std::vector<Chain> m_chains;
    std::vector<Whole> m_whole;
    std::vector<Track, Unwritten<Track>> m_tracks;
    Sides m_sides;
    Track::Rows<int> m_isPlain;
    PixelSet m_pixels;
    Row m_row;
    Bands m_bands;
    std::vector<Piece> m_pieces;
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

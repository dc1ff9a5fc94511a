#include "host/measure/Tracks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numeric>

#include "host/base/WidestVectors.h"

namespace host {

namespace {

// What lies beyond a box is as far as a column beyond it.
class Columns {
  public:
    explicit Columns(int width) noexcept : m_end(width + 1.0) {}

    double Within(double x) const noexcept { return Between(x, -1.0, m_end); }

  private:
    double m_end;
};

// How many rows a loop runs through: beyond those that are asked for it writes what is not looked at, or written anew.
constexpr std::size_t WholeVectors(std::size_t rows) noexcept { return (rows + kLanes - 1) / kLanes * kLanes; }

// 0, 1, 2 ...
constexpr auto kNumbers = [] {
    Track::Rows<double> numbers{};
    std::iota(numbers.begin(), numbers.end(), 0.0);
    return numbers;
}();

void FindXs(const Curve& curve, double y, std::size_t count, Columns columns, double* xs) noexcept {
    const std::size_t whole = WholeVectors(count);
    Curve local = curve;
    local.left = columns.Within(curve.left);
    local.right = columns.Within(curve.right);
    const auto find = [&](auto x) {
        for (std::size_t i = 0; i < whole; ++i) {
            xs[i] = x(y + kNumbers[i]);
        }
    };
    if (curve.isArc) {
        find([&local](double at) { return local.ArcX(at); });
    } else {
        find([&local](double at) { return local.LineX(at); });
    }
}

void FindXs(const Curve& begin, int top, int row, int end, Columns columns, Track& track) noexcept {
    for (const Curve* curve = &begin; row <= end; curve = curve->next) {
        // It is at the top of the rows before this one.
        const int behind = static_cast<int>(std::min(std::ceil(curve->bottom - top), end + 1.0));
        if (row < behind) {
            FindXs(*curve, top + row, static_cast<std::size_t>(behind - row), columns,
                   &track.xs[static_cast<std::size_t>(row)]);
            std::fill(track.curves.begin() + row, track.curves.begin() + std::min(behind, end), curve);
            row = behind;
        }
        if (curve->next == nullptr && row <= end) {  // The chain ends with the last row.
            track.xs[static_cast<std::size_t>(end)] = columns.Within(curve->xBottom);
            return;
        }
    }
}

// Finds how it goes through rows; `share` what lies to its right in one, given its ends and the first border between
// columns behind the left one.
template <class Sharing>
void FindRows(std::size_t row, std::size_t end, Track& track, Sharing share) noexcept {
    const std::size_t whole = WholeVectors(end - row);
    for (std::size_t k = 0; k < whole; ++k) {
        const std::size_t i = row + k;
        const double left = std::min(track.xs[i], track.xs[i + 1]);
        const double right = std::max(track.xs[i], track.xs[i + 1]);
        const double behindFirst = static_cast<int>(left + 1.0);
        const double behindLast = static_cast<int>(right + 1.0);
        track.left[i] = left;
        track.right[i] = right;
        track.margin[i] = std::min(behindFirst - left, right + 1.0 - behindLast);
        share(i, left, right, behindFirst);
    }
}

void FindColumns(std::size_t row, std::size_t end, Track& track) noexcept {
    const std::size_t whole = WholeVectors(end - row);
    for (std::size_t k = 0; k < whole; ++k) {
        const std::size_t i = row + k;
        track.first[i] = static_cast<int>(track.left[i] + 1.0) - 1;
        track.last[i] = static_cast<int>(track.right[i] + 1.0) - 1;
    }
}

// ---------------------------------------------------------------------------------------------------
// What lies to the right in a row, from the geometry of lines and arcs that run through it

// Of a line it is the triangle or trapezoid that a column cuts off.
template <int kColumns>
void FindLineRows(const Curve& line, std::size_t row, std::size_t end, Track& track) noexcept {
    // Of what is steeper no row has more than rounding.
    constexpr double kSteep = 1e12;
    const double halfRise = 0.5 * std::min(std::abs(line.rise), kSteep);
    FindRows(row, end, track, [&track, halfRise](std::size_t i, double left, double right, double border) {
        const double width = right - left;
        double toBorder = border - left;
        double before = 0.0;
        for (std::size_t k = 0; k < kColumns; ++k) {
            const double begun = std::min(toBorder, width);
            const double all = begun * begun * halfRise + (toBorder - begun);
            track.shares[k][i] = all - before;
            before = all;
            toBorder += 1.0;
        }
    });
}

// A short arc's way through rows, by the depths in a row from the arc's left end on: `base` is that of the ellipse's
// centre. A point's u and v are those on the unit circle that the ellipse is an image of.
class ArcDepths {
  public:
    explicit ArcDepths(const Curve& arc) noexcept
        : m_center(arc.center.x),
          m_inverse(std::abs(arc.inverse.x)),
          m_radius(arc.RunsRight() ? arc.radius.y : -arc.radius.y),
          m_inverseRadius(1.0 / m_radius),
          m_base(arc.RunsRight() ? arc.center.y : 1.0 - arc.center.y),
          m_step(arc.RunsRight() ? -1.0 : 1.0),
          m_square(arc.square) {}

    double Base(double row) const noexcept { return m_base + m_step * row; }
    double U(double x) const noexcept { return (x - m_center) * m_inverse; }
    static double V(double u) noexcept { return std::sqrt(std::max((1.0 - u) * (1.0 + u), 0.0)); }
    double V(double depth, double base) const noexcept { return (depth - base) * m_inverseRadius; }
    double Depth(double v, double base) const noexcept { return base + m_radius * v; }
    // What the piece between two points, from left to right, bulges to the right beyond its chord, by the sine of its
    // angle.
    double Bulge(double u, double v, double toU, double toV) const noexcept {
        return Curve::ShortBulge(m_square, toU * v - u * toV);
    }

  private:
    double m_center;
    double m_inverse;
    double m_radius;
    double m_inverseRadius;
    double m_base;
    double m_step;
    double m_square;
};

// Of an arc it is what its chord cuts off, less its bulge. It goes through so many columns at most; more than kFew
// stand for any number, of which the first few are found.
template <int kColumns>
void FindArcRows(const Curve& curve, int top, std::size_t row, std::size_t end, Track& track) noexcept {
    const ArcDepths arc(curve);
    FindRows(row, end, track, [&track, arc, top](std::size_t i, double left, double right, double border) {
        const double base = arc.Base(top + kNumbers[i]);
        double x = left;
        double depth = 0.0;
        double behind = 0.0;
        double u = arc.U(left);
        double v = arc.V(0.0, base);
        for (std::size_t k = 0; k < std::min(kColumns, kFew); ++k) {
            const bool isLast = k + 1 == kColumns;
            const double toX = isLast ? right : std::min(border, right);
            const double toU = arc.U(toX);
            const double toV = isLast ? arc.V(1.0, base) : ArcDepths::V(toU);
            const double toDepth = isLast ? 1.0 : arc.Depth(toV, base);
            const double toBehind = border - toX;
            track.shares[k][i] = 0.5 * (depth + toDepth) * (toX - x) - arc.Bulge(u, v, toU, toV) + (toBehind - behind);
            x = toX;
            u = toU;
            v = toV;
            depth = toDepth;
            behind = toBehind;
            border += 1.0;
        }
    });
}

void FindRows(const Curve& curve, int top, std::size_t row, std::size_t end, Track& track) noexcept {
    // It is widest at an end, and not where it leaves the box.
    const auto width = [&curve, top](std::size_t i) {
        const double y = top + static_cast<double>(i);
        return std::abs(curve.X(y + 1.0) - curve.X(y));
    };
    const double widest = std::max(width(row), width(end - 1));
    const Reach reach = widest <= 1.0 ? Reach::narrow : widest <= kFew - 1.0 ? Reach::few : Reach::wide;
    track.reach = std::max(track.reach, reach);
    if (!curve.isArc) {
        reach == Reach::narrow ? FindLineRows<2>(curve, row, end, track) : FindLineRows<kFew>(curve, row, end, track);
    } else if (reach == Reach::narrow) {
        FindArcRows<2>(curve, top, row, end, track);
    } else if (widest <= 2.0) {
        FindArcRows<3>(curve, top, row, end, track);
    } else if (reach == Reach::few) {
        FindArcRows<kFew>(curve, top, row, end, track);
    } else {
        FindArcRows<kFew + 1>(curve, top, row, end, track);
    }
}

// Of a row with joints, or of a small arc, only how far it goes.
void FindReach(int top, std::size_t row, Columns columns, Track& track) noexcept {
    double left = columns.Within(track.xs[row]);
    double right = left;
    track.ForEachStrand(top, static_cast<int>(row), [&](const Strand& strand, double, double) {
        const double x = columns.Within(strand.below);
        left = std::min(left, x);
        right = std::max(right, x);
    });
    track.left[row] = left;
    track.right[row] = right;
    track.margin[row] = 0.0;
    track.unknown |= std::uint64_t{1} << row;
}

void FollowChain(Track* track, const Curve* begin, int top, int row, int end, int width) noexcept {
    const Columns columns(width);
    FindXs(*begin, top, row, end, columns, *track);
    track->unknown = 0;
    track->reach = Reach::narrow;
    const auto behind = static_cast<std::size_t>(end);
    for (auto at = static_cast<std::size_t>(row); at < behind;) {
        const Curve& curve = *track->curves[at];
        // It runs through the rows before this one.
        const auto next = static_cast<std::size_t>(std::min(std::floor(curve.bottom - top), 1.0 * end));
        if (at < next && (!curve.isArc || curve.IsShort())) {
            FindRows(curve, top, at, next, *track);
            at = next;
        } else {
            FindReach(top, at++, columns, *track);
        }
    }
    FindColumns(static_cast<std::size_t>(row), behind, *track);
}

// ---------------------------------------------------------------------------------------------------
// Writing the pixels that a side goes through

// Whether what lies to the right of a side counts, or the rest.
enum class Share { right, rest };

constexpr double Of(Share share, double right) noexcept { return share == Share::right ? right : 1.0 - right; }

// Write the weights of the columns behind the first few, up to the last.
void WriteLine(const Track& track, std::size_t at, Share share, double* weights) noexcept {
    const double rise = std::abs(track.curves[at]->rise);
    const double begun = track.first[at] + 0.5 - track.left[at];
    const int columns = track.last[at] - track.first[at];
    for (int i = kFew; i < columns; ++i) {
        weights[i] = Of(share, (begun + i) * rise);
    }
    const double ended = track.right[at] - track.last[at];
    weights[columns] = Of(share, 1.0 - 0.5 * ended * ended * rise);
}

void WriteArc(const Track* side, std::size_t at, int row, Share share, double* weights) noexcept {
    const Track& track = *side;
    const ArcDepths arc(*track.curves[at]);
    const double base = arc.Base(row);
    const double first = track.first[at];
    const int columns = track.last[at] - track.first[at];
    double* const vs = weights;  // at the columns' left borders, each until its weight is known
    for (int i = kFew; i <= columns; ++i) {
        vs[i] = ArcDepths::V(arc.U(first + i));
    }
    for (int i = kFew; i < columns; ++i) {
        const double v = vs[i];
        const double toV = vs[i + 1];
        const double chord = 0.5 * (arc.Depth(v, base) + arc.Depth(toV, base));
        weights[i] = Of(share, chord - arc.Bulge(arc.U(first + i), v, arc.U(first + i + 1), toV));
    }
    const double v = vs[columns];
    const double right = track.right[at];
    const double left = 0.5 * (1.0 - arc.Depth(v, base)) * (right - track.last[at]);
    weights[columns] = Of(share, 1.0 - left - arc.Bulge(arc.U(track.last[at]), v, arc.U(right), arc.V(1.0, base)));
}

// Writes the weights of two pixels side by side.
template <Share kShare>
void WriteTwo(double left, double right, double* weights) noexcept {
    using Two [[gnu::vector_size(2 * sizeof(double))]] = double;
    Two two{left, right};
    if (kShare == Share::rest) {
        two = 1.0 - two;
    }
    std::memcpy(weights, &two, sizeof two);
}

// Writes the weights of a side's pixels in so many columns of a row of a block, which is row `row` of the box. There is
// room for kFew, whatever it needs. No row of the side reaches farther than kReach.
template <Share kShare, Reach kReach>
void WriteWeights(const Track& track, std::size_t at, int row, int columns, double* weights) noexcept {
    WriteTwo<kShare>(track.shares[0][at], track.shares[1][at], weights);
    if (kReach == Reach::narrow || track.reach == Reach::narrow) {
        return;
    }
    WriteTwo<kShare>(track.shares[2][at], track.shares[3][at], weights + 2);
    if (kReach == Reach::wide && columns > kFew) {
        track.curves[at]->isArc ? OnWidestVectors<WriteArc>(&track, at, row, kShare, weights)
                                : WriteLine(track, at, kShare, weights);
    }
}

// Keeps of the plain rows those in which a side is plain, behind what the one before it goes through.
void KeepPlain(const Track* side, const Track::Rows<int>* before, int row, int end, int width,
               Track::Rows<int>* isPlain) noexcept {
    const std::size_t whole = WholeVectors(static_cast<std::size_t>(end - row));
    for (std::size_t k = 0; k < whole; ++k) {
        const std::size_t i = static_cast<std::size_t>(row) + k;
        (*isPlain)[i] &= static_cast<int>(side->margin[i] > kBeside) & static_cast<int>(side->first[i] > (*before)[i]) &
                         static_cast<int>(side->last[i] < width);
    }
}

}  // namespace

void Track::Follow(const Curve& begin, int top, int row, int end, int width) noexcept {
    OnWidestVectors<FollowChain>(this, &begin, top, row, end, width);
}

void Track::FindShares(int top, int row, int end, int width) noexcept {
    for (std::uint64_t rest = unknown >> row; rest != 0; rest &= rest - 1) {
        const int next = row + std::countr_zero(rest);
        if (next >= end) {
            return;
        }
        FindShares(top, static_cast<std::size_t>(next), width);
    }
}

void Track::FindShares(int top, std::size_t row, int width) noexcept {
    unknown &= ~(std::uint64_t{1} << row);
    const int begin = first[row];
    const int count = last[row] + 1 - begin;
    if (begin < 0 || begin + count > width || count > kFew) {
        return;
    }
    // By how much more lies to the right from column to column. What is a rounding to the left of a border seems to be
    // in the column behind it already.
    std::array<double, kFew + 1> steps{};
    const auto add = [&steps, begin](int column, double more) {
        steps[static_cast<std::size_t>(std::max(column - begin, 0))] += more;
    };
    ForEachStrand(top, static_cast<int>(row), [&](const Strand& strand, double above, double below) {
        ForEachColumn(strand, above, below, width, [&add](int column, double height, double toLeft) {
            add(column, height - toLeft);
            add(column + 1, toLeft);
        });
    });
    double share = 0.0;
    double least = 1.0;
    for (std::size_t k = 0; k < static_cast<std::size_t>(count); ++k) {
        share += steps[k];
        shares[k][row] = share;
        least = std::min({least, share, 1.0 - share});
    }
    margin[row] = least > kNothing ? 1.0 : 0.0;
    reach = std::max(reach, count <= 2 ? Reach::narrow : Reach::few);
}

void Track::AddParts(int top, int row, const PixelRect& box, bool isLeft, PartPixels& parts) const {
    const auto at = static_cast<std::size_t>(row);
    const std::size_t begin = parts.weights.size();
    const int columns = last[at] - first[at] + 1;
    parts.spans.push_back({box.top + top + row, box.left + first[at], box.left + last[at], static_cast<int>(begin)});
    const std::size_t end = begin + static_cast<std::size_t>(columns);
    parts.weights.resize(end + kFew);
    double* const weights = parts.weights.data() + begin;
    isLeft ? WriteWeights<Share::right, Reach::wide>(*this, at, top + row, columns, weights)
           : WriteWeights<Share::rest, Reach::wide>(*this, at, top + row, columns, weights);
    parts.weights.resize(end);
}

void Sides::FindPlain(int row, int end, int width, Track::Rows<int>& isPlain) noexcept {
    static constexpr auto kNone = [] {
        Track::Rows<int> none{};
        none.fill(-1);
        return none;
    }();
    const Track::Rows<int>* before = &kNone;
    std::fill(isPlain.begin() + row, isPlain.begin() + end, 1);
    for (Track* const side : tracks) {
        side->FindShares(top, row, end, width);
        OnWidestVectors<KeepPlain>(side, before, row, end, width, &isPlain);
        before = &side->last;
    }
}

// Calls `write` for every row and pair of a left and a right side.
template <class Writing>
void Sides::ForEachPair(int row, int end, Writing write) const noexcept {
    const auto from = static_cast<std::size_t>(row);
    const auto to = static_cast<std::size_t>(end);
    if (tracks.size() == 2) {  // Mostly; what is known of them stays known from row to row.
        const Track& left = *tracks[0];
        const Track& right = *tracks[1];
        for (std::size_t at = from; at < to; ++at) {
            write(at, left, right);
        }
        return;
    }
    for (std::size_t at = from; at < to; ++at) {
        for (auto side = tracks.begin(); side != tracks.end(); side += 2) {
            write(at, *side[0], *side[1]);
        }
    }
}

// The place behind those written.
Span* Sides::WriteSpans(int row, int end, const PixelRect& box, Span* span) const noexcept {
    const int boxLeft = box.left;
    const int y = box.top + top;
    ForEachPair(row, end, [=, &span](std::size_t at, const Track& left, const Track& right) {
        const int before = left.last[at];
        const int behind = right.first[at];
        *span = {y + static_cast<int>(at), boxLeft + before + 1, boxLeft + behind - 1};
        span += before + 1 < behind ? 1 : 0;
    });
    return span;
}

template <Reach kReach>
int Sides::WriteParts(int row, int end, const PixelRect& box, int count, PartSpan* spans,
                      double* weights) const noexcept {
    const int boxLeft = box.left;
    const int boxTop = box.top;
    const int blockTop = top;
    ForEachPair(row, end, [=, &spans, &count](std::size_t at, const Track& left, const Track& right) {
        const int inBox = blockTop + static_cast<int>(at);
        // What the sides have is asked for once: the compiler must suppose that writing spans changes it.
        const int leftFirst = left.first[at];
        const int leftLast = left.last[at];
        *spans++ = {boxTop + inBox, boxLeft + leftFirst, boxLeft + leftLast, count};
        const int leftColumns = leftLast - leftFirst + 1;
        WriteWeights<Share::right, kReach>(left, at, inBox, leftColumns, weights + count);
        count += leftColumns;
        const int rightFirst = right.first[at];
        const int rightLast = right.last[at];
        *spans++ = {boxTop + inBox, boxLeft + rightFirst, boxLeft + rightLast, count};
        const int rightColumns = rightLast - rightFirst + 1;
        WriteWeights<Share::rest, kReach>(right, at, inBox, rightColumns, weights + count);
        count += rightColumns;
    });
    return count;
}

// Not fewer weights than WriteParts writes, those that it overwrites included.
std::size_t Sides::MostParts(int row, int end) const noexcept {
    const auto rows = static_cast<std::size_t>(end - row);
    std::size_t most = kFew;
    for (const Track* const side : tracks) {
        if (side->reach != Reach::wide) {
            most += (side->reach == Reach::narrow ? 2 : kFew) * rows;
            continue;
        }
        for (auto at = static_cast<std::size_t>(row); at < static_cast<std::size_t>(end); ++at) {
            most += static_cast<std::size_t>(side->last[at] - side->first[at] + 1);
        }
    }
    return most;
}

void Sides::AddPlain(int row, int end, const PixelRect& box, PixelSet& pixels) const {
    const std::size_t count = static_cast<std::size_t>(end - row) * tracks.size();
    const std::size_t spansBefore = pixels.spans.size();
    pixels.spans.resize(spansBefore + count / 2);
    const Span* const spansEnd = WriteSpans(row, end, box, pixels.spans.data() + spansBefore);
    pixels.spans.resize(static_cast<std::size_t>(spansEnd - pixels.spans.data()));

    auto& [spans, weights] = pixels.parts;
    const auto before = static_cast<int>(weights.size());
    weights.resize(weights.size() + MostParts(row, end));
    spans.resize(spans.size() + count);
    PartSpan* const next = spans.data() + (spans.size() - count);
    Reach reach = Reach::narrow;
    for (const Track* const side : tracks) {
        reach = std::max(reach, side->reach);
    }
    static constexpr std::array kWriteParts{&Sides::WriteParts<Reach::narrow>, &Sides::WriteParts<Reach::few>,
                                            &Sides::WriteParts<Reach::wide>};
    const auto write = kWriteParts[static_cast<std::size_t>(reach)];
    const int after = (this->*write)(row, end, box, before, next, weights.data());
    weights.resize(static_cast<std::size_t>(after));
}

}  // namespace host

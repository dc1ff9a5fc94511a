#include "host/measure/Tracks.h"

#include <algorithm>
#include <cmath>
#include <numeric>

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

void FindXs(const Curve& curve, double y, int count, Columns columns, double* xs) noexcept {
    Curve local = curve;
    local.left = columns.Within(curve.left);
    local.right = columns.Within(curve.right);
    const auto find = [&](auto x) {
        for (int i = 0; i < count; ++i) {
            xs[i] = x(y + i);
        }
    };
    if (curve.isArc) {
        find([&local](double at) { return local.ArcX(at); });
    } else {
        find([&local](double at) { return local.LineX(at); });
    }
}

void FindXs(const Curve& begin, int top, int rows, Columns columns, Track& track) noexcept {
    const Curve* curve = &begin;
    for (int row = 0; row <= rows; curve = curve->next) {
        // It is at the top of the rows before this one.
        const int end = static_cast<int>(std::min(std::ceil(curve->bottom - top), rows + 1.0));
        FindXs(*curve, top + row, end - row, columns, &track.xs[static_cast<std::size_t>(row)]);
        std::fill(track.curves.begin() + row, track.curves.begin() + std::max(row, std::min(end, rows)), curve);
        row = std::max(row, end);
        if (curve->next == nullptr && row <= rows) {  // The chain ends with the last row.
            track.xs[static_cast<std::size_t>(rows)] = columns.Within(curve->xBottom);
            return;
        }
    }
}

// The whole number that is not above one that is not negative; in a loop it takes no branch.
double Floor(double value) noexcept {
    // Of numbers beside it only whole ones are kept.
    constexpr double kLarge = 6755399441055744.0;
    const double whole = (value + kLarge) - kLarge;
    return whole - (whole > value ? 1.0 : 0.0);
}

// 0, 1, 2 ...
constexpr auto kNumbers = [] {
    Track::Rows<double> numbers{};
    std::iota(numbers.begin(), numbers.end(), 0.0);
    return numbers;
}();

// Finds how it goes through rows; `share` what lies to its right in one, given its ends and the first border between
// columns behind the left one.
template <class Sharing>
void FindRows(std::size_t row, std::size_t end, Track& track, Sharing share) noexcept {
    for (std::size_t i = row; i < end; ++i) {
        const double left = std::min(track.xs[i], track.xs[i + 1]);
        const double right = std::max(track.xs[i], track.xs[i + 1]);
        const double behindFirst = Floor(left + 1.0);
        const double behindLast = Floor(right + 1.0);
        track.left[i] = left;
        track.right[i] = right;
        track.firstBorder[i] = behindFirst;
        track.lastBorder[i] = behindLast;
        track.margin[i] = std::min(behindFirst - left, right + 1.0 - behindLast);
        share(i, left, right, behindFirst);
    }
}

void FindColumns(int rows, Track& track) noexcept {
    for (std::size_t i = 0; i < static_cast<std::size_t>(rows); ++i) {
        track.first[i] = static_cast<int>(track.firstBorder[i]) - 1;
        track.last[i] = static_cast<int>(track.lastBorder[i]) - 1;
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

// Of an arc it is what its chord cuts off, less its bulge.
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
        for (std::size_t k = 0; k < kColumns; ++k) {
            const bool isLast = kColumns == 2 && k == 1;
            const double toX = isLast ? right : std::min(border, right);
            const double toU = arc.U(toX);
            const double toV = isLast ? arc.V(1.0, base) : ArcDepths::V(toU);
            const double toDepth = isLast ? 1.0 : arc.Depth(toV, base);
            const double toBehind = border - toX;
            track.shares[k][i] =
                0.5 * (depth + toDepth) * (toX - x) - arc.Bulge(u, v, toU, toV) + (toBehind - behind);
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
    const auto width = [&track](std::size_t i) { return std::abs(track.xs[i + 1] - track.xs[i]); };
    const double widest = std::max(width(row), width(end - 1));
    const bool isNarrow = widest <= 1.0;
    track.isNarrow &= isNarrow;
    track.isWide |= widest > kFew - 1.0;
    if (!curve.isArc) {
        isNarrow ? FindLineRows<2>(curve, row, end, track) : FindLineRows<kFew>(curve, row, end, track);
    } else if (curve.IsShort()) {
        isNarrow ? FindArcRows<2>(curve, top, row, end, track) : FindArcRows<kFew>(curve, top, row, end, track);
    } else {
        FindRows(row, end, track, [&track](std::size_t i, double, double, double) { track.margin[i] = 0.0; });
    }
}

// In a row with joints.
void FindJointRow(int top, std::size_t row, Columns columns, Track& track) noexcept {
    const auto [least, most] = std::minmax(track.xs[row], track.xs[row + 1]);
    double left = least;
    double right = most;
    const double bottom = top + static_cast<double>(row) + 1.0;
    for (const Curve* curve = track.curves[row]; curve->next != nullptr && curve->bottom < bottom; curve = curve->next) {
        const double x = columns.Within(curve->xBottom);
        left = std::min(left, x);
        right = std::max(right, x);
    }
    track.left[row] = left;
    track.right[row] = right;
    track.firstBorder[row] = Floor(left + 1.0);
    track.lastBorder[row] = Floor(right + 1.0);
    track.margin[row] = 0.0;
}

// ---------------------------------------------------------------------------------------------------
// Writing the pixels that a side goes through

// Whether what lies to the right of a side counts, or the rest.
enum class Share { right, rest };

constexpr double Of(Share share, double right) noexcept { return share == Share::right ? right : 1.0 - right; }

// Write the columns behind the first few, up to the last.
void WriteLine(const Track& track, std::size_t at, Share share, PartPixel* part) noexcept {
    const auto [y, x, weight] = *part;
    const double rise = std::abs(track.curves[at]->rise);
    const double begun = track.first[at] + 0.5 - track.left[at];
    const int columns = track.last[at] - track.first[at];
    for (int i = kFew; i < columns; ++i) {
        part[i] = {y, x + i, Of(share, (begun + i) * rise)};
    }
    const double ended = track.right[at] - track.last[at];
    part[columns] = {y, x + columns, Of(share, 1.0 - 0.5 * ended * ended * rise)};
}

void WriteArc(const Track& track, std::size_t at, int row, Share share, PartPixel* part) noexcept {
    const auto [y, x, weight] = *part;
    const ArcDepths arc(*track.curves[at]);
    const double base = arc.Base(row);
    const int columns = track.last[at] - track.first[at];
    double border = track.first[at] + kFew;
    double u = arc.U(border);
    double v = ArcDepths::V(u);
    for (int i = kFew; i < columns; ++i) {
        border += 1.0;
        const double toU = arc.U(border);
        const double toV = ArcDepths::V(toU);
        const double chord = 0.5 * (arc.Depth(v, base) + arc.Depth(toV, base));
        part[i] = {y, x + i, Of(share, chord - arc.Bulge(u, v, toU, toV))};
        u = toU;
        v = toV;
    }
    const double right = track.right[at];
    const double left = 0.5 * (1.0 - arc.Depth(v, base)) * (right - border);
    part[columns] = {y, x + columns, Of(share, 1.0 - left - arc.Bulge(u, v, arc.U(right), arc.V(1.0, base)))};
}

// Writes a side's pixels in a row of a block, which is row `row` of the box and y of the image; there is room for
// kFew, whatever it needs. The place behind them.
template <Share kShare, bool kMayBeWide>
[[gnu::always_inline]] inline PartPixel* Write(const Track& track, std::size_t at, int row, int y, int boxLeft,
                                               PartPixel* part) noexcept {
    const int x = boxLeft + track.first[at];
    const int columns = track.last[at] - track.first[at];
    part[0] = {y, x, Of(kShare, track.shares[0][at])};
    part[1] = {y, x + 1, Of(kShare, track.shares[1][at])};
    if (!track.isNarrow) {
        part[2] = {y, x + 2, Of(kShare, track.shares[2][at])};
        part[3] = {y, x + 3, Of(kShare, track.shares[3][at])};
        if (kMayBeWide && columns >= kFew) {
            track.curves[at]->isArc ? WriteArc(track, at, row, kShare, part) : WriteLine(track, at, kShare, part);
        }
    }
    return part + columns + 1;
}

}  // namespace

void Track::Follow(const Curve& begin, int top, int rows, int width) noexcept {
    const Columns columns(width);
    FindXs(begin, top, rows, columns, *this);
    isNarrow = true;
    isWide = false;
    for (int row = 0; row < rows;) {
        const Curve& curve = *curves[static_cast<std::size_t>(row)];
        // It runs through the rows before this one.
        const int end = static_cast<int>(std::min(std::floor(curve.bottom - top), 1.0 * rows));
        if (row < end) {
            FindRows(curve, top, static_cast<std::size_t>(row), static_cast<std::size_t>(end), *this);
            row = end;
        } else {
            FindJointRow(top, static_cast<std::size_t>(row++), columns, *this);
        }
    }
    FindColumns(rows, *this);
}

void Track::AddParts(int top, int row, const PixelRect& box, bool isLeft, PartPixels& parts) const {
    const auto at = static_cast<std::size_t>(row);
    const std::size_t before = parts.size();
    parts.resize(before + static_cast<std::size_t>(last[at] - first[at] + kFew));
    PartPixel* const part = parts.data() + before;
    const int y = box.top + top + row;
    const PartPixel* const end = isLeft ? Write<Share::right, true>(*this, at, top + row, y, box.left, part)
                                        : Write<Share::rest, true>(*this, at, top + row, y, box.left, part);
    parts.resize(static_cast<std::size_t>(end - parts.data()));
}

void Sides::FindPlain(int row, int end, int width, Track::Rows<int>& isPlain) const noexcept {
    static constexpr auto kNone = [] {
        Track::Rows<int> none{};
        none.fill(-1);
        return none;
    }();
    const Track::Rows<int>* before = &kNone;
    std::fill(isPlain.begin() + row, isPlain.begin() + end, 1);
    for (const Track* const side : tracks) {
        for (auto i = static_cast<std::size_t>(row); i < static_cast<std::size_t>(end); ++i) {
            isPlain[i] &= static_cast<int>(side->margin[i] > kBeside) & static_cast<int>(side->first[i] > (*before)[i]) &
                          static_cast<int>(side->last[i] < width);
        }
        before = &side->last;
    }
}

// The place behind those written.
Span* Sides::WriteSpans(int row, int end, const PixelRect& box, Span* span) const noexcept {
    const auto [boxLeft, boxTop, width, height] = box;
    const int y = boxTop + top;
    for (int i = row; i < end; ++i) {
        const auto at = static_cast<std::size_t>(i);
        for (auto side = tracks.begin(); side != tracks.end(); side += 2) {
            const int before = side[0]->last[at];
            const int behind = side[1]->first[at];
            *span = {y + i, boxLeft + before + 1, boxLeft + behind - 1};
            span += before + 1 < behind ? 1 : 0;
        }
    }
    return span;
}

template <bool kMayBeWide>
PartPixel* Sides::WriteParts(int row, int end, const PixelRect& box, PartPixel* part) const noexcept {
    const auto [boxLeft, boxTop, width, height] = box;
    const int y = boxTop + top;
    const int blockTop = top;
    for (int i = row; i < end; ++i) {
        const auto at = static_cast<std::size_t>(i);
        for (auto side = tracks.begin(); side != tracks.end(); side += 2) {
            part = Write<Share::right, kMayBeWide>(*side[0], at, blockTop + i, y + i, boxLeft, part);
            part = Write<Share::rest, kMayBeWide>(*side[1], at, blockTop + i, y + i, boxLeft, part);
        }
    }
    return part;
}

// Not fewer than WriteParts writes, those that it overwrites included.
std::size_t Sides::MostParts(int row, int end) const noexcept {
    const auto rows = static_cast<std::size_t>(end - row);
    std::size_t most = kFew;
    for (const Track* const side : tracks) {
        if (!side->isWide) {
            most += (side->isNarrow ? 2 : kFew) * rows;
            continue;
        }
        for (auto at = static_cast<std::size_t>(row); at < static_cast<std::size_t>(end); ++at) {
            most += static_cast<std::size_t>(side->last[at] - side->first[at] + 1);
        }
    }
    return most;
}

void Sides::AddPlain(int row, int end, const PixelRect& box, PixelSet& pixels) const {
    const auto rows = static_cast<std::size_t>(end - row);
    const std::size_t partsBefore = pixels.parts.size();
    const std::size_t spansBefore = pixels.spans.size();
    pixels.parts.resize(partsBefore + MostParts(row, end));
    pixels.spans.resize(spansBefore + rows * tracks.size() / 2);
    PartPixel* const part = pixels.parts.data() + partsBefore;
    const Span* const spansEnd = WriteSpans(row, end, box, pixels.spans.data() + spansBefore);
    const bool mayBeWide = std::any_of(tracks.begin(), tracks.end(), [](const Track* side) { return side->isWide; });
    const PartPixel* const partsEnd =
        mayBeWide ? WriteParts<true>(row, end, box, part) : WriteParts<false>(row, end, box, part);
    pixels.parts.resize(static_cast<std::size_t>(partsEnd - pixels.parts.data()));
    pixels.spans.resize(static_cast<std::size_t>(spansEnd - pixels.spans.data()));
}

}  // namespace host

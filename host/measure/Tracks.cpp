#include "host/measure/Tracks.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

void FindXs(const Curve& curve, double y, int count, double* xs) noexcept {
    const Curve local = curve;
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

void FindXs(const Curve& begin, int top, int rows, Track& track) noexcept {
    track.curves.fill(&begin);
    const Curve* curve = &begin;
    for (int row = 0; row <= rows; curve = curve->next) {
        // It is at the top of the rows before this one.
        const int end = static_cast<int>(std::min(std::ceil(curve->bottom - top), rows + 1.0));
        FindXs(*curve, top + row, end - row, &track.xs[static_cast<std::size_t>(row)]);
        if (curve != &begin) {
            std::fill(track.curves.begin() + row, track.curves.begin() + std::min(end, rows), curve);
        }
        row = std::max(row, end);
        if (curve->next == nullptr && row <= rows) {  // The chain ends with the last row.
            track.xs[static_cast<std::size_t>(rows)] = curve->xBottom;
            return;
        }
    }
}

void FindReach(int top, int rows, Track& track) noexcept {
    for (std::size_t i = 0; i < static_cast<std::size_t>(rows); ++i) {
        const double above = track.xs[i];
        const double below = track.xs[i + 1];
        track.left[i] = std::min(above, below);
        track.right[i] = std::max(above, below);
    }
    for (const Curve* curve = track.curves[0]; curve != nullptr && curve->bottom < top + rows; curve = curve->next) {
        const auto joint = static_cast<std::size_t>(curve->bottom - top);
        track.left[joint] = std::min(track.left[joint], curve->xBottom);
        track.right[joint] = std::max(track.right[joint], curve->xBottom);
    }
}

void FindColumns(int rows, int width, Track& track) noexcept {
    const double most = width + 1.0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(rows); ++i) {
        const double left = track.left[i];
        const double right = track.right[i];
        track.first[i] = static_cast<int>(Between(left + 1.0, 0.0, most)) - 1;
        track.last[i] = static_cast<int>(Between(right + 1.0, 0.0, most)) - 1;
    }
}

// ---------------------------------------------------------------------------------------------------
// What lies to the right in a row, from the geometry of lines and arcs that run through it

// Whether it is neither nothing nor all of a pixel.
int IsPart(double weight) noexcept { return static_cast<int>(std::abs(weight - 0.5) < 0.5 - kNothing); }

// Notes what lies to the right in a row's first column and in those behind it.
void Note(double head, double rest, std::size_t at, Track& track) noexcept {
    const int more = track.last[at] - track.first[at];
    track.head[at] = head;
    track.rest[at] = more > 0 ? rest : head;
    track.isPlain[at] = IsPart(head) & (IsPart(rest) | static_cast<int>(more != 1));
}

// Of a line it is the triangle or trapezoid that a column cuts off.
void FindLineEnds(const Curve& line, std::size_t row, std::size_t end, Track& track) noexcept {
    const double halfRise = 0.5 * std::abs(line.rise);
    for (std::size_t i = row; i < end; ++i) {
        const double left = track.left[i];
        const double right = track.right[i];
        const double all = track.last[i] + 1 - 0.5 * (left + right);
        const double begun = track.first[i] + 1 - left;
        const double split = begun * begun * halfRise;
        const double head = track.first[i] < track.last[i] ? split : all;
        Note(head, all - split, i, track);
    }
}

// The depths of short arcs in a row, from their left end on, and what their pieces bulge to the right beyond their
// chords. `base` is the depth of the ellipse's centre.
class ArcDepths {
  public:
    explicit ArcDepths(const Curve& arc) noexcept
        : m_center(arc.center.x),
          m_inverse(arc.inverse.x),
          m_radius(arc.RunsRight() ? arc.radius.y : -arc.radius.y),
          m_base(arc.RunsRight() ? arc.center.y : 1.0 - arc.center.y),
          m_step(arc.RunsRight() ? -1.0 : 1.0),
          m_curvature(arc.curvature),
          m_square(arc.square) {}

    double Base(int row) const noexcept { return m_base + m_step * row; }
    double At(double x, double base) const noexcept {
        const double u = (x - m_center) * m_inverse;
        return base + m_radius * std::sqrt(std::max((1.0 - u) * (1.0 + u), 0.0));
    }
    // Of the piece that is so wide and high and one end of which is at x and that deep.
    double Bulge(double x, double depth, double width, double height, double base) const noexcept {
        return Curve::ShortBulge(m_square,
                                 m_curvature * (std::abs(x - m_center) * height + std::abs(depth - base) * width));
    }

  private:
    double m_center;
    double m_inverse;
    double m_radius;
    double m_base;
    double m_step;
    double m_curvature;
    double m_square;
};

// Of an arc it is what its chord cuts off, less its bulge; `rest` is not known behind more than one border, since so
// long an arc is not short.
void FindArcEnds(const Curve& curve, int top, std::size_t row, std::size_t end, Track& track) noexcept {
    const ArcDepths arc(curve);
    for (std::size_t i = row; i < end; ++i) {
        const double base = arc.Base(top + static_cast<int>(i));
        const double left = track.left[i];
        const double right = track.right[i];
        const double all = track.last[i] + 1 - 0.5 * (left + right) - arc.Bulge(left, 0.0, right - left, 1.0, base);
        const double border = track.first[i] + 1;
        const double begun = border - left;
        const double depth = arc.At(border, base);
        const double split = 0.5 * depth * begun - arc.Bulge(border, depth, begun, depth, base);
        const double head = track.first[i] < track.last[i] ? split : all;
        Note(head, all - split, i, track);
    }
}

void FindEnds(int top, int rows, Track& track) noexcept {
    for (int row = 0; row < rows;) {
        const auto at = static_cast<std::size_t>(row);
        const Curve& curve = *track.curves[at];
        // It runs through the rows before this one.
        const int end = static_cast<int>(std::min(std::floor(curve.bottom - top), 1.0 * rows));
        if (row < end && !curve.isArc) {
            FindLineEnds(curve, at, static_cast<std::size_t>(end), track);
        } else if (row < end && curve.IsShort()) {
            FindArcEnds(curve, top, at, static_cast<std::size_t>(end), track);
        } else {
            std::fill(track.isPlain.begin() + row, track.isPlain.begin() + std::max(end, row + 1), 0);
        }
        row = std::max(end, row + 1);
    }
}

// ---------------------------------------------------------------------------------------------------
// Writing the pixels that a side goes through

// Whether what lies to the right of a side counts, or the rest.
enum class Share { right, rest };

double Of(Share share, double right) noexcept { return share == Share::right ? right : 1.0 - right; }

// Write the columns behind the first, between which and the last there are others.
void WriteLast(double right, Share share, PartPixel first, int columns, PartPixel* part) noexcept {
    part[columns] = {first.y, first.x + columns, Of(share, std::min(right, 1.0 - kNothing))};
}

void WriteLine(const Track& track, std::size_t at, Share share, PartPixel* part) noexcept {
    const PartPixel first = *part;
    const double rise = std::abs(track.curves[at]->rise);
    const int columns = track.last[at] - track.first[at];
    double right = (track.first[at] + 1.5 - track.left[at]) * rise;
    double rest = track.rest[at];
    for (int i = 1; i < columns; ++i) {
        part[i] = {first.y, first.x + i, Of(share, right)};
        rest -= right;
        right += rise;
    }
    WriteLast(rest, share, first, columns, part);
}

void WriteArc(const Track& track, std::size_t at, int row, Share share, PartPixel* part) noexcept {
    const PartPixel first = *part;
    const ArcDepths arc(*track.curves[at]);
    const double base = arc.Base(row);
    const int columns = track.last[at] - track.first[at];
    double border = track.first[at] + 1;
    double before = arc.At(border, base);
    for (int i = 1; i < columns; ++i) {
        const double after = arc.At(border + 1.0, base);
        const double right = 0.5 * (before + after) - arc.Bulge(border, before, 1.0, after - before, base);
        part[i] = {first.y, first.x + i, Of(share, right)};
        before = after;
        border += 1.0;
    }
    const double ended = track.right[at] - track.last[at];
    const double height = 1.0 - before;
    WriteLast(1.0 - 0.5 * height * ended - arc.Bulge(border, before, ended, height, base), share, first, columns, part);
}

// Writes a side's pixels in a row of a block, which is row `row` of the box and y of the image. The place behind them.
PartPixel* Write(const Track& track, std::size_t at, int row, int y, int boxLeft, Share share,
                 PartPixel* part) noexcept {
    const int first = track.first[at];
    const int columns = track.last[at] - first;
    const int x = boxLeft + first;
    part[0] = {y, x, Of(share, track.head[at])};
    if (columns <= 1) {
        part[columns] = {y, x + columns, Of(share, track.rest[at])};
    } else if (track.curves[at]->isArc) {
        WriteArc(track, at, row, share, part);
    } else {
        WriteLine(track, at, share, part);
    }
    return part + columns + 1;
}

}  // namespace

void Track::Follow(const Curve& begin, int top, int rows, int width) noexcept {
    FindXs(begin, top, rows, *this);
    FindReach(top, rows, *this);
    FindColumns(rows, width, *this);
    FindEnds(top, rows, *this);
}

void Track::AddParts(int top, int row, const PixelRect& box, bool isLeft, PartPixels& parts) const {
    const auto at = static_cast<std::size_t>(row);
    const std::size_t before = parts.size();
    parts.resize(before + static_cast<std::size_t>(last[at] - first[at] + 1));
    Write(*this, at, top + row, box.top + top + row, box.left, isLeft ? Share::right : Share::rest,
          parts.data() + before);
}

void Sides::FindPlain(int row, int end, int width, Track::Rows<int>& isPlain) const noexcept {
    Track::Rows<int> before;
    before.fill(-1);
    isPlain.fill(1);
    for (const Track* const track : tracks) {
        const Track& side = *track;
        for (auto i = static_cast<std::size_t>(row); i < static_cast<std::size_t>(end); ++i) {
            isPlain[i] &=
                side.isPlain[i] & static_cast<int>(side.first[i] > before[i]) & static_cast<int>(side.last[i] < width);
            before[i] = side.last[i];
        }
    }
}

void Sides::AddPlain(int row, int end, const PixelRect& box, PixelSet& pixels) const {
    const auto rows = static_cast<std::size_t>(end - row);
    int count = (end - row) * static_cast<int>(tracks.size());
    for (const Track* const side : tracks) {
        for (auto at = static_cast<std::size_t>(row); at < static_cast<std::size_t>(end); ++at) {
            count += side->last[at] - side->first[at];
        }
    }
    const std::size_t partsBefore = pixels.parts.size();
    const std::size_t spansBefore = pixels.spans.size();
    pixels.parts.resize(partsBefore + static_cast<std::size_t>(count));
    pixels.spans.resize(spansBefore + rows * tracks.size() / 2);
    PartPixel* part = pixels.parts.data() + partsBefore;
    Span* span = pixels.spans.data() + spansBefore;
    const Track* const* const sides = tracks.data();
    const Track* const* const sidesEnd = sides + tracks.size();
    const auto [boxLeft, boxTop, width, height] = box;
    const int blockTop = top;
    for (int i = row; i < end; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const int y = boxTop + blockTop + i;
        for (const Track* const* side = sides; side != sidesEnd; side += 2) {
            const Track& left = *side[0];
            const Track& right = *side[1];
            *span = {y, boxLeft + left.last[at] + 1, boxLeft + right.first[at] - 1};
            span += span->Length() > 0 ? 1 : 0;
            part = Write(left, at, blockTop + i, y, boxLeft, Share::right, part);
            part = Write(right, at, blockTop + i, y, boxLeft, Share::rest, part);
        }
    }
    pixels.spans.resize(static_cast<std::size_t>(span - pixels.spans.data()));
}

}  // namespace host

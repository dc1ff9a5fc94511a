// Plane geometry in image coordinates (y downward): points, the turned frame of a figure, lines and
// their intersection, the roundings, mapping a point. Pure functions; no components.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "contract/Framework.h"
#include "contract/Numbers.h"

namespace roi {

struct Point {
    double x = 0.0;
    double y = 0.0;
};

constexpr Point operator+(Point a, Point b) noexcept { return {a.x + b.x, a.y + b.y}; }
constexpr Point operator-(Point a, Point b) noexcept { return {a.x - b.x, a.y - b.y}; }
constexpr Point operator*(double factor, Point p) noexcept { return {factor * p.x, factor * p.y}; }
constexpr double SquaredLength(Point p) noexcept { return p.x * p.x + p.y * p.y; }
inline double Length(Point p) noexcept { return std::sqrt(SquaredLength(p)); }
/// The direction of a vector, in radians from +x toward +y.
inline double Direction(Point p) noexcept { return std::atan2(p.y, p.x); }

/// A roll with its cosine and sine, which no hit test should have to compute again. They can only be
/// set together.
class Roll {
  public:
    constexpr Roll() noexcept = default;
    explicit Roll(double radians) noexcept
        : m_radians(radians), m_cosine(std::cos(radians)), m_sine(std::sin(radians)) {}

    constexpr double Radians() const noexcept { return m_radians; }
    constexpr double Cosine() const noexcept { return m_cosine; }
    constexpr double Sine() const noexcept { return m_sine; }

    /// From the figure's own frame to the image's directions.
    constexpr Point Turn(Point local) const noexcept {
        return {local.x * m_cosine - local.y * m_sine, local.x * m_sine + local.y * m_cosine};
    }
    /// From the image's directions to the figure's own frame.
    constexpr Point TurnBack(Point offset) const noexcept {
        return {offset.x * m_cosine + offset.y * m_sine, offset.y * m_cosine - offset.x * m_sine};
    }

  private:
    double m_radians = 0.0;
    double m_cosine = 1.0;
    double m_sine = 0.0;
};

/// The line a x + b y + c = 0 with (a, b) of length 1: its value at a point is the signed distance.
struct Line {
    double a = 1.0;
    double b = 0.0;
    double c = 0.0;

    constexpr double DistanceTo(Point p) const noexcept { return a * p.x + b * p.y + c; }
    /// The parallel line on which DistanceTo was -shift.
    constexpr Line Shifted(double shift) const noexcept { return {a, b, c + shift}; }
};

/// The line through `through` that runs toward another point: with d from the one to the other, its normal is
/// (d.y, -d.x). The same point twice gives x = 0.
inline Line LineThrough(Point through, Point toward) noexcept {
    // The points are compared, not their difference, which is not a number for a point at infinity.
    if (through.x == toward.x && through.y == toward.y) {
        return {};
    }
    const Point along = toward - through;
    const double length = Length(along);
    Line line{along.y / length, -along.x / length, (along.x * through.y - along.y * through.x) / length};
    // A second normalisation takes the rounding error out of the first.
    const double norm = std::sqrt(line.a * line.a + line.b * line.b);
    if (norm != 0.0) {
        line.a /= norm;
        line.b /= norm;
        line.c /= norm;
    }
    return line;
}

/// The sine of the angle between two lines: near 0 when they are parallel.
constexpr double Determinant(const Line& first, const Line& second) noexcept {
    return first.b * second.a - first.a * second.b;
}

/// Where two lines meet; their determinant must not be 0. In the other order numerators and determinant change their
/// signs, so a coordinate of 0 may change its own.
constexpr Point Intersection(const Line& first, const Line& second) noexcept {
    const double determinant = Determinant(first, second);
    return {(second.b * first.c - first.b * second.c) / determinant,
            (first.a * second.c - second.a * first.c) / determinant};
}

/// Half away from zero, to int: the rounding of coordinates. Zero counts as negative here (v > 0), which
/// gives the same integer.
constexpr int Round(double v) noexcept { return ToInt32(v > 0.0 ? v + 0.5 : v - 0.5); }
/// As Round, but unsigned: a negative size wraps, as the conversion through 64 bits does.
constexpr unsigned int RoundUnsigned(double v) noexcept { return ToUInt32(v > 0.0 ? v + 0.5 : v - 0.5); }

/// A box in whole pixels, as GetBoundingRect writes it.
struct PixelBox {
    int left = 0;
    int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
};

/// The least box over points, exact or in pixels.
template <class Coordinate>
struct Extent {
    Coordinate minX, maxX, minY, maxY;

    constexpr void Include(Coordinate x, Coordinate y) noexcept {
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    }
};

/// The box around pixels, both border pixels counted. In 32-bit arithmetic that wraps.
constexpr PixelBox BoxOfPixels(const Extent<int>& e) noexcept {
    const auto count = [](int low, int high) {
        return static_cast<unsigned int>(high) - static_cast<unsigned int>(low) + 1u;
    };
    return {e.minX, e.minY, count(e.minX, e.maxX), count(e.minY, e.maxY)};
}

/// Maps a point through a transform, with a third coordinate of 0. What the transform returns is ignored.
inline Point MapPoint(ITransform& transform, Point p) noexcept {
    double z = 0.0;
    transform.TransformPoint(&p.x, &p.y, &z);
    return p;
}

/// The result of a hit test: the code tells inside from outside, `hit` may be null. Without a branch on
/// the answer, which comes at random.
inline Result HitResult(bool inside, int* hit) noexcept {
    const auto one = static_cast<unsigned int>(inside);
    if (hit != nullptr) {
        *hit = static_cast<int>(one);
    }
    return static_cast<Result>(static_cast<unsigned int>(E_FAIL) & (one - 1u));
}

}  // namespace roi

// Edges of an outline, prepared to be followed through the squares of pixels.
#pragma once

#include <algorithm>
#include <cmath>

#include "host/measure/Edges.h"

namespace host {

/// The lower one for what is not a number.
inline double Between(double value, double low, double high) noexcept { return std::min(std::max(low, value), high); }

/// An edge with what it takes to follow it without a division. Its coordinates count from the upper left corner of the
/// box of pixels that is looked at, so that the borders of their squares are the whole numbers from 0 on.
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
    double square;     ///< the product of the radii, negative for a left half
    double curvature;  ///< its inverse, positive
    const Edge* edge;
    const Curve* next = nullptr;  ///< what goes on below; null where a chain ends

    /// An edge in a box whose first pixel is (boxLeft, boxTop).
    Curve(const Edge& ofImage, int boxLeft, int boxTop) noexcept
        : top(ofImage.top - (boxTop - 0.5)),
          bottom(ofImage.bottom - (boxTop - 0.5)),
          xTop(ofImage.xTop - (boxLeft - 0.5)),
          xBottom(ofImage.xBottom - (boxLeft - 0.5)),
          left(std::min(xTop, xBottom)),
          right(std::max(xTop, xBottom)),
          winding(ofImage.winding),
          isArc(ofImage.IsArc()),
          slope((xBottom - xTop) / (bottom - top)),
          rise(Between((bottom - top) / (xBottom - xTop), -kSteepest, kSteepest)),
          center(ofImage.centerX - (boxLeft - 0.5), ofImage.centerY - (boxTop - 0.5)),
          radius(ofImage.radiusX, ofImage.radiusY),
          inverse(1.0 / ofImage.radiusX, 1.0 / ofImage.radiusY),
          square(ofImage.radiusX * std::abs(ofImage.radiusY)),
          curvature(std::abs(inverse.x * inverse.y)),
          edge(&ofImage) {}

    bool IsLevel() const noexcept { return top == bottom; }
    /// Whether it runs through a row from its top to its bottom.
    bool GoesThrough(int row) const noexcept { return top <= row && bottom >= row + 1; }
    bool RunsRight() const noexcept { return xTop <= xBottom; }

    double X(double y) const noexcept { return isArc ? ArcX(y) : LineX(y); }
    double LineX(double y) const noexcept { return Between(xTop + (y - top) * slope, left, right); }
    double ArcX(double y) const noexcept {
        const double u = (y - center.y) * inverse.y;
        return Between(center.x + radius.x * std::sqrt(std::max((1.0 - u) * (1.0 + u), 0.0)), left, right);
    }
    double Y(double x) const noexcept {
        return isArc ? Between(ArcY(x), top, bottom) : Between(top + (x - xTop) * rise, top, bottom);
    }
    /// Of the whole quarter that an arc is of.
    double ArcY(double x) const noexcept {
        const double u = (x - center.x) * inverse.x;
        return center.y + radius.y * std::sqrt(std::max((1.0 - u) * (1.0 + u), 0.0));
    }

    /// The area between an arc and its chord of that width and height, one end of which is (x, y); negative where the
    /// arc is left of the chord.
    double Bulge(double x, double y, double width, double height) const noexcept {
        // On the circle that the ellipse is an image of, the sine of the arc's angle is the cross product of its ends;
        // along an edge both parts of it have one sign.
        const double sine = curvature * (std::abs(x - center.x) * height + std::abs(y - center.y) * width);
        if (sine < kShort) {
            return ShortBulge(square, sine);
        }
        const double chord = std::hypot(width * inverse.x, height * inverse.y);
        return 0.5 * square * (2.0 * std::asin(std::min(0.5 * chord, 1.0)) - sine);
    }
    /// The same from the sine, when that is small: half the angle less its sine, as a series.
    static double ShortBulge(double square, double sine) noexcept {
        const double sine2 = sine * sine;
        return square * (sine * sine2) *
               (1.0 / 12.0 + sine2 * (3.0 / 80.0 + sine2 * (5.0 / 224.0 + sine2 * (35.0 / 2304.0))));
    }
    /// Whether that of all arcs within two pixels side by side is.
    bool IsShort() const noexcept { return 2.0 * std::abs(inverse.x) + std::abs(inverse.y) < kShort; }

  private:
    // In place of the infinite rise of an upright line, so that no width of it still makes no height.
    static constexpr double kSteepest = 1e300;
    static constexpr double kShort = 0.1;  // What the series leaves out then is 2e-9 of a bulge.
};

/// An edge between two places, with its x at them.
struct Strand {
    const Curve* curve;
    double above;
    double below;

    double Left() const noexcept { return std::min(above, below); }
    double Right() const noexcept { return std::max(above, below); }
};

/// Calls `add` for the columns of a strand between two places of a row from left to right, in a box of that width: the
/// height of its part in a column and what of the column lies to the left of that part. What lies to the left of the
/// box adds to its first column.
template <class Adding>
void ForEachColumn(const Strand& strand, double top, double bottom, int width, Adding add) {
    const Curve& curve = *strand.curve;
    const bool falls = strand.above <= strand.below;
    double x = strand.Left();
    double y = falls ? top : bottom;
    double endX = strand.Right();
    double endY = falls ? bottom : top;
    if (x < 0.0) {
        const double enters = endX > 0.0 ? curve.Y(0.0) : endY;
        add(0, std::abs(enters - y), 0.0);
        x = 0.0;
        y = enters;
    }
    if (endX > width && x < width) {
        endX = width;
        endY = curve.Y(endX);
    }
    if (y == endY || x >= width) {
        return;
    }
    const auto addPiece = [&](int column, double toX, double toY) {
        const double height = std::abs(toY - y);
        double left = 0.5 * height * ((x - column) + (toX - column));
        if (curve.isArc) {
            left += curve.Bulge(x, y, toX - x, height);
        }
        add(column, height, left);
        x = toX;
        y = toY;
    };
    int column = static_cast<int>(x);
    for (; column + 1 < endX; ++column) {
        addPiece(column, column + 1.0, curve.Y(column + 1.0));
    }
    addPiece(column, endX, endY);
}

}  // namespace host

// An outline as edges: lines and quarters of ellipses that all run downward or upward, for scanning by rows.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/figures/Outline.h"

namespace host {

/// A line, or an arc of an upright ellipse within one of its quarters: its x as a function of y.
struct Edge {
    double top = 0.0;  ///< it crosses the rows top <= y < bottom
    double bottom = 0.0;
    double xTop = 0.0;
    double xBottom = 0.0;
    /// What crossing it from left to right adds to how often the outline runs around: 1 or -1.
    int winding = 0;
    /// The place in the list of the edge that the outline goes on with.
    int next = 0;
    // Of an arc alone; `radiusX` is 0 for a line. Negative radii are those of the left and of the upper half.
    double centerX = 0.0;
    double centerY = 0.0;
    double radiusX = 0.0;
    double radiusY = 0.0;

    bool IsLevel() const noexcept { return top == bottom; }
    bool IsArc() const noexcept { return radiusX != 0.0; }
    /// For y from top to bottom. Two edges with the same ends give the same numbers, whichever way they run.
    double X(double y) const noexcept { return BetweenEnds(IsArc() ? ArcX(y) : LineX(y)); }
    // The same of what is known to be one, but for rounding beyond the ends.
    double LineX(double y) const noexcept {
        // Multiplied first: where the quotient is a whole number, it is found exactly.
        return xTop + (y - top) * (xBottom - xTop) / (bottom - top);
    }
    double ArcX(double y) const noexcept {
        // In this order a circle meets the middles of pixels exactly where it does.
        const double height = y - centerY;
        const double chord = std::sqrt(std::max((radiusY - height) * (radiusY + height), 0.0));
        return centerX + radiusX * chord / std::abs(radiusY);
    }
    // The lower one for what is not a number.
    double BetweenEnds(double x) const noexcept {
        return std::min(std::max(std::min(xTop, xBottom), x), std::max(xTop, xBottom));
    }
};

/// The smallest box around edges, borders included; left above right when there are none.
struct EdgeExtent {
    double left;
    double top;
    double right;
    double bottom;
};

/// The edges of all contours, level ones among them. None when all of them are level or a coordinate is not a finite
/// number, since then nothing lies inside.
std::vector<Edge> EdgesOf(const Outline& outline);

/// Where an outline that runs downward or upward through an edge comes from and goes on in the same direction.
struct Link {
    bool begins = true;  ///< whether no edge is above, as of level ones
    int below = -1;      ///< the place of the edge below; -1 where there is none
};
/// Of each of the edges of an outline.
std::vector<Link> LinksOf(const std::vector<Edge>& edges);

/// The rows at which edges begin or end and at which arcs meet other edges, ascending: between two of them only lines
/// cross. All arcs must have one centre, as those of a figure do.
std::vector<double> MeetingRows(const std::vector<Edge>& edges);

EdgeExtent ExtentOf(const std::vector<Edge>& edges) noexcept;

/// Whether a point lies inside by the nonzero rule; on an edge the left and the top side count.
bool Encloses(const std::vector<Edge>& edges, ImagePoint point) noexcept;

}  // namespace host

#include "host/measure/Edges.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "contract/Numbers.h"

namespace host {

namespace {

constexpr double kTurn = 2.0 * kPi;

// Between two ends in any order; the lower one for what is not a number.
double Between(double value, double a, double b) noexcept {
    return std::min(std::max(std::min(a, b), value), std::max(a, b));
}

bool IsFinite(const Arc& arc) noexcept {
    return std::isfinite(arc.center.x) && std::isfinite(arc.center.y) && std::isfinite(arc.radiusX) &&
           std::isfinite(arc.radiusY) && std::isfinite(arc.start) && std::isfinite(arc.delta);
}
bool IsFinite(ImagePoint point) noexcept { return std::isfinite(point.x) && std::isfinite(point.y); }

bool IsFinite(const Outline& outline) noexcept {
    return std::all_of(outline.contours.begin(), outline.contours.end(), [](const Contour& contour) {
        return std::all_of(contour.begin(), contour.end(), [](const auto& piece) {
            return std::visit([](const auto& p) { return IsFinite(p); }, piece);
        });
    });
}

ImagePoint At(const Arc& arc, double angle) noexcept {
    return {arc.center.x + arc.radiusX * std::cos(angle), arc.center.y + arc.radiusY * std::sin(angle)};
}

// Follows the contours and keeps what rows cross.
class Tracer {
  public:
    explicit Tracer(LevelEdges level) : m_level(level) {}

    void Trace(const Contour& contour) {
        m_begun = false;
        for (const auto& piece : contour) {
            std::visit([this](const auto& p) { Append(p); }, piece);
        }
        if (m_begun) {
            LineTo(m_begin);
        }
    }

    std::vector<Edge> Take() { return std::move(m_edges); }

  private:
    void Append(ImagePoint point) {
        if (m_begun) {
            LineTo(point);
        } else {
            m_begun = true;
            m_begin = m_at = point;
        }
    }

    // Quarter by quarter: in each both x and y run one way.
    void Append(const Arc& arc) {
        Append(At(arc, arc.start));
        const bool round = std::abs(arc.delta) >= kTurn;
        const ImagePoint end = round ? m_at : At(arc, arc.start + arc.delta);
        const double start = std::remainder(arc.start, kTurn) / (0.5 * kPi);
        const double step = arc.delta < 0.0 ? -1.0 : 1.0;
        const double length = round ? 4.0 : std::abs(arc.delta) / (0.5 * kPi);
        double quarter = step > 0.0 ? std::floor(start) : std::ceil(start);
        for (; std::abs(quarter + step - start) < length; quarter += step) {
            QuarterTo(arc, quarter + 0.5 * step, Corner(arc, quarter + step));
        }
        QuarterTo(arc, quarter + 0.5 * step, end);
    }

    // Where an arc is at a whole number of quarter turns, to the last bit.
    static ImagePoint Corner(const Arc& arc, double quarters) noexcept {
        switch (static_cast<int>(quarters) & 3) {
            case 0:
                return {arc.center.x + arc.radiusX, arc.center.y};
            case 1:
                return {arc.center.x, arc.center.y + arc.radiusY};
            case 2:
                return {arc.center.x - arc.radiusX, arc.center.y};
            default:
                return {arc.center.x, arc.center.y - arc.radiusY};
        }
    }

    void QuarterTo(const Arc& arc, double middle, ImagePoint to) {
        Edge edge = EdgeTo(to);
        edge.centerX = arc.center.x;
        edge.centerY = arc.center.y;
        edge.radiusX = std::copysign(arc.radiusX, arc.radiusX * std::cos(middle * 0.5 * kPi));
        edge.radiusY = std::copysign(arc.radiusY, arc.radiusY * std::sin(middle * 0.5 * kPi));
        Keep(edge);
    }
    void LineTo(ImagePoint to) { Keep(EdgeTo(to)); }

    Edge EdgeTo(ImagePoint to) noexcept {
        const ImagePoint from = std::exchange(m_at, to);
        return from.y <= to.y ? Edge{from.y, to.y, from.x, to.x, 1} : Edge{to.y, from.y, to.x, from.x, -1};
    }
    void Keep(const Edge& edge) {
        if (edge.top < edge.bottom || m_level == LevelEdges::kept) {
            m_edges.push_back(edge);
        }
    }

    LevelEdges m_level;
    std::vector<Edge> m_edges;
    bool m_begun = false;
    ImagePoint m_begin;
    ImagePoint m_at;
};

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

}  // namespace

double Edge::X(double y) const noexcept {
    if (IsArc()) {
        // In this order a circle meets the middles of pixels exactly where it does.
        const double height = y - centerY;
        const double chord = std::sqrt(std::max((radiusY - height) * (radiusY + height), 0.0));
        return Between(centerX + radiusX * chord / std::abs(radiusY), xTop, xBottom);
    }
    // Multiplied first: where the quotient is a whole number, it is found exactly.
    return Between(xTop + (y - top) * (xBottom - xTop) / (bottom - top), xTop, xBottom);
}

double Edge::Y(double x) const noexcept {
    if (IsArc()) {
        const double u = (x - centerX) / radiusX;
        return Between(centerY + radiusY * std::sqrt(std::max((1.0 - u) * (1.0 + u), 0.0)), top, bottom);
    }
    return Between(top + (x - xTop) * (bottom - top) / (xBottom - xTop), top, bottom);
}

std::vector<Edge> EdgesOf(const Outline& outline, LevelEdges level) {
    if (!IsFinite(outline)) {
        return {};
    }
    Tracer tracer(level);
    for (const Contour& contour : outline.contours) {
        tracer.Trace(contour);
    }
    return tracer.Take();
}

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

EdgeExtent ExtentOf(const std::vector<Edge>& edges) noexcept {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EdgeExtent extent{kInfinity, kInfinity, -kInfinity, -kInfinity};
    for (const Edge& edge : edges) {
        extent.left = std::min({extent.left, edge.xTop, edge.xBottom});
        extent.right = std::max({extent.right, edge.xTop, edge.xBottom});
        extent.top = std::min(extent.top, edge.top);
        extent.bottom = std::max(extent.bottom, edge.bottom);
    }
    return extent;
}

bool Encloses(const std::vector<Edge>& edges, ImagePoint point) noexcept {
    int winding = 0;
    for (const Edge& edge : edges) {
        if (edge.top <= point.y && point.y < edge.bottom && edge.X(point.y) <= point.x) {
            winding += edge.winding;
        }
    }
    return winding != 0;
}

}  // namespace host

#include "host/measure/Edges.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "contract/Numbers.h"

namespace host {

namespace {

constexpr double kTurn = 2.0 * kPi;

bool IsFinite(const Arc& arc) noexcept {
    return std::isfinite(arc.center.x) && std::isfinite(arc.center.y) && std::isfinite(arc.radiusX) &&
           std::isfinite(arc.radiusY) && std::isfinite(arc.start) && std::isfinite(arc.delta);
}
bool IsFinite(ImagePoint point) noexcept { return std::isfinite(point.x) && std::isfinite(point.y); }

ImagePoint At(const Arc& arc, double angle) noexcept {
    return {arc.center.x + arc.radiusX * std::cos(angle), arc.center.y + arc.radiusY * std::sin(angle)};
}

// Follows the contours and keeps what rows cross.
class Tracer {
  public:
    explicit Tracer(const Outline& outline) {
        std::size_t edges = 0;
        for (const Contour& contour : outline.contours) {
            edges += contour.size();
        }
        m_edges.reserve(edges);
    }

    // False for one with a coordinate that is not a finite number.
    bool Trace(const Contour& contour) {
        m_before = std::exchange(m_first, std::ssize(m_edges));
        m_begun = false;
        for (const auto& piece : contour) {
            if (!std::visit([this](const auto& p) { return IsFinite(p) && Append(p); }, piece)) {
                return false;
            }
        }
        if (m_begun && !LeavesOutJoint()) {
            LineTo(m_begin);
            Close();
        }
        return true;
    }

    std::vector<Edge> Take() { return std::move(m_edges); }

  private:
    bool Append(const ImagePoint& point) {
        if (m_begun) {
            LineTo(point);
        } else {
            m_begun = true;
            m_begin = m_at = point;
        }
        return true;
    }

    // Quarter by quarter: in each both x and y run one way.
    bool Append(const Arc& arc) {
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
        return true;
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

    void QuarterTo(const Arc& arc, double middle, const ImagePoint& to) {
        if (Edge* const edge = LineTo(to)) {
            edge->centerX = arc.center.x;
            edge->centerY = arc.center.y;
            edge->radiusX = std::copysign(arc.radiusX, arc.radiusX * std::cos(middle * 0.5 * kPi));
            edge->radiusY = std::copysign(arc.radiusY, arc.radiusY * std::sin(middle * 0.5 * kPi));
        }
    }

    // The new edge; null when it would go nowhere. A call would take as long as the edge.
    [[gnu::always_inline]] Edge* LineTo(const ImagePoint& to) {
        const ImagePoint from = std::exchange(m_at, to);
        if (from.x == to.x && from.y == to.y) {
            return nullptr;
        }
        const bool falls = from.y < to.y || (from.y == to.y && from.x < to.x);
        const ImagePoint& above = falls ? from : to;
        const ImagePoint& below = falls ? to : from;
        // Written where it stays: a copy would wait for what is just written.
        Edge& edge = m_edges.emplace_back();
        edge.top = above.y;
        edge.bottom = below.y;
        edge.xTop = above.x;
        edge.xBottom = below.x;
        edge.winding = falls ? 1 : -1;
        edge.next = static_cast<int>(m_edges.size());
        return &edge;
    }

    void Close() {
        if (m_first < std::ssize(m_edges)) {
            m_edges.back().next = static_cast<int>(m_first);
        }
    }

    // Two contours side by side, as the stretches of a band are, run along the line between them to and fro: what lies
    // inside is the same without it. The one before then goes on with this one, whose last edge takes the line's place.
    bool LeavesOutJoint() {
        constexpr std::ptrdiff_t kFew = 4;
        const auto before = m_edges.begin() + m_before;
        const auto first = m_edges.begin() + m_first;
        const std::ptrdiff_t count = m_edges.end() - first;
        if (first - before > kFew || count >= kFew || count < 2 || m_edges.back().IsArc()) {
            return false;
        }
        const auto joint =
            std::find_if(before, first, [this](const Edge& edge) { return IsLine(edge, m_begin, m_at); });
        const auto place = static_cast<int>(joint - m_edges.begin());
        const auto to = std::find_if(before, first, [place](const Edge& edge) { return edge.next == place; });
        if (joint == first || to == first) {
            return false;
        }
        to->next = static_cast<int>(m_first);
        // One by one: taken together they would wait for what is just written.
        const Edge& last = m_edges.back();
        joint->top = last.top;
        joint->bottom = last.bottom;
        joint->xTop = last.xTop;
        joint->xBottom = last.xBottom;
        joint->winding = last.winding;
        m_edges.pop_back();
        m_edges.back().next = place;
        return true;
    }

    // Whether an edge is the line from one point to another.
    static bool IsLine(const Edge& edge, const ImagePoint& from, const ImagePoint& to) noexcept {
        const ImagePoint& above = edge.winding > 0 ? from : to;
        const ImagePoint& below = edge.winding > 0 ? to : from;
        return edge.top == above.y && edge.bottom == below.y && edge.xTop == above.x && edge.xBottom == below.x &&
               !edge.IsArc();
    }

    std::vector<Edge> m_edges;
    std::ptrdiff_t m_before = 0;  // where the edges of the contour before begin
    std::ptrdiff_t m_first = 0;   // and those of this one
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

std::vector<Edge> EdgesOf(const Outline& outline) {
    Tracer tracer(outline);
    const bool isFinite = std::all_of(outline.contours.begin(), outline.contours.end(),
                                      [&tracer](const Contour& contour) { return tracer.Trace(contour); });
    std::vector<Edge> edges = tracer.Take();
    const bool isFlat = std::all_of(edges.begin(), edges.end(), [](const Edge& edge) { return edge.IsLevel(); });
    if (!isFinite || isFlat) {
        edges.clear();
    }
    return edges;
}

std::vector<Link> LinksOf(const std::vector<Edge>& edges) {
    std::vector<Link> links(edges.size());
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const auto next = static_cast<std::size_t>(edges[i].next);
        if (edges[i].winding == edges[next].winding && !edges[i].IsLevel() && !edges[next].IsLevel()) {
            const bool falls = edges[i].winding > 0;
            const std::size_t below = falls ? next : i;
            links[falls ? i : next].below = static_cast<int>(below);
            links[below].begins = false;
        }
    }
    return links;
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

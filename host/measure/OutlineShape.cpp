#include "host/measure/OutlineShape.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "contract/Numbers.h"
#include "host/measure/Border.h"
#include "host/measure/Edges.h"

namespace host {

namespace {

Outline Scaled(Outline outline, double x, double y) {
    const auto scale = [x, y](ImagePoint point) { return ImagePoint(x * point.x, y * point.y); };
    for (Contour& contour : outline.contours) {
        for (auto& piece : contour) {
            if (auto* const point = std::get_if<ImagePoint>(&piece)) {
                *point = scale(*point);
            } else {
                Arc& arc = std::get<Arc>(piece);
                arc.center = scale(arc.center);
                arc.radiusX *= x;
                arc.radiusY *= y;
            }
        }
    }
    return outline;
}

// ---------------------------------------------------------------------------------------------------
// Lengths and areas

// The length of an ellipse from where it is widest across its shorter axis to a point of it, given from the centre.
double LengthTo(const Edge& arc, double x, double y) noexcept {
    const double radiusX = std::abs(arc.radiusX);
    const double radiusY = std::abs(arc.radiusY);
    const bool isWide = radiusX >= radiusY;
    const double longer = isWide ? radiusX : radiusY;
    const double ratio = (isWide ? radiusY : radiusX) / longer;
    const double along = std::abs(x) / radiusX;
    const double across = std::abs(y) / radiusY;
    const double angle = isWide ? std::atan2(along, across) : std::atan2(across, along);
    return longer * std::ellint_2(std::sqrt((1.0 - ratio) * (1.0 + ratio)), angle);
}

// An edge between two rows.
struct Side {
    const Edge* edge;
    double above;
    double below;
    double bottom;

    double Length(double height) const noexcept {
        if (!edge->IsArc()) {
            return std::hypot(below - above, height);
        }
        return std::abs(LengthTo(*edge, below - edge->centerX, bottom - edge->centerY) -
                        LengthTo(*edge, above - edge->centerX, bottom - height - edge->centerY));
    }
    // Whether both have the same course, but for a gap.
    bool LiesOn(const Side& other, double height, double gap) const noexcept {
        const double between = 0.5 * height * (std::abs(above - other.above) + std::abs(below - other.below));
        return edge->IsArc() == other.edge->IsArc() && between <= gap * std::hypot(below - above, height);
    }
    // Between an arc and its chord; above 0 where the arc lies to the right of it.
    double SegmentArea(double height) const noexcept {
        if (!edge->IsArc()) {
            return 0.0;
        }
        const double x = (below - above) / edge->radiusX;
        const double y = height / edge->radiusY;
        const double half = std::asin(std::min(0.5 * std::hypot(x, y), 1.0));
        return 0.5 * edge->radiusX * std::abs(edge->radiusY) * (2.0 * half - std::sin(2.0 * half));
    }
};

// Follows the border of what lies inside from the top down.
class Walk {
  public:
    explicit Walk(const std::vector<Edge>& edges) : m_rounding(RoundingOf(ExtentOf(edges))) {
        std::vector<const Edge*> waiting;
        for (const Edge& edge : edges) {
            if (!edge.IsLevel()) {
                waiting.push_back(&edge);
            }
        }
        std::sort(waiting.begin(), waiting.end(), [](const Edge* a, const Edge* b) { return a->top > b->top; });
        const std::vector<double> rows = MeetingRows(edges);
        std::vector<const Edge*> active;
        for (std::size_t i = 0; i + 1 < rows.size(); ++i) {
            std::erase_if(active, [&](const Edge* edge) { return edge->bottom <= rows[i]; });
            for (; !waiting.empty() && waiting.back()->top <= rows[i]; waiting.pop_back()) {
                active.push_back(waiting.back());
            }
            AddBand(active, rows[i], rows[i + 1]);
        }
        AddLevel({});
    }

    double Length() const noexcept { return m_length; }
    double Area() const noexcept { return m_area; }

  private:
    // Farther apart than by rounding lie only lines that differ.
    static double RoundingOf(const EdgeExtent& extent) noexcept {
        constexpr double kRounding = 1e-13;
        return kRounding *
               std::max({std::abs(extent.left), std::abs(extent.top), std::abs(extent.right), std::abs(extent.bottom)});
    }

    // Between two rows; there lines may cross.
    void AddBand(const std::vector<const Edge*>& edges, double top, double bottom) {
        std::vector<Side> sides = Sorted(edges, top, bottom);
        std::vector<double> ends = Crossings(sides, top, bottom);
        ends.push_back(bottom);
        for (const double end : ends) {
            if (top < end) {
                AddPlain(Sorted(edges, top, end), end - top);
                top = end;
            }
        }
    }

    static std::vector<double> Crossings(std::vector<Side>& sides, double top, double bottom) {
        std::sort(sides.begin(), sides.end(), [](const Side& a, const Side& b) {
            return std::pair(a.above, a.below) < std::pair(b.above, b.below);
        });
        const auto isBefore = [](const Side& a, const Side& b) { return a.below < b.below; };
        std::vector<double> ys;
        if (std::is_sorted(sides.begin(), sides.end(), isBefore)) {
            return ys;
        }
        for (auto a = sides.begin(); a != sides.end(); ++a) {
            for (auto b = a + 1; b != sides.end(); ++b) {
                if (isBefore(*b, *a) && !a->edge->IsArc() && !b->edge->IsArc()) {
                    const double above = b->above - a->above;
                    ys.push_back(top + (bottom - top) * above / (above + a->below - b->below));
                }
            }
        }
        std::sort(ys.begin(), ys.end());
        return ys;
    }

    static std::vector<Side> Sorted(const std::vector<const Edge*>& edges, double top, double bottom) {
        const double middle = 0.5 * (top + bottom);
        std::vector<Side> sides;
        std::transform(edges.begin(), edges.end(), std::back_inserter(sides), [&](const Edge* edge) {
            return Side{edge, edge->X(top), edge->X(bottom), bottom};
        });
        std::sort(sides.begin(), sides.end(),
                  [middle](const Side& a, const Side& b) { return a.edge->X(middle) < b.edge->X(middle); });
        return sides;
    }

    // Between two rows where nothing crosses.
    void AddPlain(const std::vector<Side>& sides, double height) {
        std::vector<double> above;
        std::vector<double> below;
        int winding = 0;
        for (auto next = sides.begin(); next != sides.end();) {
            const Side& side = *next;
            const int before = winding;
            // Sides that lie on one another are crossed together.
            for (; next != sides.end() && next->LiesOn(side, height, m_rounding); ++next) {
                winding += next->edge->winding;
            }
            if ((before == 0) == (winding == 0)) {
                continue;
            }
            m_length += side.Length(height);
            const double area = 0.5 * height * (side.above + side.below) + side.SegmentArea(height);
            m_area += before == 0 ? -area : area;
            above.push_back(side.above);
            below.push_back(side.below);
        }
        AddLevel(above);
        m_below = std::move(below);
    }

    // Level parts of the border: what lies inside either above a row or below it. `ends` are where that below begins
    // and ends.
    void AddLevel(std::vector<double> ends) {
        ends.insert(ends.end(), m_below.begin(), m_below.end());
        std::sort(ends.begin(), ends.end());
        for (std::size_t i = 0; i + 1 < ends.size(); i += 2) {
            m_length += ends[i + 1] - ends[i];
        }
        m_below.clear();
    }

    double m_rounding;
    double m_length = 0.0;
    double m_area = 0.0;
    std::vector<double> m_below;
};

// ---------------------------------------------------------------------------------------------------
// The largest distance

double Cross(ImagePoint origin, ImagePoint a, ImagePoint b) noexcept {
    return (a.x - origin.x) * (b.y - origin.y) - (a.y - origin.y) * (b.x - origin.x);
}

std::vector<ImagePoint> HullOf(std::vector<ImagePoint> points) {
    std::sort(points.begin(), points.end(),
              [](ImagePoint a, ImagePoint b) { return std::pair(a.x, a.y) < std::pair(b.x, b.y); });
    std::vector<ImagePoint> hull;
    const auto wrap = [&hull](auto begin, auto end) {
        const std::size_t start = hull.size();
        for (auto point = begin; point != end; ++point) {
            while (hull.size() >= start + 2 && Cross(hull[hull.size() - 2], hull.back(), *point) <= 0.0) {
                hull.pop_back();
            }
            hull.push_back(*point);
        }
        hull.pop_back();
    };
    if (points.size() > 1) {
        wrap(points.begin(), points.end());
        wrap(points.rbegin(), points.rend());
    }
    return hull;
}

// Between corners of the hull that face each other.
double LargestDistance(std::vector<ImagePoint> points) {
    const std::vector<ImagePoint> hull = HullOf(std::move(points));
    const std::size_t count = hull.size();
    double largest = 0.0;
    std::size_t facing = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const ImagePoint from = hull[i];
        const ImagePoint to = hull[(i + 1) % count];
        const auto distance = [&](std::size_t at) { return Cross(from, to, hull[at % count]); };
        facing = std::max(facing, i + 1);
        while (facing < i + count && distance(facing + 1) > distance(facing)) {
            ++facing;
        }
        const ImagePoint opposite = hull[facing % count];
        largest = std::max({largest, std::hypot(opposite.x - from.x, opposite.y - from.y),
                            std::hypot(opposite.x - to.x, opposite.y - to.y)});
    }
    return largest;
}

// Points of an outline among which those that are farthest apart are, to less than a millionth.
std::vector<ImagePoint> PointsOf(const Outline& outline) {
    std::vector<ImagePoint> points;
    for (const Contour& contour : outline.contours) {
        for (const auto& piece : contour) {
            if (const auto* const point = std::get_if<ImagePoint>(&piece)) {
                points.push_back(*point);
                continue;
            }
            const Arc& arc = std::get<Arc>(piece);
            const auto add = [&](double angle) {
                points.emplace_back(arc.center.x + arc.radiusX * std::cos(angle),
                                    arc.center.y + arc.radiusY * std::sin(angle));
            };
            // Whole quarters are among them, where an ellipse is longest.
            constexpr double kStep = kPi / 2048.0;
            const double first = std::min(arc.start, arc.start + arc.delta);
            const double last = std::min(std::max(arc.start, arc.start + arc.delta), first + 2.0 * kPi);
            add(first);
            for (double step = std::ceil(first / kStep); step * kStep < last; step += 1.0) {
                add(step * kStep);
            }
            add(last);
        }
    }
    return points;
}

}  // namespace

OutlineShape ShapeOf(const Outline& outline, double scaleX, double scaleY) {
    const Outline scaled = Scaled(outline, scaleX, scaleY);
    const std::vector<Edge> edges = EdgesOf(scaled);
    if (edges.empty()) {
        return {};
    }
    const Walk walk(edges);
    return {walk.Area(), walk.Length(), LargestDistance(PointsOf(scaled))};
}

OutlineShape ShapeOf(const PixelSet& pixels, double scaleX, double scaleY) {
    OutlineShape shape{};
    std::vector<ImagePoint> corners;
    for (const BorderLine& line : BorderOf(pixels)) {
        const ImagePoint from(scaleX * line.x0, scaleY * line.y0);
        const ImagePoint to(scaleX * line.x1, scaleY * line.y1);
        shape.perimeter += (to.x - from.x) + (to.y - from.y);
        corners.insert(corners.end(), {from, to});
    }
    double area = 0.0;
    for (const Span& span : pixels.spans) {
        area += span.Length();
    }
    shape.area = scaleX * scaleY * (area + static_cast<double>(pixels.parts.size()));
    shape.feret = LargestDistance(std::move(corners));
    return shape;
}

}  // namespace host

// What the host knows of the profile.
#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <optional>

#include "host/figures/classes/Rows.h"

namespace host {

namespace {

constexpr std::array kKinds = {
    "point", "outline corner 1", "outline corner 2", "outline middle 1", "outline middle 2", "segment middle"};

int CountOf(IROI& roi) {
    int count = 0;
    Its<IROIProfile>(roi)->GetNumberPoints(&count);
    return count;
}

Result GetNode(IROI& roi, NodeId node, double* x, double* y) {
    return Its<IROIProfile>(roi)->GetNodePoint(static_cast<ROIPROFILENode>(node.number), node.point, x, y);
}

Result DragNode(IROI& roi, NodeId node, int /*flags*/, double x, double y) {
    return Its<IROIProfile>(roi)->SetNodePoint(static_cast<ROIPROFILENode>(node.number), node.point, x, y);
}

// Twice the area of a polygon, above 0 when it runs the positive way round.
double Area2(std::span<const ImagePoint> corners) noexcept {
    double area = 0.0;
    for (std::size_t i = 2; i < corners.size(); ++i) {
        const ImagePoint a(corners[i - 1].x - corners[0].x, corners[i - 1].y - corners[0].y);
        const ImagePoint b(corners[i].x - corners[0].x, corners[i].y - corners[0].y);
        area += a.x * b.y - a.y * b.x;
    }
    return area;
}

// Where two lines between their ends cross; nothing when they do not, or run alongside.
std::optional<ImagePoint> Crossing(ImagePoint a, ImagePoint b, ImagePoint c, ImagePoint d) noexcept {
    const ImagePoint ab(b.x - a.x, b.y - a.y);
    const ImagePoint cd(d.x - c.x, d.y - c.y);
    const ImagePoint ac(c.x - a.x, c.y - a.y);
    const double determinant = ab.x * cd.y - ab.y * cd.x;
    const double alongAb = (ac.x * cd.y - ac.y * cd.x) / determinant;
    const double alongCd = (ac.x * ab.y - ac.y * ab.x) / determinant;
    if (!(alongAb > 0.0 && alongAb < 1.0 && alongCd > 0.0 && alongCd < 1.0)) {
        return std::nullopt;
    }
    return ImagePoint(a.x + alongAb * ab.x, a.y + alongAb * ab.y);
}

// A polygon that does not cross itself, run the positive way round: then those that overlap add up and count once.
void AddPolygon(std::initializer_list<ImagePoint> corners, Outline& outline) {
    const bool positive = Area2(corners) >= 0.0;
    outline.contours.push_back(positive ? Contour(corners.begin(), corners.end())
                                        : Contour(std::rbegin(corners), std::rend(corners)));
}

// A stretch of the band, from its outline corners at one point to those at the next. One that crosses itself is two
// triangles.
void AddStretch(ImagePoint a1, ImagePoint b1, ImagePoint b2, ImagePoint a2, Outline& outline) {
    if (const auto sides = Crossing(a1, b1, b2, a2)) {
        AddPolygon({a1, *sides, a2}, outline);
        AddPolygon({b1, b2, *sides}, outline);
    } else if (const auto ends = Crossing(b1, b2, a2, a1)) {
        AddPolygon({a1, b1, *ends}, outline);
        AddPolygon({a2, *ends, b2}, outline);
    } else {
        AddPolygon({a1, b1, b2, a2}, outline);
    }
}

Outline OutlineOf(const Figure& figure) {
    Outline outline;
    const auto profile = figure.As<IROIProfile>();
    const int count = CountOf(*figure.roi);
    const auto at = [&](ROIPROFILENode kind, int point) {
        ImagePoint position;
        profile->GetNodePoint(kind, point, &position.x, &position.y);
        return position;
    };
    outline.contours.reserve(static_cast<std::size_t>(std::max(count, 0)));
    outline.axis.reserve(outline.contours.capacity());
    ImagePoint corner1;
    ImagePoint corner2;
    for (int i = 0; i < count; ++i) {
        const ImagePoint next1 = at(kProfileCorner1, i);
        const ImagePoint next2 = at(kProfileCorner2, i);
        if (i > 0) {
            AddStretch(corner1, next1, next2, corner2, outline);
        }
        corner1 = next1;
        corner2 = next2;
        outline.axis.push_back(at(kProfilePoint, i));
    }
    return outline;
}

// One for each segment, as wide as the mean thickness at its start on every side.
std::vector<HitBox> HitBoxes(IROI& roi) {
    const auto profile = Its<IROIProfile>(roi);
    std::vector<HitBox> boxes;
    ImagePoint from;
    for (int i = 0, count = CountOf(roi); i < count; ++i) {
        ImagePoint to;
        profile->GetPoint(i, &to.x, &to.y, nullptr, nullptr, nullptr);
        if (i > 0) {
            double thickness1 = 0.0;
            double thickness2 = 0.0;
            profile->GetThickness(i - 1, &thickness1, &thickness2);
            const double margin = (thickness1 + thickness2) * 0.5;
            // fmin and fmax pass over a NaN at one end, as the profile's own comparisons may.
            boxes.push_back({std::fmin(from.x, to.x) - margin, std::fmin(from.y, to.y) - margin,
                             std::fmax(from.x, to.x) + margin, std::fmax(from.y, to.y) + margin});
        }
        from = to;
    }
    return boxes;
}

std::string LeftOut(IROI& /*roi*/, const Matrix& matrix) {
    return matrix.KeepsCircles() && !matrix.Mirrors()
               ? ""
               : "a profile keeps its thicknesses on their sides and scales them segment by segment";
}

std::string LostInXML(const Figure& figure) {
    return CountOf(*figure.roi) > 0 ? "XML does not keep the points of a profile" : "";
}

}  // namespace

const FigureClass kProfile = {.name = "ROIProfile",
                              .what = "a polyline with a thickness to either side",
                              .nodes = kKinds,
                              .nodesAtPoints = true,
                              .modifiers = 0,
                              .getNode = GetNode,
                              .dragNode = DragNode,
                              .outline = OutlineOf,
                              .hitBoxes = HitBoxes,
                              .contents = Contents::points,
                              .leftOut = LeftOut,
                              .readsXML = false,
                              .lostInXML = LostInXML};

}  // namespace host

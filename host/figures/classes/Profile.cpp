// What the host knows of the profile.
#include <array>
#include <cmath>

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

// Twice the signed area of a polygon of three points.
double Area2(ImagePoint a, ImagePoint b, ImagePoint c) noexcept {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

void AddTriangle(ImagePoint a, ImagePoint b, ImagePoint c, Outline& outline) {
    if (Area2(a, b, c) < 0.0) {
        std::swap(b, c);
    }
    outline.contours.push_back({a, b, c});
}

// A stretch of the band, from its outline corners at one point to those at the next, running the positive way round:
// then stretches that overlap add up and count once. One that crosses itself is two triangles.
void AddStretch(ImagePoint a1, ImagePoint b1, ImagePoint b2, ImagePoint a2, Outline& outline) {
    const double first = Area2(a1, b1, b2);
    const double second = Area2(a1, b2, a2);
    if (first >= 0.0 && second >= 0.0) {
        outline.contours.push_back({a1, b1, b2, a2});
    } else if (first <= 0.0 && second <= 0.0) {
        outline.contours.push_back({a2, b2, b1, a1});
    } else {
        const double denominator = (b1.x - a1.x) * (a2.y - b2.y) - (b1.y - a1.y) * (a2.x - b2.x);
        const double t = ((b2.x - a1.x) * (a2.y - b2.y) - (b2.y - a1.y) * (a2.x - b2.x)) / denominator;
        if (t > 0.0 && t < 1.0) {
            // The long sides cross: the band changes sides.
            const ImagePoint crossing(a1.x + t * (b1.x - a1.x), a1.y + t * (b1.y - a1.y));
            AddTriangle(a1, crossing, a2, outline);
            AddTriangle(b1, b2, crossing, outline);
        } else {
            AddTriangle(a1, b1, b2, outline);
            AddTriangle(a1, b2, a2, outline);
        }
    }
}

Outline OutlineOf(const Figure& figure) {
    Outline outline;
    const int count = CountOf(*figure.roi);
    const auto at = [&](int kind, int point) {
        ImagePoint position;
        GetNode(*figure.roi, {kind, point}, &position.x, &position.y);
        return position;
    };
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

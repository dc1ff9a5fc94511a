// What the host knows of the shape.
#include "host/figures/classes/Rows.h"

namespace host {

namespace {

// The polygon of its points; two are opposite corners of a box.
Outline OutlineOf(const Figure& figure) {
    const std::vector<ImagePoint> points = PointsOf(figure);
    Contour contour(points.begin(), points.end());
    if (points.size() == 2) {
        contour = {points[0], ImagePoint(points[1].x, points[0].y), points[1], ImagePoint(points[0].x, points[1].y)};
    }
    Outline outline;
    outline.contours.push_back(std::move(contour));
    return outline;
}

std::string LostInXML(const Figure& figure) {
    return figure.geometry ? "XML does not keep the geometry of a shape" : "";
}

}  // namespace

const FigureClass kShape = {.name = "ROIShape",
                            .what = "a polygon or box taken from a geometry",
                            .outline = OutlineOf,
                            .modulePixels = ModulePixels::maskOrBox,
                            .hitBoxes = BoundingHitBox,
                            .contents = Contents::geometry,
                            .leftOut = [](IROI&, const Matrix&) { return std::string("a shape ignores transforms"); },
                            .lostInXML = LostInXML};

}  // namespace host

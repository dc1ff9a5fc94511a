// LabelMe: shapes with a label each, in coordinates whose whole numbers are corners of pixels.
#include <cmath>

#include "host/figures/FigureClass.h"
#include "host/sets/formats/Formats.h"
#include "host/sets/formats/JsonText.h"

namespace host {

namespace {

using json = nlohmann::ordered_json;

constexpr double kHalf = 0.5;

json ShapeOf(const std::string& name, const char* type, const std::vector<ImagePoint>& points) {
    json positions = json::array();
    for (const ImagePoint& at : points) {
        positions.push_back({at.x + kHalf, at.y + kHalf});
    }
    return {{"label", name},     {"points", positions}, {"group_id", nullptr},
            {"description", ""}, {"shape_type", type},  {"flags", json::object()}};
}

void AppendShapes(const Figure& figure, std::vector<Warning>& warnings, json& shapes) {
    if (figure.type->contents == Contents::points) {
        warnings.push_back({figure.name, "LabelMe does not show the thickness of a line"});
        shapes.push_back(ShapeOf(figure.name, "linestrip", PointsOf(figure)));
        shapes.back()[kCarried] = ValuesOf(Describe(figure));
        return;
    }
    const Loops loops = LoopsOf(figure);
    if (loops.outer.empty()) {
        warnings.push_back({figure.name, "it encloses nothing and is left out"});
    } else if (!loops.holes.empty()) {
        warnings.push_back({figure.name, "LabelMe shows the outer edge alone, and not the hole"});
    } else if (figure.type->contents != Contents::geometry) {
        warnings.push_back({figure.name, "LabelMe shows the outline and not the parameters"});
    }
    for (const Loop& loop : loops.outer) {
        shapes.push_back(ShapeOf(figure.name, "polygon", loop));
    }
    if (loops.outer.size() == 1) {
        shapes.back()[kCarried] = ValuesOf(Describe(figure));
    }
}

ForeignFigure FigureOf(const std::string& name, const std::string& type, const std::vector<ImagePoint>& points,
                       Reading& reading) {
    if (type == "line" || type == "linestrip") {
        return LineFigure(name, points, 1.0);
    }
    if (type == "point" && points.size() == 1) {
        return SpotFigure(name, points[0]);
    }
    if ((type == "rectangle" || type == "circle") && points.size() == 2) {
        const ImagePoint& a = points[0];
        const ImagePoint& b = points[1];
        const double radius = std::hypot(b.x - a.x, b.y - a.y);
        return type == "circle" ? EllipseFigure(name, a, radius, radius)
                                : BoxFigure(name, {0.5 * (a.x + b.x), 0.5 * (a.y + b.y)}, std::abs(b.x - a.x),
                                            std::abs(b.y - a.y), 0.0);
    }
    if (type != "polygon" && type != "rectangle") {
        throw std::runtime_error("an unknown shape: " + type);
    }
    return RegionFigure(name, {points}, reading);
}

ForeignFigure FigureIn(const json& shape, Reading& reading) {
    std::vector<ImagePoint> points;
    for (const json& position : shape.at("points")) {
        points.emplace_back(position.at(0).get<double>() - kHalf, position.at(1).get<double>() - kHalf);
    }
    ForeignFigure figure = FigureOf(shape.at("label"), shape.value("shape_type", "polygon"), points, reading);
    figure.drawn = {points};
    TakeCarried(shape, figure, reading);
    return figure;
}

}  // namespace

std::vector<ForeignFigure> ReadLabelMe(std::string_view bytes, Reading& reading) {
    const json whole = ParseJsonText(bytes);
    std::vector<ForeignFigure> figures;
    for (const json& shape : whole.at("shapes")) {
        figures.push_back(FigureIn(shape, reading));
    }
    return figures;
}

std::string WriteLabelMe(const std::vector<Figure>& figures, std::vector<Warning>& warnings) {
    json shapes = json::array();
    for (const Figure& figure : figures) {
        AppendShapes(figure, warnings, shapes);
    }
    return JsonText({{"version", "5.0.0"},
                     {"flags", json::object()},
                     {"shapes", shapes},
                     {"imagePath", ""},
                     {"imageData", nullptr},
                     {"imageHeight", nullptr},
                     {"imageWidth", nullptr}});
}

}  // namespace host

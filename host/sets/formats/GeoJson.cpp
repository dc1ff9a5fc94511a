// GeoJSON: polygons, lines and points, in the properties that QuPath and napari write.
#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "host/figures/FigureClass.h"
#include "host/sets/formats/Formats.h"
#include "host/sets/formats/JsonText.h"

namespace host {

namespace {

using json = nlohmann::ordered_json;

// What a coordinate in the file is more than in the set.
constexpr double kCorners = 0.5;
constexpr double kCenters = 0.0;

json PositionOf(ImagePoint at, double shift) { return {at.x + shift, at.y + shift}; }

json LinearRing(const Loop& loop, double shift) {
    json positions = json::array();
    for (const ImagePoint& at : loop) {
        positions.push_back(PositionOf(at, shift));
    }
    positions.push_back(positions.front());
    return positions;
}

// The holes are those of the one polygon; several polygons have none.
json AreaOf(const Loops& loops, double shift) {
    json polygons = json::array();
    for (const Loop& loop : loops.outer) {
        polygons.push_back({LinearRing(loop, shift)});
    }
    for (const Loop& hole : loops.holes) {
        polygons.back().push_back(LinearRing(hole, shift));
    }
    if (polygons.size() == 1) {
        return {{"type", "Polygon"}, {"coordinates", polygons[0]}};
    }
    return {{"type", "MultiPolygon"}, {"coordinates", polygons}};
}

json GeometryOf(const Figure& figure, double shift, std::vector<Warning>& warnings) {
    if (figure.type->contents == Contents::points) {
        json line = json::array();
        for (const ImagePoint& at : PointsOf(figure)) {
            line.push_back(PositionOf(at, shift));
        }
        warnings.push_back({figure.name, "GeoJSON does not keep the thickness of a line"});
        return {{"type", "LineString"}, {"coordinates", line}};
    }
    const Loops loops = LoopsOf(figure);
    if (loops.outer.empty()) {
        warnings.push_back({figure.name, "it encloses nothing and becomes no geometry"});
        return nullptr;
    }
    json geometry = AreaOf(loops, shift);
    if (std::string_view(figure.type->name) == "ROIEllipse") {
        geometry["isEllipse"] = true;
    } else if (std::string_view(figure.type->name) != "ROIRectangle" && figure.type->contents != Contents::geometry) {
        warnings.push_back({figure.name, std::string("GeoJSON keeps the outline of a ") + figure.type->name +
                                             " and not its parameters"});
    }
    return geometry;
}

std::string Write(const std::vector<Figure>& figures, double shift, std::vector<Warning>& warnings) {
    json features = json::array();
    for (const Figure& figure : figures) {
        features.push_back({{"type", "Feature"},
                            {"geometry", GeometryOf(figure, shift, warnings)},
                            {"properties", {{"objectType", "annotation"}, {"name", figure.name}}}});
    }
    return JsonText({{"type", "FeatureCollection"}, {"features", features}});
}

ImagePoint PointAt(const json& position, double shift) {
    return {position.at(0).get<double>() - shift, position.at(1).get<double>() - shift};
}

std::vector<ImagePoint> PointsIn(const json& positions, double shift) {
    std::vector<ImagePoint> points;
    for (const json& position : positions) {
        points.push_back(PointAt(position, shift));
    }
    return points;
}

// Without the point that closes it.
Loop LoopIn(const json& positions, double shift) {
    Loop loop = PointsIn(positions, shift);
    if (loop.size() > 1 && loop.front().x == loop.back().x && loop.front().y == loop.back().y) {
        loop.pop_back();
    }
    return loop;
}

// An upright rectangle of four corners, whichever comes first.
bool IsBox(const Loop& loop) {
    if (loop.size() != 4) {
        return false;
    }
    const bool widthFirst = loop[0].y == loop[1].y;
    for (std::size_t i = 0; i < 4; ++i) {
        const ImagePoint& a = loop[i];
        const ImagePoint& b = loop[(i + 1) % 4];
        const bool along = (i % 2 == 0) == widthFirst;
        if (along ? a.y != b.y || a.x == b.x : a.x != b.x || a.y == b.y) {
            return false;
        }
    }
    return true;
}

ForeignFigure AreaFigure(const std::string& name, const std::vector<Loop>& loops, bool isEllipse, Reading& reading) {
    if (loops.size() == 1 && !loops.front().empty() && (isEllipse || IsBox(loops.front()))) {
        const auto [left, right] = std::minmax_element(loops[0].begin(), loops[0].end(),
                                                       [](const auto& a, const auto& b) { return a.x < b.x; });
        const auto [top, bottom] = std::minmax_element(loops[0].begin(), loops[0].end(),
                                                       [](const auto& a, const auto& b) { return a.y < b.y; });
        const ImagePoint center(0.5 * (left->x + right->x), 0.5 * (top->y + bottom->y));
        const double width = right->x - left->x;
        const double height = bottom->y - top->y;
        return isEllipse ? EllipseFigure(name, center, 0.5 * width, 0.5 * height)
                         : BoxFigure(name, center, width, height, 0.0);
    }
    return RegionFigure(name, loops, reading);
}

void AppendGeometry(const std::string& name, const json& geometry, double shift, Reading& reading,
                    std::vector<ForeignFigure>& figures) {
    const std::string type = geometry.at("type");
    if (type == "GeometryCollection") {
        for (const json& part : geometry.at("geometries")) {
            AppendGeometry(name, part, shift, reading, figures);
        }
        return;
    }
    const json& coordinates = geometry.at("coordinates");
    if (type == "Point") {
        figures.push_back(SpotFigure(name, PointAt(coordinates, shift)));
    } else if (type == "MultiPoint") {
        for (const ImagePoint& at : PointsIn(coordinates, shift)) {
            figures.push_back(SpotFigure(name, at));
        }
    } else if (type == "LineString") {
        figures.push_back(LineFigure(name, PointsIn(coordinates, shift), 1.0));
    } else if (type == "MultiLineString") {
        for (const json& line : coordinates) {
            figures.push_back(LineFigure(name, PointsIn(line, shift), 1.0));
        }
    } else if (type == "Polygon" || type == "MultiPolygon") {
        std::vector<Loop> loops;
        for (const json& polygon : type == "Polygon" ? json::array({coordinates}) : coordinates) {
            for (const json& loop : polygon) {
                loops.push_back(LoopIn(loop, shift));
            }
        }
        figures.push_back(AreaFigure(name, loops, geometry.value("isEllipse", false), reading));
    } else {
        throw std::runtime_error("an unknown geometry: " + type);
    }
}

// QuPath gives names to few of its objects, and a class to many.
std::string NameIn(const json& feature) {
    const json properties = feature.value("properties", json());
    if (!properties.is_object()) {
        return {};
    }
    const json name = properties.value("name", json());
    const json classification = properties.value("classification", json());
    const json className = classification.is_object() ? classification.value("name", json()) : json();
    return name.is_string() ? name.get<std::string>() : className.is_string() ? className.get<std::string>() : "";
}

std::vector<ForeignFigure> Read(std::string_view bytes, double shift, Reading& reading) {
    const json whole = ParseJsonText(bytes);
    std::vector<ForeignFigure> figures;
    const bool isCollection = whole.is_object() && whole.contains("features");
    const json features = isCollection ? whole.at("features") : whole.is_array() ? whole : json::array({whole});
    for (const json& feature : features) {
        const bool bare = !feature.contains("geometry");
        const json& geometry = bare ? feature : feature.at("geometry");
        if (!geometry.is_null()) {
            AppendGeometry(bare ? "" : NameIn(feature), geometry, shift, reading, figures);
        }
    }
    return figures;
}

}  // namespace

std::vector<ForeignFigure> ReadGeoJson(std::string_view bytes, Reading& reading) {
    return Read(bytes, kCorners, reading);
}
std::string WriteGeoJson(const std::vector<Figure>& figures, std::vector<Warning>& warnings) {
    return Write(figures, kCorners, warnings);
}
std::vector<ForeignFigure> ReadCenteredGeoJson(std::string_view bytes, Reading& reading) {
    return Read(bytes, kCenters, reading);
}
std::string WriteCenteredGeoJson(const std::vector<Figure>& figures, std::vector<Warning>& warnings) {
    return Write(figures, kCenters, warnings);
}

}  // namespace host

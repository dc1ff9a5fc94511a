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

json AreaOf(const std::vector<Loops>& regions, double shift) {
    json polygons = json::array();
    for (const Loops& region : regions) {
        for (const Loop& loop : region.outer) {
            polygons.push_back(json::array({LinearRing(loop, shift)}));  // Bare braces are a copy to some compilers.
        }
        for (const Loop& hole : region.holes) {
            polygons.back().push_back(LinearRing(hole, shift));
        }
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
        warnings.push_back({figure.name, "GeoJSON does not show the thickness of a line"});
        return {{"type", "LineString"}, {"coordinates", line}};
    }
    const std::vector<Loops> regions = PolygonsOf(figure);
    if (regions.empty() || regions.front().outer.empty()) {
        warnings.push_back({figure.name, "it encloses nothing and becomes no geometry"});
        return nullptr;
    }
    json geometry = AreaOf(regions, shift);
    if (std::string_view(figure.type->name) == "ROIEllipse") {
        geometry["isEllipse"] = true;
    } else if (std::string_view(figure.type->name) != "ROIRectangle" && figure.type->contents != Contents::geometry) {
        warnings.push_back({figure.name, std::string("GeoJSON shows the outline of a ") + figure.type->name +
                                             " and not its parameters"});
    }
    return geometry;
}

std::string Write(const std::vector<Figure>& figures, double shift, std::vector<Warning>& warnings) {
    json features = json::array();
    for (const Figure& figure : figures) {
        features.push_back(
            {{"type", "Feature"},
             {"geometry", GeometryOf(figure, shift, warnings)},
             {"properties",
              {{"objectType", "annotation"}, {"name", figure.name}, {kCarried, ValuesOf(Describe(figure))}}}});
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

ForeignFigure AreaFigure(std::string name, const std::vector<Loop>& loops, bool isEllipse, Reading& reading) {
    if (loops.size() == 1 && !loops.front().empty() && (isEllipse || IsBox(loops.front()))) {
        const auto [left, right] = std::minmax_element(loops[0].begin(), loops[0].end(),
                                                       [](const auto& a, const auto& b) { return a.x < b.x; });
        const auto [top, bottom] = std::minmax_element(loops[0].begin(), loops[0].end(),
                                                       [](const auto& a, const auto& b) { return a.y < b.y; });
        const ImagePoint center(0.5 * (left->x + right->x), 0.5 * (top->y + bottom->y));
        const double width = right->x - left->x;
        const double height = bottom->y - top->y;
        return isEllipse ? EllipseFigure(std::move(name), center, 0.5 * width, 0.5 * height)
                         : BoxFigure(std::move(name), center, width, height, 0.0);
    }
    return RegionFigure(std::move(name), loops, reading);
}

// QuPath gives names to few of its objects, and a class to many.
std::string NameIn(const json& properties) {
    const json name = properties.value("name", json());
    const json classification = properties.value("classification", json());
    const json className = classification.is_object() ? classification.value("name", json()) : json();
    return name.is_string() ? name.get<std::string>() : className.is_string() ? className.get<std::string>() : "";
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
    const json parts = type.starts_with("Multi") ? coordinates : json::array({coordinates});
    const auto append = [&figures](ForeignFigure figure, std::vector<Loop> drawn) {
        figure.drawn = std::move(drawn);
        figures.push_back(std::move(figure));
    };
    if (type.ends_with("Point")) {
        for (const ImagePoint& at : PointsIn(parts, shift)) {
            append(SpotFigure(name, at), {{at}});
        }
    } else if (type.ends_with("LineString")) {
        for (const json& line : parts) {
            const std::vector<ImagePoint> points = PointsIn(line, shift);
            append(LineFigure(name, points, 1.0), {points});
        }
    } else if (type.ends_with("Polygon")) {
        std::vector<Loop> loops;
        for (const json& polygon : parts) {
            for (const json& loop : polygon) {
                loops.push_back(LoopIn(loop, shift));
            }
        }
        append(AreaFigure(name, loops, geometry.value("isEllipse", false), reading), loops);
    } else {
        throw std::runtime_error("an unknown geometry: " + type);
    }
}

std::vector<ForeignFigure> Read(std::string_view bytes, double shift, Reading& reading) {
    const json whole = ParseJsonText(bytes);
    std::vector<ForeignFigure> figures;
    const bool isCollection = whole.is_object() && whole.contains("features");
    const json features = isCollection ? whole.at("features") : whole.is_array() ? whole : json::array({whole});
    for (const json& feature : features) {
        const bool bare = !feature.contains("geometry");
        const json& geometry = bare ? feature : feature.at("geometry");
        const json given = bare ? json() : feature.value("properties", json());
        const json properties = given.is_object() ? given : json::object();
        const std::size_t before = figures.size();
        if (!geometry.is_null()) {
            AppendGeometry(NameIn(properties), geometry, shift, reading, figures);
        }
        if (figures.size() == before + 1) {
            TakeCarried(properties, figures.back(), reading);
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

#include "workbench/FigureText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "contract/Presentation.h"
#include "host/figures/MaskPicture.h"
#include "host/figures/Nodes.h"
#include "host/figures/Parameters.h"
#include "host/figures/Session.h"
#include "host/sets/formats/ForeignFigure.h"

namespace host::workbench {

namespace {

bool IsFinite(const std::vector<ImagePoint>& points) noexcept {
    return std::all_of(points.begin(), points.end(),
                       [](ImagePoint p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

// In steps that no screen shows, so that texts stay short.
void AppendRounded(std::string& text, double value) {
    constexpr double kSteps = 1e4;
    text += NumberText(std::round(value * kSteps) / kSteps);
}

void AppendPoints(std::string& text, const std::vector<ImagePoint>& points) {
    text += '[';
    for (const ImagePoint& point : points) {
        text += &point == &points.front() ? "[" : ",[";
        AppendRounded(text, point.x);
        text += ',';
        AppendRounded(text, point.y);
        text += ']';
    }
    text += ']';
}

void AppendOutline(std::string& text, const Rings& rings) {
    text += ",\"outline\":[";
    for (const auto& ring : rings.closed) {
        text += &ring == &rings.closed.front() ? "" : ",";
        AppendPoints(text, ring);
    }
    text += ']';
    if (!rings.axis.empty()) {
        text += ",\"axis\":";
        AppendPoints(text, rings.axis);
    }
}

Json NodesJson(const Figure& figure) {
    Json nodes = Json::array();
    for (const Node& node : NodesOf(figure)) {
        nodes.push_back({{"node", node.number}, {"meaning", node.meaning}, {"x", node.at.x}, {"y", node.at.y}});
    }
    return nodes;
}

Json PointsJson(const Figure& figure) {
    Json points = Json::array();
    for (const ImagePoint& point : PointsOf(figure)) {
        points.push_back({point.x, point.y});
    }
    return points;
}

const char* KindText(int presentationKind) noexcept {
    switch (presentationKind) {
        case kPresentNumber:
            return "number";
        case kPresentAction:
            return "action";
        case kPresentShown:
            return "shown";
        case kPresentShear:
            return "shear";
        case kPresentLock:
            return "lock";
        default:
            return "plain";
    }
}

Json ParametersJson(const Figure& figure) {
    Json parameters = Json::array();
    for (const NamedValue& value : ReadParameters(figure)) {
        parameters.push_back({{"name", value.name},
                              {"value", std::visit([](const auto& held) { return Json(held); }, value.value)},
                              {"kind", KindText(value.presentationKind)},
                              {"unit", UnitOf(value)}});
    }
    return parameters;
}

const char* ContentsText(Contents contents) noexcept {
    switch (contents) {
        case Contents::points:
            return "points";
        case Contents::geometry:
            return "geometry";
        case Contents::image:
            return "image";
        default:
            return "nothing";
    }
}

// Holes run against what is around them.
void AppendPolygons(const std::vector<Loops>& polygons, Rings& rings) {
    const auto append = [&rings](const std::vector<Loop>& loops, bool isHole) {
        for (Loop loop : loops) {
            if ((SignedArea(loop) < 0.0) != isHole) {
                std::reverse(loop.begin(), loop.end());
            }
            rings.closed.push_back(std::move(loop));
        }
    };
    for (const Loops& polygon : polygons) {
        append(polygon.outer, false);
        append(polygon.holes, true);
    }
}

// Appends the members of an object to those of one that is not closed yet.
void AppendMembers(std::string& text, const Json& members) {
    if (!members.empty()) {
        const std::string object = TextOf(members);
        text += ',' + object.substr(1, object.size() - 2);
    }
}

}  // namespace

Rings RingsOf(const Figure& figure, double tolerance) {
    const Outline outline = figure.type->outline(figure);
    Rings rings;
    if (outline.isImage) {
        AppendPolygons(PolygonsOf(figure), rings);
    } else {
        std::transform(outline.contours.begin(), outline.contours.end(), std::back_inserter(rings.closed),
                       [tolerance](const Contour& contour) { return CornersOf(contour, tolerance); });
    }
    std::erase_if(rings.closed, [](const auto& ring) { return ring.empty() || !IsFinite(ring); });
    rings.axis = IsFinite(outline.axis) ? outline.axis : std::vector<ImagePoint>();
    return rings;
}

HitBox BoxAround(const Rings& rings) noexcept {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    HitBox box{kFar, kFar, -kFar, -kFar};
    const auto take = [&box](const std::vector<ImagePoint>& points) {
        for (const ImagePoint& p : points) {
            box = {std::min(box.left, p.x), std::min(box.top, p.y), std::max(box.right, p.x),
                   std::max(box.bottom, p.y)};
        }
    };
    std::for_each(rings.closed.begin(), rings.closed.end(), take);
    take(rings.axis);
    return box;
}

std::string FigureText(const Figure& figure, std::size_t index, Detail detail, double tolerance) {
    const Rings rings = RingsOf(figure, tolerance);
    const HitBox box = BoxAround(rings);
    Json head{{"name", figure.name}, {"class", figure.type->name}, {"index", index}, {"box", nullptr}};
    if (box.left <= box.right) {
        head["box"] = {box.left, box.top, box.right, box.bottom};
    }
    std::string text = TextOf(head);
    text.pop_back();
    AppendOutline(text, rings);
    Json rest = Json::object();
    if (detail >= Detail::nodes) {
        rest["nodes"] = NodesJson(figure);
        if (Json points = PointsJson(figure); !points.empty()) {
            rest["points"] = std::move(points);
        }
    }
    if (detail >= Detail::parameters) {
        rest["parameters"] = ParametersJson(figure);
        if (HasMaskImage(figure)) {
            const PixelSize size = MaskImageOf(figure).Size();
            rest["mask"] = {size.width, size.height};
        }
    }
    AppendMembers(text, rest);
    return text + '}';
}

Json ClassesJson(const Session& session) {
    Json classes = Json::array();
    for (const FigureClass* type : FigureClasses()) {
        Json nodes = Json::array();
        std::copy(type->nodes.begin(), type->nodes.end(), std::back_inserter(nodes));
        classes.push_back({{"class", type->name},
                           {"what", type->what},
                           {"contents", ContentsText(type->contents)},
                           {"nodes", nodes},
                           {"nodesAtPoints", type->nodesAtPoints},
                           {"center", (type->modifiers & kKeepCenter) != 0},
                           {"square", (type->modifiers & kBothAxes) != 0},
                           {"parameters", ParametersJson(session.Create("new", type->name))}});
    }
    return classes;
}

Json CellJson(const Cell& cell) {
    return std::visit(
        [](const auto& held) -> Json {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                return nullptr;
            } else if constexpr (std::is_same_v<Held, std::vector<NamedValue>>) {
                Json object = Json::object();
                for (const NamedValue& value : held) {
                    object[value.name] = std::visit([](const auto& number) { return Json(number); }, value.value);
                }
                return object;
            } else {
                return held;
            }
        },
        cell);
}

}  // namespace host::workbench

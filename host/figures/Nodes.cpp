#include "host/figures/Nodes.h"

#include <fmt/format.h>

#include "host/base/Error.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

Error BadNode(const std::string& node, const std::string& why) { return UsageError("cannot drag node", node, why); }

int CountPoints(const Figure& figure) {
    int count = 0;
    if (const auto profile = figure.As<IROIProfile>()) {
        profile->GetNumberPoints(&count);
    }
    return count;
}

// `KIND:POINT`.
NodeId ParsePointNode(const Figure& figure, const std::string& node) {
    const int kinds = static_cast<int>(figure.type->nodes.size());
    const int points = CountPoints(figure);
    const std::size_t colon = node.find(':');
    const std::string_view view = node;
    const auto kind = ParseInteger(view.substr(0, colon));
    const auto point = colon == std::string::npos ? std::nullopt : ParseInteger(view.substr(colon + 1));
    if (!kind || !point || *kind < 1 || *kind > kinds) {
        throw BadNode(node, fmt::format("a profile's nodes are KIND:POINT with kinds 1 to {}, as in 1:0", kinds));
    }
    if (*point < 0 || *point >= points) {
        throw BadNode(node, fmt::format("the profile has {} points, counted from 0", points));
    }
    return {*kind, *point};
}

NodeId ParseNode(const Figure& figure, const std::string& node) {
    const FigureClass& type = *figure.type;
    if (type.nodes.empty()) {
        throw BadNode(node, fmt::format("a {} has no nodes", type.name));
    }
    if (type.nodesAtPoints) {
        return ParsePointNode(figure, node);
    }
    const auto number = ParseInteger(node);
    if (!number || *number < 1 || *number > static_cast<int>(type.nodes.size())) {
        throw BadNode(node, fmt::format("a {} has nodes 1 to {}", type.name, type.nodes.size()));
    }
    return {*number, 0};
}

}  // namespace

std::vector<Node> NodesOf(const Figure& figure) {
    const FigureClass& type = *figure.type;
    const int points = type.nodesAtPoints ? CountPoints(figure) : 1;
    std::vector<Node> nodes;
    for (int point = 0; point < points; ++point) {
        for (std::size_t i = 0; i < type.nodes.size(); ++i) {
            const NodeId id{static_cast<int>(i) + 1, point};
            ImagePoint at;
            // The last point of a profile starts no segment: its middles are refused.
            if (Succeeded(type.getNode(*figure.roi, id, &at.x, &at.y))) {
                nodes.push_back(
                    {type.nodesAtPoints ? fmt::format("{}:{}", id.number, point) : std::to_string(id.number),
                     type.nodes[i], at});
            }
        }
    }
    return nodes;
}

void DragNode(const Figure& figure, const std::string& node, ImagePoint to, int flags) {
    const FigureClass& type = *figure.type;
    const NodeId id = ParseNode(figure, node);
    if (type.modifiers == 0 && flags != 0) {
        throw BadNode(node, "a profile's nodes know neither --center nor --square");
    }
    const Result result = type.dragNode(*figure.roi, id, flags, to.x, to.y);
    if (result == E_NOTIMPL) {
        throw BadNode(node, "corners of the outline follow from the points and cannot be dragged");
    }
    if (Failed(result)) {
        throw BadNode(node,
                      type.nodesAtPoints ? "the last point starts no segment" : "the figure does not move it this way");
    }
}

}  // namespace host

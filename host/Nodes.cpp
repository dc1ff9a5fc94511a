#include "host/Nodes.h"

#include <fmt/format.h>

#include <array>
#include <functional>
#include <span>
#include <string_view>

#include "host/Error.h"

namespace {

// Nodes 1, 2, 3, ... of a class, by what they are.
using Meanings = std::span<const char* const>;

constexpr std::array kBoxNodes = {
    "centre",     "top left corner", "top right corner", "bottom right corner", "bottom left corner", "top edge",
    "right edge", "bottom edge",     "left edge",        "roll grip",           "shear grip",
};
constexpr std::array kEllipseNodes = {"centre", "x radius", "y radius"};
constexpr std::array kDonutNodes = {"centre", "x radius of ring 0", "y radius of ring 0", "x radius of ring 1",
                                    "y radius of ring 1"};
constexpr std::array kArcDonutNodes = {"centre",
                                       "ring 0 at the start",
                                       "ring 1 at the start",
                                       "ring 0 at the end",
                                       "ring 1 at the end",
                                       "middle of the start edge",
                                       "middle of the end edge"};
constexpr std::array kProfileNodes = {
    "point", "outline corner 1", "outline corner 2", "outline middle 1", "outline middle 2", "segment middle"};

// The numbered nodes of a figure; no meanings for a class that has none.
struct NumberedNodes {
    Meanings meanings;
    std::function<Result(int node, double* x, double* y)> get;
    std::function<Result(int node, double x, double y)> drag;
};

template <class Box>
NumberedNodes BoxNodes(SmartPtr<Box> box, Meanings meanings) {
    return {meanings,
            [box](int node, double* x, double* y) { return box->GetCornerPoint(static_cast<ROICorner>(node), x, y); },
            [box](int node, double x, double y) { return box->SetCornerPoint(node, x, y); }};
}

template <class Round>
NumberedNodes RoundNodes(SmartPtr<Round> round, Meanings meanings) {
    return {meanings, [round](int node, double* x, double* y) { return round->GetNode(node, x, y); },
            [round](int node, double x, double y) { return round->SetNode(node, x, y); }};
}

NumberedNodes NumberedNodesOf(const Figure& figure) {
    if (auto rectangle = figure.As<IROIRectangle>()) {
        return BoxNodes(std::move(rectangle), Meanings(kBoxNodes).first(kNodeRollGrip));
    }
    if (auto parallelogram = figure.As<IROIParallelogram>()) {
        return BoxNodes(std::move(parallelogram), kBoxNodes);
    }
    if (auto ellipse = figure.As<IROIEllipse>()) {
        return RoundNodes(std::move(ellipse), kEllipseNodes);
    }
    if (auto donut = figure.As<IROIDonut>()) {
        // Both ring classes answer the same interfaces; only their names tell them apart.
        const bool isArc = figure.className == "ROIArcDonut";
        return RoundNodes(std::move(donut), isArc ? Meanings(kArcDonutNodes) : Meanings(kDonutNodes));
    }
    return {};
}

int PointsOf(IROIProfile& profile) {
    int count = 0;
    profile.GetNumberPoints(&count);
    return count;
}

std::vector<Node> ProfileNodesOf(IROIProfile& profile) {
    std::vector<Node> nodes;
    const int count = PointsOf(profile);
    for (int index = 0; index < count; ++index) {
        for (int kind = kProfilePoint; kind <= kProfileSegment; ++kind) {
            ImagePoint at;
            // The last point starts no segment: its middles are refused.
            if (Succeeded(profile.GetNodePoint(static_cast<ROIPROFILENode>(kind), index, &at.x, &at.y))) {
                nodes.push_back(
                    {fmt::format("{}:{}", kind, index), kProfileNodes[static_cast<std::size_t>(kind - 1)], at});
            }
        }
    }
    return nodes;
}

Error BadNode(const std::string& node, const std::string& why) { return UsageError("cannot drag node", node, why); }

void DragProfileNode(IROIProfile& profile, const std::string& node, ImagePoint to, int flags) {
    const std::size_t colon = node.find(':');
    const std::string_view view = node;
    const auto kind = ParseInteger(view.substr(0, colon));
    const auto index = colon == std::string::npos ? std::nullopt : ParseInteger(view.substr(colon + 1));
    if (!kind || !index || *kind < kProfilePoint || *kind > kProfileSegment) {
        throw BadNode(node, "a profile's nodes are KIND:POINT with kinds 1 to 6, as in 1:0");
    }
    if (flags != 0) {
        throw BadNode(node, "a profile's nodes know neither --center nor --square");
    }
    if (*index < 0 || *index >= PointsOf(profile)) {
        throw BadNode(node, fmt::format("the profile has {} points, counted from 0", PointsOf(profile)));
    }
    const Result result = profile.SetNodePoint(static_cast<ROIPROFILENode>(*kind), *index, to.x, to.y);
    if (result == E_NOTIMPL) {
        throw BadNode(node, "corners of the outline follow from the points and cannot be dragged");
    }
    if (Failed(result)) {
        throw BadNode(node, "the last point starts no segment");
    }
}

}  // namespace

std::vector<Node> NodesOf(const Figure& figure) {
    if (const auto profile = figure.As<IROIProfile>()) {
        return ProfileNodesOf(*profile);
    }
    std::vector<Node> nodes;
    const NumberedNodes numbered = NumberedNodesOf(figure);
    for (const char* meaning : numbered.meanings) {
        const int number = static_cast<int>(nodes.size()) + 1;
        ImagePoint at;
        numbered.get(number, &at.x, &at.y);
        nodes.push_back({std::to_string(number), meaning, at});
    }
    return nodes;
}

void DragNode(const Figure& figure, const std::string& node, ImagePoint to, int flags) {
    if (const auto profile = figure.As<IROIProfile>()) {
        DragProfileNode(*profile, node, to, flags);
        return;
    }
    const NumberedNodes numbered = NumberedNodesOf(figure);
    const auto number = ParseInteger(node);
    if (numbered.meanings.empty()) {
        throw BadNode(node, "a " + figure.className + " has no nodes");
    }
    if (!number || *number < 1 || *number > static_cast<int>(numbered.meanings.size())) {
        throw BadNode(node, fmt::format("a {} has nodes 1 to {}", figure.className, numbered.meanings.size()));
    }
    if (Failed(numbered.drag(*number | flags, to.x, to.y))) {
        throw BadNode(node, "the figure does not move it this way");
    }
}

// Where nodes lie and what dragging them does, by examples.
#include <cmath>

#include "check/Groups.h"
#include "check/Scenario.h"
#include "contract/Numbers.h"

namespace {

constexpr double kKeepCenter = 0x100;
constexpr double kBothAxes = 0x200;
// What the snapped roll is compared with: pi / 12 from ten digits of pi.
constexpr double kSnapStep = 0.26179938783333334;

using Scenarios = std::vector<Scenario>;

// What rectangle, mask and parallelogram share, for one of them.
Scenarios BoxScenarios(const char* className) {
    return {
        {"the nodes of a new box",
         className,
         {{"GetCornerPoint", {1}, {50, 50}},
          {"GetCornerPoint", {2}, {25, 25}},
          {"GetCornerPoint", {3}, {75, 25}},
          {"GetCornerPoint", {4}, {75, 75}},
          {"GetCornerPoint", {5}, {25, 75}},
          {"GetCornerPoint", {6}, {50, 25}},
          {"GetCornerPoint", {7}, {75, 50}},
          {"GetCornerPoint", {8}, {50, 75}},
          {"GetCornerPoint", {9}, {25, 50}}}},
        {"an unknown node is refused",
         className,
         {{"GetCornerPoint", {0}, {kUntouched, kUntouched}, E_INVALIDARG},
          {"GetCornerPoint", {12}, {kUntouched, kUntouched}, E_INVALIDARG},
          {"GetCornerPoint", {-1}, {kUntouched, kUntouched}, E_INVALIDARG},
          {"SetCornerPoint", {0, 1, 1}, {}, E_INVALIDARG},
          {"SetCornerPoint", {12, 1, 1}, {}, E_INVALIDARG},
          {"SetCornerPoint", {kKeepCenter + 11, 1, 1}, {}, E_INVALIDARG},
          {"GetSize", {}, {50, 50}},
          {"GetCenter", {}, {50, 50}}}},
        {"asking for the roll grip raises it to a quarter of the width, for good",
         className,
         {{"GetCornerPoint", {10}, {62.5, 50}},
          {"SetSize", {10, 10}},
          {"GetCornerPoint", {10}, {62.5, 50}},
          {"SetSize", {100, 50}},
          {"GetCornerPoint", {10}, {75, 50}}}},
        {"the centre is dragged without a change of size",
         className,
         {{"SetCornerPoint", {1, 7, 8}}, {"GetCenter", {}, {7, 8}}, {"GetSize", {}, {50, 50}}}},
        {"a dragged corner lands on the point and its opposite stays",
         className,
         {{"SetCornerPoint", {4, 100, 80}},
          {"GetSize", {}, {75, 55}},
          {"GetCornerPoint", {2}, {25, 25}},
          {"GetCornerPoint", {4}, {100, 80}}}},
        {"a square drag holds the opposite corner and averages the extents",
         className,
         {{"SetCornerPoint", {kBothAxes + 4, 100, 80}},
          {"GetSize", {}, {65, 65}},
          {"GetCenter", {}, {57.5, 57.5}},
          {"GetCornerPoint", {2}, {25, 25}}}},
        {"a drag about the centre grows both ways",
         className,
         {{"SetCornerPoint", {kKeepCenter + 4, 100, 100}}, {"GetSize", {}, {100, 100}}, {"GetCenter", {}, {50, 50}}}},
        {"an edge follows the point along one axis",
         className,
         {{"SetCornerPoint", {7, 80, 10}}, {"GetSize", {}, {55, 50}}, {"GetCenter", {}, {52.5, 50}}}},
        {"an edge dragged square changes both sizes",
         className,
         {{"SetCornerPoint", {kBothAxes + 8, 10, 85}}, {"GetSize", {}, {60, 60}}, {"GetCenter", {}, {50, 55}}}},
        {"a drag across the opposite side makes sizes negative",
         className,
         {{"SetCornerPoint", {4, 0, 0}}, {"GetSize", {}, {-25, -25}}, {"GetCenter", {}, {12.5, 12.5}}}},
        {"the roll grip turns the figure",
         className,
         {{"SetCornerPoint", {10, 60, 60}}, {"get_Roll", {}, {kPi / 4}}, {"GetCornerPoint", {10}, {60, 60}}}},
        {"the roll grip snaps to fifteen degrees",
         className,
         {{"SetCornerPoint", {kKeepCenter + 10, 60, 57}}, {"get_Roll", {}, {2 * kSnapStep}}}},
        {"a point on the edge is inside, whatever the sign of the size",
         className,
         {{"HitTest", {75, 75}, {1}},
          {"HitTest", {75.001, 50}, {0}, E_FAIL},
          {"SetSize", {-50, 50}},
          {"HitTest", {25, 25}, {1}}}},
        {"the bounding box counts both border pixels",
         className,
         {{"SetSize", {10, 4}}, {"SetCenter", {5, 2}}, {"GetBoundingRect", {}, {0, 0, 11, 5}}}},
        {"the bounding size is that of the turned figure",
         className,
         {{"SetSize", {40, 20}}, {"put_Roll", {kPi / 2}}, {"GetBoundingSize", {}, {20, 40}}}}};
}

Scenarios RectangleScenarios(const char* className) {
    return {{"a fixed aspect is held while dragging",
             className,
             {{"SetAspectRatio", {2}},
              {"GetSize", {}, {50, 25}},
              {"SetCornerPoint", {7, 95, 50}},
              {"GetSize", {}, {70, 35}},
              {"SetCornerPoint", {8, 60, 80}},
              {"GetSize", {}, {95, 47.5}},
              {"GetAspectRatio", {}, {2}}}},
            {"a free aspect leaves the size",
             className,
             {{"SetAspectRatio", {-3}}, {"GetSize", {}, {50, 50}}, {"GetAspectRatio", {}, {-3}}}},
            {"whole-pixel corners round half away from zero",
             className,
             {{"SetSize", {5, 5}},
              {"SetCenter", {0, 0}},
              {"GetCornerPointI", {2}, {-3, -3}},
              {"GetCornerPointI", {4}, {3, 3}},
              {"GetCornerPointI", {11}, {kUntouched, kUntouched}, E_INVALIDARG}}}};
}

const Scenarios& ParallelogramScenarios() {
    static const Scenarios kScenarios = {{"the slanted corners lean by the shear",
                                          "ROIParallelogram",
                                          {{"put_Shear", {std::atan(0.5), 0}},
                                           {"GetCornerPoint", {3}, {50, 25}},
                                           {"GetCornerPoint", {5}, {50, 75}},
                                           {"GetCornerPoint", {7}, {75, 50}},
                                           {"HitTest", {74, 26}, {1}}}},
                                         {"a shear is clamped, and keeps side A on request",
                                          "ROIParallelogram",
                                          {{"put_Shear", {0.5, 1}},
                                           {"get_A", {}, {50}},
                                           {"GetSize", {}, {50 + 50 * std::tan(0.5), 50}},
                                           {"put_Shear", {2, 0}},
                                           {"get_Shear", {}, {1.5}},
                                           {"put_Shear", {-7, 0}},
                                           {"get_Shear", {}, {-1.5}}}},
                                         {"the shear grip lies across the roll",
                                          "ROIParallelogram",
                                          {{"GetCornerPoint", {11}, {50, 37.5}},
                                           {"SetCornerPoint", {11, 62.5, 37.5}},
                                           {"get_Shear", {}, {-kPi / 4}},
                                           {"SetCornerPoint", {11, 40, 51}},
                                           {"get_Shear", {}, {std::atan2(10, -1)}}}}};
    return kScenarios;
}

const Scenarios& EllipseScenarios() {
    static const Scenarios kScenarios = {
        {"the nodes of an ellipse",
         "ROIEllipse",
         {{"GetNode", {2}, {80, 50}},
          {"GetNode", {3}, {50, 20}},
          {"GetNode", {5}, {kUntouched, kUntouched}},
          {"GetNode", {6}, {kUntouched, kUntouched}},
          {"GetNode", {0x202}, {50, 50}},
          {"GetNode", {-1}, {50, 50}}}},
        {"an ellipse's node sets one radius, or both",
         "ROIEllipse",
         {{"SetNode", {2, 10, 99}},
          {"GetRadius", {}, {40, 30}},
          {"SetNode", {0x202, 10, 99}},
          {"GetRadius", {}, {40, 40}},
          {"SetNode", {0x103, 0, 20}},
          {"GetRadius", {}, {40, 30}},
          {"SetNode", {5, 1, 1}},
          {"SetNode", {1, 7, 8}},
          {"GetCenter", {}, {7, 8}},
          {"GetRadius", {}, {40, 30}}}},
        {"an ellipse is hit as the circle of its area",
         "ROIEllipse",
         {{"SetCenter", {0, 0}}, {"SetRadius", {4, 1}}, {"HitTest", {2, 0}, {1}}, {"HitTest", {2.1, 0}, {0}, E_FAIL}}},
        {"an ellipse's box rounds its corner and its size up",
         "ROIEllipse",
         {{"SetCenter", {0.25, 0}}, {"SetRadius", {1, 0.2}}, {"GetBoundingRect", {}, {0, 0, 1, 1}}}}};
    return kScenarios;
}

// What the two kinds of ring share, for one of them.
Scenarios RingScenarios(const char* className) {
    return {
        {"a ring is hit between its radii, ends included",
         className,
         {{"HitTest", {70, 50}, {1}},
          {"HitTest", {80, 50}, {1}},
          {"HitTest", {69, 50}, {0}, E_FAIL},
          {"HitTest", {81, 50}, {0}, E_FAIL}}},
        {"either ring may be the inner one",
         className,
         {{"SetRadius", {0, 30, 30}}, {"SetRadius", {5, 20, 20}}, {"HitTest", {50, 75}, {1}}}},
        {"the limits do not count in the hit test", className, {{"SetLimits", {0, 0.1}}, {"HitTest", {25, 50}, {1}}}}};
}

const Scenarios& DonutScenarios() {
    static const Scenarios kScenarios = {{"the nodes of a donut",
                                          "ROIDonut",
                                          {{"GetNode", {2}, {70, 50}},
                                           {"GetNode", {3}, {50, 30}},
                                           {"GetNode", {4}, {80, 50}},
                                           {"GetNode", {5}, {50, 20}},
                                           {"GetNode", {7}, {kUntouched, kUntouched}},
                                           {"GetNode", {9}, {50, 50}}}},
                                         {"a donut's node sets one radius, or both",
                                          "ROIDonut",
                                          {{"SetNode", {kBothAxes + 2, 62, 99}},
                                           {"GetRadius", {0}, {12, 12}},
                                           {"SetNode", {0x105, 0, 10}},
                                           {"GetRadius", {1}, {30, 40}},
                                           {"SetNode", {8, 1, 1}},
                                           {"SetNode", {9, 7, 8}},
                                           {"GetCenter", {}, {7, 8}},
                                           {"GetRadius", {1}, {30, 40}}}}};
    return kScenarios;
}

const Scenarios& ArcDonutScenarios() {
    static const Scenarios kScenarios = {
        {"the nodes of an arc donut lie at its limits",
         "ROIArcDonut",
         {{"SetLimits", {0, kPi / 2}},
          {"GetNode", {2}, {70, 50}},
          {"GetNode", {3}, {80, 50}},
          {"GetNode", {4}, {50, 70}},
          {"GetNode", {5}, {50, 80}},
          {"GetNode", {6}, {75, 50}},
          {"GetNode", {7}, {50, 75}},
          {"GetNode", {8}, {50, 50}}}},
        {"an arc donut's corner resizes its ring as a circle",
         "ROIArcDonut",
         {{"SetNode", {2, 53, 54}},
          {"GetRadius", {0}, {5, 5}},
          {"SetNode", {5, 50, 40}},
          {"GetRadius", {1}, {10, 10}}}},
        {"an arc donut's start node turns the sector",
         "ROIArcDonut",
         {{"SetLimits", {0, 1}}, {"SetNode", {6, 50, 75}}, {"GetLimits", {}, {kPi / 2, 1}}}},
        {"an arc donut's end node sets the extent",
         "ROIArcDonut",
         {{"SetLimits", {0, 1}}, {"SetNode", {7, 75, 75}}, {"GetLimits", {}, {0, kPi / 4}}}},
        {"an arc donut knows its nodes by the whole value",
         "ROIArcDonut",
         {{"SetNode", {0x202, 1, 1}}, {"GetRadius", {0}, {20, 20}}, {"GetCenter", {}, {50, 50}}}},
        {"a corner with the flag defines the sector by its edges",
         "ROIArcDonut",
         {{"SetLimits", {0, kPi / 2}},
          {"SetNode", {0x104, 60, 70}},
          {"GetCenter", {}, {80, 50}},
          {"GetRadius", {0}, {10, 10}},
          {"GetRadius", {1}, {0, 0}}}}};
    return kScenarios;
}

const Scenarios& ProfileScenarios() {
    static const std::vector<Step> kTwoPoints = {
        {"AddPoint", {0, 0}}, {"AddPoint", {10, 0}}, {"SetUniformThickness", {2, 3}}};
    const auto after = [](std::vector<Step> steps) {
        std::vector<Step> all = kTwoPoints;
        all.insert(all.end(), steps.begin(), steps.end());
        return all;
    };
    static const Scenarios kScenarios = {
        {"the nodes of a segment", "ROIProfile",
         after({{"GetNodePoint", {2, 0}, {0, -2}},
                {"GetNodePoint", {3, 0}, {0, 3}},
                {"GetNodePoint", {4, 0}, {5, -2}},
                {"GetNodePoint", {5, 0}, {5, 3}},
                {"GetNodePoint", {6, 0}, {5, 0}},
                {"GetNodePoint", {0, 1}, {10, 0}}})},
        {"the last point starts no segment", "ROIProfile",
         after({{"GetNodePoint", {4, 1}, {kUntouched, kUntouched}, E_INVALIDARG},
                {"SetNodePoint", {6, 1, 3, 3}, {}, E_INVALIDARG},
                {"GetNodePoint", {1, 2}, {kUntouched, kUntouched}, E_INVALIDARG}})},
        {"an outline's middle sets the thickness from the line", "ROIProfile",
         after({{"SetNodePoint", {4, 0, 7, -5}}, {"SetNodePoint", {5, 0, 7, -5}}, {"GetThickness", {0}, {5, -5}}})},
        {"a segment is dragged with both its points", "ROIProfile",
         after({{"SetNodePoint", {6, 0, 6, 1}}, {"GetNodePoint", {1, 0}, {1, 1}}, {"GetNodePoint", {1, 1}, {11, 1}}})},
        {"the outlines of a bend meet in a mitre", "ROIProfile",
         after({{"AddPoint", {10, 10}}, {"GetNodePoint", {2, 1}, {12, -2}}, {"GetNodePoint", {3, 1}, {7, 3}}})},
        {"the corner of a straight line lies along its normal", "ROIProfile",
         after({{"AddPoint", {20, 0}}, {"GetNodePoint", {2, 1}, {10, -2}}})},
        {"a new point takes the thickness before it", "ROIProfile",
         after({{"AddPoint", {20, 0}},
                {"GetThickness", {2}, {2, 3}},
                {"InsertPoint", {-1, 30, 0}},
                {"GetNodePoint", {1, 3}, {30, 0}},
                {"InsertPoint", {0, -9, 0}},
                {"GetThickness", {0}, {2, 3}}})},
        {"a first point is 20 thick on both sides",
         "ROIProfile",
         {{"AddPoint", {1, 2}}, {"GetPoint", {0}, {1, 2, -1000, 20, 20}}}},
        {"an index equal to the count is accepted where it always was", "ROIProfile",
         after({{"SetPoint", {2, 5, 5}},
                {"GetNumberPoints", {}, {2}},
                {"GetThickness", {2}, {kUntouched, kUntouched}, E_INVALIDARG},
                {"SetPoint", {3, 5, 5}, {}, E_INVALIDARG},
                {"RemovePoint", {3}, {}, E_INVALIDARG},
                {"RemovePoint", {2}},
                {"GetNumberPoints", {}, {1}}})},
        {"a profile is hit in its segments' widened boxes", "ROIProfile",
         after({{"SetUniformThickness", {2, 4}}, {"HitTest", {12.9, 2.9}, {1}}, {"HitTest", {13.1, 0}, {0}, E_FAIL}})},
        {"an empty profile has no centre and no box",
         "ROIProfile",
         {{"GetCenter", {}, {kUntouched, kUntouched}, E_FAIL},
          {"SetCenter", {1, 1}, {}, E_FAIL},
          {"GetBoundingSize", {}, {0, 0}},
          {"GetBoundingRect", {}, {kUntouched, kUntouched, 0, 0}},
          {"HitTest", {0, 0}, {0}, E_FAIL}}},
        {"whole-pixel nodes round x and y in two ways",
         "ROIProfile",
         {{"AddPoint", {-2.7, -2.7}}, {"GetNodePointI", {1, 0}, {-3, -2}}, {"GetNodePointI", {1, 9}, {0, 0}}}},
        {"a profile grows past a hundred points", "ROIProfile", [] {
             std::vector<Step> steps(250, Step{"AddPoint", {1, 2}});
             steps.push_back({"GetNumberPoints", {}, {250}});
             steps.push_back({"GetThickness", {249}, {20, 20}});
             return steps;
         }()}};
    return kScenarios;
}

}  // namespace

void CheckNodes(Checks& checks) {
    for (const char* className : {"ROIRectangle", "ROIMask", "ROIParallelogram"}) {
        Play(checks, BoxScenarios(className));
    }
    for (const char* className : {"ROIRectangle", "ROIMask"}) {
        Play(checks, RectangleScenarios(className));
    }
    Play(checks, ParallelogramScenarios());
    Play(checks, EllipseScenarios());
    for (const char* className : {"ROIDonut", "ROIArcDonut"}) {
        Play(checks, RingScenarios(className));
    }
    Play(checks, DonutScenarios());
    Play(checks, ArcDonutScenarios());
    Play(checks, ProfileScenarios());
}

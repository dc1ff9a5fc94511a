// Rectangle, mask and parallelogram: nodes, drags, hits and boxes, by examples.
#include <fmt/format.h>

#include <cmath>

#include "check/Groups.h"
#include "check/QueryRules.h"
#include "check/Scenario.h"
#include "contract/Numbers.h"

namespace {

const double kNaN = std::nan("");
// Its cosine is 0.8 and its sine 0.6.
const double kRoll = std::atan2(3, 4);

using Scenarios = std::vector<Scenario>;

// 60 by 30 about (40, 70), rolled.
const std::vector<Step> kRolled = {{"SetSize", {60, 30}}, {"SetCenter", {40, 70}}, {"put_Roll", {kRoll}}};
const std::vector<Step> kInsideOut = {{"SetSize", {-60, -30}}};
// 60 by 40 about (100, 50), rolled and leaning by 20.
const std::vector<Step> kLeaning = {
    {"SetSize", {60, 40}}, {"SetCenter", {100, 50}}, {"put_Roll", {kRoll}}, {"put_Shear", {std::atan(0.5), 0}}};

Scenarios RolledScenarios() {
    return {
        {"the nodes of a rolled box",
         "",
         {{"GetCornerPoint", {1}, {40, 70}},
          {"GetCornerPoint", {2}, {25, 40}},
          {"GetCornerPoint", {3}, {73, 76}},
          {"GetCornerPoint", {4}, {55, 100}},
          {"GetCornerPoint", {5}, {7, 64}},
          {"GetCornerPoint", {6}, {49, 58}},
          {"GetCornerPoint", {7}, {64, 88}},
          {"GetCornerPoint", {8}, {31, 82}},
          {"GetCornerPoint", {9}, {16, 52}},
          {"GetCornerPoint", {10}, {52, 79}},
          {"GetBoundingSize", {}, {66, 60}},
          {"GetBoundingRect", {}, {7, 40, 67, 61}}}},
        {"a rolled box is hit within its own axes",
         "",
         {{"HitTest", {54.8, 98.6}, {1}},
          {"HitTest", {25.2, 41.4}, {1}},
          {"HitTest", {71.6, 76.2}, {1}},
          {"HitTest", {64.8, 88.6}, {0}, E_FAIL},
          {"HitTest", {30.4, 82.8}, {0}, E_FAIL},
          {"HitTest", {49.6, 57.2}, {0}, E_FAIL},
          {"HitTest", {15.2, 51.4}, {0}, E_FAIL},
          {"HitTest", {kNaN, 70}, {0}, E_FAIL},
          {"HitTest", {40, kNaN}, {0}, E_FAIL},
          {"SetSize", {-60, -30}},
          {"HitTest", {54.8, 98.6}, {1}},
          {"HitTest", {64.8, 88.6}, {0}, E_FAIL},
          {"GetBoundingSize", {}, {66, 60}},
          {"GetCornerPoint", {2}, {55, 100}}}},
        {"the roll grip takes angle and length from the point",
         "",
         {{"SetCornerPoint", {10, 61, 112}},
          {"get_Roll", {}, {1.1071487177940904}},
          {"GetCornerPoint", {10}, {61, 112}},
          {"GetSize", {}, {60, 30}},
          {"GetCenter", {}, {40, 70}},
          {"SetCornerPoint", {kBothFlag + 10, 33, 46}},
          {"GetCornerPoint", {10}, {33, 46}},
          {"SetCornerPoint", {10, 40, 70}},
          {"get_Roll", {}, {0}},
          {"GetCornerPoint", {10}, {55, 70}}}},
        {"the roll grip snaps to the nearest step, both ways round",
         "",
         {{"SetCornerPoint", {kCenterFlag + 10, 61, 112}},
          {"get_Roll", {}, {4 * kSnapStep}},
          {"GetCornerPoint", {10}, {63.478713758187254, 110.66632513838826}},
          {"SetCornerPoint", {kCenterFlag + 10, 30, 40}},
          {"get_Roll", {}, {-7 * kSnapStep}},
          {"SetCornerPoint", {kCenterFlag + 10, 140, 112}},
          {"get_Roll", {}, {2 * kSnapStep}},
          {"SetCornerPoint", {kCenterFlag + 10, 140, 32}},
          {"get_Roll", {}, {-kSnapStep}},
          {"SetCornerPoint", {kCenterFlag + kBothFlag + 10, 43, 30}},
          {"get_Roll", {}, {-6 * kSnapStep}}}},
        {"a mapped box is spanned by the images of its edges' middles",
         "",
         {{"Transform", {2, 0.5, -0.25, 3, 10, -5}},
          {"GetCenter", {}, {125, 195}},
          {"GetSize", {}, {149.03690818049066, 80.1763680893566}},
          {"get_Roll", {}, {0.6998928697192437}}}},
        {"a box is mapped by the middles of all four edges",
         "",
         {{"Transform", kBentMap},
          {"GetCenter", {}, {133, 174}},
          {"GetSize", {}, {176.72622895314663, 87.96141199412389}},
          {"get_Roll", {}, {0.6747409422235527}}}},
        {"a mapped box may turn back", "", {{"Transform", {0, 1, -1, 0, 0, 0}}, {"get_Roll", {}, {kRoll - kPi / 2}}}},
        {"a box's centre is mapped first, then the middles at 7, 8, 9 and 6",
         "",
         {{"Transform", kDriftMap},
          {"GetCenter", {}, {40, 70}},
          {"GetSize", {}, {std::hypot(152, 36), std::hypot(218, 24)}},
          {"get_Roll", {}, {std::atan2(36, -152)}}}},
        {"a grip keeps its length until it is dragged or mapped",
         "",
         {{"SetCornerPoint", {10, 40, 170}},
          {"put_Roll", {0}},
          {"SetSize", {50, 20}},
          {"SetCenter", {30, 20}},
          {"SetCornerPoint", {4, 60, 40}},
          {"Transform", {}, {}, E_INVALIDARG},
          {"GetCornerPoint", {1}, {32.5, 25}},
          {"GetCornerPoint", {10}, {132.5, 25}}}}};
}

// What a drag of a node to one point makes of size and centre.
struct Drag {
    double node;
    double width, height;
    double centerX, centerY;
};

constexpr Drag kRolledDrags[] = {
    {1, 60, 30, 61, 112},        {0x101, 60, 30, 61, 112},     {0x201, 60, 30, 61, 112},
    {0x301, 60, 30, 61, 112},    {0x404, 72, 36, 43, 76},      {2, -12, -6, 58, 106},
    {3, 72, -6, 34, 88},         {4, 72, 36, 43, 76},          {5, -12, 36, 67, 94},
    {6, 60, -6, 29.2, 84.4},     {7, 72, 30, 44.8, 73.6},      {8, 60, 36, 38.2, 72.4},
    {9, -12, 30, 68.8, 91.6},    {0x202, -9, -9, 55.9, 106.3}, {0x203, 33, 33, 30.1, 60.7},
    {0x204, 54, 54, 30.4, 77.8}, {0x205, 12, 12, 64.6, 77.2},  {0x206, -6, -6, 29.2, 84.4},
    {0x207, 72, 72, 44.8, 73.6}, {0x208, 36, 36, 38.2, 72.4},  {0x209, -12, -12, 68.8, 91.6},
    {0x102, -84, -42, 40, 70},   {0x103, 84, -42, 40, 70},     {0x104, 84, 42, 40, 70},
    {0x105, -84, 42, 40, 70},    {0x106, 60, -42, 40, 70},     {0x107, 84, 30, 40, 70},
    {0x108, 60, 42, 40, 70},     {0x109, -84, 30, 40, 70},     {0x302, -63, -63, 40, 70},
    {0x303, 21, 21, 40, 70},     {0x304, 63, 63, 40, 70},      {0x305, -21, -21, 40, 70},
    {0x306, -42, -42, 40, 70},   {0x307, 84, 84, 40, 70},      {0x308, 42, 42, 40, 70},
    {0x309, -84, -84, 40, 70},   {0x10004, 72, 36, 43, 76},    {-252, 63, 63, 40, 70}};

// The same with a fixed aspect of 2.5.
constexpr Drag kAspectDrags[] = {{3, -15, -6, 68.8, 114.1},  {4, 90, 36, 35.8, 70.6},     {0x204, 135, 54, 62.8, 102.1},
                                 {6, -15, -6, 29.2, 84.4},   {8, 90, 36, 38.2, 72.4},     {0x208, 90, 36, 38.2, 72.4},
                                 {7, 72, 28.8, 44.8, 73.6},  {9, -12, -4.8, 68.8, 91.6},  {0x207, 72, 28.8, 44.8, 73.6},
                                 {0x104, 105, 42, 40, 70},   {0x103, -105, -42, 40, 70},  {0x304, 157.5, 63, 40, 70},
                                 {0x106, -105, -42, 40, 70}, {0x108, 105, 42, 40, 70},    {0x306, -105, -42, 40, 70},
                                 {0x107, 84, 33.6, 40, 70},  {0x109, -84, -33.6, 40, 70}, {0x307, 84, 33.6, 40, 70}};

// Drags of the leaning one: corners are those of the box around it, but the corner held by a square drag is its own.
constexpr Drag kLeaningDrags[] = {{3, 72, -1, 92.5, 70},
                                  {4, 72, 41, 104.5, 54},
                                  {0x203, 35.5, 35.5, 104.85, 56.45},
                                  {0x205, 14.5, 14.5, 109.85, 41.45},
                                  {0x103, 84, -42, 100, 50}};

void PlayDrags(Checks& checks, const char* className, const char* sentence, const std::vector<Step>& setup, double x,
               double y, std::span<const Drag> drags) {
    checks.Begin(sentence);
    const ClassContract& figure = ClassNamed(className);
    for (const Drag& drag : drags) {
        const auto roi = checks.module.New<IROI>(figure);
        TakeSteps(checks, figure, roi, setup);
        const Step steps[] = {{"SetCornerPoint", {drag.node, x, y}},
                              {"GetSize", {}, {drag.width, drag.height}},
                              {"GetCenter", {}, {drag.centerX, drag.centerY}}};
        TakeSteps(checks, figure, roi, steps);
        CheckRules(checks, figure, roi);
    }
}

// With its sizes below zero a box has every node where the opposite one was, and is dragged by it to the same.
std::vector<Drag> TurnedInsideOut(std::span<const Drag> outward) {
    static constexpr int kOpposite[] = {0, 1, 4, 5, 2, 3, 8, 9, 6, 7};
    std::vector<Drag> drags(outward.begin(), outward.end());
    for (Drag& drag : drags) {
        const int node = static_cast<int>(drag.node);
        drag = {static_cast<double>((node & ~0xFF) | kOpposite[node & 0xFF]), -drag.width, -drag.height, drag.centerX,
                drag.centerY};
    }
    return drags;
}

// Steps of true pi differ in the eleventh digit.
void CheckSnaps(Checks& checks, const char* className) {
    checks.Begin(fmt::format("the roll grip of {} snaps to steps of one twelfth of pi to ten digits", className));
    const ClassContract& figure = ClassNamed(className);
    const auto roi = checks.module.New<IROI>(figure);
    for (int step = -11; step <= 11; ++step) {
        const double angle = step * kPi / 12 + 0.1;
        const Step drag = {"SetCornerPoint", {kCenterFlag + 10, 50 + 40 * std::cos(angle), 50 + 40 * std::sin(angle)}};
        TakeSteps(checks, figure, roi, std::span(&drag, 1));
        checks.Bits(Call(*roi, figure.At("get_Roll"), {}).outputs[0], kSnapStep * step);
    }
}

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
          {"SetCornerPoint", {kCenterFlag + 11, 1, 1}, {}, E_INVALIDARG},
          {"SetCornerPoint", {kCenterFlag, 1, 1}, {}, E_INVALIDARG},
          {"SetCornerPoint", {kBothFlag + 12, 1, 1}, {}, E_INVALIDARG},
          {"GetSize", {}, {50, 50}},
          {"GetCenter", {}, {50, 50}}}},
        {"asking for the roll grip raises it to a quarter of the width, for good",
         className,
         {{"GetCornerPoint", {10}, {62.5, 50}},
          {"SetSize", {10, 10}},
          {"GetCornerPoint", {10}, {62.5, 50}},
          {"SetSize", {100, 50}},
          {"GetCornerPoint", {10}, {75, 50}}}},
        {"a width below zero raises no grip", className, {{"SetSize", {-60, 30}}, {"GetCornerPoint", {10}, {50, 50}}}},
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
         {{"SetCornerPoint", {kBothFlag + 4, 100, 80}},
          {"GetSize", {}, {65, 65}},
          {"GetCenter", {}, {57.5, 57.5}},
          {"GetCornerPoint", {2}, {25, 25}}}},
        {"a drag makes sizes as small as it likes",
         className,
         {{"SetCornerPoint", {4, 25.5, 25.25}},
          {"GetSize", {}, {0.5, 0.25}},
          {"SetCornerPoint", {7, 25, 90}},
          {"GetSize", {}, {0, 0.25}},
          {"SetCornerPoint", {kCenterFlag + 8, 90, 25.375}},
          {"GetSize", {}, {0, 0.5}}}},
        {"a roll is kept beyond a turn",
         className,
         {{"put_Roll", {7}}, {"get_Roll", {}, {7}}, {"put_Roll", {-7}}, {"get_Roll", {}, {-7}}}},
        {"a drag about the centre grows both ways",
         className,
         {{"SetCornerPoint", {kCenterFlag + 4, 100, 100}}, {"GetSize", {}, {100, 100}}, {"GetCenter", {}, {50, 50}}}},
        {"an edge follows the point along one axis",
         className,
         {{"SetCornerPoint", {7, 80, 10}}, {"GetSize", {}, {55, 50}}, {"GetCenter", {}, {52.5, 50}}}},
        {"an edge dragged square changes both sizes",
         className,
         {{"SetCornerPoint", {kBothFlag + 8, 10, 85}}, {"GetSize", {}, {60, 60}}, {"GetCenter", {}, {50, 55}}}},
        {"a drag across the opposite side makes sizes negative",
         className,
         {{"SetCornerPoint", {4, 0, 0}}, {"GetSize", {}, {-25, -25}}, {"GetCenter", {}, {12.5, 12.5}}}},
        {"the roll grip turns the figure",
         className,
         {{"SetCornerPoint", {10, 60, 60}}, {"get_Roll", {}, {kPi / 4}}, {"GetCornerPoint", {10}, {60, 60}}}},
        {"the roll grip snaps to fifteen degrees",
         className,
         {{"SetCornerPoint", {kCenterFlag + 10, 60, 57}}, {"get_Roll", {}, {2 * kSnapStep}}}},
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
             {{"SetAspectRatio", {-3}},
              {"GetSize", {}, {50, 50}},
              {"GetAspectRatio", {}, {-3}},
              {"SetCornerPoint", {4, 100, 80}},
              {"GetSize", {}, {75, 55}}}},
            {"an aspect ratio below one heightens a rectangle",
             className,
             {{"SetAspectRatio", {0.5}}, {"GetSize", {}, {50, 100}}, {"GetAspectRatio", {}, {0.5}}}},
            {"whole-pixel corners round half away from zero",
             className,
             {{"SetSize", {5, 3}},
              {"SetCenter", {0, -7}},
              {"GetCornerPointI", {7}, {3, -7}},
              {"GetCornerPointI", {9}, {-3, -7}},
              {"GetCornerPointI", {6}, {0, -9}},
              {"GetCornerPointI", {8}, {0, -6}},
              {"SetCenter", {-0.5, 0.5}},
              {"GetCornerPointI", {1}, {-1, 1}},
              {"SetCenter", {-0.4, 0.4}},
              {"GetCornerPointI", {1}, {0, 0}},
              {"GetCornerPointI", {0}, {kUntouched, kUntouched}, E_INVALIDARG},
              {"GetCornerPointI", {11}, {kUntouched, kUntouched}, E_INVALIDARG},
              {"SetSize", {50, 50}},
              {"GetCornerPointI", {10}, {12, 0}},
              {"SetSize", {10, 10}},
              {"GetCornerPoint", {10}, {12.1, 0.4}}}},
            {"an aspect gives the height from the width, when it is above zero",
             className,
             {{"SetSize", {60, 30}},
              {"SetAspectRatio", {2.5}},
              {"GetSize", {}, {60, 24}},
              {"SetAspectRatio", {0}},
              {"GetSize", {}, {60, 24}},
              {"SetSize", {-60, 24}},
              {"SetAspectRatio", {2.5}},
              {"GetSize", {}, {-60, -24}},
              {"SetSize", {7, 9}},
              {"GetSize", {}, {7, 9}}}},
            {"an aspect outlives a transform",
             className,
             {{"SetAspectRatio", {2}},
              {"Transform", {3, 0, 0, 1, 0, 0}},
              {"GetAspectRatio", {}, {2}},
              {"GetSize", {}, {150, 25}}}}};
}

std::vector<Step> Leaning(const std::vector<Step>& then) { return After(kLeaning, then); }

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
                                           {"put_Shear", {0, 0x100}},
                                           {"GetSize", {}, {50, 50}},
                                           {"put_Shear", {-0.5, -1}},
                                           {"get_A", {}, {50}},
                                           {"put_Shear", {0, 1}},
                                           {"put_B", {-40}},
                                           {"GetSize", {}, {50, -40}},
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
                                           {"get_Shear", {}, {std::atan2(10, -1)}},
                                           {"put_Shear", {0, 0}},
                                           {"SetSize", {-500, 50}},
                                           {"GetCornerPoint", {11}, {50, 50 - std::hypot(10, 1)}}}},
                                         {"a leaning figure, rolled", "ROIParallelogram",
                                          Leaning({{"GetCornerPoint", {2}, {88, 16}},
                                                   {"GetCornerPoint", {3}, {120, 40}},
                                                   {"GetCornerPoint", {4}, {112, 84}},
                                                   {"GetCornerPoint", {5}, {80, 60}},
                                                   {"GetCornerPoint", {7}, {124, 68}},
                                                   {"GetCornerPoint", {8}, {88, 66}},
                                                   {"GetCornerPoint", {11}, {102.68328157299975, 35.241951348501389}},
                                                   {"read RollGripLength", {}, {15}},
                                                   {"GetBoundingSize", {}, {72, 68}},
                                                   {"GetBoundingRect", {}, {80, 16, 41, 69}},
                                                   {"HitTest", {134.6, 52.2}, {1}},
                                                   {"HitTest", {135, 52.5}, {1}},
                                                   {"HitTest", {137, 54}, {0}, E_FAIL}})},
                                         {"the sides of a leaning figure", "ROIParallelogram",
                                          Leaning({{"get_A", {}, {40}},
                                                   {"get_B", {}, {44.721359549995796}},
                                                   {"put_A", {30}},
                                                   {"GetSize", {}, {50, 40}},
                                                   {"put_B", {22.360679774997898}},
                                                   {"GetSize", {}, {50, 20}},
                                                   {"get_A", {}, {40}},
                                                   {"SetSize", {60, -40}},
                                                   {"get_A", {}, {80}},
                                                   {"get_B", {}, {44.721359549995796}},
                                                   {"put_Shear", {2, 1}},
                                                   {"GetSize", {}, {80 - 40 * 14.101419947171719, -40}},
                                                   {"put_Shear", {-0.25, 0}},
                                                   {"get_Shear", {}, {-0.25}},
                                                   {"put_Shear", {kNaN, 0}},
                                                   {"get_Shear", {}, {kNaN}}})},
                                         {"a figure that leans steeply the other way", "ROIParallelogram",
                                          Leaning({{"put_Shear", {-1.2, 0}},
                                                   {"get_A", {}, {162.88606488505275}},
                                                   {"get_B", {}, {110.38814405329624}},
                                                   {"GetCornerPoint", {3}, {218.30885190804221, 113.73163893103164}},
                                                   {"GetCornerPoint", {11}, {114.44568882189678, 54.040058719984955}},
                                                   {"put_A", {30}},
                                                   {"GetSize", {}, {-72.88606488505275, 40}},
                                                   {"put_B", {50}},
                                                   {"GetSize", {}, {-72.88606488505275, 18.117887723833682}},
                                                   {"put_Shear", {1.2, 1}},
                                                   {"get_A", {}, {-26.284110586691426}}})},
                                         {"the shear grip takes shear and length from the point", "ROIParallelogram",
                                          Leaning({{"SetCornerPoint", {11, 121, 92}},
                                                   {"get_Shear", {}, {-2.0344439357957027}},
                                                   {"read RollGripLength", {}, {46.95742752749558}},
                                                   {"GetSize", {}, {60, 40}},
                                                   {"get_Roll", {}, {kRoll}},
                                                   {"GetCenter", {}, {100, 50}},
                                                   {"SetCornerPoint", {kBothFlag + 11, 70, 40}},
                                                   {"get_Shear", {}, {std::atan2(30, 10) + kRoll}},
                                                   {"SetCornerPoint", {kCenterFlag + 11, 1, 1}, {}, E_INVALIDARG},
                                                   {"get_Shear", {}, {std::atan2(30, 10) + kRoll}}})},
                                         {"a leaning figure is mapped as its box", "ROIParallelogram",
                                          Leaning({{"GetCornerPoint", {11}, {kAnything, kAnything}},
                                                   {"Transform", {2, 0.5, -0.25, 3, 10, -5}},
                                                   {"GetCenter", {}, {235, 120}},
                                                   {"GetSize", {}, {149.03690818049066, 106.90182411914213}},
                                                   {"get_Roll", {}, {0.6998928697192437}},
                                                   {"get_Shear", {}, {std::atan(0.5)}},
                                                   {"read RollGripLength", {}, {0}}})}};
    return kScenarios;
}

}  // namespace

void CheckBoxes(Checks& checks) {
    for (const char* className : {"ROIRectangle", "ROIMask", "ROIParallelogram"}) {
        Play(checks, BoxScenarios(className));
        checks.Try([&] { CheckSnaps(checks, className); });
        for (Scenario scenario : RolledScenarios()) {
            scenario.className = className;
            scenario.steps.insert(scenario.steps.begin(), kRolled.begin(), kRolled.end());
            Play(checks, std::span(&scenario, 1));
        }
        checks.Try([&] { PlayDrags(checks, className, "a drag of a rolled box", kRolled, 61, 112, kRolledDrags); });
        checks.Try([&] {
            PlayDrags(checks, className, "a drag of a rolled box of sizes below zero", After(kRolled, kInsideOut), 61,
                      112, TurnedInsideOut(kRolledDrags));
        });
    }
    const std::vector<Step> fixed = After({{"SetAspectRatio", {2.5}}}, kRolled);
    for (const char* className : {"ROIRectangle", "ROIMask"}) {
        Play(checks, RectangleScenarios(className));
        checks.Try([&] { PlayDrags(checks, className, "a drag with a fixed aspect", fixed, 61, 112, kAspectDrags); });
        checks.Try([&] {
            PlayDrags(checks, className, "a drag with a fixed aspect and sizes below zero", After(fixed, kInsideOut),
                      61, 112, TurnedInsideOut(kAspectDrags));
        });
    }
    Play(checks, ParallelogramScenarios());
    checks.Try(
        [&] { PlayDrags(checks, "ROIParallelogram", "a drag of a leaning figure", kLeaning, 121, 92, kLeaningDrags); });
}

// Ellipse, donut and arc donut: nodes, drags, hits and boxes, by examples.
#include <cmath>

#include "check/Groups.h"
#include "check/QueryRules.h"
#include "check/Scenario.h"
#include "contract/Numbers.h"

namespace {

const double kNaN = std::nan("");
// Its cosine is 0.8 and its sine 0.6.
const double kStart = std::atan2(3, 4);

using Scenarios = std::vector<Scenario>;
using Steps = std::vector<Step>;

// What a drag of a node to a point leaves of a new figure that `setup` was done to.
struct NodeDrag {
    double node;
    double x, y;
    Steps then;
};

void PlayDrags(Checks& checks, const char* className, const Steps& setup, const std::vector<NodeDrag>& drags) {
    checks.Begin(std::string("a drag of a node of ") + className);
    const ClassContract& figure = ClassNamed(className);
    for (const NodeDrag& drag : drags) {
        const Step step = {"SetNode", {drag.node, drag.x, drag.y}};
        checks.Try([&] {
            const auto roi = checks.module.New<IROI>(figure);
            TakeSteps(checks, figure, roi, After(After(setup, {step}), drag.then));
            CheckRules(checks, figure, roi);
        });
    }
}

// ---------------------------------------------------------------------------------------------------
// Ellipse: 30 by 10 about (40, 70)

const Steps kEllipse = {{"SetCenter", {40, 70}}, {"SetRadius", {30, 10}}};

Steps Ellipse(double centerX, double centerY, double radiusX, double radiusY) {
    return {{"GetCenter", {}, {centerX, centerY}}, {"GetRadius", {}, {radiusX, radiusY}}};
}

std::vector<NodeDrag> EllipseDrags() {
    return {{2, 15, 99, Ellipse(40, 70, 25, 10)},     {3, 99, 75.5, Ellipse(40, 70, 30, 5.5)},
            {0x202, 15, 99, Ellipse(40, 70, 25, 25)}, {0x203, 99, 75.5, Ellipse(40, 70, 5.5, 5.5)},
            {0x102, 15, 99, Ellipse(40, 70, 25, 10)}, {5, 15, 99, Ellipse(40, 70, 30, 10)},
            {0x206, 15, 99, Ellipse(40, 70, 30, 10)}, {4, 15, 99, Ellipse(15, 99, 30, 10)},
            {0x201, 15, 99, Ellipse(15, 99, 30, 10)}, {0, 15, 99, Ellipse(15, 99, 30, 10)},
            {-1, 15, 99, Ellipse(15, 99, 30, 10)},    {-254, 15, 99, Ellipse(40, 70, 25, 25)}};
}

const Scenarios& EllipseScenarios() {
    static const Scenarios kScenarios = {
        {"an ellipse away from the diagonal", "ROIEllipse",
         After(kEllipse, {{"GetNode", {1}, {40, 70}},
                          {"GetNode", {2}, {70, 70}},
                          {"GetNode", {3}, {40, 60}},
                          {"GetNode", {4}, {40, 70}},
                          {"GetNode", {7}, {40, 70}},
                          {"GetBoundingSize", {}, {30, 10}},
                          {"GetBoundingRect", {}, {25, 65, 30, 10}},
                          {"Transform", {2, 0.5, -0.25, 3, 10, -5}},
                          {"GetCenter", {}, {125, 195}},
                          {"GetRadius", {}, {60.46693311223912, 30.413812651491096}},
                          {"SetRadius", {-5, 0}},
                          {"GetNode", {2}, {120, 195}}})},
        {"an ellipse is measured right of its centre and below", "ROIEllipse",
         After(kEllipse, {{"Transform", kBentMap},
                          {"GetCenter", {}, {133, 174}},
                          {"GetRadius", {}, {66.42476947645359, 36.138621999185304}}})},
        {"an ellipse's centre is mapped first, then its right end", "ROIEllipse",
         After(kEllipse,
               {{"Transform", kDriftMap}, {"GetCenter", {}, {40, 70}}, {"GetRadius", {}, {130, std::hypot(200, 10)}}})},
        {"an ellipse is hit by the product of its radii", "ROIEllipse",
         After(kEllipse, {{"SetRadius", {4, 2}},
                          {"HitTest", {42, 72}, {1}},
                          {"HitTest", {42.8, 70}, {1}},
                          {"HitTest", {40, 67.2}, {1}},
                          {"HitTest", {42, 72.1}, {0}, E_FAIL},
                          {"HitTest", {37.1, 70}, {0}, E_FAIL},
                          {"HitTest", {40, 72.9}, {0}, E_FAIL},
                          {"HitTest", {kNaN, 70}, {0}, E_FAIL},
                          {"SetRadius", {-4, 2}},
                          {"HitTest", {40, 70}, {0}, E_FAIL},
                          {"SetRadius", {-4, -2}},
                          {"HitTest", {42, 72}, {1}}})},
        {"an ellipse's box rounds half away from zero",
         "ROIEllipse",
         {{"SetCenter", {0.25, 0}},
          {"SetRadius", {1, 1}},
          {"GetBoundingRect", {}, {0, -1, 1, 1}},
          {"SetCenter", {-0.5, 2.75}},
          {"GetBoundingRect", {}, {-1, 2, 1, 1}},
          {"SetCenter", {-2, -3}},
          {"GetBoundingRect", {}, {-3, -4, 1, 1}},
          {"SetCenter", {10, 30.1}},
          {"SetRadius", {1.25, 3.0005}},
          {"GetBoundingRect", {}, {9, 29, 2, 4}},
          {"SetRadius", {30.0000000001, -2.5}},
          {"GetBoundingRect", {}, {-5, 31, 31, 4294967294}},
          {"SetRadius", {3e9, 5e9}},
          {"GetBoundingRect", {}, {kAnything, kAnything, 3000000000, 705032704}}}},
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

// ---------------------------------------------------------------------------------------------------
// Rings: 12 by 20 and 35 by 25 about (40, 70)

const Steps kRing = {
    {"SetCenter", {40, 70}}, {"SetRadius", {0, 12, 20}}, {"SetRadius", {1, 35, 25}}, {"SetLimits", {kStart, kPi / 2}}};

Steps Rings(double centerX, double centerY, double radius0X, double radius0Y, double radius1X, double radius1Y) {
    return {{"GetCenter", {}, {centerX, centerY}},
            {"GetRadius", {0}, {radius0X, radius0Y}},
            {"GetRadius", {1}, {radius1X, radius1Y}}};
}
Steps Limits(double start, double delta) { return {{"GetLimits", {}, {start, delta}}}; }
// What setting a sector by its edges leaves: circles and limits.
Steps Sector(double centerX, double centerY, double start, double delta, double radius0, double radius1) {
    return After(Rings(centerX, centerY, radius0, radius0, radius1, radius1), Limits(start, delta));
}

std::vector<NodeDrag> DonutDrags() {
    return {{2, 15, 99, Rings(40, 70, 25, 20, 35, 25)},     {3, 99, 60, Rings(40, 70, 12, 10, 35, 25)},
            {4, 15, 99, Rings(40, 70, 12, 20, 25, 25)},     {5, 99, 60, Rings(40, 70, 12, 20, 35, 10)},
            {0x202, 15, 99, Rings(40, 70, 25, 25, 35, 25)}, {0x203, 99, 60, Rings(40, 70, 10, 10, 35, 25)},
            {0x204, 15, 99, Rings(40, 70, 12, 20, 25, 25)}, {0x205, 99, 60, Rings(40, 70, 12, 20, 10, 10)},
            {0x304, 20, 99, Rings(40, 70, 12, 20, 20, 20)}, {0x102, 15, 99, Rings(40, 70, 25, 20, 35, 25)},
            {7, 15, 99, Rings(40, 70, 12, 20, 35, 25)},     {0x208, 15, 99, Rings(40, 70, 12, 20, 35, 25)},
            {0, 15, 99, Rings(15, 99, 12, 20, 35, 25)},     {6, 15, 99, Rings(15, 99, 12, 20, 35, 25)},
            {0x201, 15, 99, Rings(15, 99, 12, 20, 35, 25)}, {255, 15, 99, Rings(15, 99, 12, 20, 35, 25)},
            {-252, 15, 99, Rings(40, 70, 12, 20, 25, 25)}};
}

// The corners lie at (48, 76), (64, 88), (34, 78) and (22, 94); the end edge points to 2.2143.
const Steps kSector = {
    {"SetCenter", {40, 70}}, {"SetRadius", {0, 10, 10}}, {"SetRadius", {1, 30, 30}}, {"SetLimits", {kStart, kPi / 2}}};

std::vector<NodeDrag> SectorDrags() {
    const Steps unchanged = Sector(40, 70, kStart, kPi / 2, 10, 30);
    return {
        {1, 15, 99, Sector(15, 99, kStart, kPi / 2, 10, 30)},
        {2, 43, 74, Sector(40, 70, kStart, kPi / 2, 5, 30)},
        {4, 43, 74, Sector(40, 70, kStart, kPi / 2, 5, 30)},
        {2, 40, 70, Sector(40, 70, kStart, kPi / 2, 0, 30)},
        {3, 43, 74, Sector(40, 70, kStart, kPi / 2, 10, 5)},
        {5, 43, 74, Sector(40, 70, kStart, kPi / 2, 10, 5)},
        {6, 43, 74, Sector(40, 70, 0.9272952180016122, kPi / 2, 10, 30)},
        {0, 15, 99, unchanged},
        {8, 15, 99, unchanged},
        {0x101, 15, 99, unchanged},
        {0x202, 15, 99, unchanged},
        {0x106, 15, 99, unchanged},
        {0x107, 15, 99, unchanged},
        {0x102, 50, 66,
         Sector(46.78688524590164, 60.95081967213115, 1.0040671092713902, 1.2102303263167906, 5.9848415523171825,
                32.06165117312778)},
        {0x103, 70, 80, Sector(37, 74, 0.17985349979247828, 2.0344439357957036, 11.180339887498949, 33.54101966249684)},
        {0x104, 30, 60, Sector(29.5, 62.125, kStart, 1.158385885197509, 23.125, 43.125)},
        {0x105, 10, 70, Sector(64, 88, kStart, 2.819842099193151, 20, 0)},
        {0x105, 60, 60,
         Sector(42.666666666666664, 72, kStart, -1.2490457723982544, 6.666666666666677, 26.66666666666668)},
        // Edges less than 0.1 apart are refused, to either side; those half a turn apart too.
        {0x102, 70.69474479165605, 80.57164943109211, unchanged},
        {0x102, 69.25668800448787, 79.49310684071598, unchanged},
        {0x102, 58, 96, unchanged},
        {0x102, 57.99960000750016, 95.99969999000012, unchanged},
        {0x102, 57.998400120010665, 95.998799840008, {{"GetLimits", {}, {-0.9270952180016123, 3.1413926535897936}}}},
        {0x102, 70.84196299443758, 80.70702102136947, Limits(2.3242974355881807, -0.11)},
        {0x102, 69.08551018104278, 79.38968141132338, Limits(2.104297435588181, 0.11)},
        // An edge of two equal points is the line x = 0, and points to 0.
        {0x102, 64, 88, Sector(0, 123.33333333333333, 0, 2.214297435588181, 73.1057073315377, 73.1057073315377)}};
}

// The end node's extents, from limits that start at 0.25: (43, 74), (37, 74) and (43, 66) lie at 0.9273, 2.2143 and
// -0.9273.
struct EndDrag {
    double start, delta;
    double x, y;
    double then;
};
constexpr EndDrag kEndDrags[] = {
    {0.25, 1, 43, 74, 0.6772952180016122},      {0.25, 1, 37, 74, 1.964297435588181},
    {0.25, 1, 43, 66, -1.1772952180016122},     {0.25, 2, 43, 74, 0.6772952180016122},
    {0.25, 2, 43, 66, 5.105890089177974},       {0.25, -1, 43, 66, -1.1772952180016122},
    {0.25, -1, 43, 74, 0.6772952180016122},     {0.25, -1, 37, 74, 8.247482742767767},
    {0.25, 0, 37, 74, 1.964297435588181},       {0, -1, 40, 80, kPi / 2 + 2 * kPi},
    {0.25, 2 * kPi, 43, 66, 5.105890089177974}, {0.25, -5, 37, 74, 8.247482742767767},
    {3, 1, 43, 74, 0.9272952180016122 - 3},     {-1, -1, 37, 74, 3.214297435588181 + 2 * kPi},
    {0, kPi / 2, 43, 66, 5.355890089177974},    {0, 1.5, 43, 66, -0.9272952180016122}};

void PlayEndDrags(Checks& checks) {
    checks.Begin("an arc donut's end node sets the extent, and goes on turning the way it did");
    const ClassContract& figure = ClassNamed("ROIArcDonut");
    for (const EndDrag& drag : kEndDrags) {
        const Step steps[] = {{"SetCenter", {40, 70}},
                              {"SetLimits", {drag.start, drag.delta}},
                              {"SetNode", {7, drag.x, drag.y}},
                              {"GetLimits", {}, {drag.start, drag.then}}};
        TakeSteps(checks, figure, checks.module.New<IROI>(figure), steps);
    }
}

// What the two kinds of ring share, for one of them.
Scenarios RingScenarios(const char* className) {
    return {
        {"a ring is hit between its radii, ends included",
         className,
         {{"HitTest", {70, 50}, {1}},
          {"HitTest", {80, 50}, {1}},
          {"HitTest", {50, 70}, {1}},
          {"HitTest", {50, 20}, {1}},
          {"HitTest", {69, 50}, {0}, E_FAIL},
          {"HitTest", {81, 50}, {0}, E_FAIL}}},
        {"either ring may be the inner one",
         className,
         {{"SetRadius", {0, 30, 30}}, {"SetRadius", {5, 20, 20}}, {"HitTest", {50, 75}, {1}}}},
        {"the limits do not count in the hit test", className, {{"SetLimits", {0, 0.1}}, {"HitTest", {25, 50}, {1}}}},
        {"a ring of ellipses is hit by the products of its radii", className,
         After(kRing, {{"HitTest", {55, 74}, {1}},
                       {"HitTest", {60, 91.7}, {1}},
                       {"HitTest", {55, 72}, {0}, E_FAIL},
                       {"HitTest", {60, 91.8}, {0}, E_FAIL},
                       {"HitTest", {kNaN, 70}, {0}, E_FAIL},
                       {"SetRadius", {0, 36, 5}},
                       {"HitTest", {60, 80}, {0}, E_FAIL},
                       {"SetRadius", {0, 20, 10}},
                       {"SetRadius", {1, 20, 30}},
                       {"HitTest", {60, 80}, {1}}})},
        {"a ring's box is as wide as the wider ring and as high as the higher one", className,
         After(kRing, {{"GetBoundingSize", {}, {70, 50}},
                       {"GetBoundingRect", {}, {5, 45, 70, 50}},
                       {"SetRadius", {1, 35, 15}},
                       {"GetBoundingSize", {}, {70, 40}},
                       {"GetBoundingRect", {}, {5, 50, 70, 40}}})},
        {"a ring's box rounds its corner and its size half away from zero", className,
         After(kRing, {{"SetRadius", {1, 35.3, 25.2}},
                       {"GetBoundingRect", {}, {5, 45, 71, 50}},
                       {"SetRadius", {1, 35.25, 25.1}},
                       {"GetBoundingRect", {}, {5, 45, 71, 50}},
                       {"SetRadius", {0, 0, 0}},
                       {"SetRadius", {1, 0, 0}},
                       {"SetCenter", {-0.25, 10.5}},
                       {"GetBoundingRect", {}, {0, 11, 0, 0}},
                       {"SetCenter", {-0.5, 0}},
                       {"GetBoundingRect", {}, {-1, 0, 0, 0}},
                       {"SetCenter", {-2.5, -3.5}},
                       {"GetBoundingRect", {}, {-3, -4, 0, 0}}})},
        {"a ring's radii and limits are stored as given, the index 0 or not",
         className,
         {{"SetRadius", {5, -7, 9}},
          {"GetRadius", {1}, {-7, 9}},
          {"GetRadius", {-3}, {-7, 9}},
          {"SetRadius", {-3, 8, -9}},
          {"GetRadius", {1}, {8, -9}},
          {"GetRadius", {0}, {20, 20}},
          {"SetLimits", {-9, 40}},
          {"GetLimits", {}, {-9, 40}},
          {"SetLimits", {7, 0}}}},
        {"a mapped ring of ellipses", className,
         After(kRing, {{"Transform", {2, 0.5, -0.25, 3, 10, -5}},
                       {"GetCenter", {}, {125, 195}},
                       {"GetRadius", {0}, {24.186773244895647, 60.82762530298219}},
                       {"GetRadius", {1}, {70.54475529761231, 76.03453162872775}},
                       {"GetLimits", {}, {kStart, kPi / 2}}})},
        {"a ring's centre is mapped first, then the right end and the lower one of each ring", className,
         After(kRing, {{"Transform", kDriftMap},
                       {"GetCenter", {}, {40, 70}},
                       {"GetRadius", {0}, {112, std::hypot(200, 20)}},
                       {"GetRadius", {1}, {335, std::hypot(400, 25)}}})},
        {"a mapped ring's radii are distances, whatever their signs were", className,
         After(kRing, {{"SetRadius", {0, 12, -20}},
                       {"SetRadius", {1, -35, 25}},
                       {"Transform", kBentMap},
                       {"GetCenter", {}, {133, 174}},
                       {"GetRadius", {0}, {26.56990779058144, 66.48308055437865}},
                       {"GetRadius", {1}, {77.49556438919585, 93.98304368342195}}})}};
}

const Scenarios& DonutScenarios() {
    static const Scenarios kScenarios = {
        {"the nodes of a donut",
         "ROIDonut",
         {{"SetCenter", {40, 70}},
          {"GetNode", {2}, {60, 70}},
          {"GetNode", {3}, {40, 50}},
          {"GetNode", {4}, {70, 70}},
          {"GetNode", {5}, {40, 40}},
          {"GetNode", {7}, {kUntouched, kUntouched}},
          {"GetNode", {9}, {40, 70}}}},
        {"a ring's box rounds a size below one up",
         "ROIDonut",
         {{"SetRadius", {0, 0.375, 0.3}}, {"SetRadius", {1, 0.25, 0.125}}, {"GetBoundingRect", {}, {50, 50, 1, 1}}}},
        {"a donut's node sets one radius, or both",
         "ROIDonut",
         {{"SetNode", {kBothFlag + 2, 62, 99}},
          {"GetRadius", {0}, {12, 12}},
          {"SetNode", {0x105, 0, 10}},
          {"GetRadius", {1}, {30, 40}},
          {"GetNode", {8}, {kUntouched, kUntouched}},
          {"GetNode", {6}, {50, 50}},
          {"GetNode", {0x204}, {50, 50}},
          {"GetNode", {-1}, {50, 50}},
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
        {"an arc donut of ellipses has its nodes on them",
         "ROIArcDonut",
         {{"SetCenter", {40, 70}},
          {"SetRadius", {0, 10, 20}},
          {"SetRadius", {1, 30, 50}},
          {"SetLimits", {kStart, kPi / 2}},
          {"GetNode", {2}, {48, 82}},
          {"GetNode", {3}, {64, 100}},
          {"GetNode", {4}, {34, 86}},
          {"GetNode", {5}, {22, 110}},
          {"GetNode", {6}, {56, 91}},
          {"GetNode", {7}, {28, 98}},
          {"GetNode", {8}, {40, 70}},
          {"GetNode", {1}, {40, 70}},
          {"GetNode", {0x302}, {48, 82}},
          {"GetNode", {0x107}, {28, 98}},
          {"GetNode", {-1}, {40, 70}}}},
        // Directions are compared without wrapping: 3.1 and -3.1 are far apart.
        {"two edges to either side of the turn's end",
         "ROIArcDonut",
         {{"SetCenter", {40, 70}},
          {"SetRadius", {0, 10, 10}},
          {"SetRadius", {1, 30, 30}},
          {"SetLimits", {0.5, 2.6}},
          {"SetNode", {0x102, 76.31882835944398, 84.79857278245899}},
          {"GetCenter", {}, {-119.63686629745459, 76.64355232383457}},
          {"GetLimits", {}, {-3.1, -0.08318530717958605}}}},
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
        {"an arc donut's limits go along with its centre",
         "ROIArcDonut",
         {{"SetLimits", {-9, 40}}, {"SetNode", {1, 7, 8}}, {"GetLimits", {}, {-9, 40}}}},
        {"a corner with the flag defines the sector by its edges",
         "ROIArcDonut",
         {{"SetLimits", {0, kPi / 2}},
          {"SetNode", {0x104, 60, 70}},
          {"GetCenter", {}, {80, 50}},
          {"GetRadius", {0}, {10, 10}},
          {"GetRadius", {1}, {0, 0}}}}};
    return kScenarios;
}

}  // namespace

void CheckRounds(Checks& checks) {
    Play(checks, EllipseScenarios());
    PlayDrags(checks, "ROIEllipse", kEllipse, EllipseDrags());
    for (const char* className : {"ROIDonut", "ROIArcDonut"}) {
        Play(checks, RingScenarios(className));
    }
    Play(checks, DonutScenarios());
    PlayDrags(checks, "ROIDonut", kRing, DonutDrags());
    Play(checks, ArcDonutScenarios());
    PlayDrags(checks, "ROIArcDonut", kSector, SectorDrags());
    checks.Try([&] { PlayEndDrags(checks); });
}

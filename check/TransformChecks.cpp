// Mapping figures through transforms, by examples, and copying them.
#include <fmt/format.h>

#include "check/Groups.h"
#include "check/Scenario.h"
#include "contract/Numbers.h"

namespace {

// Six numbers a, b, c, d, dx, dy of x' = a x + b y + dx, y' = c x + d y + dy.
using Map = std::vector<double>;
const Map kMove = {1, 0, 0, 1, 10, 5};
const Map kStretch = {2, 0, 0, 3, 0, 0};
const Map kQuarterTurn = {0, -1, 1, 0, 100, 0};  // about (50, 50)

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> kScenarios = {
        {"a rectangle is moved",
         "ROIRectangle",
         {{"Transform", kMove}, {"GetCenter", {}, {60, 55}}, {"GetSize", {}, {50, 50}}, {"get_Roll", {}, {0}}}},
        {"a rectangle is stretched",
         "ROIRectangle",
         {{"Transform", kStretch}, {"GetCenter", {}, {100, 150}}, {"GetSize", {}, {100, 150}}}},
        {"a rectangle is turned",
         "ROIRectangle",
         {{"SetSize", {40, 20}},
          {"Transform", kQuarterTurn},
          {"GetSize", {}, {40, 20}},
          {"get_Roll", {}, {kPi / 2}},
          {"GetCenter", {}, {50, 50}}}},
        {"a mapped rectangle forgets its grip",
         "ROIRectangle",
         {{"GetCornerPoint", {10}, {62.5, 50}},
          {"SetSize", {10, 10}},
          {"GetCornerPoint", {10}, {62.5, 50}},
          {"Transform", {1, 0, 0, 1, 0, 0}},
          {"GetCornerPoint", {10}, {52.5, 50}}}},
        {"a mask is mapped as its rectangle",
         "ROIMask",
         {{"Transform", kStretch}, {"GetCenter", {}, {100, 150}}, {"GetSize", {}, {100, 150}}}},
        {"a mapped parallelogram keeps its shear",
         "ROIParallelogram",
         {{"put_Shear", {0.5, 0}}, {"Transform", kStretch}, {"GetSize", {}, {100, 150}}, {"get_Shear", {}, {0.5}}}},
        {"an ellipse stays upright",
         "ROIEllipse",
         {{"SetRadius", {30, 10}},
          {"Transform", kStretch},
          {"GetRadius", {}, {60, 30}},
          {"Transform", {0, -1, 1, 0, 0, 0}},
          {"GetRadius", {}, {60, 30}}}},
        {"a ring scales with its axes and keeps its limits",
         "ROIDonut",
         {{"SetLimits", {1, 2}},
          {"Transform", kStretch},
          {"GetRadius", {0}, {40, 60}},
          {"GetRadius", {1}, {60, 90}},
          {"GetLimits", {}, {1, 2}}}},
        {"an arc donut is moved",
         "ROIArcDonut",
         {{"Transform", kMove}, {"GetCenter", {}, {60, 55}}, {"GetRadius", {1}, {30, 30}}}},
        {"a profile's points and thicknesses scale",
         "ROIProfile",
         {{"AddPoint", {0, 0}},
          {"AddPoint", {10, 0}},
          {"SetUniformThickness", {2, 4}},
          {"Transform", {3, 0, 0, 3, 0, 0}},
          {"GetNodePoint", {1, 1}, {30, 0}},
          {"GetThickness", {1}, {2, 4}}}},
        {"an empty profile is mapped to nothing", "ROIProfile", {{"Transform", kMove}, {"GetNumberPoints", {}, {0}}}},
        {"a shape ignores transforms, null ones too",
         "ROIShape",
         {{"SetGeometry", {0, 0, 10, 20}}, {"Transform", kMove}, {"Transform"}, {"GetCenter", {}, {5, 10}}}}};
    return kScenarios;
}

void CheckNullTransform(Checks& checks, const ClassContract& figure) {
    if (std::string_view(figure.name) == "ROIShape") {
        return;
    }
    checks.Begin(fmt::format("{} refuses a null transform and stays as it was", figure.name));
    const auto roi = NewTypical(checks, figure);
    const std::vector<double> before = Observe(*roi, figure);
    checks.Code(roi->Transform(nullptr), E_INVALIDARG);
    if (figure.Answers("ITransformableObject")) {
        checks.Code(Require<ITransformableObject>(roi)->Transform(nullptr), E_INVALIDARG);
    }
    const std::vector<double> after = Observe(*roi, figure);
    checks.Expect(SameNumbers(after, before), NumbersText(before), NumbersText(after));
}

void CheckTransformable(Checks& checks, const ClassContract& figure) {
    if (!figure.Answers("ITransformableObject") || std::string_view(figure.name) == "ROIShape") {
        return;
    }
    checks.Begin(fmt::format("{} is mapped through ITransformableObject as through IROI", figure.name));
    const auto roi = NewTypical(checks, figure);
    const auto other = NewTypical(checks, figure);
    AffineMap map;
    map.a = 1.5;
    map.b = -0.25;
    map.dy = 7;
    checks.Code(Require<ITransformableObject>(roi)->Transform(&map), S_OK);
    checks.Code(other->Transform(&map), S_OK);
    checks.Expect(map.zWasZero, "a z of 0 for every point", "another");
    const std::vector<double> one = Observe(*roi, figure);
    const std::vector<double> two = Observe(*other, figure);
    checks.Expect(SameNumbers(one, two), NumbersText(two), NumbersText(one));
}

// A copy says what its original says, stands on its own, and outlives it.
void CheckCopy(Checks& checks, const ClassContract& figure) {
    const std::string_view name = figure.name;
    if (name == "ROIShape" || name == "ROIEllipse") {
        return;  // Neither gives one.
    }
    checks.Begin(fmt::format("a copy of {} equals it and is independent", figure.name));
    auto roi = NewTypical(checks, figure);
    SmartPtr<IUnknown> object;
    checks.Code(roi->Replicate(object.Receive()), S_OK);
    const auto copy = Require<IROI>(object);
    object.Reset();
    checks.Equal(copy->AddRef(), 2);
    checks.Equal(copy->Release(), 1);
    const std::vector<double> original = Observe(*roi, figure);
    checks.Code(roi->SetCenter(7, 8), S_OK);
    roi.Reset();
    const std::vector<double> copied = Observe(*copy, figure);
    checks.Expect(SameNumbers(copied, original), NumbersText(original), NumbersText(copied));
}

void CheckReplicable(Checks& checks, const ClassContract& figure) {
    if (!figure.Answers("IReplicableObject") || std::string_view(figure.name) == "ROIShape") {
        return;
    }
    checks.Begin(fmt::format("{} is copied through IReplicableObject too", figure.name));
    const auto roi = NewTypical(checks, figure);
    SmartPtr<IUnknown> object;
    checks.Code(Require<IReplicableObject>(roi)->Replicate(object.Receive()), S_OK);
    const auto copy = Require<IROI>(object);
    const std::vector<double> original = Observe(*roi, figure);
    const std::vector<double> copied = Observe(*copy, figure);
    checks.Expect(SameNumbers(copied, original), NumbersText(original), NumbersText(copied));
}

}  // namespace

void CheckTransforms(Checks& checks) {
    Play(checks, Scenarios());
    ForEachClass(checks, [&](const ClassContract& figure) {
        CheckNullTransform(checks, figure);
        CheckTransformable(checks, figure);
        CheckCopy(checks, figure);
        CheckReplicable(checks, figure);
    });
}

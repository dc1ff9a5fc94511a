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
          {"GetThickness", {0}, {6, 12}},
          {"SetThickness", {0, -2, 4}},
          {"Transform", {3, 0, 0, 3, 0, 0}},
          {"GetThickness", {0}, {-6, 12}}}},
        {"a rectangle's mapped grip is a quarter of its width again",
         "ROIRectangle",
         {{"SetCornerPoint", {10, 90, 50}},
          {"Transform", kStretch},
          {"read RollGripLength", {}, {0}},
          {"GetCornerPoint", {10}, {125, 150}}}},
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
    const Observations before = Observe(roi, figure);
    checks.Code(roi->Transform(nullptr), E_INVALIDARG);
    if (figure.Answers("ITransformableObject")) {
        checks.Code(Require<ITransformableObject>(roi)->Transform(nullptr), E_INVALIDARG);
    }
    const Observations after = Observe(roi, figure);
    ExpectSame(checks, figure, after, before);
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
    const Observations one = Observe(roi, figure);
    const Observations two = Observe(other, figure);
    ExpectSame(checks, figure, one, two);
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
    checks.Expect(object.Get() == copy.Get(), "the copy's IROI", "another of its interfaces");
    object.Reset();
    checks.Equal(copy->AddRef(), 2);
    checks.Equal(copy->Release(), 1);
    const Observations original = Observe(roi, figure);
    checks.Code(roi->SetCenter(7, 8), S_OK);
    checks.Equal(roi->Release(), 0);
    static_cast<void>(roi.Detach());
    const Observations copied = Observe(copy, figure);
    ExpectSame(checks, figure, copied, original);
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
    const Observations original = Observe(roi, figure);
    const Observations copied = Observe(copy, figure);
    ExpectSame(checks, figure, copied, original);
}

// What a copy keeps of a figure that was edited by all its operations, and what it leaves behind.
struct CopyRow {
    const char* className;
    std::vector<Step> setup;
    std::vector<Step> copied;
};
const std::vector<CopyRow>& CopyRows() {
    static const std::vector<CopyRow> kRows = {
        {"ROIRectangle",
         {{"set Width;Height;FixedAspect;RollGripLength", {60, 30, 2.5, 33}},
          {"put_Roll", {2 * kPi}},
          {"SetCenter", {0.1, -0.7}}},
         {{"GetSize", {}, {60, 24}},
          {"get_Roll", {}, {2 * kPi}},
          {"GetAspectRatio", {}, {2.5}},
          {"GetCenter", {}, {0.1, -0.7}},
          {"GetCornerPoint", {10}, {15.1, -0.7}}}},
        {"ROIMask",
         {{"SetAspectRatio", {2.5}}, {"SetSize", {60, 30}}, {"put_Roll", {7}}, {"SetMask", {7, 9, 0}}},
         {{"GetSize", {}, {60, 24}}, {"GetAspectRatio", {}, {2.5}}, {"get_Roll", {}, {7}}, {"GetMask", {}, {1}}}},
        {"ROIParallelogram",
         {{"press LockA", {1}},
          {"SetSize", {60, 40}},
          {"SetCornerPoint", {11, 20, 40}},
          {"put_Roll", {-7}},
          {"SetCenter", {5, 6}}},
         {{"GetSize", {}, {60, 40}},
          {"get_Shear", {}, {1.2490457723982544}},
          {"get_Roll", {}, {-7}},
          {"GetCenter", {}, {5, 6}},
          {"read LockA", {}, {0}},
          {"read RollGripLength", {}, {0}}}},
        {"ROIParallelogram", {{"SetCornerPoint", {11, 40, 51}}}, {{"get_Shear", {}, {1.5}}, {"GetSize", {}, {50, 50}}}},
        {"ROIArcDonut",
         {{"SetCenter", {5, 6}}, {"SetRadius", {0, 1, 2}}, {"SetRadius", {1, 3, 4}}, {"SetLimits", {7, -8}}},
         {{"GetCenter", {}, {5, 6}},
          {"GetRadius", {0}, {1, 2}},
          {"GetRadius", {1}, {3, 4}},
          {"GetLimits", {}, {7, -8}}}},
        {"ROIProfile",
         {{"AddPoint", {1, 2}}, {"AddPoint", {3, 5}}, {"SetThickness", {0, 4, 6}}, {"SetThickness", {1, 8, 9}}},
         {{"GetNumberPoints", {}, {2}},
          {"GetPoint", {0}, {1, 2, -0.5880026035475675, 4, 6}},
          {"GetThickness", {1}, {8, 9}}}}};
    return kRows;
}

void CheckCopyRow(Checks& checks, const CopyRow& row) {
    checks.Begin(fmt::format("a copy of {} takes what it is to take", row.className));
    const ClassContract& figure = ClassNamed(row.className);
    const auto roi = checks.module.New<IROI>(figure);
    TakeSteps(checks, figure, roi, row.setup);
    const auto copy = Require<IROI>(Call(*roi, figure.At("Replicate"), {}).object);
    TakeSteps(checks, figure, copy, row.copied);
}

}  // namespace

void CheckTransforms(Checks& checks) {
    Play(checks, Scenarios());
    for (const CopyRow& row : CopyRows()) {
        checks.Try([&] { CheckCopyRow(checks, row); });
    }
    ForEachClass(checks, [&](const ClassContract& figure) {
        CheckNullTransform(checks, figure);
        CheckTransformable(checks, figure);
        CheckCopy(checks, figure);
        CheckReplicable(checks, figure);
    });
}

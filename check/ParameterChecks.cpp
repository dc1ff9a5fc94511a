// Parameters: names, order, kinds and defaults of every list, the units of angles, and what setting does.
#include <fmt/format.h>

#include "check/FigureLists.h"
#include "check/Groups.h"
#include "check/Scenario.h"
#include "contract/Numbers.h"

namespace {

using Values = std::vector<NamedValue>;

struct Defaults {
    const char* className;
    Values values;
};

// Values, texts and whole numbers included, with their presentation kinds.
const std::vector<Defaults>& AllDefaults() {
    static const std::vector<Defaults> kDefaults = {
        {"ROIRectangle",
         {{"CenterX", 50.0},
          {"CenterY", 50.0},
          {"Width", 50.0},
          {"Height", 50.0},
          {"Angle", 0.0},
          {"FixedAspect", 0.0},
          {"RollGripLength", 0.0}}},
        {"ROIParallelogram",
         {{"CenterX", 50.0, 5},
          {"CenterY", 50.0, 5},
          {"Width", 50.0, 5},
          {"Height", 50.0, 5},
          {"A", 50.0, 0x4040005},
          {"B", 50.0, 0x4040005},
          {"Roll", 0.0, 5},
          {"Shear", 0.0, 0x8000005},
          {"LockA", 0, 0xC000013},
          {"RollGripLength", 0.0}}},
        {"ROIEllipse", {{"CenterX", 50.0}, {"CenterY", 50.0}, {"RadiusX", 30.0}, {"RadiusY", 30.0}}},
        {"ROIDonut",
         {{"CenterX", 50.0},
          {"CenterY", 50.0},
          {"RadiusX1", 20.0},
          {"RadiusY1", 20.0},
          {"RadiusX2", 30.0},
          {"RadiusY2", 30.0},
          {"StartAngle", 0.0},
          {"DeltaAngle", 360.0}}},
        {"ROIArcDonut",
         {{"CenterX", 50.0},
          {"CenterY", 50.0},
          {"Radius1X", 20.0},
          {"Radius1Y", 20.0},
          {"Radius2X", 30.0},
          {"Radius2Y", 30.0},
          {"StartAngle", 0.0},
          {"DeltaAngle", 360.0}}},
        {"ROIProfile",
         {{"Thickness1", 10.0, 5},
          {"Thickness2", 10.0, 5},
          {"Add Start", 0, 8},
          {"Add End", 0, 8},
          {"Remove Start", 0, 8},
          {"Remove End", 0, 8}}},
        {"ROIShape", {}}};
    return kDefaults;
}

void CheckDefaults(Checks& checks, const Defaults& defaults) {
    checks.Begin(fmt::format("{} lists its parameters in order with their defaults", defaults.className));
    const auto roi = checks.module.New<IROI>(ClassNamed(defaults.className));
    const Values values = ParametersOf(roi);
    checks.Equal(ParametersText(values), ParametersText(defaults.values));
    checks.Equal(static_cast<long>(values.size()), static_cast<long>(defaults.values.size()));
    for (std::size_t i = 0; i < std::min(values.size(), defaults.values.size()); ++i) {
        checks.Begin(fmt::format("{} gives {} as it is stored", defaults.className, defaults.values[i].name));
        checks.Equal(static_cast<long>(values[i].value.index()), static_cast<long>(defaults.values[i].value.index()));
    }
    const bool hasParameters = !defaults.values.empty();
    checks.Begin(fmt::format("{} {} a null list", defaults.className, hasParameters ? "refuses" : "ignores"));
    checks.Code(Require<IParametricObject>(roi)->SetParameters(nullptr), hasParameters ? E_INVALIDARG : S_OK);
}

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> kScenarios = {
        {"a rectangle's angle is in degrees in its list",
         "ROIRectangle",
         {{"put_Roll", {kPi / 2}}, {"read Angle", {}, {90}}, {"set Angle", {45}}, {"get_Roll", {}, {kPi / 4}}}},
        {"a rectangle without an angle in its list converts its roll once more",
         "ROIRectangle",
         {{"put_Roll", {1}}, {"set Width", {8}}, {"GetSize", {}, {8, 50}}, {"get_Roll", {}, {kPi / 180}}}},
        {"a fixed aspect from the list leaves the size alone",
         "ROIRectangle",
         {{"set FixedAspect", {2}}, {"GetSize", {}, {50, 50}}, {"GetAspectRatio", {}, {2}}}},
        {"a rectangle reads variants only", "ROIRectangle", {{"type Width=80"}, {"GetSize", {}, {50, 50}}}},
        {"a name that is not known changes nothing", "ROIEllipse", {{"set Radius", {9}}, {"GetRadius", {}, {30, 30}}}},
        {"an ellipse takes one radius alone",
         "ROIEllipse",
         {{"set RadiusY", {9}}, {"GetRadius", {}, {30, 9}}, {"GetCenter", {}, {50, 50}}}},
        {"a parallelogram's angles are in degrees in its list",
         "ROIParallelogram",
         {{"put_Roll", {kPi / 2}},
          {"put_Shear", {kPi / 4, 0}},
          {"read Roll", {}, {90}},
          {"read Shear", {}, {45}},
          {"read A", {}, {0}}}},
        {"a shear of a radian or more keeps side A", "ROIParallelogram", {{"set Shear", {60}}, {"get_A", {}, {50}}}},
        {"a smaller shear keeps the width", "ROIParallelogram", {{"set Shear", {45}}, {"GetSize", {}, {50, 50}}}},
        {"a shear is clamped", "ROIParallelogram", {{"set Shear", {120}}, {"get_Shear", {}, {1.5}}}},
        {"sides A and B are told, not taken",
         "ROIParallelogram",
         {{"set A", {10}}, {"set B", {10}}, {"GetSize", {}, {50, 50}}}},
        {"the lock of a parallelogram is kept", "ROIParallelogram", {{"press LockA", {1}}, {"read LockA", {}, {1}}}},
        {"a parallelogram's centre may be a text",
         "ROIParallelogram",
         {{"type CenterX=  -3.25mm"}, {"GetCenter", {}, {-3.25, 50}}, {"type Width=9"}, {"GetSize", {}, {50, 50}}}},
        {"a donut's limits are in degrees in its list",
         "ROIDonut",
         {{"set StartAngle", {90}}, {"GetLimits", {}, {kPi / 2, 2 * kPi}}, {"read StartAngle", {}, {90}}}},
        {"a donut reads texts as numbers",
         "ROIDonut",
         {{"type RadiusX1=#1F"},
          {"type RadiusY1=+7"},
          {"type RadiusX2= "},
          {"GetRadius", {0}, {31, 7}},
          {"GetRadius", {1}, {30, 30}}}},
        {"the two kinds of ring name their radii apart",
         "ROIArcDonut",
         {{"set RadiusX1", {9}}, {"GetRadius", {0}, {20, 20}}, {"set Radius1X", {9}}, {"GetRadius", {0}, {9, 20}}}},
        {"a profile's thicknesses apply to every point",
         "ROIProfile",
         {{"AddPoint", {0, 0}}, {"AddPoint", {10, 0}}, {"set Thickness1", {3}}, {"GetThickness", {1}, {20, 20}}}},
        {"Add Start lengthens a profile at its start",
         "ROIProfile",
         {{"AddPoint", {0, 0}},
          {"AddPoint", {10, 0}},
          {"press Add Start", {1}},
          {"GetNodePoint", {1, 0}, {-5, 0}},
          {"press Add End", {1}},
          {"GetNodePoint", {1, 3}, {15, 0}}}},
        {"adding to an empty profile inserts (-5, -5)",
         "ROIProfile",
         {{"press Add Start", {1}}, {"GetPoint", {0}, {-5, -5, -1000, 20, 20}}}},
        {"Remove Start and Remove End shorten a profile",
         "ROIProfile",
         {{"AddPoint", {0, 0}},
          {"AddPoint", {10, 0}},
          {"AddPoint", {20, 0}},
          {"press Remove Start", {1}},
          {"press Remove End", {1}},
          {"GetNumberPoints", {}, {1}},
          {"GetNodePoint", {1, 0}, {10, 0}}}}};
    return kScenarios;
}

// An angle for which the orders of multiplying and dividing differ in the last bits.
struct Conversion {
    const char* className;
    const char* parameter;
    double radians;
};
constexpr double kDegrees = 33.0;
constexpr Conversion kConversions[] = {{"ROIDonut", "StartAngle", (kDegrees / 180.0) * kPi},
                                       {"ROIArcDonut", "StartAngle", (kDegrees * kPi) / 180.0},
                                       {"ROIRectangle", "Angle", kPi* kDegrees / 180.0},
                                       {"ROIParallelogram", "Roll", kPi* kDegrees / 180.0}};

void CheckConversion(Checks& checks, const Conversion& conversion) {
    checks.Begin(fmt::format("{} converts degrees in its own order of operations", conversion.className));
    const ClassContract& figure = ClassNamed(conversion.className);
    const auto roi = checks.module.New<IROI>(figure);
    checks.Code(SetParametersOf(roi, {{conversion.parameter, kDegrees}}), S_OK);
    const char* getter = figure.Answers("IROIDonut") ? "GetLimits" : "get_Roll";
    const double radians = Call(*roi, figure.At(getter), {}).outputs[0];
    checks.Expect(radians == conversion.radians, NumbersText({&conversion.radians, 1}), NumbersText({&radians, 1}));
}

// A figure that is given its own list is as before.
void CheckOwnList(Checks& checks, const ClassContract& figure) {
    if (!figure.Answers("IParametricObject") || std::string_view(figure.name) == "ROIProfile") {
        return;
    }
    checks.Begin(fmt::format("{} takes its own list without a change", figure.name));
    const auto roi = NewTypical(checks, figure);
    const std::vector<double> before = Observe(*roi, figure);
    checks.Code(SetParametersOf(roi, ParametersOf(roi)), S_OK);
    const std::vector<double> after = Observe(*roi, figure);
    checks.Expect(SameNumbers(before, after), NumbersText(before), NumbersText(after));
}

}  // namespace

void CheckParameters(Checks& checks) {
    for (const Defaults& defaults : AllDefaults()) {
        checks.Try([&] { CheckDefaults(checks, defaults); });
    }
    Play(checks, Scenarios());
    for (const Conversion& conversion : kConversions) {
        checks.Try([&] { CheckConversion(checks, conversion); });
    }
    ForEachClass(checks, [&](const ClassContract& figure) { CheckOwnList(checks, figure); });
}

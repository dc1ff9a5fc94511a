// Parameters: names, order, kinds and defaults of every list, the units of angles, and what setting does.
#include <fmt/format.h>

#include <cmath>
#include <random>

#include "check/FigureLists.h"
#include "check/Groups.h"
#include "check/Scenario.h"
#include "check/StandIns.h"
#include "contract/Components.h"
#include "contract/NumberText.h"
#include "contract/Numbers.h"
#include "framework/support/Utf8.h"

namespace {

const double kNaN = std::nan("");

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
    checks.Begin(fmt::format("{} lists the same whatever the flags", defaults.className));
    checks.Equal(ParametersText(ParametersOf(roi, 7)), ParametersText(defaults.values));
    checks.Begin(fmt::format("{} takes no null list", defaults.className));
    const Result code = Require<IParametricObject>(roi)->SetParameters(nullptr);
    const bool mayIgnore = defaults.values.empty();
    checks.Expect(Failed(code) || (mayIgnore && code == S_OK), mayIgnore ? "a failure or S_OK" : "a failure",
                  CodeText(code));
}

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> kScenarios = {
        {"a rectangle's angle is in degrees in its list",
         "ROIRectangle",
         {{"put_Roll", {kPi / 2}},
          {"read Angle", {}, {90}},
          {"set Angle", {45}},
          {"get_Roll", {}, {kPi / 4}},
          {"put_Roll", {-7}},
          {"read Angle", {}, {-401.07045659157626}},
          {"set Angle", {900}},
          {"get_Roll", {}, {5 * kPi}}}},
        {"a rectangle without an angle in its list converts its roll once more",
         "ROIRectangle",
         {{"put_Roll", {1}}, {"set Width", {8}}, {"GetSize", {}, {8, 50}}, {"get_Roll", {}, {kPi / 180}}}},
        {"a fixed aspect from the list leaves the size alone",
         "ROIRectangle",
         {{"set FixedAspect", {2}},
          {"GetSize", {}, {50, 50}},
          {"GetAspectRatio", {}, {2}},
          {"set FixedAspect", {-2}},
          {"GetAspectRatio", {}, {-2}}}},
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
          {"read A", {}, {0}},
          {"put_Roll", {7}},
          {"read Roll", {}, {401.07045659157626}},
          {"SetCornerPoint", {11, 40, 51}},
          {"read Shear", {}, {(std::atan2(10, -1) + 7) * 180 / kPi}}}},
        {"a shear of a radian or more keeps side A", "ROIParallelogram", {{"set Shear", {60}}, {"get_A", {}, {50}}}},
        {"a smaller shear keeps the width", "ROIParallelogram", {{"set Shear", {45}}, {"GetSize", {}, {50, 50}}}},
        {"a shear of a radian or more keeps side A of the size that comes with it",
         "ROIParallelogram",
         {{"put_Shear", {std::atan(0.5), 0}},
          {"set Shear;Height;Width", {60, 30, 80}},
          {"get_A", {}, {65}},
          {"GetSize", {}, {65 + 30 * std::sqrt(3.0), 30}}}},
        {"a shear is clamped", "ROIParallelogram", {{"set Shear", {120}}, {"get_Shear", {}, {1.5}}}},
        {"a shear of 65536 radians counts as none in sixteen bits",
         "ROIParallelogram",
         {{"set Shear", {3754940}}, {"get_Shear", {}, {1.5}}, {"GetSize", {}, {50, 50}}}},
        {"sides A and B are told, not taken",
         "ROIParallelogram",
         {{"set A", {10}}, {"set B", {10}}, {"GetSize", {}, {50, 50}}}},
        {"the lock of a parallelogram is kept",
         "ROIParallelogram",
         {{"press LockA", {1}}, {"read LockA", {}, {1}}, {"set Width", {8}}, {"read LockA", {}, {1}}}},
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
         {{"set RadiusX1;RadiusY1;RadiusX2;RadiusY2", {6, 7, 8, 9}},
          {"GetRadius", {0}, {20, 20}},
          {"GetRadius", {1}, {30, 30}},
          {"set Radius1X", {9}},
          {"GetRadius", {0}, {9, 20}}}},
        {"a donut does not know the names of an arc donut",
         "ROIDonut",
         {{"set Radius1X;Radius1Y;Radius2X;Radius2Y", {6, 7, 8, 9}},
          {"GetRadius", {0}, {20, 20}},
          {"GetRadius", {1}, {30, 30}}}},
        {"a rectangle takes its grip's length from the list",
         "ROIRectangle",
         {{"set RollGripLength", {33}}, {"GetCornerPoint", {10}, {83, 50}}, {"read RollGripLength", {}, {33}}}},
        {"a rectangle takes one value alone, and each into its own field",
         "ROIRectangle",
         {{"set Height", {8}},
          {"GetSize", {}, {50, 8}},
          {"set CenterY", {7}},
          {"GetCenter", {}, {50, 7}},
          {"set CenterX;Width", {9, -3}},
          {"GetCenter", {}, {9, 7}},
          {"GetSize", {}, {-3, 8}}}},
        {"a rectangle reads no texts",
         "ROIRectangle",
         {{"type CenterX=1;CenterY=2;Height=3;Angle=4;FixedAspect=5;RollGripLength=6"},
          {"GetCenter", {}, {50, 50}},
          {"GetSize", {}, {50, 50}},
          {"get_Roll", {}, {0}},
          {"GetAspectRatio", {}, {0}},
          {"read RollGripLength", {}, {0}}}},
        {"an ellipse reads no texts",
         "ROIEllipse",
         {{"type CenterX=1;CenterY=2;RadiusX=3;RadiusY=4"}, {"GetCenter", {}, {50, 50}}, {"GetRadius", {}, {30, 30}}}},
        {"an ellipse takes each value into its own field",
         "ROIEllipse",
         {{"set CenterX;CenterY;RadiusX;RadiusY", {1, 2, -3, -4}},
          {"GetCenter", {}, {1, 2}},
          {"GetRadius", {}, {-3, -4}}}},
        {"a parallelogram reads texts for its centre alone",
         "ROIParallelogram",
         {{"put_Shear", {0.5, 0}},
          {"type CenterY=9;Height=1;Roll=2;Shear=3;LockA=1;RollGripLength=6"},
          {"GetCenter", {}, {50, 9}},
          {"GetSize", {}, {50, 50}},
          {"get_Roll", {}, {0}},
          {"get_Shear", {}, {0}},
          {"read LockA", {}, {0}},
          {"read RollGripLength", {}, {0}}}},
        {"a parallelogram without a roll in its list converts it once more, and keeps its shear",
         "ROIParallelogram",
         {{"put_Roll", {1}},
          {"put_Shear", {0.5, 0}},
          {"set Height", {8}},
          {"get_Roll", {}, {kPi / 180}},
          {"get_Shear", {}, {0.5}},
          {"GetSize", {}, {50, 8}}}},
        {"a parallelogram takes its grip's length from the list",
         "ROIParallelogram",
         {{"set RollGripLength", {33}}, {"GetCornerPoint", {10}, {83, 50}}}},
        {"a parallelogram lists its sides and keeps side A by its shear alone",
         "ROIParallelogram",
         {{"SetSize", {60, 40}},
          {"set Shear", {45}},
          {"read A", {}, {20}},
          {"read B", {}, {56.568542494923804}},
          {"press LockA", {1}},
          {"set Shear", {30}},
          {"GetSize", {}, {60, 40}},
          {"set Shear", {-58}},
          {"get_A", {}, {60 - 23.094010767585033}},
          {"set Shear", {57}},
          {"GetSize", {}, {60 - 23.094010767585033 - 64.01338116164203, 40}}}},
        {"a lock is sixteen bits wide, with a sign",
         "ROIParallelogram",
         {{"press LockA", {65537}},
          {"read LockA", {}, {1}},
          {"press LockA", {40000}},
          {"read LockA", {}, {-25536}},
          {"set LockA", {3}},
          {"read LockA", {}, {3}},
          {"press LockA", {65536}},
          {"read LockA", {}, {0}}}},
        {"a ring takes each value into its own field",
         "ROIDonut",
         {{"set CenterX;CenterY;RadiusX1;RadiusY1;RadiusX2;RadiusY2", {1, 2, 5, -6, -3, 4}},
          {"GetCenter", {}, {1, 2}},
          {"GetRadius", {0}, {5, -6}},
          {"GetRadius", {1}, {-3, 4}},
          {"GetLimits", {}, {0, 2 * kPi}},
          {"set DeltaAngle", {-90}},
          {"GetLimits", {}, {kAnything, -kPi / 2}},
          {"set StartAngle;DeltaAngle", {-900, 450}},
          {"GetLimits", {}, {-5 * kPi, 2.5 * kPi}},
          {"read StartAngle", {}, {-900}},
          {"read DeltaAngle", {}, {450}},
          {"type RadiusY2=7;CenterY=8"},
          {"GetRadius", {1}, {-3, 7}},
          {"GetCenter", {}, {1, 8}}}},
        {"an arc donut takes each value into its own field",
         "ROIArcDonut",
         {{"set CenterX;CenterY;Radius1X;Radius1Y;Radius2X;Radius2Y", {1, 2, 5, -6, -3, 4}},
          {"GetCenter", {}, {1, 2}},
          {"GetRadius", {0}, {5, -6}},
          {"GetRadius", {1}, {-3, 4}},
          {"type Radius1X=7;Radius2X=8;StartAngle=900;DeltaAngle=-450"},
          {"GetRadius", {0}, {7, -6}},
          {"GetRadius", {1}, {8, 4}},
          {"GetLimits", {}, {5 * kPi, -2.5 * kPi}},
          {"read StartAngle", {}, {900}},
          {"read DeltaAngle", {}, {-450}}}},
        {"a profile lists the thicknesses of its first point",
         "ROIProfile",
         {{"AddPoint", {1, 2}},
          {"AddPoint", {3, 5}},
          {"SetThickness", {0, 4, 6}},
          {"SetThickness", {1, 8, 9}},
          {"read Thickness1", {}, {4}},
          {"read Thickness2", {}, {6}}}},
        {"a profile's thicknesses apply together or not at all",
         "ROIProfile",
         {{"AddPoint", {1, 2}},
          {"AddPoint", {3, 5}},
          {"set Thickness1;Thickness2", {3, 5}},
          {"GetThickness", {0}, {3, 5}},
          {"GetThickness", {1}, {3, 5}},
          {"set Thickness2", {7}},
          {"GetThickness", {1}, {3, 5}},
          {"set Thickness1;Thickness2", {9, 0}},
          {"GetThickness", {1}, {3, 5}},
          {"set Thickness1;Thickness2", {kNaN, 2}},
          {"GetThickness", {0}, {kNaN, 2}},
          {"type Thickness1=-2.5;Thickness2=-7"},
          {"GetThickness", {1}, {-2.5, -7}}}},
        {"actions lengthen a bent profile along its own ends",
         "ROIProfile",
         {{"AddPoint", {10, 20}},
          {"AddPoint", {40, 60}},
          {"AddPoint", {100, 70}},
          {"SetThickness", {0, 2, 3}},
          {"SetThickness", {1, 4, 5}},
          {"SetThickness", {2, 6, 7}},
          {"type Add Start=1"},
          {"GetNodePoint", {1, 0}, {-5, 0}},
          {"GetThickness", {0}, {2, 3}},
          {"press Add End", {-2}},
          {"GetNodePoint", {1, 4}, {130, 75}},
          {"GetThickness", {4}, {6, 7}},
          {"type Add End=0"},
          {"GetNumberPoints", {}, {5}},
          {"press Add Start;Add End;Remove Start;Remove End", {1, 1, 1, 1}},
          {"GetNumberPoints", {}, {5}},
          {"GetNodePoint", {1, 0}, {-5, 0}},
          {"GetNodePoint", {1, 4}, {130, 75}}}},
        {"actions lengthen before they shorten, and thicknesses come last",
         "ROIProfile",
         {{"AddPoint", {10, 20}},
          {"AddPoint", {40, 60}},
          {"AddPoint", {100, 70}},
          {"press Add Start;Add End;Remove Start;Remove End", {1, 1, 1, 1}},
          {"GetNodePoint", {1, 0}, {10, 20}},
          {"GetNodePoint", {1, 2}, {100, 70}},
          {"press Remove End", {-1}},
          {"GetNumberPoints", {}, {2}},
          {"type Add End=1;Remove Start=1"},
          {"GetNodePoint", {1, 0}, {40, 60}},
          {"GetNodePoint", {1, 1}, {55, 80}},
          {"type Remove End=1;Remove Start=1"},
          {"press Add Start;Thickness1;Thickness2", {1, 3, 5}},
          {"GetThickness", {0}, {3, 5}},
          {"SetPoint", {0, 30, 40}},
          {"press Add Start;Add End", {1, 1}},
          {"GetNodePoint", {1, 0}, {-5, -5}},
          {"GetNodePoint", {1, 2}, {47.5, 62.5}}}},
        {"actions on a single point know nothing of it",
         "ROIProfile",
         {{"AddPoint", {30, 40}},
          {"press Add End", {1}},
          {"GetNodePoint", {1, 1}, {-5, -5}},
          {"press Remove Start", {1}},
          {"GetNodePoint", {1, 0}, {-5, -5}},
          {"press Add Start;Thickness1", {1, 3}},
          {"GetThickness", {0}, {20, 20}}}},
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
        {"shortening an empty profile counts on below zero at its start alone",
         "ROIProfile",
         {{"press Remove End", {1}},
          {"GetNumberPoints", {}, {0}},
          {"press Remove Start", {1}},
          {"GetNumberPoints", {}, {-1}}}},
        {"a single point is removed from the start before the end is looked for",
         "ROIProfile",
         {{"AddPoint", {3, 4}}, {"press Remove Start;Remove End", {1, 1}}, {"GetNumberPoints", {}, {0}}}},
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

// An angle for which the orders of multiplying and dividing differ in the last bits, and what reads it.
struct Conversion {
    const char* className;
    const char* parameter;
    const char* setter;
    const char* getter;
    std::size_t position;
    double radians;
};
constexpr double kDegrees = 33.5;
constexpr double kDividedFirst = (kDegrees / 180.0) * kPi;
constexpr double kMultipliedFirst = (kDegrees * kPi) / 180.0;
constexpr Conversion kConversions[] = {{"ROIDonut", "StartAngle", "SetLimits", "GetLimits", 0, kDividedFirst},
                                       {"ROIDonut", "DeltaAngle", "SetLimits", "GetLimits", 1, kDividedFirst},
                                       {"ROIArcDonut", "StartAngle", "SetLimits", "GetLimits", 0, kMultipliedFirst},
                                       {"ROIArcDonut", "DeltaAngle", "SetLimits", "GetLimits", 1, kMultipliedFirst},
                                       {"ROIRectangle", "Angle", "put_Roll", "get_Roll", 0, kMultipliedFirst},
                                       {"ROIParallelogram", "Roll", "put_Roll", "get_Roll", 0, kMultipliedFirst},
                                       {"ROIParallelogram", "Shear", "put_Shear", "get_Shear", 0, kMultipliedFirst}};
static_assert(kDividedFirst != kMultipliedFirst && kMultipliedFirst != kDegrees * (kPi / 180.0));

constexpr double kRadians = 1.1;
constexpr double kRadiansAsDegrees = 180.0 * kRadians / kPi;
static_assert(kRadiansAsDegrees != kRadians / kPi * 180.0 && kRadiansAsDegrees != kRadians * (180.0 / kPi));

void CheckConversion(Checks& checks, const Conversion& conversion) {
    checks.Begin(
        fmt::format("{} converts {} in its own order of operations", conversion.className, conversion.parameter));
    const ClassContract& figure = ClassNamed(conversion.className);
    const auto roi = checks.module.New<IROI>(figure);
    checks.Code(SetParametersOf(roi, {{conversion.parameter, kDegrees}}), S_OK);
    checks.Bits(Call(*roi, figure.At(conversion.getter), {}).outputs[conversion.position], conversion.radians);
    checks.Begin(
        fmt::format("{} lists {} as 180 times its radians, divided by pi", conversion.className, conversion.parameter));
    std::vector<double> arguments(2, 0.0);
    arguments[conversion.position] = kRadians;
    Call(*roi, figure.At(conversion.setter), arguments);
    const std::string read = fmt::format("read {}", conversion.parameter);
    checks.Bits(Take(figure, roi, {read.c_str()}).outputs[0], kRadiansAsDegrees);
}

// What texts read as, where numbers are wanted.
struct Reading {
    const wchar_t* text;
    double value;
};
constexpr Reading kReadings[] = {{L"  -3.25", -3.25},
                                 {L"#1F", 31},
                                 {L"#aBcG", 0xABC},
                                 {L"#", 0},
                                 {L"#-5", 0},
                                 {L"-#5", 0},
                                 {L"+7", 7},
                                 {L"12.5mm", 12.5},
                                 {L"abc", 0},
                                 {L".5", 0.5},
                                 {L"-.5", -0.5},
                                 {L"5.", 5},
                                 {L"5.mm", 5},
                                 {L"1.2.3", 1.2},
                                 {L"1,5", 1},
                                 {L"1e5", 1},
                                 {L"1E5", 1},
                                 {L"--5", 0},
                                 {L"+-5", 0},
                                 {L"- 5", 0},
                                 {L"7 8", 7},
                                 {L"\t\n\x01\x7F 8", 8},
                                 {L"00012", 12},
                                 {L"1234567890123", 1234567890123},
                                 {L"0.1234567891", 0.1234567891},
                                 {L"0.3", 3.0 / 10},
                                 {L"1.14", 1 + 14.0 / 100},  // not the double nearest to 1.14
                                 {L"1'000", 1},
                                 {L"0x1F", 0},
                                 {L"#abcdefABCDEF", 0xABCDEFABCDEF},
                                 {L"\x00E9 5", 0},  // no blank in any locale
                                 {L"# 5", 0},
                                 {L"50%", 50},
                                 {L"5-", 5},
                                 {L".", 0},
                                 {L"-", 0},
                                 {L"+", 0},
                                 {L"+#1F", 0},
                                 {L"1_000", 1},
                                 {L"1\x0664", 1},  // a digit in another script
                                 {L"0.0000000000000000019", 1e-18}};

SmartPtr<IString> StringOf(const std::string& name) {
    const std::wstring wide(name.begin(), name.end());
    return CreateStringOf(Text(wide));
}

// Gives one text to all parameters of a ring, and expects its list to tell one number for it everywhere, to the last
// bit but where angles go through radians.
void ExpectReading(Checks& checks, const SmartPtr<IROI>& roi, tagREFString text, double value) {
    const auto list = MakeList({});
    const Values names = ParametersOf(roi);
    for (const NamedValue& entry : names) {
        list->Add(StringOf(entry.name).Get(), CreateStringOf(text).Get(), 0, 0);
    }
    checks.Code(Require<IParametricObject>(roi)->SetParameters(list.Get()), S_OK);
    for (const NamedValue& entry : ParametersOf(roi)) {
        const double read = std::get<double>(entry.value);
        const double slack = entry.name.ends_with("Angle") ? 1e-15 * std::abs(value) : 0.0;
        checks.Expect(std::abs(read - value) <= slack, fmt::format("{} of {}", value, entry.name),
                      fmt::format("{}", read));
    }
}

// A text of pieces as people, programs and other countries write numbers with. It is so short that every number in it
// is exact in whichever way it is added up.
constexpr int kComposedReadings = 200;
std::wstring ComposedText(std::mt19937& random) {
    constexpr std::wstring_view kPieces[] = {L" ", L"\t", L"+", L"-", L".",  L".", L"#", L"0", L"7", L"42", L"90",
                                             L"8", L"a",  L"F", L"e", L"E5", L"x", L",", L"'", L"%", L"_",  L"\x0663"};
    std::wstring text;
    for (std::size_t pieces = 1 + random() % 5; pieces > 0; --pieces) {
        text += kPieces[random() % std::size(kPieces)];
    }
    return text;
}

void CheckReadings(Checks& checks, const char* className) {
    SmartPtr<IROI> roi;
    for (const Reading& reading : kReadings) {
        roi = checks.module.New<IROI>(ClassNamed(className));
        const std::wstring text = reading.text;
        checks.Begin(fmt::format("{} reads '{}' as a number", className, ToUtf8(Text(text))));
        ExpectReading(checks, roi, Text(text), reading.value);
    }
    for (const std::wstring blank : {L"", L"  ", L" \t\r\n\x01"}) {
        checks.Begin(fmt::format("{} keeps its values where a text is blank", className));
        ExpectReading(checks, roi, Text(blank), kReadings[std::size(kReadings) - 1].value);
    }
    std::mt19937 random(1);  // The same texts each time.
    for (int i = 0; i < kComposedReadings; ++i) {
        const std::wstring text = ComposedText(random);
        roi = checks.module.New<IROI>(ClassNamed(className));
        double value = 0.0;
        if (TextToNumber(Text(text), &value)) {
            checks.Begin(fmt::format("{} reads '{}' as a number", className, ToUtf8(Text(text))));
            ExpectReading(checks, roi, Text(text), value);
        }
    }
}

// A string whose text goes on behind its length.
class LongerText final : public Lent<IString> {
  public:
    Result GetText(const wchar_t** text, int* length) noexcept override {
        *text = L"123";
        *length = 2;
        return S_OK;
    }
    Result SetText(int, const wchar_t*) noexcept override { return E_FAIL; }
    Result Append(int, const wchar_t*) noexcept override { return E_FAIL; }
};

void CheckTextLength(Checks& checks) {
    checks.Begin("a text ends where its length says, and is given back");
    const ClassContract& figure = ClassNamed("ROIDonut");
    const auto roi = checks.module.New<IROI>(figure);
    LongerText text;
    {
        const auto list = MakeList({});
        list->Add(CreateStringOf(Text(L"CenterX")).Get(), &text, 0, 0);
        list->Add(CreateStringOf(Text(L"CenterY")).Get(), MakeList({}).Get(), 0, 0);  // no number at all
        checks.Code(Require<IParametricObject>(roi)->SetParameters(list.Get()), S_OK);
    }
    checks.Equal(text.references, 1);
    const Step steps[] = {{"GetCenter", {}, {12, 50}}};
    TakeSteps(checks, figure, roi, steps);
}

// A variant that is a text too, and tells another number for each way to read it.
class ManyNumbers final : public Lent<IVariant, IString> {
  public:
    int kind = 0;

    int GetKind() noexcept override { return kind; }
    double GetDouble() noexcept override { return 2.5; }
    int GetInteger() noexcept override { return 7; }
    Result SetInteger(int) noexcept override { return E_FAIL; }
    Result SetDouble(double) noexcept override { return E_FAIL; }
    Result GetObject(IUnknown**) noexcept override { return E_FAIL; }
    int HasString() noexcept override { return 0; }
    Result GetString(IUnknown**) noexcept override { return E_FAIL; }
    Result GetText(const wchar_t** text, int* length) noexcept override {
        *text = L"9";
        *length = 1;
        return S_OK;
    }
    Result SetText(int, const wchar_t*) noexcept override { return E_FAIL; }
    Result Append(int, const wchar_t*) noexcept override { return E_FAIL; }
};

double NumberIn(const NamedValue& entry) {
    const double* number = std::get_if<double>(&entry.value);
    return number != nullptr ? *number : std::get<int>(entry.value);
}

// A value that is told and not taken.
bool IsShown(const NamedValue& entry) noexcept { return entry.presentationKind == 0x4040005; }

void CheckVariantsFirst(Checks& checks, const Defaults& defaults) {
    for (const int kind : {0, 1, 2}) {
        checks.Begin(fmt::format("{} asks a variant of kind {} for what it needs", defaults.className, kind));
        const auto roi = checks.module.New<IROI>(ClassNamed(defaults.className));
        ManyNumbers item;
        item.kind = kind;
        {
            const auto list = MakeList({});
            for (const NamedValue& entry : defaults.values) {
                list->Add(StringOf(entry.name).Get(), static_cast<IVariant*>(&item), 0, 0);
            }
            checks.Code(Require<IParametricObject>(roi)->SetParameters(list.Get()), S_OK);
        }
        checks.Equal(item.references, 1);
        for (const NamedValue& entry : ParametersOf(roi)) {
            const double wanted = std::holds_alternative<double>(entry.value) ? 2.5 : 7.0;
            const double read = NumberIn(entry);
            checks.Expect(IsShown(entry) || SameNumber(read, wanted),
                          fmt::format("{} of 2.5, or 7 of a whole number", entry.name), fmt::format("{}", read));
        }
    }
}

// Each value of a list given alone changes nothing else, but what is only shown. Without its angle a box would convert
// its roll once more, so that stays 0.
void CheckOneByOne(Checks& checks, const Defaults& defaults) {
    const auto roi = checks.module.New<IROI>(ClassNamed(defaults.className));
    Values values = defaults.values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (auto* number = std::get_if<double>(&values[i].value)) {
            *number = values[i].name == "Angle" || values[i].name == "Roll" ? 0.0 : 50.0 - 5.0 * static_cast<double>(i);
        }
    }
    SetParametersOf(roi, values);
    for (NamedValue& value : values) {
        if (IsShown(value) || NumberIn(value) == 0.0) {
            continue;
        }
        checks.Begin(fmt::format("{} given alone changes nothing else of {}", value.name, defaults.className));
        value.value = NumberIn(value) + 1.5;
        checks.Code(SetParametersOf(roi, {value}), S_OK);
        for (std::size_t i = 0; const NamedValue& entry : ParametersOf(roi)) {
            const double wanted = NumberIn(values[i++]);
            checks.Expect(IsShown(entry) || SameNumber(NumberIn(entry), wanted),
                          fmt::format("{} of {}", entry.name, wanted), fmt::format("{}", NumberIn(entry)));
        }
    }
}

// A figure that is given its own list is as before.
void CheckOwnList(Checks& checks, const ClassContract& figure) {
    if (!figure.Answers("IParametricObject") || std::string_view(figure.name) == "ROIProfile") {
        return;
    }
    checks.Begin(fmt::format("{} takes its own list without a change", figure.name));
    const auto roi = NewTypical(checks, figure);
    const Observations before = Observe(roi, figure);
    checks.Code(SetParametersOf(roi, ParametersOf(roi)), S_OK);
    const Observations after = Observe(roi, figure);
    ExpectSame(checks, figure, after, before);
}

}  // namespace

void CheckParameters(Checks& checks) {
    for (const Defaults& defaults : AllDefaults()) {
        checks.Try([&] { CheckDefaults(checks, defaults); });
        if (std::string_view(defaults.className) != "ROIProfile") {  // Its numbers are actions.
            checks.Try([&] { CheckVariantsFirst(checks, defaults); });
            checks.Try([&] { CheckOneByOne(checks, defaults); });
        }
    }
    Play(checks, Scenarios());
    for (const Conversion& conversion : kConversions) {
        checks.Try([&] { CheckConversion(checks, conversion); });
    }
    for (const char* className : {"ROIDonut", "ROIArcDonut"}) {
        checks.Try([&] { CheckReadings(checks, className); });
    }
    checks.Try([&] { CheckTextLength(checks); });
    ForEachClass(checks, [&](const ClassContract& figure) { CheckOwnList(checks, figure); });
}

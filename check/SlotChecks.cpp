// Every operation of every interface, called by its number. The steps of a class visit all its slots,
// each with an effect or an answer that no neighbouring slot has.
#include <fmt/format.h>

#include <cmath>

#include "check/Groups.h"
#include "check/Scenario.h"
#include "contract/Numbers.h"

namespace {

constexpr double kQuarter = kPi / 2;

using Steps = std::vector<Step>;

// Slots 3 to 10 on a figure at (50, 50) of a known bounding size, moved by (20, 30) and back.
Steps BaseSteps(double width, double height, Step copy, Step mask, std::vector<double> box) {
    return {{"GetBoundingSize", {}, {width, height}},
            {"SetCenter", {70, 80}},
            {"GetCenter", {}, {70, 80}},
            {"Transform", {}, {}, E_INVALIDARG},
            {"Transform", {1, 0, 0, 1, -20, -30}},
            {"GetCenter", {}, {50, 50}},
            std::move(copy),
            std::move(mask),
            {"HitTest", {1e6, 50}, {0}, E_FAIL},
            {"GetBoundingRect", {}, std::move(box)}};
}

const Step kCopies = {"Replicate", {}, {1}};
const Step kNullMask = {"GetMask", {}, {0}};
const Step kMasks = {"GetMask", {}, {1}};
const Step kNoMask = {"GetMask", {}, {kUntouched}, E_NOTIMPL};

Steps RectangleSteps() {
    return {{"SetSize", {40, 20}},
            {"GetSize", {}, {40, 20}},
            {"put_Roll", {kQuarter}},
            {"get_Roll", {}, {kQuarter}},
            {"GetCornerPoint", {2}, {60, 30}},
            {"GetCornerPointI", {6}, {60, 50}},
            {"SetCornerPoint", {7 + 0x100, 0, 65}},
            {"GetSize", {}, {30, 20}},
            {"SetAspectRatio", {3}},
            {"GetSize", {}, {30, 10}},
            {"GetAspectRatio", {}, {3}}};
}

Steps ParallelogramSteps() {
    return {{"SetSize", {40, 20}},
            {"GetSize", {}, {40, 20}},
            {"put_Shear", {std::atan(0.5), 0}},
            {"get_A", {}, {30}},
            {"get_B", {}, {std::sqrt(500.0)}},
            {"put_A", {50}},
            {"GetSize", {}, {60, 20}},
            {"put_B", {std::sqrt(2000.0)}},
            {"GetSize", {}, {60, 40}},
            {"put_Roll", {kPi}},
            {"get_Roll", {}, {kPi}},
            {"get_Shear", {}, {std::atan(0.5)}},
            {"put_Shear", {0, 1}},
            {"GetSize", {}, {40, 40}},
            {"GetCornerPoint", {2}, {70, 70}},
            {"SetCornerPoint", {2, 80, 80}},
            {"GetSize", {}, {50, 50}}};
}

Steps EllipseSteps() {
    return {{"SetRadius", {7, 9}},
            {"GetRadius", {}, {7, 9}},
            {"GetNode", {3}, {50, 41}},
            {"SetNode", {2, 60, 0}},
            {"GetRadius", {}, {10, 9}}};
}

Steps DonutSteps() {
    return {{"SetRadius", {1, 7, 9}}, {"GetRadius", {1}, {7, 9}}, {"GetRadius", {0}, {20, 20}},
            {"SetNode", {2, 55, 50}}, {"GetNode", {2}, {55, 50}}, {"SetLimits", {1, 2}},
            {"GetLimits", {}, {1, 2}}};
}

Steps ProfileStart() { return {{"AddPoint", {40, 50}}, {"InsertPoint", {5, 60, 50}}, {"SetUniformThickness", {4, 4}}}; }
Steps ProfileSteps() {
    return {{"SetThickness", {1, 6, 7}},
            {"GetThickness", {1}, {6, 7}},
            {"SetPoint", {1, 80, 50}},
            {"GetPoint", {1}, {80, 50, std::atan2(-40.0, 0.0), 6, 7}},
            {"Fit", {1, 1}},
            {"GetNodePoint", {6, 0}, {60, 50}},
            {"SetNodePoint", {2, 0, 1, 1}, {}, E_NOTIMPL},
            {"GetNodePointI", {1, 1}, {80, 50}},
            {"RemovePoint", {0}},
            {"GetNumberPoints", {}, {1}}};
}

Steps ShapeSteps() {
    return {{"SetGeometry", {10.75, 20.25, 3.25, 5.75}},
            {"GetBoundingSize", {}, {7.5, 14.5}},
            {"GetCenter", {}, {7, 13}},
            {"SetCenter", {1, 2}},
            {"Transform", {2, 0, 0, 2, 0, 0}},
            {"GetCenter", {}, {7, 13}},
            {"Replicate", {}, {kUntouched}},
            {"GetMask", {}, {kUntouched}},
            {"HitTest", {7, 13}, {kUntouched}, E_FAIL},
            {"GetBoundingRect", {}, {3, 5, 8, 15}},
            {"SetGeometry"},
            {"GetCenter", {}, {0, 0}, E_FAIL},
            {"GetBoundingRect", {}, {0, 0, 0, 0}, E_FAIL}};
}

struct ClassSteps {
    const char* className;
    std::vector<Steps> parts;
};

std::vector<ClassSteps> AllSteps() {
    const Steps box = BaseSteps(50, 50, kCopies, kNullMask, {25, 25, 51, 51});
    const Steps ring = BaseSteps(60, 60, kCopies, kMasks, {20, 20, 60, 60});
    return {{"ROIRectangle", {box, RectangleSteps()}},
            {"ROIMask",
             {BaseSteps(50, 50, kCopies, {"GetMask", {}, {0}, E_FAIL}, {25, 25, 51, 51}),
              RectangleSteps(),
              {{"SetMask", {20, 30, 5}}, {"GetMask", {}, {1}}, {"GetBoundingRect", {}, {45, 35, 20, 30}}}}},
            {"ROIParallelogram",
             {BaseSteps(50, 50, kCopies, {"GetMask", {}, {kUntouched}}, {25, 25, 51, 51}), ParallelogramSteps()}},
            {"ROIEllipse",
             {BaseSteps(30, 30, {"Replicate", {}, {kUntouched}, E_NOINTERFACE}, kNoMask, {35, 35, 30, 30}),
              EllipseSteps()}},
            {"ROIDonut", {ring, DonutSteps(), {{"GetNode", {0x102}, {50, 50}}}}},
            {"ROIArcDonut", {ring, {{"GetNode", {0x106}, {75, 50}}}, DonutSteps()}},
            {"ROIProfile", {ProfileStart(), BaseSteps(20, 8, kCopies, kNoMask, {40, 46, 21, 9}), ProfileSteps()}},
            {"ROIShape", {ShapeSteps()}}};
}

// The steps with each one's slot as its sentence.
void TakeBySlot(Checks& checks, const ClassContract& figure, const SmartPtr<IROI>& roi, const Steps& steps) {
    for (const Step& step : steps) {
        checks.Begin(fmt::format("slot {} of {} is {}", figure.At(step.operation).slot, figure.name, step.operation));
        TakeSteps(checks, figure, roi, std::span(&step, 1));
    }
}

// Outputs that may be null may be so one by one.
void CheckLoneOutputs(Checks& checks) {
    checks.Begin("GetPoint of ROIProfile writes each output without the others");
    const auto profile = Require<IROIProfile>(NewTypical(checks, ClassNamed("ROIProfile")));
    const double wanted[] = {35.25, 18, std::atan2(10 - 60.5, 44 - 20), 2.5, 6};
    for (std::size_t i = 0; i < std::size(wanted); ++i) {
        double value = kUntouched;
        double* outputs[std::size(wanted)] = {};
        outputs[i] = &value;
        checks.Code(profile->GetPoint(1, outputs[0], outputs[1], outputs[2], outputs[3], outputs[4]), S_OK);
        checks.Expect(SameNumber(value, wanted[i]), std::to_string(wanted[i]), std::to_string(value));
    }
    for (const char* className : {"ROIDonut", "ROIArcDonut"}) {
        checks.Begin(fmt::format("GetLimits of {} writes each output without the other", className));
        const auto ring = Require<IROIArcDonut>(NewTypical(checks, ClassNamed(className)));
        double start = kUntouched;
        double delta = kUntouched;
        checks.Code(ring->GetLimits(&start, nullptr), S_OK);
        checks.Code(ring->GetLimits(nullptr, &delta), S_OK);
        checks.Expect(start == 0.5 && delta == -1.25, "0.5 and -1.25", fmt::format("{} and {}", start, delta));
    }
}

}  // namespace

void CheckSlots(Checks& checks) {
    checks.Try([&] { CheckLoneOutputs(checks); });
    for (const ClassSteps& entry : AllSteps()) {
        checks.Begin(std::string(entry.className) + " is created");
        checks.Try([&] {
            const ClassContract& figure = ClassNamed(entry.className);
            const auto roi = checks.module.New<IROI>(figure);
            for (const Steps& steps : entry.parts) {
                TakeBySlot(checks, figure, roi, steps);
            }
        });
    }
}

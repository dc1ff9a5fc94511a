// Mask images: which figures give one, when it is a new one, and that it agrees with the hit test.
#include <fmt/format.h>

#include <array>
#include <cmath>

#include "check/Groups.h"
#include "check/Scenario.h"
#include "contract/Extensions.h"
#include "contract/Numbers.h"

namespace {

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> kScenarios = {
        {"a rectangle without a roll has a null mask", "ROIRectangle", {{"GetMask", {}, {0}}}},
        {"a rectangle's mask begins at a roll of 0.0001",
         "ROIRectangle",
         {{"put_Roll", {0.00009}}, {"GetMask", {}, {0}}, {"put_Roll", {0.0001}}, {"GetMask", {}, {1}}}},
        {"a mask has the image that it was given",
         "ROIMask",
         {{"GetMask", {}, {0}, E_FAIL},
          {"SetMask", {20, 30, 0}},
          {"GetMask", {}, {1}},
          {"GetBoundingRect", {}, {25, 25, 20, 30}},
          {"SetMask"},
          {"GetMask", {}, {0}, E_FAIL},
          {"GetBoundingRect", {}, {25, 25, 51, 51}}}},
        {"a parallelogram writes no mask", "ROIParallelogram", {{"put_Roll", {1}}, {"GetMask", {}, {kUntouched}}}},
        {"a shape writes no mask", "ROIShape", {{"GetMask", {}, {kUntouched}}}},
        {"an ellipse has no mask", "ROIEllipse", {{"GetMask", {}, {kUntouched}, E_NOTIMPL}}},
        {"a profile has no mask", "ROIProfile", {{"GetMask", {}, {kUntouched}, E_NOTIMPL}}},
        {"a ring of no width has no mask",
         "ROIDonut",
         {{"SetRadius", {0, 0.25, 9}}, {"SetRadius", {1, 0.25, 9}}, {"GetMask", {}, {0}, E_FAIL}}}};
    return kScenarios;
}

// Which step makes a ring draw its mask anew.
struct CacheStep {
    Step step;
    bool drawsAnew;
};
const std::vector<CacheStep>& CacheSteps() {
    static const std::vector<CacheStep> kSteps = {
        {{"GetCenter"}, false},           {{"SetCenter", {60, 61}}, false},
        {{"SetLimits", {1, 2}}, false},   {{"SetRadius", {0, 21, 22}}, true},
        {{"SetNode", {2, 85, 61}}, true}, {{"Transform", {1, 0, 0, 1, 0, 0}}, true}};
    return kSteps;
}

void CheckCache(Checks& checks, const char* className) {
    const ClassContract& figure = ClassNamed(className);
    const auto roi = checks.module.New<IROI>(figure);
    SmartPtr<IUnknown> mask = Call(*roi, figure.At("GetMask"), {}).object;
    for (const CacheStep& entry : CacheSteps()) {
        checks.Begin(
            fmt::format("{} of {} {} the mask", entry.step.operation, className, entry.drawsAnew ? "renews" : "keeps"));
        Call(*roi, figure.At(entry.step.operation), entry.step.arguments);
        SmartPtr<IUnknown> now = Call(*roi, figure.At("GetMask"), {}).object;
        checks.Expect((now.Get() != mask.Get()) == entry.drawsAnew, entry.drawsAnew ? "a new image" : "the same image",
                      entry.drawsAnew ? "the same image" : "a new image");
        mask = std::move(now);
    }
}

// The pixels of an image, with no more asked of it than where they lie.
class MaskPixels {
  public:
    explicit MaskPixels(const SmartPtr<IUnknown>& mask) : m_image(Require<ICIF>(mask)), m_pixels(PixelsOf(*m_image)) {
        if (!m_pixels.AreBytes()) {
            throw CheckFailed{"a mask of one plane of 8 bits", fmt::format("{} of {}", m_pixels.planes, m_pixels.bits)};
        }
    }

    int Width() const noexcept { return m_pixels.width; }
    int Height() const noexcept { return m_pixels.height; }
    int At(int x, int y) const noexcept { return m_pixels.data[static_cast<std::ptrdiff_t>(y) * m_pixels.stride + x]; }

  private:
    SmartPtr<ICIF> m_image;
    ImagePixels m_pixels;
};

// Whether the hit test gives one answer at a point and all around it.
bool IsClear(IROI& roi, double x, double y, double margin, Result hit) {
    for (int k = 0; k < 8; ++k) {
        const double angle = k * kPi / 4;
        if (roi.HitTest(x + margin * std::cos(angle), y + margin * std::sin(angle), nullptr) != hit) {
            return false;
        }
    }
    return true;
}

// How the pixels away from the outline compare.
struct Comparison {
    std::array<int, 2> clear = {};  // outside and inside
    int wrong = 0;
    std::string first;
};

// Drawn outlines are not exact, so pixels near them are left out.
Comparison Compare(IROI& roi, const MaskPixels& mask, double left, double top, double margin) {
    Comparison comparison;
    for (int j = 0; j < mask.Height(); ++j) {
        for (int i = 0; i < mask.Width(); ++i) {
            const Result hit = roi.HitTest(left + i, top + j, nullptr);
            if (!IsClear(roi, left + i, top + j, margin, hit)) {
                continue;
            }
            ++comparison.clear[hit == S_OK ? 1 : 0];
            if (mask.At(i, j) != (hit == S_OK ? 255 : 0) && comparison.wrong++ == 0) {
                comparison.first = fmt::format("{} at ({}, {})", mask.At(i, j), left + i, top + j);
            }
        }
    }
    return comparison;
}

void CompareWithHitTest(Checks& checks, const ClassContract& figure, const SmartPtr<IROI>& roi, double margin) {
    const Answer answer = Call(*roi, figure.At("GetMask"), {});
    checks.Code(answer.code, S_OK);
    const MaskPixels mask(answer.object);
    const Answer box = Call(*roi, figure.At("GetBoundingRect"), {});
    checks.Equal(mask.Width(), static_cast<long>(box.outputs[2]));
    checks.Equal(mask.Height(), static_cast<long>(box.outputs[3]));
    const Comparison comparison = Compare(*roi, mask, box.outputs[0], box.outputs[1], margin);
    checks.Expect(comparison.clear[0] > 100 && comparison.clear[1] > 100, "pixels inside and outside", "too few");
    checks.Expect(comparison.wrong == 0, "255 inside and 0 outside",
                  fmt::format("{} wrong pixels, the first {}", comparison.wrong, comparison.first));
}

void CheckRectangleMask(Checks& checks, double roll) {
    checks.Begin(fmt::format("the mask of a rectangle rolled by {} agrees with the hit test", roll));
    const ClassContract& figure = ClassNamed("ROIRectangle");
    const auto roi = checks.module.New<IROI>(figure);
    const Step steps[] = {
        {"SetCenter", {40.3, -12.6}}, {"SetSize", {61.5, roll < 0 ? -33.0 : 33.0}}, {"put_Roll", {roll}}};
    TakeSteps(checks, figure, roi, steps);
    CompareWithHitTest(checks, figure, roi, 1.5);
}

void CheckRingMask(Checks& checks, const char* className, double radius0, double radius1) {
    checks.Begin(fmt::format("the mask of {} of {} and {} agrees with the hit test", className, radius0, radius1));
    const ClassContract& figure = ClassNamed(className);
    const auto roi = checks.module.New<IROI>(figure);
    const Step steps[] = {{"SetCenter", {70.4, 33.7}},
                          {"SetRadius", {0, radius0, radius0}},
                          {"SetRadius", {1, radius1, radius1}},
                          {"SetLimits", {0, 1.5}}};
    TakeSteps(checks, figure, roi, steps);
    CompareWithHitTest(checks, figure, roi, 2.5);
}

}  // namespace

void CheckMasks(Checks& checks) {
    Play(checks, Scenarios());
    for (const double roll : {0.3, -0.7, 1.2, 2.5, 3.0}) {
        checks.Try([&] { CheckRectangleMask(checks, roll); });
    }
    for (const char* className : {"ROIDonut", "ROIArcDonut"}) {
        checks.Begin(fmt::format("{} keeps its mask", className));
        checks.Try([&] { CheckCache(checks, className); });
        for (const auto& radii : {std::pair(20.0, 30.0), {44.6, 31.2}, {12.0, 50.5}}) {
            checks.Try([&] { CheckRingMask(checks, className, radii.first, radii.second); });
        }
    }
}

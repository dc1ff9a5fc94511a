// Mask images: which figures give one, when it is a new one, and that it agrees with the hit test.
#include <fmt/format.h>

#include <array>
#include <cmath>

#include "check/Groups.h"
#include "check/Scenario.h"
#include "check/Streams.h"
#include "contract/Extensions.h"
#include "contract/Numbers.h"

namespace {

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> kScenarios = {
        {"a rectangle without a roll has a null mask",
         "ROIRectangle",
         {{"GetMask", {}, {0}},
          {"SetSize", {-50, 20}},
          {"GetMask", {}, {0}},
          {"SetSize", {0, 0}},
          {"GetMask", {}, {0}}}},
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
         {{"SetRadius", {0, 0.25, 9}},
          {"SetRadius", {1, 0.7, 9}},
          {"GetMask", {}, {0}, E_FAIL},
          {"SetRadius", {1, 0.75, 9}},
          {"GetMask", {}, {1}}}},
        {"a ring of no height has no mask",
         "ROIArcDonut",
         {{"SetRadius", {0, 9, 0.25}},
          {"SetRadius", {1, 9, 0.7}},
          {"GetMask", {}, {0}, E_FAIL},
          {"SetRadius", {1, 9, 0.75}},
          {"GetMask", {}, {1}}}},
        {"negative radii do no harm",
         "ROIArcDonut",
         {{"SetRadius", {0, -9, -9}}, {"SetRadius", {1, -9, -9}}, {"HitTest", {50, 50}, {0}, E_FAIL}}},
        {"a mask's image does not follow its rectangle",
         "ROIMask",
         {{"SetMask", {20, 30, 7}},
          {"SetCornerPoint", {4, 100, 80}},
          {"GetSize", {}, {75, 55}},
          {"GetBoundingRect", {}, {25, 25, 20, 30}},
          {"put_Roll", {1}},
          {"Transform", {2, 0, 0, 3, 0, 0}},
          {"Transform", {}, {}, E_INVALIDARG},
          {"GetMask", {}, {1}}}}};
    return kScenarios;
}

// Which step makes a ring draw its mask anew.
struct CacheStep {
    Step step;
    bool drawsAnew;
};
const std::vector<CacheStep>& CacheSteps() {
    static const std::vector<CacheStep> kSteps = {{{"GetCenter"}, false},
                                                  {{"SetCenter", {60, 61}}, false},
                                                  {{"SetLimits", {1, -2}}, false},
                                                  {{"set CenterX;StartAngle", {45, 30}}, false},
                                                  {{"SetRadius", {0, 21, 22}}, true},
                                                  {{"SetRadius", {0, 21, 25}}, true},
                                                  {{"SetRadius", {0, 21, 25}}, true},
                                                  {{"SetRadius", {1, 31, 32}}, true},
                                                  {{"SetNode", {2, 85, 61}}, true},
                                                  {{"SetNode", {8, 85, 61}}, true},
                                                  {{"Transform", {1, 0, 0, 1, 0, 0}}, true},
                                                  {{"Transform"}, false},
                                                  {{"SetNode", {1, 60, 61}}, true},
                                                  {{"SetNode", {0x105, 60, 61}}, true},
                                                  {{"HitTest", {70, 61}}, false}};
    return kSteps;
}

void CheckCache(Checks& checks, const char* className) {
    const ClassContract& figure = ClassNamed(className);
    const auto roi = checks.module.New<IROI>(figure);
    SmartPtr<IUnknown> mask = Call(*roi, figure.At("GetMask"), {}).object;
    for (const CacheStep& entry : CacheSteps()) {
        checks.Begin(
            fmt::format("{} of {} {} the mask", entry.step.operation, className, entry.drawsAnew ? "renews" : "keeps"));
        Take(figure, roi, entry.step);
        SmartPtr<IUnknown> now = Call(*roi, figure.At("GetMask"), {}).object;
        checks.Expect((now.Get() != mask.Get()) == entry.drawsAnew, entry.drawsAnew ? "a new image" : "the same image",
                      entry.drawsAnew ? "the same image" : "a new image");
        mask = std::move(now);
    }
    checks.Begin(fmt::format("Load of {} keeps the mask, and so do all questions", className));
    Observe(roi, figure);
    roi->HitTest(70, 61, nullptr);
    const Storage storage;
    checks.Code(Require<IDataPersist>(roi)->Save(storage.Folder().Get(), 0), S_OK);
    checks.Code(Require<IDataPersist>(roi)->Load(storage.Folder().Get(), 0), S_OK);
    checks.Expect(Call(*roi, figure.At("GetMask"), {}).object.Get() == mask.Get(), "the same image", "a new image");
    checks.Begin(fmt::format("a copy of {} draws a mask of its own", className));
    const auto copy = Require<IROI>(Call(*roi, figure.At("Replicate"), {}).object);
    checks.Expect(Call(*copy, figure.At("GetMask"), {}).object.Get() != mask.Get(), "a new image", "the same image");
}

// The pixels of an image, with no more asked of it than where they lie.
class MaskPixels {
  public:
    explicit MaskPixels(const SmartPtr<IUnknown>& mask) : m_pixels(Require<IPixels>(mask)) {
        int planes = 0;
        int bits = 0;
        int extra = 0;
        const auto image = Require<ICIF>(mask);
        if (m_pixels->GetPixels(&m_data, &m_stride, &planes, &bits) != S_OK || planes != 1 || bits != 8 ||
            image->GetSize(&m_width, &m_height, &extra) != S_OK) {
            throw CheckFailed{"a mask of one plane of 8 bits", fmt::format("{} of {}", planes, bits)};
        }
    }

    int Width() const noexcept { return m_width; }
    int Height() const noexcept { return m_height; }
    int At(int x, int y) const noexcept { return m_data[static_cast<std::ptrdiff_t>(y) * m_stride + x]; }

  private:
    SmartPtr<IPixels> m_pixels;
    unsigned char* m_data = nullptr;
    int m_stride = 0;
    int m_width = 0;
    int m_height = 0;
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

void CheckRectangleMask(Checks& checks, double width, double height, double roll) {
    checks.Begin(
        fmt::format("the mask of a rectangle of {} by {} rolled by {} agrees with the hit test", width, height, roll));
    const ClassContract& figure = ClassNamed("ROIRectangle");
    const auto roi = checks.module.New<IROI>(figure);
    const Step steps[] = {{"SetCenter", {40.3, -12.6}}, {"SetSize", {width, height}}, {"put_Roll", {roll}}};
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

// A pixel, relative to the middle of the image, and its value. Rings are drawn as ellipses, though they are hit as
// circles.
struct Pixel {
    int x, y, value;
};
constexpr Pixel kEllipses[] = {{25, 0, 255},   {-25, 0, 255}, {0, 25, 255},    {0, -25, 255}, {20, 18, 255},
                               {-20, 18, 255}, {6, 0, 0},     {0, 15, 0},      {5, 10, 0},    {37, 15, 0},
                               {-37, -15, 0},  {0, 0, 0},     {-25, -15, 255}, {30, -25, 0}};

void CheckEllipses(Checks& checks, const char* className) {
    checks.Begin(fmt::format("the mask of {} of ellipses has them about its middle", className));
    const ClassContract& figure = ClassNamed(className);
    const auto roi = checks.module.New<IROI>(figure);
    const Step steps[] = {{"SetCenter", {70.25, 33.5}}, {"SetRadius", {0, 10, 20}}, {"SetRadius", {1, 40.2, 30.1}}};
    TakeSteps(checks, figure, roi, steps);
    const MaskPixels mask(Call(*roi, figure.At("GetMask"), {}).object);
    checks.Equal(mask.Width(), 80);
    checks.Equal(mask.Height(), 60);
    for (const Pixel& pixel : kEllipses) {
        const int value = mask.At(mask.Width() / 2 + pixel.x, mask.Height() / 2 + pixel.y);
        checks.Expect(value == pixel.value, fmt::format("{} at ({}, {})", pixel.value, pixel.x, pixel.y),
                      std::to_string(value));
    }
}

}  // namespace

void CheckMasks(Checks& checks) {
    Play(checks, Scenarios());
    checks.Try([&] { CheckRectangleMask(checks, 61.5, 33, 0.3); });
    checks.Try([&] { CheckRectangleMask(checks, 61.5, -33, -0.7); });
    checks.Try([&] { CheckRectangleMask(checks, 20.5, 80, 2.5); });
    checks.Try([&] { CheckRectangleMask(checks, 200, 6, 3.0); });
    for (const char* className : {"ROIDonut", "ROIArcDonut"}) {
        checks.Begin(fmt::format("{} keeps its mask", className));
        checks.Try([&] { CheckCache(checks, className); });
        checks.Try([&] { CheckEllipses(checks, className); });
        for (const auto& radii : {std::pair(20.0, 30.0), {44.6, 31.2}, {12.0, 50.5}}) {
            checks.Try([&] { CheckRingMask(checks, className, radii.first, radii.second); });
        }
    }
}

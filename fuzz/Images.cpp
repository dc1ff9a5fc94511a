// Images and drawing with arguments of any value, against a plain copy of the pixels, and the masks that
// figures of any geometry draw.
#include <cmath>

#include <opencv2/core.hpp>

#include "contract/Extensions.h"
#include "fuzz/Target.h"

namespace {

// Images are compared pixel by pixel, so they stay small; what is refused may be any size.
constexpr std::int64_t kLargestHere = 1 << 14;
constexpr std::int64_t kLargestImage = std::int64_t{1} << 30;

// The pixels of an image as a matrix over its memory; empty when it has none.
cv::Mat Over(ICIF& image) noexcept {
    const ImagePixels pixels = PixelsOf(image);
    REQUIRE(pixels.data == nullptr || (pixels.AreBytes() && pixels.stride >= pixels.width));
    return {pixels.height, pixels.width, CV_8UC1, pixels.data, static_cast<std::size_t>(pixels.stride)};
}

bool AreEqual(const cv::Mat& a, const cv::Mat& b) noexcept {
    return a.size() == b.size() && (a.empty() || cv::norm(a, b, cv::NORM_INF) == 0.0);
}

// Every pixel is as it was or has the drawing value.
bool IsDrawnOver(const cv::Mat& before, const cv::Mat& after, int value) noexcept {
    return before.size() == after.size() &&
           std::equal(before.begin<std::uint8_t>(), before.end<std::uint8_t>(), after.begin<std::uint8_t>(),
                      [value](std::uint8_t was, std::uint8_t is) { return is == was || is == value; });
}

// What a fill has to do, pixel by pixel.
void PlainFill(cv::Mat& image, cv::Point seed, std::uint8_t value) {
    std::vector<cv::Point> open = {seed};
    while (!open.empty()) {
        const cv::Point at = open.back();
        open.pop_back();
        if (!cv::Rect({0, 0}, image.size()).contains(at) || image.at<std::uint8_t>(at) == value) {
            continue;
        }
        image.at<std::uint8_t>(at) = value;
        for (const cv::Point step : {cv::Point{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
            open.push_back(at + step);
        }
    }
}

class Drawing {
  public:
    explicit Drawing(Input& input) : m_input(input) {}

    void Step() {
        const cv::Mat before = Over(*m_image).clone();
        switch (m_input.Below(8)) {
            case 0:
                Create(before);
                break;
            case 1:
                Fill(before);
                break;
            case 2:
                Attach();
                break;
            case 3:
                SetColor();
                break;
            case 4:
                FloodFill(before);
                break;
            case 5:
                CheckDrawn(before, DrawArc());
                break;
            default:
                CheckDrawn(before, DrawLine());
        }
    }

  private:
    void Create(const cv::Mat& before) {
        const int width = m_input.Integer();
        const int height = m_input.Integer();
        const std::int64_t area = std::int64_t{width} * height;
        const bool possible = width > 0 && height > 0 && area <= kLargestImage;
        const int planes = m_input.Below(16) == 1 ? m_input.Integer() : 1;
        if (possible && area > kLargestHere && planes == 1) {
            return;
        }
        const Result code = m_image->Create(width, height, planes, 8, kFormatMono);
        REQUIRE(code == (possible && planes == 1 ? S_OK : E_INVALIDARG));
        const cv::Mat now = Over(*m_image);
        REQUIRE(code == S_OK ? now.size() == cv::Size(width, height) && cv::countNonZero(now) == 0
                             : AreEqual(now, before));
    }

    void Fill(const cv::Mat& before) {
        const int value = m_input.Integer();
        const Result code = m_image->Fill(value);
        REQUIRE(code == (before.empty() ? E_FAIL : S_OK));
        const cv::Mat now = Over(*m_image);
        REQUIRE(before.empty() || cv::countNonZero(now != std::clamp(value, 0, 255)) == 0);
    }

    void Attach() {
        if (m_input.Flag()) {
            REQUIRE(m_graphics->Attach(m_image.Get()) == S_OK);
            m_attached = true;
        } else {
            // Nothing is attached then: an object of another kind is no image.
            REQUIRE(m_graphics->Attach(nullptr) == E_INVALIDARG);
            m_attached = false;
        }
    }

    void SetColor() {
        const int value = m_input.Integer();
        const bool possible = value >= 0 && value <= 255;
        REQUIRE(m_graphics->SetColor(value) == (possible ? S_OK : E_INVALIDARG));
        m_value = possible ? value : m_value;
    }

    void FloodFill(const cv::Mat& before) {
        const cv::Point seed(m_input.Integer(), m_input.Integer());
        const Result code = m_graphics->FloodFill(seed.x, seed.y, 0);
        const bool inside = m_attached && cv::Rect({0, 0}, before.size()).contains(seed);
        REQUIRE(code == (inside ? S_OK : E_FAIL));
        cv::Mat expected = before.clone();
        if (inside) {
            PlainFill(expected, seed, static_cast<std::uint8_t>(m_value));
        }
        REQUIRE(AreEqual(Over(*m_image), expected));
    }

    Result DrawLine() {
        const float from[] = {m_input.Single(), m_input.Single()};
        const float to[] = {m_input.Single(), m_input.Single()};
        const Result code = m_graphics->Line(from[0], from[1], to[0], to[1]);
        for (const auto& end : {from, to}) {
            const cv::Mat now = Over(*m_image);
            const double x = std::floor(end[0] + 0.5);
            const double y = std::floor(end[1] + 0.5);
            if (code == S_OK && x >= 0 && y >= 0 && x < now.cols && y < now.rows) {
                REQUIRE(now.at<std::uint8_t>(static_cast<int>(y), static_cast<int>(x)) == m_value);
            }
        }
        return code;
    }

    Result DrawArc() {
        const float a[] = {m_input.Single(), m_input.Single(), m_input.Single(),
                           m_input.Single(), m_input.Single(), m_input.Single()};
        return m_graphics->Arc(a[0], a[1], a[2], a[3], a[4], a[5], -1);
    }

    void CheckDrawn(const cv::Mat& before, Result code) {
        const cv::Mat now = Over(*m_image);
        REQUIRE(code == S_OK || code == E_FAIL || code == E_INVALIDARG);
        REQUIRE(code == S_OK ? m_attached && IsDrawnOver(before, now, m_value) : AreEqual(before, now));
    }

    Input& m_input;
    SmartPtr<ICIF> m_image = CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS"));
    SmartPtr<ICIFGraphics> m_graphics = CreateComponent<ICIFGraphics>(Text(L"CIFGraphics"));
    bool m_attached = false;
    int m_value = 255;
};

// A figure that draws its mask, in any geometry whose box is small or refused.
void DrawMask(Input& input) {
    static constexpr const char* kClasses[] = {"ROIRectangle", "ROIDonut", "ROIArcDonut"};
    const auto figure = Modules().Create("figure", kClasses[input.Below(3)]).roi;
    const double x = input.Number();
    REQUIRE(figure->SetCenter(x, input.Number()) == S_OK);
    if (const auto rectangle = SmartPtr<IROIRectangle>::QueryFrom(figure.Get())) {
        const double width = input.Number();
        rectangle->SetSize(width, input.Number());
        rectangle->put_Roll(input.Number());
    }
    if (const auto ring = SmartPtr<IROIDonut>::QueryFrom(figure.Get())) {
        const double radii[] = {input.Number(), input.Number(), input.Number(), input.Number()};
        ring->SetRadius(0, radii[0], radii[1]);
        ring->SetRadius(1, radii[2], radii[3]);
    }
    int left = 0;
    int top = 0;
    unsigned width = 0;
    unsigned height = 0;
    REQUIRE(figure->GetBoundingRect(&left, &top, &width, &height) == S_OK);
    const std::uint64_t area = std::uint64_t{width} * height;
    if (area > 1u << 20 && area <= static_cast<std::uint64_t>(kLargestImage)) {
        return;
    }
    SmartPtr<ICIF> mask;
    const Result code = figure->GetMask(mask.Receive());
    REQUIRE(code == S_OK || (code == E_FAIL && !mask));
    const cv::Mat pixels = mask ? Over(*mask) : cv::Mat();
    if (!pixels.empty()) {
        REQUIRE(pixels.size() == cv::Size(static_cast<int>(width), static_cast<int>(height)));
        REQUIRE(cv::countNonZero(pixels) == cv::countNonZero(pixels == 255));
    }
    const auto holder = CreateComponent<IROIMask>(Text(L"ROIMask"));
    REQUIRE(holder->SetMask(mask.Get(), 0) == S_OK);
    SmartPtr<ICIF> held;
    REQUIRE(holder->GetMask(held.Receive()) == (mask ? S_OK : E_FAIL) && held.Get() == mask.Get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    Input input(data, size);
    if (input.Flag()) {
        DrawMask(input);
        return 0;
    }
    Drawing drawing(input);
    for (int i = 0; i < 200 && !input.AtEnd(); ++i) {
        drawing.Step();
    }
    return 0;
}

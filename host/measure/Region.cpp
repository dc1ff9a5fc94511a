#include "host/measure/Region.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "contract/Extensions.h"
#include "contract/Numbers.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

// A mask of more pixels is not asked for: the figure is hit-tested where the image is.
constexpr std::int64_t kMaxMaskPixels = std::int64_t{1} << 28;
// Coordinates up to here become integers without a thought.
constexpr double kMaxCoordinate = 1 << 29;
// How far around the field hits are looked for: more than a holding box is wider than its figure.
constexpr int kRing = 2;

// ---------------------------------------------------------------------------------------------------
// Boxes that surely hold a figure

struct Box {
    double left, top, right, bottom;

    // A pixel wider than the class says, so that rounding cannot leave a pixel of the figure outside.
    explicit Box(const HitBox& box) noexcept
        : left(box.left - 1.0), top(box.top - 1.0), right(box.right + 1.0), bottom(box.bottom + 1.0) {}

    // False for NaN as well.
    bool IsValid() const noexcept { return left <= right && top <= bottom; }
    bool IsModest() const noexcept {
        return left >= -kMaxCoordinate && top >= -kMaxCoordinate && right <= kMaxCoordinate && bottom <= kMaxCoordinate;
    }
    // The pixels inside; the box must be modest.
    cv::Rect Pixels() const noexcept {
        const cv::Point first(ToInt32(std::ceil(left)), ToInt32(std::ceil(top)));
        const cv::Point last(ToInt32(std::floor(right)), ToInt32(std::floor(bottom)));
        return {first, last + cv::Point(1, 1)};
    }
};

Box Union(const std::vector<Box>& boxes) noexcept {
    Box all = boxes.front();
    for (const Box& box : boxes) {
        all.left = std::min(all.left, box.left);
        all.top = std::min(all.top, box.top);
        all.right = std::max(all.right, box.right);
        all.bottom = std::max(all.bottom, box.bottom);
    }
    return all;
}

// Boxes that hold everything a figure's HitTest accepts. Nothing when the figure has no extent or is not a number
// somewhere.
std::vector<Box> HoldingBoxes(const Figure& figure) {
    std::vector<Box> boxes;
    for (const HitBox& box : figure.type->hitBoxes(*figure.roi)) {
        if (const Box wider(box); wider.IsValid()) {
            boxes.push_back(wider);
        }
    }
    return boxes;
}

// ---------------------------------------------------------------------------------------------------
// The sector of an arc donut

class Sector {
  public:
    // The sector that `figure` is to be cut by: the whole plane unless a cut of an arc donut is asked for.
    Sector(const Figure& figure, Cut cut) {
        // The plain donut answers IROIArcDonut as well; only its name tells it apart.
        const auto donut = SmartPtr<IROIArcDonut>::QueryFrom(figure.roi.Get());
        if (cut == Cut::none || !donut || figure.type->name != std::string_view("ROIArcDonut")) {
            return;
        }
        double start = 0.0;
        double delta = 0.0;
        donut->GetLimits(&start, &delta);
        donut->GetCenter(&m_center.x, &m_center.y);
        m_middle = start + 0.5 * delta;
        m_half = 0.5 * std::abs(delta) + kEdge;
        m_whole = m_half >= kPi;
    }

    bool Holds(int x, int y) const noexcept {
        return m_whole ||
               std::abs(std::remainder(std::atan2(y - m_center.y, x - m_center.x) - m_middle, 2.0 * kPi)) <= m_half;
    }

    // Keeps what the sector holds of a span.
    void Add(Span span, std::vector<Span>& spans) const {
        if (m_whole) {
            spans.push_back(span);
            return;
        }
        for (int x = span.firstX; x <= span.lastX; ++x) {
            if (!Holds(x, span.y)) {
                continue;
            }
            const int first = x;
            while (x < span.lastX && Holds(x + 1, span.y)) {
                ++x;
            }
            spans.push_back({span.y, first, x});
        }
    }

  private:
    // Pixels on the limits belong to the sector, whatever the rounding of their angle.
    static constexpr double kEdge = 1e-9;

    cv::Point2d m_center;
    double m_middle = 0.0;
    double m_half = kPi;
    bool m_whole = true;
};

// ---------------------------------------------------------------------------------------------------
// Pixels from a box, a mask or the hit test

bool Holds(cv::Rect outer, cv::Rect inner) noexcept { return inner.empty() || (outer & inner) == inner; }

Pixels FromBox(cv::Rect box, cv::Rect field) {
    Pixels pixels{{}, box, Holds(field, box)};
    const cv::Rect seen = box & field;
    for (int y = seen.y; y < seen.y + seen.height; ++y) {
        pixels.spans.push_back({y, seen.x, seen.x + seen.width - 1});
    }
    return pixels;
}

// The pixels of an image that are not 0 in some byte; nothing when the image has no pixels.
std::optional<Pixels> FromMask(ICIF& image, cv::Point origin, const Sector& sector) {
    const ImagePixels source = PixelsOf(image);
    const cv::Size size(source.width, source.height);
    if (size.empty()) {
        return std::nullopt;
    }
    const int bytes = source.planes * source.bits / 8;
    Pixels pixels{{}, cv::Rect(origin, size), true};
    for (int j = 0; j < size.height; ++j) {
        const unsigned char* row = source.data + static_cast<std::ptrdiff_t>(j) * source.stride;
        const auto marked = [&](int i) {
            const unsigned char* pixel = row + static_cast<std::ptrdiff_t>(i) * bytes;
            return std::any_of(pixel, pixel + bytes, [](unsigned char byte) { return byte != 0; });
        };
        for (int i = 0; i < size.width; ++i) {
            if (!marked(i)) {
                continue;
            }
            const int first = i;
            while (i + 1 < size.width && marked(i + 1)) {
                ++i;
            }
            sector.Add({origin.y + j, origin.x + first, origin.x + i}, pixels.spans);
        }
    }
    return pixels;
}

// The stretches of a row that the boxes cover, from left to right, without overlap.
void Stretches(const std::vector<Box>& boxes, int y, cv::Rect field, std::vector<Span>& stretches) {
    stretches.clear();
    const double first = field.x;
    const double last = field.x + field.width - 1;
    for (const Box& box : boxes) {
        if (box.top <= y && y <= box.bottom && box.left <= last && box.right >= first) {
            stretches.push_back(
                {y, ToInt32(std::ceil(std::max(box.left, first))), ToInt32(std::floor(std::min(box.right, last)))});
        }
    }
    std::sort(stretches.begin(), stretches.end(), [](const Span& a, const Span& b) { return a.firstX < b.firstX; });
    std::size_t kept = 0;
    for (const Span& next : stretches) {
        if (kept > 0 && next.firstX <= stretches[kept - 1].lastX + 1) {
            stretches[kept - 1].lastX = std::max(stretches[kept - 1].lastX, next.lastX);
        } else {
            stretches[kept++] = next;
        }
    }
    stretches.resize(kept);
}

Pixels FromHits(IROI& roi, const std::vector<Box>& boxes, cv::Rect field, const Sector& sector) {
    Pixels pixels;
    if (boxes.empty()) {
        return pixels;
    }
    // A figure that reaches farther than the ring around the field is not complete; whether one that ends
    // in the ring has pixels there is seen by looking.
    const cv::Rect searched(field.x - kRing, field.y - kRing, field.width + 2 * kRing, field.height + 2 * kRing);
    const Box extent = Union(boxes);
    const bool reachesFar = !extent.IsModest() || !Holds(searched, extent.Pixels());
    std::vector<Span> stretches;
    for (int y = searched.y; y < searched.y + searched.height; ++y) {
        Stretches(boxes, y, searched, stretches);
        for (const Span& stretch : stretches) {
            const auto hit = [&](int x) { return Succeeded(roi.HitTest(x, y, nullptr)); };
            for (int x = stretch.firstX; x <= stretch.lastX; ++x) {
                if (!hit(x)) {
                    continue;
                }
                const int first = x;
                while (x < stretch.lastX && hit(x + 1)) {
                    ++x;
                }
                sector.Add({y, first, x}, pixels.spans);
            }
        }
    }
    pixels.box = BoxAround(pixels.spans);
    pixels.complete = !reachesFar;
    return pixels;
}

// The box of GetBoundingRect. Nothing when the figure has none or its coordinates do not fit.
std::optional<cv::Rect> BoundingRect(IROI& roi) noexcept {
    int left = 0;
    int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    if (Failed(roi.GetBoundingRect(&left, &top, &width, &height)) ||
        std::max(width, height) > static_cast<unsigned int>(2.0 * kMaxCoordinate)) {
        return std::nullopt;
    }
    return cv::Rect(left, top, static_cast<int>(width), static_cast<int>(height));
}

// A rectangle without roll has no mask to draw, and a mask figure already has its own.
bool HasMaskAtNoCost(const Figure& figure) {
    double roll = 1.0;
    return figure.type->contents == Contents::image ||
           (figure.type->modulePixels == ModulePixels::maskOrBox && figure.type->getRoll != nullptr &&
            Succeeded(figure.type->getRoll(*figure.roi, &roll)) && roll == 0.0);
}

}  // namespace

cv::Rect BoxAround(const std::vector<Span>& spans) noexcept {
    if (spans.empty()) {
        return {};
    }
    cv::Point first(spans.front().firstX, spans.front().y);
    cv::Point last(spans.front().lastX, spans.back().y);
    for (const Span& span : spans) {
        first.x = std::min(first.x, span.firstX);
        last.x = std::max(last.x, span.lastX);
    }
    return {first, last + cv::Point(1, 1)};
}

cv::Mat Painted(const std::vector<Span>& spans, cv::Rect box) {
    cv::Mat image(box.size(), CV_8U, cv::Scalar(0));
    for (const Span& span : spans) {
        image(cv::Rect(span.firstX - box.x, span.y - box.y, span.Length(), 1)).setTo(255);
    }
    return image;
}

Pixels FindPixels(const Figure& figure, cv::Rect field, Cut cut) {
    IROI& roi = *figure.roi;
    const Sector sector(figure, cut);
    const std::vector<Box> boxes = HoldingBoxes(figure);
    const std::optional<cv::Rect> rect = BoundingRect(roi);
    const bool modest = rect && !boxes.empty() && Union(boxes).IsModest();
    if (modest &&
        (static_cast<std::int64_t>(rect->width) * rect->height <= kMaxMaskPixels || HasMaskAtNoCost(figure))) {
        SmartPtr<ICIF> mask;
        const Result result = roi.GetMask(mask.Receive());
        if (Succeeded(result) && mask) {
            if (auto pixels = FromMask(*mask, rect->tl(), sector)) {
                return *std::move(pixels);
            }
        } else if (Succeeded(result) && figure.type->modulePixels == ModulePixels::maskOrBox) {
            return FromBox(*rect, field);
        }
    }
    return FromHits(roi, boxes, field, sector);
}

std::optional<Pixels> FindAllPixels(const Figure& figure, Cut cut) {
    const std::vector<Box> boxes = HoldingBoxes(figure);
    if (boxes.empty()) {
        return Pixels{};
    }
    const Box extent = Union(boxes);
    if (!extent.IsModest()) {
        return std::nullopt;
    }
    // The host's boxes of a figure and its own differ by no more than rounding.
    cv::Rect field = extent.Pixels();
    if (const auto rect = BoundingRect(*figure.roi)) {
        field |= *rect;
    }
    if (static_cast<std::int64_t>(field.width) * field.height > kMaxMaskPixels) {
        return std::nullopt;
    }
    return FindPixels(figure, field, cut);
}

// ---------------------------------------------------------------------------------------------------
// Views

namespace {

View Clip(const Pixels& pixels, cv::Size image) {
    View view;
    bool lost = !pixels.complete;
    for (const Span& span : pixels.spans) {
        const Span seen{span.y, std::max(span.firstX, 0), std::min(span.lastX, image.width - 1)};
        const bool any = span.y >= 0 && span.y < image.height && seen.firstX <= seen.lastX;
        lost = lost || !any || seen.Length() < span.Length();
        if (any) {
            view.spans.push_back(seen);
        }
    }
    if (view.spans.empty()) {
        view.placement = lost ? Placement::outside : Placement::empty;
    } else {
        view.placement = lost ? Placement::clipped : Placement::ok;
    }
    return view;
}

bool Exceeds(cv::Size size, cv::Size limit) noexcept { return size.width > limit.width || size.height > limit.height; }

}  // namespace

View Region::In(cv::Size image) {
    if (!m_pixels || (!m_pixels->complete && Exceeds(image, m_field))) {
        m_field = {std::max(m_field.width, image.width), std::max(m_field.height, image.height)};
        m_pixels = FindPixels(*m_figure, cv::Rect({0, 0}, m_field), m_cut);
    }
    return Clip(*m_pixels, image);
}

}  // namespace host

#include "host/measure/ModulePixels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "contract/Extensions.h"
#include "contract/Numbers.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

// Coordinates up to here become integers without a thought.
constexpr double kMaxCoordinate = 1 << 29;

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
    PixelRect Pixels() const noexcept {
        const int firstX = ToInt32(std::ceil(left));
        const int firstY = ToInt32(std::ceil(top));
        return {firstX, firstY, ToInt32(std::floor(right)) + 1 - firstX, ToInt32(std::floor(bottom)) + 1 - firstY};
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
// Pixels from a box, a mask or the hit test

Pixels FromBox(const PixelRect& box, const PixelRect& field) {
    const PixelRect seen = Intersection(box, field);
    Pixels pixels{{}, box.IsEmpty() || seen == box};
    for (int y = seen.top; y < seen.Bottom(); ++y) {
        pixels.set.AddSpan(y, seen.left, seen.left + seen.width - 1);
    }
    return pixels;
}

// The pixels of an image that are not 0 in some byte; nothing when the image has no pixels.
std::optional<PixelSet> FromMask(ICIF& image, const PixelRect& box) {
    const auto source = SmartPtr<IPixels>::QueryFrom(&image);
    unsigned char* data = nullptr;
    int stride = 0;
    int planes = 0;
    int bits = 0;
    int extra = 0;
    PixelSize size;
    if (!source || Failed(source->GetPixels(&data, &stride, &planes, &bits)) ||
        Failed(image.GetSize(&size.width, &size.height, &extra)) || size.IsEmpty()) {
        return std::nullopt;
    }
    const int bytes = planes * bits / 8;
    PixelSet pixels;
    for (int j = 0; j < size.height; ++j) {
        const unsigned char* row = data + static_cast<std::ptrdiff_t>(j) * stride;
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
            pixels.AddSpan(box.top + j, box.left + first, box.left + i);
        }
    }
    return pixels;
}

// The stretches of a row that the boxes cover, from left to right, without overlap.
void Stretches(const std::vector<Box>& boxes, int y, const PixelRect& field, Spans& stretches) {
    stretches.clear();
    const double first = field.left;
    const double last = field.left + field.width - 1;
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

Pixels FromHits(IROI& roi, const std::vector<Box>& boxes, const PixelRect& field) {
    Pixels pixels;
    if (boxes.empty()) {
        return pixels;
    }
    // A figure that reaches farther is not complete; whether one that ends a little beyond the field has pixels there
    // is seen by looking.
    const PixelRect searched = Searched(field);
    const Box extent = Union(boxes);
    Spans stretches;
    for (int y = searched.top; y < searched.Bottom(); ++y) {
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
                pixels.set.AddSpan(y, first, x);
            }
        }
    }
    pixels.complete = extent.IsModest() && Intersection(searched, extent.Pixels()) == extent.Pixels();
    return pixels;
}

// The box of GetBoundingRect. Nothing when the figure has none or its coordinates do not fit.
std::optional<PixelRect> BoundingRect(IROI& roi) noexcept {
    int left = 0;
    int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    if (Failed(roi.GetBoundingRect(&left, &top, &width, &height)) ||
        std::max(width, height) > static_cast<unsigned int>(2.0 * kMaxCoordinate)) {
        return std::nullopt;
    }
    return PixelRect{left, top, static_cast<int>(width), static_cast<int>(height)};
}

// A rectangle without roll has no mask to draw, and a mask figure already has its own.
bool HasMaskAtNoCost(const Figure& figure) {
    double roll = 1.0;
    return figure.type->contents == Contents::image ||
           (figure.type->modulePixels == ModulePixels::maskOrBox && figure.type->getRoll != nullptr &&
            Succeeded(figure.type->getRoll(*figure.roi, &roll)) && roll == 0.0);
}

// What a figure gives for its mask, and where. No box when it is not to be asked, no mask when it has none.
struct Mask {
    std::optional<PixelRect> box;
    SmartPtr<ICIF> image;
};

Mask MaskOf(const Figure& figure, const std::vector<Box>& boxes) {
    Mask mask;
    const std::optional<PixelRect> box = BoundingRect(*figure.roi);
    if (box && !boxes.empty() && Union(boxes).IsModest() &&
        (static_cast<std::int64_t>(box->width) * box->height <= kMostPixels || HasMaskAtNoCost(figure)) &&
        Succeeded(figure.roi->GetMask(mask.image.Receive()))) {
        mask.box = box;
    }
    return mask;
}

std::optional<PixelSet> MarkedPixels(const Mask& mask) {
    return mask.image ? FromMask(*mask.image, *mask.box) : std::nullopt;
}

}  // namespace

std::optional<PixelSet> MarkedPixels(const Figure& figure) {
    return MarkedPixels(MaskOf(figure, HoldingBoxes(figure)));
}

Pixels FindModulePixels(const Figure& figure, const PixelRect& field) {
    const std::vector<Box> boxes = HoldingBoxes(figure);
    const Mask mask = MaskOf(figure, boxes);
    if (auto marked = MarkedPixels(mask)) {
        return {*std::move(marked), true};
    }
    if (mask.box && !mask.image && figure.type->modulePixels == ModulePixels::maskOrBox) {
        return FromBox(*mask.box, field);
    }
    return FromHits(*figure.roi, boxes, field);
}

std::optional<PixelRect> ModuleExtent(const Figure& figure) {
    const std::vector<Box> boxes = HoldingBoxes(figure);
    if (boxes.empty()) {
        return PixelRect{};
    }
    const Box extent = Union(boxes);
    if (!extent.IsModest()) {
        return std::nullopt;
    }
    // The host's boxes of a figure and its own differ by no more than rounding.
    const PixelRect box = extent.Pixels();
    const PixelRect own = BoundingRect(*figure.roi).value_or(box);
    const int left = std::min(box.left, own.left);
    const int top = std::min(box.top, own.top);
    return PixelRect{left, top, static_cast<int>(std::max(box.Right(), own.Right()) - left),
                     static_cast<int>(std::max(box.Bottom(), own.Bottom()) - top)};
}

}  // namespace host

// Label images: each value above 0 is a figure.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <type_traits>

#include "host/images/Image.h"
#include "host/sets/formats/Formats.h"

namespace host {

namespace {

constexpr std::size_t kMostLabels = 100000;

// The labels of an image and the box around each.
template <class Value>
std::map<std::int64_t, PixelRect> BoxesOf(const RasterView& labels) {
    std::map<std::int64_t, PixelRect> boxes;
    for (int y = 0; y < labels.size.height; ++y) {
        const Value* const row = labels.Row<Value>(y);
        for (int x = 0; x < labels.size.width; ++x) {
            if (row[x] > 0) {
                PixelRect& box =
                    boxes.try_emplace(static_cast<std::int64_t>(row[x]), PixelRect{x, y, 1, 1}).first->second;
                const int right = static_cast<int>(std::max<std::int64_t>(box.Right(), x + 1));
                box.left = std::min(box.left, x);
                box.width = right - box.left;
                box.height = y + 1 - box.top;
            }
        }
        if (boxes.size() > kMostLabels) {
            throw std::runtime_error("it has too many labels");
        }
    }
    return boxes;
}

template <class Value>
Raster MaskOfLabel(const RasterView& labels, std::int64_t label, const PixelRect& box) {
    Raster mask = EmptyMask(box.width, box.height);
    for (int y = 0; y < box.height; ++y) {
        const Value* const row = labels.Row<Value>(box.top + y) + box.left;
        std::transform(row, row + box.width, mask.Row<unsigned char>(y), [label](Value value) -> unsigned char {
            return static_cast<std::int64_t>(value) == label ? 255 : 0;
        });
    }
    return mask;
}

template <class Value>
std::vector<ForeignFigure> FiguresOf(const RasterView& labels, Reading& reading) {
    std::vector<ForeignFigure> figures;
    for (const auto& [label, box] : BoxesOf<Value>(labels)) {
        reading.TakePixels(static_cast<double>(box.width) * box.height);
        figures.push_back(
            MaskFigure(fmt::format("label {}", label), MaskOfLabel<Value>(labels, label, box), box.left, box.top));
    }
    return figures;
}

}  // namespace

std::vector<ForeignFigure> ReadLabelImage(std::string_view bytes, Reading& reading) {
    const Image image = DecodeImage(bytes);
    return InType(image.page.depth, [&](auto* type) -> std::vector<ForeignFigure> {
        using Value = std::remove_pointer_t<decltype(type)>;
        if constexpr (std::is_integral_v<Value>) {
            if (image.page.channels == 1) {
                return FiguresOf<Value>(image.pixels.View(), reading);
            }
        }
        throw std::runtime_error("not an image of whole numbers in one plane");
    });
}

}  // namespace host

#include "host/draw/Display.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace host {

namespace {

struct Range {
    double dark = 0.0;
    double bright = 255.0;
};

int ShownChannels(const RasterView& image) noexcept { return image.channels < 3 ? 1 : 3; }

template <class Value>
double At(const RasterView& image, int x, int y, int channel) noexcept {
    const std::byte* const at =
        image.data + y * image.rowStride + x * image.columnStride + channel * image.channelStride;
    return static_cast<double>(*reinterpret_cast<const Value*>(at));
}

template <class Value>
Range RangeOf(const RasterView& image) {
    constexpr std::size_t kMostValues = std::size_t{1} << 22;
    constexpr double kShare = 0.001;
    const std::size_t channels = static_cast<std::size_t>(ShownChannels(image));
    const std::size_t width = static_cast<std::size_t>(image.size.width);
    const std::size_t pixels = width * static_cast<std::size_t>(image.size.height);
    const std::size_t step = 1 + pixels * channels / kMostValues;
    std::vector<double> values;
    for (std::size_t i = 0; i < pixels; i += step) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const double value =
                At<Value>(image, static_cast<int>(i % width), static_cast<int>(i / width), static_cast<int>(channel));
            if (std::isfinite(value)) {
                values.push_back(value);
            }
        }
    }
    if (values.empty()) {
        return {};
    }
    const auto valueAt = [&values](double share) {
        const auto at =
            values.begin() + static_cast<std::ptrdiff_t>(std::lround(share * static_cast<double>(values.size() - 1)));
        std::nth_element(values.begin(), at, values.end());
        return *at;
    };
    return {valueAt(kShare), valueAt(1.0 - kShare)};
}

template <class Value>
void Fill(const RasterView& image, Range range, Raster& shown, int left) {
    const double scale = range.bright > range.dark ? 255.0 / (range.bright - range.dark) : 0.0;
    const bool grey = ShownChannels(image) == 1;
    for (int y = 0; y < image.size.height; ++y) {
        auto* out = shown.Row<std::uint8_t>(y) + std::ptrdiff_t{3} * left;
        for (int x = 0; x < image.size.width; ++x) {
            for (int channel = 0; channel < 3; ++channel) {
                const double value = (At<Value>(image, x, y, grey ? 0 : channel) - range.dark) * scale;
                // The lower bound stands first: what is not a number becomes it.
                *out++ = static_cast<std::uint8_t>(std::lround(std::min(std::max(0.0, value), 255.0)));
            }
        }
    }
}

}  // namespace

Raster ForDisplay(const RasterView& image, int bits) { return ForDisplay(std::vector{image}, bits); }

Raster ForDisplay(const std::vector<RasterView>& images, int bits) {
    const Range whole{0.0, static_cast<double>((1 << std::clamp(bits, 1, 8)) - 1)};
    const auto [width, height] = images.front().size;
    Raster shown({static_cast<int>(images.size()) * width, height}, 3, Depth::u8);
    int left = 0;
    for (const RasterView& image : images) {
        InType(image.depth, [&](auto* type) {
            using Value = std::remove_pointer_t<decltype(type)>;
            Fill<Value>(image, std::is_same_v<Value, std::uint8_t> ? whole : RangeOf<Value>(image), shown, left);
        });
        left += width;
    }
    return shown;
}

}  // namespace host

#include "workbench/TilePicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

#include "host/images/Image.h"

namespace host::workbench {

namespace {

// The first of the channels that are shown, and how many they are.
struct ShownChannels {
    int first;
    int count;
};

ShownChannels ShownOf(const PageInfo& info, std::optional<int> channel) noexcept {
    return channel ? ShownChannels{*channel, 1} : ShownChannels{0, info.isColour ? 3 : 1};
}

template <class Value>
std::vector<double> SomeValues(const RasterView& image, int rows, ShownChannels shown) {
    constexpr std::size_t kMost = std::size_t{1} << 20;
    const std::size_t width = static_cast<std::size_t>(image.size.width);
    const std::size_t pixels = width * static_cast<std::size_t>(rows);
    const std::size_t step = 1 + pixels * static_cast<std::size_t>(shown.count) / kMost;
    std::vector<double> values;
    for (std::size_t i = 0; i < pixels; i += step) {
        const Value* const pixel =
            image.Row<Value>(static_cast<int>(i / width)) + i % width * static_cast<std::size_t>(image.channels);
        for (int channel = shown.first; channel < shown.first + shown.count; ++channel) {
            const double value = static_cast<double>(pixel[channel]);
            if (std::isfinite(value)) {
                values.push_back(value);
            }
        }
    }
    return values;
}

double ValueAt(std::vector<double>& values, double share) {
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(std::lround(share * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

// The part of a copy of the page that a tile shows, as far as it is read.
RasterView PartOf(const LoadedPage& page, const TileId& tile) {
    const RasterView level = page.Pixels().Level(tile.level);
    const PixelRect there{0, 0, level.size.width, page.Pixels().Rows(tile.level)};
    return level.Part(Intersection(there, {tile.x * kTileSide, tile.y * kTileSide, kTileSide, kTileSide}));
}

template <class Value>
std::uint8_t Shown(Value value, ShownRange range, double scale) noexcept {
    // The lower bound stands first: what is not a number becomes it.
    return static_cast<std::uint8_t>(std::min(std::max(0.0, (static_cast<double>(value) - range.low) * scale), 255.0) +
                                     0.5);
}

template <class Value>
void Paint(const RasterView& part, ShownChannels shown, ShownRange range, Raster& tile) {
    const double scale = 255.0 / std::max(range.high - range.low, 1e-300);
    std::array<std::uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = Shown(i, range, scale);
    }
    const auto show = [&](Value value) {
        if constexpr (std::is_same_v<Value, std::uint8_t>) {
            return table[value];
        } else {
            return Shown(value, range, scale);
        }
    };
    for (int y = 0; y < part.size.height; ++y) {
        const Value* from = part.Row<Value>(y) + shown.first;
        auto* to = tile.Row<std::uint8_t>(y);
        for (int x = 0; x < part.size.width; ++x, from += part.channels) {
            to = std::transform(from, from + shown.count, to, show);
            if (tile.Channels() > shown.count) {
                *to++ = 255;
            }
        }
    }
}

}  // namespace

ShownRange RangeOf(const LoadedPage& page, std::optional<int> channel, double percent) {
    const RasterView image = page.Pixels().Level(0);
    return InType(image.depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        std::vector<double> values = SomeValues<Value>(image, page.Pixels().Rows(), ShownOf(page.Info(), channel));
        if (values.empty()) {
            return ShownRange{};
        }
        return ShownRange{ValueAt(values, 0.01 * percent), ValueAt(values, 1.0 - 0.01 * percent)};
    });
}

bool IsWhole(const LoadedPage& page, const TileId& tile) {
    const int height = page.Pixels().Level(tile.level).size.height;
    return page.Pixels().Rows(tile.level) >= std::min(height, (tile.y + 1) * kTileSide);
}

std::string TileOf(const LoadedPage& page, const TileId& tile, std::optional<int> channel, ShownRange range) {
    const RasterView part = PartOf(page, tile);
    const ShownChannels shown = ShownOf(page.Info(), channel);
    const PixelSize size{kTileSide, kTileSide};
    Raster picture(size, part.size == size ? shown.count : shown.count + 1, Depth::u8);
    std::fill_n(picture.Data(), picture.RowBytes() * kTileSide, std::byte{0});
    if (!part.IsEmpty()) {
        InType(part.depth,
               [&](auto* type) { Paint<std::remove_pointer_t<decltype(type)>>(part, shown, range, picture); });
    }
    return EncodeImage(Format::png, picture.View());
}

}  // namespace host::workbench

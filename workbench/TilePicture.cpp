#include "workbench/TilePicture.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vips/vips8>

#include "host/images/Image.h"
#include "host/images/vips/Start.h"

namespace host::workbench {

namespace {

using vips::VImage;

constexpr PixelSize kTile{kTileSide, kTileSide};

// The first of the channels that are shown, and how many they are.
struct ShownChannels {
    int first;
    int count;
};

ShownChannels ShownOf(const PageInfo& info, std::optional<int> channel) noexcept {
    return channel ? ShownChannels{*channel, 1} : ShownChannels{0, info.isColour ? 3 : 1};
}

// Up to about a million of the values that are there.
template <class Value>
std::vector<double> SomeValues(const PagePixels& pixels, ShownChannels shown) {
    constexpr std::size_t kMost = std::size_t{1} << 20;
    const RasterView image = pixels.Level(0);
    const auto width = static_cast<std::size_t>(image.size.width);
    const std::size_t step =
        1 + width * static_cast<std::size_t>(pixels.Rows()) * static_cast<std::size_t>(shown.count) / kMost;
    std::vector<double> values;
    std::size_t x = 0;
    for (int row = 0; row < image.size.height; ++row) {
        if (!pixels.IsThere(0, row)) {
            continue;
        }
        for (; x < width; x += step) {
            const Value* const pixel = image.Row<Value>(row) + x * static_cast<std::size_t>(image.channels);
            std::copy_if(pixel + shown.first, pixel + shown.first + shown.count, std::back_inserter(values),
                         [](Value value) { return std::isfinite(static_cast<double>(value)); });
        }
        x -= width;
    }
    return values;
}

double ValueAt(std::vector<double>& values, double share) {
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(std::lround(share * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

// The part of a copy of the page that a tile shows.
RasterView PartOf(const LoadedPage& page, const TileId& tile) {
    const RasterView level = page.Pixels().Level(tile.level);
    return level.Part(Intersection({0, 0, level.size.width, level.size.height},
                                   {tile.x * kTileSide, tile.y * kTileSide, kTileSide, kTileSide}));
}

// Which rows of a tile's part are there: the others may be written just now.
std::vector<bool> RowsThere(const LoadedPage& page, const TileId& tile, int height) {
    std::vector<bool> there;
    for (int y = 0; y < height; ++y) {
        there.push_back(page.Pixels().IsThere(tile.level, tile.y * kTileSide + y));
    }
    return there;
}

// The values of the channels that are shown, within the range; what is not a number, or not there, is its lower end.
template <class Value>
std::vector<double> ValuesOf(const RasterView& part, const std::vector<bool>& there, ShownChannels shown,
                             ShownRange range) {
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(part.size.width * part.size.height * shown.count));
    for (int y = 0; y < part.size.height; ++y) {
        if (!there[static_cast<std::size_t>(y)]) {
            values.resize(values.size() + static_cast<std::size_t>(part.size.width * shown.count), range.low);
            continue;
        }
        const Value* from = part.Row<Value>(y) + shown.first;
        for (int x = 0; x < part.size.width; ++x, from += part.channels) {
            std::transform(from, from + shown.count, std::back_inserter(values), [&](Value value) {
                return std::min(std::max(range.low, static_cast<double>(value)), range.high);
            });
        }
    }
    return values;
}

// How opaque the pixels of a part are, from 0 to 255.
std::vector<std::uint8_t> OpacityOf(const std::vector<bool>& there, int width) {
    std::vector<std::uint8_t> opacity;
    for (const bool isThere : there) {
        opacity.resize(opacity.size() + static_cast<std::size_t>(width), isThere ? 255 : 0);
    }
    return opacity;
}

// Pixels that the library reads where they lie.
template <class Value>
VImage PixelsOf(const std::vector<Value>& values, PixelSize size, int channels, VipsBandFormat format) {
    return VImage::new_from_memory(const_cast<Value*>(values.data()), values.size() * sizeof(Value), size.width,
                                   size.height, channels, format);
}

std::string Packed(const VImage& picture) {
    const bool isGrey = picture.bands() < 3;
    // The page is near: what counts is how soon a tile is packed.
    const std::unique_ptr<VipsBlob, void (*)(VipsBlob*)> file(
        picture
            .copy(VImage::option()->set("interpretation", isGrey ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB))
            .pngsave_buffer(VImage::option()->set("compression", 1)->set("filter", VIPS_FOREIGN_PNG_FILTER_SUB)),
        [](VipsBlob* blob) { vips_area_unref(VIPS_AREA(blob)); });
    std::size_t bytes = 0;
    const void* const data = vips_blob_get(file.get(), &bytes);
    return {static_cast<const char*>(data), bytes};
}

}  // namespace

ShownRange RangeOf(const LoadedPage& page, std::optional<int> channel, double percent) {
    return InType(page.Info().depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        std::vector<double> values = SomeValues<Value>(page.Pixels(), ShownOf(page.Info(), channel));
        if (values.empty()) {
            return ShownRange{};
        }
        return ShownRange{ValueAt(values, 0.01 * percent), ValueAt(values, 1.0 - 0.01 * percent)};
    });
}

std::optional<int> MissingBand(const LoadedPage& page, const TileId& tile) {
    const PagePixels& pixels = page.Pixels();
    const int end = std::min(pixels.Level(tile.level).size.height, (tile.y + 1) * kTileSide);
    const int last = pixels.BandOf(tile.level, end - 1);
    for (int band = pixels.BandOf(tile.level, tile.y * kTileSide); band <= last; ++band) {
        if (!pixels.IsWhole(band)) {
            return band;
        }
    }
    return std::nullopt;
}

void PrepareTiles() { StartVips(); }

std::string TileOf(const LoadedPage& page, const TileId& tile, std::optional<int> channel, ShownRange range) {
    StartVips();
    const RasterView part = PartOf(page, tile);
    const ShownChannels shown = ShownOf(page.Info(), channel);
    const std::vector<bool> there = RowsThere(page, tile, part.size.height);
    // A range without extent shows white what lies above it.
    range.high = std::max(range.high, range.low + 1e-9 * std::max(std::abs(range.low), 1.0));
    const std::vector<double> values = InType(part.depth, [&](auto* type) {
        return ValuesOf<std::remove_pointer_t<decltype(type)>>(part, there, shown, range);
    });
    const std::vector<std::uint8_t> opacity = OpacityOf(there, part.size.width);
    VImage picture = PixelsOf(values, part.size, shown.count, VIPS_FORMAT_DOUBLE)
                         .linear(1.0, -range.low)
                         .linear(255.0 / (range.high - range.low), 0.5)
                         .cast(VIPS_FORMAT_UCHAR);
    if (part.size != kTile || std::count(there.begin(), there.end(), false) > 0) {
        // What lies beside the page is black and transparent.
        picture =
            picture.bandjoin(PixelsOf(opacity, part.size, 1, VIPS_FORMAT_UCHAR)).embed(0, 0, kTile.width, kTile.height);
    }
    return Packed(picture);
}

}  // namespace host::workbench

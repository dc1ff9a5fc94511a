#include "host/images/Image.h"

#include <fmt/format.h>

#include <optional>
#include <stdexcept>

#include "host/base/Error.h"
#include "host/base/SafeFile.h"

namespace host {

namespace {

// Makes a plane of as many pixels: `make` gives the value of a pixel, whose first channel it is called with, and the
// step from channel to channel.
template <class Value, class Make>
Raster PlaneOf(const RasterView& image, Depth depth, Make make) {
    Raster plane(image.size, 1, depth);
    InType(image.depth, [&](auto* type) {
        using Stored = std::remove_pointer_t<decltype(type)>;
        constexpr auto kSize = static_cast<std::ptrdiff_t>(sizeof(Stored));
        for (int y = 0; y < image.size.height; ++y) {
            auto* const to = plane.Row<std::conditional_t<std::is_void_v<Value>, Stored, Value>>(y);
            const auto* from = image.Row<Stored>(y);
            for (int x = 0; x < image.size.width; ++x, from += image.columnStride / kSize) {
                to[x] = make(from, image.channelStride / kSize);
            }
        }
    });
    return plane;
}

// The channels that are no alpha and are shown: red, green and blue, or the grey alone.
int Colours(const PageInfo& page) noexcept { return page.isColour ? 3 : 1; }

std::optional<Format> FormatFor(const UserPath& path) {
    constexpr std::pair<std::string_view, Format> kEndings[] = {{".png", Format::png},
                                                                {".jpg", Format::jpeg},
                                                                {".jpeg", Format::jpeg},
                                                                {".tif", Format::tiff},
                                                                {".tiff", Format::tiff}};
    for (const auto& [ending, format] : kEndings) {
        if (path.Extension() == ending) {
            return format;
        }
    }
    return std::nullopt;
}

}  // namespace

std::vector<std::string> WarningsOf(const ImageName& name, const ImageFile& file) {
    std::vector<std::string> warnings = file.Page().warnings;
    if (!name.page && file.Pages() > 1) {
        warnings.push_back(
            fmt::format("the first of its {} pages is taken; {}:2 names the second", file.Pages(), name.path.Typed()));
    }
    return warnings;
}

Image LoadImage(const ImageName& name, Damage damage) {
    ImageFile file(name, damage);
    Image image = file.Read();
    image.damaged = file.IsDamaged();
    image.page.warnings = WarningsOf(name, file);
    return image;
}

Raster Luma(const Image& image) {
    return image.page.channels == 1 ? image.pixels : Luma(image.page, image.pixels.View());
}

Raster Luma(const PageInfo& page, const RasterView& pixels) {
    if (!page.isColour) {
        return PlaneOf<void>(pixels, pixels.depth, [](const auto* value, std::ptrdiff_t) { return *value; });
    }
    return PlaneOf<double>(pixels, Depth::f64, [](const auto* rgb, std::ptrdiff_t step) {
        return 0.299 * static_cast<double>(rgb[0]) + 0.587 * static_cast<double>(rgb[step]) +
               0.114 * static_cast<double>(rgb[2 * step]);
    });
}

std::vector<Channel> Channels(const Image& image) { return Channels(image.page, image.pixels.View()); }

std::vector<Channel> Channels(const PageInfo& page, const RasterView& pixels) {
    const int colours = Colours(page);
    if (pixels.channels == 1 + (page.hasAlpha ? 1 : 0)) {
        return {{"L", pixels.Channel(0)}};
    }
    std::vector<Channel> channels;
    for (int i = 0; i < pixels.channels; ++i) {
        const bool isAlpha = page.hasAlpha && i == colours;
        const std::string name = page.isColour && i < colours ? std::string(1, "RGB"[i])
                                 : isAlpha                    ? "A"
                                                              : std::to_string(i + 1);
        channels.push_back({name, pixels.Channel(i)});
    }
    return channels;
}

bool IsImageEnding(const UserPath& path) { return FormatFor(path).has_value(); }

void CheckImageEnding(const UserPath& path) {
    if (!IsImageEnding(path)) {
        throw UsageError("unknown image format", path.Typed(), "end the name in .png, .jpg or .tif");
    }
}

void SaveImage(std::string_view kind, const UserPath& path, const RasterView& image) {
    CheckImageEnding(path);
    std::string bytes;
    try {
        bytes = EncodeImage(*FormatFor(path), image);
    } catch (const std::runtime_error& failure) {
        throw Error(fmt::format("cannot write {}", kind), path.Typed(), failure.what());
    }
    WriteWholeFile(kind, path, bytes);
}

}  // namespace host

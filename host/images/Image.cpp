#include "host/images/Image.h"

#include <fmt/format.h>

#include <optional>
#include <stdexcept>

#include "host/base/Error.h"
#include "host/base/SafeFile.h"

namespace host {

namespace {

// Calls `body` for every row with its number and its first value, in the type of the depth.
template <class Body>
void ForEachRow(const RasterView& image, Body body) {
    InType(image.depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        for (int y = 0; y < image.size.height; ++y) {
            body(y, image.Row<Value>(y));
        }
    });
}

// The channels that are no alpha and are shown: red, green and blue, or the grey alone.
int Colours(const PageInfo& page) noexcept { return page.isColour ? 3 : 1; }

// A raster as it is made: in rows without gaps.
Raster FirstChannel(const Image& image) {
    const RasterView from = image.pixels.View();
    Raster plane(from.size, 1, from.depth);
    ForEachRow(from, [&](int y, const auto* values) {
        auto* const to = plane.Row<std::remove_cvref_t<decltype(*values)>>(y);
        for (int x = 0; x < from.size.width; ++x) {
            to[x] = values[x * from.channels];
        }
    });
    return plane;
}

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

Image LoadImage(const ImageName& name, Damage damage) {
    ImageFile file(name, damage);
    Image image = file.Read();
    image.damaged = file.IsDamaged();
    if (!name.page && file.Pages() > 1) {
        image.page.warnings.push_back(
            fmt::format("the first of its {} pages is taken; {}:2 names the second", file.Pages(), name.path.Typed()));
    }
    return image;
}

Raster Luma(const Image& image) {
    if (image.page.channels == 1) {
        return image.pixels;
    }
    if (!image.page.isColour) {
        return FirstChannel(image);
    }
    Raster luma(image.pixels.Size(), 1, Depth::f64);
    ForEachRow(image.pixels.View(), [&](int y, const auto* rgb) {
        double* const to = luma.Row<double>(y);
        for (int x = 0; x < image.pixels.Size().width; ++x, rgb += image.page.channels) {
            to[x] = 0.299 * static_cast<double>(rgb[0]) + 0.587 * static_cast<double>(rgb[1]) +
                    0.114 * static_cast<double>(rgb[2]);
        }
    });
    return luma;
}

std::vector<Channel> Channels(const Image& image) {
    const RasterView view = image.pixels.View();
    const int colours = Colours(image.page);
    if (view.channels == 1 + (image.page.hasAlpha ? 1 : 0)) {
        return {{"L", view.Channel(0)}};
    }
    std::vector<Channel> channels;
    for (int i = 0; i < view.channels; ++i) {
        const bool isAlpha = image.page.hasAlpha && i == colours;
        const std::string name = image.page.isColour && i < colours ? std::string(1, "RGB"[i])
                                 : isAlpha                          ? "A"
                                                                    : std::to_string(i + 1);
        channels.push_back({name, view.Channel(i)});
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

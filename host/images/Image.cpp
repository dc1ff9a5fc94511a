#include "host/images/Image.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
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

// What is shown black and what is shown white.
struct Shades {
    double black = 0.0;
    double white = 255.0;
};

Shades ShadesOf(const Image& image) {
    constexpr double kCut = 0.001;
    if (image.page.depth == Depth::u8) {
        return {0.0, static_cast<double>((1 << std::min(image.page.bits, 8)) - 1)};
    }
    const int colours = Colours(image.page);
    std::vector<double> values;
    ForEachRow(image.pixels.View(), [&](int, const auto* row) {
        for (int x = 0; x < image.pixels.Size().width; ++x) {
            for (int c = 0; c < colours; ++c) {
                const auto value = static_cast<double>(row[x * image.page.channels + c]);
                if (std::isfinite(value)) {
                    values.push_back(value);
                }
            }
        }
    });
    if (values.empty()) {
        return {};
    }
    const auto rank = [&values](double part) {
        const auto at =
            values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1) + 0.5);
        std::nth_element(values.begin(), at, values.end());
        return *at;
    };
    return {rank(kCut), rank(1.0 - kCut)};
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

Image LoadImage(const ImageName& name) { return ImageFile(name).Read(); }

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

Raster ForDisplay(const Image& image) {
    const Shades shades = ShadesOf(image);
    const double scale = shades.white > shades.black ? 255.0 / (shades.white - shades.black) : 0.0;
    Raster shown(image.pixels.Size(), 3, Depth::u8);
    ForEachRow(image.pixels.View(), [&](int y, const auto* values) {
        auto* to = shown.Row<std::uint8_t>(y);
        for (int x = 0; x < shown.Size().width; ++x, values += image.page.channels) {
            for (int c = 0; c < 3; ++c) {
                const double shade = (static_cast<double>(values[image.page.isColour ? c : 0]) - shades.black) * scale;
                *to++ = static_cast<std::uint8_t>(shade > 0.0 ? std::min(shade + 0.5, 255.0) : 0.0);
            }
        }
    });
    return shown;
}

void CheckImageEnding(const UserPath& path) {
    if (!FormatFor(path)) {
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

// What images show: their pages, tiles, values and ranges.
#include <cmath>

#include "workbench/Api.h"
#include "workbench/TilePicture.h"

namespace host::workbench {

namespace {

const char* DepthText(Depth depth) noexcept {
    constexpr const char* kTexts[] = {"u8", "i8", "u16", "i16", "u32", "i32", "u64", "i64", "f32", "f64"};
    return kTexts[static_cast<std::size_t>(depth)];
}

void SendImage(Api& api, const httplib::Request& request, httplib::Response& response) {
    const auto page = PageParameter(request, api.images);
    page->CheckSound();
    const PageInfo& info = page->Info();
    Json image{{"name", page->Path().Typed()},
               {"pages", page->Pages()},
               {"width", info.size.width},
               {"height", info.size.height},
               {"channels", page->ChannelNames()},
               {"colour", info.isColour},
               {"depth", DepthText(info.depth)},
               {"bits", info.bits},
               {"levels", page->Pixels().Levels()},
               {"rows", page->Pixels().Rows()},
               {"low", nullptr},
               {"high", nullptr},
               {"warnings", info.warnings}};
    const PixelScale scale = ScaleParameter(request, api, *page);
    image["pixelSize"] = {{"x", scale.x}, {"y", scale.y}, {"unit", scale.unit}};
    if (const auto range = page->UsualRange()) {
        image["low"] = range->low;
        image["high"] = range->high;
    }
    SendJson(response, image);
}

void SendValue(Api& api, const httplib::Request& request, httplib::Response& response) {
    const auto page = PageParameter(request, api.images);
    const auto pixel = [&request](const char* name) {
        return static_cast<int>(std::floor(std::clamp(NumberParameter(request, name), -1e9, 1e9) + 0.5));
    };
    SendJson(response, {{"values", ValueAt(*page, pixel("x"), pixel("y"))}});
}

void SendRange(Api& api, const httplib::Request& request, httplib::Response& response) {
    const auto page = PageParameter(request, api.images);
    page->AwaitWhole();
    const double percent = std::clamp(NumberParameter(request, "percent", 0.1), 0.0, 50.0);
    const ShownRange range = RangeOf(*page, ChannelParameter(request, *page), percent);
    SendJson(response, {{"low", range.low}, {"high", range.high}});
}

void SendTile(Api& api, const httplib::Request& request, httplib::Response& response) {
    const auto number = [&request](std::size_t group) {
        return ParseInteger(std::string(request.matches[group])).value_or(-1);
    };
    const auto page = api.images.Page({number(1), number(2)});
    page->CheckSound();
    const TileId tile{number(3), number(4), number(5)};
    const PixelSize level = page->Pixels().Level(std::clamp(tile.level, 0, page->Pixels().Levels() - 1)).size;
    if (tile.level < 0 || tile.level >= page->Pixels().Levels() || tile.x < 0 || tile.y < 0 ||
        tile.x > (level.width - 1) / kTileSide || tile.y > (level.height - 1) / kTileSide) {
        throw Error("no such tile", request.path, "it lies outside the image", ErrorKind::missingFile);
    }
    const auto usual = page->UsualRange();
    ShownRange range = usual ? *usual : RangeOf(*page, std::nullopt, 0.1);
    range = {NumberParameter(request, "low", range.low), NumberParameter(request, "high", range.high)};
    // Before its pixels are looked at, which may come meanwhile.
    const auto missing = MissingBand(*page, tile);
    if (missing) {
        page->Want(*missing);
    }
    const bool isLasting = !missing && (usual || request.has_param("low"));
    response.set_header("Cache-Control", isLasting ? "private, max-age=3600" : "no-store");
    SendBytes(response, TileOf(*page, tile, ChannelParameter(request, *page), range), "image/png");
}

}  // namespace

void AddImageRoutes(Routes& routes, Api& api) {
    routes.Get("/api/image", [&api](const auto& request, auto& response) { SendImage(api, request, response); });
    routes.Get("/api/value", [&api](const auto& request, auto& response) { SendValue(api, request, response); });
    routes.Get("/api/range", [&api](const auto& request, auto& response) { SendRange(api, request, response); });
    routes.Get(R"(/api/tile/(\d+)/(\d+)/(\d+)/(\d+)/(\d+)\.png)",
               [&api](const auto& request, auto& response) { SendTile(api, request, response); });
}

}  // namespace host::workbench

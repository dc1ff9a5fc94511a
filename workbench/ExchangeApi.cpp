// Figures from and to files, and pictures of them: what leaves the page and what comes into it as a file.
#include <fmt/format.h>

#include <memory>
#include <utility>

#include "host/draw/Display.h"
#include "host/draw/Overlay.h"
#include "host/figures/MaskPicture.h"
#include "host/images/Image.h"
#include "host/sets/Exchange.h"
#include "workbench/Api.h"
#include "workbench/Editing.h"
#include "workbench/SetEdits.h"

namespace host::workbench {

namespace {

constexpr std::int64_t kMostPixels = std::int64_t{1} << 26;

void Export(Api& api, const httplib::Request& request, httplib::Response& response) {
    const FigureFormat& format = FormatFor(UserPath("figures"), TextParameter(request, "as"));
    if (format.write == nullptr) {
        throw UsageError("cannot export", format.name, "this format can be imported only");
    }
    std::string bytes = api.module.Ask([&format](const Desk& desk) {
        std::vector<Warning> warnings;
        return format.write(desk.Set().Figures(), warnings);
    });
    response.set_header("Content-Disposition", fmt::format("attachment; filename=\"figures{}\"", format.ending));
    response.set_header("Cache-Control", "no-store");
    SendBytes(response, std::move(bytes), "application/octet-stream");
}

// The names of the figures that an import adds.
std::set<std::string> NewNames(const RoiSet& set, std::size_t before) {
    std::set<std::string> names;
    for (std::size_t i = before; i < set.Figures().size(); ++i) {
        names.insert(set.Figures()[i].name);
    }
    return names;
}

void Import(Api& api, const httplib::Request& request, httplib::Response& response) {
    CheckWritable(api, request.path);
    const std::string file = TextParameter(request, "file");
    const std::string format = request.get_param_value("as");
    SendJsonText(response, api.module.Ask([&](Desk& desk) {
        std::vector<Warning> warnings;
        return EditSetOf(desk, "workbench: import " + file, std::nullopt, warnings, [&](RoiSet& set) {
            const std::size_t before = set.Figures().size();
            warnings = ImportFigures(desk.TheSession(), set, UserPath(file), format, request.body);
            return NewNames(set, before);
        });
    }));
}

// What an overlay is asked for.
struct Picture {
    Raster window;
    std::unique_ptr<const Overlay> overlay;
};

Picture PictureOf(Api& api, const httplib::Request& request) {
    const auto page = PageParameter(request, api.images);
    const PixelSize size = page->Info().size;
    if (std::int64_t{size.width} * size.height > kMostPixels) {
        throw Error("cannot draw", page->Path().Typed(), "the image has too many pixels for a picture of it");
    }
    page->AwaitWhole();
    OverlayOptions options;
    options.nodes = FlagParameter(request, "nodes");
    options.names = FlagParameter(request, "names", true);
    options.only = TextParameters(request, "name");
    auto overlay =
        api.module.Ask([&](const Desk& desk) { return std::make_unique<const Overlay>(desk.Set(), size, options); });
    return {ForDisplay(page->Pixels().Level(0), page->Info().bits), std::move(overlay)};
}

void SendOverlay(Api& api, const httplib::Request& request, httplib::Response& response) {
    const std::string ending = request.matches[1];
    const Picture picture = PictureOf(api, request);
    const RasterView window = picture.window.View();
    std::string bytes = ending == "svg" ? picture.overlay->Document(DocumentFormat::svg, window)
                                        : EncodeImage(Format::png, picture.overlay->Picture(window).View());
    response.set_header("Content-Disposition", "attachment; filename=\"overlay." + ending + '"');
    response.set_header("Cache-Control", "no-store");
    SendBytes(response, std::move(bytes), ending == "svg" ? "image/svg+xml" : "image/png");
}

// A new mask of what is above 0 in the image that the body is.
void AddMask(Api& api, const httplib::Request& request, httplib::Response& response) {
    CheckWritable(api, request.path);
    if (request.body.starts_with("\xFF\xD8")) {
        throw UsageError("cannot take mask", "the file", "a JPEG does not keep the marks as they are; use a PNG");
    }
    const Raster marks = Luma(DecodeImage(request.body));
    const bool isPlaced = request.has_param("x");
    const ImagePoint at =
        isPlaced ? ImagePoint(NumberParameter(request, "x"), NumberParameter(request, "y")) : ImagePoint();
    SendJsonText(response, api.module.Ask([&](Desk& desk) {
        const std::string name =
            request.has_param("name") ? TextParameter(request, "name") : FreshName("mask", desk.Set());
        return EditSetOf(desk, "workbench: add " + name, std::nullopt, {}, [&](RoiSet& set) {
            const Figure& figure = set.Add(desk.TheSession(), name, "ROIMask");
            GiveMask(figure, marks.View());
            if (isPlaced) {
                figure.roi->SetCenter(at.x, at.y);
            }
            return OpenSet::Names{name};
        });
    }));
}

}  // namespace

void AddExchangeRoutes(Routes& routes, Api& api) {
    routes.Get("/api/export", [&api](const auto& request, auto& response) { Export(api, request, response); });
    routes.Post("/api/import", [&api](const auto& request, auto& response) { Import(api, request, response); });
    routes.Post("/api/mask", [&api](const auto& request, auto& response) { AddMask(api, request, response); });
    routes.Get(R"(/api/overlay\.(png|svg))",
               [&api](const auto& request, auto& response) { SendOverlay(api, request, response); });
}

}  // namespace host::workbench

#include <memory>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/OutputCheck.h"
#include "host/draw/Display.h"
#include "host/draw/Overlay.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

// More names than that would hide the image.
constexpr std::size_t kFewFigures = 20;

std::string DrawDetails() {
    return std::string(
               R"(The image with an edge around exactly the pixels of every figure that count, tinted.
Names are shown of up to 20 figures, of more with --names. Images of more than 8 bits are stretched between the
values below and above which a thousandth of the shown pixels lies. A close-up shows one figure alone and reads only
its part of the image into memory; small ones are enlarged to at least 600 pixels, each pixel of the image a square.
SVG and PDF hold the image and, as lines and letters, what is drawn over it.

With --channels the channels of a colour image stand side by side, in the order of the rows of roi measure --channels
(R, G, B, then alpha), each in grey and with all edges. Of a damaged image --lenient shows the rows that could be read;
only they count. A picture shows one page of one image: what else roi measure takes is for rows, lengths or many images.

)") + kPixelRule +
           "\n";
}

struct DrawOptions {
    UserPath set;
    UserPath image;
    UserPath output;
    PixelOptions pixels;
    std::optional<PageSelection> pages;
    bool channels = false;
    Damage damage = Damage::refused;
    bool names = false;
    bool nodes = false;
    std::vector<std::string> only;
    bool force = false;
    std::string crop;
};

OverlayOptions OverlayOf(const DrawOptions& options, const RoiSet& set) {
    const std::size_t shown = options.only.empty() ? set.Figures().size() : options.only.size();
    const bool names = options.names || shown <= kFewFigures || !options.crop.empty();
    return {options.pixels.Rule(), options.nodes, names, options.only, options.crop};
}

// The file, turned to the one page that is drawn.
ImageFile Opened(const DrawOptions& options) {
    ImageName name(options.image);
    ImageFile file(name, options.damage);
    if (options.pages) {
        const std::vector<int> wanted = file.Wanted(*options.pages);
        if (wanted.size() > 1) {
            throw UsageError("usage", "--pages", "a picture shows one page");
        }
        name.page = wanted.front();
        file.Turn(*name.page);
    }
    WarnAll(options.image, WarningsOf(name, file));
    return file;
}

Raster Shown(const Image& image, bool channels) {
    if (!channels) {
        return ForDisplay(image.pixels.View(), image.page.bits);
    }
    std::vector<RasterView> planes;
    for (const Channel& channel : Channels(image)) {
        planes.push_back(channel.values);
    }
    return ForDisplay(planes, image.page.bits);
}

void Run(const DrawOptions& options) {
    CheckOverlayEnding(options.output);
    CheckOutput(options.output, {options.set, FileOf(options.image)}, {FileKind::image, FileKind::drawing},
                options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    ImageFile file = Opened(options);
    const OverlayOptions asked = OverlayOf(options, set);
    Overlay overlay(set, file.Page().size, asked);
    const Image image = file.Read(overlay.Window());
    if (file.IsDamaged()) {
        Warn(options.image.Typed(), "it is damaged; what could be read is drawn");
        // The rows that are missing do not count.
        const int rows = overlay.Window().top + image.pixels.Size().height;
        overlay = Overlay(set, {image.page.size.width, rows}, asked);
    }
    SaveOverlay(options.output, overlay, Shown(image, options.channels).View());
}

}  // namespace

void AddDrawCommand(CLI::App& roi) {
    const auto options = std::make_shared<DrawOptions>();
    CLI::App& command = AddCommand(roi, "draw", "Draws the figures of a set over an image",
                                   "roi draw part.roi part.png -o overlay.png");
    command.footer(DrawDetails() + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("IMAGE", options->image, "The image to draw over")->required();
    command.add_option("-o,--output", options->output, "The picture to write: .png, .jpg, .tif, .svg or .pdf")
        ->required();
    options->pixels.AddTo(command, PixelOptions::kParts);
    AddPagesOption(command, options->pages);
    AddChannelsOption(command, options->channels, "A grey picture");
    AddLenientOption(command, options->damage, "Draw what could be read of a damaged image, with a warning");
    command.add_flag("--names", options->names, "Show the names of any number of figures");
    command.add_flag("--nodes", options->nodes, "Show the nodes with their numbers, as `roi nodes` and `roi drag` do");
    CLI::Option* const only = command.add_option("--only", options->only, "Draw these figures only")->type_name("NAME");
    command.add_option("--crop", options->crop, "Show one figure close up")->type_name("NAME")->excludes(only);
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

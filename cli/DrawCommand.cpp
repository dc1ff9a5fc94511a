#include <memory>
#include <string>
#include <vector>

#include "cli/Commands.h"
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

const std::string kDetails = std::string(
                                 R"(The image with an edge around exactly the pixels of every figure that count, tinted.
Names are shown of up to 20 figures, of more with --names. Images of more than 8 bits are stretched between the
values below and above which a thousandth of the pixels lies. A close-up shows one figure alone; small ones are
enlarged to at least 600 pixels, each pixel of the image a square.

)") + kPixelRule + "\n";

struct DrawOptions {
    UserPath set;
    UserPath image;
    UserPath output;
    PixelOptions pixels;
    bool names = false;
    bool nodes = false;
    std::vector<std::string> only;
    bool force = false;
    std::string crop;
};

Raster Drawn(const DrawOptions& options, const RoiSet& set, Raster picture) {
    const std::size_t shown = options.only.empty() ? set.Figures().size() : options.only.size();
    OverlayOptions overlay{options.pixels.Rule(), options.nodes, options.names || shown <= kFewFigures, options.only};
    if (!options.crop.empty()) {
        overlay.names = true;
        return DrawCloseUp(picture.View(), set, options.crop, overlay);
    }
    DrawOverlay(picture, set, overlay);
    return picture;
}

void Run(const DrawOptions& options) {
    CheckImageEnding(options.output);
    CheckOutput(options.output, {options.set, options.image}, {FileKind::image}, options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const Image image = LoadImage(options.image);
    SaveImage("overlay", options.output, Drawn(options, set, ForDisplay(image.pixels.View(), image.page.bits)).View());
}

}  // namespace

void AddDrawCommand(CLI::App& roi) {
    const auto options = std::make_shared<DrawOptions>();
    CLI::App& command = AddCommand(roi, "draw", "Draws the figures of a set over an image",
                                   "roi draw part.roi part.png -o overlay.png");
    command.footer(kDetails + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("IMAGE", options->image, "The image to draw over")->required();
    command.add_option("-o,--output", options->output, "The picture to write; its ending names the format")->required();
    options->pixels.AddTo(command, PixelOptions::kParts);
    command.add_flag("--names", options->names, "Show the names of any number of figures");
    command.add_flag("--nodes", options->nodes, "Show the nodes with their numbers, as `roi nodes` and `roi drag` do");
    CLI::Option* const only = command.add_option("--only", options->only, "Draw these figures only")->type_name("NAME");
    command.add_option("--crop", options->crop, "Show one figure close up")->type_name("NAME")->excludes(only);
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

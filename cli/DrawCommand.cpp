#include <memory>

#include "cli/Commands.h"
#include "host/base/OutputCheck.h"
#include "host/draw/Overlay.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

const std::string kDetails =
    R"(The image with the pixels of every figure tinted, its outline, its nodes and its name. Images of more than
8 bits are stretched from their darkest to their brightest value. A close-up shows one figure alone; small ones
are enlarged to at least 600 pixels, each pixel of the image a square.

)";

struct DrawOptions {
    UserPath set;
    UserPath image;
    UserPath output;
    bool force = false;
    bool numberNodes = false;
    std::string crop;
};

cv::Mat Drawn(const DrawOptions& options, const RoiSet& set, cv::Mat picture) {
    const NodeMarks marks = options.numberNodes ? NodeMarks::numbered : NodeMarks::plain;
    if (options.crop.empty()) {
        DrawOverlay(picture, set.Figures(), marks);
        return picture;
    }
    const auto index = static_cast<std::size_t>(&set.At(options.crop) - set.Figures().data());
    return DrawCloseUp(picture, set.Figures(), index, marks);
}

void Run(const DrawOptions& options) {
    CheckImageEnding(options.output);
    CheckOutput(options.output, {options.set, options.image}, {FileKind::image}, options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    SaveImage("overlay", options.output, Drawn(options, set, ForDisplay(LoadImage(options.image))));
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
    command.add_flag("--nodes", options->numberNodes, "Number the nodes, as `roi nodes` and `roi drag` do");
    command.add_option("--crop", options->crop, "Show one figure close up")->type_name("NAME");
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

#include <memory>

#include "host/Commands.h"
#include "host/Image.h"
#include "host/Overlay.h"
#include "host/RoiSet.h"
#include "host/Session.h"

namespace {

const std::string kDetails =
    R"(The image with the pixels of every figure tinted, its outline, its nodes with their numbers and its name.
Images of more than 8 bits are stretched from their darkest to their brightest value.

)";

struct DrawOptions {
    UserPath set;
    UserPath image;
    UserPath output;
};

void Run(const DrawOptions& options) {
    CheckImageEnding(options.output);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    cv::Mat picture = ForDisplay(LoadImage(options.image));
    DrawOverlay(picture, set.Figures());
    SaveImage("overlay", options.output, picture);
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
    command.callback([options] { Run(*options); });
}

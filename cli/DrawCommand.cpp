#include <memory>
#include <opencv2/imgproc.hpp>

#include "cli/Commands.h"
#include "host/draw/Overlay.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/images/Matrices.h"
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
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    cv::Mat picture;
    cv::cvtColor(MatrixOf(ForDisplay(LoadImage(options.image)).View()), picture, cv::COLOR_RGB2BGR);
    picture = Drawn(options, set, picture);
    cv::cvtColor(picture, picture, cv::COLOR_BGR2RGB);
    SaveImage("overlay", options.output, ViewOf(picture));
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
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

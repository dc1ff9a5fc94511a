#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/base/OutputCheck.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/measure/Labels.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

std::string LabelsDetails() {
    return std::string(
               R"(An image as large as IMAGE: 1 at the pixels of the first figure of the set, 2 at those of the second
and so on, 0 elsewhere. It has 16 bits, or 32 for more than 65,535 figures. Where figures overlap the last one has
the pixel, and a warning tells what the others lose.

)") + kPixelRule +
           "\n";
}

struct LabelsOptions {
    UserPath set;
    UserPath image;
    UserPath output;
    bool force = false;
    PixelOptions pixels;
};

void Run(const LabelsOptions& options) {
    CheckImageEnding(options.output);
    CheckOutput(options.output, {options.set, FileOf(options.image)}, {FileKind::image}, options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const ImageFile file(options.image);
    WarnAll(options.image, WarningsOf(options.image, file));
    const PixelSize size = file.Page().size;
    const LabelImage labels = LabelsOf(Regions(set, options.pixels.Rule()).In(size), size);
    SaveImage("labels", options.output, labels.image.View());
    for (std::size_t i = 0; i < labels.taken.size(); ++i) {
        if (labels.taken[i] > 0) {
            Warn(set.Figures()[i].name,
                 fmt::format("{} of its pixels are labelled as a later figure", labels.taken[i]));
        }
    }
}

}  // namespace

void AddLabelsCommand(CLI::App& roi) {
    const auto options = std::make_shared<LabelsOptions>();
    CLI::App& command = AddCommand(roi, "labels", "Writes an image of the figures' numbers",
                                   "roi labels part.roi part.png -o labels.tif");
    command.footer(LabelsDetails() + command.get_footer());
    AddSetArgument(command, options->set);
    AddArgument(command, "IMAGE", options->image, "The image that gives the size");
    command.add_option("-o,--output", options->output, "The labels to write, .tif or .png")->required();
    options->pixels.AddTo(command, PixelOptions::kWhole);
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/OutputCheck.h"
#include "host/base/SafeFile.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/measure/Region.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

const std::string kDetails =
    R"(The mask is 255 at the figure's pixels and 0 elsewhere. What is printed is where it lies in the image: its
pixel (0, 0) is the image's pixel (left, top). A figure without a mask of its own gets one from its hit
test, in the smallest box.

)";

struct MaskOptions {
    UserPath set;
    std::string name;
    UserPath output;
    bool force = false;
    TableFormat format = TableFormat::kText;
    bool sector = false;
};

void Run(const MaskOptions& options) {
    CheckImageEnding(options.output);
    CheckOutput(options.output, {options.set}, {FileKind::image}, options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const auto fail = [&](std::string_view why) { return Error("cannot make mask", options.name, why); };
    const auto pixels = FindAllPixels(set.At(options.name), options.sector ? Cut::sector : Cut::none);
    if (!pixels) {
        throw fail("the figure is too large");
    }
    if (pixels->box.empty()) {
        throw fail("the figure has no pixels");
    }
    const cv::Rect box = pixels->box;
    SaveImage("mask", options.output, Painted(pixels->spans, box));
    Table table({"left", "top", "width", "height"});
    table.Add({std::int64_t{box.x}, std::int64_t{box.y}, std::int64_t{box.width}, std::int64_t{box.height}});
    WriteStdout(table.Format(options.format));
}

}  // namespace

void AddMaskCommand(CLI::App& roi) {
    const auto options = std::make_shared<MaskOptions>();
    CLI::App& command = AddCommand(roi, "mask", "Writes the pixels of a figure as a mask image",
                                   "roi mask part.roi washer -o washer.png");
    command.footer(kDetails + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("NAME", options->name, "The figure")->required();
    command.add_option("-o,--output", options->output, "The mask to write; its ending names the format")->required();
    AddFormatOption(command, options->format);
    command.add_flag("--sector", options->sector,
                     "Cut the ring of an arc donut by its limits: the host's doing, not the figure's");
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

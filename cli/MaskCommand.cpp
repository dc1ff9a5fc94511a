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

std::string MaskDetails() {
    return std::string(
               R"(The mask is 255 at the figure's pixels and 0 elsewhere, in the smallest box; with --exact it is in
between where only a part of a pixel lies inside the outline. What is printed is where it lies in the
image: its pixel (0, 0) is the image's pixel (left, top).

)") + kPixelRule +
           "\n";
}

struct MaskOptions {
    UserPath set;
    std::string name;
    UserPath output;
    bool force = false;
    TableFormat format = TableFormat::kText;
    PixelOptions pixels;
};

void Run(const MaskOptions& options) {
    CheckImageEnding(options.output);
    CheckOutput(options.output, {options.set}, {FileKind::image}, options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const auto fail = [&](std::string_view why) { return Error("cannot make mask", options.name, why); };
    const auto pixels = FindAllPixels(set.At(options.name), options.pixels.Rule());
    if (!pixels) {
        throw fail("the figure is too large");
    }
    const PixelRect box = BoxAround(*pixels);
    if (box.IsEmpty()) {
        throw fail("the figure has no pixels");
    }
    SaveImage("mask", options.output, Painted(*pixels, box).View());
    Table table({"left", "top", "width", "height"});
    table.Add({std::int64_t{box.left}, std::int64_t{box.top}, std::int64_t{box.width}, std::int64_t{box.height}});
    WriteStdout(table.Format(options.format));
}

}  // namespace

void AddMaskCommand(CLI::App& roi) {
    const auto options = std::make_shared<MaskOptions>();
    CLI::App& command = AddCommand(roi, "mask", "Writes the pixels of a figure as a mask image",
                                   "roi mask part.roi washer -o washer.png");
    command.footer(MaskDetails() + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("NAME", options->name, "The figure")->required();
    command.add_option("-o,--output", options->output, "The mask to write; its ending names the format")->required();
    AddFormatOption(command, options->format);
    options->pixels.AddTo(command, PixelOptions::kParts);
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

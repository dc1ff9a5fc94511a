#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/OutputCheck.h"
#include "host/draw/Plot.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/measure/Histogram.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

std::string HistogramDetails() {
    return std::string(
               R"(A row for every bin of every figure: the values from `from` on and below `to` (the last bin has its upper
edge, too), and the area in pixels of those that have them. Without --bins whole numbers get a bin each, at most 256
of them; other values get 256. Bins are equally wide and reach from the smallest value of the figure to the largest.
What is not a number is passed over. IMAGE.tif:3 is page 3 of a file.

)") + kPixelRule +
           "\n";
}

struct HistogramOptions {
    UserPath set;
    UserPath image;
    UserPath plot;
    std::vector<std::string> only;
    int bins = 256;
    bool channels = false;
    bool force = false;
    TableFormat format = TableFormat::kText;
    PixelOptions pixels;
};

bool IsWhole(Depth depth) noexcept { return depth != Depth::f32 && depth != Depth::f64; }

void AddRows(const std::string& figure, const Channel& channel, const Histogram& histogram, Table& table) {
    for (std::size_t i = 0; i < histogram.areas.size(); ++i) {
        table.Add({figure, channel.name, histogram.edges[i], histogram.edges[i + 1], histogram.areas[i]});
    }
}

void Run(const HistogramOptions& options) {
    const bool plotting = !options.plot.Typed().empty();
    if (plotting) {
        CheckPlotEnding(options.plot);
        CheckOutput(options.plot, {options.set, FileOf(options.image)}, {FileKind::image, FileKind::drawing},
                    options.force);
    }
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const Image image = LoadImage(options.image);
    WarnAll(options.image, image.page.warnings);
    const Raster luma = Luma(image);
    const auto channels = options.channels ? Channels(image) : std::vector<Channel>{{"L", luma.View()}};
    Table table({"name", "channel", "from", "to", "area"});
    std::vector<NamedHistogram> histograms;
    for (const Figure* figure : set.Chosen(options.only)) {
        const View view = Region(*figure, options.pixels.Rule()).In(image.page.size);
        for (const Channel& channel : channels) {
            const ValueStatistics values = Measure(channel.values, view.pixels, {.distribution = true});
            const Histogram histogram = HistogramOf(values.distribution, options.bins, IsWhole(channel.values.depth));
            AddRows(figure->name, channel, histogram, table);
            histograms.push_back({channels.size() > 1 ? figure->name + ' ' + channel.name : figure->name, histogram});
        }
    }
    if (plotting && !histograms.empty()) {
        PlotHistograms(histograms, options.image.Absolute().filename().string(), options.plot);
    }
    WriteStdout(table.Format(options.format));
}

}  // namespace

void AddHistogramCommand(CLI::App& roi) {
    const auto options = std::make_shared<HistogramOptions>();
    CLI::App& command = AddCommand(roi, "histogram", "Counts the values of an image within the figures of a set",
                                   "roi histogram part.roi part.png --only bore --bins 16 -o bore.svg");
    command.footer(HistogramDetails() + command.get_footer());
    AddSetArgument(command, options->set);
    AddArgument(command, "IMAGE", options->image, "The image");
    command.add_option("--only", options->only, "These figures only")->type_name("NAME");
    command.add_option("--bins", options->bins, "At most as many bins for each figure")
        ->check(CLI::Range(1, 1 << 20).description(""))
        ->type_name("N");
    AddChannelsOption(command, options->channels, "A histogram");
    command.add_option("-o,--output", options->plot, "Also draw them, as .svg or .png, with gnuplot");
    AddFormatOption(command, options->format);
    options->pixels.AddTo(command, PixelOptions::kParts);
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

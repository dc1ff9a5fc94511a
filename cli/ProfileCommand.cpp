#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/OutputCheck.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/measure/ProfileCurve.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

const std::string kDetails =
    R"(A row for every pixel of the polyline's length: distance, position, and the mean, standard deviation and
number of the samples across the band, one per pixel between its thicknesses, bilinear. Samples outside
the image do not count. Colour images are sampled on their luma.

)";

struct ProfileOptions {
    UserPath set;
    std::string name;
    UserPath image;
    UserPath plot;
    bool force = false;
    TableFormat format = TableFormat::kText;
};

std::string TableOf(const std::vector<CurvePoint>& curve, TableFormat format) {
    Table table({"distance", "x", "y", "mean", "std", "samples"});
    for (const CurvePoint& point : curve) {
        std::vector<Cell> row = {point.distance, point.at.x, point.at.y, {}, {}, std::int64_t{point.samples}};
        if (point.samples > 0) {
            row[3] = point.mean;
            row[4] = point.deviation;
        }
        table.Add(std::move(row));
    }
    return table.Format(format);
}

void Run(const ProfileOptions& options) {
    const bool plotting = !options.plot.Typed().empty();
    if (plotting) {
        CheckPlotEnding(options.plot);
        CheckOutput(options.plot, {options.set, options.image}, {FileKind::image, FileKind::drawing}, options.force);
    }
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const Figure& figure = set.At(options.name);
    const auto profile = figure.As<IROIProfile>();
    if (!profile) {
        throw UsageError("not a profile", figure.name, fmt::format("it is of class {}", figure.type->name));
    }
    const std::vector<CurvePoint> curve = SampleCurve(*profile, figure.name, Luma(LoadImage(options.image)).View());
    if (plotting) {
        PlotCurve(curve, fmt::format("{} on {}", figure.name, options.image.Absolute().filename().string()),
                  options.plot);
    }
    WriteStdout(TableOf(curve, options.format));
}

}  // namespace

void AddProfileCommand(CLI::App& roi) {
    const auto options = std::make_shared<ProfileOptions>();
    CLI::App& command = AddCommand(roi, "profile", "Shows the values of an image along a profile",
                                   "roi profile part.roi scan part.png -o scan.svg");
    command.footer(kDetails + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("NAME", options->name, "The profile")->required();
    command.add_option("IMAGE", options->image, "The image to sample")->required();
    command.add_option("-o,--output", options->plot, "Also draw the curve, as .svg or .png, with gnuplot");
    AddFormatOption(command, options->format);
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/OutputCheck.h"
#include "host/draw/Plot.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Session.h"
#include "host/images/Image.h"
#include "host/measure/ProfileCurve.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

constexpr const char* kProfileDetails =
    R"(A row for every pixel of the polyline's length: distance, position, and the mean, standard deviation and
number of the samples across the band, one per pixel between its thicknesses, bilinear. --thickness takes others,
the same on either side: with 0 the line alone is sampled. Samples outside the image, and those that are not numbers (NaN), do not count; without any the
row has no values. Colour images are sampled on their luma, or with --channels on each channel.

Of several images each has its rows, and so has each page, or each of --pages: the columns image, page and channel
come first where there are several.

)";

struct ProfileOptions {
    UserPath set;
    std::string name;
    std::vector<UserPath> images;
    std::optional<PageSelection> pages;
    bool channels = false;
    std::optional<double> thickness;
    UserPath plot;
    bool force = false;
    TableFormat format = TableFormat::kText;
};

// What is sampled on one channel.
struct Sampled {
    UserPath image;
    int page;
    std::string channel;
    std::vector<CurvePoint> curve;
};

std::vector<Sampled> SampleAll(IROIProfile& profile, const ProfileOptions& options) {
    const ProfileBand band(profile, options.name, options.thickness);
    std::vector<Sampled> all;
    for (const UserPath& path : options.images) {
        ImageFile file(path);
        for (const int page : file.Wanted(options.pages.value_or(PageSelection()))) {
            file.Turn(page);
            WarnAll(path, file.Page().warnings);
            const Image image = file.Read();
            const Raster luma = Luma(image);
            for (const Channel& channel :
                 options.channels ? Channels(image) : std::vector<Channel>{{"L", luma.View()}}) {
                all.push_back({path, page, channel.name, band.Sample(channel.values)});
            }
        }
    }
    return all;
}

std::string TableOf(const std::vector<Sampled>& all, const ProfileOptions& options) {
    const bool pages =
        options.pages || std::any_of(all.begin(), all.end(), [](const Sampled& s) { return s.page > 1; });
    std::vector<std::string> columns = {"distance", "x", "y", "mean", "std", "samples"};
    const auto add = [&columns](bool isThere, const char* name) {
        columns.insert(columns.begin(), isThere ? 1 : 0, name);
    };
    add(options.channels, "channel");
    add(pages, "page");
    add(options.images.size() > 1, "image");
    Table table(columns);
    for (const Sampled& sampled : all) {
        for (const CurvePoint& point : sampled.curve) {
            std::vector<Cell> row;
            if (options.images.size() > 1) {
                row.emplace_back(sampled.image.Typed());
            }
            if (pages) {
                row.emplace_back(std::int64_t{sampled.page});
            }
            if (options.channels) {
                row.emplace_back(sampled.channel);
            }
            const auto number = [](double value) { return std::isfinite(value) ? Cell(value) : Cell(); };
            for (const Cell& cell : {Cell(point.distance), Cell(point.at.x), Cell(point.at.y), number(point.mean),
                                     number(point.deviation), Cell(std::int64_t{point.samples})}) {
                row.push_back(cell);
            }
            table.Add(std::move(row));
        }
    }
    return table.Format(options.format);
}

void Plot(const ProfileOptions& options, const std::vector<Sampled>& all) {
    if (all.size() > 1) {
        throw UsageError("cannot plot", options.plot.Typed(), "a picture shows one curve, of one channel of one page");
    }
    const Sampled& one = all.front();
    PlotCurve(one.curve, fmt::format("{} on {}", options.name, one.image.Absolute().filename().string()), options.plot);
}

void Run(const ProfileOptions& options) {
    const bool plotting = !options.plot.Typed().empty();
    if (plotting) {
        CheckPlotEnding(options.plot);
        CheckOutput(options.plot, {options.set, FileOf(options.images.front())}, {FileKind::image, FileKind::drawing},
                    options.force);
    }
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const Figure& figure = set.At(options.name);
    const auto profile = figure.As<IROIProfile>();
    if (!profile) {
        throw UsageError("not a profile", figure.name, fmt::format("it is of class {}", figure.type->name));
    }
    const std::vector<Sampled> all = SampleAll(*profile, options);
    if (plotting) {
        Plot(options, all);
    }
    WriteStdout(TableOf(all, options));
}

}  // namespace

void AddProfileCommand(CLI::App& roi) {
    const auto options = std::make_shared<ProfileOptions>();
    CLI::App& command = AddCommand(roi, "profile", "Shows the values of an image along a profile",
                                   "roi profile part.roi scan part.png -o scan.svg");
    command.footer(kProfileDetails + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("NAME", options->name, "The profile")->required();
    command.add_option("IMAGE", options->images, "Images to sample")->type_name("")->required();
    AddPagesOption(command, options->pages);
    AddChannelsOption(command, options->channels, "A curve");
    command.add_option("--thickness", options->thickness, "How far the band reaches to either side, in pixels")
        ->check(CLI::Range(0.0, 1e9).description(""))
        ->type_name("T");
    command.add_option("-o,--output", options->plot, "Also draw the curve, as .svg or .png, with gnuplot");
    AddFormatOption(command, options->format);
    AddForceOption(command, options->force);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

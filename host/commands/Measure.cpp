#include <fmt/format.h>

#include <memory>
#include <vector>

#include "host/Commands.h"
#include "host/Image.h"
#include "host/Measure.h"
#include "host/Region.h"
#include "host/RoiSet.h"
#include "host/SafeFile.h"
#include "host/Session.h"

namespace {

const std::string kDetails =
    R"(A row for every image and figure: how many pixels, the mean, standard deviation, minimum and maximum of
their values, their centroid (cx, cy) and the box around them. Pixel (i, j) is tested at the point (i, j).
A figure's pixels are those its mask marks or, without a mask, those whose coordinates its hit test
accepts; a shape has no test, so the host takes its bounding box. An arc donut counts as its full ring.

Colour images are measured on their luma (0.299 R + 0.587 G + 0.114 B; alpha is dropped), images of 16
bits and of floating-point values in their own depth.

The status is ok, clipped (partly outside the image: what is inside is measured), outside, or empty (the
figure holds no pixel at all).

)";

struct MeasureOptions {
    UserPath set;
    std::vector<UserPath> images;
    TableFormat format = TableFormat::kText;
    bool sector = false;
};

const char* TextOf(Placement placement) noexcept {
    switch (placement) {
        case Placement::ok:
            return "ok";
        case Placement::clipped:
            return "clipped";
        case Placement::outside:
            return "outside";
        default:
            return "empty";
    }
}

std::vector<Cell> Row(const UserPath& image, const Figure& figure, const View& view, const cv::Mat& plane) {
    std::vector<Cell> row = {image.Typed(), figure.name, figure.className, TextOf(view.placement)};
    if (const auto statistics = Measure(plane, view.spans)) {
        const Statistics& s = *statistics;
        const auto whole = [](int value) { return Cell(std::int64_t{value}); };
        row.insert(row.end(), {s.pixels, s.mean, s.deviation, s.min, s.max, s.centroidX, s.centroidY, whole(s.box.x),
                               whole(s.box.y), whole(s.box.width), whole(s.box.height)});
    } else {
        row.emplace_back(std::int64_t{0});
        row.resize(row.size() + 10);
    }
    return row;
}

void Run(const MeasureOptions& options) {
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    std::vector<Region> regions;
    for (const Figure& figure : set.Figures()) {
        regions.emplace_back(figure, options.sector ? Cut::sector : Cut::none);
    }
    Table table({"image", "name", "class", "status", "pixels", "mean", "std", "min", "max", "cx", "cy", "left", "top",
                 "width", "height"});
    for (const UserPath& image : options.images) {
        const cv::Mat plane = Luma(LoadImage(image));
        for (std::size_t i = 0; i < regions.size(); ++i) {
            table.Add(Row(image, set.Figures()[i], regions[i].In(plane.size()), plane));
        }
    }
    WriteStdout(table.Format(options.format));
}

}  // namespace

void AddMeasureCommand(CLI::App& roi) {
    const auto options = std::make_shared<MeasureOptions>();
    CLI::App& command = AddCommand(roi, "measure", "Measures every figure of a set on every image",
                                   "roi measure part.roi part.png --format csv");
    command.footer(kDetails + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("IMAGE", options->images, "Images to measure")->required();
    AddFormatOption(command, options->format);
    command.add_flag("--sector", options->sector,
                     "Cut the ring of an arc donut by its limits: the host's doing, not the figure's");
    command.callback([options] { Run(*options); });
}

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <thread>

#include "cli/Commands.h"
#include "cli/Progress.h"
#include "cli/Talk.h"
#include "host/base/Error.h"
#include "host/figures/Session.h"
#include "host/measure/Batch.h"

namespace host::cli {

namespace {

std::string MeasureDetails() {
    return std::string("A row for every image and figure.\n\n") + kPixelRule +
           R"(With --exact every pixel counts with the part of its square that lies inside the outline. --by module takes the
pixels that the figure's mask marks or, without a mask, those whose coordinates its hit test accepts.

Colour images are measured on their luma (0.299 R + 0.587 G + 0.114 B, not rounded; alpha is dropped), all others
in their own depth. Values that are not numbers (NaN) are passed over by every statistic of values; the column nan
counts them. What is not a finite number is nothing in every format: - in the table, empty in CSV, null in JSON.

Every page of an image is measured, or those of --pages. The column page is shown with --pages, and when an image that
is named has several; an image of a list that has several is an error without that column.

Lengths and areas are in the unit that the column unit names: that of --pixel-size, or else um where a TIFF or PNG
says how large its pixels are, or else px. Places (cx, cy, mx, my and the box) are columns and rows of pixels always.

Medians, percentiles and modes are exact. They take memory for each different value in the figures: up to 65,536 for
images of 8 and 16 bits, any number for others, to which the luma of colour images belongs. Nothing else takes memory
that grows with the image, unless its file has to be read as a whole (interlaced PNG, progressive JPEG).

Rows come in the order of the images, whatever the number of jobs. CSV and JSON are written as the images are
measured, in memory that does not grow; the table for people is written at the end, with its numbers rounded.

Without --keep-going the first image that fails ends the work with exit code 1. With it the others are still
measured; the exit code is 7 when some failed, and a last line counts them.

Columns, without --columns those with a * (area and unit, too, with --exact or --pixel-size):
)";
}

constexpr const char* kExamples =
    R"(
Examples:
  roi measure part.roi part.png --format csv
  roi measure part.roi part.png --channels --columns image,name,channel,median
  roi measure part.roi part.png --pixel-size 0.65um --columns name,area,feret,p05,threshold=100-255
  ls *.png | roi measure part.roi --from - --shard 1/2 --keep-going --format json)";

struct MeasureOptions {
    UserPath set;
    std::vector<UserPath> images;
    UserPath list;
    UserPath list0;
    Shard shard;
    std::string columns;
    TableFormat format = TableFormat::kText;
    unsigned int jobs = std::max(std::thread::hardware_concurrency(), 1U);
    bool channels = false;
    std::optional<PageSelection> pages;
    std::optional<PixelScale> scale;
    PixelOptions pixels;
    bool keepGoing = false;
    Damage damage = Damage::refused;
};

// A failure as an error that names the image.
Error Reason(const std::exception_ptr& failure, const UserPath& image) {
    try {
        std::rethrow_exception(failure);
    } catch (const Error& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return {"cannot measure", image.Typed(), "out of memory"};
    } catch (const std::exception& error) {
        return {"cannot measure", image.Typed(), error.what()};
    }
}

struct Tally {
    std::size_t images = 0;
    std::size_t failed = 0;
};

// Tells of the sizes of pixels that files name, each time it is another.
class ScaleTalk {
  public:
    explicit ScaleTalk(bool isNeeded) : m_isNeeded(isNeeded) {}

    void Tell(const UserPath& image, const PixelScale& scale) {
        if (m_isNeeded && scale.unit != "px" && scale != m_last) {
            Warn(image.Typed(), fmt::format("lengths and areas are in {0} by its resolution, {1:.6g} x {2:.6g} {0} a "
                                            "pixel; --pixel-size px keeps pixels",
                                            scale.unit, scale.x, scale.y));
        }
        m_last = scale;
    }

  private:
    bool m_isNeeded;
    PixelScale m_last;
};

// Writes the rows of all images, in order.
Tally WriteRows(Batch& batch, TableStream& table, Progress& progress, ScaleTalk talk, bool keepGoing) {
    Tally tally;
    while (auto outcome = batch.Next()) {
        tally.images += outcome->isLast ? 1 : 0;
        if (outcome->failure) {
            progress.Hide();
            const Error reason = Reason(outcome->failure, outcome->image);
            if (!keepGoing) {
                table.BreakOff();
                throw reason;
            }
            Complain(reason.what());
            ++tally.failed;
        } else {
            progress.Hide();
            WarnAll(outcome->image, outcome->warnings);
            talk.Tell(outcome->image, outcome->scale);
            table.Add(std::move(outcome->rows));
        }
        if (outcome->isLast) {
            progress.Advance();
        }
    }
    return tally;
}

// A line that moves would tear rows that come out on the same terminal.
bool ShowsProgress(TableFormat format) {
    return IsTerminal(STDERR_FILENO) && (format == TableFormat::kText || !IsTerminal(STDOUT_FILENO));
}

// Whether one of the images has several pages; what cannot be read will be told later, and what can be read once only,
// as a pipe, is left for then.
bool HasStack(const std::vector<UserPath>& images) {
    return std::any_of(images.begin(), images.end(), [](const UserPath& path) {
        try {
            const ImageName name(path);
            return !name.page && std::filesystem::is_regular_file(name.file) &&
                   ImageFile(name, Damage::taken).Pages() > 1;
        } catch (const std::exception&) {
            return false;
        }
    });
}

bool AreInUnits(const Columns& columns) {
    return std::any_of(columns.begin(), columns.end(), [](const Column& column) { return column.isInUnits; });
}

void Run(const MeasureOptions& options) {
    const bool nul = !options.list0.Typed().empty();
    const UserPath& list = nul ? options.list0 : options.list;
    if (options.images.empty() && list.Typed().empty()) {
        throw UsageError("usage", "roi measure", "no images: name them, or give a list with --from");
    }
    const PixelRule rule = options.pixels.Rule();
    const bool stacks = options.pages || HasStack(options.images);
    Columns columns =
        PickColumns(options.columns, {options.channels, stacks, options.scale.has_value() || rule == PixelRule::exact});
    ImageList images(options.images, list, options.shard, nul ? PathEnd::nul : PathEnd::line);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const bool shown = ShowsProgress(options.format);
    Progress progress(shown, shown ? images.Count() : std::nullopt);
    TableStream table(NamesOf(columns), options.format);
    const ScaleTalk talk(AreInUnits(columns) && !options.scale);
    Batch batch(set, images,
                {std::move(columns), options.channels, rule, options.damage, options.jobs,
                 options.pages.value_or(PageSelection()), stacks || !options.columns.empty(), options.scale});
    const Tally tally = WriteRows(batch, table, progress, talk, options.keepGoing);
    progress.Hide();
    table.End();
    if (tally.failed > 0) {
        throw PartlyFailed("not all images measured", fmt::format("{} of {} failed", tally.failed, tally.images),
                           "the rows of the others stand");
    }
}

}  // namespace

void AddMeasureCommand(CLI::App& roi) {
    const auto options = std::make_shared<MeasureOptions>();
    CLI::App& command = AddCommand(roi, "measure", "Measures every figure of a set on any number of images", "");
    command.footer(MeasureDetails() + ColumnsHelp() + "\nImage files: " + ImageFormats() +
                   ". IMAGE.tif:3 is page 3 of a file.\n" + kExamples);
    AddSetArgument(command, options->set);
    command.add_option("IMAGE", options->images, "Images to measure")->type_name("");
    const auto from = command
                          .add_option("--from", options->list,
                                      "More images: a file with a path on each line, or - for standard input")
                          ->type_name("LIST");
    command.add_option("--from0", options->list0, "The same with paths that end with NUL, as find -print0 writes them")
        ->type_name("LIST")
        ->excludes(from);
    command
        .add_option("--shard", options->shard,
                    "Measure only the I-th of N parts of the images: the I-th and every N-th after it")
        ->type_name("I/N");
    AddFormatOption(command, options->format);
    command.add_option("--columns", options->columns, "The columns, in this order; see below")
        ->check(CLI::Validator([](const std::string& text) { return text.empty() ? "no columns" : ""; }, ""))
        ->type_name("a,b,c");
    AddChannelsOption(command, options->channels, "A row");
    AddPagesOption(command, options->pages);
    command
        .add_option("--pixel-size", options->scale,
                    "The size of a pixel, columns before rows where they differ: 0.65um, 0.65x0.70um, or px")
        ->type_name("SIZE");
    command
        .add_option("--jobs", options->jobs,
                    "How many images to read and measure at a time; all processors unless given")
        ->check(CLI::Range(1U, 1024U).description(""))
        ->type_name("N");
    AddLenientOption(command, options->damage, "Measure what could be read of damaged images, with the status damaged");
    command.add_flag("--keep-going", options->keepGoing, "Measure the other images when one fails");
    options->pixels.AddTo(command, PixelOptions::kParts);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

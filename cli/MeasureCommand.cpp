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

const std::string kDetails =
    std::string("A row for every image and figure.\n\n") + kPixelRule +
    R"(With --exact every pixel counts with the part of its square that lies inside the outline. --by module takes the
pixels that the figure's mask marks or, without a mask, those whose coordinates its hit test accepts.

Colour images are measured on their luma (0.299 R + 0.587 G + 0.114 B, not rounded; alpha is dropped), all others
in their own depth.

Rows come in the order of the images, whatever the number of jobs. CSV and JSON are written as the images are
measured, in memory that does not grow; the table for people is written at the end, with its numbers rounded.

Without --keep-going the first image that fails ends the work with exit code 1. With it the others are still
measured; the exit code is 7 when some failed, and a last line counts them.

Columns (all up to height are there without --columns):
)";

const std::string kExamples =
    R"(
Examples:
  roi measure part.roi part.png --format csv
  roi measure part.roi part.png --channels --columns image,name,channel,median
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
    PixelOptions pixels;
    bool keepGoing = false;
    bool lenient = false;
};

std::string Reason(const std::exception_ptr& failure, const UserPath& image) {
    try {
        std::rethrow_exception(failure);
    } catch (const Error& error) {
        return error.what();
    } catch (const std::bad_alloc&) {
        return Error("cannot measure", image.Typed(), "out of memory").what();
    } catch (const std::exception& error) {
        return Error("cannot measure", image.Typed(), error.what()).what();
    }
}

struct Tally {
    std::size_t images = 0;
    std::size_t failed = 0;
};

// Writes the rows of all images, in order.
Tally WriteRows(Batch& batch, TableStream& table, Progress& progress, bool keepGoing) {
    Tally tally;
    while (auto outcome = batch.Next()) {
        ++tally.images;
        if (outcome->failure) {
            progress.Hide();
            if (!keepGoing) {
                table.BreakOff();
                std::rethrow_exception(outcome->failure);
            }
            Complain(Reason(outcome->failure, outcome->image));
            ++tally.failed;
        } else {
            for (const std::string& warning : outcome->warnings) {
                progress.Hide();
                Warn(outcome->image.Typed(), warning);
            }
            table.Add(std::move(outcome->rows));
        }
        progress.Advance();
    }
    return tally;
}

// A line that moves would tear rows that come out on the same terminal.
bool ShowsProgress(TableFormat format) {
    return IsTerminal(STDERR_FILENO) && (format == TableFormat::kText || !IsTerminal(STDOUT_FILENO));
}

void Run(const MeasureOptions& options) {
    const bool nul = !options.list0.Typed().empty();
    const UserPath& list = nul ? options.list0 : options.list;
    if (options.images.empty() && list.Typed().empty()) {
        throw UsageError("usage", "roi measure", "no images: name them, or give a list with --from");
    }
    Columns columns = PickColumns(options.columns, options.channels);
    ImageList images(options.images, list, options.shard, nul ? PathEnd::nul : PathEnd::line);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    const bool shown = ShowsProgress(options.format);
    Progress progress(shown, shown ? images.Count() : std::nullopt);
    TableStream table(NamesOf(columns), options.format);
    Batch batch(set, images,
                {std::move(columns), options.channels, options.pixels.Rule(),
                 options.lenient ? Damage::taken : Damage::refused, options.jobs});
    const Tally tally = WriteRows(batch, table, progress, options.keepGoing);
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
    command.footer(kDetails + ColumnsHelp() + "\nImage files: " + ImageFormats() +
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
    command.add_flag("--channels", options->channels, "A row for every channel of a colour image");
    command
        .add_option("--jobs", options->jobs,
                    "How many images to read and measure at a time; all processors unless given")
        ->check(CLI::Range(1U, 1024U).description(""))
        ->type_name("N");
    command.add_flag("--lenient", options->lenient,
                     "Measure what could be read of damaged images, with the status damaged");
    command.add_flag("--keep-going", options->keepGoing, "Measure the other images when one fails");
    options->pixels.AddTo(command, PixelOptions::kParts);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

// roi import and export: figures from and to the files of other programs.
#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "cli/Talk.h"
#include "host/base/OutputCheck.h"
#include "host/base/SafeFile.h"
#include "host/sets/Exchange.h"

namespace host::cli {

namespace {

std::string FormatList() {
    std::string list = "Formats, by --as or by the ending of the file:\n";
    for (const FigureFormat& format : FigureFormats()) {
        list += fmt::format("  {:<9}{:<10}{}\n", format.name, format.ending, format.what);
    }
    return list + "docs/formats.md has a table of what each keeps.\n\n";
}

void AddFormatName(CLI::App& command, std::string& format) {
    command.footer(FormatList() + command.get_footer());
    command.add_option("--as", format, "The format, where the ending of the file does not say it")->type_name("FORMAT");
}

struct ImportOptions {
    UserPath set;
    std::vector<UserPath> files;
    std::string format;
    EditOptions edit{.create = true};
};

void Import(const ImportOptions& options) {
    const Session session;
    std::vector<Warning> warnings;
    Edit(session, options.set, options.edit, [&](RoiSet& set) {
        for (const UserPath& file : options.files) {
            const std::vector<Warning> more = ImportFigures(session, set, file, options.format);
            warnings.insert(warnings.end(), more.begin(), more.end());
        }
    });
    for (const Warning& warning : warnings) {
        Warn(warning.subject, warning.text);
    }
}

struct ExportOptions {
    UserPath set;
    UserPath output;
    std::string format;
    bool force = false;
    bool dryRun = false;
};

void Export(const ExportOptions& options) {
    const FigureFormat& format = FormatFor(options.output, options.format);
    if (format.write == nullptr) {
        throw UsageError("cannot export", format.name, "this format can be imported only");
    }
    CheckOutput(options.output, {options.set}, {format.kind}, options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    std::vector<Warning> warnings;
    const std::string bytes = format.write(set.Figures(), warnings);
    if (!options.dryRun) {
        WriteWholeFile("figures", options.output, bytes);
    }
    for (const Warning& warning : warnings) {
        Warn(warning.subject, warning.text);
    }
}

}  // namespace

void AddImportCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "import", "Adds the figures of other programs' files to a set",
                                   "roi import part2.roi part.geojson");
    const auto options = std::make_shared<ImportOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "FILE", options->files, "Files to read");
    AddFormatName(command, options->format);
    AddEditOptions(command, options->edit);
    command.callback([options] { Import(*options); });
}

void AddExportCommand(CLI::App& roi) {
    CLI::App& command =
        AddCommand(roi, "export", "Writes the figures of a set for other programs", "roi export part.roi part.geojson");
    const auto options = std::make_shared<ExportOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "FILE", options->output, "File to write");
    AddFormatName(command, options->format);
    AddForceOption(command, options->force);
    command.add_flag("--dry-run", options->dryRun, "Only say what would not come over");
    command.callback([options] { Export(*options); });
}

}  // namespace host::cli

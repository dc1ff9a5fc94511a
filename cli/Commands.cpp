#include "cli/Commands.h"

#include <fmt/format.h>

#include <map>

#include "framework/support/Utf8.h"

namespace host::cli {

CLI::App& AddCommand(CLI::App& roi, const std::string& name, const std::string& description,
                     const std::string& example) {
    CLI::App* const command = roi.add_subcommand(name, description);
    command->footer("Example:\n  " + example);
    return *command;
}

void AddSetArgument(CLI::App& command, UserPath& set) {
    AddArgument(command, "SET", set, "Set of figures: a file that ends in .roi or .xml");
}

void WarnAll(const UserPath& image, const std::vector<std::string>& warnings) {
    for (const std::string& warning : warnings) {
        Warn(image.Typed(), warning);
    }
}

void AddEditOptions(CLI::App& command, EditOptions& options) {
    command.add_flag("--dry-run", options.dryRun, "Only say what would change");
    command.add_option("--wait", options.wait, "How long to wait for others who edit sets in the same folder")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 86400.0).description(""))
        ->capture_default_str();
}

void AddPagesOption(CLI::App& command, std::optional<PageSelection>& pages) {
    command.add_option("--pages", pages, "Only these pages of images that have several: 1,3-5")->type_name("LIST");
}

void AddChannelsOption(CLI::App& command, bool& channels, const std::string& what) {
    command.add_flag("--channels", channels, what + " for every channel of a colour image");
}

void AddLenientOption(CLI::App& command, Damage& damage, const std::string& description) {
    command.add_flag_callback(
        "--lenient", [&damage] { damage = Damage::taken; }, description);
}

void AddForceOption(CLI::App& command, bool& force) {
    command.add_flag("--force", force, "Replace a file that is not of the kind that the command writes");
}

UserPath FileOf(const UserPath& image) { return {ImageName(image).file.string()}; }

void Edit(const Session& session, const UserPath& set, const EditOptions& options,
          const std::function<void(RoiSet&)>& edit) {
    EditOptions named = options;
    named.what = CommandLine();
    Tell(EditSet(session, set, named, edit), options);
}

void Tell(const EditResult& result, const EditOptions& options) {
    for (const FigureChange& change : result.changes) {
        if (options.dryRun) {
            Say(Harmless(fmt::format("roi: dry run: {} {}", change.what, change.name)) + '\n');
        }
    }
    for (const Warning& warning : result.warnings) {
        Warn(warning.subject, warning.text);
    }
}

std::string& CommandLine() {
    static std::string line;
    return line;
}

void AddFormatOption(CLI::App& command, TableFormat& format) {
    static const std::map<std::string, TableFormat> kFormats = {
        {"table", TableFormat::kText}, {"csv", TableFormat::kCsv}, {"json", TableFormat::kJson}};
    command
        .add_option_function<std::string>(
            "--format", [&format](const std::string& name) { format = kFormats.at(name); },
            "Rows as a table for people, as csv or as json")
        ->check(CLI::IsMember({"table", "csv", "json"}).description(""))
        ->type_name("table|csv|json");
}

void PixelOptions::AddTo(CLI::App& command, Parts parts) {
    command
        .add_option_function<std::string>(
            "--by", [this](const std::string& name) { m_module = name == "module"; },
            "Whose pixels: those inside the outline, or those of the module's masks and hit tests")
        ->check(CLI::IsMember({"outline", "module"}).description(""))
        ->type_name("outline|module");
    if (parts == kParts) {
        command.add_flag("--exact", m_exact, "Count every pixel with the part of its square inside the outline");
    }
}

PixelRule PixelOptions::Rule() const {
    if (m_exact && m_module) {
        throw UsageError("usage", "--exact", "the module has no parts of pixels");
    }
    return m_exact ? PixelRule::exact : m_module ? PixelRule::module : PixelRule::outline;
}

}  // namespace host::cli

#include "cli/Commands.h"

#include <map>

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

void Save(const RoiSet& set, const UserPath& path) {
    for (const Warning& warning : set.Save(path)) {
        Warn(warning.subject, warning.text);
    }
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

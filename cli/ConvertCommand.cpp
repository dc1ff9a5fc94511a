#include <memory>

#include "cli/Commands.h"
#include "host/base/OutputCheck.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

struct ConvertOptions {
    UserPath from;
    UserPath to;
    EditOptions edit{.anew = true};
    bool force = false;
};

void Run(const ConvertOptions& options) {
    CheckSetEnding(options.to);
    CheckOutput(options.to, {options.from}, {FileKind::set}, options.force);
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.from);
    Edit(session, options.to, options.edit, [&set](RoiSet& copy) { copy = set; });
}

}  // namespace

void AddConvertCommand(CLI::App& roi) {
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App& command = AddCommand(roi, "convert", "Writes a set in another form", "roi convert part.roi part.xml");
    command.footer(
        "A .roi file keeps everything exactly. What .xml does not keep is said in a warning for each figure.\n\n" +
        command.get_footer());
    AddArgument(command, "IN", options->from, "Set to read: a file that ends in .roi or .xml");
    AddArgument(command, "OUT", options->to, "Set to write, in the form that its ending names");
    AddForceOption(command, options->force);
    AddEditOptions(command, options->edit);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

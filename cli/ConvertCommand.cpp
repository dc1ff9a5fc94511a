#include <memory>

#include "cli/Commands.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

struct ConvertOptions {
    UserPath from;
    UserPath to;
};

void Run(const ConvertOptions& options) {
    const Session session;
    Save(RoiSet::Load(session, options.from), options.to);
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
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

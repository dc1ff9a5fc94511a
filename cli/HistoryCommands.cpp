// roi undo, redo and log: the history of a set.
#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/sets/EditSet.h"

namespace host::cli {

namespace {

std::string HistoryDetails() {
    return fmt::format(
        R"(A .roi file keeps the last {} changes, and at most {} MiB of them: the oldest go first. What commands read and
measure does not depend on it. A .xml file keeps no history.

)",
        History::kMostChanges, History::kMostBytes >> 20);
}

struct StepOptions {
    UserPath set;
    EditOptions edit;
};

void AddStepCommand(CLI::App& roi, Step step, const std::string& name, const std::string& description) {
    CLI::App& command = AddCommand(roi, name, description, "roi " + name + " part.roi");
    command.footer(HistoryDetails() + command.get_footer());
    const auto options = std::make_shared<StepOptions>();
    AddSetArgument(command, options->set);
    AddEditOptions(command, options->edit);
    command.callback([options, step] {
        const Session session;
        Tell(StepSet(session, options->set, options->edit, step), options->edit);
    });
}

struct LogOptions {
    UserPath set;
    TableFormat format = TableFormat::kText;
};

void ListHistory(const LogOptions& options) {
    const History history = HistoryOf(options.set);
    Table table({"change", "when", "state", "command"});
    for (std::size_t i = 0; i < history.Changes().size(); ++i) {
        const History::Change& change = history.Changes()[i];
        table.Add({static_cast<std::int64_t>(i) + 1, change.when, std::string(i < history.Done() ? "done" : "undone"),
                   change.what});
    }
    WriteStdout(table.Format(options.format));
}

}  // namespace

void AddUndoCommand(CLI::App& roi) { AddStepCommand(roi, Step::undo, "undo", "Takes the last change of a set back"); }

void AddRedoCommand(CLI::App& roi) {
    AddStepCommand(roi, Step::redo, "redo", "Does the change again that was taken back last");
}

void AddLogCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "log", "Lists the changes of a set that can be taken back", "roi log part.roi");
    command.footer(HistoryDetails() + command.get_footer());
    const auto options = std::make_shared<LogOptions>();
    AddSetArgument(command, options->set);
    AddFormatOption(command, options->format);
    command.callback([options] { ListHistory(*options); });
}

}  // namespace host::cli

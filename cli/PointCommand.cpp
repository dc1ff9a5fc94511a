// roi point: the points of a profile or a polygon, one by one.
#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/figures/Points.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

struct PointOptions {
    UserPath set;
    EditOptions edit;
    std::string name;
    std::string action;
    std::vector<std::string> arguments;
};

void Expect(bool sound, const char* form) {
    if (!sound) {
        throw UsageError("usage", "roi point", fmt::format("write roi point SET NAME {}", form));
    }
}

// The first argument.
int IndexOf(const PointOptions& options) {
    const auto index = ParseInteger(options.arguments.front());
    if (!index) {
        throw UsageError("no such point", options.arguments.front(), "points are counted from 0");
    }
    return *index;
}

void Add(Figure& figure, const PointOptions& options) {
    Expect(!options.arguments.empty(), "add X,Y...");
    for (const std::string& text : options.arguments) {
        AddPoint(figure, ImagePoint(text));
    }
}

void Insert(Figure& figure, const PointOptions& options) {
    Expect(options.arguments.size() == 2, "insert INDEX X,Y");
    InsertPoint(figure, IndexOf(options), ImagePoint(options.arguments[1]));
}

void Move(Figure& figure, const PointOptions& options) {
    Expect(options.arguments.size() == 2, "move INDEX X,Y");
    MovePoint(figure, IndexOf(options), ImagePoint(options.arguments[1]));
}

void Remove(Figure& figure, const PointOptions& options) {
    Expect(options.arguments.size() == 1, "remove INDEX");
    RemovePoint(figure, IndexOf(options));
}

constexpr std::pair<const char*, void (*)(Figure&, const PointOptions&)> kActions[] = {
    {"add", Add}, {"insert", Insert}, {"move", Move}, {"remove", Remove}};

void EditPointsIn(RoiSet& set, const PointOptions& options) {
    Figure& figure = set.At(options.name);
    std::vector<std::string> known;
    for (const auto& [name, edit] : kActions) {
        if (options.action == name) {
            edit(figure, options);
            return;
        }
        known.emplace_back(name);
    }
    throw UnknownName("action", options.action, known);
}

void EditPoints(const PointOptions& options) {
    const Session session;
    Edit(session, options.set, options.edit, [&options](RoiSet& set) { EditPointsIn(set, options); });
}

}  // namespace

void AddPointCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "point", "Adds, inserts, moves or removes points of a profile or a polygon",
                                   "roi point part.roi scan insert 1 520,505.5");
    const auto options = std::make_shared<PointOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "NAME", options->name, "Name of the figure");
    command
        .add_option("ACTION", options->action,
                    "add X,Y... | insert INDEX X,Y | move INDEX X,Y | remove INDEX; indices count from 0")
        ->required();
    AddArgument(command, "ARGUMENTS", options->arguments, "What the action needs");
    AddEditOptions(command, options->edit);
    command.callback([options] { EditPoints(*options); });
}

}  // namespace host::cli

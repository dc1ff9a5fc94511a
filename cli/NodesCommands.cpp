// roi nodes, drag and hit: what a drawing program asks of a figure.
#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"
#include "host/figures/FigureIndex.h"
#include "host/figures/Nodes.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

struct NodesOptions {
    UserPath set;
    std::string name;
    TableFormat format = TableFormat::kText;
};

void ListNodes(const NodesOptions& options) {
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    Table table({"node", "meaning", "x", "y"});
    for (const Node& node : NodesOf(set.At(options.name))) {
        table.Add({node.number, node.meaning, node.at.x, node.at.y});
    }
    WriteStdout(table.Format(options.format));
}

struct DragOptions {
    NodesOptions figure;
    EditOptions edit;
    std::string node;
    ImagePoint to;
    bool center = false;
    bool square = false;
};

// What is printed must arrive before the set is replaced.
void DragIn(const RoiSet& set, const DragOptions& options) {
    const Figure& figure = set.At(options.figure.name);
    const std::vector<Node> before = NodesOf(figure);
    DragNode(figure, options.node, options.to, (options.center ? kKeepCenter : 0) | (options.square ? kBothAxes : 0));
    const std::vector<Node> after = NodesOf(figure);
    Table table({"node", "meaning", "x", "y", "new x", "new y"});
    for (std::size_t i = 0; i < before.size(); ++i) {
        table.Add({before[i].number, before[i].meaning, before[i].at.x, before[i].at.y, after[i].at.x, after[i].at.y});
    }
    WriteStdout(table.Format(options.figure.format));
    if (options.square && (figure.type->modifiers & kBothAxes) == 0) {
        Warn(figure.name, "an arc donut does not know --square and ignores the drag");
    }
}

void Drag(const DragOptions& options) {
    const Session session;
    Edit(session, options.figure.set, options.edit, [&options](const RoiSet& set) { DragIn(set, options); });
}

struct HitOptions {
    UserPath set;
    ImagePoint at;
    PixelOptions pixels;
};

void Hit(const HitOptions& options) {
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    std::string names;
    for (const std::size_t i : FigureIndex(set.Figures()).At(options.at)) {
        const Figure& figure = set.Figures()[i];
        if (HoldsPoint(figure, options.at, options.pixels.Rule())) {
            names += figure.name + '\n';
        }
    }
    WriteStdout(names);
    if (names.empty()) {
        AnswerNo();
    }
}

void AddFigureArguments(CLI::App& command, NodesOptions& options) {
    AddSetArgument(command, options.set);
    AddArgument(command, "NAME", options.name, "Name of the figure");
    AddFormatOption(command, options.format);
}

}  // namespace

void AddNodesCommand(CLI::App& roi) {
    CLI::App& command =
        AddCommand(roi, "nodes", "Lists the nodes of a figure and where they lie", "roi nodes part.roi hole");
    const auto options = std::make_shared<NodesOptions>();
    AddFigureArguments(command, *options);
    command.callback([options] { ListNodes(*options); });
}

void AddDragCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "drag", "Drags a node of a figure and prints the nodes before and after",
                                   "roi drag part.roi hole 2 490,374.5 --square");
    const auto options = std::make_shared<DragOptions>();
    AddFigureArguments(command, options->figure);
    AddArgument(command, "NODE", options->node, "Number of the node; see roi nodes");
    AddArgument(command, "TO", options->to, "Where to drag it: X,Y");
    command.add_flag("--center", options->center, "Keep the centre and grow to both sides");
    command.add_flag("--square", options->square, "Make width and height, or both radii, equal");
    AddEditOptions(command, options->edit);
    command.callback([options] { Drag(*options); });
}

void AddHitCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "hit", "Names the figures that hold a point; exit code 1 when there are none",
                                   "roi hit part.roi 428.5,374.5");
    const auto options = std::make_shared<HitOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "AT", options->at, "The point: X,Y");
    options->pixels.AddTo(command, PixelOptions::kWhole);
    command.callback([options] { Hit(*options); });
}

}  // namespace host::cli

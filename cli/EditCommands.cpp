// roi add, set, list and remove: a set edited through named parameters.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"
#include "host/figures/MaskPicture.h"
#include "host/figures/Parameters.h"
#include "host/images/Image.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

struct AddOptions {
    UserPath set;
    EditOptions edit{.create = true};
    std::string className;
    std::string name;
    std::vector<Assignment> values;
    std::vector<ImagePoint> points;
    UserPath mask;
};

void TakeMask(const Figure& figure, const UserPath& path) {
    if (StartOfFile(path, 2) == "\xFF\xD8") {
        throw UsageError("cannot take --mask", path.Typed(), "a JPEG does not keep the marks as they are; use a PNG");
    }
    GiveMask(figure, Luma(LoadImage(path)).View());
}

void AddFigure(const AddOptions& options) {
    const Session session;
    Edit(session, options.set, options.edit, [&](RoiSet& set) {
        Figure& figure = set.Add(session, options.name, options.className);
        if (!options.points.empty()) {
            SetPoints(figure, options.points);
        }
        if (!options.mask.Typed().empty()) {
            TakeMask(figure, options.mask);
        }
        SetParameters(figure, options.values);
    });
}

struct SetOptions {
    UserPath set;
    EditOptions edit;
    std::string name;
    std::vector<Assignment> values;
    std::string newName;
};

void SetValues(const SetOptions& options) {
    if (options.values.empty() && options.newName.empty()) {
        throw UsageError("usage", "roi set", "nothing to set: give Key=value or --rename");
    }
    const Session session;
    Edit(session, options.set, options.edit, [&options](RoiSet& set) {
        SetParameters(set.At(options.name), options.values);
        if (!options.newName.empty()) {
            set.Rename(options.name, options.newName);
        }
    });
}

struct ListOptions {
    UserPath set;
    TableFormat format = TableFormat::kText;
};

// What a figure holds beside its parameters.
Cell ContentsOf(const Figure& figure) {
    const std::vector<ImagePoint> points = PointsOf(figure);
    if (!points.empty() || figure.type->contents == Contents::points) {
        return fmt::format("{} points", points.size());
    }
    const PixelSize mask = MaskImageOf(figure).Size();
    return mask.IsEmpty() ? Cell() : fmt::format("mask of {} x {}", mask.width, mask.height);
}

void ListFigures(const ListOptions& options) {
    const Session session;
    const RoiSet set = RoiSet::Load(session, options.set);
    Table table({"name", "class", "cx", "cy", "parameters", "holds"});
    for (const Figure& figure : set.Figures()) {
        double x = 0.0;
        double y = 0.0;
        const bool placed = Succeeded(figure.roi->GetCenter(&x, &y));
        table.Add({figure.name, std::string(figure.type->name), placed ? Cell(x) : Cell(), placed ? Cell(y) : Cell(),
                   Settable(ReadParameters(figure)), ContentsOf(figure)});
    }
    WriteStdout(table.Format(options.format));
}

struct RemoveOptions {
    UserPath set;
    EditOptions edit;
    std::vector<std::string> names;
};

void RemoveFigures(const RemoveOptions& options) {
    const Session session;
    Edit(session, options.set, options.edit, [&options](RoiSet& set) { set.Remove(options.names); });
}

}  // namespace

void AddAddCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "add", "Adds a figure to a set, which is created when it does not exist",
                                   "roi add part.roi ROIEllipse --name hole CenterX=428.5 CenterY=374.5 RadiusX=60");
    const auto options = std::make_shared<AddOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "CLASS", options->className, "Class of the figure; see roi classes");
    command.add_option("Key=value", options->values, "Parameters; the others keep their defaults")->type_name("");
    command.add_option("--name", options->name, "Name of the figure, unique in the set")->required();
    command.add_option("--points", options->points, "Points of a profile or a shape; give this option last")
        ->type_name("X,Y");
    command
        .add_option(
            "--mask", options->mask,
            "Image of a ROIMask: what is above 0 belongs to the figure. Not a JPEG, which blurs the marks. Without "
            "CenterX and CenterY its pixels are those at the image's origin")
        ->type_name("IMAGE");
    AddEditOptions(command, options->edit);
    command.callback([options] { AddFigure(*options); });
}

void AddSetCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "set", "Sets parameters of a figure and keeps all others",
                                   "roi set part.roi hole RadiusX=62.25");
    const auto options = std::make_shared<SetOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "NAME", options->name, "Name of the figure");
    command.add_option("Key=value", options->values, "Parameters; angles are in degrees")->type_name("");
    command.add_option("--rename", options->newName, "New name of the figure")->type_name("NEW");
    AddEditOptions(command, options->edit);
    command.callback([options] { SetValues(*options); });
}

void AddListCommand(CLI::App& roi) {
    CLI::App& command =
        AddCommand(roi, "list", "Lists the figures of a set with their parameters", "roi list part.roi --format csv");
    const auto options = std::make_shared<ListOptions>();
    AddSetArgument(command, options->set);
    AddFormatOption(command, options->format);
    command.callback([options] { ListFigures(*options); });
}

void AddRemoveCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "remove", "Removes figures from a set", "roi remove part.roi slot corner");
    const auto options = std::make_shared<RemoveOptions>();
    AddSetArgument(command, options->set);
    AddArgument(command, "NAME", options->names, "Names of the figures");
    AddEditOptions(command, options->edit);
    command.callback([options] { RemoveFigures(*options); });
}

}  // namespace host::cli

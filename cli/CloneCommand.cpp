#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Parameters.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

constexpr const char* kCloneDetails =
    R"(The figure makes the copy itself, as its class does. What a class does not copy, such as the length of a grip, is
said in a warning. An ellipse and a shape make none: the copy is a new figure with the same parameters or
geometry, which a warning says. A mask and its copy show the same image.

)";

struct CloneOptions {
    UserPath set;
    EditOptions edit;
    std::string name;
    std::string newName;
};

// The copy that the class makes; none where it refuses, or says that it copied and gives nothing.
SmartPtr<IROI> Replica(const Figure& figure) {
    SmartPtr<IUnknown> copy;
    figure.roi->Replicate(copy.Receive());
    return SmartPtr<IROI>::QueryFrom(copy.Get());
}

// A new figure of the class with the parameters and the points of this one.
Figure Rebuilt(const Session& session, const Figure& figure) {
    Figure copy = session.Create(figure.name, figure.type->name);
    ApplyParameterList(copy, *ParameterList(figure));
    if (const std::vector<ImagePoint> points = PointsOf(figure); !points.empty()) {
        SetPoints(copy, points);
    }
    return copy;
}

// The names of the values that the class did not copy.
std::string Differences(const Figure& figure, const Figure& copy) {
    std::string names;
    const std::vector<NamedValue> values = ReadParameters(figure);
    const std::vector<NamedValue> copied = ReadParameters(copy);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].value != copied[i].value) {
            names += (names.empty() ? "" : ", ") + values[i].name;
        }
    }
    return names;
}

// Adds the copy, and gives what there is to say of it.
std::string Clone(const Session& session, RoiSet& set, const CloneOptions& options) {
    const Figure figure = set.At(options.name);
    const SmartPtr<IROI> replica = Replica(figure);
    Figure copy = replica ? Figure{{}, figure.type, replica, nullptr} : Rebuilt(session, figure);
    copy.name = options.newName;
    const std::string different = Differences(figure, set.Add(std::move(copy)));
    const std::string aClass = std::string("a ") + figure.type->name;
    if (!replica) {
        return aClass + " does not copy itself: this is a new one with the same " +
               (figure.geometry ? "geometry" : "parameters");
    }
    return different.empty() ? "" : aClass + " does not copy " + different;
}

void Run(const CloneOptions& options) {
    const Session session;
    std::string remark;
    Edit(session, options.set, options.edit, [&](RoiSet& set) { remark = Clone(session, set, options); });
    if (!remark.empty()) {
        Warn(options.newName, remark);
    }
}

}  // namespace

void AddCloneCommand(CLI::App& roi) {
    const auto options = std::make_shared<CloneOptions>();
    CLI::App& command =
        AddCommand(roi, "clone", "Adds a copy of a figure to its set", "roi clone part.roi washer washer2");
    command.footer(kCloneDetails + command.get_footer());
    AddSetArgument(command, options->set);
    AddArgument(command, "NAME", options->name, "The figure");
    AddArgument(command, "NEW", options->newName, "Name of the copy, unique in the set");
    AddEditOptions(command, options->edit);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

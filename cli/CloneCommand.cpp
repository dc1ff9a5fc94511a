#include <memory>

#include "cli/Commands.h"
#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Parameters.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

const std::string kDetails =
    R"(The figure makes the copy itself, as its class does: the ellipse refuses and a shape gives none. What a class
does not copy, such as the length of a grip, is said in a warning. A mask and its copy show the same image.

)";

struct CloneOptions {
    UserPath set;
    std::string name;
    std::string newName;
};

SmartPtr<IROI> Replica(const Figure& figure) {
    const auto fail = [&](std::string_view why) { return Error("cannot clone", figure.name, why); };
    SmartPtr<IUnknown> copy;
    if (Failed(figure.roi->Replicate(copy.Receive()))) {
        throw fail(std::string("a ") + figure.type->name + " refuses to be copied");
    }
    auto roi = SmartPtr<IROI>::QueryFrom(copy.Get());
    if (!roi) {
        throw fail(std::string("a ") + figure.type->name + " gives no copy of itself");
    }
    return roi;
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

void Run(const CloneOptions& options) {
    const Session session;
    RoiSet set = RoiSet::Load(session, options.set);
    const Figure figure = set.At(options.name);
    const Figure& copy = set.Add({options.newName, figure.type, Replica(figure), nullptr});
    const std::string different = Differences(figure, copy);
    Save(set, options.set);
    if (!different.empty()) {
        Warn(copy.name, std::string("a ") + figure.type->name + " does not copy " + different);
    }
}

}  // namespace

void AddCloneCommand(CLI::App& roi) {
    const auto options = std::make_shared<CloneOptions>();
    CLI::App& command =
        AddCommand(roi, "clone", "Adds a copy of a figure to its set", "roi clone part.roi washer washer2");
    command.footer(kDetails + command.get_footer());
    AddSetArgument(command, options->set);
    AddArgument(command, "NAME", options->name, "The figure");
    AddArgument(command, "NEW", options->newName, "Name of the copy, unique in the set");
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

// roi classes: what the module can make.
#include <fmt/format.h>

#include <memory>

#include "cli/Commands.h"
#include "host/base/SafeFile.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Parameters.h"
#include "host/figures/Session.h"

namespace host::cli {

namespace {

// Every interface of the framework, by name.
struct KnownInterface {
    const char* name;
    const IID* iid;
};
#define KNOWN_INTERFACE(name) {#name, &IID_##name},
constexpr KnownInterface kInterfaces[] = {{"IUnknown", &IID_IUnknown}, FRAMEWORK_INTERFACES(KNOWN_INTERFACE)};
#undef KNOWN_INTERFACE

std::string InterfacesOf(IUnknown& object) {
    std::string names;
    for (const KnownInterface& known : kInterfaces) {
        SmartPtr<IUnknown> answer;
        if (Succeeded(object.QueryInterface(*known.iid, answer.ReceiveVoid()))) {
            names += names.empty() ? "" : " ";
            names += known.name;
        }
    }
    return names;
}

void ListClasses(TableFormat format) {
    const Session session;
    Table table({"class", "interfaces", "parameters"});
    std::string text;
    for (const std::string& name : session.Classes()) {
        Figure figure = session.Create(name, name);
        if (figure.type->contents == Contents::points) {
            SetPoints(figure, {{0.0, 0.0}});  // Without points it has no thickness.
        }
        const std::string interfaces = InterfacesOf(*figure.roi);
        const std::vector<NamedValue> defaults = ReadParameters(figure);
        text += fmt::format("{}\n  answers     {}\n  parameters  {}\n", name, interfaces,
                            defaults.empty() ? "none" : ParameterLine(defaults));
        table.Add({name, interfaces, defaults});
    }
    WriteStdout(format == TableFormat::kText ? text : table.Format(format));
}

}  // namespace

void AddClassesCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "classes", "Lists the classes of figures, what they answer and their defaults",
                                   "roi classes --format json");
    const auto format = std::make_shared<TableFormat>(TableFormat::kText);
    AddFormatOption(command, *format);
    command.callback([format] { ListClasses(*format); });
}

}  // namespace host::cli

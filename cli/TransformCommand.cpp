#include <memory>
#include <set>

#include "cli/Commands.h"
#include "cli/Talk.h"
#include "host/base/Error.h"
#include "host/figures/Matrix.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

namespace {

constexpr const char* kTransformDetails =
    R"(The matrix a,b,c,d,e,f maps the point (x, y) to (a x + b y + c, d x + e y + f). Every figure maps itself, as its
class does: none of them leans or mirrors where its parameters have no room for it. A warning for each figure
says what its class leaves out. Without names all figures are mapped.

)";

struct TransformOptions {
    UserPath set;
    EditOptions edit;
    Matrix matrix;
    std::vector<std::string> names;
};

void Run(const TransformOptions& options) {
    const Session session;
    std::vector<std::pair<std::string, std::string>> leftOut;
    Edit(session, options.set, options.edit, [&](const RoiSet& set) {
        std::set<std::string> names;
        for (const std::string& name : options.names) {
            names.insert(set.At(name).name);
        }
        for (const Figure& figure : set.Figures()) {
            if (names.empty() || names.contains(figure.name)) {
                leftOut.emplace_back(figure.name, MapFigure(figure, options.matrix));
            }
        }
    });
    for (const auto& [name, what] : leftOut) {
        if (!what.empty()) {
            Warn(name, what);
        }
    }
}

}  // namespace

void AddTransformCommand(CLI::App& roi) {
    const auto options = std::make_shared<TransformOptions>();
    CLI::App& command = AddCommand(roi, "transform", "Maps figures through a matrix",
                                   "roi transform part.roi --matrix 1,0,12.5,0,1,-3 hole rib");
    command.footer(kTransformDetails + command.get_footer());
    AddSetArgument(command, options->set);
    command.add_option("--matrix", options->matrix, "Six numbers, row by row")->required()->type_name("a,b,c,d,e,f");
    command.add_option("NAME", options->names, "Names of the figures")->type_name("");
    AddEditOptions(command, options->edit);
    command.callback([options] { Run(*options); });
}

}  // namespace host::cli

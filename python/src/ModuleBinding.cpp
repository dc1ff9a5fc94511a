// The extension module: what lies below the package roi.
#include "host/figures/FigureClass.h"
#include "host/measure/Columns.h"
#include "python/src/Bindings.h"

PYBIND11_MODULE(_roi, module) {
    using namespace host::python;
    try {
        TheSession();
    } catch (const host::Error& error) {
        throw py::import_error(error.what());
    }
    BindErrors(module);
    BindFigure(module);
    BindSet(module);
    BindBatch(module);
    module.def(
        "classes",
        [] {
            py::dict classes;
            for (const host::FigureClass* type : host::FigureClasses()) {
                classes[type->name] = type->what;
            }
            return classes;
        },
        "The classes of figures by name, each with what it is.");
    module.def(
        "columns",
        [] {
            py::dict columns;
            for (const host::Column& column : host::AllColumns()) {
                columns[py::str(column.name)] = column.meaning;
            }
            return columns;
        },
        "The columns of Set.measure by name, each with what it means.");
}

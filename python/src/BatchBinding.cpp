#include <algorithm>
#include <mutex>
#include <optional>
#include <thread>

#include "host/measure/Batch.h"
#include "python/src/Arrays.h"
#include "python/src/Bindings.h"

namespace host::python {

namespace {

std::vector<UserPath> PathsFrom(const py::iterable& paths) {
    std::vector<UserPath> list;
    for (const py::handle path : paths) {
        list.push_back(PathFrom(py::reinterpret_borrow<py::object>(path)));
    }
    return list;
}

// Runs what asks the module with the interpreter's lock, which Next has let go of.
void WithTheLock(const std::function<void()>& ask) {
    const py::gil_scoped_acquire lock;
    ask();
}

// The tables of a list of images, one by one.
class FileTables {
  public:
    FileTables(const SetHandle& set, const py::iterable& paths, const BatchOptions& options, py::object failed)
        : m_set(CopyOf(set.Get().Figures())),
          m_names(NamesOf(options.columns)),
          m_failed(std::move(failed)),
          m_images(PathsFrom(paths), {}, {}),
          m_batch(m_set, m_images, options) {}

    py::tuple Next() {
        std::vector<std::vector<Cell>> rows;
        while (std::optional<Batch::Outcome> outcome = NextOutcome()) {
            const std::string& path = outcome->image.Typed();
            for (const std::string& warning : outcome->warnings) {
                Warn(path, warning);
            }
            if (!outcome->failure) {
                std::move(outcome->rows.begin(), outcome->rows.end(), std::back_inserter(rows));
                if (!outcome->isLast) {
                    continue;
                }
                return py::make_tuple(TextOf(path), ToTable(m_names, rows));
            }
            rows.clear();
            const py::object error = ExceptionFor(outcome->failure, path);
            if (m_failed.is_none()) {
                PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
                throw py::error_already_set();
            }
            m_failed(TextOf(path), error);
        }
        throw py::stop_iteration();
    }

  private:
    static py::str TextOf(const std::string& path) {
        return py::reinterpret_steal<py::str>(
            PyUnicode_DecodeFSDefaultAndSize(path.data(), static_cast<Py_ssize_t>(path.size())));
    }

    std::optional<Batch::Outcome> NextOutcome() {
        const std::unique_lock only(m_waiting, std::try_to_lock);
        if (!only) {
            throw Error("cannot measure", "files", "another thread waits for the next table");
        }
        const py::gil_scoped_release others;
        return m_batch.Next();
    }

    RoiSet m_set;
    std::vector<std::string> m_names;
    py::object m_failed;
    ImageList m_images;
    Batch m_batch;
    std::mutex m_waiting;
};

std::unique_ptr<FileTables> MeasureFiles(const SetHandle& set, const py::iterable& paths, const py::object& columns,
                                         bool exact, const std::string& by, bool channels, bool lenient,
                                         const std::optional<int>& jobs, const py::object& failed) {
    const int threads = jobs.value_or(static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U)));
    if (threads < 1 || threads > 1024) {
        throw UsageError("unknown number of jobs", std::to_string(threads), "give 1 to 1024");
    }
    BatchOptions options{ColumnsFrom(columns, {.channels = channels, .areas = exact}, false), channels,
                         RuleFrom(exact, by), lenient ? Damage::taken : Damage::refused,
                         static_cast<unsigned int>(threads)};
    options.stacks = !columns.is_none();
    options.alone = WithTheLock;
    return std::make_unique<FileTables>(set, paths, options, failed);
}

}  // namespace

Columns ColumnsFrom(const py::object& names, ShownColumns shown, bool withoutImage) {
    std::string list;
    if (py::isinstance<py::str>(names)) {
        list = py::cast<std::string>(names);
    } else if (!names.is_none()) {
        list = py::cast<std::string>(py::str(",").attr("join")(names));
    }
    if (list.empty() && !names.is_none()) {
        throw UsageError("no columns", "''", "name some, or leave them out for those that are always there");
    }
    Columns columns = PickColumns(list, shown);
    if (names.is_none() && withoutImage) {
        columns.erase(columns.begin());
    }
    return columns;
}

void BindBatch(py::module_& module) {
    py::class_<FileTables>(module, "FileTables",
                           "The tables of a list of images, in its order; made by Set.measure_files.")
        .def("__iter__", [](const py::object& self) { return self; })
        .def("__next__", &FileTables::Next);
    module.attr("Set").attr("measure_files") = py::cpp_function(
        &MeasureFiles, py::is_method(module.attr("Set")), py::name("measure_files"), py::arg("paths"), py::kw_only(),
        py::arg("columns") = py::none(), py::arg("exact") = false, py::arg("by") = "outline",
        py::arg("channels") = false, py::arg("lenient") = false, py::arg("jobs") = py::none(),
        py::arg("failed") = py::none(),
        "Measures image files as they are iterated over: tuples of a path and its table, in the order of the paths, of "
        "which two per job are open. A table has the rows of all pages of an image; one of several pages needs columns "
        "to be named, of which page is one. jobs images are read and measured at a time, by default as many as there "
        "are processors. The set is taken as it is at the call. An image that fails raises its Error, after which the "
        "iteration can go on; where failed is given, failed(path, error) is called instead.");
}

}  // namespace host::python

#include <fmt/format.h>

#include <new>

#include "framework/support/Utf8.h"
#include "python/src/Bindings.h"

namespace host::python {

namespace {

py::object ErrorType(const char* name) { return py::module_::import("roi.errors").attr(name); }

py::object ExceptionFor(const Error& error) {
    const char* const name = [&error] {
        switch (error.Kind()) {
            case ErrorKind::usage:
                return "UsageError";
            case ErrorKind::unknownName:
                return "UnknownNameError";
            case ErrorKind::missingFile:
                return "MissingFileError";
            default:
                return "Error";
        }
    }();
    return ErrorType(name)(std::string(error.what()));
}

}  // namespace

void BindErrors(py::module_& /*module*/) {
    py::register_local_exception_translator(
        [](std::exception_ptr failure) {  // NOLINT(performance-unnecessary-value-param)
            try {
                if (failure) {
                    std::rethrow_exception(failure);
                }
            } catch (const Error& error) {
                const py::object exception = ExceptionFor(error);
                PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
            }
        });
}

py::object ExceptionFor(const std::exception_ptr& failure, const std::string& subject) {
    try {
        std::rethrow_exception(failure);
    } catch (const Error& error) {
        return ExceptionFor(error);
    } catch (const std::bad_alloc&) {
        return ExceptionFor(Error("cannot measure", subject, "out of memory"));
    } catch (const std::exception& error) {
        return ExceptionFor(Error("cannot measure", subject, error.what()));
    }
}

void Warn(const std::string& subject, const std::string& text) {
    const std::string line = fmt::format("{}: {}", Harmless(subject), Harmless(text));
    if (PyErr_WarnEx(ErrorType("FigureWarning").ptr(), line.c_str(), 1) != 0) {
        throw py::error_already_set();
    }
}

void Warn(std::span<const Warning> warnings) {
    for (const Warning& warning : warnings) {
        Warn(warning.subject, warning.text);
    }
}

bool IsPath(const py::object& object) {
    return py::isinstance<py::str>(object) || py::isinstance<py::bytes>(object) || py::hasattr(object, "__fspath__");
}

UserPath PathFrom(const py::object& object) {
    PyObject* bytes = nullptr;
    if (PyUnicode_FSConverter(object.ptr(), &bytes) == 0) {
        throw py::error_already_set();
    }
    return {std::string(py::reinterpret_steal<py::bytes>(bytes))};
}

PixelRule RuleFrom(bool exact, const std::string& by) {
    if (by != "outline" && by != "module") {
        throw UsageError("unknown rule", by, "pixels count by \"outline\" or by \"module\"");
    }
    if (by == "outline") {
        return exact ? PixelRule::exact : PixelRule::outline;
    }
    if (exact) {
        throw UsageError("unknown rule", "module with exact", "the module answers for whole pixels");
    }
    return PixelRule::module;
}

}  // namespace host::python

// The parts of the extension module, one file each, and what they share: errors, warnings, paths, rules.
#pragma once

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <exception>
#include <span>
#include <string>

#include "host/base/Error.h"
#include "host/base/UserPath.h"
#include "host/measure/Columns.h"
#include "host/measure/Region.h"
#include "host/sets/RoiSet.h"
#include "python/src/Handles.h"

namespace host::python {

namespace py = pybind11;

/// Every exception of the host's becomes the one of roi.errors that fits its kind.
void BindErrors(py::module_& module);
void BindFigure(py::module_& module);
void BindSet(py::module_& module);
/// Lists of files measured on several threads.
void BindBatch(py::module_& module);

/// A failure as an instance of its Python exception; of one that is not the host's, measuring `subject` failed.
py::object ExceptionFor(const std::exception_ptr& failure, const std::string& subject);

/// Issues Python warnings. Throws py::error_already_set where the user has made them errors.
void Warn(const std::string& subject, const std::string& text);
void Warn(std::span<const Warning> warnings);

/// str(object).
inline std::string Shown(const py::handle& object) { return py::str(object); }

/// Whether an object is a path: a text, bytes or what has __fspath__.
bool IsPath(const py::object& object);
/// Throws py::error_already_set for what is no path.
UserPath PathFrom(const py::object& object);

/// `by` is "outline" or "module". Throws a usage error for anything else and for the module with parts of pixels.
PixelRule RuleFrom(bool exact, const std::string& by);

/// The columns that are named in a list or in a text `a,b,c`; for None those that are shown, the image apart for one
/// that has no name.
Columns ColumnsFrom(const py::object& names, ShownColumns shown, bool withoutImage);

/// The figure of a class, with what it is made of.
Figure MakeFigure(const std::string& className, const std::string& name, const py::object& points,
                  const py::object& mask, const py::kwargs& parameters);

}  // namespace host::python

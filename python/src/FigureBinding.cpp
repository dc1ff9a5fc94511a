#include <fmt/format.h>

#include <algorithm>

#include "host/base/Text.h"
#include "host/figures/FigureClass.h"
#include "host/figures/MaskPicture.h"
#include "host/figures/Matrix.h"
#include "host/figures/Nodes.h"
#include "host/measure/PointTest.h"
#include "host/measure/ProfileCurve.h"
#include "host/sets/formats/ForeignFigure.h"
#include "python/src/Arrays.h"
#include "python/src/Bindings.h"

namespace host::python {

namespace {

using Handle = std::shared_ptr<FigureHandle>;

// ---------------------------------------------------------------------------------------------------
// Parameters

py::object ToPython(const NamedValue& value) {
    return std::visit([](const auto& held) { return py::cast(held); }, value.value);
}

const NamedValue* Find(const std::vector<NamedValue>& values, std::string_view name) noexcept {
    const auto found =
        std::find_if(values.begin(), values.end(), [name](const NamedValue& value) { return value.name == name; });
    return found == values.end() ? nullptr : &*found;
}

py::object GetValue(FigureHandle& figure, std::string_view name) {
    const std::vector<NamedValue>& values = figure.Values();
    if (const NamedValue* const value = Find(values, name)) {
        return ToPython(*value);
    }
    std::vector<std::string> known;
    std::transform(values.begin(), values.end(), std::back_inserter(known),
                   [](const NamedValue& value) { return value.name; });
    throw UnknownName("parameter", name, known, ErrorKind::unknownName);
}

Assignment AssignmentOf(const py::handle& name, const py::handle& value) {
    Assignment assignment;
    assignment.key = py::cast<std::string>(name);
    assignment.value = py::isinstance<py::int_>(value) && !py::isinstance<py::bool_>(value)
                           ? Shown(value)
                           : NumberText(py::cast<double>(py::float_(py::reinterpret_borrow<py::object>(value))));
    return assignment;
}

std::vector<Assignment> AssignmentsOf(const py::kwargs& parameters) {
    std::vector<Assignment> assignments;
    for (const auto& [name, value] : parameters) {
        assignments.push_back(AssignmentOf(name, value));
    }
    return assignments;
}

std::vector<std::string> KeysOf(FigureHandle& figure) {
    std::vector<std::string> keys;
    for (const NamedValue& value : figure.Values()) {
        keys.push_back(value.name);
    }
    return keys;
}

void Rename(const Handle& figure, const std::string& name) {
    if (figure->Owner()) {
        figure->Owner()->Rename(figure->Get().name, name);
    } else {
        figure->Rename(name);
    }
}

// ---------------------------------------------------------------------------------------------------
// What a figure is made of

py::list NodeList(const FigureHandle& figure) {
    const py::object node = py::module_::import("roi.types").attr("Node");
    py::list nodes;
    for (const Node& found : NodesOf(figure.Get())) {
        const auto number = ParseInteger(found.number);
        nodes.append(node(number ? py::object(py::int_(*number)) : py::str(found.number), found.meaning, found.at.x,
                          found.at.y));
    }
    return nodes;
}

void Drag(FigureHandle& figure, const py::object& node, std::pair<double, double> to, bool center, bool square) {
    figure.Forget();
    DragNode(figure.Get(), Shown(node), {to.first, to.second}, (center ? kKeepCenter : 0) | (square ? kBothAxes : 0));
}

py::list LoopList(const std::vector<Loop>& loops) {
    py::list list;
    for (const Loop& loop : loops) {
        list.append(ToArray(loop));
    }
    return list;
}

py::object OutlineOf(const FigureHandle& figure) {
    const Loops loops = LoopsOf(figure.Get());
    return py::module_::import("roi.types").attr("Outline")(LoopList(loops.outer), LoopList(loops.holes));
}

void MapThrough(FigureHandle& figure, const PointArray& matrix) {
    if (matrix.ndim() != 2 || matrix.shape(0) < 2 || matrix.shape(1) != 3) {
        throw UsageError("not a matrix", "array of shape " + Shown(matrix.attr("shape")),
                         "give an array of shape (2, 3) or (3, 3)");
    }
    std::string text;
    for (int i = 0; i < 6; ++i) {
        text += (i > 0 ? "," : "") + NumberText(matrix.at(i / 3, i % 3));
    }
    figure.Forget();
    const std::string leftOut = MapFigure(figure.Get(), Matrix(text));
    if (!leftOut.empty()) {
        Warn(figure.Get().name, leftOut);
    }
}

py::object ImageOf(const FigureHandle& figure) {
    const Raster image = MaskImageOf(figure.Get());
    return image.IsEmpty() ? py::object(py::none()) : ToArray(image);
}

// ---------------------------------------------------------------------------------------------------
// Pixels and points

py::array MaskOf(const FigureHandle& figure, const py::object& shape, const std::string& by) {
    const PixelSize size = SizeFrom(shape);
    return MaskArray(Region(figure.Get(), RuleFrom(false, by)).In(size).pixels, size);
}

py::array CoverageOf(const FigureHandle& figure, const py::object& shape) {
    const PixelSize size = SizeFrom(shape);
    return CoverageArray(Region(figure.Get(), PixelRule::exact).In(size).pixels, size);
}

py::array_t<bool> Contains(const FigureHandle& figure, const py::object& points) {
    const PointArray array = PointsFrom(points);
    py::array_t<bool> inside(array.shape(0));
    const PointTest test(figure.Get());
    const double* const xy = array.data();
    auto* const answers = reinterpret_cast<std::uint8_t*>(inside.mutable_data());
    const auto count = static_cast<std::size_t>(array.shape(0));
    const py::gil_scoped_release others;
    test.Test(xy, count, answers);
    return inside;
}

py::array_t<bool> Hits(const FigureHandle& figure, const py::object& points) {
    const PointArray array = PointsFrom(points);
    py::array_t<bool> hits(array.shape(0));
    for (py::ssize_t i = 0; i < array.shape(0); ++i) {
        *hits.mutable_data(i) = HoldsPoint(figure.Get(), {*array.data(i, 0), *array.data(i, 1)}, PixelRule::module);
    }
    return hits;
}

py::dict ProfileTable(const FigureHandle& figure, const py::object& image) {
    const auto profile = figure.Get().As<IROIProfile>();
    if (!profile) {
        throw UsageError("not a profile", figure.Get().name, fmt::format("it is of class {}", figure.Get().type->name));
    }
    const ProfileBand band(*profile, figure.Get().name);
    const ImageArgument argument(image);
    std::vector<std::vector<Cell>> rows;
    {
        const py::gil_scoped_release others;
        Raster luma;
        for (const CurvePoint& point : band.Sample(PlaneOf(argument, luma))) {
            rows.push_back(
                {point.distance, point.at.x, point.at.y, point.mean, point.deviation, std::int64_t{point.samples}});
        }
    }
    return ToTable({"distance", "x", "y", "mean", "std", "samples"}, rows);
}

Handle FromState(const py::bytes& state) {
    const RoiSet set = Unpickled(state);
    if (set.Figures().size() != 1) {
        throw Error("broken pickle", "figure", "it has not one figure");
    }
    return std::make_shared<FigureHandle>(set.Figures().front());
}

}  // namespace

Figure MakeFigure(const std::string& className, const std::string& name, const py::object& points,
                  const py::object& mask, const py::kwargs& parameters) {
    CheckFigureName(name);
    Figure figure = TheSession().Create(name, className);
    if (!points.is_none()) {
        const PointArray array = PointsFrom(points);
        std::vector<ImagePoint> corners;
        for (py::ssize_t i = 0; i < array.shape(0); ++i) {
            corners.emplace_back(*array.data(i, 0), *array.data(i, 1));
        }
        SetPoints(figure, corners);
    }
    if (!mask.is_none()) {
        const ImageArgument image(mask);
        Raster luma;
        RasterView plane = PlaneOf(image, luma);
        // Whatever is above 0 becomes 255, which an image of bytes keeps as it is.
        plane.depth = image.Page().bits == 1 ? Depth::i8 : plane.depth;
        GiveMask(figure, plane);
    }
    SetParameters(figure, AssignmentsOf(parameters));
    return figure;
}

void BindFigure(py::module_& module) {
    py::class_<FigureHandle, Handle>(module, "Figure",
                                     R"(A region of interest: a named figure of one of the classes
that roi.classes() names.

Its parameters are read and set by name, as in figure["RadiusX"] = 80 and dict(figure); angles are in degrees,
everything else in pixels. Points are x to the right and y downward, and the centre of the first pixel is (0, 0). A
figure of a set is one and the same object each time the set hands it out; it lives on when it is removed from its set.
Figures can be pickled and copied; a copy is in no set.)")
        .def(py::init([](const std::string& className, const std::string& name, const py::object& points,
                         const py::object& mask, const py::kwargs& parameters) {
                 return std::make_shared<FigureHandle>(MakeFigure(className, name, points, mask, parameters));
             }),
             py::arg("class_name"), py::arg("name") = "figure", py::kw_only(), py::arg("points") = py::none(),
             py::arg("mask") = py::none(), "A figure in no set; see Set.add.")
        .def_property_readonly(
            "class_name", [](const FigureHandle& figure) { return figure.Get().type->name; },
            "The name of its class, such as \"ROIEllipse\".")
        .def_property(
            "name", [](const FigureHandle& figure) { return figure.Get().name; },
            [](const Handle& figure, const std::string& name) { Rename(figure, name); },
            "Its name, 1 to 200 bytes of UTF-8. Setting it renames the figure in its set; Error when another figure "
            "has "
            "the name.")
        .def("__getitem__", &GetValue, py::arg("name"),
             "The parameter of that name. UnknownNameError when there is none.")
        .def(
            "__setitem__",
            [](FigureHandle& figure, const std::string& name, const py::object& value) {
                figure.SetValues(std::vector{AssignmentOf(py::str(name), value)});
            },
            py::arg("name"), py::arg("value"),
            "Sets one parameter and keeps the others. UsageError, with the figure unchanged, for an unknown name and "
            "for "
            "a value that the figure does not take.")
        .def(
            "update",
            [](FigureHandle& figure, const py::kwargs& parameters) { figure.SetValues(AssignmentsOf(parameters)); },
            "Sets several parameters at once, as in figure.update(RadiusX=80, RadiusY=40).")
        .def("keys", &KeysOf, "The names of its parameters, in the order of its class.")
        .def("__iter__", [](FigureHandle& figure) { return py::iter(py::cast(KeysOf(figure))); })
        .def("__len__", [](FigureHandle& figure) { return figure.Values().size(); })
        .def("__contains__",
             [](FigureHandle& figure, const std::string& name) { return Find(figure.Values(), name) != nullptr; })
        .def("__contains__", [](FigureHandle&, const py::object&) { return false; })
        // A figure without parameters is a figure.
        .def("__bool__", [](const FigureHandle&) { return true; })
        .def_property_readonly(
            "nodes", &NodeList,
            "Its nodes as roi.Node tuples (node, meaning, x, y). Nodes are numbers; those of a profile "
            "are texts KIND:POINT.")
        .def("drag", &Drag, py::arg("node"), py::arg("to"), py::kw_only(), py::arg("center") = false,
             py::arg("square") = false,
             "Drags a node to the point (x, y). With center the figure grows to both sides of its centre, with square "
             "its "
             "sides or radii become equal. UsageError for a node that is not there or does not move.")
        .def("transform", &MapThrough, py::arg("matrix"),
             "Maps the figure through an affine matrix of shape (2, 3), as its class does; FigureWarning for what the "
             "class "
             "leaves out.")
        .def_property_readonly(
            "points", [](const FigureHandle& figure) { return ToArray(PointsOf(figure.Get())); },
            "The points of a profile or a shape as an array of shape (n, 2); none of other classes.")
        .def_property_readonly("image", &ImageOf,
                               "The image of a mask as a uint8 array, copied; None of other figures.")
        .def("outline", &OutlineOf,
             "The figure as it is drawn and measured, as a roi.Outline of two lists of loops, outer and holes. A loop "
             "is an "
             "array of shape (n, 2), with arcs as chords that are off by 0.02 pixels at most.")
        .def("mask", &MaskOf, py::arg("shape"), py::kw_only(), py::arg("by") = "outline",
             "A bool array of shape (rows, columns): true at the pixels whose centres lie inside the outline or, with "
             "by=\"module\", at those that the module answers for. An image's shape may be given as it is.")
        .def("coverage", &CoverageOf, py::arg("shape"),
             "A float64 array of shape (rows, columns): the part of every pixel's square that lies inside the outline.")
        .def("contains", &Contains, py::arg("points"),
             "A bool array of shape (n,): which of the points, an array of shape (n, 2), lie inside the outline; on an "
             "edge "
             "the left and top side count. Runs without the interpreter's lock.")
        .def("hits", &Hits, py::arg("points"),
             "A bool array of shape (n,): which of the points, an array of shape (n, 2), the module's own hit test "
             "accepts.")
        .def("profile", &ProfileTable, py::arg("image"),
             "The values of an image (array or path) along a profile: a dict of the arrays distance, x, y, mean, std "
             "and "
             "samples, with a value for every pixel of its length. UsageError for other classes.")
        .def("__repr__",
             [](const FigureHandle& figure) {
                 return fmt::format("<roi.Figure {} of class {}>", Shown(py::repr(py::str(figure.Get().name))),
                                    figure.Get().type->name);
             })
        .def(py::pickle([](const FigureHandle& figure) { return py::bytes(Pickled({figure.Get()})); }, &FromState));
}

}  // namespace host::python

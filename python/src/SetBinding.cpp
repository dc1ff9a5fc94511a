#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "host/base/OutputCheck.h"
#include "host/base/SafeFile.h"
#include "host/draw/Display.h"
#include "host/draw/Overlay.h"
#include "host/figures/FigureClass.h"
#include "host/measure/Batch.h"
#include "host/measure/Labels.h"
#include "host/measure/ModulePixels.h"
#include "host/measure/PageMeter.h"
#include "host/sets/EditSet.h"
#include "host/sets/Exchange.h"
#include "python/src/Arrays.h"
#include "python/src/Bindings.h"

namespace host::python {

namespace {

using Handle = std::shared_ptr<SetHandle>;

// ---------------------------------------------------------------------------------------------------
// Files

Handle Import(const UserPath& path, const std::string& format) {
    RoiSet set;
    Warn(ImportFigures(TheSession(), set, path, format));
    return std::make_shared<SetHandle>(std::move(set));
}

Handle Read(const py::object& file, const std::string& format) {
    const UserPath path = PathFrom(file);
    const bool isSet = (path.Extension() == ".roi" || path.Extension() == ".xml") &&
                       !IsOfKind(FileKind::imageJ, StartOfFile(path, 64));
    return format.empty() && isSet ? std::make_shared<SetHandle>(RoiSet::Load(TheSession(), path))
                                   : Import(path, format);
}

void Save(const SetHandle& set, const py::object& file) {
    const EditOptions options{.what = "save from Python", .create = true, .anew = true};
    Warn(EditSet(TheSession(), PathFrom(file), options, [&set](RoiSet& saved) { saved = set.Get(); }).warnings);
}

void Export(const SetHandle& set, const py::object& file, const std::string& formatName) {
    const UserPath path = PathFrom(file);
    const FigureFormat& format = FormatFor(path, formatName);
    if (format.write == nullptr) {
        throw UsageError("cannot export", format.name, "this format can be imported only");
    }
    std::vector<Warning> warnings;
    WriteWholeFile("figures", path, format.write(set.Get().Figures(), warnings));
    Warn(warnings);
}

// ---------------------------------------------------------------------------------------------------
// Figures by name

std::shared_ptr<FigureHandle> Append(SetHandle& set, const FigureHandle& figure, const std::string& name) {
    Figure copy = CopyOf({figure.Get()}).Figures().front();
    copy.name = name.empty() ? copy.name : name;
    return set.Add(std::move(copy));
}

// Copies: whatever Python does with a list that is being made may change the set.
std::vector<std::string> NamesOf(const SetHandle& set) {
    std::vector<std::string> names;
    for (const Figure& figure : set.Get().Figures()) {
        names.push_back(figure.name);
    }
    return names;
}

std::vector<std::shared_ptr<FigureHandle>> HandlesOf(SetHandle& set) {
    std::vector<std::shared_ptr<FigureHandle>> handles;
    for (const Figure& figure : set.Get().Figures()) {
        handles.push_back(set.At(figure.name));
    }
    return handles;
}

std::vector<std::pair<std::string, std::shared_ptr<FigureHandle>>> ItemsOf(SetHandle& set) {
    std::vector<std::pair<std::string, std::shared_ptr<FigureHandle>>> items;
    for (const std::shared_ptr<FigureHandle>& handle : HandlesOf(set)) {
        items.emplace_back(handle->Get().name, handle);
    }
    return items;
}

bool Has(const SetHandle& set, const std::string& name) {
    const std::vector<Figure>& figures = set.Get().Figures();
    return std::any_of(figures.begin(), figures.end(), [&](const Figure& figure) { return figure.name == name; });
}

// ---------------------------------------------------------------------------------------------------
// Measuring and drawing

std::vector<std::string> NamesAt(SetHandle& set, const std::pair<double, double>& point, const std::string& by) {
    return set.Holding({point.first, point.second}, RuleFrom(false, by));
}

// What measuring asks of figures, without the figures, which others may change meanwhile.
std::vector<Figure> NamesAndClasses(const RoiSet& set) {
    std::vector<Figure> figures;
    for (const Figure& figure : set.Figures()) {
        figures.push_back({figure.name, figure.type, nullptr, nullptr});
    }
    return figures;
}

py::dict MeasureImage(const SetHandle& set, const py::object& image, const py::object& columnNames, bool exact,
                      const std::string& by, bool channels, bool lenient) {
    const PixelRule rule = RuleFrom(exact, by);
    const ImageArgument argument(image, lenient ? Damage::taken : Damage::refused);
    const Columns columns =
        ColumnsFrom(columnNames, {.channels = channels, .areas = exact}, argument.Path().Typed().empty());
    const std::vector<Figure> figures = NamesAndClasses(set.Get());
    const Views views = Regions(set.Get(), rule).In(argument.View().size);
    std::vector<std::vector<Cell>> rows;
    {
        const py::gil_scoped_release others;
        const MeasuredPlanes planes(argument, channels);
        const MeasuredPage page{argument.Path(), argument.Number(), PixelScale(argument.Page()), argument.IsDamaged()};
        rows = MeasureFigures(page, figures, *views, planes.Channels(), columns);
    }
    return ToTable(host::NamesOf(columns), rows);
}

py::array LabelsIn(const SetHandle& set, const py::object& shape, const std::string& by) {
    const PixelSize size = SizeFrom(shape);
    const Views views = Regions(set.Get(), RuleFrom(false, by)).In(size);
    const LabelImage labels = [&] {
        const py::gil_scoped_release others;
        return LabelsOf(views, size);
    }();
    const std::vector<std::string> names = NamesOf(set);
    for (std::size_t i = 0; i < labels.taken.size(); ++i) {
        if (labels.taken[i] > 0) {
            Warn(names[i], fmt::format("{} of its pixels are labelled as a later figure", labels.taken[i]));
        }
    }
    return ToArray(labels.image);
}

Raster PictureOf(const ImageArgument& image, const Overlay& overlay) {
    const py::gil_scoped_release others;
    return overlay.Picture(ForDisplay(image.View(), image.Page().bits).View().Part(overlay.Window()));
}

py::array Draw(const SetHandle& set, const py::object& image, const std::vector<std::string>& only,
               const std::string& closeUp, bool nodes, const std::optional<bool>& names, bool exact,
               const std::string& by) {
    // More names than that would hide the image.
    constexpr std::size_t kFewFigures = 20;
    const std::size_t shown = only.empty() ? set.Get().Figures().size() : only.size();
    const bool named = names.value_or(!closeUp.empty() || shown <= kFewFigures);
    const ImageArgument argument(image);
    const Overlay overlay(set.Get(), argument.View().size, {RuleFrom(exact, by), nodes, named, only, closeUp});
    return ToArray(PictureOf(argument, overlay));
}

// The figures on plain ground, as large as it takes; nothing where that would be no picture to look at.
py::object Picture(const SetHandle& set) {
    constexpr int kLargest = 4096;
    int right = 0;
    int bottom = 0;
    for (const Figure& figure : set.Get().Figures()) {
        const PixelRect box = ModuleExtent(figure).value_or(PixelRect{});
        right = std::max(right, static_cast<int>(std::min<std::int64_t>(box.Right(), kLargest)));
        bottom = std::max(bottom, static_cast<int>(std::min<std::int64_t>(box.Bottom(), kLargest)));
    }
    if (right < 1 || bottom < 1) {
        return py::none();
    }
    Raster ground({right + 32, bottom + 32}, 3, Depth::u8);
    std::fill_n(ground.Data(), ground.RowBytes() * static_cast<std::size_t>(ground.Size().height), std::byte{40});
    const Raster picture = Overlay(set.Get(), ground.Size(), {}).Picture(ground.View());
    return py::bytes(EncodeImage(Format::png, picture.View()));
}

}  // namespace

void BindSet(py::module_& module) {
    module.def("read", &Read, py::arg("path"), py::arg("format") = "",
               "A Set of the figures in a file: a set, or a file of another program, of the format that its name or "
               "`format` says. FigureWarning for what does not come over.");
    py::class_<SetHandle, Handle>(module, "Set", R"(Named figures, in order: a mapping of names to figures.

Names are unique. Sets can be pickled and copied; a copy has figures of its own.)")
        .def(py::init<>(), "An empty set.")
        .def(py::init([](const py::object& path) {
                 return std::make_shared<SetHandle>(RoiSet::Load(TheSession(), PathFrom(path)));
             }),
             py::arg("path"), "The set in a .roi or .xml file.")
        .def(
            "add",
            [](SetHandle& set, const std::string& className, const std::string& name, const py::object& points,
               const py::object& mask,
               const py::kwargs& parameters) { return set.Add(MakeFigure(className, name, points, mask, parameters)); },
            py::arg("class_name"), py::arg("name"), py::kw_only(), py::arg("points") = py::none(),
            py::arg("mask") = py::none(),
            "Appends a figure and returns it. Parameters that are not given keep the defaults of the class. points, an "
            "array "
            "of shape (n, 2), are those of a profile or a shape, where two are corners of a box; mask is the image of "
            "a "
            "ROIMask, an array or a path: what is above 0 belongs to the figure, whose pixels lie at the image's "
            "origin "
            "unless CenterX and CenterY say otherwise. Error, with the set unchanged, for a name that is taken, "
            "UsageError "
            "for what the class does not know.")
        .def("append", &Append, py::arg("figure"), py::arg("name") = "",
             "Appends a copy of a figure and returns it, under its own name or another.")
        .def("__getitem__", &SetHandle::At, py::arg("name"),
             "The figure of that name. UnknownNameError, with the nearest name, when there is none.")
        .def(
            "__delitem__", [](SetHandle& set, const std::string& name) { set.Remove(std::vector{name}); },
            py::arg("name"))
        .def(
            "remove",
            [](SetHandle& set, const py::args& names) { set.Remove(py::cast<std::vector<std::string>>(names)); },
            "Removes all figures of these names, or none when one does not exist.")
        .def("rename", &SetHandle::Rename, py::arg("name"), py::arg("new_name"), "Renames a figure.")
        .def("__len__", [](const SetHandle& set) { return set.Get().Figures().size(); })
        .def("__bool__", [](const SetHandle& set) { return !set.Get().Figures().empty(); })
        .def("__iter__", [](const SetHandle& set) { return py::iter(py::cast(NamesOf(set))); })
        .def("__contains__", &Has, py::arg("name"))
        .def("__contains__", [](const SetHandle&, const py::object&) { return false; })
        .def("keys", &NamesOf, "The names, in order.")
        .def("values", &HandlesOf, "The figures, in order.")
        .def("items", &ItemsOf, "Tuples of a name and its figure, in order.")
        .def("at", &NamesAt, py::arg("point"), py::kw_only(), py::arg("by") = "outline",
             "The names of the figures that hold a point (x, y), the topmost first, which is the last of the set. With "
             "by=\"module\" its hit tests answer. Quick in large sets: only figures whose box holds the point are "
             "asked.")
        .def("measure", &MeasureImage, py::arg("image"), py::kw_only(), py::arg("columns") = py::none(),
             py::arg("exact") = false, py::arg("by") = "outline", py::arg("channels") = false,
             py::arg("lenient") = false,
             "Measures every figure on an image, an array or a path: a dict of arrays by column, with a row for every "
             "figure "
             "and, with channels, each of its channels. roi.columns() names the columns. With exact every pixel counts "
             "with "
             "the part of it that lies inside; by=\"module\" takes the pixels that the module answers for; lenient "
             "measures "
             "what can be read of a damaged file. Colour images are measured on their luma. Whole numbers are int64 "
             "where "
             "none is missing, other numbers float64 with NaN for those that are. Measures without the interpreter's "
             "lock.")
        .def("labels", &LabelsIn, py::arg("shape"), py::kw_only(), py::arg("by") = "outline",
             "An array of shape (rows, columns), uint16 or for more than 65,535 figures uint32: 1 at the pixels of the "
             "first "
             "figure, 2 at those of the second and so on, 0 elsewhere. The last figure has a pixel that several share; "
             "FigureWarning for what the others lose.")
        .def("draw", &Draw, py::arg("image"), py::kw_only(), py::arg("only") = std::vector<std::string>(),
             py::arg("close_up") = "", py::arg("nodes") = false, py::arg("names") = py::none(),
             py::arg("exact") = false, py::arg("by") = "outline",
             "The figures over an image, an array or a path: a new uint8 array of shape (rows, columns, 3). Images of "
             "more "
             "than 8 bits are stretched. only are the names of figures to draw, close_up is one to be shown alone, "
             "enlarged, with its surroundings; names are shown of up to 20 figures "
             "unless "
             "told. Draws without the interpreter's lock.")
        .def("save", &Save, py::arg("path"),
             "Writes the set to a .roi or .xml file, whole or not at all. A .roi file that is a set keeps its history "
             "and "
             "remembers the change. FigureWarning for what XML does not keep.")
        .def("export", &Export, py::arg("path"), py::arg("format") = "",
             "Writes the figures for other programs, in the format that the path's ending or `format` names. "
             "FigureWarning "
             "for what does not come over.")
        .def("_repr_png_", &Picture)
        .def("__repr__",
             [](const SetHandle& set) { return fmt::format("<roi.Set of {} figures>", set.Get().Figures().size()); })
        .def(py::pickle([](const SetHandle& set) { return py::bytes(Pickled(set.Get().Figures())); },
                        [](const py::bytes& state) { return std::make_shared<SetHandle>(Unpickled(state)); }));
}

}  // namespace host::python

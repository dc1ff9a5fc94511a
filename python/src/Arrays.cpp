#include "python/src/Arrays.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace host::python {

namespace {

constexpr py::ssize_t kLongestSide = 1 << 29;
// Of more pixels no array is made.
constexpr py::ssize_t kMostPixels = py::ssize_t{1} << 30;

Error BadImage(const py::object& array, const char* why) {
    const std::string subject = "array of " + Shown(array.attr("dtype")) + " and shape " + Shown(array.attr("shape"));
    return UsageError("cannot use image", subject, why);
}

// Nothing for values that the host does not store.
std::optional<Depth> DepthOf(const py::dtype& type) {
    struct Row {
        py::ssize_t bytes;
        Depth depth;
        char kind;
    };
    static constexpr Row kRows[] = {{1, Depth::u8, 'b'},  {1, Depth::u8, 'u'},  {1, Depth::i8, 'i'},
                                    {2, Depth::u16, 'u'}, {2, Depth::i16, 'i'}, {4, Depth::u32, 'u'},
                                    {4, Depth::i32, 'i'}, {8, Depth::u64, 'u'}, {8, Depth::i64, 'i'},
                                    {4, Depth::f32, 'f'}, {8, Depth::f64, 'f'}};
    const auto* const row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& known) {
        return known.kind == type.kind() && known.bytes == type.itemsize();
    });
    return row != std::end(kRows) ? std::optional(row->depth) : std::nullopt;
}

py::dtype DtypeOf(Depth depth) {
    return InType(depth, [](auto* type) { return py::dtype::of<std::remove_pointer_t<decltype(type)>>(); });
}

// The array itself where its values lie as the host reads them, and a copy otherwise: half floats as float32, which
// loses nothing, longer ones as float64, which rounds them.
py::array Readable(const py::array& array) {
    const py::dtype type = array.dtype();
    if (!type.attr("isnative").cast<bool>()) {
        return Readable(array.attr("astype")(type.attr("newbyteorder")("=")));
    }
    if (type.kind() == 'f' && !DepthOf(type)) {
        return array.attr("astype")(type.itemsize() < 4 ? "float32" : "float64");
    }
    return array.attr("flags").attr("aligned").cast<bool>() ? array : py::array(array.attr("copy")());
}

}  // namespace

// ---------------------------------------------------------------------------------------------------
// Images

ImageArgument::ImageArgument(const py::object& image, Damage damage) {
    if (IsPath(image)) {
        m_path = PathFrom(image);
        Load(damage);
    } else {
        ViewArray(image);
    }
}

void ImageArgument::Load(Damage damage) {
    Image image;
    {
        const py::gil_scoped_release others;
        image = LoadImage(m_path, damage);
    }
    for (const std::string& warning : image.page.warnings) {
        Warn(m_path.Typed(), warning);
    }
    m_page = image.page;
    m_pixels = image.pixels;
    m_view = m_pixels.View();
    m_number = ImageName(m_path).page.value_or(1);
    m_damaged = image.damaged;
}

void ImageArgument::ViewArray(const py::object& image) {
    const py::array array = Readable(py::module_::import("numpy").attr("asarray")(image));
    const auto depth = DepthOf(array.dtype());
    if (!depth) {
        throw BadImage(array, "its values must be real numbers");
    }
    if (array.ndim() != 2 && array.ndim() != 3) {
        throw BadImage(array, "its shape must be (rows, columns) or (rows, columns, channels)");
    }
    const auto* const sides = array.shape();
    if (!std::all_of(sides, sides + array.ndim(), [](auto side) { return side >= 1 && side <= kLongestSide; })) {
        throw BadImage(array, "it has no pixels, or too many");
    }
    m_array = array;
    m_page.size = {static_cast<int>(sides[1]), static_cast<int>(sides[0])};
    m_page.channels = array.ndim() == 3 ? static_cast<int>(sides[2]) : 1;
    m_page.depth = *depth;
    m_page.bits = array.dtype().kind() == 'b' ? 1 : static_cast<int>(8 * BytesOf(*depth));
    m_page.isColour = m_page.channels == 3 || m_page.channels == 4;
    m_page.hasAlpha = m_page.channels == 2 || m_page.channels == 4;
    m_view = {static_cast<const std::byte*>(array.data()),
              m_page.size,
              m_page.channels,
              *depth,
              array.ndim() == 3 ? array.strides(2) : array.itemsize(),
              array.strides(1),
              array.strides(0)};
}

RasterView PlaneOf(const ImageArgument& image, Raster& luma) {
    if (!image.Page().isColour) {
        return image.View().Channel(0);
    }
    luma = Luma(image.Page(), image.View());
    return luma.View();
}

MeasuredPlanes::MeasuredPlanes(const ImageArgument& image, bool channels) {
    if (channels) {
        m_channels = host::Channels(image.Page(), image.View());
    } else {
        m_channels = {{"L", PlaneOf(image, m_luma)}};
    }
}

PixelSize SizeFrom(const py::object& shape) {
    std::vector<py::ssize_t> sides;
    try {
        for (const py::handle side : shape) {
            sides.push_back(py::cast<py::ssize_t>(side.attr("__index__")()));
        }
    } catch (const std::exception&) {
        sides.clear();
    }
    const auto good = [](py::ssize_t side) { return side >= 0 && side <= kLongestSide; };
    if (sides.size() < 2 || !good(sides[0]) || !good(sides[1])) {
        throw UsageError("not a shape", Shown(shape), "give (rows, columns), as an image's shape");
    }
    if (sides[0] * sides[1] > kMostPixels) {
        throw UsageError("shape too large", Shown(shape), "an array has at most 2^30 pixels");
    }
    return {static_cast<int>(sides[1]), static_cast<int>(sides[0])};
}

// ---------------------------------------------------------------------------------------------------
// Points

PointArray PointsFrom(const py::object& points) {
    PointArray array = py::module_::import("numpy").attr("ascontiguousarray")(points, "float64");
    if (array.ndim() != 2 || array.shape(1) != 2) {
        throw UsageError("not points", "array of shape " + Shown(array.attr("shape")),
                         "give an array of shape (n, 2): x and y of each");
    }
    return array;
}

PointArray ToArray(const std::vector<ImagePoint>& points) {
    PointArray array({static_cast<py::ssize_t>(points.size()), py::ssize_t{2}});
    double* to = array.mutable_data();
    for (const ImagePoint& point : points) {
        *to++ = point.x;
        *to++ = point.y;
    }
    return array;
}

// ---------------------------------------------------------------------------------------------------
// Pixels

py::array ToArray(const Raster& raster) {
    auto* const kept = new Raster(raster);
    const py::capsule owner(kept, [](void* pixels) { delete static_cast<Raster*>(pixels); });
    std::vector<py::ssize_t> shape = {raster.Size().height, raster.Size().width};
    if (raster.Channels() > 1) {
        shape.push_back(raster.Channels());
    }
    return py::array(DtypeOf(raster.Depth()), shape, kept->Data(), owner);
}

namespace {

template <class Value>
py::array_t<Value> Zeros(PixelSize size) {
    return py::module_::import("numpy").attr("zeros")(py::make_tuple(size.height, size.width), py::dtype::of<Value>());
}

}  // namespace

py::array MaskArray(const PixelSet& pixels, PixelSize size) {
    py::array_t<bool> mask = Zeros<bool>(size);
    for (const Span& span : pixels.spans) {
        std::fill_n(mask.mutable_data(span.y, span.firstX), span.Length(), true);
    }
    return mask;
}

py::array CoverageArray(const PixelSet& pixels, PixelSize size) {
    py::array_t<double> coverage = Zeros<double>(size);
    for (const Span& span : pixels.spans) {
        std::fill_n(coverage.mutable_data(span.y, span.firstX), span.Length(), 1.0);
    }
    for (const PartPixel part : pixels.parts) {
        *coverage.mutable_data(part.y, part.x) = part.weight;
    }
    return coverage;
}

// ---------------------------------------------------------------------------------------------------
// Tables

namespace {

template <class Value>
bool Is(const Cell& cell) {
    return std::holds_alternative<Value>(cell);
}

py::object TextOf(const Cell& cell) {
    const auto* const text = std::get_if<std::string>(&cell);
    return text == nullptr ? py::object(py::none()) : py::str(*text);
}

double NumberOf(const Cell& cell) {
    if (const auto* const whole = std::get_if<std::int64_t>(&cell)) {
        return static_cast<double>(*whole);
    }
    const auto* const number = std::get_if<double>(&cell);
    return number != nullptr ? *number : std::numeric_limits<double>::quiet_NaN();
}

// One column as an array, each of its values made by `make`.
template <class Value, class Make>
py::array Filled(const std::vector<std::vector<Cell>>& rows, std::size_t column, Make make) {
    py::array_t<Value> array(static_cast<py::ssize_t>(rows.size()));
    std::transform(rows.begin(), rows.end(), array.mutable_data(),
                   [&](const std::vector<Cell>& row) { return make(row[column]); });
    return array;
}

py::array ColumnArray(const std::vector<std::vector<Cell>>& rows, std::size_t column) {
    const auto all = [&](auto test) {
        return std::all_of(rows.begin(), rows.end(), [&](const auto& row) { return test(row[column]); });
    };
    if (!all([](const Cell& cell) { return !Is<std::string>(cell); })) {
        py::list texts;
        for (const std::vector<Cell>& row : rows) {
            texts.append(TextOf(row[column]));
        }
        return py::module_::import("numpy").attr("array")(texts, "object");
    }
    if (!rows.empty() && all(Is<std::int64_t>)) {
        return Filled<std::int64_t>(rows, column, [](const Cell& cell) { return std::get<std::int64_t>(cell); });
    }
    return Filled<double>(rows, column, NumberOf);
}

}  // namespace

py::dict ToTable(const std::vector<std::string>& names, const std::vector<std::vector<Cell>>& rows) {
    py::dict table;
    for (std::size_t i = 0; i < names.size(); ++i) {
        table[py::str(names[i])] = ColumnArray(rows, i);
    }
    return table;
}

}  // namespace host::python

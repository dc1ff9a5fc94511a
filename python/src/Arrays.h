// NumPy arrays: images and points that come in, pixels and tables that go out.
#pragma once

#include <pybind11/numpy.h>

#include <string>
#include <vector>

#include "host/base/Cell.h"
#include "host/images/Image.h"
#include "host/measure/PixelSet.h"
#include "python/src/Bindings.h"

namespace host::python {

/// An image that Python hands over: an array of shape (rows, columns) or (rows, columns, channels), viewed where it
/// lies and kept as long as this lives, or the path of a file. Three and four channels are colours, two and four have
/// alpha as the last. Arrays of values that the host has no depth for, of foreign byte order or out of line are copied.
class ImageArgument {
  public:
    /// Throws Error for arrays of other shapes and of what is no number, and what LoadImage throws; a file is read
    /// without the interpreter's lock.
    explicit ImageArgument(const py::object& image, Damage damage = Damage::refused);

    /// How the file was named; empty for an array.
    const UserPath& Path() const noexcept { return m_path; }
    /// The number of the page, from 1.
    int Number() const noexcept { return m_number; }
    bool IsDamaged() const noexcept { return m_damaged; }
    const PageInfo& Page() const noexcept { return m_page; }
    const RasterView& View() const noexcept { return m_view; }

  private:
    void ViewArray(const py::object& image);
    void Load(Damage damage);

    UserPath m_path;
    PageInfo m_page;
    RasterView m_view;
    py::object m_array;
    Raster m_pixels;
    int m_number = 1;
    bool m_damaged = false;
};

/// The planes of an image that are measured, and the pixels that they view. Needs no interpreter.
class MeasuredPlanes {
  public:
    MeasuredPlanes(const ImageArgument& image, bool channels);

    const std::vector<Channel>& Channels() const noexcept { return m_channels; }

  private:
    Raster m_luma;
    std::vector<Channel> m_channels;
};

/// The one plane of an image that is measured: a view of `image`, or of `luma`, which takes what has to be made.
RasterView PlaneOf(const ImageArgument& image, Raster& luma);

/// The size that a shape (rows, columns[, ...]) means. Throws Error for anything else.
PixelSize SizeFrom(const py::object& shape);

using PointArray = py::array_t<double, py::array::c_style>;
/// Points as an array of shape (n, 2). Throws Error for other shapes.
PointArray PointsFrom(const py::object& points);
PointArray ToArray(const std::vector<ImagePoint>& points);

/// The pixels as an array of shape (rows, columns), or (rows, columns, channels) where there are several. They are
/// shared.
py::array ToArray(const Raster& raster);
/// Of that size, with true at the pixels; and with the part of each that counts.
py::array MaskArray(const PixelSet& pixels, PixelSize size);
py::array CoverageArray(const PixelSet& pixels, PixelSize size);

/// The columns of a table by name: whole numbers as int64 where none is missing, other numbers as float64 with NaN for
/// those that are missing, texts as str objects with None.
py::dict ToTable(const std::vector<std::string>& names, const std::vector<std::vector<Cell>>& rows);

}  // namespace host::python

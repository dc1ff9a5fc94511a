// Pixels in memory: a plain view of anybody's, and an image of our own. No image library shows here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "host/base/Plane.h"

namespace host {

/// How one value of a pixel is stored. Fewer than 8 bits are kept as u8.
enum class Depth { u8, i8, u16, i16, u32, i32, u64, i64, f32, f64 };

constexpr std::size_t BytesOf(Depth depth) noexcept {
    switch (depth) {
        case Depth::u8:
        case Depth::i8:
            return 1;
        case Depth::u16:
        case Depth::i16:
            return 2;
        case Depth::u32:
        case Depth::i32:
        case Depth::f32:
            return 4;
        default:
            return 8;
    }
}

/// Calls `body` with a null pointer to the type in which a depth is stored:
/// InType(view.depth, [&](auto* type) { using Value = std::remove_pointer_t<decltype(type)>; ... }).
template <class Body>
decltype(auto) InType(Depth depth, Body body) {
    switch (depth) {
        case Depth::u8:
            return body(static_cast<std::uint8_t*>(nullptr));
        case Depth::i8:
            return body(static_cast<std::int8_t*>(nullptr));
        case Depth::u16:
            return body(static_cast<std::uint16_t*>(nullptr));
        case Depth::i16:
            return body(static_cast<std::int16_t*>(nullptr));
        case Depth::u32:
            return body(static_cast<std::uint32_t*>(nullptr));
        case Depth::i32:
            return body(static_cast<std::int32_t*>(nullptr));
        case Depth::u64:
            return body(static_cast<std::uint64_t*>(nullptr));
        case Depth::i64:
            return body(static_cast<std::int64_t*>(nullptr));
        case Depth::f32:
            return body(static_cast<float*>(nullptr));
        default:
            return body(static_cast<double*>(nullptr));
    }
}

/// Pixels that somebody else owns and that stay unchanged while they are viewed: `channels` values for each of
/// width x height pixels, strides in bytes, of any sign. Empty, with null data, for an image without pixels.
struct RasterView {
    const std::byte* data = nullptr;
    PixelSize size;
    int channels = 1;
    Depth depth = Depth::u8;
    std::ptrdiff_t channelStride = 1;
    std::ptrdiff_t columnStride = 1;
    std::ptrdiff_t rowStride = 0;

    bool IsEmpty() const noexcept { return data == nullptr || size.IsEmpty() || channels <= 0; }
    /// One of the channels as an image of a single channel.
    RasterView Channel(int index) const noexcept {
        RasterView one = *this;
        one.data += index * channelStride;
        one.channels = 1;
        return one;
    }
    /// The part inside `box`, which must lie in the image.
    RasterView Part(const PixelRect& box) const noexcept {
        RasterView part = *this;
        part.data += box.top * rowStride + box.left * columnStride;
        part.size = {box.width, box.height};
        return part;
    }
    /// The first value of a row. Value must be the type of the depth.
    template <class Value>
    const Value* Row(int y) const noexcept {
        return reinterpret_cast<const Value*>(data + y * rowStride);
    }
};

/// Pixels of our own, rows without gaps, the values of a pixel side by side. Copying shares the pixels, which are
/// written only by whoever made them, before they are shared.
class Raster {
  public:
    Raster() = default;
    /// Pixels that are not set yet. Throws std::bad_alloc without memory; sizes must not be negative.
    Raster(PixelSize size, int channels, Depth depth);

    RasterView View() const noexcept;
    PixelSize Size() const noexcept { return m_size; }
    int Channels() const noexcept { return m_channels; }
    enum Depth Depth() const noexcept { return m_depth; }
    bool IsEmpty() const noexcept { return m_size.IsEmpty(); }

    /// The topmost rows, sharing the pixels; there must be as many.
    Raster Top(int rows) const noexcept {
        Raster top = *this;
        top.m_size.height = rows;
        return top;
    }

    /// The pixels, to be written.
    std::byte* Data() noexcept { return m_data.get(); }
    std::size_t RowBytes() const noexcept;
    template <class Value>
    Value* Row(int y) noexcept {
        return reinterpret_cast<Value*>(m_data.get() + static_cast<std::size_t>(y) * RowBytes());
    }

  private:
    std::shared_ptr<std::byte[]> m_data;
    PixelSize m_size;
    int m_channels = 1;
    enum Depth m_depth = Depth::u8;
};

}  // namespace host

#include "host/base/Raster.h"

#include <limits>
#include <new>

namespace host {

Raster::Raster(PixelSize size, int channels, enum Depth depth) : m_size(size), m_channels(channels), m_depth(depth) {
    const std::size_t rows = static_cast<std::size_t>(size.height);
    if (rows > 0 && RowBytes() > std::numeric_limits<std::size_t>::max() / 2 / rows) {
        throw std::bad_alloc();
    }
    m_data.reset(new std::byte[rows * RowBytes()]);
}

std::size_t Raster::RowBytes() const noexcept {
    return static_cast<std::size_t>(m_size.width) * static_cast<std::size_t>(m_channels) * BytesOf(m_depth);
}

RasterView Raster::View() const noexcept {
    const auto value = static_cast<std::ptrdiff_t>(BytesOf(m_depth));
    return {
        m_data.get(), m_size, m_channels, m_depth, value, value * m_channels, static_cast<std::ptrdiff_t>(RowBytes())};
}

}  // namespace host

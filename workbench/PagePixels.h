// One page of an image with reduced copies of itself, each half as wide and high as the one before.
#pragma once

#include <atomic>
#include <vector>

#include "host/base/Raster.h"
#include "host/images/FileReader.h"

namespace host::workbench {

/// The longest side of the last copy, and the side of a tile.
inline constexpr int kTileSide = 256;

/// Filled once from the top down, by one thread; meanwhile others may read the rows that are there.
class PagePixels {
  public:
    /// Room for the pixels of a page: in memory or, where that is much, in a file without a name. Throws
    /// std::runtime_error when there is none.
    explicit PagePixels(const PageInfo& page);
    PagePixels(const PagePixels&) = delete;
    PagePixels& operator=(const PagePixels&) = delete;
    ~PagePixels();

    /// The whole page, then its copies: each pixel the mean of the up to four below it.
    int Levels() const noexcept { return static_cast<int>(m_levels.size()); }
    RasterView Level(int level) const noexcept;
    /// How many rows of a level are there.
    int Rows(int level = 0) const noexcept { return m_levels[static_cast<std::size_t>(level)].rows; }
    std::size_t Bytes() const noexcept { return m_bytes; }

    /// Where the next row of the page goes, and the word that it is there.
    std::byte* NextRow() noexcept;
    void RowIsThere();

  private:
    struct Copy {
        PixelSize size;
        std::size_t offset = 0;
        std::atomic<int> rows = 0;

        Copy(PixelSize levelSize, std::size_t at) : size(levelSize), offset(at) {}
        Copy(Copy&& other) noexcept : size(other.size), offset(other.offset) {}
    };

    std::size_t RowBytes(const PixelSize& size) const noexcept;
    void Reduce(std::size_t from);

    int m_channels;
    Depth m_depth;
    std::vector<Copy> m_levels;
    std::size_t m_bytes = 0;
    std::byte* m_data = nullptr;
};

}  // namespace host::workbench

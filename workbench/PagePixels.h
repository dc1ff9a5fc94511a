// One page of an image with reduced copies of itself, each half as wide and high as the one before.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "host/base/Raster.h"
#include "host/images/FileReader.h"

namespace host::workbench {

/// The longest side of the last copy, and the side of a tile.
inline constexpr int kTileSide = 256;

/// Filled once by one thread, a band of rows after the other in any order, each from the top down; meanwhile others may
/// read the rows that are there.
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
    /// How many rows of the page are there, and whether one of a level is.
    int Rows() const noexcept { return m_rows; }
    bool IsThere(int level, int row) const noexcept;
    std::size_t Bytes() const noexcept { return m_bytes; }

    /// The bands of the page: where they begin, which of them has a row of a level, and whether all of one is there.
    int Bands() const noexcept { return m_bands; }
    int TopOf(int band) const noexcept { return band * m_bandHeight; }
    int BandOf(int level, int row) const noexcept { return row / (m_bandHeight >> level); }
    bool IsWhole(int band) const noexcept;

    /// Where the next row of a band goes, and the word that it is there.
    std::byte* NextRow(int band) noexcept;
    void RowIsThere(int band);

  private:
    struct Copy {
        PixelSize size;
        std::size_t offset = 0;
        std::unique_ptr<std::atomic<int>[]> rows;  ///< that are there, of every band
    };

    std::size_t RowBytes(const PixelSize& size) const noexcept;
    std::byte* RowAt(const Copy& copy, int row) const noexcept;
    int TopOf(std::size_t level, int band) const noexcept { return band * (m_bandHeight >> level); }
    int HeightOf(std::size_t level, int band) const noexcept;
    void Reduce(std::size_t from, int band);

    int m_channels;
    Depth m_depth;
    std::vector<Copy> m_levels;
    int m_bandHeight = 0;
    int m_bands = 0;
    std::atomic<int> m_rows = 0;
    std::size_t m_bytes = 0;
    std::byte* m_data = nullptr;
};

}  // namespace host::workbench

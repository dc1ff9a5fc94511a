// What a page shows of an image: tiles of it, and the range of its values.
#pragma once

#include <optional>
#include <string>

#include "workbench/ImageStore.h"

namespace host::workbench {

/// A tile: the pixels from (256 x, 256 y) on of a copy of the page.
struct TileId {
    int level = 0;
    int x = 0;
    int y = 0;
};

/// The values below and above which `percent` percent of all values lie, of one channel or of those that are shown; of
/// those rows that are there. Looks at some million values of a large page.
ShownRange RangeOf(const LoadedPage& page, std::optional<int> channel, double percent);

/// The first band of the page that a tile needs and that is not there as a whole; nothing when all of it is.
std::optional<int> MissingBand(const LoadedPage& page, const TileId& tile);

/// Starts what tiles are made with, which takes a while. Throws std::runtime_error, as the first tile then does.
void PrepareTiles();

/// A tile as PNG: in grey of one channel, or in the page's colours. What lies outside the page, or is not read yet, is
/// transparent, and what is not a number is black. The tile must lie in the page.
std::string TileOf(const LoadedPage& page, const TileId& tile, std::optional<int> channel, ShownRange range);

}  // namespace host::workbench

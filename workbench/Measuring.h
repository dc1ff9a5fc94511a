// What a page of an image holds at figures.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/measure/Columns.h"
#include "workbench/Answer.h"
#include "workbench/ImageStore.h"

namespace host::workbench {

/// What to measure on a page that is read wholly.
struct Measurement {
    std::shared_ptr<const LoadedPage> page;
    Columns columns;
    PixelRule rule = PixelRule::outline;
    bool channels = false;  ///< a row for every channel of a colour image
    PixelScale scale;
};

/// Appends the rows of a figure, as Batch gives them.
void AppendRows(const Figure& figure, const Measurement& measurement, Json& rows);

/// How many of a figure's pixels have which values, as edges and counts: the bins of host::HistogramOf, at most 256. Of
/// one channel, or of what is measured.
Json HistogramOf(const Figure& figure, const LoadedPage& page, std::optional<int> channel);

/// The curve of a profile as ProfileBand::Sample gives it, a list for each of its values, and the distances in the unit
/// of the scale. Throws Error for other figures.
Json ProfileOf(const Figure& figure, const LoadedPage& page, std::optional<int> channel, const PixelScale& scale);

/// The values of a pixel, channel by channel; null outside the page and below what is read of it.
Json ValueAt(const LoadedPage& page, int x, int y);

}  // namespace host::workbench

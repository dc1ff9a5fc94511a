// All figures of a set in one image of whole numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/Raster.h"
#include "host/measure/Batch.h"

namespace host {

/// Every pixel holds the position, from 1, of the last figure that it belongs to, and 0 where there is none.
struct LabelImage {
    Raster image;  ///< of 16 bits, or of 32 where there are more than 65,535 figures
    /// For every figure the number of its pixels that a later one has.
    std::vector<std::int64_t> taken;
};

/// The labels of what an image of that size shows of the figures. It asks the module for nothing.
LabelImage LabelsOf(const Views& views, PixelSize size);

}  // namespace host

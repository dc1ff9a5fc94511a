// How often which values occur, in bins.
#pragma once

#include <vector>

#include "host/measure/Statistics.h"

namespace host {

/// Bin i holds the values from edges[i] on and below edges[i + 1], the last one its upper edge too.
struct Histogram {
    std::vector<double> edges;  ///< one more than there are bins; none without values
    std::vector<double> areas;  ///< of the pixels in each bin, in pixels
};

/// At most `bins` of them, from the smallest finite value to the largest. All bins are equally wide; those of whole
/// numbers begin at whole numbers and hold equally many of them.
Histogram HistogramOf(const Distribution& distribution, int bins, bool areWhole);

}  // namespace host

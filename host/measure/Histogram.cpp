#include "host/measure/Histogram.h"

#include <algorithm>
#include <cmath>

namespace host {

Histogram HistogramOf(const Distribution& distribution, int bins, bool areWhole) {
    std::vector<WeightedValue> values = distribution.Values();
    std::erase_if(values, [](const WeightedValue& value) { return !std::isfinite(value.value); });
    if (values.empty()) {
        return {};
    }
    const double low = values.front().value;
    // Halves first: the difference of the largest numbers is none.
    double width = values.back().value / bins - low / bins;
    if (areWhole) {
        width = std::floor(width) + 1.0;
        bins = static_cast<int>(std::floor((values.back().value - low) / width)) + 1;
    } else if (!(width > 0.0)) {
        bins = 1;
    }
    Histogram histogram;
    histogram.areas.resize(static_cast<std::size_t>(bins));
    for (int i = 0; i <= bins; ++i) {
        histogram.edges.push_back(areWhole ? low + i * width
                                           : std::lerp(low, values.back().value, static_cast<double>(i) / bins));
    }
    const auto firstUpper = histogram.edges.begin() + 1;
    for (const auto& [value, weight] : values) {
        const auto bin = std::upper_bound(firstUpper, histogram.edges.end() - 1, value) - firstUpper;
        histogram.areas[static_cast<std::size_t>(bin)] += weight;
    }
    return histogram;
}

}  // namespace host

// Statistics of pixels, each with its weight: of where they lie, and of their values, which come row by row.
//
// A value that is not a number is passed over by every statistic of values, as if its pixel had none; the pixel counts
// where it lies all the same.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/base/Raster.h"
#include "host/measure/PixelSet.h"

namespace host {

/// Where at least one pixel lies. A pixel of which only a part counts counts with that part in everything but `pixels`
/// and the box.
struct Place {
    std::int64_t pixels;  ///< of which at least a part counts
    double area;          ///< in pixels: the sum of their weights
    double centroidX;
    double centroidY;
    // The mean squares and product of the distances from the centroid.
    double xx;
    double xy;
    double yy;
    PixelRect box;
};

/// Nothing when there is no pixel.
std::optional<Place> PlaceOf(const PixelSet& pixels);

/// A value and the area of the pixels that have it.
struct WeightedValue {
    double value;
    double weight;
};

/// Which values there are, and how much of each.
class Distribution {
  public:
    Distribution() = default;
    /// The values must ascend, none of them twice.
    explicit Distribution(std::vector<WeightedValue> values);

    const std::vector<WeightedValue>& Values() const noexcept { return m_values; }
    bool IsEmpty() const noexcept { return m_values.empty(); }
    /// The value below which so many percent of the area lie, or the mean of two that part it there; not a number when
    /// empty.
    double Percentile(double percent) const noexcept;
    /// The most frequent value, the smallest of several; not a number when empty.
    double Mode() const noexcept;
    /// The area of the values from low to high, both included.
    double Between(double low, double high) const noexcept;

  private:
    std::vector<WeightedValue> m_values;
    double m_total = 0.0;
};

/// What takes time of its own and is collected on request only.
struct Wanted {
    bool shape = false;         ///< skewness and kurtosis
    bool middle = false;        ///< the centre of mass
    bool distribution = false;  ///< takes memory for as many different values as there are
};

/// Statistics of values in their own depth. Those of nothing, and those not asked for, are not numbers.
struct ValueStatistics {
    double notNumbers;  ///< the area of the pixels that are passed over
    double sum;
    double mean;
    double deviation;  ///< of the whole population
    double min;
    double max;
    double skewness;
    double kurtosis;  ///< 0 for the normal distribution
    /// The mean place, each pixel weighted by its value.
    double middleX;
    double middleY;
    Distribution distribution;
};

/// Collects the values of one figure's pixels on one channel.
class ValueCollector {
  public:
    ValueCollector() = default;
    ValueCollector(const ValueCollector&) = delete;
    ValueCollector& operator=(const ValueCollector&) = delete;
    virtual ~ValueCollector() = default;

    /// Takes the next rows of an image of one channel; the first of them is row `top`. Rows come from the top down, and
    /// those that hold pixels all come.
    virtual void Add(const RasterView& rows, int top) = 0;
    /// Of what has come; to be called once.
    virtual ValueStatistics Take() = 0;
};

/// The pixels are referred to and must lie in the image.
std::unique_ptr<ValueCollector> NewCollector(Depth depth, const PixelSet& pixels, Wanted wanted);

/// The same of an image of one channel that is in memory.
ValueStatistics Measure(const RasterView& plane, const PixelSet& pixels, Wanted wanted = {});

}  // namespace host

#include "host/measure/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

namespace host {

namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

// ---------------------------------------------------------------------------------------------------
// Values

// Sums of values less a reference, the first value: so the squares of integers stay exact and those of
// floating-point values keep their digits when the values are large and alike.
struct Moments {
    double reference;
    double sum;
    double squares;
    double min;
    double max;
};

// Sums, run by run, of values less the reference. Bytes of a run are summed in integers half as wide as their totals,
// of which twice as many are added at once.
template <class Value, class Sum>
struct RunningSums {
    using Part = std::conditional_t<sizeof(Value) == 1, std::int32_t, Sum>;
    // The squares of as many bytes fit such an integer.
    static constexpr int kLongest = 1 << 14;

    // `step` is from value to value; a constant where they lie side by side.
    template <class Step>
    void Add(const Value* values, Step step, int count, Sum reference) noexcept {
        Part partSum = 0;
        Part partSquares = 0;
        for (int i = 0; i < count; ++i) {
            const Value value = values[i * step];
            const Part difference = static_cast<Part>(value) - static_cast<Part>(reference);
            partSum += difference;
            partSquares += difference * difference;
            min = value < min ? value : min;
            max = value > max ? value : max;
        }
        sum += partSum;
        squares += partSquares;
    }

    // Above and below every value; they stay so when no value is a number.
    static constexpr bool kReal = std::is_floating_point_v<Value>;
    Value min = kReal ? std::numeric_limits<Value>::infinity() : std::numeric_limits<Value>::max();
    Value max = kReal ? -std::numeric_limits<Value>::infinity() : std::numeric_limits<Value>::lowest();
    Sum sum = 0;
    Sum squares = 0;
};

// The values of an image of one channel.
template <class Value>
class Values {
  public:
    explicit Values(const RasterView& plane)
        : m_plane(plane), m_step(plane.columnStride / static_cast<std::ptrdiff_t>(sizeof(Value))) {}

    Value At(int x, int y) const noexcept { return m_plane.Row<Value>(y)[x * m_step]; }

    // Calls `use` with the first value of every span, the step to the next and their number.
    template <class Use>
    void ForEachSpan(const std::vector<Span>& spans, Use use) const {
        const auto visit = [&](auto step) {
            for (const Span& span : spans) {
                use(m_plane.Row<Value>(span.y) + span.firstX * step, step, span.Length());
            }
        };
        if (m_step == 1) {
            visit(std::integral_constant<std::ptrdiff_t, 1>());
        } else {
            visit(m_step);
        }
    }

  private:
    RasterView m_plane;
    std::ptrdiff_t m_step;
};

template <class Value>
Moments MomentsOf(const RasterView& plane, const PixelSet& pixels) {
    // Differences of 16-bit values and their squares fit an integer for any image that fits in memory.
    using Sum = std::conditional_t<std::is_integral_v<Value> && sizeof(Value) <= 2, std::int64_t, double>;
    const Values<Value> values(plane);
    const auto reference =
        static_cast<Sum>(pixels.spans.empty() ? values.At(pixels.parts.front().x, pixels.parts.front().y)
                                              : values.At(pixels.spans.front().firstX, pixels.spans.front().y));
    RunningSums<Value, Sum> sums;
    values.ForEachSpan(pixels.spans, [&](const Value* first, auto step, int count) {
        for (int done = 0; done < count; done += sums.kLongest) {
            sums.Add(first + done * step, step, std::min(count - done, sums.kLongest), reference);
        }
    });
    double sum = 0.0;
    double squares = 0.0;
    for (const PartPixel& part : pixels.parts) {
        const Value value = values.At(part.x, part.y);
        const double difference = static_cast<double>(value) - static_cast<double>(reference);
        sum += part.weight * difference;
        squares += part.weight * difference * difference;
        sums.min = value < sums.min ? value : sums.min;
        sums.max = value > sums.max ? value : sums.max;
    }
    return {static_cast<double>(reference), sum + static_cast<double>(sums.sum),
            squares + static_cast<double>(sums.squares), static_cast<double>(sums.min), static_cast<double>(sums.max)};
}

bool IsNumber(double value) noexcept { return !std::isnan(value); }

template <class Value>
double PlainMedian(std::vector<Value> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    const auto upper = static_cast<double>(*middle);
    return values.size() % 2 == 1
               ? upper
               : std::midpoint(static_cast<double>(*std::max_element(values.begin(), middle)), upper);
}

// Whole pixels have the weight 1.
template <class Value>
double WeightedMedian(const std::vector<Value>& whole, std::vector<std::pair<Value, double>> weighted) {
    std::transform(whole.begin(), whole.end(), std::back_inserter(weighted),
                   [](Value value) { return std::pair(value, 1.0); });
    std::sort(weighted.begin(), weighted.end());
    const double half = 0.5 * std::accumulate(weighted.begin(), weighted.end(), 0.0,
                                              [](double sum, const auto& value) { return sum + value.second; });
    double below = 0.0;
    for (std::size_t i = 0; i + 1 < weighted.size(); ++i) {
        below += weighted[i].second;
        if (below == half) {
            return std::midpoint(static_cast<double>(weighted[i].first), static_cast<double>(weighted[i + 1].first));
        }
        if (below > half) {
            return static_cast<double>(weighted[i].first);
        }
    }
    return static_cast<double>(weighted.back().first);
}

template <class Value>
double MedianOf(const RasterView& plane, const PixelSet& pixels) {
    const Values<Value> values(plane);
    std::vector<Value> whole;
    values.ForEachSpan(pixels.spans, [&whole](const Value* first, auto step, int count) {
        for (int i = 0; i < count; ++i) {
            whole.push_back(first[i * step]);
        }
    });
    std::vector<std::pair<Value, double>> weighted;
    for (const PartPixel& part : pixels.parts) {
        weighted.emplace_back(values.At(part.x, part.y), part.weight);
    }
    // Values that are not numbers have no order.
    if (pixels.IsEmpty() ||
        !std::all_of(whole.begin(), whole.end(), [](Value value) { return IsNumber(static_cast<double>(value)); }) ||
        !std::all_of(weighted.begin(), weighted.end(),
                     [](const auto& value) { return IsNumber(static_cast<double>(value.first)); })) {
        return kNothing;
    }
    return weighted.empty() ? PlainMedian(std::move(whole)) : WeightedMedian(whole, std::move(weighted));
}

// ---------------------------------------------------------------------------------------------------
// Places

struct Place {
    std::int64_t pixels = 0;
    double area = 0.0;
    double centroidX = 0.0;
    double centroidY = 0.0;
};

Place PlaceOf(const PixelSet& set) {
    std::int64_t whole = 0;
    // Twice the sum of the columns: exact, as every span's mean column is a multiple of one half.
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    for (const Span& span : set.spans) {
        whole += span.Length();
        columns += static_cast<std::int64_t>(span.Length()) * (std::int64_t{span.firstX} + span.lastX);
        rows += static_cast<std::int64_t>(span.Length()) * span.y;
    }
    double area = 0.0;
    double x = 0.0;
    double y = 0.0;
    for (const PartPixel& part : set.parts) {
        area += part.weight;
        x += part.weight * part.x;
        y += part.weight * part.y;
    }
    area += static_cast<double>(whole);
    return {whole + static_cast<std::int64_t>(set.parts.size()), area, (0.5 * static_cast<double>(columns) + x) / area,
            (static_cast<double>(rows) + y) / area};
}

// The long axis by the second moments of the pixels about their centroid.
double AxisOf(const PixelSet& pixels, const Place& place) {
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    for (const Span& span : pixels.spans) {
        const double length = span.Length();
        const double x = 0.5 * span.firstX + 0.5 * span.lastX - place.centroidX;
        const double y = span.y - place.centroidY;
        xx += length * (x * x + (length * length - 1.0) / 12.0);
        xy += length * x * y;
        yy += length * y * y;
    }
    for (const PartPixel& part : pixels.parts) {
        const double x = part.x - place.centroidX;
        const double y = part.y - place.centroidY;
        xx += part.weight * x * x;
        xy += part.weight * x * y;
        yy += part.weight * y * y;
    }
    // Drawn circles differ from round by less than this, and nobody sees their axis.
    constexpr double kRound = 1e-3;
    if (std::hypot(xx - yy, 2.0 * xy) <= kRound * (xx + yy)) {
        return kNothing;
    }
    return 0.5 * std::atan2(2.0 * xy + 0.0, xx - yy);  // No zero below 0: upright is +90 degrees.
}

}  // namespace

std::optional<Statistics> Measure(const RasterView& plane, const PixelSet& pixels) {
    if (pixels.IsEmpty()) {
        return std::nullopt;
    }
    const Place place = PlaceOf(pixels);
    const Moments moments = InType(
        plane.depth, [&](auto* type) { return MomentsOf<std::remove_pointer_t<decltype(type)>>(plane, pixels); });
    const double mean = moments.sum / place.area;
    const bool anyNumber = moments.min <= moments.max;
    const double variance = moments.squares / place.area - mean * mean;
    return Statistics{place.pixels,
                      place.area,
                      moments.reference * place.area + moments.sum,
                      moments.reference + mean,
                      std::sqrt(std::isnan(variance) ? variance : std::max(variance, 0.0)),
                      anyNumber ? moments.min : kNothing,
                      anyNumber ? moments.max : kNothing,
                      place.centroidX,
                      place.centroidY,
                      AxisOf(pixels, place),
                      BoxAround(pixels)};
}

double Median(const RasterView& plane, const PixelSet& pixels) {
    return InType(plane.depth,
                  [&](auto* type) { return MedianOf<std::remove_pointer_t<decltype(type)>>(plane, pixels); });
}

}  // namespace host

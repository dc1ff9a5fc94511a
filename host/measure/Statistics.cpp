#include "host/measure/Statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <type_traits>

namespace host {

namespace {

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

    void Add(const Value* values, int count, Sum reference) noexcept {
        Part partSum = 0;
        Part partSquares = 0;
        for (int i = 0; i < count; ++i) {
            const Value value = values[i];
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

template <class Value>
Moments MomentsOf(const cv::Mat& plane, const std::vector<Span>& spans) {
    // Differences of 16-bit values and their squares fit an integer for any image that fits in memory.
    using Sum = std::conditional_t<std::is_integral_v<Value> && sizeof(Value) <= 2, std::int64_t, double>;
    const auto reference = static_cast<Sum>(plane.at<Value>(spans.front().y, spans.front().firstX));
    RunningSums<Value, Sum> sums;
    for (const Span& span : spans) {
        const Value* const row = plane.ptr<Value>(span.y);
        for (int first = span.firstX; first <= span.lastX; first += sums.kLongest) {
            sums.Add(row + first, std::min(span.lastX - first + 1, sums.kLongest), reference);
        }
    }
    return {static_cast<double>(reference), static_cast<double>(sums.sum), static_cast<double>(sums.squares),
            static_cast<double>(sums.min), static_cast<double>(sums.max)};
}

template <class Value>
double MedianOf(const cv::Mat& plane, const std::vector<Span>& spans) {
    std::vector<Value> values;
    for (const Span& span : spans) {
        const Value* const row = plane.ptr<Value>(span.y);
        values.insert(values.end(), row + span.firstX, row + span.lastX + 1);
    }
    // Values that are not numbers have no order.
    if (values.empty() ||
        std::any_of(values.begin(), values.end(), [](Value value) { return std::isnan(static_cast<double>(value)); })) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    const auto upper = static_cast<double>(*middle);
    return values.size() % 2 == 1
               ? upper
               : std::midpoint(static_cast<double>(*std::max_element(values.begin(), middle)), upper);
}

// Calls `measure` with a value of the type that the plane's values have, and the plane.
template <class Function>
auto InOwnDepth(const cv::Mat& plane, Function measure) {
    switch (plane.depth()) {
        case CV_8U:
            return measure(std::uint8_t{}, plane);
        case CV_16U:
            return measure(std::uint16_t{}, plane);
        case CV_16S:
            return measure(std::int16_t{}, plane);
        case CV_32S:
            return measure(std::int32_t{}, plane);
        case CV_32F:
            return measure(float{}, plane);
        case CV_64F:
            return measure(double{}, plane);
        default: {
            // Signed bytes and half floats, which single floats hold exactly.
            cv::Mat real;
            plane.convertTo(real, CV_32F);
            return measure(float{}, real);
        }
    }
}

// The long axis by the second moments of the pixels about their centroid.
double AxisOf(const std::vector<Span>& spans, cv::Point2d centroid) {
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    for (const Span& span : spans) {
        const double length = span.Length();
        const double x = 0.5 * span.firstX + 0.5 * span.lastX - centroid.x;
        const double y = span.y - centroid.y;
        xx += length * (x * x + (length * length - 1.0) / 12.0);
        xy += length * x * y;
        yy += length * y * y;
    }
    // Drawn circles differ from round by less than this, and nobody sees their axis.
    constexpr double kRound = 1e-3;
    if (std::hypot(xx - yy, 2.0 * xy) <= kRound * (xx + yy)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return 0.5 * std::atan2(2.0 * xy + 0.0, xx - yy);  // No zero below 0: upright is +90 degrees.
}

}  // namespace

std::optional<Statistics> Measure(const cv::Mat& plane, const std::vector<Span>& spans) {
    if (spans.empty()) {
        return std::nullopt;
    }
    std::int64_t pixels = 0;
    // Twice the sum of the columns: exact, as every span's mean column is a multiple of one half.
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    for (const Span& span : spans) {
        pixels += span.Length();
        columns += static_cast<std::int64_t>(span.Length()) * (span.firstX + span.lastX);
        rows += static_cast<std::int64_t>(span.Length()) * span.y;
    }
    const Moments moments = InOwnDepth(
        plane, [&spans](auto value, const cv::Mat& values) { return MomentsOf<decltype(value)>(values, spans); });
    const double count = static_cast<double>(pixels);
    const double mean = moments.sum / count;
    const bool anyNumber = moments.min <= moments.max;
    const double nothing = std::numeric_limits<double>::quiet_NaN();
    const double variance = moments.squares / count - mean * mean;
    const cv::Point2d centroid(static_cast<double>(columns) / (2.0 * count), static_cast<double>(rows) / count);
    return Statistics{pixels,
                      moments.reference * count + moments.sum,
                      moments.reference + mean,
                      std::sqrt(std::isnan(variance) ? variance : std::max(variance, 0.0)),
                      anyNumber ? moments.min : nothing,
                      anyNumber ? moments.max : nothing,
                      centroid.x,
                      centroid.y,
                      AxisOf(spans, centroid),
                      BoxAround(spans)};
}

double Median(const cv::Mat& plane, const std::vector<Span>& spans) {
    return InOwnDepth(plane,
                      [&spans](auto value, const cv::Mat& values) { return MedianOf<decltype(value)>(values, spans); });
}

}  // namespace host

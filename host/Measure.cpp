#include "host/Measure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

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

template <class Value>
Moments MomentsOf(const cv::Mat& plane, const std::vector<Span>& spans) {
    // Differences of 16-bit values and their squares fit an integer for any image that fits in memory.
    using Sum = std::conditional_t<std::is_integral_v<Value> && sizeof(Value) <= 2, std::int64_t, double>;
    const auto reference = static_cast<Sum>(plane.at<Value>(spans.front().y, spans.front().firstX));
    Sum sum = 0;
    Sum squares = 0;
    // Above and below every value; they stay so when no value is a number.
    constexpr bool kReal = std::is_floating_point_v<Value>;
    Value min = kReal ? std::numeric_limits<Value>::infinity() : std::numeric_limits<Value>::max();
    Value max = kReal ? -std::numeric_limits<Value>::infinity() : std::numeric_limits<Value>::lowest();
    for (const Span& span : spans) {
        const Value* const row = plane.ptr<Value>(span.y);
        for (int x = span.firstX; x <= span.lastX; ++x) {
            const Value value = row[x];
            const Sum difference = static_cast<Sum>(value) - reference;
            sum += difference;
            squares += difference * difference;
            min = value < min ? value : min;
            max = value > max ? value : max;
        }
    }
    return {static_cast<double>(reference), static_cast<double>(sum), static_cast<double>(squares),
            static_cast<double>(min), static_cast<double>(max)};
}

Moments MomentsOfAnyDepth(const cv::Mat& plane, const std::vector<Span>& spans) {
    switch (plane.depth()) {
        case CV_8U:
            return MomentsOf<std::uint8_t>(plane, spans);
        case CV_8S:
            return MomentsOf<std::int8_t>(plane, spans);
        case CV_16U:
            return MomentsOf<std::uint16_t>(plane, spans);
        case CV_16S:
            return MomentsOf<std::int16_t>(plane, spans);
        case CV_32S:
            return MomentsOf<std::int32_t>(plane, spans);
        case CV_32F:
            return MomentsOf<float>(plane, spans);
        case CV_64F:
            return MomentsOf<double>(plane, spans);
        default: {
            cv::Mat real;
            plane.convertTo(real, CV_32F);
            return MomentsOf<float>(real, spans);
        }
    }
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
    const Moments moments = MomentsOfAnyDepth(plane, spans);
    const double count = static_cast<double>(pixels);
    const double mean = moments.sum / count;
    const bool anyNumber = moments.min <= moments.max;
    const double nothing = std::numeric_limits<double>::quiet_NaN();
    const double variance = moments.squares / count - mean * mean;
    return Statistics{pixels,
                      moments.reference + mean,
                      std::sqrt(std::isnan(variance) ? variance : std::max(variance, 0.0)),
                      anyNumber ? moments.min : nothing,
                      anyNumber ? moments.max : nothing,
                      static_cast<double>(columns) / (2.0 * count),
                      static_cast<double>(rows) / count,
                      BoxAround(spans)};
}

#include "host/measure/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <span>
#include <type_traits>
#include <utility>

namespace host {

namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

template <class Value>
bool IsNumber(Value value) noexcept {
    return value == value;
}

// ---------------------------------------------------------------------------------------------------
// Rows as they come

// The values of some rows of an image, and the pixels that lie in them.
template <class Value>
struct Rows {
    RasterView plane;
    int top;
    std::ptrdiff_t step;
    std::span<const Span> spans;
    PartView parts;

    Value At(int x, int y) const noexcept { return plane.Row<Value>(y - top)[x * step]; }

    // Calls `use` with every span, its first value and the step to the next, which is a constant where they lie side by
    // side.
    template <class Use>
    void ForEachSpan(Use use) const {
        const auto visit = [&](auto step) {
            for (const Span& span : spans) {
                use(span, plane.Row<Value>(span.y - top) + span.firstX * step, step);
            }
        };
        if (step == 1) {
            visit(std::integral_constant<std::ptrdiff_t, 1>());
        } else {
            visit(step);
        }
    }
    // Calls `use` with every pixel of which a part counts and its value, when that is a number.
    template <class Use>
    void ForEachPart(Use use) const {
        for (const PartSpan& span : parts.spans) {
            const Value* value = plane.Row<Value>(span.y - top) + span.firstX * step;
            const double* weight = parts.weights + span.weights;
            for (int x = span.firstX; x <= span.lastX; ++x, value += step, ++weight) {
                if (IsNumber(*value)) {
                    use(PartPixel{span.y, x, *weight}, *value);
                }
            }
        }
    }

    // The first value that is a number.
    std::optional<Value> First() const {
        for (const Span& span : spans) {
            for (int x = span.firstX; x <= span.lastX; ++x) {
                if (const Value value = At(x, span.y); IsNumber(value)) {
                    return value;
                }
            }
        }
        for (const PartPixel part : parts) {
            if (const Value value = At(part.x, part.y); IsNumber(value)) {
                return value;
            }
        }
        return std::nullopt;
    }
};

// ---------------------------------------------------------------------------------------------------
// Mean, deviation and extremes

// Sums of values less a reference, the first value: so the squares of integers stay exact and those of
// floating-point values keep their digits when the values are large and alike. Bytes of a run are summed in integers
// half as wide as their totals, of which twice as many are added at once.
template <class Value>
class Moments {
  public:
    void Add(const Rows<Value>& rows) {
        if (!m_reference) {
            if (const auto first = rows.First()) {
                m_reference = static_cast<Sum>(*first);
            }
        }
        const Sum reference = m_reference.value_or(0);
        rows.ForEachSpan([&](const Span& span, const Value* first, auto step) {
            for (int done = 0; done < span.Length(); done += kLongest) {
                AddRun(first + done * step, step, std::min(span.Length() - done, kLongest), reference);
            }
        });
        rows.ForEachPart([&](const PartPixel& part, Value value) {
            const double difference = static_cast<double>(value) - static_cast<double>(reference);
            m_partWeight += part.weight;
            m_partSum += part.weight * difference;
            m_partSquares += part.weight * difference * difference;
            m_min = value < m_min ? value : m_min;
            m_max = value > m_max ? value : m_max;
        });
    }

    double Weight() const noexcept { return m_partWeight + static_cast<double>(m_count); }

    void Put(ValueStatistics& statistics) const noexcept {
        const double weight = Weight();
        const double sum = m_partSum + static_cast<double>(m_sum);
        const double mean = sum / weight;
        const double variance = (m_partSquares + static_cast<double>(m_squares)) / weight - mean * mean;
        const auto reference = static_cast<double>(m_reference.value_or(0));
        const bool any = weight > 0.0;
        statistics.sum = any ? reference * weight + sum : kNothing;
        statistics.mean = any ? reference + mean : kNothing;
        statistics.deviation = std::sqrt(std::isnan(variance) ? variance : std::max(variance, 0.0));
        statistics.min = any ? static_cast<double>(m_min) : kNothing;
        statistics.max = any ? static_cast<double>(m_max) : kNothing;
    }

  private:
    static constexpr bool kReal = std::is_floating_point_v<Value>;
    // Differences of 16-bit values and their squares fit an integer for any image that fits in memory.
    using Sum = std::conditional_t<!kReal && sizeof(Value) <= 2, std::int64_t, double>;
    using Part = std::conditional_t<sizeof(Value) == 1, std::int32_t, Sum>;
    // Of what is half as wide again, processors multiply and add in one.
    using Difference = std::conditional_t<sizeof(Value) == 1, std::int16_t, Part>;
    // The squares of as many bytes fit such an integer.
    static constexpr int kLongest = 1 << 14;

    template <class Step>
    void AddRun(const Value* values, Step step, int count, Sum reference) noexcept {
        Part sum = 0;
        Part squares = 0;
        int numbers = kReal ? 0 : count;
        // The members might lie among the values, as far as a compiler knows.
        Value lowest = m_min;
        Value highest = m_max;
        for (int i = 0; i < count; ++i) {
            const Value value = values[i * step];
            auto difference = static_cast<Difference>(static_cast<Part>(value) - static_cast<Part>(reference));
            if constexpr (kReal) {
                difference = IsNumber(value) ? difference : 0;
                numbers += IsNumber(value) ? 1 : 0;
            }
            sum += difference;
            squares += static_cast<Part>(difference) * static_cast<Part>(difference);
            lowest = value < lowest ? value : lowest;
            highest = value > highest ? value : highest;
        }
        m_min = lowest;
        m_max = highest;
        m_sum += sum;
        m_squares += squares;
        m_count += numbers;
    }

    std::optional<Sum> m_reference;
    Sum m_sum = 0;
    Sum m_squares = 0;
    std::int64_t m_count = 0;
    double m_partWeight = 0.0;
    double m_partSum = 0.0;
    double m_partSquares = 0.0;
    // Above and below every value; they stay so when no value is a number.
    Value m_min = kReal ? std::numeric_limits<Value>::infinity() : std::numeric_limits<Value>::max();
    Value m_max = kReal ? -std::numeric_limits<Value>::infinity() : std::numeric_limits<Value>::lowest();
};

// ---------------------------------------------------------------------------------------------------
// Skewness and kurtosis

// Sums of the powers of the distances from a mean of their own; merging two keeps the digits that a common reference
// would lose.
struct Powers {
    double weight = 0.0;
    double mean = 0.0;
    double second = 0.0;
    double third = 0.0;
    double fourth = 0.0;

    void Merge(const Powers& b) noexcept {
        const double all = weight + b.weight;
        if (!(b.weight > 0.0)) {
            return;
        }
        const double d = b.mean - mean;
        const double share = weight * b.weight / all;
        fourth += b.fourth +
                  d * d * d * d * share * (weight * weight - weight * b.weight + b.weight * b.weight) / (all * all) +
                  6.0 * d * d * (weight * weight * b.second + b.weight * b.weight * second) / (all * all) +
                  4.0 * d * (weight * b.third - b.weight * third) / all;
        third += b.third + d * d * d * share * (weight - b.weight) / all +
                 3.0 * d * (weight * b.second - b.weight * second) / all;
        second += b.second + d * d * share;
        mean += d * b.weight / all;
        weight = all;
    }
};

template <class Value>
class Shape {
  public:
    void Add(const Rows<Value>& rows) {
        rows.ForEachSpan([this](const Span& span, const Value* first, auto step) {
            Powers run;
            ForEachNumber(first, step, span.Length(), [&run](double value) {
                run.weight += 1.0;
                run.mean += value;
            });
            run.mean /= run.weight;
            ForEachNumber(first, step, span.Length(), [&run](double value) {
                const double d = value - run.mean;
                run.second += d * d;
                run.third += d * d * d;
                run.fourth += d * d * d * d;
            });
            m_powers.Merge(run);
        });
        rows.ForEachPart([this](const PartPixel& part, Value value) {
            m_powers.Merge({part.weight, static_cast<double>(value), 0.0, 0.0, 0.0});
        });
    }

    void Put(ValueStatistics& statistics) const noexcept {
        const double variance = m_powers.second / m_powers.weight;
        statistics.skewness = m_powers.third / m_powers.weight / (variance * std::sqrt(variance));
        statistics.kurtosis = m_powers.fourth / m_powers.weight / (variance * variance) - 3.0;
    }

  private:
    template <class Step, class Use>
    static void ForEachNumber(const Value* values, Step step, int count, Use use) {
        for (int i = 0; i < count; ++i) {
            if (const Value value = values[i * step]; IsNumber(value)) {
                use(static_cast<double>(value));
            }
        }
    }

    Powers m_powers;
};

// ---------------------------------------------------------------------------------------------------
// The centre of mass

template <class Value>
class Middle {
  public:
    void Add(const Rows<Value>& rows) {
        rows.ForEachSpan([this](const Span& span, const Value* first, auto step) {
            double sum = 0.0;
            double columns = 0.0;
            for (int i = 0; i < span.Length(); ++i) {
                const Value value = first[i * step];
                const double number = IsNumber(value) ? static_cast<double>(value) : 0.0;
                sum += number;
                columns += number * i;
            }
            m_sum += sum;
            m_x += columns + sum * span.firstX;
            m_y += sum * span.y;
        });
        rows.ForEachPart([this](const PartPixel& part, Value value) {
            const double weight = part.weight * static_cast<double>(value);
            m_sum += weight;
            m_x += weight * part.x;
            m_y += weight * part.y;
        });
    }

    void Put(ValueStatistics& statistics) const noexcept {
        statistics.middleX = m_x / m_sum;
        statistics.middleY = m_y / m_sum;
    }

  private:
    double m_sum = 0.0;
    double m_x = 0.0;
    double m_y = 0.0;
};

// ---------------------------------------------------------------------------------------------------
// The distribution

// Of few possible values, each is counted.
template <class Value>
class Counts {
  public:
    void Add(const Rows<Value>& rows) {
        rows.ForEachSpan([this](const Span& span, const Value* first, auto step) {
            for (int i = 0; i < span.Length(); ++i) {
                m_counts[Index(first[i * step])] += 1.0;
            }
        });
        rows.ForEachPart([this](const PartPixel& part, Value value) { m_counts[Index(value)] += part.weight; });
    }

    void Put(ValueStatistics& statistics) {
        std::vector<WeightedValue> values;
        for (std::size_t i = 0; i < m_counts.size(); ++i) {
            if (m_counts[i] > 0.0) {
                values.push_back({static_cast<double>(i) + kLowest, m_counts[i]});
            }
        }
        statistics.distribution = Distribution(std::move(values));
    }

  private:
    static constexpr int kLowest = std::is_signed_v<Value> ? -(1 << (8 * sizeof(Value) - 1)) : 0;
    static std::size_t Index(Value value) noexcept { return static_cast<std::size_t>(value - kLowest); }

    std::vector<double> m_counts = std::vector<double>(std::size_t{1} << (8 * sizeof(Value)));
};

// Of many, those that there are are kept, each once.
template <class Value>
class KeptValues {
  public:
    void Add(const Rows<Value>& rows) {
        rows.ForEachSpan([this](const Span& span, const Value* first, auto step) {
            for (int i = 0; i < span.Length(); ++i) {
                if (const Value value = first[i * step]; IsNumber(value)) {
                    m_whole.push_back(static_cast<double>(value));
                }
            }
            // Rarely enough that the time of it does not grow with the square of how many there are.
            constexpr std::size_t kMany = std::size_t{1} << 18;
            if (m_whole.size() > std::max(kMany, m_values.size())) {
                Join();
            }
        });
        rows.ForEachPart([this](const PartPixel& part, Value value) {
            m_parts.push_back({static_cast<double>(value), part.weight});
        });
    }

    void Put(ValueStatistics& statistics) {
        Join();
        statistics.distribution = Distribution(std::move(m_values));
    }

  private:
    // Moves what has come to the values.
    void Join() {
        const auto isLess = [](const WeightedValue& a, const WeightedValue& b) { return a.value < b.value; };
        std::sort(m_whole.begin(), m_whole.end());
        for (auto value = m_whole.begin(); value != m_whole.end();) {
            const auto end = std::find_if(value, m_whole.end(), [value](double other) { return other != *value; });
            m_parts.push_back({*value, static_cast<double>(end - value)});
            value = end;
        }
        m_whole.clear();
        std::sort(m_parts.begin(), m_parts.end(), isLess);
        std::vector<WeightedValue> all;
        all.reserve(m_values.size() + m_parts.size());
        const auto add = [&all](const WeightedValue& next) {
            if (!all.empty() && all.back().value == next.value) {
                all.back().weight += next.weight;
            } else {
                all.push_back(next);
            }
        };
        auto old = m_values.begin();
        for (const WeightedValue& next : m_parts) {
            for (; old != m_values.end() && old->value <= next.value; ++old) {
                add(*old);
            }
            add(next);
        }
        std::for_each(old, m_values.end(), add);
        m_values = std::move(all);
        m_parts.clear();
    }

    std::vector<WeightedValue> m_values;  // rising
    // What came since:
    std::vector<double> m_whole;
    std::vector<WeightedValue> m_parts;
};

// ---------------------------------------------------------------------------------------------------
// All of it

template <class Value>
class TypedCollector : public ValueCollector {
  public:
    TypedCollector(const PixelSet& pixels, Wanted wanted) : m_spans(pixels.spans), m_parts(pixels.parts.View()) {
        if (wanted.shape) {
            m_shape.emplace();
        }
        if (wanted.middle) {
            m_middle.emplace();
        }
        if (wanted.distribution) {
            m_distribution.emplace();
        }
    }

    void Add(const RasterView& plane, int top) override {
        const int end = top + plane.size.height;
        const Rows<Value> rows{plane,
                               top,
                               plane.columnStride / static_cast<std::ptrdiff_t>(sizeof(Value)),
                               Next(m_spans, end),
                               {Next(m_parts.spans, end), m_parts.weights}};
        for (const Span& span : rows.spans) {
            m_weight += span.Length();
        }
        for (const PartPixel part : rows.parts) {
            m_weight += part.weight;
        }
        m_moments.Add(rows);
        if (m_shape) {
            m_shape->Add(rows);
        }
        if (m_middle) {
            m_middle->Add(rows);
        }
        if (m_distribution) {
            m_distribution->Add(rows);
        }
    }

    ValueStatistics Take() override {
        ValueStatistics statistics{m_weight - m_moments.Weight(),
                                   kNothing,
                                   kNothing,
                                   kNothing,
                                   kNothing,
                                   kNothing,
                                   kNothing,
                                   kNothing,
                                   kNothing,
                                   kNothing,
                                   {}};
        m_moments.Put(statistics);
        if (m_shape) {
            m_shape->Put(statistics);
        }
        if (m_middle) {
            m_middle->Put(statistics);
        }
        if (m_distribution) {
            m_distribution->Put(statistics);
        }
        return statistics;
    }

  private:
    // Takes those above row `end` off the front.
    template <class Item>
    static std::span<const Item> Next(std::span<const Item>& items, int end) {
        const auto last =
            std::partition_point(items.begin(), items.end(), [end](const Item& item) { return item.y < end; });
        const auto count = static_cast<std::size_t>(last - items.begin());
        const std::span<const Item> next = items.first(count);
        items = items.subspan(count);
        return next;
    }

    static constexpr bool kFewValues = std::is_integral_v<Value> && sizeof(Value) <= 2;

    std::span<const Span> m_spans;
    PartView m_parts;
    double m_weight = 0.0;
    Moments<Value> m_moments;
    std::optional<Shape<Value>> m_shape;
    std::optional<Middle<Value>> m_middle;
    std::optional<std::conditional_t<kFewValues, Counts<Value>, KeptValues<Value>>> m_distribution;
};

}  // namespace

// ---------------------------------------------------------------------------------------------------
// Distributions

Distribution::Distribution(std::vector<WeightedValue> values)
    : m_values(std::move(values)),
      m_total(std::accumulate(m_values.begin(), m_values.end(), 0.0,
                              [](double sum, const WeightedValue& value) { return sum + value.weight; })) {}

double Distribution::Percentile(double percent) const noexcept {
    // Multiplied first: where it is a whole number of pixels, it is found exactly.
    const double wanted = percent * m_total / 100.0;
    double below = 0.0;
    for (auto value = m_values.begin(); value != m_values.end(); ++value) {
        below += value->weight;
        const bool isLast = value + 1 == m_values.end();
        if (below > wanted || isLast) {
            return value->value;
        }
        if (below == wanted) {
            return std::midpoint(value->value, (value + 1)->value);
        }
    }
    return kNothing;
}

double Distribution::Mode() const noexcept {
    const auto most = std::max_element(m_values.begin(), m_values.end(),
                                       [](const auto& a, const auto& b) { return a.weight < b.weight; });
    return most == m_values.end() ? kNothing : most->value;
}

double Distribution::Between(double low, double high) const noexcept {
    double area = 0.0;
    for (const WeightedValue& value : m_values) {
        area += value.value >= low && value.value <= high ? value.weight : 0.0;
    }
    return area;
}

// ---------------------------------------------------------------------------------------------------
// Values

std::unique_ptr<ValueCollector> NewCollector(Depth depth, const PixelSet& pixels, Wanted wanted) {
    return InType(depth, [&](auto* type) -> std::unique_ptr<ValueCollector> {
        return std::make_unique<TypedCollector<std::remove_pointer_t<decltype(type)>>>(pixels, wanted);
    });
}

ValueStatistics Measure(const RasterView& plane, const PixelSet& pixels, Wanted wanted) {
    const std::unique_ptr<ValueCollector> collector = NewCollector(plane.depth, pixels, wanted);
    collector->Add(plane, 0);
    return collector->Take();
}

// ---------------------------------------------------------------------------------------------------
// Places

std::optional<Place> PlaceOf(const PixelSet& set) {
    if (set.IsEmpty()) {
        return std::nullopt;
    }
    std::int64_t whole = 0;
    // Twice the sum of the columns: exact, as every span's mean column is a multiple of one half.
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    for (const Span& span : set.spans) {
        whole += span.Length();
        columns += static_cast<std::int64_t>(span.Length()) * (std::int64_t{span.firstX} + span.lastX);
        rows += static_cast<std::int64_t>(span.Length()) * span.y;
    }
    Place place{};
    double sumX = 0.0;
    double sumY = 0.0;
    for (const PartPixel part : set.parts) {
        place.area += part.weight;
        sumX += part.weight * part.x;
        sumY += part.weight * part.y;
    }
    place.area += static_cast<double>(whole);
    place.pixels = whole + static_cast<std::int64_t>(set.parts.size());
    place.centroidX = (0.5 * static_cast<double>(columns) + sumX) / place.area;
    place.centroidY = (static_cast<double>(rows) + sumY) / place.area;
    for (const Span& span : set.spans) {
        const double length = span.Length();
        const double x = 0.5 * span.firstX + 0.5 * span.lastX - place.centroidX;
        const double y = span.y - place.centroidY;
        place.xx += length * (x * x + (length * length - 1.0) / 12.0);
        place.xy += length * x * y;
        place.yy += length * y * y;
    }
    for (const PartPixel part : set.parts) {
        const double x = part.x - place.centroidX;
        const double y = part.y - place.centroidY;
        place.xx += part.weight * x * x;
        place.xy += part.weight * x * y;
        place.yy += part.weight * y * y;
    }
    place.xx /= place.area;
    place.xy /= place.area;
    place.yy /= place.area;
    place.box = BoxAround(set);
    return place;
}

}  // namespace host

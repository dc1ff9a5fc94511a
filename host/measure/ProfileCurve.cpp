#include "host/measure/ProfileCurve.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "contract/Numbers.h"
#include "host/base/Error.h"
#include "host/base/Text.h"

namespace host {

namespace {

constexpr double kMaxLength = 10'000'000.0;
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

using Segment = ProfileBand::Segment;

std::vector<Segment> SegmentsOf(IROIProfile& profile, std::optional<double> thickness) {
    std::vector<Segment> segments;
    int count = 0;
    profile.GetNumberPoints(&count);
    double from = 0.0;
    for (int i = 0; i + 1 < count; ++i) {
        ImagePoint start;
        ImagePoint end;
        double thickness1 = 0.0;
        double thickness2 = 0.0;
        profile.GetPoint(i, &start.x, &start.y, nullptr, &thickness1, &thickness2);
        if (thickness) {
            thickness1 = thickness2 = *thickness;
        }
        profile.GetPoint(i + 1, &end.x, &end.y, nullptr, nullptr, nullptr);
        const ImagePoint chord = end - start;
        const double length = std::hypot(chord.x, chord.y);
        if (length == 0.0) {
            continue;
        }
        const ImagePoint along = (1.0 / length) * chord;
        const Stretch band{std::min(-thickness1, thickness2), std::max(-thickness1, thickness2)};
        segments.push_back({start, along, {-along.y, along.x}, band, from, length});
        from += length;
    }
    return segments;
}

// Calls `at` with every sample of the band across a point that lies in an image: one to a pixel, counted from the
// point, or one in the middle of a band between two of them.
template <class At>
void ForEachSample(const Segment& segment, ImagePoint point, PixelSize image, At at) {
    const double right = image.width - 1;
    const double bottom = image.height - 1;
    const auto add = [&](double across) {
        const ImagePoint sample = point + across * segment.across;
        if (sample.x >= 0.0 && sample.x <= right && sample.y >= 0.0 && sample.y <= bottom) {
            at(sample);
        }
    };
    if (std::ceil(segment.band.from) > std::floor(segment.band.to)) {
        add(0.5 * (segment.band.from + segment.band.to));
        return;
    }
    // One pixel wider than the image: every sample is looked at again.
    const ClipBox reach{-1.0, -1.0, right + 1.0, bottom + 1.0};
    if (const auto seen = ClipLine(reach, point, segment.across, segment.band)) {
        const double first = std::ceil(seen->from);
        const int count = ToInt32(std::floor(seen->to) - first) + 1;
        for (int i = 0; i < count; ++i) {
            add(first + i);
        }
    }
}

// Between the four pixels around a point inside the image. What has no weight does not count, even when it is not a
// number.
template <class Value>
double Bilinear(const RasterView& plane, ImagePoint at) {
    const int x = ToInt32(at.x);
    const int y = ToInt32(at.y);
    const double dx = at.x - x;
    const double dy = at.y - y;
    const auto value = [&](int column, int row) {
        return static_cast<double>(
            *reinterpret_cast<const Value*>(plane.data + row * plane.rowStride + column * plane.columnStride));
    };
    const auto between = [dx, x, &value](int row) {
        const double left = value(x, row);
        return dx == 0.0 ? left : left + dx * (value(x + 1, row) - left);
    };
    const double upper = between(y);
    return dy == 0.0 ? upper : upper + dy * (between(y + 1) - upper);
}

template <class Value>
CurvePoint PointOf(const RasterView& plane, const Segment& segment, double distance, std::vector<double>& values) {
    const ImagePoint at = segment.start + (distance - segment.from) * segment.along;
    values.clear();
    ForEachSample(segment, at, plane.size, [&](ImagePoint sample) {
        if (const double value = Bilinear<Value>(plane, sample); !std::isnan(value)) {
            values.push_back(value);
        }
    });
    CurvePoint point{distance, at, kNothing, kNothing, static_cast<int>(values.size())};
    if (values.empty()) {
        return point;
    }
    const double count = static_cast<double>(values.size());
    point.mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
    double squares = 0.0;
    for (const double value : values) {
        squares += (value - point.mean) * (value - point.mean);
    }
    point.deviation = std::sqrt(squares / count);
    return point;
}

}  // namespace

ProfileBand::ProfileBand(IROIProfile& profile, const std::string& name, std::optional<double> thickness)
    : m_segments(SegmentsOf(profile, thickness)) {
    const auto fail = [&name](std::string_view why) { return Error("cannot sample profile", name, why); };
    if (m_segments.empty()) {
        throw fail("it needs two points that differ");
    }
    const double length = m_segments.back().from + m_segments.back().length;
    if (!(length <= kMaxLength)) {
        throw fail(fmt::format("its length is {} pixels", NumberText(length)));
    }
}

std::vector<CurvePoint> ProfileBand::Sample(const RasterView& plane) const {
    const double length = m_segments.back().from + m_segments.back().length;
    std::vector<CurvePoint> curve;
    std::vector<double> values;
    auto segment = m_segments.begin();
    for (int distance = 0; distance <= ToInt32(length); ++distance) {
        while (distance >= segment->from + segment->length && segment + 1 != m_segments.end()) {
            ++segment;
        }
        curve.push_back(InType(plane.depth, [&](auto* type) {
            return PointOf<std::remove_pointer_t<decltype(type)>>(plane, *segment, distance, values);
        }));
    }
    return curve;
}

}  // namespace host

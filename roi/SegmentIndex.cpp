#include "roi/SegmentIndex.h"

#include <new>
#include <numeric>

namespace roi {

namespace {

using Box = Extent<double>;

// A box that can hold a point at all: negative margins and NaN make boxes that cannot.
bool IsUsable(const Box& box) noexcept { return box.minX <= box.maxX && box.minY <= box.maxY; }

double Low(const Box& box, bool alongX) noexcept { return alongX ? box.minX : box.minY; }
double High(const Box& box, bool alongX) noexcept { return alongX ? box.maxX : box.maxY; }

}  // namespace

// Decides the axis and the buckets: as many as there are boxes, but none narrower than the mean box, so
// that each box reaches about two of them.
int SegmentIndex::CountBuckets(const Box* boxes, int count) noexcept {
    m_all = kNothing;
    double sumWidth = 0.0;
    double sumHeight = 0.0;
    int usable = 0;
    for (int i = 0; i < count; ++i) {
        if (!IsUsable(boxes[i])) {
            continue;
        }
        if (usable++ == 0) {
            m_all = boxes[i];
        }
        m_all.Include(boxes[i].minX, boxes[i].minY);
        m_all.Include(boxes[i].maxX, boxes[i].maxY);
        sumWidth += boxes[i].maxX - boxes[i].minX;
        sumHeight += boxes[i].maxY - boxes[i].minY;
    }
    if (usable == 0) {
        return 0;
    }
    const auto fitting = [usable](double extent, double sum) {
        const double fit = extent / (sum / usable);
        // Also for boxes without extent and for infinite ones, whose quotient is not a number.
        return fit >= 1.0 ? std::min(fit, static_cast<double>(usable)) : 1.0;
    };
    const double alongX = fitting(m_all.maxX - m_all.minX, sumWidth);
    const double alongY = fitting(m_all.maxY - m_all.minY, sumHeight);
    m_alongX = alongX >= alongY;
    const double buckets = std::floor(std::max(alongX, alongY));
    m_low = Low(m_all, m_alongX);
    m_perUnit = buckets > 1.0 ? buckets / (High(m_all, m_alongX) - m_low) : 0.0;
    return static_cast<int>(buckets);
}

int SegmentIndex::BucketOf(double along) const noexcept {
    // With one bucket the factor is 0; infinite coordinates then give NaN, which is the first bucket too.
    // With the smallest extents it is infinite, so the last bucket is chosen before the conversion.
    const double bucket = (along - m_low) * m_perUnit;
    return bucket >= 1.0 ? static_cast<int>(std::min(bucket, m_buckets - 1.0)) : 0;
}

bool SegmentIndex::Build(const Box* boxes, int count) noexcept {
    m_buckets = CountBuckets(boxes, count);
    m_starts.reset(new (std::nothrow) int[static_cast<std::size_t>(m_buckets) + 1]());
    if (m_starts == nullptr) {
        m_all = kNothing;
        return false;
    }
    const auto forEachReach = [&](auto visit) {
        for (int i = 0; i < count; ++i) {
            if (IsUsable(boxes[i])) {
                const int last = BucketOf(High(boxes[i], m_alongX));
                for (int bucket = BucketOf(Low(boxes[i], m_alongX)); bucket <= last; ++bucket) {
                    visit(bucket, boxes[i]);
                }
            }
        }
    };
    int* const starts = m_starts.get();
    // Counted one bucket up, summed, and then filled from each bucket's end: that leaves the starts behind.
    forEachReach([starts](int bucket, const Box&) { ++starts[bucket]; });
    std::partial_sum(starts, starts + m_buckets + 1, starts);
    m_boxes.reset(new (std::nothrow) Box[static_cast<std::size_t>(starts[m_buckets])]);
    if (m_boxes == nullptr) {
        m_all = kNothing;
        return false;
    }
    forEachReach([&](int bucket, const Box& box) { m_boxes[static_cast<std::size_t>(--starts[bucket])] = box; });
    return true;
}

bool SegmentIndex::Holds(Point p) const noexcept {
    if (!roi::Holds(m_all, p)) {
        return false;
    }
    const auto bucket = static_cast<std::size_t>(BucketOf(m_alongX ? p.x : p.y));
    const Box* const boxes = m_boxes.get();
    return std::any_of(boxes + m_starts[bucket], boxes + m_starts[bucket + 1],
                       [p](const Box& box) { return roi::Holds(box, p); });
}

}  // namespace roi

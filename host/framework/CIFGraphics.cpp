#include "host/framework/CIFGraphics.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace {

template <class... Numbers>
bool AllFinite(Numbers... numbers) noexcept {
    return (std::isfinite(numbers) && ...);
}

// The pixel that a coordinate belongs to.
double PixelOf(double coordinate) noexcept { return std::floor(coordinate + 0.5); }

}  // namespace

Result CCIFGraphics::Attach(ICIF* image) noexcept {
    m_pixels = SmartPtr<IPixels>::QueryFrom(image);
    m_image = m_pixels ? SmartPtr<ICIF>::Share(image) : nullptr;
    if (image == nullptr) {
        return Misuse("ICIFGraphics::Attach", "null image");
    }
    return m_pixels ? S_OK : E_NOINTERFACE;
}

Result CCIFGraphics::SetColor(int value) noexcept {
    if (value < 0 || value > 255) {
        return E_INVALIDARG;
    }
    m_value = static_cast<unsigned char>(value);
    return S_OK;
}

cv::Mat CCIFGraphics::Target() noexcept {
    int width = 0;
    int height = 0;
    unsigned char* data = nullptr;
    int stride = 0;
    int planes = 0;
    int bits = 0;
    if (!m_image || Failed(m_image->GetSize(&width, &height, nullptr)) ||
        Failed(m_pixels->GetPixels(&data, &stride, &planes, &bits)) || planes != 1 || bits != 8) {
        return {};
    }
    return {height, width, CV_8UC1, data, static_cast<std::size_t>(stride)};
}

// ---------------------------------------------------------------------------------------------------
// Lines

namespace {

// The part of a segment within [low, high] along one axis; false when there is none. `x` is that axis.
bool ClipAxis(double low, double high, double* x1, double* y1, double* x2, double* y2) noexcept {
    if (*x1 > *x2) {
        return ClipAxis(low, high, x2, y2, x1, y1);
    }
    if (*x2 < low || *x1 > high) {
        return false;
    }
    const double slope = *x2 > *x1 ? (*y2 - *y1) / (*x2 - *x1) : 0.0;
    if (*x1 < low) {
        *y1 += slope * (low - *x1);
        *x1 = low;
    }
    if (*x2 > high) {
        *y2 += slope * (high - *x2);
        *x2 = high;
    }
    return true;
}

}  // namespace

Result CCIFGraphics::Line(float x1, float y1, float x2, float y2) noexcept {
    if (!AllFinite(x1, y1, x2, y2)) {
        return E_INVALIDARG;
    }
    return Guarded("ICIFGraphics::Line", [&] {
        cv::Mat target = Target();
        double ax = PixelOf(x1);
        double ay = PixelOf(y1);
        double bx = PixelOf(x2);
        double by = PixelOf(y2);
        // Clipped far around the image: the ends then fit integers, and lines that touch the image keep
        // the very pixels they would have had.
        constexpr double kMargin = 1 << 20;
        if (target.empty() || !ClipAxis(-kMargin, target.cols + kMargin, &ax, &ay, &bx, &by) ||
            !ClipAxis(-kMargin, target.rows + kMargin, &ay, &ax, &by, &bx)) {
            return E_FAIL;
        }
        const cv::Point a(static_cast<int>(PixelOf(ax)), static_cast<int>(PixelOf(ay)));
        const cv::Point b(static_cast<int>(PixelOf(bx)), static_cast<int>(PixelOf(by)));
        cv::Point visibleA = a;
        cv::Point visibleB = b;
        if (!cv::clipLine(target.size(), visibleA, visibleB)) {
            return E_FAIL;
        }
        cv::line(target, a, b, cv::Scalar(m_value));
        return S_OK;
    });
}

// ---------------------------------------------------------------------------------------------------
// Arcs

namespace {

// An elliptical arc: centre, half-axes, and the angles it covers.
struct ArcShape {
    double cx;
    double cy;
    double rx;
    double ry;
    double start;
    double sweep;

    // Whether the arc covers the angle of a point of the ellipse, given from the centre.
    bool Covers(double dx, double dy) const noexcept {
        constexpr double kTurn = 2.0 * std::numbers::pi;
        // A full turn in single precision may be a little less than one in double precision.
        if (sweep >= kTurn - 1e-6) {
            return true;
        }
        const double behindStart = std::fmod(std::atan2(dy * rx, dx * ry) - start, kTurn);
        return (behindStart < 0.0 ? behindStart + kTurn : behindStart) <= sweep;
    }
};

// Sets the pixel that a point belongs to, when it lies in the image; whether it did.
bool Plot(cv::Mat& target, double x, double y, unsigned char value) noexcept {
    const double column = PixelOf(x);
    const double row = PixelOf(y);
    if (!(column >= 0.0 && column < target.cols && row >= 0.0 && row < target.rows)) {
        return false;
    }
    target.at<unsigned char>(static_cast<int>(row), static_cast<int>(column)) = value;
    return true;
}

// Calls `visit(position, offset)` for every pixel position from 0 to `size` - 1 along one axis at which
// the ellipse runs more along this axis than across it; `offset` is its half-width across, there.
template <class Visit>
void AlongAxis(double center, double along, double across, int size, Visit visit) {
    const double diagonal = std::hypot(along, across);
    // One pixel beyond the point of slope 1, so that the parts along both axes meet.
    const double reach = diagonal > 0.0 ? std::min(along, along * (along / diagonal) + 1.0) : 0.0;
    const double first = std::max(0.0, std::ceil(center - reach));
    const double last = std::min(size - 1.0, std::floor(center + reach));
    if (first > last) {
        return;
    }
    for (int position = static_cast<int>(first); position <= static_cast<int>(last); ++position) {
        const double part = along > 0.0 ? (position - center) / along : 0.0;
        visit(position, across * std::sqrt(std::max(0.0, 1.0 - part * part)));
    }
}

// The outline, column by column where it is flat and row by row where it is steep: every pixel is within
// half a pixel of the true ellipse, the outline is closed, and the work is bounded by the image however
// large the radii are. Whether any pixel was in the image.
bool DrawArc(cv::Mat& target, const ArcShape& arc, unsigned char value) {
    bool drawn = false;
    const auto plot = [&](double dx, double dy) {
        if (arc.Covers(dx, dy)) {
            drawn |= Plot(target, arc.cx + dx, arc.cy + dy, value);
        }
    };
    AlongAxis(arc.cx, arc.rx, arc.ry, target.cols, [&](double x, double dy) {
        plot(x - arc.cx, dy);
        plot(x - arc.cx, -dy);
    });
    AlongAxis(arc.cy, arc.ry, arc.rx, target.rows, [&](double y, double dx) {
        plot(dx, y - arc.cy);
        plot(-dx, y - arc.cy);
    });
    // The four ends, which may lie beyond the last column or row.
    for (const double side : {-1.0, 1.0}) {
        plot(side * arc.rx, 0.0);
        plot(0.0, side * arc.ry);
    }
    return drawn;
}

}  // namespace

Result CCIFGraphics::Arc(float cx, float cy, float rx, float ry, float start, float end, int mode) noexcept {
    if (mode != -1) {
        return Misuse("ICIFGraphics::Arc", "the last argument is not -1");
    }
    if (!AllFinite(cx, cy, rx, ry, start, end)) {
        return E_INVALIDARG;
    }
    return Guarded("ICIFGraphics::Arc", [&] {
        cv::Mat target = Target();
        const ArcShape arc{cx, cy, std::abs(rx), std::abs(ry), std::min(start, end), std::abs(double{end} - start)};
        return !target.empty() && DrawArc(target, arc, m_value) ? S_OK : E_FAIL;
    });
}

// ---------------------------------------------------------------------------------------------------
// Filling

namespace {

// A run fill: each row's run around a seed is filled at once, and every run above and below that it
// touches gets a seed. The library's own fill replaces the seed's value instead of stopping at the drawn
// one, and compares pixel by pixel.
class RunFill {
  public:
    RunFill(cv::Mat& target, unsigned char value) noexcept : m_target(target), m_value(value) {}

    void From(int x, int y) {
        m_seeds.push_back({x, y});
        while (!m_seeds.empty()) {
            const cv::Point seed = m_seeds.back();
            m_seeds.pop_back();
            unsigned char* row = m_target.ptr(seed.y);
            if (row[seed.x] != m_value) {
                FillRun(row, seed);
            }
        }
    }

  private:
    void FillRun(unsigned char* row, cv::Point seed) {
        const auto* before = static_cast<unsigned char*>(memrchr(row, m_value, static_cast<std::size_t>(seed.x)));
        const int first = before != nullptr ? static_cast<int>(before - row) + 1 : 0;
        const int end = NextDrawn(row, seed.x, m_target.cols);
        std::memset(row + first, m_value, static_cast<std::size_t>(end - first));
        for (const int y : {seed.y - 1, seed.y + 1}) {
            if (y >= 0 && y < m_target.rows) {
                SeedRuns(y, first, end);
            }
        }
    }

    // A seed for every run of the row that has pixels from `first` to `end`.
    void SeedRuns(int y, int first, int end) {
        const unsigned char* row = m_target.ptr(y);
        for (int x = first; x < end; ++x) {
            if (row[x] != m_value) {
                m_seeds.push_back({x, y});
                x = NextDrawn(row, x, end);
            }
        }
    }

    // The first pixel of the drawing value from `x` on, or `end`.
    int NextDrawn(const unsigned char* row, int x, int end) const noexcept {
        const void* drawn = std::memchr(row + x, m_value, static_cast<std::size_t>(end - x));
        return drawn != nullptr ? static_cast<int>(static_cast<const unsigned char*>(drawn) - row) : end;
    }

    cv::Mat& m_target;
    unsigned char m_value;
    std::vector<cv::Point> m_seeds;
};

}  // namespace

Result CCIFGraphics::FloodFill(int x, int y, int mode) noexcept {
    if (mode != 0) {
        return Misuse("ICIFGraphics::FloodFill", "the last argument is not 0");
    }
    return Guarded("ICIFGraphics::FloodFill", [&] {
        cv::Mat target = Target();
        if (x < 0 || y < 0 || x >= target.cols || y >= target.rows) {
            return E_FAIL;
        }
        RunFill(target, m_value).From(x, y);
        return S_OK;
    });
}

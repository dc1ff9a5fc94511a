#include "framework/CIFGraphics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contract/Numbers.h"

namespace {

template <class... Numbers>
bool AllFinite(Numbers... numbers) noexcept {
    return (std::isfinite(numbers) && ...);
}

// The pixel that a coordinate belongs to.
double PixelOf(double coordinate) noexcept { return std::floor(coordinate + 0.5); }

}  // namespace

Result CCIFGraphics::Attach(ICIF* image) noexcept {
    m_image = SmartPtr<IPixels>::QueryFrom(image) ? SmartPtr<ICIF>::Share(image) : nullptr;
    if (image == nullptr) {
        return Misuse("ICIFGraphics::Attach", "null image");
    }
    return m_image ? S_OK : E_NOINTERFACE;
}

Result CCIFGraphics::SetColor(int value) noexcept {
    if (value < 0 || value > 255) {
        return E_INVALIDARG;
    }
    m_value = static_cast<unsigned char>(value);
    return S_OK;
}

cv::Mat CCIFGraphics::Target() noexcept {
    const ImagePixels pixels = m_image ? PixelsOf(*m_image) : ImagePixels();
    if (!pixels.AreBytes()) {
        return {};
    }
    return {pixels.height, pixels.width, CV_8UC1, pixels.data, static_cast<std::size_t>(pixels.stride)};
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
        constexpr double kTurn = 2.0 * kPi;
        // A full turn in single precision may be a little less than one in double precision.
        if (sweep >= kTurn - 1e-6) {
            return true;
        }
        const double behindStart = std::fmod(std::atan2(dy * rx, dx * ry) - start, kTurn);
        return (behindStart < 0.0 ? behindStart + kTurn : behindStart) <= sweep;
    }
};

// Where an arc is drawn, and with what. Held by value, so that the pixels that it writes cannot be taken for its own.
class Pen {
  public:
    Pen(cv::Mat& target, unsigned char value) noexcept
        : m_pixels(target.data),
          m_stride(target.step[0]),
          m_width(target.cols),
          m_height(target.rows),
          m_value(value) {}

    // Sets the pixel that a point belongs to, when it lies in the image; whether it did.
    bool Plot(double x, double y) const noexcept {
        const double column = x + 0.5;
        const double row = y + 0.5;
        if (!(column >= 0.0 && column < m_width && row >= 0.0 && row < m_height)) {
            return false;
        }
        m_pixels[static_cast<std::size_t>(static_cast<int>(row)) * m_stride +
                 static_cast<std::size_t>(static_cast<int>(column))] = m_value;
        return true;
    }

  private:
    unsigned char* m_pixels;
    std::size_t m_stride;
    double m_width;
    double m_height;
    unsigned char m_value;
};

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
    const double ratio = along > 0.0 ? across / along : 0.0;
    // In portions, whose roots are taken side by side.
    constexpr int kPortion = 32;
    std::array<double, kPortion> offsets;
    for (int begin = static_cast<int>(first); begin <= static_cast<int>(last); begin += kPortion) {
        for (int i = 0; i < kPortion; ++i) {
            const double distance = begin + i - center;
            offsets[static_cast<std::size_t>(i)] =
                ratio * std::sqrt(std::max(0.0, along * along - distance * distance));
        }
        const int count = std::min(kPortion, static_cast<int>(last) - begin + 1);
        for (int i = 0; i < count; ++i) {
            visit(begin + i, offsets[static_cast<std::size_t>(i)]);
        }
    }
}

// The outline, column by column where it is flat and row by row where it is steep: every pixel is within
// half a pixel of the true ellipse, the outline is closed, and the work is bounded by the image however
// large the radii are. Whether any pixel was in the image.
bool DrawArc(cv::Mat& target, const ArcShape& arc, unsigned char value) {
    bool drawn = false;
    const auto plot = [&drawn, arc, pen = Pen(target, value)](double dx, double dy) {
        if (arc.Covers(dx, dy)) {
            drawn |= pen.Plot(arc.cx + dx, arc.cy + dy);
        }
    };
    constexpr double kSides[] = {-1.0, 1.0};
    AlongAxis(arc.cx, arc.rx, arc.ry, target.cols, [&](double x, double dy) {
        for (const double side : kSides) {
            plot(x - arc.cx, side * dy);
        }
    });
    AlongAxis(arc.cy, arc.ry, arc.rx, target.rows, [&](double y, double dx) {
        for (const double side : kSides) {
            plot(side * dx, y - arc.cy);
        }
    });
    // The four ends, which may lie beyond the last column or row.
    for (const double side : kSides) {
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

// A span fill: whole runs of a row are found and set at once, and from a filled run the fill goes on to
// what touches it. The library's own fill replaces the seed's value instead of stopping at the drawn one,
// and compares pixel by pixel.
class SpanFill {
  public:
    SpanFill(cv::Mat& target, unsigned char value) noexcept : m_target(target), m_value(value) {}

    void From(int x, int y) {
        const unsigned char* row = m_target.ptr(y);
        if (row[x] == m_value) {
            return;
        }
        const int first = RunStart(row, x);
        const int end = Fill(y, first, x);
        m_open.reserve(64);  // Enough for most figures.
        m_open.push_back({y + 1, first, end, 1});
        m_open.push_back({y - 1, first, end, -1});
        while (!m_open.empty()) {
            const Beside beside = m_open.back();
            m_open.pop_back();
            if (beside.y >= 0 && beside.y < m_target.rows) {
                FillRuns(beside);
            }
        }
    }

  private:
    // The part of a row from column `first` to before `end` that lies beside a filled run; the fill came
    // to it by a step of +1 or -1 rows.
    struct Beside {
        int y;
        int first;
        int end;
        int step;
    };

    // Fills every run that touches the part. From each the fill goes on, and back only where the run
    // reaches beyond the one it came from: behind the rest everything is filled.
    void FillRuns(const Beside& part) {
        const unsigned char* row = m_target.ptr(part.y);
        for (int x = part.first; x < part.end; ++x) {
            if (row[x] == m_value) {
                continue;
            }
            const int first = x == part.first ? RunStart(row, x) : x;
            const int end = Fill(part.y, first, x);
            m_open.push_back({part.y + part.step, first, end, part.step});
            if (first < part.first) {
                m_open.push_back({part.y - part.step, first, part.first, -part.step});
            }
            if (end > part.end) {
                m_open.push_back({part.y - part.step, part.end, end, -part.step});
            }
            x = end;
        }
    }

    // The first pixel of the run that holds x.
    int RunStart(const unsigned char* row, int x) const noexcept {
        const void* drawn = memrchr(row, m_value, static_cast<std::size_t>(x));
        return drawn != nullptr ? static_cast<int>(static_cast<const unsigned char*>(drawn) - row) + 1 : 0;
    }

    // Fills the run that begins at `first` and holds x; the end, behind its last pixel.
    int Fill(int y, int first, int x) noexcept {
        unsigned char* row = m_target.ptr(y);
        const void* drawn = std::memchr(row + x, m_value, static_cast<std::size_t>(m_target.cols - x));
        const int end =
            drawn != nullptr ? static_cast<int>(static_cast<const unsigned char*>(drawn) - row) : m_target.cols;
        std::memset(row + first, m_value, static_cast<std::size_t>(end - first));
        return end;
    }

    cv::Mat& m_target;
    unsigned char m_value;
    std::vector<Beside> m_open;
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
        SpanFill(target, m_value).From(x, y);
        return S_OK;
    });
}

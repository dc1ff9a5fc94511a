#include "host/measure/Spans.h"

#include <algorithm>

namespace host {

namespace {

// An edge and the rows that it crosses: firstRow <= y < endRow.
struct Crossing {
    const Edge* edge;
    int firstRow;
    int endRow;
    double x = 0.0;
};

// The first whole number that is not below a value within low and high.
int CeilWithin(double value, double low, double high) noexcept {
    value = std::min(std::max(low, value), high);
    const int whole = static_cast<int>(value);
    return whole + (whole < value ? 1 : 0);
}

std::vector<Crossing> CrossingsOf(const std::vector<Edge>& edges, const PixelRect& field) {
    const double top = field.top;
    const auto bottom = static_cast<double>(field.Bottom());
    std::vector<Crossing> crossings;
    crossings.reserve(edges.size());
    for (const Edge& edge : edges) {
        const Crossing crossing{&edge, CeilWithin(edge.top, top, bottom), CeilWithin(edge.bottom, top, bottom)};
        if (crossing.firstRow < crossing.endRow) {
            crossings.push_back(crossing);
        }
    }
    std::sort(crossings.begin(), crossings.end(),
              [](const Crossing& a, const Crossing& b) { return a.firstRow < b.firstRow; });
    return crossings;
}

// They stay nearly in order from row to row.
void SortByX(std::vector<Crossing>& crossings) noexcept {
    for (std::size_t i = 1; i < crossings.size(); ++i) {
        for (std::size_t j = i; j > 0 && crossings[j].x < crossings[j - 1].x; --j) {
            std::swap(crossings[j], crossings[j - 1]);
        }
    }
}

void AddRow(int y, const std::vector<Crossing>& crossings, const PixelRect& field, PixelSet& pixels) {
    const double left = field.left;
    const auto right = static_cast<double>(field.Right());
    int winding = 0;
    double entered = 0.0;
    for (const Crossing& crossing : crossings) {
        const int before = winding;
        winding += crossing.edge->winding;
        if (before == 0) {
            entered = crossing.x;
        } else if (winding == 0) {
            const int first = CeilWithin(entered, left, right);
            const int end = CeilWithin(crossing.x, left, right);
            if (first < end) {
                pixels.AddSpan(y, first, end - 1);
            }
        }
    }
}

}  // namespace

PixelSet SpansOf(const std::vector<Edge>& edges, const PixelRect& field) {
    PixelSet pixels;
    const std::vector<Crossing> crossings = CrossingsOf(edges, field);
    if (crossings.empty() || field.IsEmpty()) {
        return pixels;
    }
    std::vector<Crossing> active;
    auto next = crossings.begin();
    for (int y = next->firstRow; next != crossings.end() || !active.empty(); ++y) {
        std::erase_if(active, [y](const Crossing& crossing) { return crossing.endRow <= y; });
        if (active.empty() && next != crossings.end()) {
            y = std::max(y, next->firstRow);
        }
        for (; next != crossings.end() && next->firstRow <= y; ++next) {
            active.push_back(*next);
        }
        for (Crossing& crossing : active) {
            crossing.x = crossing.edge->X(y);
        }
        SortByX(active);
        AddRow(y, active, field, pixels);
    }
    return pixels;
}

}  // namespace host

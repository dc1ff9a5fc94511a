#include "workbench/Hits.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>

#include "host/measure/Region.h"
#include "workbench/FigureText.h"

namespace host::workbench {

namespace {

// As many figures are looked at one by one in the time of a few frames.
constexpr std::size_t kMostOutdated = 500;

double DistanceToLine(ImagePoint p, ImagePoint a, ImagePoint b) noexcept {
    const ImagePoint along = b - a;
    const ImagePoint from = p - a;
    const double length2 = along.x * along.x + along.y * along.y;
    const double t = length2 > 0.0 ? std::clamp((from.x * along.x + from.y * along.y) / length2, 0.0, 1.0) : 0.0;
    return std::hypot(from.x - t * along.x, from.y - t * along.y);
}

bool PassesNear(const Rings& rings, ImagePoint p, double tolerance) noexcept {
    for (const auto& ring : rings.closed) {
        for (std::size_t i = 0; i < ring.size(); ++i) {
            if (DistanceToLine(p, ring[i], ring[(i + 1) % ring.size()]) <= tolerance) {
                return true;
            }
        }
    }
    for (std::size_t i = 0; i + 1 < rings.axis.size(); ++i) {
        if (DistanceToLine(p, rings.axis[i], rings.axis[i + 1]) <= tolerance) {
            return true;
        }
    }
    return false;
}

}  // namespace

void Hits::Note(const std::vector<FigureChange>& changes) {
    if (m_index) {
        std::transform(changes.begin(), changes.end(), std::inserter(m_outdated, m_outdated.end()),
                       [](const FigureChange& change) { return change.name; });
    }
}

std::vector<std::string> Hits::At(const RoiSet& set, ImagePoint at, double tolerance) {
    if (!m_index || m_outdated.size() > kMostOutdated) {
        m_index.emplace(set.Figures());
        m_outdated.clear();
        m_names.clear();
        std::transform(set.Figures().begin(), set.Figures().end(), std::back_inserter(m_names),
                       [](const Figure& figure) { return figure.name; });
    }
    std::vector<std::string> names;
    // A chord lies that far inside its arc.
    for (const Figure* figure : Near(set, at, tolerance + kTolerance)) {
        if (HoldsPoint(*figure, at, PixelRule::outline) || PassesNear(RingsOf(*figure, kTolerance), at, tolerance)) {
            names.push_back(figure->name);
        }
    }
    return names;
}

std::vector<const Figure*> Hits::Near(const RoiSet& set, ImagePoint at, double reach) const {
    std::vector<const Figure*> figures;
    const auto take = [&](const std::string& name) {
        if (set.Has(name)) {
            figures.push_back(&set.At(name));
        }
    };
    for (const std::size_t place : m_index->At(at, reach)) {
        if (!m_outdated.contains(m_names[place])) {
            take(m_names[place]);
        }
    }
    std::for_each(m_outdated.begin(), m_outdated.end(), take);
    std::sort(figures.begin(), figures.end(), std::greater<>());
    return figures;
}

}  // namespace host::workbench

#include "roi/ROIDonutImpl.h"

namespace roi {

void MapThrough(ITransform& transform, Annulus& a) noexcept {
    const Point before = Center(a);
    const Point center = MapPoint(transform, before);
    for (Ring& ring : a.rings) {
        const Point right = MapPoint(transform, {before.x + ring.radiusX, before.y});
        const Point below = MapPoint(transform, {before.x, before.y + ring.radiusY});
        ring = {Length(right - center), Length(below - center)};
    }
    a.centerX = center.x;
    a.centerY = center.y;
}

void DrawRings(const Annulus& a, ICIFGraphics& graphics, unsigned int width, unsigned int height) noexcept {
    constexpr float kFullTurn = 6.2831855F;  // 2 pi in single precision
    const unsigned int middleX = width >> 1;
    const unsigned int middleY = height >> 1;
    for (const Ring& ring : a.rings) {
        graphics.Arc(static_cast<float>(middleX), static_cast<float>(middleY), static_cast<float>(ring.radiusX),
                     static_cast<float>(ring.radiusY), 0.0F, kFullTurn, -1);
    }
    const double halfway = (a.rings[0].radiusX + a.rings[1].radiusX) * 0.5;
    graphics.FloodFill(ToInt32(halfway + static_cast<double>(middleX)), static_cast<int>(middleY), 0);
}

}  // namespace roi

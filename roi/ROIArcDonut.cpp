#include "roi/ROIArcDonut.h"

#include <array>

#include "runtime/Pages.h"
#include "runtime/Persistence.h"

// ---------------------------------------------------------------------------------------------------
// Geometry

namespace roi {

Result MakeSector(Annulus& a, Point start0, Point start1, Point end0, Point end1) noexcept {
    const Line startEdge = LineThrough(start0, start1);
    const Line endEdge = LineThrough(end0, end1);
    // The directions of the two lines, compared without wrapping: half a turn apart passes here and is
    // caught by the determinant.
    const double between = std::atan2(startEdge.a, -startEdge.b) - std::atan2(endEdge.a, -endEdge.b);
    if (std::abs(between) < 0.1 || std::abs(Determinant(endEdge, startEdge)) < 0.0001) {
        return E_FAIL;
    }
    const Point center = Intersection(endEdge, startEdge);
    const double start = Direction(start1 - start0);
    double delta = Direction(end1 - end0) - start;
    if (delta < kPi) {
        delta += kTwoPi;
    }
    if (delta > kPi) {
        delta -= kTwoPi;
    }
    const double radius0 = Length(start0 - center);
    const double radius1 = Length(start1 - center);
    a = {center.x, center.y, {{radius0, radius0}, {radius1, radius1}}, start, delta};
    return S_OK;
}

}  // namespace roi

void CROIArcDonut::FinalRelease() noexcept { m_mask.Reset(); }

Result CROIArcDonut::Replicate(IUnknown** copy) noexcept { return ReplicateAs(copy); }

Result CROIArcDonut::GetLimits(double* start, double* delta) noexcept { return ReadLimits(start, delta); }

Result CROIArcDonut::SetLimits(double start, double delta) noexcept { return StoreLimits(start, delta); }

Result CROIArcDonut::Set(double x1, double y1, double x2, double y2, double x3, double y3, double x4,
                         double y4) noexcept {
    return roi::MakeSector(m_state, {x1, y1}, {x2, y2}, {x3, y3}, {x4, y4});
}

Result CROIArcDonut::HitTest(double x, double y, int* hit) noexcept {
    // The full ring, not the sector: the mask is the full ring too, and the two must agree.
    return IROIDonutImpl::HitTest(x, y, hit);
}

// ---------------------------------------------------------------------------------------------------
// Nodes and dragging

namespace roi {

Point SectorNode(const Annulus& a, int node) noexcept {
    if (node < 2 || node > 7) {
        return Center(a);
    }
    const bool onStart = node == 2 || node == 3 || node == 6;
    const double angle = onStart ? a.start : a.start + a.delta;
    Ring ring = a.rings[node == 2 || node == 4 ? 0 : 1];
    if (node >= 6) {
        ring = {(a.rings[0].radiusX + a.rings[1].radiusX) * 0.5, (a.rings[0].radiusY + a.rings[1].radiusY) * 0.5};
    }
    return {a.centerX + std::cos(angle) * ring.radiusX, a.centerY + std::sin(angle) * ring.radiusY};
}

}  // namespace roi

Result CROIArcDonut::GetNode(int node, double* x, double* y) noexcept {
    const roi::Point position = roi::SectorNode(m_state, node & kNodeMask);
    *x = position.x;
    *y = position.y;
    return S_OK;
}

Result CROIArcDonut::SetNode(int node, double x, double y) noexcept {
    const roi::Point p{x, y};
    m_mask.Reset();
    // Exact values, flags and all: the donut takes the low byte and reads 0x200 as a flag.
    switch (node) {
        case 1:
            return SetCenter(x, y);
        case 2:
        case 3:
        case 4:
        case 5: {
            const double radius = Length(p - Center(m_state));
            m_state.rings[node % 2] = {radius, radius};
            return S_OK;
        }
        case 6:
            m_state.start = Direction(p - Center(m_state));
            return S_OK;
        case 7:
            DragEnd(p);
            return S_OK;
        case kKeepCenter + 2:
        case kKeepCenter + 3:
        case kKeepCenter + 4:
        case kKeepCenter + 5:
            DragCorner(node & kNodeMask, p);
            return S_OK;
        default:
            return S_OK;
    }
}

// The new extent is below a quarter turn when the old one is, and otherwise keeps turning the way the old
// one did. Signs count: a negative extent is below a quarter turn.
void CROIArcDonut::DragEnd(roi::Point p) noexcept {
    constexpr double kQuarterTurn = kPi / 2.0;
    const double delta = Direction(p - Center(m_state)) - m_state.start;
    const bool small = delta < kQuarterTurn && m_state.delta < kQuarterTurn;
    m_state.delta = !small && m_state.delta * delta < 0.0 ? delta + roi::kTwoPi : delta;
}

// Moves one corner of the sector and keeps the three others.
Result CROIArcDonut::DragCorner(int corner, roi::Point p) noexcept {
    std::array<roi::Point, 4> corners = {roi::SectorNode(m_state, 2), roi::SectorNode(m_state, 3),
                                         roi::SectorNode(m_state, 4), roi::SectorNode(m_state, 5)};
    corners[static_cast<std::size_t>(corner - 2)] = p;
    return roi::MakeSector(m_state, corners[0], corners[1], corners[2], corners[3]);
}

// ---------------------------------------------------------------------------------------------------
// Parameters

namespace {

using roi::Annulus;
using roi::Ring;

// Multiplies, then divides: the donut does it the other way round, and both keep their last bits.
double ToRadians(double degrees) { return (degrees * kPi) / 180.0; }

// The ring's number comes before the axis, so that a donut's list does not load its radii here.
constexpr std::array kParameters = {
    Stored<Annulus, &Annulus::centerX>(Text(L"CenterX")),
    Stored<Annulus, &Annulus::centerY>(Text(L"CenterY")),
    roi::RingRow<0, &Ring::radiusX>(Text(L"Radius1X")),
    roi::RingRow<0, &Ring::radiusY>(Text(L"Radius1Y")),
    roi::RingRow<1, &Ring::radiusX>(Text(L"Radius2X")),
    roi::RingRow<1, &Ring::radiusY>(Text(L"Radius2Y")),
    roi::AngleRow<&Annulus::start, ToRadians>(Text(L"StartAngle")),
    roi::AngleRow<&Annulus::delta, ToRadians>(Text(L"DeltaAngle")),
};

}  // namespace

Result CROIArcDonut::GetPages(int /*index*/, INamedCollection** pages, IUnknown** /*context*/) noexcept {
    // The page class without its prefix: pages of this class are registered under the short name.
    return MakePages(m_ObjectName, kShortParametricPage, m_ObjectName, pages);
}

Result CROIArcDonut::GetParameters(INamedCollection** parameters, int /*flags*/) noexcept {
    return HandOutParameters(kParameters, m_state, parameters);
}

Result CROIArcDonut::SetParameters(INamedCollection* parameters) noexcept { return StoreRows(kParameters, parameters); }

// ---------------------------------------------------------------------------------------------------
// Persistence

Result CROIArcDonut::Save(IDataStream* stream, int flags) noexcept { return SaveParameters(*this, stream, flags); }

Result CROIArcDonut::Load(IDataStream* stream, int /*flags*/) noexcept { return LoadParameters(*this, stream); }

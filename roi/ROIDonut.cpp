#include "roi/ROIDonut.h"

#include <array>

#include "runtime/Pages.h"

// ---------------------------------------------------------------------------------------------------
// Geometry: ROIDonutImpl

void CROIDonut::FinalRelease() noexcept { m_mask.Reset(); }

Result CROIDonut::Replicate(IUnknown** copy) noexcept { return ReplicateAs(copy); }

Result CROIDonut::SetLimits(double start, double delta) noexcept { return StoreLimits(start, delta); }

Result CROIDonut::GetLimits(double* start, double* delta) noexcept { return ReadLimits(start, delta); }

// ---------------------------------------------------------------------------------------------------
// Nodes and dragging

namespace roi {

void Drag(Annulus& a, int node, Point p) noexcept {
    const int number = node & kNodeMask;
    const bool bothAxes = (node & kBothAxes) != 0;
    Ring& ring = a.rings[number <= 3 ? 0 : 1];
    switch (number) {
        case 2:
        case 4:
            ring.radiusX = std::abs(p.x - a.centerX);
            if (bothAxes) {
                ring.radiusY = ring.radiusX;
            }
            break;
        case 3:
        case 5:
            ring.radiusY = std::abs(p.y - a.centerY);
            if (bothAxes) {
                ring.radiusX = ring.radiusY;
            }
            break;
        case 7:
        case 8:
            break;
        default:
            a.centerX = p.x;
            a.centerY = p.y;
    }
}

}  // namespace roi

Result CROIDonut::GetNode(int node, double* x, double* y) noexcept {
    // The whole value counts here, but only the low byte in SetNode.
    const roi::Ring& ring = m_state.rings[node <= 3 ? 0 : 1];
    switch (node) {
        case 2:
        case 4:
            *x = m_state.centerX + ring.radiusX;
            *y = m_state.centerY;
            return S_OK;
        case 3:
        case 5:
            *x = m_state.centerX;
            *y = m_state.centerY - ring.radiusY;
            return S_OK;
        case 7:
        case 8:
            return S_OK;
        default:
            return GetCenter(x, y);
    }
}

Result CROIDonut::SetNode(int node, double x, double y) noexcept {
    m_mask.Reset();
    Drag(m_state, node, {x, y});
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------
// Parameters

namespace {

using roi::Annulus;
using roi::Ring;

// Divides, then multiplies: the arc donut does it the other way round, and both keep their last bits.
double ToRadians(double degrees) { return (degrees / 180.0) * kPi; }

// The axis comes before the ring's number, which the arc donut has the other way round.
constexpr std::array kParameters = {
    Stored<Annulus, &Annulus::centerX>(Text(L"CenterX")),
    Stored<Annulus, &Annulus::centerY>(Text(L"CenterY")),
    roi::RingRow<0, &Ring::radiusX>(Text(L"RadiusX1")),
    roi::RingRow<0, &Ring::radiusY>(Text(L"RadiusY1")),
    roi::RingRow<1, &Ring::radiusX>(Text(L"RadiusX2")),
    roi::RingRow<1, &Ring::radiusY>(Text(L"RadiusY2")),
    roi::AngleRow<&Annulus::start, ToRadians>(Text(L"StartAngle")),
    roi::AngleRow<&Annulus::delta, ToRadians>(Text(L"DeltaAngle")),
};

}  // namespace

Result CROIDonut::GetParameters(INamedCollection** parameters, int /*flags*/) noexcept {
    return HandOutParameters(kParameters, m_state, parameters);
}

Result CROIDonut::SetParameters(INamedCollection* parameters) noexcept { return StoreRows(kParameters, parameters); }

Result CROIDonut::GetPages(int /*index*/, INamedCollection** pages, IUnknown** /*context*/) noexcept {
    return MakePages(m_ObjectName, kParametricPage, m_ObjectName, pages);
}

// ---------------------------------------------------------------------------------------------------
// Persistence: IDataPersistParametricImpl

#include "roi/ROIShape.h"

#include "runtime/Pages.h"
#include "runtime/Persistence.h"

// ---------------------------------------------------------------------------------------------------
// Geometry

namespace {

template <class Value>
void WriteUnlessNull(Value* out, Value value) noexcept {
    if (out != nullptr) {
        *out = value;
    }
}

// False, for no element too, when there is no such point.
bool ReadPoint(const SmartPtr<IPoints>& element, int index, roi::Point* point) noexcept {
    double z = 0.0;
    return element && Succeeded(element->GetPoint(index, &point->x, &point->y, &z));
}

}  // namespace

// The element that carries the extent, or null. One that is delivered counts, whatever the code.
SmartPtr<IPoints> CROIShape::Element() noexcept {
    SmartPtr<IPoints> element;
    if (m_assembly) {
        m_assembly->GetElement(kGeometricExtent, element.Receive());
    }
    return element;
}

// False when there is no geometry, no extent in it or no such point.
bool CROIShape::ReadExtent(roi::Extent<double>* extent) noexcept {
    const SmartPtr<IPoints> element = Element();
    roi::Point first;
    roi::Point second;
    if (!ReadPoint(element, 0, &first) || !ReadPoint(element, 1, &second)) {
        return false;
    }
    *extent = {first.x, first.x, first.y, first.y};
    extent->Include(second.x, second.y);
    return true;
}

Result CROIShape::SetGeometry(IGeometry* geometry) noexcept {
    m_assembly = SmartPtr<IGeometricAssembly>::QueryFrom(geometry);
    return S_OK;
}

Result CROIShape::GetCenter(double* x, double* y) noexcept {
    roi::Point center;
    const bool found = ReadPoint(Element(), 2, &center);
    WriteUnlessNull(x, found ? center.x : 0.0);
    WriteUnlessNull(y, found ? center.y : 0.0);
    return found ? S_OK : E_FAIL;
}

Result CROIShape::GetBoundingSize(double* width, double* height) noexcept {
    roi::Extent<double> extent{};
    const bool found = ReadExtent(&extent);
    WriteUnlessNull(width, extent.maxX - extent.minX);
    WriteUnlessNull(height, extent.maxY - extent.minY);
    return found ? S_OK : E_FAIL;
}

Result CROIShape::GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept {
    roi::Extent<double> extent{};
    const bool found = ReadExtent(&extent);
    // The corner is cut off, the size is rounded: hosts know both.
    WriteUnlessNull(left, ToInt32(extent.minX));
    WriteUnlessNull(top, ToInt32(extent.minY));
    WriteUnlessNull(width, ToUInt32(extent.maxX - extent.minX + 0.5));
    WriteUnlessNull(height, ToUInt32(extent.maxY - extent.minY + 0.5));
    return found ? S_OK : E_FAIL;
}

Result CROIShape::HitTest(double /*x*/, double /*y*/, int* /*hit*/) noexcept { return E_FAIL; }

// What follows succeeds without doing anything: a shape is edited through its geometry only, and hosts
// preset the outputs.

Result CROIShape::SetCenter(double /*x*/, double /*y*/) noexcept { return S_OK; }

Result CROIShape::Transform(ITransform* /*transform*/) noexcept { return S_OK; }

Result CROIShape::GetMask(ICIF** /*image*/) noexcept { return S_OK; }

Result CROIShape::Replicate(IUnknown** /*copy*/) noexcept { return S_OK; }

// ---------------------------------------------------------------------------------------------------
// Parameters: none

Result CROIShape::GetParameters(INamedCollection** parameters, int /*flags*/) noexcept {
    return ParameterWriter().HandOut(parameters);
}

Result CROIShape::SetParameters(INamedCollection* /*parameters*/) noexcept { return S_OK; }

Result CROIShape::GetPages(int /*index*/, INamedCollection** pages, IUnknown** /*context*/) noexcept {
    // The rectangle's key, and not by mistake: the rectangle's page serves shapes too.
    return MakePages(Text(L"Rectangle"), kParametricPage, m_ObjectName, pages);
}

// ---------------------------------------------------------------------------------------------------
// Persistence: an empty list; the geometry is the host's to keep

Result CROIShape::Save(IDataStream* stream, int flags) noexcept { return SaveParameters(*this, stream, flags); }

Result CROIShape::Load(IDataStream* stream, int /*flags*/) noexcept { return LoadParameters(*this, stream); }

// The shape: a figure that only has an extent, read from a geometry object on every call. It accepts and
// ignores every edit, and never reports a hit. It has no nodes.
//
//        0 ---------+             points of the geometry's extent element:
//        |     2    |             0 and 1 opposite corners in any order, 2 the centre
//        +--------- 1
#pragma once

#include "contract/IROI.h"
#include "roi/Geometry.h"
#include "runtime/ParameterList.h"

class CROIShape;
template <>
inline const tagREFString IObjectInfoImpl<CROIShape>::m_ObjectName = Text(L"ROIShape");

class CROIShape final : public Component<CROIShape, IROIShape, IDataPersist, IParametricObject, IReplicableObject,
                                         ITransformableObject, IUIPropertyPageSpecify> {
  public:
    // It has a property page, but hosts are not told: IUIPropertyPageSpecify is left out on purpose.
    using Answers = InterfaceMap<IObjectInfo, IROI, IROIShape, IParametricObject, IDataPersist, IReplicableObject,
                                 ITransformableObject>;

    // The order of these operations is the order of the class's own table, behind the object base's.
    Result GetPages(int index, INamedCollection** pages, IUnknown** context) noexcept override;
    /// E_FAIL without a geometry, with every output that is not null set to 0; so do the box and the centre.
    Result GetBoundingSize(double* width, double* height) noexcept override;
    Result GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept override;
    Result SetCenter(double x, double y) noexcept override;
    Result GetCenter(double* x, double* y) noexcept override;
    Result GetMask(ICIF** image) noexcept override;
    Result Replicate(IUnknown** copy) noexcept override;
    Result Transform(ITransform* transform) noexcept override;
    /// Always E_FAIL; `*hit` is not written.
    Result HitTest(double x, double y, int* hit) noexcept override;
    Result SetGeometry(IGeometry* geometry) noexcept override;
    Result GetParameters(INamedCollection** parameters, int flags) noexcept override;
    /// S_OK, for a null list too: there is nothing to set.
    Result SetParameters(INamedCollection* parameters) noexcept override;
    Result Save(IDataStream* stream, int flags) noexcept override;
    Result Load(IDataStream* stream, int flags) noexcept override;

  private:
    SmartPtr<IPoints> Element() noexcept;
    bool ReadExtent(roi::Extent<double>* extent) noexcept;

    SmartPtr<IGeometricAssembly> m_assembly;
};

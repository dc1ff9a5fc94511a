// The rectangle: a box turned by the roll about its centre. Its frame and nodes are drawn in RolledBox.h.
#pragma once

#include "roi/RolledBox.h"
#include "runtime/Persistence.h"

class CROIRectangle;
template <>
inline const tagREFString IObjectInfoImpl<CROIRectangle>::m_ObjectName = Text(L"ROIRectangle");

class CROIRectangle final
    : public Component<CROIRectangle, roi::IRolledBoxImpl<CROIRectangle, IROIRectangle, roi::RolledBox>,
                       IDataPersistParametricImpl<CROIRectangle>, IReplicableObject, ITransformableObject,
                       IUIPropertyPageSpecify, IGeometry> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IROI, IROIRectangle, IUIPropertyPageSpecify, IReplicableObject,
                                 ITransformableObject, IParametricObject, IDataPersist, IGeometry>;

    Result Transform(ITransform* transform) noexcept override;
    Result Replicate(IUnknown** copy) noexcept override;
    /// Null, with S_OK, for a roll under 0.0001: the whole box belongs to the figure. E_FAIL with a null
    /// mask when there is no drawing component, with `*mask` untouched when there is no image component. An
    /// image that refused the size of the box is handed out without pixels.
    Result GetMask(ICIF** mask) noexcept override;

    /// Node 10 raises the stored grip length, as for GetCornerPoint.
    Result GetCornerPointI(ROICorner corner, int* x, int* y) noexcept override;
    Result GetAspectRatio(double* ratio) noexcept override;
    Result SetAspectRatio(double ratio) noexcept override;

    Result GetParameters(INamedCollection** parameters, int flags) noexcept override;
    Result SetParameters(INamedCollection* parameters) noexcept override;
    Result GetPages(int index, INamedCollection** pages, IUnknown** context) noexcept override;

    /// How far the corners 3 and 5 stand off the box's own: not at all.
    static constexpr double Lean() noexcept { return 0.0; }
};

// The donut: the full ring between two ellipses. Its frame is drawn in ROIDonutImpl.h.
//
//              5
//          .---o---.
//        /  .--3--.  \          2, 3: ring 0 to the right of and above the centre
//       |  |   o   2--4         4, 5: ring 1
//        \  `-----'  /          7, 8: nothing; anything else: the centre
//          `-------'
#pragma once

#include "roi/ROIDonutImpl.h"

namespace roi {

/// Drags a node of the donut to `p`; see CROIDonut::SetNode.
void Drag(Annulus& a, int node, Point p) noexcept;

}  // namespace roi

class CROIDonut;
template <>
inline const tagREFString IObjectInfoImpl<CROIDonut>::m_ObjectName = Text(L"ROIDonut");

class CROIDonut final : public Component<CROIDonut, IReplicableObject, IDataPersistParametricImpl<CROIDonut>,
                                         IROIDonutImpl<CROIDonut, IROIArcDonut>, IUIPropertyPageSpecify> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IDataPersist, IParametricObject, IReplicableObject, IROI, IROIDonut,
                                 IROIArcDonut, ITransformableObject, IUIPropertyPageSpecify>;

    void FinalRelease() noexcept override;

    Result Replicate(IUnknown** copy) noexcept override;
    Result SetLimits(double start, double delta) noexcept override;
    Result GetLimits(double* start, double* delta) noexcept override;
    /// The whole value is compared: flags give the centre.
    Result GetNode(int node, double* x, double* y) noexcept override;
    /// The node is the low byte. Nodes 2 to 5 set one radius from the point's own axis, both of the ring
    /// with kBothAxes; 7 and 8 change nothing; any other moves the centre.
    Result SetNode(int node, double x, double y) noexcept override;

    Result GetParameters(INamedCollection** parameters, int flags) noexcept override;
    Result SetParameters(INamedCollection* parameters) noexcept override;
    Result GetPages(int index, INamedCollection** pages, IUnknown** context) noexcept override;
};

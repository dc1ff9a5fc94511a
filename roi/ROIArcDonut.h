// The arc donut: a ring with a start and an end edge. Its frame is drawn in ROIDonutImpl.h.
//
//        3 --6-- 2      o          2, 3: rings 0 and 1 on the start edge, 6 between them
//         \       \   centre       4, 5: rings 0 and 1 on the end edge, 7 between them
//           `.     `-4
//              `-.   7             anything else: the centre
//                 `- 5
#pragma once

#include "roi/ROIDonutImpl.h"

namespace roi {

/// Nodes 2 to 7 on the edges of the sector; the centre for any other number.
Point SectorNode(const Annulus& a, int node) noexcept;

/// Makes the sector whose start edge runs from `start0` on ring 0 to `start1` on ring 1 and whose end
/// edge runs from `end0` to `end1`: the centre is where the edges' lines meet, both rings are circles
/// through the start edge's points, and the extent is wrapped into half a turn either way. E_FAIL, with
/// nothing changed, for edges that are nearly parallel.
Result MakeSector(Annulus& a, Point start0, Point start1, Point end0, Point end1) noexcept;

}  // namespace roi

class CROIArcDonut;
template <>
inline const tagREFString IObjectInfoImpl<CROIArcDonut>::m_ObjectName = Text(L"ROIArcDonut");

class CROIArcDonut final
    : public Component<CROIArcDonut, IDataPersist, IReplicableObject, IROIDonutImpl<CROIArcDonut, IROIArcDonut>,
                       IParametricImpl<CROIArcDonut>, IUIPropertyPageSpecify> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IDataPersist, IROIArcDonut, IROIDonut, IROI, IParametricObject,
                                 IReplicableObject, ITransformableObject, IUIPropertyPageSpecify>;

    void FinalRelease() noexcept override;

    // The order of these operations is the order of the class's own table, behind the object base's.
    Result Replicate(IUnknown** copy) noexcept override;
    Result GetLimits(double* start, double* delta) noexcept override;
    Result SetLimits(double start, double delta) noexcept override;
    /// Defines the sector by its two edges (see MakeSector) and keeps the cached mask. S_OK or E_FAIL.
    virtual Result Set(double x1, double y1, double x2, double y2, double x3, double y3, double x4, double y4) noexcept;
    /// The whole value counts: 1 moves the centre, 2 to 5 resize a ring to a circle through the point, 6
    /// turns the sector, 7 drags its end; 0x102 to 0x105 move one corner of the sector through Set. Any
    /// other value changes nothing. Always S_OK, a refused Set included.
    Result SetNode(int node, double x, double y) noexcept override;
    /// The node is the low byte.
    Result GetNode(int node, double* x, double* y) noexcept override;
    Result HitTest(double x, double y, int* hit) noexcept override;
    Result GetPages(int index, INamedCollection** pages, IUnknown** context) noexcept override;
    Result GetParameters(INamedCollection** parameters, int flags) noexcept override;
    Result SetParameters(INamedCollection* parameters) noexcept override;
    Result Save(IDataStream* stream, int flags) noexcept override;
    Result Load(IDataStream* stream, int flags) noexcept override;

  private:
    void DragEnd(roi::Point p) noexcept;
    Result DragCorner(int corner, roi::Point p) noexcept;
};

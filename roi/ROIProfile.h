// The profile: a polyline whose points carry a thickness to either side, which makes it a band.
//
//        2 ------ 4 ------ 2 ---- 4 ---- 2       outline on the thickness-1 side
//        |                 |             |
//        1 ------ 6 ------ 1 ---- 6 ---- 1       points and segments; segment i starts at point i
//        |                 |             |
//        3 ------ 5 ------ 3 ---- 5 ---- 3       outline on the thickness-2 side
#pragma once

#include <cstdint>
#include <memory>

#include "contract/IROI.h"
#include "roi/Geometry.h"
#include "roi/SegmentIndex.h"
#include "runtime/ParameterList.h"

namespace roi {

/// One record of a profile, as it is kept and as it is saved.
struct ProfilePoint {
    double x;
    double y;
    double z;  ///< 0 when a point is written; a transform may change it.
    double normalAngle;
    double thickness1;
    double thickness2;
};
static_assert(sizeof(ProfilePoint) == 48 && std::is_trivially_copyable_v<ProfilePoint>,
              "a profile's saved block is its records back to back: six doubles, no padding");

/// The angle of a point for which none was computed.
inline constexpr double kNoAngle = -1000.0;
/// The thickness of the first point of a profile.
inline constexpr double kFirstThickness = 20.0;
/// More points than this are refused when a profile is loaded.
inline constexpr std::uint32_t kMostPointsLoaded = 16777216;

/// The points of a profile. One record past the last always exists, since hosts may name it by an index
/// equal to the count: it holds what was last written there, or zeros.
class Polyline {
  public:
    Polyline() noexcept = default;

    /// The number of points in use.
    int Size() const noexcept { return m_count > 0 ? m_count : 0; }
    /// The number a host is told: removing from an empty profile goes below zero, and adding counts on
    /// from there.
    int ReportedCount() const noexcept { return m_count; }

    /// The record at 0 to Size().
    const ProfilePoint& operator[](int index) const noexcept {
        return m_records ? m_records[Slot(index)] : m_pastEmpty;
    }
    const ProfilePoint* begin() const noexcept { return m_records.get(); }
    const ProfilePoint* end() const noexcept { return begin() + Size(); }

    /// The same record to be changed: what was derived from the points is forgotten.
    ProfilePoint& Edit(int index) noexcept;
    /// Keeps a point's angle in its record, which changes nothing else.
    void KeepAngle(int index, double angle) noexcept;
    /// Writes a point's position and makes its angle and those of its neighbours unknown.
    void Place(int index, Point position) noexcept;
    /// Maps a point in place, with its own third coordinate. What the transform returns is ignored.
    void Map(ITransform& transform, int index) noexcept;

    /// Makes room for more points, in steps of 100. False, with nothing changed, without memory.
    bool MakeRoom(int more) noexcept;
    /// Makes room for one point at 0 to Size(), moves the ones from there on up, and counts it. Its
    /// record keeps what it held. False as for MakeRoom.
    bool Open(int index) noexcept;
    /// Closes the gap of one point at 0 to Size(); at Size() the last one goes.
    void Close(int index) noexcept;
    /// Exactly `count` records, of zeros, for a stream to fill: the first of them is returned. Null, with
    /// nothing changed, without memory.
    ProfilePoint* Allocate(int count) noexcept;

    /// Whether a segment's upright box, widened by the mean thickness at its start, holds the point.
    bool BandHolds(Point p) noexcept;

  private:
    static constexpr std::size_t Slot(int index) noexcept { return static_cast<std::size_t>(index); }

    ProfilePoint& Record(int index) noexcept { return m_records ? m_records[Slot(index)] : m_pastEmpty; }
    bool BuildIndex() noexcept;

    std::unique_ptr<ProfilePoint[]> m_records;  // m_capacity + 1 of them, or none.
    ProfilePoint m_pastEmpty{};                 // The record past the last while there are none.
    int m_count = 0;
    int m_capacity = 0;
    // Of the segments' boxes, for hit tests. Every way to change a record passes through this class, which
    // drops it.
    SegmentIndex m_index;
    bool m_indexed = false;
};

/// The two sides of the band, as the sign of a thickness along the normal.
enum class Side : int { k1 = +1, k2 = -1 };

constexpr double SignedThickness(const ProfilePoint& point, Side side) noexcept {
    return side == Side::k1 ? point.thickness1 : -point.thickness2;
}

constexpr Point Position(const ProfilePoint& point) noexcept { return {point.x, point.y}; }

/// The line of segment i, from point i to point i + 1: its distance is negative on the thickness-1 side.
Line SegmentLine(const Polyline& points, int segment) noexcept;

/// The direction of the chord from the previous to the next point, turned to the thickness-1 side, and
/// kept in the point's record; kNoAngle, and nothing kept, at Size() and with fewer than two points.
double NormalAngle(Polyline& points, int index) noexcept;

/// The corner of one outline at a point: where the outlines of its two segments meet or, at either end and
/// for parallel outlines, the point moved along its normal.
Point OutlineCorner(Polyline& points, int index, Side side) noexcept;

/// Writes the position of a node; see IROIProfile::GetNodePoint. False, with nothing written, when there
/// is no such node.
bool NodePosition(Polyline& points, int node, int index, Point* position) noexcept;

}  // namespace roi

class CROIProfile;
template <>
inline const tagREFString IObjectInfoImpl<CROIProfile>::m_ObjectName = Text(L"ROIProfile");

class CROIProfile final : public Component<CROIProfile, IROIProfile, IDataPersist, IParametricImpl<CROIProfile>,
                                           IReplicableObject, ITransformableObject, IUIPropertyPageSpecify> {
  public:
    // The second IDataPersist never matches; the order of comparison is kept as it is known.
    using Answers = InterfaceMap<IObjectInfo, IDataPersist, IParametricObject, IReplicableObject, IROI, IROIProfile,
                                 IDataPersist, ITransformableObject, IUIPropertyPageSpecify>;

    // Questions about nodes and boxes compute the normal angles of points and keep them in their records, which are
    // what is saved: they change no answer, but the bytes of the next Save.
    Result GetBoundingSize(double* width, double* height) noexcept override;
    Result GetCenter(double* x, double* y) noexcept override;
    /// Moves every point and keeps thicknesses and angles; the third coordinates get 0.0 added.
    Result SetCenter(double x, double y) noexcept override;
    Result Transform(ITransform* transform) noexcept override;
    Result Replicate(IUnknown** copy) noexcept override;
    Result GetMask(ICIF** image) noexcept override;
    /// The first one after a change builds an index of the segments, which later ones use; no answer depends on it.
    Result HitTest(double x, double y, int* hit) noexcept override;
    Result GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept override;

    Result GetThickness(int index, double* thickness1, double* thickness2) noexcept override;
    Result SetThickness(int index, double thickness1, double thickness2) noexcept override;
    Result SetUniformThickness(double thickness1, double thickness2) noexcept override;
    Result GetNumberPoints(int* count) noexcept override;
    Result RemovePoint(int index) noexcept override;
    /// Asked for the angle, it computes it anew and keeps it in the record.
    Result GetPoint(int index, double* x, double* y, double* normalAngle, double* thickness1,
                    double* thickness2) noexcept override;
    Result SetPoint(int index, double x, double y) noexcept override;
    Result InsertPoint(int index, double x, double y) noexcept override;
    Result AddPoint(double x, double y) noexcept override;
    Result Fit(double tolerance, int mode) noexcept override;
    Result GetNodePoint(ROIPROFILENode node, int index, double* x, double* y) noexcept override;
    Result SetNodePoint(ROIPROFILENode node, int index, double x, double y) noexcept override;
    Result GetNodePointI(ROIPROFILENode node, int index, int* x, int* y) noexcept override;

    Result GetParameters(INamedCollection** parameters, int flags) noexcept override;
    /// Reads both thicknesses and four actions, which lengthen or shorten the profile at either end.
    /// Thicknesses apply to every point, and only when neither is 0. E_FAIL without memory.
    Result SetParameters(INamedCollection* parameters) noexcept override;
    Result GetPages(int index, INamedCollection** pages, IUnknown** context) noexcept override;

    /// Two blocks of a folder stream: "NumberPoints", the count, and "Points", the records. E_FAIL for any
    /// other stream, null included. Loading also refuses more than kMostPointsLoaded points; a block that
    /// is short or missing leaves zeros.
    Result Save(IDataStream* stream, int flags) noexcept override;
    Result Load(IDataStream* stream, int flags) noexcept override;

  private:
    bool HasPoint(int index) const noexcept { return index >= 0 && index < m_points.Size(); }
    bool HasPointOrEnd(int index) const noexcept { return index >= 0 && index <= m_points.Size(); }
    roi::Extent<double> Outline() noexcept;
    roi::Point Beyond(int end, int neighbour) noexcept;

    roi::Polyline m_points;
};

#include "roi/ROIProfile.h"

#include <cfloat>
#include <climits>
#include <utility>

#include "contract/Presentation.h"
#include "runtime/Pages.h"

// ---------------------------------------------------------------------------------------------------
// State: the point store

namespace roi {

ProfilePoint& Polyline::Edit(int index) noexcept {
    m_indexed = false;
    return Record(index);
}

void Polyline::KeepAngle(int index, double angle) noexcept { Record(index).normalAngle = angle; }

void Polyline::Place(int index, Point position) noexcept {
    ProfilePoint* const point = &Edit(index);
    point->x = position.x;
    point->y = position.y;
    point->z = 0.0;
    point->normalAngle = kNoAngle;
    if (index > 0) {
        point[-1].normalAngle = kNoAngle;
    }
    if (index + 1 < Size()) {
        point[1].normalAngle = kNoAngle;
    }
}

void Polyline::Map(ITransform& transform, int index) noexcept {
    ProfilePoint& point = Record(index);
    transform.TransformPoint(&point.x, &point.y, &point.z);
    // Afterwards: a transform that asks for a hit meanwhile has the index built from the old place.
    m_indexed = false;
}

ProfilePoint* Polyline::Allocate(int count) noexcept {
    std::unique_ptr<ProfilePoint[]> records(new (std::nothrow) ProfilePoint[Slot(count) + 1]());
    if (records == nullptr) {
        return nullptr;
    }
    m_records = std::move(records);
    m_count = count;
    m_capacity = count;
    m_indexed = false;
    return m_records.get();
}

bool Polyline::MakeRoom(int more) noexcept {
    constexpr int kStep = 100;
    const int size = Size();
    if (size > INT_MAX - more - kStep) {
        return false;
    }
    int capacity = m_capacity;
    while (capacity < size + more) {
        capacity += kStep;
    }
    if (capacity == m_capacity) {
        return true;
    }
    std::unique_ptr<ProfilePoint[]> records(new (std::nothrow) ProfilePoint[Slot(capacity) + 1]());
    if (records == nullptr) {
        return false;
    }
    std::copy(begin(), end(), records.get());
    m_records = std::move(records);
    m_capacity = capacity;
    return true;
}

bool Polyline::Open(int index) noexcept {
    if (!MakeRoom(1)) {
        return false;
    }
    ProfilePoint* const records = m_records.get();
    std::copy_backward(records + index, records + Size(), records + Size() + 1);
    ++m_count;
    m_indexed = false;
    return true;
}

void Polyline::Close(int index) noexcept {
    if (index < Size()) {
        ProfilePoint* const records = m_records.get();
        std::copy(records + index + 1, records + Size(), records + index);
    }
    // No floor: removing from an empty profile counts below zero.
    m_count = static_cast<int>(static_cast<unsigned int>(m_count) - 1u);
    m_indexed = false;
}

namespace {

// A segment's upright box, widened by the mean thickness at its start.
Extent<double> SegmentBox(const ProfilePoint& from, const ProfilePoint& to) noexcept {
    const double margin = (from.thickness1 + from.thickness2) * 0.5;
    return {std::min(from.x, to.x) - margin, std::max(from.x, to.x) + margin, std::min(from.y, to.y) - margin,
            std::max(from.y, to.y) + margin};
}

}  // namespace

bool Polyline::BuildIndex() noexcept {
    const int segments = Size() - 1;
    std::unique_ptr<Extent<double>[]> boxes(new (std::nothrow) Extent<double>[Slot(segments)]);
    if (boxes == nullptr) {
        return false;
    }
    for (int i = 0; i < segments; ++i) {
        boxes[Slot(i)] = SegmentBox((*this)[i], (*this)[i + 1]);
    }
    return m_index.Build(boxes.get(), segments);
}

bool Polyline::BandHolds(Point p) noexcept {
    if (Size() < 2) {
        return false;
    }
    m_indexed = m_indexed || BuildIndex();
    if (m_indexed) {
        return m_index.Holds(p);
    }
    // Without memory for the index: box by box.
    for (int i = 1; i < Size(); ++i) {
        if (roi::Holds(SegmentBox((*this)[i - 1], (*this)[i]), p)) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------------------------------
// Geometry

Line SegmentLine(const Polyline& points, int segment) noexcept {
    const Point from = Position(points[segment]);
    const Point to = Position(points[segment + 1]);
    return LineThrough(to, from);
}

double NormalAngle(Polyline& points, int index) noexcept {
    const int last = points.Size() - 1;
    if (index > last || last < 1) {
        return kNoAngle;
    }
    const ProfilePoint& previous = points[std::max(index - 1, 0)];
    const ProfilePoint& next = points[std::min(index + 1, last)];
    points.KeepAngle(index, std::atan2(previous.x - next.x, next.y - previous.y));
    return points[index].normalAngle;
}

Point OutlineCorner(Polyline& points, int index, Side side) noexcept {
    const int last = points.Size() - 1;
    if (index > 0 && index < last) {
        const Line before = SegmentLine(points, index - 1).Shifted(SignedThickness(points[index - 1], side));
        const Line after = SegmentLine(points, index).Shifted(SignedThickness(points[index], side));
        if (std::abs(Determinant(before, after)) >= 0.0001) {
            return Intersection(before, after);
        }
    }
    // The last point ends the last segment, whose thickness belongs to the point before. A single point
    // has no direction: the "no angle" value itself is taken for one.
    const int owner = index == last && last > 0 ? last - 1 : index;
    const double angle = NormalAngle(points, index);
    return Position(points[index]) + SignedThickness(points[owner], side) * Point{std::cos(angle), std::sin(angle)};
}

bool NodePosition(Polyline& points, int node, int index, Point* position) noexcept {
    const int last = points.Size() - 1;
    if (index < 0 || index > last) {
        return false;
    }
    const auto at = [&points](int kind, int i) {
        switch (kind) {
            case kProfileCorner1:
                return OutlineCorner(points, i, Side::k1);
            case kProfileCorner2:
                return OutlineCorner(points, i, Side::k2);
            default:
                return Position(points[i]);
        }
    };
    const auto middle = [&](int kind) { return 0.5 * (at(kind, index) + at(kind, index + 1)); };
    switch (node) {
        case kProfileMiddle1:
        case kProfileMiddle2:
        case kProfileSegment: {
            if (index == last) {
                return false;  // The last point starts no segment.
            }
            const int ends = node == kProfileMiddle1   ? kProfileCorner1
                             : node == kProfileMiddle2 ? kProfileCorner2
                                                       : kProfilePoint;
            *position = middle(ends);
            return true;
        }
        default:
            *position = at(node, index);
            return true;
    }
}

namespace {

// The extent of the band of a profile that has points: its outline's corners, first one side and then the
// other.
template <class Coordinate, class NodeAt>
Extent<Coordinate> OutlineExtent(int count, NodeAt nodeAt) noexcept {
    Coordinate x{};
    Coordinate y{};
    nodeAt(kProfileCorner1, 0, &x, &y);
    Extent<Coordinate> extent{x, x, y, y};
    for (const ROIPROFILENode node : {kProfileCorner1, kProfileCorner2}) {
        for (int i = 0; i < count; ++i) {
            nodeAt(node, i, &x, &y);
            extent.Include(x, y);
        }
    }
    return extent;
}

}  // namespace

}  // namespace roi

roi::Extent<double> CROIProfile::Outline() noexcept {
    return roi::OutlineExtent<double>(
        m_points.Size(), [this](ROIPROFILENode node, int i, double* x, double* y) { GetNodePoint(node, i, x, y); });
}

Result CROIProfile::GetBoundingSize(double* width, double* height) noexcept {
    const roi::Extent<double> extent = m_points.Size() > 0 ? Outline() : roi::Extent<double>{};
    *width = extent.maxX - extent.minX;
    *height = extent.maxY - extent.minY;
    return S_OK;
}

Result CROIProfile::GetCenter(double* x, double* y) noexcept {
    if (m_points.Size() == 0) {
        return E_FAIL;
    }
    const roi::Extent<double> extent = Outline();
    *x = (extent.minX + extent.maxX) * 0.5;
    *y = (extent.minY + extent.maxY) * 0.5;
    return S_OK;
}

Result CROIProfile::GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept {
    if (m_points.Size() == 0) {
        *width = 0;
        *height = 0;
        return S_OK;
    }
    const roi::PixelBox box = BoxOfPixels(roi::OutlineExtent<int>(
        m_points.Size(), [this](ROIPROFILENode node, int i, int* x, int* y) { GetNodePointI(node, i, x, y); }));
    *left = box.left;
    *top = box.top;
    *width = box.width;
    *height = box.height;
    return S_OK;
}

Result CROIProfile::SetCenter(double x, double y) noexcept {
    roi::Point center;
    if (Failed(GetCenter(&center.x, &center.y))) {
        return E_FAIL;
    }
    for (int i = 0; i < m_points.Size(); ++i) {
        roi::ProfilePoint& point = m_points.Edit(i);
        point.x += x - center.x;
        point.y += y - center.y;
        point.z += 0.0;  // Which takes the sign off a zero.
    }
    return S_OK;
}

Result CROIProfile::HitTest(double x, double y, int* hit) noexcept {
    return roi::HitResult(m_points.BandHolds({x, y}), hit);
}

Result CROIProfile::GetMask(ICIF** /*image*/) noexcept { return E_NOTIMPL; }

Result CROIProfile::Transform(ITransform* transform) noexcept {
    if (transform == nullptr) {
        return E_INVALIDARG;
    }
    for (int i = 0; i < m_points.Size(); ++i) {
        // The handles of point i are read while the points before it are mapped already and the ones
        // behind it are not yet: hosts know the thicknesses that follow from it.
        const roi::Point self = roi::Position(m_points[i]);
        roi::Point middle1;
        roi::Point middle2;
        const bool startsSegment = NodePosition(m_points, kProfileMiddle1, i, &middle1) &&
                                   NodePosition(m_points, kProfileMiddle2, i, &middle2);
        m_points.Map(*transform, i);
        if (!startsSegment) {
            continue;
        }
        const double before1 = Length(middle1 - self);
        const double before2 = Length(middle2 - self);
        const roi::Point mapped = MapPoint(*transform, self);
        const double after1 = Length(MapPoint(*transform, middle1) - mapped);
        const double after2 = Length(MapPoint(*transform, middle2) - mapped);
        if (before1 > FLT_MIN && before2 > FLT_MIN) {
            roi::ProfilePoint& point = m_points.Edit(i);
            // Product first: the quotient of the distances would be rounded apart.
            point.thickness1 = point.thickness1 * after1 / before1;
            point.thickness2 = point.thickness2 * after2 / before2;
        }
    }
    return S_OK;
}

Result CROIProfile::Replicate(IUnknown** copy) noexcept {
    SmartPtr<IROIProfile> profile;
    Result code = _CreateInstance(nullptr, &IID_IROIProfile, profile.ReceiveVoid());
    for (int i = 0; i < m_points.Size() && Succeeded(code); ++i) {
        const roi::ProfilePoint& point = m_points[i];
        code = profile->AddPoint(point.x, point.y);
        if (Succeeded(code)) {
            code = profile->SetThickness(i, point.thickness1, point.thickness2);
        }
    }
    if (Succeeded(code)) {
        *copy = profile.Detach();
    }
    return code;
}

// ---------------------------------------------------------------------------------------------------
// Points

Result CROIProfile::GetThickness(int index, double* thickness1, double* thickness2) noexcept {
    if (!HasPoint(index)) {
        return E_INVALIDARG;
    }
    *thickness1 = m_points[index].thickness1;
    *thickness2 = m_points[index].thickness2;
    return S_OK;
}

Result CROIProfile::SetThickness(int index, double thickness1, double thickness2) noexcept {
    if (!HasPoint(index)) {
        return E_INVALIDARG;
    }
    roi::ProfilePoint& point = m_points.Edit(index);
    point.thickness1 = thickness1;
    point.thickness2 = thickness2;
    return S_OK;
}

Result CROIProfile::SetUniformThickness(double thickness1, double thickness2) noexcept {
    for (int i = 0; i < m_points.Size(); ++i) {
        SetThickness(i, thickness1, thickness2);
    }
    return S_OK;
}

Result CROIProfile::GetNumberPoints(int* count) noexcept {
    *count = m_points.ReportedCount();
    return S_OK;
}

Result CROIProfile::RemovePoint(int index) noexcept {
    if (!HasPointOrEnd(index)) {
        return E_INVALIDARG;
    }
    m_points.Close(index);
    return S_OK;
}

Result CROIProfile::GetPoint(int index, double* x, double* y, double* normalAngle, double* thickness1,
                             double* thickness2) noexcept {
    if (!HasPointOrEnd(index)) {
        return E_INVALIDARG;
    }
    const roi::ProfilePoint& point = m_points[index];
    const auto write = [](double* out, double value) {
        if (out != nullptr) {
            *out = value;
        }
    };
    write(x, point.x);
    write(y, point.y);
    write(thickness1, point.thickness1);
    write(thickness2, point.thickness2);
    if (normalAngle != nullptr) {
        *normalAngle = NormalAngle(m_points, index);
    }
    return S_OK;
}

Result CROIProfile::SetPoint(int index, double x, double y) noexcept {
    if (!HasPointOrEnd(index)) {
        return E_INVALIDARG;
    }
    m_points.Place(index, {x, y});
    return S_OK;
}

Result CROIProfile::InsertPoint(int index, double x, double y) noexcept {
    const int at = HasPointOrEnd(index) ? index : m_points.Size();
    if (!m_points.Open(at)) {
        return E_FAIL;
    }
    // From the point before; in front of a profile, from the former first point when there were at least
    // two. A single point does not pass its thickness on to one in front of it.
    const bool inherits = at > 0 || m_points.Size() >= 3;
    const roi::ProfilePoint& neighbour = m_points[at > 0 ? at - 1 : 1];
    roi::ProfilePoint& point = m_points.Edit(at);
    point.thickness1 = inherits ? neighbour.thickness1 : roi::kFirstThickness;
    point.thickness2 = inherits ? neighbour.thickness2 : roi::kFirstThickness;
    m_points.Place(at, {x, y});
    return S_OK;
}

Result CROIProfile::AddPoint(double x, double y) noexcept { return InsertPoint(m_points.Size(), x, y); }

Result CROIProfile::Fit(double /*tolerance*/, int /*mode*/) noexcept { return S_OK; }

// ---------------------------------------------------------------------------------------------------
// Nodes and dragging

Result CROIProfile::GetNodePoint(ROIPROFILENode node, int index, double* x, double* y) noexcept {
    roi::Point position;
    if (!NodePosition(m_points, node, index, &position)) {
        return E_INVALIDARG;
    }
    *x = position.x;
    *y = position.y;
    return S_OK;
}

Result CROIProfile::GetNodePointI(ROIPROFILENode node, int index, int* x, int* y) noexcept {
    roi::Point position;
    GetNodePoint(node, index, &position.x, &position.y);
    // Two roundings on purpose: x half away from zero, y half up and then toward zero.
    *x = roi::Round(position.x);
    *y = ToInt32(position.y + 0.5);
    return S_OK;
}

Result CROIProfile::SetNodePoint(ROIPROFILENode node, int index, double x, double y) noexcept {
    if (!HasPointOrEnd(index)) {
        return E_INVALIDARG;
    }
    const roi::Point p{x, y};
    switch (node) {
        case kProfileCorner1:
        case kProfileCorner2:
            return E_NOTIMPL;
        case kProfileMiddle1:
        case kProfileMiddle2: {
            if (index >= m_points.Size() - 1) {
                return E_INVALIDARG;
            }
            // Across the line the thickness turns negative, and is kept so.
            const double distance = roi::SegmentLine(m_points, index).DistanceTo(p);
            roi::ProfilePoint& point = m_points.Edit(index);
            (node == kProfileMiddle1 ? point.thickness1 : point.thickness2) =
                node == kProfileMiddle1 ? -distance : distance;
            return S_OK;
        }
        case kProfileSegment: {
            roi::Point middle;
            if (!NodePosition(m_points, node, index, &middle)) {
                return E_INVALIDARG;
            }
            const roi::Point shift = p - middle;
            m_points.Place(index, roi::Position(m_points[index]) + shift);
            m_points.Place(index + 1, roi::Position(m_points[index + 1]) + shift);
            return S_OK;
        }
        default:
            return SetPoint(index, x, y);
    }
}

// ---------------------------------------------------------------------------------------------------
// Parameters

namespace {

constexpr double kThicknessWhenEmpty = 10.0;

constexpr tagREFString kThickness1 = Text(L"Thickness1");
constexpr tagREFString kThickness2 = Text(L"Thickness2");
constexpr tagREFString kAddStart = Text(L"Add Start");
constexpr tagREFString kAddEnd = Text(L"Add End");
constexpr tagREFString kRemoveStart = Text(L"Remove Start");
constexpr tagREFString kRemoveEnd = Text(L"Remove End");

}  // namespace

Result CROIProfile::GetParameters(INamedCollection** parameters, int /*flags*/) noexcept {
    const bool empty = m_points.Size() == 0;
    ParameterWriter list;
    list.Add(kThickness1, empty ? kThicknessWhenEmpty : m_points[0].thickness1, kPresentNumber);
    list.Add(kThickness2, empty ? kThicknessWhenEmpty : m_points[0].thickness2, kPresentNumber);
    for (const tagREFString& action : {kAddStart, kAddEnd, kRemoveStart, kRemoveEnd}) {
        list.Add(action, 0, kPresentAction);
    }
    return list.HandOut(parameters);
}

// The point that lengthens the profile at one of its ends by half of its last segment there. With fewer
// than two points the segment from (0, 0) to (10, 10) stands in, whatever single point there is.
roi::Point CROIProfile::Beyond(int end, int neighbour) noexcept {
    roi::Point from{0.0, 0.0};
    roi::Point to{10.0, 10.0};
    if (m_points.Size() > 1) {
        from = roi::Position(m_points[end]);
        to = roi::Position(m_points[neighbour]);
    }
    return from + 0.5 * (from - to);
}

Result CROIProfile::SetParameters(INamedCollection* parameters) noexcept {
    if (parameters == nullptr) {
        return E_INVALIDARG;
    }
    double thickness1 = 0.0;
    double thickness2 = 0.0;
    int addStart = 0;
    int addEnd = 0;
    int removeStart = 0;
    int removeEnd = 0;
    ParameterReader list(*parameters);
    list.Number(kThickness1, &thickness1);
    list.Number(kThickness2, &thickness2);
    list.Number(kAddStart, &addStart);
    list.Number(kAddEnd, &addEnd);
    list.Number(kRemoveStart, &removeStart);
    list.Number(kRemoveEnd, &removeEnd);
    // All memory first, so that a list is applied whole or not at all.
    if (Failed(list.Outcome()) || !m_points.MakeRoom((addStart != 0 ? 1 : 0) + (addEnd != 0 ? 1 : 0))) {
        return E_FAIL;
    }

    if (addStart != 0) {
        const roi::Point p = Beyond(0, 1);
        InsertPoint(0, p.x, p.y);
    }
    if (addEnd != 0) {
        const roi::Point p = Beyond(m_points.Size() - 1, m_points.Size() - 2);
        InsertPoint(m_points.Size(), p.x, p.y);
    }
    if (removeStart != 0) {
        RemovePoint(0);
    }
    if (removeEnd != 0) {
        RemovePoint(m_points.Size() - 1);
    }
    // A NaN is not 0, so it is applied like any other value.
    if (thickness1 != 0.0 && thickness2 != 0.0) {
        SetUniformThickness(thickness1, thickness2);
    }
    return S_OK;
}

Result CROIProfile::GetPages(int /*index*/, INamedCollection** pages, IUnknown** /*context*/) noexcept {
    return MakePages(m_ObjectName, kShortParametricPage, m_ObjectName, pages);
}

// ---------------------------------------------------------------------------------------------------
// Persistence

namespace {

constexpr tagREFString kCountBlock = Text(L"NumberPoints");
constexpr tagREFString kPointsBlock = Text(L"Points");

constexpr int kMostPointsSaved = INT_MAX / static_cast<int>(sizeof(roi::ProfilePoint));

constexpr int BytesOf(int count) noexcept { return count * static_cast<int>(sizeof(roi::ProfilePoint)); }

}  // namespace

Result CROIProfile::Save(IDataStream* stream, int /*flags*/) noexcept {
    const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream);
    const int size = m_points.Size();
    if (!folder || size > kMostPointsSaved) {
        return E_FAIL;
    }
    const SmartPtr<IString> countName = CreateStringOf(kCountBlock);
    const SmartPtr<IString> pointsName = CreateStringOf(kPointsBlock);
    if (!countName || !pointsName) {
        return E_FAIL;
    }
    const auto count = static_cast<std::uint32_t>(size);
    folder->WriteBinary(countName.Get(), &count, sizeof(count), 0);
    folder->WriteBinary(pointsName.Get(), m_points.begin(), BytesOf(size), 0);
    return S_OK;
}

Result CROIProfile::Load(IDataStream* stream, int /*flags*/) noexcept {
    const auto folder = SmartPtr<IFolderStream>::QueryFrom(stream);
    if (!folder) {
        return E_FAIL;
    }
    const SmartPtr<IString> countName = CreateStringOf(kCountBlock);
    const SmartPtr<IString> pointsName = CreateStringOf(kPointsBlock);
    if (!countName || !pointsName) {
        return E_FAIL;
    }
    std::uint32_t count = 0;
    if (Failed(folder->ReadBinary(countName.Get(), &count, sizeof(count), 0))) {
        count = 0;
    }
    roi::Polyline loaded;
    if (count > roi::kMostPointsLoaded) {
        return E_FAIL;
    }
    roi::ProfilePoint* const records = loaded.Allocate(static_cast<int>(count));
    if (records == nullptr) {
        return E_FAIL;
    }
    folder->ReadBinary(pointsName.Get(), records, BytesOf(static_cast<int>(count)), 0);
    m_points = std::move(loaded);
    return S_OK;
}

// How fast are sizes asked for and nodes dragged?
#include "bench/Questions.h"
#include "bench/RatioTable.h"

#include <geos/geom/Coordinate.h>
#include <geos/geom/CoordinateArraySequence.h>
#include <geos/geom/Envelope.h>
#include <geos/geom/GeometryFactory.h>
#include <geos/geom/LinearRing.h>
#include <geos/geom/Polygon.h>

#include <cmath>
#include <opencv2/core.hpp>
#include <random>

namespace {

using Points = std::vector<Point>;

Points RandomPoints() {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> coordinate(0.0, 400.0);
    Points points(4096);
    for (Point& p : points) {
        p = {coordinate(random), coordinate(random)};
    }
    return points;
}

// On the heap, so that the compiler knows none of its numbers.
template <class Arithmetic>
Body Inlined(Arithmetic figure) {
    return ForEach(RandomPoints(), [kept = std::make_shared<Arithmetic>(std::move(figure))](const Point& p) {
        kept->Drag(p);
        return 0;
    });
}

template <class Interface, class Drag>
Body Dragged(SmartPtr<Interface> figure, Drag drag) {
    return ForEach(RandomPoints(), [figure, drag](const Point& p) { return drag(*figure, p); });
}

// ---------------------------------------------------------------------------------------------------
// The rolled rectangle

struct RectangleArithmetic {
    Point center{200.0, 200.0};
    double width = 180.0, height = 110.0, roll = 0.3;
    double cosine = std::cos(roll), sine = std::sin(roll);
    double grip = 0.0;

    Point BoundingSize() const noexcept {
        return {std::abs(height * sine) + std::abs(width * cosine), std::abs(height * cosine) + std::abs(width * sine)};
    }

    /// Corner 4: half the size stays on the other side, and the corner ends on the point.
    void DragCorner(const Point& p) noexcept {
        const double dx = p.x - center.x;
        const double dy = p.y - center.y;
        width = 0.5 * width + (dx * cosine + dy * sine);
        height = 0.5 * height + (dy * cosine - dx * sine);
        const double halfWidth = 0.5 * width;
        const double halfHeight = 0.5 * height;
        center = {p.x - (halfWidth * cosine - halfHeight * sine), p.y - (halfWidth * sine + halfHeight * cosine)};
    }

    void DragGrip(const Point& p) noexcept {
        const double dx = p.x - center.x;
        const double dy = p.y - center.y;
        roll = std::atan2(dy, dx);
        grip = std::sqrt(dx * dx + dy * dy);
        cosine = std::cos(roll);
        sine = std::sin(roll);
    }
};

struct CornerDrag : RectangleArithmetic {
    void Drag(const Point& p) noexcept { DragCorner(p); }
};
struct GripDrag : RectangleArithmetic {
    void Drag(const Point& p) noexcept { DragGrip(p); }
};

SmartPtr<IROIRectangle> NewRectangle(const host::Session& session) {
    const RectangleArithmetic like;
    auto rectangle = NewFigure<IROIRectangle>(session, "ROIRectangle");
    rectangle->SetCenter(like.center.x, like.center.y);
    rectangle->SetSize(like.width, like.height);
    rectangle->put_Roll(like.roll);
    return rectangle;
}

std::shared_ptr<geos::geom::Polygon> PolygonOf(IROIRectangle& rectangle) {
    auto coordinates = std::make_unique<geos::geom::CoordinateArraySequence>();
    for (const ROICorner corner : {kNodeCorner2, kNodeCorner3, kNodeCorner4, kNodeCorner5, kNodeCorner2}) {
        geos::geom::Coordinate at;
        rectangle.GetCornerPoint(corner, &at.x, &at.y);
        coordinates->add(at);
    }
    const auto* factory = geos::geom::GeometryFactory::getDefaultInstance();
    return factory->createPolygon(factory->createLinearRing(std::move(coordinates)));
}

void AddRectangle(const host::Session& session) {
    const RectangleArithmetic like;
    const auto rectangle = NewRectangle(session);
    const cv::RotatedRect rotated(cv::Point2f(static_cast<float>(like.center.x), static_cast<float>(like.center.y)),
                                  cv::Size2f(static_cast<float>(like.width), static_cast<float>(like.height)),
                                  static_cast<float>(like.roll * 180.0 / CV_PI));
    Row("bounding size, rolled rectangle")
        .Ours(Repeat([rectangle] {
            Point size;
            rectangle->GetBoundingSize(&size.x, &size.y);
            return size;
        }))
        .Limit("the arithmetic, inlined", 2.5,
               Repeat([kept = std::make_shared<RectangleArithmetic>()] { return kept->BoundingSize(); }))
        .Peer("OpenCV RotatedRect boundingRect2f", 8.0,
              Repeat([kept = std::make_shared<cv::RotatedRect>(rotated)] { return kept->boundingRect2f(); }))
        .Peer("GEOS getEnvelope", 15.0, Repeat([polygon = PolygonOf(*rectangle)] {
                  const auto envelope = polygon->getEnvelope();
                  const geos::geom::Envelope* box = envelope->getEnvelopeInternal();
                  return Point{box->getWidth(), box->getHeight()};
              }));
    Row("drag, rectangle's corner")
        .Ours(Dragged(
            NewRectangle(session),
            [](IROIRectangle& figure, const Point& p) { return figure.SetCornerPoint(kNodeCorner4, p.x, p.y); }))
        .Limit("the arithmetic, inlined", 2.0, Inlined(CornerDrag{}));
    Row("drag, rectangle's roll grip")
        .Ours(Dragged(
            NewRectangle(session),
            [](IROIRectangle& figure, const Point& p) { return figure.SetCornerPoint(kNodeRollGrip, p.x, p.y); }))
        .Limit("the arithmetic, inlined", 2.0, Inlined(GripDrag{}));
}

// ---------------------------------------------------------------------------------------------------
// Donut and profile

struct RingDrag {
    Point center{50.0, 50.0};
    Point radii[2] = {{20.0, 20.0}, {30.0, 30.0}};
    int node = 4;

    /// Which ring and which axis follows from the node, as it does for a figure.
    void Drag(const Point& p) noexcept {
        Point& ring = radii[node <= 3 ? 0 : 1];
        switch (node) {
            case 2:
            case 4:
                ring.x = std::abs(p.x - center.x);
                break;
            case 3:
            case 5:
                ring.y = std::abs(p.y - center.y);
                break;
            default:
                center = p;
        }
    }
};

void AddDonut(const host::Session& session) {
    Row("drag, donut's ring")
        .Ours(Dragged(NewFigure<IROIDonut>(session, "ROIDonut"),
                      [](IROIDonut& figure, const Point& p) { return figure.SetNode(4, p.x, p.y); }))
        .Limit("the arithmetic, inlined", 2.0, Inlined(RingDrag{}));
}

// As a profile keeps a point.
struct ProfileRecord {
    Point at;
    double z = 0.0, normalAngle = -1000.0, thickness1 = 20.0, thickness2 = 20.0;
};

constexpr int kProfilePoints = 100;
constexpr int kDraggedPoint = 50;

struct PointDrag {
    std::vector<ProfileRecord> records = std::vector<ProfileRecord>(kProfilePoints);
    int index = kDraggedPoint;

    void Place(std::size_t i, const Point& p) noexcept {
        records[i].at = p;
        records[i].z = 0.0;
        for (const std::size_t angle : {i - 1, i, i + 1}) {
            records[angle].normalAngle = -1000.0;
        }
    }
    void Drag(const Point& p) noexcept { Place(static_cast<std::size_t>(index), p); }
};

struct SegmentDrag : PointDrag {
    void Drag(const Point& p) noexcept {
        const auto i = static_cast<std::size_t>(index);
        const Point from = records[i].at;
        const Point to = records[i + 1].at;
        const Point shift{p.x - 0.5 * (from.x + to.x), p.y - 0.5 * (from.y + to.y)};
        Place(i, {from.x + shift.x, from.y + shift.y});
        Place(i + 1, {to.x + shift.x, to.y + shift.y});
    }
};

struct ThicknessDrag : PointDrag {
    ThicknessDrag() { records[kDraggedPoint + 1].at = {3.0, 4.0}; }

    /// The distance to the segment's line, whose normal is brought to length 1 twice, as the figure does.
    void Drag(const Point& p) noexcept {
        const auto i = static_cast<std::size_t>(index);
        const Point to = records[i + 1].at;
        const Point along{records[i].at.x - to.x, records[i].at.y - to.y};
        const double length = std::sqrt(along.x * along.x + along.y * along.y);
        const double a = along.y / length;
        const double b = -along.x / length;
        const double c = (along.x * to.y - along.y * to.x) / length;
        const double norm = std::sqrt(a * a + b * b);
        records[i].thickness1 = -(a / norm * p.x + b / norm * p.y + c / norm);
    }
};

SmartPtr<IROIProfile> NewProfile(const host::Session& session) {
    auto profile = NewFigure<IROIProfile>(session, "ROIProfile");
    for (const Point& p : RandomPoints()) {
        int count = 0;
        profile->GetNumberPoints(&count);
        if (count < kProfilePoints) {
            profile->AddPoint(p.x, p.y);
        }
    }
    return profile;
}

template <class Arithmetic>
void AddProfileDrag(const host::Session& session, const std::string& operation, ROIPROFILENode node) {
    Row(operation)
        .Ours(Dragged(
            NewProfile(session),
            [node](IROIProfile& figure, const Point& p) { return figure.SetNodePoint(node, kDraggedPoint, p.x, p.y); }))
        .Limit("the arithmetic, inlined", 2.0, Inlined(Arithmetic{}));
}

}  // namespace

void AddGeometry(const host::Session& session) {
    AddRectangle(session);
    AddDonut(session);
    AddProfileDrag<PointDrag>(session, "drag, profile's point", kProfilePoint);
    AddProfileDrag<SegmentDrag>(session, "drag, profile's segment", kProfileSegment);
    AddProfileDrag<ThicknessDrag>(session, "drag, profile's thickness", kProfileMiddle1);
}

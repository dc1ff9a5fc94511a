// How fast is a point told to be inside or outside a figure?
//
// The points are fresh: far more of them than a processor's branch prediction remembers, at random, half
// of them inside.
#include <geos/algorithm/locate/IndexedPointInAreaLocator.h>
#include <geos/geom/Coordinate.h>
#include <geos/geom/CoordinateArraySequence.h>
#include <geos/geom/GeometryFactory.h>
#include <geos/geom/LinearRing.h>
#include <geos/geom/Location.h>
#include <geos/geom/Polygon.h>

#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/linestring.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <numbers>
#include <opencv2/imgproc.hpp>
#include <random>

#include "bench/Questions.h"
#include "bench/RatioTable.h"

namespace {

namespace bg = boost::geometry;
using BoostPoint = bg::model::d2::point_xy<double>;
using BoostPolygon = bg::model::polygon<BoostPoint>;
using BoostLine = bg::model::linestring<BoostPoint>;

using Points = std::vector<Point>;

constexpr std::size_t kPoints = 1 << 16;

struct Box {
    Point low;
    Point high;
};

// Random points of a box, half of them inside the figure, in random order.
Points HalfInside(IROI& figure, const Box& box) {
    std::mt19937 random(20240611);
    std::uniform_real_distribution<double> x(box.low.x, box.high.x);
    std::uniform_real_distribution<double> y(box.low.y, box.high.y);
    Points inside;
    Points outside;
    while (inside.size() < kPoints / 2 || outside.size() < kPoints / 2) {
        const Point p{x(random), y(random)};
        Points& half = Succeeded(figure.HitTest(p.x, p.y, nullptr)) ? inside : outside;
        if (half.size() < kPoints / 2) {
            half.push_back(p);
        }
    }
    inside.insert(inside.end(), outside.begin(), outside.end());
    std::shuffle(inside.begin(), inside.end(), random);
    return inside;
}

// ---------------------------------------------------------------------------------------------------
// Contenders

// A question about points, first compared with the figure's own answers: who answers another question is
// not a peer. Outlines differ from figures by rounding and by their chords.
template <class Item, class Call>
Body Asked(IROI* figure, const Points& points, std::vector<Item> items, double differing, Call call) {
    std::size_t wrong = 0;
    const std::size_t compared = std::min<std::size_t>(points.size(), 2000);
    for (std::size_t i = 0; i < compared; ++i) {
        wrong += call(items[i]) != Succeeded(figure->HitTest(points[i].x, points[i].y, nullptr));
    }
    if (static_cast<double>(wrong) > differing * static_cast<double>(compared)) {
        return [wrong](benchmark::State& state) {
            state.SkipWithError((std::to_string(wrong) + " answers differ").c_str());
        };
    }
    return ForEach(std::move(items), std::move(call));
}

template <class Item, class Convert>
std::vector<Item> Converted(const Points& points, Convert convert) {
    std::vector<Item> items;
    std::transform(points.begin(), points.end(), std::back_inserter(items), convert);
    return items;
}

Body OurHitTest(IROI* roi, const Points& points) {
    return ForEach(points, [figure = SmartPtr<IROI>::Share(roi)](const Point& p) {
        int hit = 0;
        figure->HitTest(p.x, p.y, &hit);
        return hit;
    });
}

Body OpenCVPolygon(IROI* figure, const Points& points, const Points& outline, double differing) {
    const auto convert = [](const Point& p) { return cv::Point2f(static_cast<float>(p.x), static_cast<float>(p.y)); };
    const auto polygon = Converted<cv::Point2f>(outline, convert);
    return Asked(figure, points, Converted<cv::Point2f>(points, convert), differing,
                 [polygon](const cv::Point2f& p) { return cv::pointPolygonTest(polygon, p, false) >= 0.0; });
}

std::vector<BoostPoint> BoostPoints(const Points& points) {
    return Converted<BoostPoint>(points, [](const Point& p) { return BoostPoint(p.x, p.y); });
}

Body BoostCoveredBy(IROI* figure, const Points& points, const Points& outline, double differing) {
    BoostPolygon polygon;
    bg::assign_points(polygon, BoostPoints(outline));
    bg::correct(polygon);
    return Asked(figure, points, BoostPoints(points), differing,
                 [polygon](const BoostPoint& p) { return bg::covered_by(p, polygon); });
}

Body BoostDistance(IROI* figure, const Points& points, const Points& line, double thickness, double differing) {
    BoostLine path;
    bg::assign_points(path, BoostPoints(line));
    return Asked(figure, points, BoostPoints(points), differing,
                 [path, thickness](const BoostPoint& p) { return bg::distance(p, path) <= thickness; });
}

// A polygon and the index over its edges, which refers to it.
struct IndexedPolygon {
    explicit IndexedPolygon(const Points& outline) {
        auto coordinates = std::make_unique<geos::geom::CoordinateArraySequence>();
        for (const Point& p : outline) {
            coordinates->add(geos::geom::Coordinate(p.x, p.y));
        }
        coordinates->add(geos::geom::Coordinate(outline.front().x, outline.front().y));
        const auto factory = geos::geom::GeometryFactory::getDefaultInstance();
        polygon = factory->createPolygon(factory->createLinearRing(std::move(coordinates)));
        locator = std::make_unique<geos::algorithm::locate::IndexedPointInAreaLocator>(*polygon);
    }

    std::unique_ptr<geos::geom::Polygon> polygon;
    std::unique_ptr<geos::algorithm::locate::IndexedPointInAreaLocator> locator;
};

Body GEOSLocator(IROI* figure, const Points& points, const Points& outline, double differing) {
    const auto indexed = std::make_shared<IndexedPolygon>(outline);
    auto coordinates =
        Converted<geos::geom::Coordinate>(points, [](const Point& p) { return geos::geom::Coordinate(p.x, p.y); });
    return Asked(figure, points, std::move(coordinates), differing, [indexed](const geos::geom::Coordinate& p) {
        return indexed->locator->locate(&p) != geos::geom::Location::EXTERIOR;
    });
}

// ---------------------------------------------------------------------------------------------------
// Rectangle and ellipse

struct RectangleArithmetic {
    Point center;
    double cosine, sine, halfWidth, halfHeight;

    int Holds(const Point& p) const noexcept {
        const double dx = p.x - center.x;
        const double dy = p.y - center.y;
        return static_cast<int>(std::abs(dx * cosine + dy * sine) <= halfWidth) &
               static_cast<int>(std::abs(dy * cosine - dx * sine) <= halfHeight);
    }
};

struct EllipseArithmetic {
    Point center;
    double square;

    int Holds(const Point& p) const noexcept {
        const double dx = p.x - center.x;
        const double dy = p.y - center.y;
        return static_cast<int>(dx * dx + dy * dy <= square);
    }
};

// On the heap, so that the compiler knows none of its numbers.
template <class Arithmetic>
Body Inlined(const Points& points, const Arithmetic& figure) {
    return ForEach(points, [kept = std::make_shared<Arithmetic>(figure)](const Point& p) { return kept->Holds(p); });
}

void AddRectangle(const host::Session& session) {
    const auto rectangle = NewFigure<IROIRectangle>(session, "ROIRectangle");
    constexpr Point kCenter{210.3, 180.7};
    constexpr double kRoll = 0.3;
    rectangle->SetCenter(kCenter.x, kCenter.y);
    rectangle->SetSize(180.0, 110.0);
    rectangle->put_Roll(kRoll);
    Points outline;
    for (const ROICorner corner : {kNodeCorner2, kNodeCorner3, kNodeCorner4, kNodeCorner5}) {
        outline.emplace_back();
        rectangle->GetCornerPoint(corner, &outline.back().x, &outline.back().y);
    }
    const Points points = HalfInside(*rectangle, {{110.0, 100.0}, {310.0, 260.0}});
    IROI* const roi = rectangle.Get();
    constexpr double kRounding = 0.001;
    Row("hit test, rolled rectangle")
        .Ours(OurHitTest(roi, points))
        .Limit("the arithmetic, inlined", 2.6,
               Inlined(points, RectangleArithmetic{kCenter, std::cos(kRoll), std::sin(kRoll), 90.0, 55.0}))
        .Peer("OpenCV pointPolygonTest", 13.0, OpenCVPolygon(roi, points, outline, kRounding))
        .Peer("Boost covered_by", 12.0, BoostCoveredBy(roi, points, outline, kRounding))
        .Peer("GEOS indexed locator", 6.0, GEOSLocator(roi, points, outline, kRounding));
}

void AddEllipse(const host::Session& session) {
    const auto ellipse = NewFigure<IROIEllipse>(session, "ROIEllipse");
    constexpr Point kCenter{210.3, 180.7};
    constexpr double kRadius = 80.0;
    ellipse->SetCenter(kCenter.x, kCenter.y);
    ellipse->SetRadius(kRadius, kRadius);
    constexpr int kCorners = 64;
    Points outline;
    for (int i = 0; i < kCorners; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / kCorners;
        outline.push_back({kCenter.x + kRadius * std::cos(angle), kCenter.y + kRadius * std::sin(angle)});
    }
    const Points points = HalfInside(*ellipse, {{110.0, 80.0}, {310.0, 280.0}});
    IROI* const roi = ellipse.Get();
    constexpr double kChords = 0.01;
    Row("hit test, ellipse")
        .Ours(OurHitTest(roi, points))
        .Limit("the arithmetic, inlined", 2.2, Inlined(points, EllipseArithmetic{kCenter, kRadius * kRadius}))
        .Peer("OpenCV pointPolygonTest, 64-gon", 50.0, OpenCVPolygon(roi, points, outline, kChords))
        .Peer("Boost covered_by, 64-gon", 90.0, BoostCoveredBy(roi, points, outline, kChords))
        .Peer("GEOS indexed locator, 64-gon", 9.0, GEOSLocator(roi, points, outline, kChords));
}

// ---------------------------------------------------------------------------------------------------
// Profile

constexpr double kThickness = 10.0;

// From left to right across 4000 pixels, up and down as an edge in an image does.
Points Wave(int count) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> jitter(-1.0, 1.0);
    Points path;
    for (int i = 0; i < count; ++i) {
        const double x = 4000.0 * i / (count - 1);
        path.push_back({x, 400.0 + 300.0 * std::sin(x / 300.0) + jitter(random)});
    }
    return path;
}

// To and fro over 2000 x 2000 pixels in 25 rows: every column is crossed many times.
Points Scan(int count) {
    constexpr int kRows = 25;
    Points path;
    for (int i = 0; i < count; ++i) {
        const double along = static_cast<double>(kRows) * i / count;
        const int row = static_cast<int>(along);
        const double x = 2000.0 * (along - row);
        path.push_back({row % 2 == 0 ? x : 2000.0 - x, 80.0 * row + 5.0 * std::sin(x / 40.0)});
    }
    return path;
}

SmartPtr<IROIProfile> ProfileOf(const host::Session& session, const Points& path) {
    auto profile = NewFigure<IROIProfile>(session, "ROIProfile");
    for (const Point& p : path) {
        profile->AddPoint(p.x, p.y);
    }
    profile->SetUniformThickness(kThickness, kThickness);
    return profile;
}

// Along one side of the band and back along the other.
Points OutlineOf(IROIProfile& profile, int count) {
    Points outline(2 * static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        Point& there = outline[static_cast<std::size_t>(i)];
        Point& back = outline[outline.size() - 1 - static_cast<std::size_t>(i)];
        profile.GetNodePoint(kProfileCorner1, i, &there.x, &there.y);
        profile.GetNodePoint(kProfileCorner2, i, &back.x, &back.y);
    }
    return outline;
}

struct BandWalk {
    std::vector<Box> boxes;

    explicit BandWalk(const Points& path) {
        for (std::size_t i = 1; i < path.size(); ++i) {
            const auto [left, right] = std::minmax(path[i - 1].x, path[i].x);
            const auto [top, bottom] = std::minmax(path[i - 1].y, path[i].y);
            boxes.push_back({{left - kThickness, top - kThickness}, {right + kThickness, bottom + kThickness}});
        }
    }

    bool Holds(const Point& p) const noexcept {
        return std::any_of(boxes.begin(), boxes.end(), [&p](const Box& box) {
            return box.low.x <= p.x && p.x <= box.high.x && box.low.y <= p.y && p.y <= box.high.y;
        });
    }
};

// The goal holds for the fastest of the peers, and so for each of them.
void AddProfile(const host::Session& session, const std::string& operation, const Points& path, const Box& field,
                double goal, double goalBesideIndex) {
    const auto profile = ProfileOf(session, path);
    const Points outline = OutlineOf(*profile, static_cast<int>(path.size()));
    const Points points = HalfInside(*profile, field);
    IROI* const roi = profile.Get();
    // The profile takes every segment's upright box for its part of the band, which is wider than the outline.
    constexpr double kBoxes = 0.4;
    Row(operation)
        .Ours(OurHitTest(roi, points))
        .Peer("OpenCV pointPolygonTest, outline", goal, OpenCVPolygon(roi, points, outline, kBoxes))
        .Peer("Boost distance, line", goal, BoostDistance(roi, points, path, kThickness, kBoxes))
        .Peer("GEOS indexed locator, outline", goalBesideIndex, GEOSLocator(roi, points, outline, kBoxes))
        .Peer("every segment's box in turn, inlined", 0.0, Inlined(points, BandWalk(path)));
}

void AddMissedProfile(const host::Session& session, const Points& path) {
    const auto profile = ProfileOf(session, path);
    Points points;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> away(5000.0, 9000.0);
    while (points.size() < kPoints) {
        points.push_back({away(random), away(random)});
    }
    Row("hit test, profile of 10,000 points, outside the whole band")
        .Ours(OurHitTest(profile.Get(), points))
        .Limit("one box, inlined", 0.0, Inlined(points, BandWalk({{0.0, 0.0}, {4000.0, 800.0}})));
}

}  // namespace

void AddHitTests(const host::Session& session) {
    AddRectangle(session);
    AddEllipse(session);
    const Box waveField{{-50.0, 50.0}, {4050.0, 750.0}};
    AddProfile(session, "hit test, profile of 100 points", Wave(100), waveField, 3.0, 3.0);
    AddProfile(session, "hit test, profile of 10,000 points", Wave(10000), waveField, 30.0, 30.0);
    AddProfile(session, "hit test, profile of 10,000 points, to and fro", Scan(10000),
               {{-50.0, -50.0}, {2050.0, 2050.0}}, 30.0, 1.0);
    AddMissedProfile(session, Wave(10000));
}

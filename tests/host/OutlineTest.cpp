// Which pixels the host counts, and how much of each: figures of every class against counts and areas found in another
// way. Polygons are cut to pieces by GEOS where it is there; curves have closed formulas.
#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <numeric>
#include <opencv2/imgcodecs.hpp>
#include <random>

#include "host/measure/Coverage.h"
#include "host/measure/Edges.h"
#include "host/measure/Labels.h"
#include "tests/host/RunRoi.h"
#ifdef HAS_GEOS
#include <geos_c.h>
#endif

namespace {

using nlohmann::json;
using Arguments = std::vector<std::string>;

struct Point {
    double x, y;
};
Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
Point operator*(double f, Point p) { return {f * p.x, f * p.y}; }
double Cross(Point a, Point b) { return a.x * b.y - a.y * b.x; }

using Polygon = std::vector<Point>;
constexpr int kWidth = 160;
constexpr int kHeight = 120;
constexpr double kRadian = M_PI / 180.0;
constexpr double kUnknown = -1.0;

// Where the sides of a polygon cross a row, and whether downward (1) or upward (-1).
struct Crossing {
    double x;
    int way;
};
std::vector<Crossing> CrossingsOf(const Polygon& polygon, double y) {
    std::vector<Crossing> crossings;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point a = polygon[i];
        const Point b = polygon[(i + 1) % polygon.size()];
        if ((a.y <= y) != (b.y <= y)) {
            crossings.push_back({a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y), a.y < b.y ? 1 : -1});
        }
    }
    return crossings;
}

// How often a polygon runs around a point of that row; on an edge the left and the top side count.
int Winding(const std::vector<Crossing>& crossings, double x) {
    return std::accumulate(crossings.begin(), crossings.end(), 0,
                           [x](int sum, const Crossing& c) { return c.x <= x ? sum + c.way : sum; });
}

// What is to be seen of a figure: the union of polygons, each by the nonzero rule, or what a predicate accepts.
struct Region {
    std::vector<Polygon> polygons;
    std::function<bool(Point)> inside = [](Point) { return false; };
    double area = kUnknown;  // when it is known by a formula

    // Which points of a row it holds.
    std::vector<bool> Row(double y, const std::vector<double>& columns) const {
        std::vector<bool> holds;
        std::vector<std::vector<Crossing>> crossings;
        for (const Polygon& polygon : polygons) {
            crossings.push_back(CrossingsOf(polygon, y));
        }
        for (const double x : columns) {
            holds.push_back(inside({x, y}) || std::any_of(crossings.begin(), crossings.end(),
                                                          [x](const auto& c) { return Winding(c, x) != 0; }));
        }
        return holds;
    }
    bool Holds(Point p) const { return Row(p.y, {p.x})[0]; }
    int Pixels() const {
        std::vector<double> columns(kWidth);
        std::iota(columns.begin(), columns.end(), 0.0);
        int pixels = 0;
        for (int y = 0; y < kHeight; ++y) {
            const std::vector<bool> row = Row(y, columns);
            pixels += static_cast<int>(std::count(row.begin(), row.end(), true));
        }
        return pixels;
    }
};

struct Case {
    const char* name;
    const char* figure;
    json description;  // its parameters or points, as `roi import` reads them
    Region region;
};

json Values(const json& values) { return {{"parameters", values}}; }
json PointsOf(const Polygon& points, const std::vector<double>& thicknesses = {}) {
    json list = json::array();
    for (const Point p : points) {
        std::vector<double> numbers = {p.x, p.y};
        numbers.insert(numbers.end(), thicknesses.begin(), thicknesses.end());
        list.push_back(numbers);
    }
    return {{"points", list}};
}

// A box whose lower edge is shifted to the right by its shear, turned about its centre.
Polygon Leaning(Point center, double width, double height, double degrees, double shear) {
    const double lean = std::tan(shear * kRadian) * height;
    const Polygon corners = {{-0.5 * width, -0.5 * height},
                             {0.5 * width - lean, -0.5 * height},
                             {0.5 * width, 0.5 * height},
                             {-0.5 * width + lean, 0.5 * height}};
    const double c = std::cos(degrees * kRadian);
    const double s = std::sin(degrees * kRadian);
    Polygon turned;
    for (const Point p : corners) {
        turned.push_back(center + Point{c * p.x - s * p.y, s * p.x + c * p.y});
    }
    return turned;
}
Case Rectangle(const char* name, double x, double y, double width, double height, double degrees = 0.0) {
    return {name,
            "ROIRectangle",
            Values({{"CenterX", x}, {"CenterY", y}, {"Width", width}, {"Height", height}, {"Angle", degrees}}),
            {{Leaning({x, y}, width, height, degrees, 0.0)}}};
}
// Turned so that it looks the same.
Case Turned(Case figure, double degrees) {
    figure.description["parameters"]["Angle"] = degrees;
    return figure;
}
Case Parallelogram(const char* name, double x, double y, double width, double height, double roll, double shear) {
    return {
        name,
        "ROIParallelogram",
        Values(
            {{"CenterX", x}, {"CenterY", y}, {"Width", width}, {"Height", height}, {"Roll", roll}, {"Shear", shear}}),
        {{Leaning({x, y}, width, height, roll, shear)}}};
}

bool InEllipse(Point p, Point center, double rx, double ry) {
    const Point d = p - center;
    return d.x * d.x / (rx * rx) + d.y * d.y / (ry * ry) < 1.0;
}
// `part` of it lies in the image.
Case Ellipse(const char* name, double x, double y, double rx, double ry, double part = 1.0) {
    return {name,
            "ROIEllipse",
            Values({{"CenterX", x}, {"CenterY", y}, {"RadiusX", rx}, {"RadiusY", ry}}),
            {{},
             [=](Point p) {
                 return InEllipse(p, {x, y}, rx, ry);
             },
             part * M_PI * std::abs(rx * ry)}};
}
Case Donut(const char* name, double x, double y, double rx1, double ry1, double rx2, double ry2, double area) {
    return {name,
            "ROIDonut",
            Values({{"CenterX", x},
                    {"CenterY", y},
                    {"RadiusX1", rx1},
                    {"RadiusY1", ry1},
                    {"RadiusX2", rx2},
                    {"RadiusY2", ry2}}),
            {{},
             [=](Point p) {
                 return InEllipse(p, {x, y}, rx1, ry1) != InEllipse(p, {x, y}, rx2, ry2);
             },
             area}};
}
Case Ring(const char* name, double x, double y, double rx1, double ry1, double rx2, double ry2) {
    return Donut(name, x, y, rx1, ry1, rx2, ry2, M_PI * std::abs(std::abs(rx1 * ry1) - std::abs(rx2 * ry2)));
}
// Two concentric ellipses of which each is the longer one along its axis: what lies in one of them only.
Case CrossingRing(const char* name, double x, double y, double a, double b) {
    return Donut(name, x, y, a, b, b, a, 2.0 * M_PI * a * b - 8.0 * a * b * std::atan2(b, a));
}

Case Sector(const char* name, double x, double y, double rx1, double ry1, double rx2, double ry2, double start,
            double delta) {
    Polygon polygon;
    constexpr int kChords = 2000;
    const auto add = [&](double rx, double ry, double t) {
        polygon.push_back({x + rx * std::cos(t * kRadian), y + ry * std::sin(t * kRadian)});
    };
    for (int i = 0; i <= kChords; ++i) {
        add(rx1, ry1, start + delta * i / kChords);
    }
    for (int i = kChords; i >= 0; --i) {
        add(rx2, ry2, start + delta * i / kChords);
    }
    const double end = start + delta;
    const auto lean = [](double t) { return 0.5 * std::sin(2.0 * t * kRadian); };
    const double area = std::abs(0.5 * delta * kRadian * (rx2 * ry2 - rx1 * ry1) +
                                 0.5 * (rx1 * ry2 - ry1 * rx2) * (lean(start) - lean(end)));
    Case c{name,
           "ROIArcDonut",
           Values({{"CenterX", x},
                   {"CenterY", y},
                   {"Radius1X", rx1},
                   {"Radius1Y", ry1},
                   {"Radius2X", rx2},
                   {"Radius2Y", ry2},
                   {"StartAngle", start},
                   {"DeltaAngle", delta}}),
           {{polygon}, [](Point) { return false; }, area}};
    if (std::abs(delta) >= 360.0) {
        c.region = Ring(name, x, y, rx1, ry1, rx2, ry2).region;
    }
    return c;
}

// Stretches between corners where the lines beside two segments meet.
Case Band(const char* name, const Polygon& points, double thickness1, double thickness2) {
    const auto normal = [&](std::size_t i) {
        const Point d = points[i + 1] - points[i];
        return 1.0 / std::hypot(d.x, d.y) * Point{-d.y, d.x};
    };
    const auto corner = [&](std::size_t i, double offset) {
        const Point after = points[i] + offset * normal(std::min(i, points.size() - 2));
        if (i == 0 || i + 1 == points.size()) {
            return after;
        }
        const Point before = points[i] + offset * normal(i - 1);
        const Point along1 = points[i] - points[i - 1];
        const Point along2 = points[i + 1] - points[i];
        return before + Cross(after - before, along2) / Cross(along1, along2) * along1;
    };
    std::vector<Polygon> stretches;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        stretches.push_back(
            {corner(i, -thickness1), corner(i + 1, -thickness1), corner(i + 1, thickness2), corner(i, thickness2)});
    }
    return {name, "ROIProfile", PointsOf(points, {thickness1, thickness2}), {stretches}};
}
Case Shape(const char* name, const Polygon& points) {
    Polygon polygon = points;
    if (points.size() == 2) {
        polygon = {points[0], {points[1].x, points[0].y}, points[1], {points[0].x, points[1].y}};
    }
    return {name, "ROIShape", PointsOf(points), {{polygon}}};
}

std::vector<Case> Cases() {
    return {
        Rectangle("whole", 40, 30, 24, 10),
        Rectangle("whole-at-halves", 40.5, 30.5, 24, 10),
        Rectangle("whole-anywhere", 40.3, 30.7, 24, 10),
        Turned(Rectangle("upside-down", 39, 17, 24, 4), 180),
        Turned(Rectangle("all-around", 26.5, 33, 22, 16), 360),
        Rectangle("rolled", 60.2, 50.1, 40, 13, 30),
        Rectangle("rolled-back", 60.2, 50.1, 40, 13, -71),
        Rectangle("negative-width", 60.2, 50.1, -33.5, 13.2, 20),
        Rectangle("negative-sizes", 60.2, 50.1, -33.5, -13.2, 20),
        Rectangle("thin", 70.3, 60.4, 90, 0.3, 17),
        Rectangle("tenth", 70.3, 60.4, 0.1, 0.1, 33),
        Rectangle("over-a-corner", 2.3, 3.4, 30, 20, 40),
        Rectangle("larger-than-all", 80, 60, 500, 300, 10),
        Rectangle("half-outside", 159.5, 60, 41, 21),
        Parallelogram("leaning", 60.2, 50.1, 60, 20, 0, 25),
        Parallelogram("leaning-and-rolled", 60.2, 50.1, 60, 20, 33, 25),
        Parallelogram("leaning-back", 60.2, 50.1, 60, 20, -12, -40),
        Parallelogram("steep", 60.2, 50.1, 120, 50, 3, 57),
        Parallelogram("overhanging", 60.2, 50.1, 30, 40, 8, 55),
        Parallelogram("flat", 60.2, 50.1, 100, 0.7, 5, 20),
        Parallelogram("over-the-top", 60.2, -2.1, 60, 20, 15, 25),
        Ellipse("circle", 50.3, 40.6, 20, 20),
        Ellipse("long", 80.3, 50.6, 70, 7),
        Ellipse("upright", 80.3, 50.6, 3, 45),
        Ellipse("small", 80.3, 50.6, 0.8, 0.7),
        Ellipse("tiny", 80.3, 50.6, 0.05, 0.05),
        Ellipse("sliver", 80.3, 50.6, 60, 0.04),
        Ellipse("half", -0.5, 60.2, 40, 21, 0.5),
        Ellipse("quarter", 159.5, 119.5, 40, 21, 0.25),
        Ring("ring", 60.3, 50.6, 10, 10, 25, 25),
        Ring("swapped-ring", 60.3, 50.6, 25, 25, 10, 10),
        Ring("oval-ring", 60.3, 50.6, 10, 4, 45, 25),
        Ring("thin-ring", 60.3, 50.6, 39.9, 39.8, 40, 40),
        CrossingRing("crossing-ring", 60.3, 50.6, 40, 15),
        Ring("no-hole", 60.3, 50.6, 0, 0, 12, 9),
        Sector("quarter-ring", 60.3, 50.6, 10, 10, 40, 40, 0, 90),
        Sector("back", 60.3, 50.6, 10, 10, 40, 40, 20, -100),
        Sector("wide", 60.3, 50.6, 10, 10, 40, 40, 100, 300),
        Sector("oval-sector", 60.3, 50.6, 30, 10, 45, 40, 35, 200),
        Sector("swapped-sector", 60.3, 50.6, 45, 40, 30, 10, 35, 200),
        Sector("narrow", 60.3, 50.6, 5, 5, 50, 50, 77, 0.5),
        Sector("full-turn", 60.3, 50.6, 10, 10, 40, 40, 33, 360),
        Sector("more-than-a-turn", 60.3, 50.6, 10, 10, 40, 40, 33, -500),
        Sector("pie", 60.3, 50.6, 0, 0, 40, 30, -200, 70),
        Band("line", {{20.2, 30.1}, {120.7, 80.3}}, 4, 7),
        Band("falling", {{120.7, 80.3}, {20.2, 30.1}}, 4, 7),
        Band("at-45-degrees", {{20.2, 20.1}, {90.2, 90.1}}, 3, 3),
        Band("bent", {{20.2, 30.1}, {70.7, 90.3}, {130.1, 25.2}}, 6, 5),
        Band("crossing", {{20.2, 30.1}, {120.7, 85.3}, {30.1, 95.2}, {110.3, 15.7}}, 4, 5),
        Band("turning-sharply", {{30.2, 60.1}, {120.7, 61.3}, {60.1, 70.2}, {120.4, 100.9}}, 3, 4),
        Band("wider-than-long", {{60.2, 60.1}, {70.7, 64.3}, {77.1, 58.2}}, 30, 25),
        Band("one-sided", {{20.2, 30.1}, {70.7, 90.3}, {130.1, 25.2}}, 12, -5),
        Band("hair", {{20.2, 30.1}, {70.7, 90.3}, {130.1, 25.2}}, 0.1, 0.15),
        Band("leaving", {{-30.2, 30.1}, {70.7, 150.3}, {190.1, 25.2}}, 9, 5),
        Shape("box", {{20.3, 70.2}, {61.8, 31.1}}),
        Shape("triangle", {{20.3, 10.2}, {100.7, 40.1}, {50.9, 90.6}}),
        Shape("on-pixels", {{20, 10}, {100, 10}, {60, 90}}),
        Shape("concave", {{20.3, 10.2}, {60.1, 40.7}, {110.7, 12.1}, {65.9, 100.6}}),
        Shape("bow-tie", {{20.3, 10.2}, {110.7, 92.1}, {105.9, 15.6}, {25.2, 88.3}}),
        Shape("star", {{80.1, 5.2}, {110.3, 105.4}, {25.7, 42.1}, {134.2, 43.3}, {48.9, 104.2}}),
        Shape("twice-around", {{20.3, 10.2}, {100.7, 15.1}, {90.9, 90.6}, {20.3, 10.2}, {100.7, 15.1}, {90.9, 90.6}}),
        Shape("beyond-all-sides", {{-50.3, 60.2}, {80.1, -40.7}, {220.7, 62.1}, {85.9, 170.6}}),
    };
}

#ifdef HAS_GEOS
// The area of what polygons enclose inside the image: their lines cut where they meet, and the faces between them that
// lie inside.
double AreaByGeos(const Region& region) {
    struct Scope {
        GEOSContextHandle_t context = GEOS_init_r();
        ~Scope() { GEOS_finish_r(context); }
    } scope;
    GEOSContextHandle_t geos = scope.context;
    std::vector<GEOSGeometry*> lines;
    for (const Polygon& polygon : region.polygons) {
        GEOSCoordSequence* const corners = GEOSCoordSeq_create_r(geos, static_cast<unsigned>(polygon.size()) + 1, 2);
        for (unsigned i = 0; i <= polygon.size(); ++i) {
            const Point p = polygon[i % polygon.size()];
            GEOSCoordSeq_setXY_r(geos, corners, i, p.x, p.y);
        }
        lines.push_back(GEOSGeom_createLineString_r(geos, corners));
    }
    GEOSGeometry* const all =
        GEOSGeom_createCollection_r(geos, GEOS_MULTILINESTRING, lines.data(), static_cast<unsigned>(lines.size()));
    GEOSGeometry* const cut = GEOSUnaryUnion_r(geos, all);
    GEOSGeometry* const faces = GEOSPolygonize_r(geos, &cut, 1);
    double sum = 0.0;
    for (int i = 0; i < GEOSGetNumGeometries_r(geos, faces); ++i) {
        const GEOSGeometry* const face = GEOSGetGeometryN_r(geos, faces, i);
        GEOSGeometry* const middle = GEOSPointOnSurface_r(geos, face);
        Point p{};
        GEOSGeomGetX_r(geos, middle, &p.x);
        GEOSGeomGetY_r(geos, middle, &p.y);
        if (region.Holds(p)) {
            GEOSGeometry* const seen = GEOSClipByRect_r(geos, face, -0.5, -0.5, kWidth - 0.5, kHeight - 0.5);
            double area = 0.0;
            GEOSArea_r(geos, seen, &area);
            sum += area;
            GEOSGeom_destroy_r(geos, seen);
        }
        GEOSGeom_destroy_r(geos, middle);
    }
    for (GEOSGeometry* const made : {all, cut, faces}) {
        GEOSGeom_destroy_r(geos, made);
    }
    return sum;
}
#endif

class OutlineTest : public RoiCommand {
  protected:
    OutlineTest() { cv::imwrite((Folder() / "i.png").string(), cv::Mat(kHeight, kWidth, CV_8U, cv::Scalar(1))); }
    void Add(const std::vector<Case>& cases) const {
        json figures = json::array();
        for (const Case& c : cases) {
            figures.push_back({{"name", c.name}, {"class", c.figure}});
            figures.back().update(c.description);
        }
        WriteBytes("figures.json", figures.dump());
        Done({"import", "s.roi", "figures.json"});
    }
    json Measured(Arguments options) const {
        options.insert(options.begin(), {"measure", "s.roi", "i.png", "--format", "json", "--columns",
                                         "name,status,pixels,area,sum,mean"});
        return json::parse(Done(options));
    }
};

TEST_F(OutlineTest, FiguresOfEveryClassCountTheirOutlines) {
    const std::vector<Case> cases = Cases();
    Add(cases);
    const json plain = Measured({});
    const json exact = Measured({"--exact"});
    ASSERT_EQ(plain.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Region& region = cases[i].region;
        EXPECT_EQ(plain[i]["pixels"], region.Pixels()) << cases[i].name;
        const double measured = exact[i]["area"];
        if (region.area != kUnknown) {
            EXPECT_NEAR(measured / region.area, 1.0, 1e-6) << cases[i].name;
        }
#ifdef HAS_GEOS
        else {
            EXPECT_NEAR(measured / AreaByGeos(region), 1.0, 1e-9) << cases[i].name;
        }
#endif
        EXPECT_NEAR(exact[i]["sum"].get<double>(), measured, 1e-9 * measured) << "of an image of ones";
    }
#ifndef HAS_GEOS
    GTEST_SKIP() << "the areas of polygons were not compared: GEOS is not there";
#endif
}

TEST_F(OutlineTest, FiguresThatShareAnEdgeShareNoPixelAndLeaveNone) {
    // A triangle, cut into three about a point inside it.
    const Point a{20, 10};
    const Point b{140, 35};
    const Point c{61, 110};
    const Point middle{70, 50};
    Add({Shape("ab", {a, b, middle}), Shape("bc", {b, c, middle}), Shape("ca", {c, a, middle}),
         Shape("whole", {a, b, c})});
    const json rows = Measured({});
    EXPECT_EQ(rows[0]["pixels"].get<int>() + rows[1]["pixels"].get<int>() + rows[2]["pixels"].get<int>(),
              rows[3]["pixels"]);
    Done({"remove", "s.roi", "whole"});
    const RunResult labels = Roi({"labels", "s.roi", "i.png", "-o", "l.png"});
    EXPECT_EQ(labels.exitCode, 0);
    EXPECT_EQ(labels.err, "") << "nothing overlaps";
    const cv::Mat image = cv::imread((Folder() / "l.png").string(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(image.type(), CV_16U);
    for (int label = 1; label <= 3; ++label) {
        EXPECT_EQ(cv::countNonZero(image == label), rows[label - 1]["pixels"]);
    }
    EXPECT_EQ(image.at<std::uint16_t>(30, 70), 1);
}

TEST_F(OutlineTest, LabelsTellWhatLaterFiguresTake) {
    Add({Rectangle("below", 30, 30, 20, 10), Rectangle("above", 35, 30, 10, 30)});
    const RunResult labels = Roi({"labels", "s.roi", "i.png", "-o", "l.tif"});
    EXPECT_EQ(labels.err, "roi: warning: below: 100 of its pixels are labelled as a later figure\n");
    const cv::Mat image = cv::imread((Folder() / "l.tif").string(), cv::IMREAD_UNCHANGED);
    EXPECT_EQ(cv::countNonZero(image == 1), 100);
    EXPECT_EQ(cv::countNonZero(image == 2), 300);
}

TEST_F(OutlineTest, APointIsHitWhereItsOutlineHoldsIt) {
    Add({Parallelogram("leaning", 60, 50, 60, 20, 0, 45), Rectangle("box", 100, 20, 24, 10)});
    // Three pixels of an image, from column 129 to 131 of row 101.
    WriteBytes("m.pgm", "P5 5 3 255\n" + std::string("\0\0\0\0\0\0\1\1\1\0\0\0\0\0\0", 15));
    Done({"add", "s.roi", "ROIMask", "--name", "image", "CenterX=130", "CenterY=101", "--mask", "m.pgm"});
    const struct {
        const char* at;
        const char* by;
        bool hit;
    } rows[] = {{"35,41", "outline", true},      {"35,59", "outline", false},
                {"35,59", "module", true},   // whose hit test knows no shear
                {"88,20", "outline", true},  // the left and the top side count
                {"112,20", "outline", false},    {"100,15", "outline", true},
                {"100,25", "outline", false},    {"128.4,101", "outline", false},
                {"128.6,101", "outline", true},  {"131.4,101", "outline", true},
                {"131.6,101", "outline", false}, {"129,100.4", "outline", false},
                {"129,101.4", "outline", true}};
    for (const auto& row : rows) {
        EXPECT_EQ(Roi({"hit", "s.roi", row.at, "--by", row.by}).exitCode == 0, row.hit) << row.at << ' ' << row.by;
    }
}

TEST_F(OutlineTest, PartsOfPixelsWeighTheirValues) {
    cv::Mat ramp(kHeight, kWidth, CV_16U);
    ramp.forEach<std::uint16_t>(
        [](std::uint16_t& value, const int* at) { value = static_cast<std::uint16_t>(100 + 7 * at[1] + 3 * at[0]); });
    cv::imwrite((Folder() / "i.png").string(), ramp);
    Add({Rectangle("r", 40.25, 30.5, 3.5, 1.5)});  // columns 38.5 to 42, rows 29.75 to 31.25
    const json row = json::parse(Done({"measure", "s.roi", "i.png", "--exact", "--format", "json", "--columns",
                                       "pixels,area,mean,std,sum,min,max,cx,cy,left,width,top,height,median"}))[0];
    const double columns[] = {1.0, 1.0, 1.0, 0.5};  // 39 to 42
    const double rows[] = {0.75, 0.75};             // 30 and 31
    double sum = 0.0;
    double squares = 0.0;
    for (int j = 0; j < 2; ++j) {
        for (int i = 0; i < 4; ++i) {
            const double value = 100 + 7 * (39 + i) + 3 * (30 + j);
            sum += columns[i] * rows[j] * value;
            squares += columns[i] * rows[j] * value * value;
        }
    }
    const double area = 3.5 * 1.5;
    EXPECT_EQ(row["pixels"], 8);
    EXPECT_NEAR(row["area"], area, 1e-12);
    EXPECT_NEAR(row["sum"], sum, 1e-9);
    EXPECT_NEAR(row["mean"], sum / area, 1e-9);
    EXPECT_NEAR(row["std"], std::sqrt(squares / area - sum * sum / area / area), 1e-6);
    EXPECT_NEAR(row["cx"], (39 + 40 + 41 + 0.5 * 42) / 3.5, 1e-12);
    EXPECT_NEAR(row["cy"], 30.5, 1e-12);
    EXPECT_EQ(row["max"], 100 + 7 * 42 + 3 * 31);
    EXPECT_EQ(row["left"], 39);
    EXPECT_EQ(row["width"], 4);
    EXPECT_EQ(row["median"], 100 + 7 * 40 + 3 * 31);
    EXPECT_EQ(Roi({"measure", "s.roi", "i.png", "--exact", "--by", "module"}).exitCode, 2);
}

// The area of an ellipse about the origin within a box, by the integral over its quarters.
double InEllipse(double rx, double ry, double left, double top, double right, double bottom) {
    if (right <= left || bottom <= top) {
        return 0.0;
    }
    if (left < 0.0) {  // Mirrored, the part on the left.
        return InEllipse(rx, ry, 0.0, top, right, bottom) +
               InEllipse(rx, ry, std::max(-right, 0.0), top, -left, bottom);
    }
    if (top < 0.0) {
        return InEllipse(rx, ry, left, 0.0, right, bottom) +
               InEllipse(rx, ry, left, std::max(-bottom, 0.0), right, -top);
    }
    const auto xAt = [&](double y) { return y < ry ? rx * std::sqrt(1.0 - y * y / (ry * ry)) : 0.0; };
    const auto integral = [&](double x) {
        const double u = std::min(x / rx, 1.0);
        return 0.5 * rx * ry * (u * std::sqrt(1.0 - u * u) + std::asin(u));
    };
    const double full = std::clamp(xAt(bottom), left, right);
    const double end = std::clamp(xAt(top), left, right);
    return (full - left) * (bottom - top) + integral(end) - integral(full) - (end - full) * top;
}

// How much of every pixel counts, by column and row.
std::map<std::pair<int, int>, double> CoveredOf(const host::Outline& outline, const host::PixelRect& field) {
    std::map<std::pair<int, int>, double> covered;
    const host::PixelSet pixels = host::CoverageOf(host::EdgesOf(outline), field);
    for (const host::PartPixel part : pixels.parts) {
        covered[{part.x, part.y}] += part.weight;
    }
    for (const host::Span& span : pixels.spans) {
        for (int i = span.firstX; i <= span.lastX; ++i) {
            covered[{i, span.y}] += 1.0;
        }
    }
    return covered;
}

TEST(Coverage, EveryPixelOfAnEllipseCountsWithItsPart) {
    for (const auto& [x, y, rx, ry] : {std::array{66.3, 52.7, 61.5, 42.5}, std::array{144.0, 88.0, 69.52, 55.51},
                                       std::array{40.25, 30.5, 9.3, 5.1}, std::array{100.0, 90.5, 21.0, 80.0}}) {
        auto found = CoveredOf({{{host::Arc{{x, y}, rx, ry, 0.0, 2.0 * M_PI}}}, {}, false}, {20, 10, 180, 150});
        for (int j = 10; j < 160; ++j) {
            for (int i = 20; i < 200; ++i) {
                const double part = InEllipse(rx, ry, i - 0.5 - x, j - 0.5 - y, i + 0.5 - x, j + 0.5 - y);
                ASSERT_NEAR((found[{i, j}]), part, 1e-9) << rx << ' ' << ry << ": " << i << ' ' << j;
            }
        }
    }
}

// A pixel for each of as many figures as 16 bits can number, and of one more.
TEST(Labels, AreAsWideAsTheLastOneNeeds) {
    constexpr int kColumns = 300;
    for (const auto& [count, depth] : {std::pair(65535, host::Depth::u16), {65536, host::Depth::u32}}) {
        std::vector<host::View> views(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            views[static_cast<std::size_t>(i)].pixels.AddSpan(i / kColumns, i % kColumns, i % kColumns);
        }
        const host::LabelImage labels =
            host::LabelsOf(std::make_shared<const std::vector<host::View>>(views), {kColumns, count / kColumns + 1});
        ASSERT_EQ(labels.image.View().depth, depth);
        const int row = (count - 1) / kColumns;
        const int column = (count - 1) % kColumns;
        EXPECT_EQ(depth == host::Depth::u16 ? labels.image.View().Row<std::uint16_t>(row)[column]
                                            : labels.image.View().Row<std::uint32_t>(row)[column],
                  static_cast<std::uint32_t>(count));
        EXPECT_EQ(std::count(labels.taken.begin(), labels.taken.end(), 0), count);
    }
}

// Its border cuts sides at any place, of which the pixels inside know nothing.
TEST(Coverage, AFieldShowsOfAFigureWhatALargerOneHas) {
    std::mt19937 random(5);
    const auto between = [&random](double low, double high) { return low + (high - low) * random() / 0x1p32; };
    for (int trial = 0; trial < 400; ++trial) {
        const host::ImagePoint center{between(0.0, 60.0), between(0.0, 50.0)};
        host::Contour contour{host::Arc{center, between(0.4, 70.0), between(0.3, 50.0), 0.0, 2.0 * M_PI}};
        if (trial % 2 != 0) {
            contour.clear();
            for (int corner = 0; corner < 3 + trial % 6; ++corner) {
                contour.emplace_back(
                    host::ImagePoint{center.x + between(-60.0, 60.0), center.y + between(-45.0, 45.0)});
            }
        }
        const host::PixelRect field{trial % 13, trial % 17, 30 + trial % 19, 25 + trial % 11};
        auto large = CoveredOf({{contour}, {}, false}, {-100, -100, 280, 260});
        auto found = CoveredOf({{contour}, {}, false}, field);
        for (int j = field.top; j < field.Bottom(); ++j) {
            for (int i = field.left; i < field.Right(); ++i) {
                ASSERT_NEAR((found[{i, j}]), (large[{i, j}]), 1e-9) << trial << ": " << i << ' ' << j;
            }
        }
        EXPECT_LE(found.size(), static_cast<std::size_t>(field.width) * static_cast<std::size_t>(field.height));
    }
}

// Corners a few roundings beside the border of a column, which may seem to be in it or not, of a side that slants and
// of one that goes on with another edge.
TEST(Coverage, ASideAHairBesideABorderCountsAsOneOnIt) {
    const auto outlineOf = [](bool hasJoint, double left, double hair) {
        // From its corner on all columns are counted.
        host::Contour first{host::ImagePoint{-0.5, -0.5}, host::ImagePoint{0.5, -0.5}, host::ImagePoint{-0.5, 7.5}};
        host::Contour second{host::ImagePoint{left + hair, -0.5}, host::ImagePoint{left + 1.0, -0.5},
                             host::ImagePoint{left + 9.0, 7.5}, host::ImagePoint{left + 8.0, 7.5}};
        if (hasJoint) {
            second = {host::ImagePoint{left + hair, -0.5}, host::ImagePoint{left + 9.0, -0.5},
                      host::ImagePoint{left + 9.0, 7.5}, host::ImagePoint{left + hair, 7.5},
                      host::ImagePoint{left + hair, 3.2}};
        }
        return host::Outline{{first, second}, {}, false};
    };
    const host::PixelRect field{0, 0, 30, 10};
    for (const auto& [hasJoint, left] : {std::pair(false, 3.5), {false, 16.5}, {true, 3.5}, {true, 7.5}}) {
        auto exact = CoveredOf(outlineOf(hasJoint, left, 0.0), field);
        for (int i = -40; i <= 40; ++i) {
            const double hair = std::copysign(std::ldexp(1.0, -54 + std::abs(i) / 4), i);
            auto found = CoveredOf(outlineOf(hasJoint, left, hair), field);
            for (int pixel = 0; pixel < 300; ++pixel) {
                const std::pair place{pixel % 30, pixel / 30};
                ASSERT_NEAR(found[place], exact[place], 1e-9)
                    << left << ' ' << hair << ": " << place.first << ' ' << place.second;
            }
        }
    }
}

// A pixel beside whose corners edges cross, lose their height or seem to be a column further on.
TEST(Coverage, EdgesThatMeetCornersOfPixelsKeepTheirPlaces) {
    const struct {
        std::vector<host::ImagePoint> corners;
        host::PixelRect field;
        std::pair<int, int> pixel;
        double part;
    } cases[] = {
        {{{8.5, 1.5}, {-0.5, 3.5}, {5.5, 4.5}, {0.5, 2.5}}, {5, 0, 50, 50}, {5, 4}, 7.0 / 60.0},
        {{{0.0, -0.5 - 0x1p-51}, {0.0, 2.5}, {3.3, 2.5 + 0x1p-51}, {3.3, 6.0}, {12.0, 6.0}, {12.0, -0.5}},
         {-2, -2, 50, 50},
         {1, 2},
         1.0},
        {{{3.5, 10.0}, {3.5 - 0x1p-50, 15.0}, {15.0, 15.0}, {15.0, 1.0}}, {1, 1, 50, 50}, {4, 10}, 121.0 / 144.0},
    };
    for (const auto& [corners, field, pixel, part] : cases) {
        const host::Contour contour(corners.begin(), corners.end());
        EXPECT_NEAR(CoveredOf({{contour}, {}, false}, field)[pixel], part, 1e-9) << pixel.first << ' ' << pixel.second;
    }
}

// Legs of different lengths under a bar, out of which a notch is cut that begins and ends within a row.
TEST(Coverage, SidesFarApartCountWithTheLevelEdgesBetweenThem) {
    const host::Contour table{host::ImagePoint{2.2, 1.7},  host::ImagePoint{30.4, 1.7}, host::ImagePoint{30.4, 9.1},
                              host::ImagePoint{24.6, 9.1}, host::ImagePoint{24.6, 4.3}, host::ImagePoint{20.0, 4.3},
                              host::ImagePoint{20.0, 4.0}, host::ImagePoint{12.5, 4.0}, host::ImagePoint{12.5, 4.3},
                              host::ImagePoint{8.1, 4.3},  host::ImagePoint{8.1, 7.9},  host::ImagePoint{2.2, 7.9}};
    auto found = CoveredOf({{table}, {}, false}, {0, 0, 40, 12});
    for (int j = 0; j < 12; ++j) {
        for (int i = 0; i < 40; ++i) {
            const auto within = [i, j](double left, double top, double right, double bottom) {
                return std::max(std::min(right, i + 0.5) - std::max(left, i - 0.5), 0.0) *
                       std::max(std::min(bottom, j + 0.5) - std::max(top, j - 0.5), 0.0);
            };
            const double part = within(2.2, 1.7, 30.4, 4.3) - within(12.5, 4.0, 20.0, 4.3) +
                                within(2.2, 4.3, 8.1, 7.9) + within(24.6, 4.3, 30.4, 9.1);
            ASSERT_NEAR((found[{i, j}]), part, 1e-12) << i << ' ' << j;
        }
    }
}

}  // namespace

// The ellipse: tables of its nodes, its rounding and its circle test.
#include <cmath>

#include "Harness.h"

namespace {

SmartPtr<IROIEllipse> Ellipse(Point center = {50, 50}, Point radius = {30, 30}) {
    auto figure = Create<IROIEllipse>(L"ROIEllipse");
    EXPECT_EQ(figure->SetCenter(center.real(), center.imag()), S_OK);
    EXPECT_EQ(figure->SetRadius(radius.real(), radius.imag()), S_OK);
    return figure;
}

Point Center(IROIEllipse* f) {
    return Read2([&](double* x, double* y) { return f->GetCenter(x, y); });
}
Point Radius(IROIEllipse* f) {
    return Read2([&](double* x, double* y) { return f->GetRadius(x, y); });
}

TEST(Ellipse, DragsItsNodes) {
    struct Case {
        int node;
        Point to, center, radius;
    };
    const Point c(50, 50), r(30, 20), p(10, 91);
    for (const Case& k :
         {Case{2, p, c, {40, 20}}, Case{0x202, p, c, {40, 40}}, Case{3, p, c, {30, 41}}, Case{0x203, p, c, {41, 41}},
          Case{0x103, p, c, {30, 41}}, Case{5, p, c, r}, Case{6, p, c, r}, Case{0x205, p, c, r}, Case{0, p, p, r},
          Case{1, p, p, r}, Case{4, p, p, r}, Case{7, p, p, r}, Case{0x301, p, p, r}, Case{-1, p, p, r}}) {
        auto figure = Ellipse(c, r);
        EXPECT_EQ(figure->SetNode(k.node, k.to.real(), k.to.imag()), S_OK);
        EXPECT_EQ(Center(figure.Get()), k.center) << k.node;
        EXPECT_EQ(Radius(figure.Get()), k.radius) << k.node;
    }
}

TEST(Ellipse, TellsItsNodes) {
    auto figure = Ellipse({50, 50}, {-5, 7});
    const Point center(50, 50), untouched(kUntouched, kUntouched);
    const std::pair<int, Point> nodes[] = {{2, {45, 50}},  {3, {50, 43}}, {1, center},     {4, center},
                                           {7, center},    {-2, center},  {0x202, center}, {0x105, center},
                                           {5, untouched}, {6, untouched}};
    for (const auto& k : nodes) {
        EXPECT_EQ(Read2([&](double* x, double* y) { return figure->GetNode(k.first, x, y); }), k.second) << k.first;
    }
}

TEST(Ellipse, RoundsItsBoxFromTheHalfAxes) {
    struct Case {
        Point center, radius;
        Box box;
    };
    for (const Case& k : {Case{{50, 50}, {30, 30}, {35, 35, 30, 30}}, Case{{0.25, 0}, {1, 1}, {0, -1, 1, 1}},
                          Case{{-0.5, 0}, {1, 1}, {-1, -1, 1, 1}}, Case{{10, 10}, {0.2, 3.5}, {10, 8, 1, 4}},
                          Case{{0, 0}, {-2.5, 0}, {1, 0, 0xFFFFFFFEu, 0}}}) {
        EXPECT_EQ(BoundingRect(Ellipse(k.center, k.radius).Get()), k.box) << k.center << k.radius;
    }
    auto wild = Ellipse({1e300, NAN}, {INFINITY, 4294967299.0});
    EXPECT_EQ(BoundingRect(wild.Get()), (Box{INT_MIN, INT_MIN, 0, 3}));
}

TEST(Ellipse, TestsAgainstACircleOfTheSameArea) {
    auto figure = Ellipse({0, 0}, {4, 1});
    for (const auto& [p, inside] : {std::pair(Point(1.9, 0), true),
                                    {Point(2.1, 0), false},
                                    {Point(2, 0), true},
                                    {Point(0, -2), true},
                                    {Point(NAN, 0), false},
                                    {Point(0, INFINITY), false}}) {
        int hit = 7;
        EXPECT_EQ(figure->HitTest(p.real(), p.imag(), &hit), inside ? S_OK : E_FAIL) << p;
        EXPECT_EQ(hit, inside);
        EXPECT_EQ(figure->HitTest(p.real(), p.imag(), nullptr), inside ? S_OK : E_FAIL);
    }
    figure->SetRadius(-4, 1);
    EXPECT_EQ(figure->HitTest(0, 0, nullptr), E_FAIL);
}

TEST(Ellipse, MapsItsCentreAndTheTwoEndsBelowAndRight) {
    Random random(3);
    for (int i = 0; i < 50; ++i) {
        const Point c = random.PointIn(-50, 50), r = random.PointIn(-20, 40);
        auto figure = Ellipse(c, r);
        Affine map = random.Map();
        EXPECT_EQ(figure->Transform(&map), S_OK);
        const std::vector<Point> order = {c, {c.real() + r.real(), c.imag()}, {c.real(), c.imag() + r.imag()}};
        EXPECT_EQ(map.asked, order);
        EXPECT_TRUE(map.zWasZero);
        EXPECT_CLOSE(Center(figure.Get()), map.Map(c));
        EXPECT_CLOSE(Radius(figure.Get()),
                     Point(std::abs(map.Map(order[1]) - map.Map(c)), std::abs(map.Map(order[2]) - map.Map(c))));
    }
}

}  // namespace

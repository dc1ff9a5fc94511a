// The shape: its extent comes from a geometry.
#include "Harness.h"

namespace {

/// Three points handed out as element 1 of an assembly.
class ThreePoints final : public Lent<IGeometry, IGeometricAssembly, IPoints> {
  public:
    Point points[3];
    bool broken = false;

    ThreePoints(Point a, Point b, Point center) : points{a, b, center} {}
    Result GetElement(int kind, IPoints** element) noexcept override {
        EXPECT_EQ(kind, 1);
        if (broken) {
            *element = nullptr;
            return E_FAIL;
        }
        AddRef();
        *element = this;
        return S_OK;
    }
    Result GetPoint(int index, double* x, double* y, double* z) noexcept override {
        *x = points[index].real();
        *y = points[index].imag();
        *z = 5;
        return S_OK;
    }
};

SmartPtr<IROIShape> Shape() { return Create<IROIShape>(L"ROIShape"); }

void ExpectEmpty(IROIShape* shape) {
    double x = 1, y = 2;
    EXPECT_EQ(shape->GetCenter(&x, &y), E_FAIL);
    EXPECT_EQ(Point(x, y), Point(0, 0));
    x = y = 3;
    EXPECT_EQ(shape->GetBoundingSize(&x, &y), E_FAIL);
    EXPECT_EQ(Point(x, y), Point(0, 0));
    Box box{1, 2, 3, 4};
    EXPECT_EQ(shape->GetBoundingRect(&box.left, &box.top, &box.width, &box.height), E_FAIL);
    EXPECT_EQ(box, Box{});
    EXPECT_EQ(shape->GetCenter(nullptr, nullptr), E_FAIL);
    EXPECT_EQ(shape->GetBoundingSize(nullptr, nullptr), E_FAIL);
    EXPECT_EQ(shape->GetBoundingRect(nullptr, nullptr, nullptr, nullptr), E_FAIL);
}

TEST(Shape, MeasuresItsGeometryWhicheverWayTheCornersLie) {
    struct Case {
        Point a, b;
        Box box;
    };
    for (const Case& c :
         {Case{{10.7, 20.2}, {3.1, 5.9}, {3, 5, 8, 14}}, Case{{3.1, 5.9}, {10.7, 20.2}, {3, 5, 8, 14}},
          Case{{3.1, 20.2}, {10.7, 5.9}, {3, 5, 8, 14}}, Case{{-3.9, -0.9}, {-3.9, 1.6}, {-3, 0, 0, 3}}}) {
        ThreePoints geometry(c.a, c.b, {6.5, 7.5});
        auto shape = Shape();
        EXPECT_EQ(CallSlot(shape.Get(), 11, static_cast<IGeometry*>(&geometry)), S_OK);
        EXPECT_EQ(BoundingRect(shape.Get()), c.box);
        EXPECT_CLOSE(Read2([&](double* w, double* h) { return shape->GetBoundingSize(w, h); }),
                     Point(std::abs(c.a.real() - c.b.real()), std::abs(c.a.imag() - c.b.imag())));
        EXPECT_EQ(Read2([&](double* x, double* y) { return shape->GetCenter(x, y); }), Point(6.5, 7.5));
        EXPECT_EQ(shape->GetBoundingRect(nullptr, nullptr, nullptr, nullptr), S_OK);
        EXPECT_EQ(shape->GetCenter(nullptr, nullptr), S_OK);
        EXPECT_EQ(shape->GetBoundingSize(nullptr, nullptr), S_OK);
        EXPECT_EQ(shape->HitTest(6.5, 7.5, nullptr), E_FAIL);
        EXPECT_EQ(geometry.references, 2);
        geometry.broken = true;
        ExpectEmpty(shape.Get());
        shape.Reset();
        EXPECT_EQ(geometry.references, 1);
    }
}

TEST(Shape, LetsGoOfItsGeometry) {
    struct Mute final : Lent<IGeometry> {
    } mute;
    ThreePoints geometry({0, 0}, {1, 1}, {0, 0});
    auto shape = Shape();
    ExpectEmpty(shape.Get());
    for (IGeometry* next : {static_cast<IGeometry*>(&mute), static_cast<IGeometry*>(nullptr)}) {
        shape->SetGeometry(&geometry);
        shape->SetGeometry(&geometry);
        EXPECT_EQ(geometry.references, 2);
        EXPECT_EQ(shape->SetGeometry(next), S_OK);
        EXPECT_EQ(geometry.references, 1);
        ExpectEmpty(shape.Get());
    }
    EXPECT_EQ(mute.references, 1);
}

}  // namespace

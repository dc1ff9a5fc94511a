// The rectangle, and the mask ROI that forwards to one, against the model of the rolled box.
#include "BoxModel.h"

namespace {

SmartPtr<IROIRectangle> Rectangle() { return Create<IROIRectangle>(L"ROIRectangle"); }

Point Node(IROIRectangle* figure, int node) {
    return Read2([&](double* x, double* y) { return figure->GetCornerPoint(ROICorner(node), x, y); });
}

class RolledBox : public testing::TestWithParam<const wchar_t*> {};

TEST_P(RolledBox, BehavesLikeItsModelUnderRandomOperations) {
    for (unsigned seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        BoxDriver<IROIRectangle>(GetParam(), seed).Run(200);
    }
}

INSTANTIATE_TEST_SUITE_P(Classes, RolledBox, testing::Values(L"ROIRectangle", L"ROIMask"));

TEST(Rectangle, EdgesAreInsideAndHalvesRoundAwayFromZero) {
    for (const Point size : {Point(10, 4), Point(-10, 4), Point(5, 5), Point(7, 1), Point(0, 3), Point(1e6 + 1, 3)}) {
        for (const Point center : {Point(0, 0), Point(5, 2), Point(-2.5, 1e5), Point(0.25, -0.75)}) {
            auto figure = Rectangle();
            figure->SetSize(size.real(), size.imag());
            figure->SetCenter(center.real(), center.imag());
            for (int node = 2; node <= 9; ++node) {
                const Point p = Node(figure.Get(), node);
                EXPECT_EQ(figure->HitTest(p.real(), p.imag(), nullptr), S_OK) << size << center << node;
            }
            EXPECT_EQ(figure->HitTest(center.real() + std::abs(size.real()) / 2 + 1e-3, center.imag(), nullptr),
                      E_FAIL);
        }
    }
    struct Case {
        Point center, size;
        Box box;
    };
    for (const Case& c : {Case{{50, 50}, {50, 50}, {25, 25, 51, 51}}, Case{{5, 2}, {10, 4}, {0, 0, 11, 5}},
                          Case{{0, 0}, {5, 5}, {-3, -3, 7, 7}}, Case{{0, 0}, {-5, 5}, {-3, -3, 7, 7}},
                          Case{{1, 1}, {0, 0}, {1, 1, 1, 1}}}) {
        auto figure = Rectangle();
        figure->SetSize(c.size.real(), c.size.imag());
        figure->SetCenter(c.center.real(), c.center.imag());
        EXPECT_EQ(BoundingRect(figure.Get()), c.box);
    }
}

TEST(Rectangle, HasAMaskOnlyWhenItIsRolled) {
    auto figure = Rectangle();
    for (const auto& [roll, masked] : {std::pair(0.0, false), {0.00009, false}, {-0.00009, false}, {0.0001, true}}) {
        figure->put_Roll(roll);
        SmartPtr<ICIF> mask;
        EXPECT_EQ(figure->GetMask(mask.Receive()), S_OK);
        EXPECT_EQ(static_cast<bool>(mask), masked) << roll;
    }
    figure->put_Roll(M_PI / 4);
    EXPECT_EQ(BoundingRect(figure.Get()), (Box{15, 15, 71, 71}));
}

}  // namespace

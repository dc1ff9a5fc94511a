// The parallelogram against the model of the rolled box.
#include "BoxModel.h"

namespace {

SmartPtr<IROIParallelogram> Parallelogram() { return Create<IROIParallelogram>(L"ROIParallelogram"); }

double Shear(IROIParallelogram* figure) {
    double shear = kUntouched;
    figure->get_Shear(&shear);
    return shear;
}

TEST(Parallelogram, BehavesLikeItsModelUnderRandomOperations) {
    for (unsigned seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        BoxDriver<IROIParallelogram>(L"ROIParallelogram", seed).Run(200);
    }
}

TEST(Parallelogram, ClampsTheShearOnlyWhereItIsPut) {
    auto figure = Parallelogram();
    for (const auto& [given, stored] : {std::pair(2.0, 1.5), {-7.0, -1.5}, {0.5, 0.5}}) {
        EXPECT_EQ(figure->put_Shear(given, 0), S_OK);
        EXPECT_EQ(Shear(figure.Get()), stored);
    }
    figure->put_Shear(NAN, 0);
    EXPECT_TRUE(std::isnan(Shear(figure.Get())));
    EXPECT_EQ(figure->SetCornerPoint(11, 40, 51), S_OK);
    EXPECT_CLOSE(Shear(figure.Get()), std::atan2(10.0, -1.0)) << "dragging stores what it computes";
    EXPECT_EQ(figure->SetCornerPoint(0x10B, 1, 1), E_INVALIDARG);
    EXPECT_EQ(figure->SetCornerPoint(12, 1, 1), E_INVALIDARG);
    double x = 1, y = 2;
    EXPECT_EQ(figure->GetCornerPoint(ROICorner(12), &x, &y), E_INVALIDARG);
    EXPECT_EQ(Point(x, y), Point(1, 2));
}

TEST(Parallelogram, HitTestIgnoresTheShearAndGetMaskWritesNothing) {
    auto figure = Parallelogram();
    figure->put_Shear(0.8, 0);
    int hit = 0;
    EXPECT_EQ(figure->HitTest(75, 25, &hit), S_OK);
    EXPECT_EQ(hit, 1);
    auto* untouched = reinterpret_cast<ICIF*>(&hit);
    ICIF* mask = untouched;
    EXPECT_EQ(figure->GetMask(&mask), S_OK);
    EXPECT_EQ(mask, untouched);
}

TEST(Parallelogram, LoadingClearsLockAEvenWhenItFails) {
    auto figure = Parallelogram();
    SetParameters(figure.Get(), {{L"LockA", 0x12345}, {L"Roll", 10.0}});
    EXPECT_EQ(Parameters(figure.Get())[8].value, Value(0x2345)) << "16 bits";
    PlainStream plain;
    EXPECT_EQ(As<IDataPersist>(figure.Get())->Load(&plain, 0), E_FAIL);
    EXPECT_EQ(Parameters(figure.Get())[8].value, Value(0));
    EXPECT_CLOSE(std::get<double>(Parameters(figure.Get())[6].value), 10.0);
}

}  // namespace

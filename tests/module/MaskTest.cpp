// The mask ROI: an image in a rectangle. Its rectangle's geometry is checked with the rectangle's model.
#include "Harness.h"

namespace {

SmartPtr<IROIMask> Mask() { return Create<IROIMask>(L"ROIMask"); }

TEST(MaskRoi, TakesItsSizeFromTheImageAndItsPlaceFromTheRectangle) {
    auto roi = Mask();
    EXPECT_EQ(BoundingRect(roi.Get()), (Box{25, 25, 51, 51}));
    SizedImage image(20, 30);
    EXPECT_EQ(roi->SetMask(&image, 77), S_OK);
    EXPECT_EQ(BoundingRect(roi.Get()), (Box{25, 25, 20, 30}));
    roi->SetCornerPoint(4, 100, 100);
    EXPECT_EQ(BoundingRect(roi.Get()), (Box{25, 25, 20, 30})) << "the image is not resized";
    EXPECT_EQ(Read2([&](double* w, double* h) { return roi->GetSize(w, h); }), Point(75, 75));
    EXPECT_EQ(roi->SetMask(nullptr, 0), S_OK);
    EXPECT_EQ(BoundingRect(roi.Get()), (Box{25, 25, 76, 76}));
}

TEST(MaskRoi, HoldsAndSharesItsImageByReference) {
    SizedImage first(2, 3), second(4, 5);
    {
        auto roi = Mask();
        auto* none = reinterpret_cast<ICIF*>(&first);
        EXPECT_EQ(roi->GetMask(&none), E_FAIL);
        EXPECT_EQ(none, nullptr);
        for (SizedImage* image : {&first, &first, &second}) {
            EXPECT_EQ(roi->SetMask(image, 0), S_OK);
            SmartPtr<ICIF> mask;
            EXPECT_EQ(roi->GetMask(mask.Receive()), S_OK);
            EXPECT_EQ(mask.Get(), image);
        }
        EXPECT_EQ(first.references, 1);
        SmartPtr<IUnknown> copy;
        EXPECT_EQ(roi->Replicate(copy.Receive()), S_OK);
        SmartPtr<ICIF> shared;
        EXPECT_EQ(As<IROIMask>(copy.Get())->GetMask(shared.Receive()), S_OK);
        EXPECT_EQ(shared.Get(), &second);
        roi->SetCenter(1, 1);
        EXPECT_EQ(Read2([&](double* x, double* y) { return As<IROI>(copy.Get())->GetCenter(x, y); }), Point(50, 50));
        EXPECT_EQ(second.references, 4);
    }
    EXPECT_EQ(second.references, 1);
}

}  // namespace

// What holds for every figure alike: it saves and loads, masks what it hits, survives absurd numbers and
// leaves nothing behind.
#include <cmath>
#include <limits>

#include <pugixml.hpp>

#include "Harness.h"
#include "framework/support/FolderStream.h"
#include "framework/support/XMLStream.h"

namespace {

const wchar_t* const kFigures[] = {L"ROIDonut",         L"ROIArcDonut", L"ROIEllipse",   L"ROIMask",
                                   L"ROIParallelogram", L"ROIProfile",  L"ROIRectangle", L"ROIShape"};

class AnyFigure : public testing::TestWithParam<const wchar_t*> {
  protected:
    /// A figure away from its defaults.
    SmartPtr<IROI> Make() const {
        auto figure = Create<IROI>(GetParam());
        if (auto profile = As<IROIProfile>(figure.Get())) {
            for (Point p : {Point(10, 20), Point(35.25, 18), Point(60.5, 44)}) {
                profile->AddPoint(p.real(), p.imag());
            }
        }
        std::vector<Item> items = Parameters(figure.Get());
        for (Item& item : items) {
            if (auto* number = std::get_if<double>(&item.value)) {
                *number = *number * 1.1 + 3.3;
            }
        }
        if (!items.empty()) {
            EXPECT_EQ(SetParameters(figure.Get(), items), S_OK);
        }
        return figure;
    }
    bool Is(const wchar_t* name) const { return std::wcscmp(GetParam(), name) == 0; }
};

INSTANTIATE_TEST_SUITE_P(Figures, AnyFigure, testing::ValuesIn(kFigures), [](const auto& info) {
    const std::wstring name = info.param;
    return std::string(name.begin(), name.end());
});

/// An XML document and an archive, each with a place for one figure.
struct Storage {
    XMLDocument document = std::make_shared<pugi::xml_document>();
    pugi::xml_node root = document->append_child("set");
    pugi::xml_node entry = root.append_child("figure");
    std::shared_ptr<FolderArchive> archive = std::make_shared<FolderArchive>();

    SmartPtr<IDataStream> Xml(pugi::xml_node node) const { return MakeXMLStream(document, node); }
    SmartPtr<IDataStream> Folder() const { return MakeFolderStream(archive, "figure"); }
};

TEST_P(AnyFigure, LoadsWhatItSaved) {
    auto figure = Make();
    auto persist = As<IDataPersist>(figure.Get());
    ASSERT_EQ(static_cast<bool>(persist), !Is(L"ROIMask"));
    for (const bool xml : {false, true}) {
        if (!persist || (xml && Is(L"ROIProfile"))) {
            continue;
        }
        Storage storage;
        EXPECT_EQ(persist->Save((xml ? storage.Xml(storage.entry) : storage.Folder()).Get(), 3), S_OK);
        auto copy = Create<IROI>(GetParam());
        // The ellipse looks for itself among the entries of the stream it is given.
        auto source = xml ? storage.Xml(Is(L"ROIEllipse") ? storage.root : storage.entry) : storage.Folder();
        EXPECT_EQ(As<IDataPersist>(copy.Get())->Load(source.Get(), 3), S_OK);
        std::vector<Item> expected = Parameters(figure.Get());
        for (Item& item : expected) {
            if (xml && Is(L"ROIEllipse")) {
                item.value = std::trunc(std::get<double>(item.value));
            }
        }
        ExpectClose(Parameters(copy.Get()), expected);
    }
}

/// Calls everything there is, with numbers taken in turn from a list.
void ExerciseAll(IROI* figure, const std::vector<double>& numbers, std::size_t offset) {
    auto next = [&, i = offset]() mutable { return numbers[i++ % numbers.size()]; };
    double x = 0, y = 0;
    int i = 0, j = 0;
    unsigned w = 0, h = 0;
    auto read = [&] {
        figure->GetBoundingSize(&x, &y);
        figure->GetCenter(&x, &y);
        figure->GetBoundingRect(&i, &j, &w, &h);
        figure->HitTest(next(), next(), &i);
        figure->HitTest(next(), next(), nullptr);
        SmartPtr<IUnknown> copy;
        figure->Replicate(copy.Receive());
        // Not the few images that could be had, but take gigabytes and seconds.
        if (const std::uint64_t area = std::uint64_t{w} * h; area < 1u << 20 || area > 1u << 31) {
            SmartPtr<ICIF> mask;
            figure->GetMask(mask.Receive());
        }
    };
    figure->SetCenter(next(), next());
    read();
    if (auto box = As<IROIRectangle>(figure)) {
        for (int node = 0; node < 13; ++node) {
            box->SetSize(next(), next());
            box->SetAspectRatio(next());
            box->put_Roll(next());
            box->SetCornerPoint(node | (node % 4 << 8), next(), next());
            box->GetCornerPoint(ROICorner(node), &x, &y);
            box->GetCornerPointI(ROICorner(node), &i, &j);
            read();
        }
    }
    if (auto box = As<IROIParallelogram>(figure)) {
        for (int node = 0; node < 13; ++node) {
            box->SetSize(next(), next());
            box->put_A(next());
            box->put_Shear(next(), static_cast<short>(node));
            box->put_B(next());
            box->put_Roll(next());
            box->SetCornerPoint(node | (node % 4 << 8), next(), next());
            box->GetCornerPoint(ROICorner(node), &x, &y);
            read();
        }
    }
    if (auto round = As<IROIEllipse>(figure)) {
        for (int node = -1; node < 8; ++node) {
            round->SetRadius(next(), next());
            round->SetNode(node | (node % 2 << 9), next(), next());
            round->GetNode(node, &x, &y);
            read();
        }
    }
    if (auto ring = As<IROIArcDonut>(figure)) {
        for (int node = -1; node < 10; ++node) {
            ring->SetRadius(node, next(), next());
            ring->SetLimits(next(), next());
            ring->SetNode(node | 0x100, next(), next());
            ring->SetNode(node, next(), next());
            ring->GetNode(node, &x, &y);
            read();
        }
    }
    if (auto profile = As<IROIProfile>(figure)) {
        for (int node = -1; node < 8; ++node) {
            profile->InsertPoint(node, next(), next());
            profile->SetThickness(node, next(), next());
            profile->SetNodePoint(ROIPROFILENode(node), node / 2, next(), next());
            profile->GetNodePointI(ROIPROFILENode(node), 1, &i, &j);
            profile->SetPoint(node / 2, next(), next());
            profile->RemovePoint(node);
            read();
        }
        profile->SetUniformThickness(next(), next());
    }
    if (As<IParametricObject>(figure)) {
        std::vector<Item> items = Parameters(figure);
        for (Item& item : items) {
            item.value = next();
        }
        SetParameters(figure, items);
        Storage storage;
        As<IDataPersist>(figure)->Save(storage.Folder().Get(), 0);
        As<IDataPersist>(figure)->Load(storage.Folder().Get(), 0);
        As<IDataPersist>(figure)->Save(storage.Xml(storage.entry).Get(), 0);
        As<IDataPersist>(figure)->Load(storage.Xml(storage.root).Get(), 0);
    }
    Affine map(next(), next(), next(), next(), next(), next());
    figure->Transform(&map);
    read();
}

TEST_P(AnyFigure, SurvivesAbsurdNumbers) {
    using Limits = std::numeric_limits<double>;
    const std::vector<double> numbers = {Limits::quiet_NaN(),
                                         Limits::infinity(),
                                         0.0,
                                         -Limits::infinity(),
                                         1e308,
                                         -0.0,
                                         -1e308,
                                         Limits::denorm_min(),
                                         2147483648.0,
                                         -2147483648.5,
                                         1e18,
                                         1.0,
                                         4294967295.0};
    for (std::size_t offset = 0; offset < numbers.size(); ++offset) {
        auto figure = Make();
        ExerciseAll(figure.Get(), numbers, offset);
        ExerciseAll(figure.Get(), {numbers[offset]}, 0);
        EXPECT_EQ(figure->AddRef(), 2);
        EXPECT_EQ(figure->Release(), 1);
    }
}

TEST_P(AnyFigure, LeavesNothingBehind) {
    auto live = [&] {
        auto figure = Make();
        ExerciseAll(figure.Get(), {40.5, 12, 3, -7.25, 60}, 0);
    };
    live();  // Fills the caches that stay for good.
    const int objects = LiveSiblingObjects();
    const long allocations = LiveAllocations();
    for (int i = 0; i < 3; ++i) {
        live();
    }
    EXPECT_EQ(LiveSiblingObjects(), objects);
    EXPECT_EQ(LiveAllocations(), allocations);
}

// ---------------------------------------------------------------------------------------------------

struct Pixels {
    unsigned char* data = nullptr;
    int stride = 0, planes = 0, bits = 0;
};

/// Compares the mask with the hit test at every pixel whose surroundings agree among themselves.
void CompareMaskWithHitTest(IROI* figure, double margin, int enough) {
    SmartPtr<ICIF> mask;
    ASSERT_EQ(figure->GetMask(mask.Receive()), S_OK);
    const Box box = BoundingRect(figure);
    Pixels pixels;
    ASSERT_EQ(As<IPixels>(mask.Get())->GetPixels(&pixels.data, &pixels.stride, &pixels.planes, &pixels.bits), S_OK);
    int width = 0, height = 0;
    SizeOf(*mask, &width, &height);
    EXPECT_EQ(std::pair(unsigned(width), unsigned(height)), std::pair(box.width, box.height));
    EXPECT_EQ(std::pair(pixels.planes, pixels.bits), std::pair(1, 8));
    int compared[2] = {};
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            const double x = box.left + i, y = box.top + j;
            const Result hit = figure->HitTest(x, y, nullptr);
            bool clear = true;
            for (int k = 0; k < 8; ++k) {
                const Point p = Point(x, y) + margin * std::polar(1.0, k * M_PI / 4);
                clear = clear && figure->HitTest(p.real(), p.imag(), nullptr) == hit;
            }
            if (clear) {
                ++compared[hit == S_OK];
                ASSERT_EQ(pixels.data[j * pixels.stride + i], hit == S_OK ? 255 : 0) << x << ", " << y;
            }
        }
    }
    EXPECT_GT(compared[0], enough);
    EXPECT_GT(compared[1], enough);
}

TEST(Masks, AgreeWithTheHitTestAwayFromTheOutline) {
    for (const double roll : {0.3, -0.7, 1.2, 2.5, 3.0}) {
        SCOPED_TRACE(roll);
        auto rectangle = Create<IROIRectangle>(L"ROIRectangle");
        rectangle->SetCenter(40.3, -12.6);
        rectangle->SetSize(61.5, roll < 0 ? -33 : 33);
        rectangle->put_Roll(roll);
        CompareMaskWithHitTest(rectangle.Get(), 1.5, 100);
    }
    for (const wchar_t* name : {L"ROIDonut", L"ROIArcDonut"}) {
        for (const auto& [r0, r1] : {std::pair(20.0, 30.0), {44.6, 31.2}, {12.0, 50.5}}) {
            auto ring = Create<IROIArcDonut>(name);
            ring->SetCenter(70.4, 33.7);
            ring->SetRadius(0, r0, r0);
            ring->SetRadius(1, r1, r1);
            ring->SetLimits(0, M_PI / 2);
            CompareMaskWithHitTest(ring.Get(), 2.5, 100);
        }
    }
}

}  // namespace

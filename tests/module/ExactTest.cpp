// Last bits, signs of zero, and in which order figures ask and answer: what neighbours built apart can tell.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "Harness.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A collection that stands in for the usual one as long as it lives.
class LentCollection : public Lent<IComponentCollection> {
  public:
    LentCollection() {
        GlobalCollection();
        InitializeRoi(this);
    }
    Result GetItem(int, IUnknown**) noexcept override { return E_FAIL; }
    Result FindByName(IString*, int*) noexcept override { return E_FAIL; }

  protected:
    ~LentCollection() { InitializeRoi(GlobalCollection()); }
};

SmartPtr<ICIF> MaskOf(IROI* figure) {
    SmartPtr<ICIF> mask;
    EXPECT_EQ(figure->GetMask(mask.Receive()), S_OK);
    return mask;
}

// ---------------------------------------------------------------------------------------------------

TEST(Exact, ShapeFetchesItsElementOnceAndTakesItWhateverTheCode) {
    struct Geometry final : Lent<IGeometry, IGeometricAssembly, IPoints> {
        int fetched = 0;
        Result GetElement(int, IPoints** element) noexcept override {
            ++fetched;
            AddRef();
            *element = this;
            return E_FAIL;
        }
        Result GetPoint(int index, double* x, double* y, double*) noexcept override {
            constexpr double kPoints[][2] = {{10.5, 3.75}, {2.9, 7.25}, {6, 4}};
            *x = kPoints[index][0];
            *y = kPoints[index][1];
            return S_OK;
        }
    } geometry;
    const auto shape = Create<IROIShape>(L"ROIShape");
    shape->SetGeometry(&geometry);
    EXPECT_EQ(Read2([&](double* x, double* y) { return shape->GetCenter(x, y); }), Point(6, 4));
    EXPECT_EQ(geometry.fetched, 1);
    EXPECT_EQ(Read2([&](double* w, double* h) { return shape->GetBoundingSize(w, h); }), Point(10.5 - 2.9, 3.5));
    EXPECT_EQ(geometry.fetched, 2);
    EXPECT_EQ(BoundingRect(shape.Get()), (Box{2, 3, 8, 4}));
    EXPECT_EQ(geometry.fetched, 3);
    EXPECT_EQ(As<IParametricObject>(shape.Get())->SetParameters(nullptr), S_OK);
}

// ---------------------------------------------------------------------------------------------------

/// An image that fails, writes its width alone, and 8 bytes into its third output.
struct HalfAnImage final : Lent<ICIF> {
    void* outputs[2] = {};
    Result GetSize(int* width, int* height, int* extra) noexcept override {
        *width = 20;
        outputs[0] = width;
        outputs[1] = height;
        std::fill_n(reinterpret_cast<unsigned char*>(extra), 8, 0xA5);
        return E_FAIL;
    }
    Result Create(int, int, int, int, std::uint32_t) noexcept override { return E_FAIL; }
    Result Fill(int) noexcept override { return E_FAIL; }
};

/// A rectangle that does what it is asked for and says that it failed.
struct Denier final : Lent<IROIRectangle> {
    double size[2] = {7, 8}, center[2] = {3, 4}, roll = 5, ratio = 6;
    std::string asked;

    Result Deny(const char* what) noexcept {
        asked += what;
        return E_FAIL;
    }
    static void Put(const double (&from)[2], double* a, double* b) noexcept { *a = from[0], *b = from[1]; }
    Result GetBoundingSize(double*, double*) noexcept override { return Deny("?"); }
    Result GetCenter(double* x, double* y) noexcept override { return Put(center, x, y), Deny("c"); }
    Result SetCenter(double x, double y) noexcept override { return Put({x, y}, center, center + 1), Deny("C"); }
    Result Transform(ITransform*) noexcept override { return Deny("?"); }
    Result Replicate(IUnknown**) noexcept override { return Deny("?"); }
    Result GetMask(ICIF**) noexcept override { return Deny("?"); }
    Result HitTest(double, double, int*) noexcept override { return Deny("?"); }
    Result GetBoundingRect(int* left, int* top, unsigned* width, unsigned* height) noexcept override {
        *left = 1, *top = 2, *width = 30, *height = 40;
        return E_INVALIDARG;
    }
    Result GetSize(double* w, double* h) noexcept override { return Put(size, w, h), Deny("s"); }
    Result SetSize(double w, double h) noexcept override { return Put({w, h}, size, size + 1), Deny("S"); }
    Result get_Roll(double* r) noexcept override { return *r = roll, Deny("r"); }
    Result put_Roll(double r) noexcept override { return roll = r, Deny("R"); }
    Result GetCornerPoint(ROICorner, double*, double*) noexcept override { return Deny("?"); }
    Result GetCornerPointI(ROICorner, int*, int*) noexcept override { return Deny("?"); }
    Result SetCornerPoint(int, double, double) noexcept override { return Deny("?"); }
    Result GetAspectRatio(double* r) noexcept override { return *r = ratio, Deny("a"); }
    Result SetAspectRatio(double r) noexcept override { return ratio = r, Deny("A"); }
};

/// Gives a rectangle to every mask that asks for one.
struct DenierGiver final : LentCollection {
    Denier rectangles[2];
    int given = 0;
    Result CreateComponent(tagREFString, const IID&, void** out) noexcept override {
        rectangles[given].AddRef();
        *out = static_cast<IROIRectangle*>(&rectangles[given++]);
        return S_OK;
    }
};

TEST(Exact, MaskHandsItsOwnOutputsToTheImage) {
    HalfAnImage image;
    const auto mask = Create<IROIMask>(L"ROIMask");
    mask->SetMask(&image, 0);
    Box box{};
    EXPECT_EQ(mask->GetBoundingRect(&box.left, &box.top, &box.width, &box.height), S_OK);
    EXPECT_EQ(box, (Box{25, 25, 20, 51}));
    EXPECT_EQ(image.outputs[0], &box.width);
    EXPECT_EQ(image.outputs[1], &box.height);
    mask->SetMask(nullptr, 0);
}

TEST(Exact, MaskGoesOnWhateverItsRectangleAnswers) {
    HalfAnImage image;
    DenierGiver components;
    {
        const auto mask = Create<IROIMask>(L"ROIMask");
        mask->SetMask(&image, 0);
        Box box{};
        EXPECT_EQ(mask->GetBoundingRect(&box.left, &box.top, &box.width, &box.height), E_INVALIDARG);
        EXPECT_EQ(box, (Box{1, 2, 20, 40}));
        SmartPtr<IUnknown> copy;
        EXPECT_EQ(mask->Replicate(copy.Receive()), S_OK);
        EXPECT_EQ(components.rectangles[0].asked, "srca");
        EXPECT_EQ(components.rectangles[1].asked, "SRCA");
        SmartPtr<ICIF> shared;
        EXPECT_EQ(As<IROIMask>(copy.Get())->GetMask(shared.Receive()), S_OK);
        EXPECT_EQ(shared.Get(), &image);
    }
    EXPECT_EQ(components.rectangles[0].references, 1);
    EXPECT_EQ(components.rectangles[1].references, 1);
}

// ---------------------------------------------------------------------------------------------------

TEST(Exact, SectorHasNoNegativeZeroAndADegenerateEdgeAtInfinity) {
    struct Case {
        double edges[8];
        Point center;
        bool negativeX;
    };
    for (const Case& c :
         {Case{{1, 0, 2, 0, 0, 1, 0, 2}, {0, 0}, false}, Case{{30, 50, 40, 50, 50, 30, 50, 20}, {50, 50}, false},
          // The edge without a direction stands for x = 0.
          Case{{kInfinity, 50, kInfinity, 50, 60, 20, 70, 20}, {0, 20}, true}}) {
        const auto donut = Create<IROIArcDonut>(L"ROIArcDonut");
        const auto* e = c.edges;
        // The class's own operation, behind those of the object base, Replicate and the limits.
        EXPECT_EQ(CallSlot(As<IUnknown>(donut.Get()).Get(), 10, e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7]), S_OK);
        const Point center = Read2([&](double* x, double* y) { return donut->GetCenter(x, y); });
        EXPECT_EQ(center, c.center);
        EXPECT_EQ(std::signbit(center.real()), c.negativeX) << c.center;
        EXPECT_FALSE(std::signbit(center.imag())) << c.center;
    }
}

/// An image that notes the ring's centre and first radius when the ring lets go of it.
struct Witness final : Lent<ICIFImageCANVAS> {
    IROIDonut* donut = nullptr;
    std::vector<Point> seen;
    std::int32_t Release() noexcept override {
        if (--references == 1 && donut != nullptr) {
            seen = {Read2([&](double* x, double* y) { return donut->GetCenter(x, y); }),
                    Read2([&](double* x, double* y) { return donut->GetRadius(0, x, y); })};
        }
        return references;
    }
    Result GetSize(int*, int*, int*) noexcept override { return E_FAIL; }
    Result Create(int, int, int, int, std::uint32_t) noexcept override { return S_OK; }
    Result Fill(int) noexcept override { return S_OK; }
};

struct WitnessGiver final : LentCollection {
    Witness witness;
    Result CreateComponent(tagREFString name, const IID& iid, void** out) noexcept override {
        return name == Text(L"CIFImageCANVAS") ? witness.AddRef(),
               *out = static_cast<ICIFImageCANVAS*>(&witness),
               S_OK : GlobalCollection()->CreateComponent(name, iid, out);
    }
};

TEST(Exact, RingLetsGoOfItsMaskBeforeItChanges) {
    Affine map(2, 0, 0, 3, 5, 7);
    const std::vector<std::pair<const char*, void (*)(IROIDonut*, Affine*)>> steps = {
        {"radius node", [](IROIDonut* d, Affine*) { d->SetNode(2, 90, 60); }},
        {"centre", [](IROIDonut* d, Affine*) { d->SetNode(1, 90, 60); }},
        {"corner", [](IROIDonut* d, Affine*) { d->SetNode(0x102, 61, 52); }},
        {"radius", [](IROIDonut* d, Affine*) { d->SetRadius(0, 11, 12); }},
        {"map", [](IROIDonut* d, Affine* map) { d->Transform(map); }}};
    for (const wchar_t* name : {L"ROIDonut", L"ROIArcDonut"}) {
        for (const auto& [what, step] : steps) {
            WitnessGiver components;
            const auto donut = Create<IROIDonut>(name);
            As<IROIArcDonut>(donut.Get())->SetLimits(0, 1);
            components.witness.donut = donut.Get();
            EXPECT_EQ(MaskOf(donut.Get()).Get(), &components.witness);
            EXPECT_EQ(components.witness.references, 2);
            step(donut.Get(), &map);
            EXPECT_EQ(components.witness.seen, (std::vector<Point>{{50, 50}, {20, 20}})) << what;
            components.witness.donut = nullptr;
        }
    }
}

TEST(Exact, MasksThatSucceedMayHaveNoPixels) {
    const auto rectangle = Create<IROIRectangle>(L"ROIRectangle");
    rectangle->SetSize(1e6, 2e6);
    rectangle->put_Roll(0.5);
    const auto ring = Create<IROIDonut>(L"ROIDonut");
    ring->SetRadius(0, 1e6, 2e6);
    for (IROI* figure : {static_cast<IROI*>(rectangle.Get()), static_cast<IROI*>(ring.Get())}) {
        const SmartPtr<ICIF> mask = MaskOf(figure);
        ASSERT_TRUE(mask);
        const ImagePixels none = PixelsOf(*mask);
        EXPECT_EQ(none.data, nullptr);
        EXPECT_EQ(none.width | none.height | none.stride | none.planes | none.bits, 0);
    }
    for (const double radius : {0.25, -9.0}) {  // The size is read as signed.
        ring->SetRadius(0, radius, 9);
        ring->SetRadius(1, radius, 9);
        SmartPtr<ICIF> none;
        EXPECT_EQ(ring->GetMask(none.Receive()), E_FAIL);
        EXPECT_FALSE(none);
    }
}

// ---------------------------------------------------------------------------------------------------

TEST(Exact, RectangleCopiesItsRatioLast) {
    const auto rectangle = Create<IROIRectangle>(L"ROIRectangle");
    rectangle->SetAspectRatio(2);
    rectangle->SetSize(60, 80);
    SmartPtr<IUnknown> copy;
    EXPECT_EQ(rectangle->Replicate(copy.Receive()), S_OK);
    EXPECT_EQ(Read2([&](double* w, double* h) { return As<IROIRectangle>(copy.Get())->GetSize(w, h); }), Point(60, 30));
}

TEST(Exact, ParallelogramIsDraggedAndHitAsItsBox) {
    struct Case {
        int node;
        Point size, center;
    };
    for (const Case& c : {Case{3, {75, 55}, {62.5, 47.5}},
                          // The corner held, 5, stands off the box's by the lean of 50 tan(0.5).
                          Case{0x203, {65, 65}, {25 + 50 * std::tan(0.5) + 32.5, 42.5}}}) {
        const auto figure = Create<IROIParallelogram>(L"ROIParallelogram");
        figure->put_Shear(0.5, 0);
        EXPECT_EQ(figure->HitTest(26, 74, nullptr), S_OK) << "outside the slanted side";
        EXPECT_EQ(figure->SetCornerPoint(c.node, 100, 20), S_OK);
        EXPECT_CLOSE(Read2([&](double* w, double* h) { return figure->GetSize(w, h); }), c.size);
        EXPECT_CLOSE(Read2([&](double* x, double* y) { return figure->GetCenter(x, y); }), c.center);
    }
    const auto locked = Create<IParametricObject>(L"ROIParallelogram");
    SetParameters(locked.Get(), {{L"Roll", 0.0}, {L"LockA", 1}});
    EXPECT_EQ(As<IDataPersist>(locked.Get())->Load(nullptr, 0), E_FAIL);
    EXPECT_EQ(Parameters(locked.Get())[8], (Item{L"LockA", 0, 0xC000013}));
}

// ---------------------------------------------------------------------------------------------------

struct Record {
    double x, y, z, angle, thickness1, thickness2;
};
std::vector<Record> Records(IROIProfile* profile) {
    BlockStream stream;
    EXPECT_EQ(As<IDataPersist>(profile)->Save(&stream, 0), S_OK);
    const std::vector<std::uint8_t>& bytes = stream.blocks.at(1).second;
    std::vector<Record> records(bytes.size() / sizeof(Record));
    std::memcpy(records.data(), bytes.data(), bytes.size());
    return records;
}

SmartPtr<IROIProfile> Segment(double thickness1, double thickness2) {
    auto profile = Create<IROIProfile>(L"ROIProfile");
    profile->AddPoint(0, 0);
    profile->AddPoint(10, 0);
    profile->SetUniformThickness(thickness1, thickness2);
    return profile;
}

TEST(Exact, ProfileCountsBelowZeroAndTakesAnyIndexToInsert) {
    const auto profile = Create<IROIProfile>(L"ROIProfile");
    int count = 0;
    profile->RemovePoint(0);
    EXPECT_EQ((profile->GetNumberPoints(&count), count), -1);
    profile->AddPoint(1, 2);
    EXPECT_EQ((profile->GetNumberPoints(&count), count), 0);
    profile->AddPoint(3, 4);
    profile->SetUniformThickness(5, 6);
    EXPECT_CLOSE(Read2([&](double* x, double* y) { return profile->GetNodePoint(kProfileCorner1, 0, x, y); }),
                 Point(3, 4) + 5.0 * std::polar(1.0, -1000.0));
    profile->InsertPoint(0, 7, 8);   // In front of a single point: its own thickness.
    profile->InsertPoint(-1, 9, 1);  // Out of range: behind the last.
    profile->InsertPoint(9, 2, 3);
    const auto records = Records(profile.Get());
    std::vector<Point> points;
    std::vector<double> thicknesses;
    for (const Record& record : records) {
        points.emplace_back(record.x, record.y);
        thicknesses.push_back(record.thickness1);
    }
    EXPECT_EQ(points, (std::vector<Point>{{7, 8}, {3, 4}, {9, 1}, {2, 3}}));
    EXPECT_EQ(thicknesses, (std::vector<double>{20, 5, 5, 5}));
}

TEST(Exact, ProfileIsHitWhereATransformThatAskedMeanwhileLeavesIt) {
    struct Asking final : Lent<ITransform> {
        IROIProfile* profile = nullptr;
        Result TransformPoint(double* x, double*, double*) noexcept override {
            profile->HitTest(5, 0, nullptr);
            *x += 100;
            return S_OK;
        }
    } transform;
    const auto profile = Segment(2, 4);
    transform.profile = profile.Get();
    EXPECT_EQ(profile->Transform(&transform), S_OK);
    EXPECT_EQ(profile->HitTest(112.9, 2.9, nullptr), S_OK);
    EXPECT_EQ(profile->HitTest(96.9, 0, nullptr), E_FAIL);
}

TEST(Exact, ProfileScalesAThicknessByTheNewDistanceFirst) {
    Affine map(1.3, 0, 0, 1.3, 0, 0);
    const auto profile = Segment(5, 7);
    profile->Transform(&map);
    // The quotient first would give 6.499999999999999 and 9.099999999999998.
    EXPECT_EQ(Read2([&](double* a, double* b) { return profile->GetThickness(0, a, b); }), Point(6.5, 9.1));
}

TEST(Exact, ProfileMeasuresFromALineThatIsNormalisedTwice) {
    struct Case {
        Point from, to, dragged;
        double thickness;
    };
    for (const Case& c :
         {Case{{13, 27}, {46, 1}, {33, 14}, 2.1660527931122964}, Case{{58, 55}, {35, 14}, {25, 32}, -17.5279479482345},
          // The square of its length is no number: it has no direction.
          Case{{0, 0}, {1e200, 0}, {7, -5}, 0.0}}) {
        const auto profile = Create<IROIProfile>(L"ROIProfile");
        profile->AddPoint(c.from.real(), c.from.imag());
        profile->AddPoint(c.to.real(), c.to.imag());
        EXPECT_EQ(profile->SetNodePoint(kProfileMiddle2, 0, c.dragged.real(), c.dragged.imag()), S_OK);
        EXPECT_EQ(Read2([&](double* a, double* b) { return profile->GetThickness(0, a, b); }), Point(20, c.thickness));
    }
    // The sine of its bend is 0.0001 to the last bit, and its outlines meet.
    const auto bend = Segment(2, 3);
    bend->SetPoint(1, 100, 0);
    bend->AddPoint(200, 0.010000000050000001);
    bend->SetThickness(1, 4, 5);
    EXPECT_LT(Read2([&](double* x, double* y) { return bend->GetNodePoint(kProfileCorner2, 1, x, y); }).real(), -1000);
}

TEST(Exact, ProfileHasNoExtentWhereItsFirstCornerIsNoNumber) {
    for (const int index : {0, 1}) {
        const auto profile = Segment(2, 4);
        profile->AddPoint(10, 30);
        profile->SetThickness(index, NAN, 4);
        const Point size = Read2([&](double* w, double* h) { return profile->GetBoundingSize(w, h); });
        EXPECT_EQ(std::isnan(size.real()) && std::isnan(size.imag()), index == 0) << size;
    }
}

TEST(Exact, ProfileAddsZeroToItsThirdCoordinatesWhenItMoves) {
    struct Lifting final : Lent<ITransform> {
        int calls = 0;
        Result TransformPoint(double*, double*, double* z) noexcept override {
            *z = calls++ == 0 ? -0.0 : 1.5;
            return S_OK;
        }
    } transform;
    const auto profile = Segment(2, 4);
    profile->Transform(&transform);
    EXPECT_TRUE(std::signbit(Records(profile.Get())[0].z));
    profile->SetCenter(30, 40);
    const auto records = Records(profile.Get());
    EXPECT_EQ(records[0].z, 0.0);
    EXPECT_FALSE(std::signbit(records[0].z));
    EXPECT_EQ(records[1].z, 1.5);
}

// ---------------------------------------------------------------------------------------------------

TEST(Exact, ComponentsComeFromTheCollectionThatTheHostHandsOver) {
    struct Collection final : Lent<IComponentCollection> {
        SizedImage image{2, 3};
        std::wstring name;
        Result GetItem(int, IUnknown**) noexcept override { return E_FAIL; }
        Result FindByName(IString*, int*) noexcept override { return E_FAIL; }
        Result CreateComponent(tagREFString className, const IID&, void** out) noexcept override {
            name = Wide(className);
            image.AddRef();
            *out = static_cast<ICIF*>(&image);
            return S_OK;
        }
    } mine;
    const auto usual = SmartPtr<IComponentCollection>::Share(GlobalCollection());
    for (int i = 0; i < 2; ++i) {
        UseComponents(&mine);
        EXPECT_EQ(mine.references, 2);
    }
    EXPECT_EQ(CreateComponent<ICIF>(Text(L"Picture")).Get(), &mine.image);
    EXPECT_EQ(mine.name, L"Picture");
    UseComponents(usual.Get());
    EXPECT_EQ(mine.references, 1);
    EXPECT_EQ(GLOBALComponents().Get(), usual.Get());
}

}  // namespace

// What the figures do beyond what `roi check` asks of any build: where the contract leaves the choice.
#include <cmath>
#include <cstring>
#include <limits>

#include "Harness.h"

namespace {

using Limits = std::numeric_limits<double>;

SmartPtr<IROIProfile> Profile(const std::vector<Point>& points = {}) {
    auto figure = Create<IROIProfile>(L"ROIProfile");
    for (const Point& p : points) {
        EXPECT_EQ(figure->AddPoint(p.real(), p.imag()), S_OK);
    }
    return figure;
}

int Count(IROIProfile* figure) {
    int count = 0;
    EXPECT_EQ(figure->GetNumberPoints(&count), S_OK);
    return count;
}

bool Hits(IROI* figure, Point p) { return figure->HitTest(p.real(), p.imag(), nullptr) == S_OK; }

// A staircase along x of 400 points, 5 to the right and by turns 3 down and 2 up, a unit thick to both sides.
SmartPtr<IROIProfile> Staircase() {
    std::vector<Point> points;
    for (int i = 0; i < 400; ++i) {
        points.emplace_back(5 * i, 3 * (i % 2) + i / 2);
    }
    auto figure = Profile(points);
    EXPECT_EQ(figure->SetUniformThickness(1, 1), S_OK);
    return figure;
}

/// A change of the staircase, and two points that were hit and missed before it, and are missed and hit after it.
struct Change {
    const char* name;
    void (*act)(IROIProfile* figure);
    Point leaves, reaches;
};
const Change kChanges[] = {
    {"AddPoint", [](IROIProfile* f) { f->AddPoint(1995, -300); }, {NAN, 0}, {1995, -250}},
    {"InsertPoint", [](IROIProfile* f) { f->InsertPoint(200, 997, -300); }, {NAN, 0}, {998, -250}},
    {"SetPoint", [](IROIProfile* f) { f->SetPoint(200, 900, 80); }, {NAN, 0}, {902, 82}},
    {"RemovePoint", [](IROIProfile* f) { f->RemovePoint(0); }, {-0.5, -0.5}, {Limits::quiet_NaN(), 0}},
    {"SetThickness", [](IROIProfile* f) { f->SetThickness(200, 60, 20); }, {NAN, 0}, {1020, 130}},
    {"SetUniformThickness", [](IROIProfile* f) { f->SetUniformThickness(-1, 0.5); }, {-0.5, 0}, {NAN, 0}},
    {"SetNodePoint of a segment",
     [](IROIProfile* f) { f->SetNodePoint(kProfileSegment, 0, 1000, -200); },
     {-0.5, 0},
     {1000, -200}},
    {"SetNodePoint of a middle",
     [](IROIProfile* f) { f->SetNodePoint(kProfileMiddle1, 0, 50, -80); },
     {NAN, 0},
     {-20, -20}},
    {"SetCenter", [](IROIProfile* f) { f->SetCenter(0, 0); }, {1990, 198}, {-990, -100}},
    {"Transform",
     [](IROIProfile* f) {
         Affine map(1, 0, 0, 1, 0, 500);
         f->Transform(&map);
     },
     {1001, 101},
     {1001, 601}},
    {"SetParameters",
     [](IROIProfile* f) {
         SetParameters(f, {{L"Add Start", 1}});
     },
     {NAN, 0},
     {-2.5, -1.5}}};

TEST(Profile, HitsAfterEveryChangeOfHundredsOfPoints) {
    for (const Change& change : kChanges) {
        for (const long failing : {0, 1}) {
            SCOPED_TRACE(change.name);
            auto figure = Staircase();
            FailAllocation(failing);  // Whatever it prepares to be quick, it can do without.
            EXPECT_TRUE(std::isnan(change.leaves.real()) || Hits(figure.Get(), change.leaves));
            FailAllocation(0);
            EXPECT_FALSE(Hits(figure.Get(), change.reaches));
            change.act(figure.Get());
            EXPECT_FALSE(Hits(figure.Get(), change.leaves));
            EXPECT_TRUE(std::isnan(change.reaches.real()) || Hits(figure.Get(), change.reaches));
        }
    }
}

TEST(Profile, PreparesHitsOnceAndAnewAfterAChange) {
    // By box and box, meanwhile, and none behind the last.
    const auto prepares = [](IROIProfile* figure) {
        FailAllocation(1, true);
        const bool found = Hits(figure, {1001, 101}) && !Hits(figure, {1000, 10});
        const bool failed = AllocationHasFailed();
        FailAllocation(0);
        EXPECT_TRUE(found);
        EXPECT_TRUE(Hits(figure, {1001, 101})) << "and is ready from now on";
        return failed;
    };
    auto figure = Staircase();
    EXPECT_TRUE(prepares(figure.Get()));
    double x = 0, y = 0, angle = 0;
    figure->GetPoint(200, &x, &y, &angle, nullptr, nullptr);
    EXPECT_EQ(figure->GetBoundingSize(&x, &y), S_OK);
    EXPECT_FALSE(prepares(figure.Get())) << "questions change no segment";
    figure->SetThickness(7, 2, 3);
    EXPECT_TRUE(prepares(figure.Get()));
}

TEST(Profile, HitsEverySegmentOfHundredsAndNothingBetween) {
    // Along x and, mirrored, along y: the index takes the longer way.
    for (const bool alongY : {false, true}) {
        auto figure = Staircase();
        if (alongY) {
            Affine mirror(0, 1, 1, 0, 0, 0);
            EXPECT_EQ(figure->Transform(&mirror), S_OK);
            EXPECT_EQ(figure->SetUniformThickness(1, 1), S_OK);
        }
        const auto at = [&](double x, double y) { return Hits(figure.Get(), alongY ? Point(y, x) : Point(x, y)); };
        for (int i = 0; i + 1 < 400; ++i) {
            const double y0 = 3 * (i % 2) + i / 2;
            const double y1 = 3 * ((i + 1) % 2) + (i + 1) / 2;
            ASSERT_TRUE(at(5 * i + 2.5, std::min(y0, y1) - 0.9)) << i;
            ASSERT_TRUE(at(5 * i + 2.5, std::max(y0, y1) + 0.9)) << i;
            ASSERT_FALSE(at(5 * i + 2.5, std::min(y0, y1) - 1.1)) << i;
            ASSERT_FALSE(at(5 * i + 2.5, std::max(y0, y1) + 1.1)) << i;
        }
        EXPECT_TRUE(at(-0.9, -0.9));
        EXPECT_TRUE(at(1995.9, 201));
        EXPECT_FALSE(at(-1.1, 0));
        EXPECT_FALSE(at(1996.1, 201));
    }
}

TEST(Profile, HitsBesidePointsThatAreNoNumbersAndTinySegments) {
    // An end that is no number leaves the other end's box.
    auto figure = Profile({{10, 20}, {NAN, 30}, {50, 90}, {80, INFINITY}});
    EXPECT_EQ(figure->SetUniformThickness(2, 4), S_OK);
    EXPECT_TRUE(Hits(figure.Get(), {12, 25}));
    EXPECT_FALSE(Hits(figure.Get(), {14, 25}));
    EXPECT_FALSE(Hits(figure.Get(), {NAN, 25}));
    EXPECT_TRUE(Hits(figure.Get(), {60, 1e300}));
    EXPECT_FALSE(Hits(figure.Get(), {60, 80}));
    // The smallest numbers there are: their reciprocals are infinite.
    constexpr double kTiny = Limits::denorm_min();
    figure = Profile({{0, 0}, {kTiny, 0}, {2 * kTiny, kTiny}, {4 * kTiny, 0}});
    EXPECT_EQ(figure->SetUniformThickness(0, 0), S_OK);
    for (const auto& [x, inside] :
         {std::pair(-kTiny, false), {0.0, true}, {kTiny, true}, {4 * kTiny, true}, {5 * kTiny, false}}) {
        EXPECT_EQ(Hits(figure.Get(), {x, 0}), inside) << x;
    }
}

TEST(Profile, AnIndexEqualToTheCountIsSafe) {
    for (int count : {0, 1, 100, 200}) {
        auto figure = Profile(std::vector<Point>(static_cast<std::size_t>(count), Point(3, 4)));
        BlockStream stream;
        ASSERT_EQ(As<IDataPersist>(figure.Get())->Save(&stream, 0), S_OK);
        ASSERT_EQ(As<IDataPersist>(figure.Get())->Load(&stream, 0), S_OK) << "which leaves no room behind";
        double v[5] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
        EXPECT_EQ(figure->GetPoint(count, &v[0], &v[1], &v[2], &v[3], &v[4]), S_OK) << count;
        EXPECT_EQ(std::vector<double>(v + 2, v + 5), (std::vector<double>{-1000, 0, 0})) << "never written";
        EXPECT_EQ(figure->SetNodePoint(kProfilePoint, count, 8, 9), S_OK);
        EXPECT_EQ(figure->RemovePoint(count), S_OK);
        EXPECT_EQ(Count(figure.Get()), count - 1);
    }
}

TEST(Profile, CountsOnFromMinusOne) {
    auto figure = Profile();
    EXPECT_EQ(figure->RemovePoint(1), E_INVALIDARG);
    EXPECT_EQ(figure->RemovePoint(0), S_OK);
    EXPECT_EQ(Count(figure.Get()), -1);
    double x = 1, y = 2;
    EXPECT_EQ(figure->GetCenter(&x, &y), E_FAIL);
    EXPECT_EQ(figure->GetThickness(0, &x, &y), E_INVALIDARG);
    EXPECT_EQ(figure->GetNodePoint(kProfilePoint, 0, &x, &y), E_INVALIDARG);
    int column = 1, row = 2;
    EXPECT_EQ(figure->GetNodePointI(kProfilePoint, 0, &column, &row), S_OK);
    EXPECT_EQ(std::pair(column, row), std::pair(0, 0)) << "nothing that lay in memory";
    Affine map;
    EXPECT_EQ(figure->Transform(&map), S_OK);
    EXPECT_TRUE(map.asked.empty());
    SmartPtr<IUnknown> copy;
    EXPECT_EQ(figure->Replicate(copy.Receive()), S_OK);
    EXPECT_EQ(Parameters(figure.Get())[0].value, Value(10.0));
    figure->SetPoint(0, 1, 1);
    BlockStream stream;
    EXPECT_EQ(As<IDataPersist>(figure.Get())->Save(&stream, 0), S_OK);
    EXPECT_EQ(figure->AddPoint(1, 1), S_OK);
    EXPECT_EQ(Count(figure.Get()), 0);
    EXPECT_EQ(figure->InsertPoint(0, 6, 7), S_OK);
    EXPECT_EQ(Count(figure.Get()), 1);
    EXPECT_EQ(figure->GetPoint(0, &x, &y, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(Point(x, y), Point(6, 7));
}

/// Has a count, and nothing else; asks for no memory.
struct CountStream final : Lent<IDataStream, IFolderStream> {
    std::uint32_t count = 0;
    Result WriteBinary(IString*, const void*, int, int) noexcept override { return E_FAIL; }
    Result ReadBinary(IString*, void* data, int bytes, int) noexcept override {
        std::memcpy(data, &count, std::min<std::size_t>(static_cast<std::size_t>(bytes), sizeof count));
        return S_OK;
    }
};

TEST(Profile, RefusesAbsurdCountsWithoutAskingForMemory) {
    auto figure = Profile({{9, 9}});
    CountStream stream;
    // Whether the n-th allocation is asked for, and fails.
    const auto asks = [&](long n) {
        FailAllocation(n);
        const Result code = As<IDataPersist>(figure.Get())->Load(&stream, 0);
        const bool failed = AllocationHasFailed();
        FailAllocation(0);
        EXPECT_EQ(code, E_FAIL) << stream.count;
        EXPECT_EQ(Count(figure.Get()), 1) << stream.count;
        return failed;
    };
    long n = 1;
    for (const std::uint32_t count : {0xFFFFFFFFu, 16777217u, 0x7FFFFFFFu}) {
        stream.count = count;
        while (asks(n)) {
            ++n;
        }
    }
    stream.count = 16777216;
    EXPECT_TRUE(asks(n)) << "the most points that are loaded";
    BlockStream blocks;
    blocks.blocks = {{L"NumberPoints", {2, 0}}};
    EXPECT_EQ(As<IDataPersist>(figure.Get())->Load(&blocks, 0), S_OK);
    EXPECT_EQ(Count(figure.Get()), 0) << "a short count is none";
}

TEST(Profile, ALackOfMemoryLeavesItAsItWas) {
    auto figure = Profile(std::vector<Point>(99, Point(1, 2)));
    const auto both = MakeList({{L"Add Start", 1}, {L"Add End", 1}, {L"Thickness1", 3.0}, {L"Thickness2", 4.0}});
    const auto parametric = As<IParametricObject>(figure.Get());
    for (long n = 1; Count(figure.Get()) == 99; ++n) {
        FailAllocation(n);
        const Result code = parametric->SetParameters(both.Get());
        EXPECT_TRUE(AllocationHasFailed() || code == S_OK);
        FailAllocation(0);
        ASSERT_EQ(Count(figure.Get()), code == S_OK ? 101 : 99) << "whole or not at all";
    }
    figure = Profile(std::vector<Point>(100, Point(1, 2)));
    FailAllocation(1);
    EXPECT_EQ(figure->InsertPoint(3, 4, 5), E_FAIL);
    EXPECT_TRUE(AllocationHasFailed());
    FailAllocation(0);
    EXPECT_EQ(Count(figure.Get()), 100);
    EXPECT_EQ(figure->AddPoint(4, 5), S_OK);
}

TEST(Ring, KeepsTheBitsOfAnAngleThatIsAbsentOrUnusable) {
    for (const wchar_t* name : {L"ROIDonut", L"ROIArcDonut"}) {
        auto figure = Create<IROIArcDonut>(name);
        const Point limits(0.1, -2.3);
        figure->SetLimits(limits.real(), limits.imag());
        SetParameters(figure.Get(), {{L"CenterX", 1.0}, {L"DeltaAngle", L"  "}});
        EXPECT_EQ(Read2([&](double* s, double* d) { return figure->GetLimits(s, d); }), limits);
    }
}

TEST(Ellipse, BoxesAbsurdNumbersAsTheProcessorConverts) {
    auto figure = Create<IROIEllipse>(L"ROIEllipse");
    figure->SetCenter(1e300, NAN);
    figure->SetRadius(INFINITY, 4294967299.0);
    EXPECT_EQ(BoundingRect(figure.Get()), (Box{INT_MIN, INT_MIN, 0, 3}));
    figure->SetCenter(0, 0);
    figure->SetRadius(-2.5, 0);
    EXPECT_EQ(BoundingRect(figure.Get()), (Box{1, 0, 0xFFFFFFFEu, 0}));
}

/// The class's own table: IUnknown, the two hooks, Lock and Unlock, then its operations.
TEST(ClassTable, HasTheOperationsOfTheClassBehindTheObjectBase) {
    const auto arc = Create<IUnknown>(L"ROIArcDonut");
    // Edges from (48, 76) to (64, 88) and from (34, 78) to (22, 94) meet in (40, 70).
    EXPECT_EQ(CallSlot(arc.Get(), 10, 48.0, 76.0, 64.0, 88.0, 34.0, 78.0, 22.0, 94.0), S_OK);
    const auto ring = As<IROIArcDonut>(arc.Get());
    EXPECT_CLOSE(Read2([&](double* x, double* y) { return ring->GetCenter(x, y); }), Point(40, 70));
    EXPECT_CLOSE(Read2([&](double* s, double* d) { return ring->GetLimits(s, d); }), Point(std::atan2(3, 4), M_PI / 2));
    EXPECT_CLOSE(Read2([&](double* x, double* y) { return ring->GetRadius(0, x, y); }), Point(10, 10));
    EXPECT_CLOSE(Read2([&](double* x, double* y) { return ring->GetRadius(1, x, y); }), Point(30, 30));
    EXPECT_EQ(CallSlot(arc.Get(), 10, 48.0, 76.0, 64.0, 88.0, 34.0, 78.0, 50.0, 90.0), E_FAIL);
    // Half a turn less a sine of 0.0001, which still counts.
    EXPECT_EQ(CallSlot(arc.Get(), 10, 0.0, 1.0, 1.0, 1.0, 0.0, 0.0, -1.0, 0.0001000000005), S_OK);

    // A shape has a page, but does not say so.
    SmartPtr<INamedCollection> pages;
    EXPECT_EQ(CallSlot(Create<IUnknown>(L"ROIShape").Get(), 7, 0, pages.Receive(), static_cast<IUnknown**>(nullptr)),
              S_OK);
    tagREFString key{}, page{}, name{};
    ASSERT_EQ(As<IPageListing>(pages.Get())->GetPage(0, &key, &page, &name), S_OK);
    EXPECT_EQ(Wide(key) + L' ' + Wide(page) + L' ' + Wide(name),
              L"Rectangle UIPropPages.UIParametricObjectPropPage ROIShape");
}

}  // namespace

// Donut and arc donut against an independent model of two rings and a sector.
#include <cmath>
#include <functional>

#include "Harness.h"

namespace {

struct RingModel {
    bool arc;
    Point center{50, 50};
    Point radius[2] = {{20, 20}, {30, 30}};  // x along the x axis, y along the y axis
    double start = 0, delta = 2 * M_PI;

    Point At(int ring, double angle) const {
        return center + Point(std::cos(angle) * radius[ring].real(), std::sin(angle) * radius[ring].imag());
    }

    /// False when nothing is to be written.
    bool Node(int node, Point* out) const {
        *out = center;
        if (arc) {
            const int kind = node & 0xFF;
            const double angle = start + (kind == 4 || kind == 5 || kind == 7 ? delta : 0);
            if (kind >= 2 && kind <= 7) {
                *out = kind >= 6 ? (At(0, angle) + At(1, angle)) * 0.5 : At(kind % 2, angle);
            }
            return true;
        }
        if (node >= 2 && node <= 5) {
            const Point r = radius[node / 4];
            *out += node % 2 == 0 ? Point(r.real(), 0) : Point(0, -r.imag());
        }
        return node != 7 && node != 8;
    }

    void SetNode(int argument, Point p) { arc ? SetArcNode(argument, p) : SetDonutNode(argument, p); }

    void SetDonutNode(int argument, Point p) {
        const int kind = argument & 0xFF;
        if (kind < 2 || kind > 5) {
            center = kind == 7 || kind == 8 ? center : p;
            return;
        }
        Point& r = radius[kind / 4];
        const double value = std::abs(kind % 2 == 0 ? p.real() - center.real() : p.imag() - center.imag());
        const bool both = (argument & 0x200) != 0;
        r = {kind % 2 == 0 || both ? value : r.real(), kind % 2 == 1 || both ? value : r.imag()};
    }

    void SetArcNode(int argument, Point p) {
        Point corner[4];
        for (int i = 0; i < 4; ++i) {
            Node(i + 2, &corner[i]);
        }
        const double away = std::abs(p - center), angle = Angle(p - center);
        if (argument == 1) {
            center = p;
        } else if (argument >= 2 && argument <= 5) {
            radius[argument % 2] = {away, away};
        } else if (argument == 6) {
            start = angle;
        } else if (argument == 7) {
            const double d = angle - start;
            const bool small = d < M_PI / 2 && delta < M_PI / 2;
            delta = small || delta * d >= 0 ? d : d + 2 * M_PI;
        } else if (argument >= 0x102 && argument <= 0x105) {
            corner[argument - 0x102] = p;
            SetEdges(corner[0], corner[1], corner[2], corner[3]);
        }
    }

    /// The sector between two edges, by solving p1 + s u1 = p3 + t u2.
    void SetEdges(Point p1, Point p2, Point p3, Point p4) {
        const Point u1 = Unit(p2 - p1), u2 = Unit(p4 - p3);
        const double det = Cross(u1, u2);
        if (std::abs(Angle(u1) - Angle(u2)) < 0.1 || std::abs(det) < 0.0001) {
            return;
        }
        center = p1 + u1 * (Cross(p3 - p1, u2) / det);
        start = Angle(u1);
        delta = Angle(u2) - start;
        delta += delta < M_PI ? 2 * M_PI : 0;
        delta -= delta > M_PI ? 2 * M_PI : 0;
        radius[0] = Point(1, 1) * std::abs(p1 - center);
        radius[1] = Point(1, 1) * std::abs(p2 - center);
    }

    /// Whether rounding errors could change what the drag does, or would grow in it.
    bool Fragile(int argument, Point p) const {
        if (!arc || argument < 6) {
            return false;
        }
        const double angle = Angle(p - center);
        if (argument == 7) {
            const double d = angle - start;
            return std::abs(d) < 1e-6 || std::abs(d - M_PI / 2) < 1e-6 || std::abs(delta - M_PI / 2) < 1e-6;
        }
        Point corner[4];
        for (int i = 0; i < 4; ++i) {
            Node(i + 2, &corner[i]);
        }
        if (argument >= 0x102 && argument <= 0x105) {
            corner[argument - 0x102] = p;
        }
        const Point e1 = corner[1] - corner[0], e2 = corner[3] - corner[2];
        if (std::abs(e1) < 1 || std::abs(e2) < 1) {
            return true;
        }
        const double a1 = Angle(e1), a2 = Angle(e2), apart = std::abs(a1 - a2);
        return std::abs(Cross(Unit(e1), Unit(e2))) < 0.02 || std::abs(apart - 0.1) < 1e-6 ||
               M_PI - std::abs(a1) < 1e-6 || M_PI - std::abs(a2) < 1e-6;
    }

    bool Inside(Point p, double* margin) const {
        const double square = std::norm(p - center);
        const double s0 = radius[0].real() * radius[0].imag(), s1 = radius[1].real() * radius[1].imag();
        const bool swapped = radius[0].real() > radius[1].real();
        *margin = std::min(std::abs(square - s0), std::abs(square - s1));
        return square >= (swapped ? s1 : s0) && square <= (swapped ? s0 : s1);
    }

    void Transform(const Affine& map) {
        const Point old = center;
        center = map.Map(old);
        for (Point& r : radius) {
            r = {std::abs(map.Map(old + r.real()) - center), std::abs(map.Map(old + Point(0, r.imag())) - center)};
        }
    }

    static double Cross(Point a, Point b) { return a.real() * b.imag() - a.imag() * b.real(); }
    static Point Unit(Point v) { return v / std::abs(v); }
};

const wchar_t* const kRadii[2][4] = {{L"RadiusX1", L"RadiusY1", L"RadiusX2", L"RadiusY2"},
                                     {L"Radius1X", L"Radius1Y", L"Radius2X", L"Radius2Y"}};

class RingDriver {
  public:
    RingDriver(bool arc, unsigned seed) : m_random(seed), m_model{arc} {
        m_figure = Create<IROIArcDonut>(arc ? L"ROIArcDonut" : L"ROIDonut");
    }

    void Run(int steps) {
        for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(Step() + ", step " + std::to_string(i));
            Compare(m_figure.Get(), m_model);
            if (m_random.Chance(0.2)) {
                CompareMask();
            }
        }
    }

  private:
    std::string Step() {
        IROIArcDonut* figure = m_figure.Get();
        const Point p = m_random.PointIn(0, 120);
        switch (m_random.Below(10)) {
            case 0:
                EXPECT_EQ(figure->SetCenter(p.real(), p.imag()), S_OK);
                m_model.center = p;
                return "SetCenter";
            case 1: {
                const int ring = m_random.Below(4) - 1;
                const Point r = m_random.PointIn(m_random.Chance(0.1) ? -20 : 1, 60);
                EXPECT_EQ(figure->SetRadius(ring, r.real(), r.imag()), S_OK);
                m_model.radius[ring != 0] = r;
                m_cached.Reset();
                return "SetRadius";
            }
            case 2:
                m_model.start = m_random.In(-4, 4);
                m_model.delta = m_random.In(-7, 7);
                EXPECT_EQ(figure->SetLimits(m_model.start, m_model.delta), S_OK);
                return "SetLimits";
            case 3:
                return Transform();
            case 4:
                return Clone();
            case 5:
                return GiveParameters();
            default: {
                const int flags[] = {0, 0x100, 0x200, 0x300};
                const int argument = m_random.Below(11) | flags[m_random.Below(4)];
                if (m_model.Fragile(argument, p)) {
                    return "no drag";
                }
                EXPECT_EQ(figure->SetNode(argument, p.real(), p.imag()), S_OK);
                m_model.SetNode(argument, p);
                m_cached.Reset();
                return "drag " + std::to_string(argument & 0xFF) + " flags " + std::to_string(argument >> 8);
            }
        }
    }

    std::string Transform() {
        Affine map = m_random.Map();
        const Point c = m_model.center, r0 = m_model.radius[0], r1 = m_model.radius[1];
        const std::vector<Point> order = {c, c + r0.real(), c + Point(0, r0.imag()), c + r1.real(),
                                          c + Point(0, r1.imag())};
        EXPECT_EQ(m_figure->Transform(&map), S_OK);
        EXPECT_EQ(map.asked, order);
        EXPECT_TRUE(map.zWasZero);
        m_model.Transform(map);
        m_cached.Reset();
        return "Transform";
    }

    std::string Clone() {
        SmartPtr<IUnknown> copy;
        EXPECT_EQ(As<IReplicableObject>(m_figure.Get())->Replicate(copy.Receive()), S_OK);
        RingModel model = m_model;
        SCOPED_TRACE("the copy");
        Compare(As<IROIArcDonut>(copy.Get()).Get(), model);
        return "Replicate";
    }

    std::string GiveParameters() {
        std::vector<Item> items;
        auto offer = [&](const wchar_t* name, auto store) {
            if (m_random.Chance(0.4)) {
                const double value = m_random.In(1, 70);
                items.push_back({name, m_random.Chance(0.3) ? Value(std::to_wstring(value)) : Value(value)});
                store(items.back().value.index() == 2 ? std::stod(std::to_wstring(value)) : value);
            }
        };
        Point& c = m_model.center;
        offer(L"CenterX", [&](double v) { c.real(v); });
        offer(L"CenterY", [&](double v) { c.imag(v); });
        for (int name = 0; name < 4; ++name) {
            Point& r = m_model.radius[name / 2];
            offer(kRadii[m_model.arc][name], [&](double v) { name % 2 == 0 ? r.real(v) : r.imag(v); });
            offer(kRadii[!m_model.arc][name], [](double) {});
        }
        offer(L"StartAngle", [&](double v) { m_model.start = v * M_PI / 180; });
        offer(L"DeltaAngle", [&](double v) { m_model.delta = v * M_PI / 180; });
        EXPECT_EQ(SetParameters(m_figure.Get(), items), S_OK);
        return "SetParameters of " + testing::PrintToString(items);
    }

    void TakeOver(IROIArcDonut* figure, RingModel& model) {
        const Point center = Read2([&](double* x, double* y) { return figure->GetCenter(x, y); });
        const Point limits = Read2([&](double* s, double* d) { return figure->GetLimits(s, d); });
        EXPECT_CLOSE(center, model.center);
        EXPECT_CLOSE(limits, Point(model.start, model.delta));
        for (int ring = 0; ring < 2; ++ring) {
            const Point radius = Read2([&](double* x, double* y) { return figure->GetRadius(ring * 5, x, y); });
            EXPECT_CLOSE(radius, model.radius[ring]);
            model.radius[ring] = radius;
        }
        model.center = center;
        model.start = limits.real();
        model.delta = limits.imag();
    }

    void Compare(IROIArcDonut* figure, RingModel& model) {
        TakeOver(figure, model);
        const Point r0 = model.radius[0], r1 = model.radius[1];
        const Point size(2 * std::max(r0.real(), r1.real()), 2 * std::max(r0.imag(), r1.imag()));
        EXPECT_EQ(Read2([&](double* x, double* y) { return figure->GetBoundingSize(x, y); }), size);
        const Point corner = model.center - size * 0.5;
        if (!NearHalf(corner.real()) && !NearHalf(corner.imag()) && !NearHalf(size.real()) && !NearHalf(size.imag())) {
            const Box box = {Rounded(corner.real()), Rounded(corner.imag()), unsigned(Rounded(size.real())),
                             unsigned(Rounded(size.imag()))};
            EXPECT_EQ(BoundingRect(figure), box);
        }
        for (int node = -1; node < 12; ++node) {
            const int argument = node | (m_random.Below(4) << 8);
            Point expected;
            const bool written = model.Node(argument, &expected);
            EXPECT_CLOSE(Read2([&](double* x, double* y) { return figure->GetNode(argument, x, y); }),
                         written ? expected : Point(kUntouched, kUntouched))
                << "node " << argument;
        }
        for (int i = 0; i < 4; ++i) {
            const Point p = model.center + m_random.PointIn(-60, 60);
            double margin = 0;
            const bool inside = model.Inside(p, &margin);
            int hit = 5;
            if (margin > 1e-3) {
                EXPECT_EQ(figure->HitTest(p.real(), p.imag(), &hit), inside ? S_OK : E_FAIL) << p;
                EXPECT_EQ(hit, inside);
            }
        }
        const wchar_t* const* names = kRadii[model.arc];
        EXPECT_EQ(Parameters(figure), (std::vector<Item>{{L"CenterX", model.center.real()},
                                                         {L"CenterY", model.center.imag()},
                                                         {names[0], r0.real()},
                                                         {names[1], r0.imag()},
                                                         {names[2], r1.real()},
                                                         {names[3], r1.imag()},
                                                         {L"StartAngle", 180.0 * model.start / 3.141592653589793},
                                                         {L"DeltaAngle", 180.0 * model.delta / 3.141592653589793}}));
    }

    /// The same image comes again until SetNode, SetRadius or Transform empties the cache.
    void CompareMask() {
        SmartPtr<ICIF> mask;
        const Result code = m_figure->GetMask(mask.Receive());
        const Box box = BoundingRect(m_figure.Get());
        if (!m_cached && (static_cast<int>(box.width) <= 1 || static_cast<int>(box.height) <= 1)) {
            EXPECT_EQ(code, E_FAIL);
            EXPECT_FALSE(mask);
            return;
        }
        EXPECT_EQ(code, S_OK);
        EXPECT_TRUE(m_cached ? mask.Get() == m_cached.Get() : mask.Get() != m_lastMask.Get());
        m_cached = mask;
        m_lastMask = mask;
    }

    Random m_random;
    RingModel m_model;
    SmartPtr<IROIArcDonut> m_figure;
    SmartPtr<ICIF> m_cached, m_lastMask;
};

class Ring : public testing::TestWithParam<bool> {
  protected:
    SmartPtr<IROIArcDonut> Make() const { return Create<IROIArcDonut>(Name()); }
    const wchar_t* Name() const { return GetParam() ? L"ROIArcDonut" : L"ROIDonut"; }
};

INSTANTIATE_TEST_SUITE_P(Classes, Ring, testing::Bool(),
                         [](const auto& info) { return info.param ? "ArcDonut" : "Donut"; });

TEST_P(Ring, BehavesLikeItsModelUnderRandomOperations) {
    for (unsigned seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RingDriver(GetParam(), seed).Run(200);
    }
}

TEST_P(Ring, KeepsTheBitsOfAnAngleThatIsAbsentOrUnusable) {
    auto figure = Make();
    Random random(8);
    for (int i = 0; i < 50; ++i) {
        const Point limits(random.In(-7, 7), random.In(-7, 7));
        figure->SetLimits(limits.real(), limits.imag());
        SetParameters(figure.Get(), {{L"CenterX", 1.0}, {L"DeltaAngle", L"  "}});
        EXPECT_EQ(Read2([&](double* s, double* d) { return figure->GetLimits(s, d); }), limits);
    }
    double delta = kUntouched;
    EXPECT_EQ(figure->GetLimits(nullptr, &delta), S_OK);
    EXPECT_EQ(figure->GetLimits(&delta, nullptr), S_OK);
    EXPECT_EQ(As<IParametricObject>(figure.Get())->SetParameters(nullptr), E_INVALIDARG);
}

TEST_P(Ring, CachesItsMaskAcrossEverythingButNodesRadiiAndTransforms) {
    auto figure = Make();
    auto mask = [&] {
        SmartPtr<ICIF> image;
        EXPECT_EQ(figure->GetMask(image.Receive()), S_OK);
        return image;
    };
    auto first = mask();
    figure->SetCenter(80, 80);
    figure->SetLimits(1, 1);
    SetParameters(figure.Get(), {{kRadii[GetParam()][2], 45.0}});
    EXPECT_EQ(mask().Get(), first.Get());
    Affine identity;
    figure->Transform(nullptr);
    EXPECT_EQ(mask().Get(), first.Get()) << "a refused transform changes nothing";
    const std::vector<std::pair<const char*, std::function<void()>>> changes = {
        {"SetRadius", [&] { figure->SetRadius(0, 20, 20); }},
        {"Transform", [&] { figure->Transform(&identity); }},
        {"SetNode of nothing", [&] { figure->SetNode(8, 1, 1); }},
        {"a refused reshaping", [&] { figure->SetNode(0x102, 1, 1); }}};
    for (const auto& [name, change] : changes) {
        auto before = mask();
        change();
        EXPECT_NE(mask().Get(), before.Get()) << name;
    }
    figure->SetRadius(0, 0.25, 20);
    figure->SetRadius(1, 0.25, 20);
    ICIF* none = first.Get();
    EXPECT_EQ(figure->GetMask(&none), E_FAIL);
    EXPECT_EQ(none, nullptr);
}

TEST_P(Ring, TestsAgainstTheProductOfTheRadii) {
    auto figure = Make();
    for (const auto& [x, inside] : {std::pair(70.0, true), {80.0, true}, {69.9, false}, {80.1, false}, {50.0, false}}) {
        EXPECT_EQ(figure->HitTest(x, 50, nullptr), inside ? S_OK : E_FAIL) << x;
    }
    figure->SetRadius(0, 5, 5);
    figure->SetRadius(1, 40, 10);
    EXPECT_EQ(figure->HitTest(80, 50, nullptr), E_FAIL);
    EXPECT_EQ(figure->HitTest(50, 70, nullptr), S_OK);
    // With equal x radii ring 0 is the inner one.
    figure->SetRadius(0, 10, 5);
    figure->SetRadius(1, 10, 20);
    EXPECT_EQ(figure->HitTest(60, 50, nullptr), S_OK);
    figure->SetRadius(0, 10, 40);
    EXPECT_EQ(figure->HitTest(67, 50, nullptr), E_FAIL);
    EXPECT_EQ(figure->Transform(nullptr), E_INVALIDARG);
}

TEST(ArcDonut, ReshapesBetweenItsEdgesAndRefusesNearlyParallelOnes) {
    auto figure = Create<IROIArcDonut>(L"ROIArcDonut");
    const Point before(0.3, 1.2);
    for (double apart : {0.05, -0.05, M_PI, -M_PI, 2 * M_PI}) {
        figure->SetLimits(before.real(), apart);
        const Point p3 = Read2([&](double* x, double* y) { return figure->GetNode(3, x, y); });
        EXPECT_EQ(figure->SetNode(0x103, p3.real(), p3.imag()), S_OK);
        EXPECT_EQ(Read2([&](double* s, double* d) { return figure->GetLimits(s, d); }), Point(0.3, apart));
    }
    figure->SetLimits(0, -M_PI / 2);
    figure->SetNode(0x103, 90, 50);
    EXPECT_CLOSE(Read2([&](double* s, double* d) { return figure->GetLimits(s, d); }), Point(0, -M_PI / 2));
    EXPECT_CLOSE(Read2([&](double* x, double* y) { return figure->GetRadius(1, x, y); }), Point(40, 40));
    EXPECT_CLOSE(Read2([&](double* x, double* y) { return figure->GetCenter(x, y); }), Point(50, 50));
}

}  // namespace

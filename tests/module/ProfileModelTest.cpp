// The profile against an independent model: corners by solving for the offset lines' meeting point.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

#include "Harness.h"

namespace {

struct ProfileModel {
    struct Record {
        Point at;
        double thickness[2];
    };
    std::vector<Record> points;

    int Count() const { return static_cast<int>(points.size()); }

    /// The line of a segment as n * p = e, n pointing to the thickness-1 side.
    struct Line {
        Point n;
        double e;
    };
    Line SegmentLine(int i) const {
        const Point from = points[i].at, along = points[i + 1].at - from;
        const Point n = along == Point() ? Point(-1, 0) : Point(along.imag(), -along.real()) / std::abs(along);
        return {n, along == Point() ? 0 : Dot(n, from)};
    }
    double NormalAngle(int i) const {
        if (Count() < 2) {
            return -1000.0;
        }
        const Point chord = points[std::min(i + 1, Count() - 1)].at - points[std::max(i - 1, 0)].at;
        return std::atan2(-chord.real() + 0.0, chord.imag());
    }

    static double Dot(Point a, Point b) { return a.real() * b.real() + a.imag() * b.imag(); }
    static double Cross(Point a, Point b) { return a.real() * b.imag() - a.imag() * b.real(); }

    /// side 0 is the thickness-1 outline, side 1 the other.
    Point Corner(int side, int i) const {
        const double sign = side == 0 ? 1 : -1;
        if (i >= 1 && i < Count() - 1) {
            const Line p = SegmentLine(i - 1), n = SegmentLine(i);
            const double det = Cross(p.n, n.n);
            if (std::abs(det) >= 0.0001) {
                const double ep = p.e + sign * points[i - 1].thickness[side],
                             en = n.e + sign * points[i].thickness[side];
                return Point(ep * n.n.imag() - en * p.n.imag(), en * p.n.real() - ep * n.n.real()) / det;
            }
        }
        const int owner = i > 0 && i == Count() - 1 ? i - 1 : i;
        return points[i].at + sign * points[owner].thickness[side] * std::polar(1.0, NormalAngle(i));
    }

    /// False for an index out of range and the middles of the last point.
    bool Node(int kind, int i, Point* out) const {
        if (i < 0 || i >= Count() || (kind >= 4 && kind <= 6 && i + 1 >= Count())) {
            return false;
        }
        auto plain = [&](int k, int at) { return k == 2 || k == 3 ? Corner(k - 2, at) : points[at].at; };
        *out = kind >= 4 && kind <= 6
                   ? (plain(kind == 6 ? 1 : kind - 2, i) + plain(kind == 6 ? 1 : kind - 2, i + 1)) * 0.5
                   : plain(kind, i);
        return true;
    }

    /// Whether a corner lies so near the parallel case that rounding errors grow or decide.
    bool Fragile() const {
        for (int i = 1; i + 1 < Count(); ++i) {
            const double det = std::abs(Cross(SegmentLine(i - 1).n, SegmentLine(i).n));
            if (det > 1e-9 && det < 0.01) {
                return true;
            }
        }
        for (const Record& r : points) {
            if (std::abs(r.at) > 1e4 || std::abs(r.thickness[0]) > 1e3 || std::abs(r.thickness[1]) > 1e3) {
                return true;
            }
        }
        return false;
    }

    void Insert(int index, Point at) {
        const int p = index < 0 || index > Count() ? Count() : index;
        Record record{at, {20, 20}};
        if (p > 0 || Count() >= 2) {
            const Record& neighbour = points[std::max(p - 1, 0)];
            record = {at, {neighbour.thickness[0], neighbour.thickness[1]}};
        }
        points.insert(points.begin() + p, record);
    }

    void Remove(int index) { points.erase(points.begin() + std::min(index, Count() - 1)); }

    Result Drag(int kind, int i, Point p) {
        const bool middle = kind >= 4 && kind <= 6;
        if (i < 0 || i > Count()) {
            return E_INVALIDARG;
        }
        if (kind == 2 || kind == 3) {
            return E_NOTIMPL;
        }
        if (middle && i + 1 >= Count()) {
            return E_INVALIDARG;
        }
        if (kind == 6) {
            const Point by = p - (points[i].at + points[i + 1].at) * 0.5;
            points[i].at += by;
            points[i + 1].at += by;
        } else if (middle) {
            const Line line = SegmentLine(i);
            points[i].thickness[kind - 4] = (kind == 4 ? 1 : -1) * (Dot(line.n, p) - line.e);
        } else if (i < Count()) {
            points[i].at = p;
        }
        return S_OK;
    }

    void Extent(Point* low, Point* high) const {
        *low = *high = Corner(0, 0);
        for (int side = 0; side < 2; ++side) {
            for (int i = 0; i < Count(); ++i) {
                const Point c = Corner(side, i);
                *low = {std::min(low->real(), c.real()), std::min(low->imag(), c.imag())};
                *high = {std::max(high->real(), c.real()), std::max(high->imag(), c.imag())};
            }
        }
    }

    bool Hit(Point p, double* margin) const {
        bool hit = false;
        *margin = 1e9;
        for (int i = 0; i + 1 < Count(); ++i) {
            const Point a = points[i].at, b = points[i + 1].at;
            const double h = (points[i].thickness[0] + points[i].thickness[1]) / 2;
            const double inside =
                std::min({p.real() - std::min(a.real(), b.real()) + h, std::max(a.real(), b.real()) + h - p.real(),
                          p.imag() - std::min(a.imag(), b.imag()) + h, std::max(a.imag(), b.imag()) + h - p.imag()});
            hit = hit || inside >= 0;
            *margin = std::min(*margin, std::abs(inside));
        }
        return hit;
    }

    void Transform(const Affine& map) {
        for (int i = 0; i < Count(); ++i) {
            Point middle[2];
            const bool measured = Node(4, i, &middle[0]) && Node(5, i, &middle[1]);
            const Point at = points[i].at;
            points[i].at = map.Map(at);
            if (measured && std::abs(middle[0] - at) > 1e-30 && std::abs(middle[1] - at) > 1e-30) {
                for (int side = 0; side < 2; ++side) {
                    points[i].thickness[side] *=
                        std::abs(map.Map(middle[side]) - points[i].at) / std::abs(middle[side] - at);
                }
            }
        }
    }

    void SetParameters(double t1, double t2, const int (&actions)[4]) {
        auto extension = [&](int from, int to) {
            const bool line = Count() > 1;
            const Point p0 = line ? points[from].at : Point(0, 0), p1 = line ? points[to].at : Point(10, 10);
            return p0 + 0.5 * (p0 - p1);
        };
        if (actions[0] != 0) {
            Insert(0, extension(0, 1));
        }
        if (actions[1] != 0) {
            Insert(Count(), extension(Count() - 1, Count() - 2));
        }
        if (actions[2] != 0) {
            Remove(0);
        }
        if (actions[3] != 0) {
            Remove(Count() - 1);
        }
        for (Record& r : points) {
            if (t1 != 0 && t2 != 0) {
                r = {r.at, {t1, t2}};
            }
        }
    }
};

SmartPtr<IROIProfile> Profile(const std::vector<Point>& points = {}) {
    auto figure = Create<IROIProfile>(L"ROIProfile");
    for (Point p : points) {
        EXPECT_EQ(figure->AddPoint(p.real(), p.imag()), S_OK);
    }
    return figure;
}

int Count(IROIProfile* figure) {
    int count = -7;
    EXPECT_EQ(figure->GetNumberPoints(&count), S_OK);
    return count;
}

Point Thickness(IROIProfile* figure, int index) {
    return Read2([&](double* a, double* b) { return figure->GetThickness(index, a, b); });
}

Point NodeOf(IROIProfile* figure, int kind, int index) {
    return Read2([&](double* x, double* y) { return figure->GetNodePoint(ROIPROFILENode(kind), index, x, y); });
}

class ProfileDriver {
  public:
    explicit ProfileDriver(unsigned seed) : m_random(seed) { Renew(); }

    void Run(int steps) {
        for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(Step() + ", step " + std::to_string(i));
            if (m_model.Fragile()) {
                Renew();
            }
            Compare(m_figure.Get(), m_model);
        }
    }

  private:
    void Renew() {
        m_figure = Profile();
        m_model = {};
    }

    /// Often on a coarse grid: collinear and coincident points happen.
    Point NewPoint() {
        return m_random.Chance(0.3) ? Point(m_random.Below(5) * 20.0, m_random.Below(3) * 20.0)
                                    : m_random.PointIn(-50, 150);
    }

    std::string Step() {
        IROIProfile* figure = m_figure.Get();
        const Point p = NewPoint();
        const int count = m_model.Count();
        const int index = m_random.Below(count + 4) - 2;
        const Result bad = index < 0 || index > count ? E_INVALIDARG : S_OK;
        const Point t = m_random.PointIn(-2, 12);
        switch (m_random.Below(12)) {
            case 0:
            case 1:
                EXPECT_EQ(figure->AddPoint(p.real(), p.imag()), S_OK);
                m_model.Insert(count, p);
                return "AddPoint";
            case 2:
                EXPECT_EQ(figure->InsertPoint(index, p.real(), p.imag()), S_OK);
                m_model.Insert(index, p);
                return "InsertPoint " + std::to_string(index);
            case 3:
                if (count == 0) {
                    return "nothing";
                }
                EXPECT_EQ(figure->RemovePoint(index), bad);
                if (bad == S_OK) {
                    m_model.Remove(index);
                }
                return "RemovePoint " + std::to_string(index);
            case 4:
                EXPECT_EQ(figure->SetPoint(index, p.real(), p.imag()), bad);
                if (bad == S_OK && index < count) {
                    m_model.points[index].at = p;
                }
                return "SetPoint " + std::to_string(index);
            case 5: {
                const bool fits = index >= 0 && index < count;
                EXPECT_EQ(figure->SetThickness(index, t.real(), t.imag()), fits ? S_OK : E_INVALIDARG);
                if (fits) {
                    m_model.points[index] = {m_model.points[index].at, {t.real(), t.imag()}};
                }
                return "SetThickness " + std::to_string(index);
            }
            case 6:
                return Move(p);
            case 7:
                return Transform();
            case 8:
                return Clone();
            case 9:
                return Act(t);
            default: {
                const int kind = m_random.Below(9) - 1;
                EXPECT_EQ(figure->SetNodePoint(ROIPROFILENode(kind), index, p.real(), p.imag()),
                          m_model.Drag(kind, index, p));
                return "drag " + std::to_string(kind) + " of " + std::to_string(index);
            }
        }
    }

    std::string Move(Point p) {
        if (m_random.Chance(0.5)) {
            EXPECT_EQ(m_figure->SetUniformThickness(3, 5), S_OK);
            for (auto& r : m_model.points) {
                r = {r.at, {3, 5}};
            }
            return "SetUniformThickness";
        }
        EXPECT_EQ(m_figure->SetCenter(p.real(), p.imag()), m_model.Count() == 0 ? E_FAIL : S_OK);
        if (m_model.Count() > 0) {
            Point low, high;
            m_model.Extent(&low, &high);
            for (auto& r : m_model.points) {
                r.at += p - (low + high) * 0.5;
            }
        }
        return "SetCenter";
    }

    std::string Transform() {
        Affine map = m_random.Map();
        EXPECT_EQ(m_figure->Transform(&map), S_OK);
        m_model.Transform(map);
        return "Transform";
    }

    std::string Clone() {
        SmartPtr<IUnknown> copy;
        EXPECT_EQ(m_figure->Replicate(copy.Receive()), S_OK);
        ProfileModel model = m_model;
        SCOPED_TRACE("the copy");
        Compare(As<IROIProfile>(copy.Get()).Get(), model);
        return "Replicate";
    }

    std::string Act(Point t) {
        int actions[4] = {};
        const bool withThickness = m_random.Chance(0.4);
        std::vector<Item> items;
        if (withThickness) {
            items = {{L"Thickness1", t.real()}, {L"Thickness2", t.imag()}};
        }
        const wchar_t* names[] = {L"Add Start", L"Add End", L"Remove Start", L"Remove End"};
        const bool removable = m_model.Count() >= 2;
        for (int i = 0; i < (removable ? 4 : 2); ++i) {
            actions[i] = m_random.Chance(0.5) ? m_random.Below(3) - 1 : 0;
            if (actions[i] != 0) {
                items.push_back({names[i], actions[i]});
            }
        }
        EXPECT_EQ(SetParameters(m_figure.Get(), items), S_OK);
        m_model.SetParameters(withThickness ? t.real() : 0, withThickness ? t.imag() : 0, actions);
        return "SetParameters of " + testing::PrintToString(items);
    }

    void Compare(IROIProfile* figure, ProfileModel& model) {
        ASSERT_EQ(Count(figure), model.Count());
        for (int i = 0; i < model.Count(); ++i) {
            auto& record = model.points[i];
            double angle = 0, v[4];
            EXPECT_EQ(figure->GetPoint(i, &v[0], &v[1], &angle, &v[2], &v[3]), S_OK);
            EXPECT_CLOSE(Point(v[0], v[1]), record.at) << i;
            EXPECT_CLOSE(Point(v[2], v[3]), Point(record.thickness[0], record.thickness[1])) << i;
            EXPECT_EQ(Thickness(figure, i), Point(v[2], v[3]));
            record = {{v[0], v[1]}, {v[2], v[3]}};
        }
        for (int i = 0; i < model.Count(); ++i) {
            double angle = 0;
            figure->GetPoint(i, nullptr, nullptr, &angle, nullptr, nullptr);
            EXPECT_NEAR(std::remainder(angle - model.NormalAngle(i), 2 * M_PI), 0, 1e-9) << i;
        }
        for (int i = -1; i <= model.Count(); ++i) {
            for (int kind = 0; kind <= 7; ++kind) {
                CompareNode(figure, model, kind, i);
            }
        }
        CompareExtent(figure, model);
        for (int i = 0; i < 4; ++i) {
            const Point p = m_random.PointIn(-60, 160);
            double margin = 0;
            const bool inside = model.Hit(p, &margin);
            int hit = 5;
            if (margin > 1e-6) {
                EXPECT_EQ(figure->HitTest(p.real(), p.imag(), &hit), inside ? S_OK : E_FAIL) << p;
                EXPECT_EQ(hit, inside);
            }
        }
        const Point t = model.Count() > 0 ? Thickness(figure, 0) : Point(10, 10);
        const std::vector<Item> expected = {{L"Thickness1", t.real(), 5}, {L"Thickness2", t.imag(), 5},
                                            {L"Add Start", 0, 8},         {L"Add End", 0, 8},
                                            {L"Remove Start", 0, 8},      {L"Remove End", 0, 8}};
        EXPECT_EQ(Parameters(figure), expected);
    }

    static void CompareNode(IROIProfile* figure, const ProfileModel& model, int kind, int i) {
        Point expected(kUntouched, kUntouched);
        const bool known = model.Node(kind, i, &expected);
        double x = kUntouched, y = kUntouched;
        EXPECT_EQ(figure->GetNodePoint(ROIPROFILENode(kind), i, &x, &y), known ? S_OK : E_INVALIDARG)
            << kind << ", " << i;
        if (known) {
            EXPECT_CLOSE(Point(x, y), expected) << "kind " << kind << " of point " << i;
        }
        int ix = 9, iy = 9;
        EXPECT_EQ(figure->GetNodePointI(ROIPROFILENode(kind), i, &ix, &iy), S_OK);
        if (!known || (!NearHalf(expected.real()) && !NearHalf(expected.imag()))) {
            const Point p = known ? expected : Point();
            EXPECT_EQ(ix, Rounded(p.real()));
            EXPECT_EQ(iy, static_cast<int>(std::trunc(p.imag() + 0.5)));
        }
    }

    static void CompareExtent(IROIProfile* figure, const ProfileModel& model) {
        if (model.Count() == 0) {
            EXPECT_EQ(Read2([&](double* w, double* h) { return figure->GetBoundingSize(w, h); }), Point(0, 0));
            Box box{7, 8, 9, 9};
            EXPECT_EQ(figure->GetBoundingRect(&box.left, &box.top, &box.width, &box.height), S_OK);
            EXPECT_EQ(box, (Box{7, 8, 0, 0}));
            double x = 1, y = 2;
            EXPECT_EQ(figure->GetCenter(&x, &y), E_FAIL);
            EXPECT_EQ(Point(x, y), Point(1, 2));
            return;
        }
        Point low, high;
        model.Extent(&low, &high);
        EXPECT_CLOSE(Read2([&](double* w, double* h) { return figure->GetBoundingSize(w, h); }), high - low);
        EXPECT_CLOSE(Read2([&](double* x, double* y) { return figure->GetCenter(x, y); }), (low + high) * 0.5);
        if (!NearHalf(low.real()) && !NearHalf(low.imag()) && !NearHalf(high.real()) && !NearHalf(high.imag())) {
            const int top = static_cast<int>(std::trunc(low.imag() + 0.5));
            EXPECT_EQ(BoundingRect(figure),
                      (Box{Rounded(low.real()), top, unsigned(Rounded(high.real()) - Rounded(low.real()) + 1),
                           unsigned(static_cast<int>(std::trunc(high.imag() + 0.5)) - top + 1)}));
        }
    }

    Random m_random;
    SmartPtr<IROIProfile> m_figure;
    ProfileModel m_model;
};

TEST(Profile, BehavesLikeItsModelUnderRandomOperations) {
    for (unsigned seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ProfileDriver(seed).Run(150);
    }
}

/// What the figure itself says of its points, for tests that only compare the hit test with them.
ProfileModel ModelOf(IROIProfile* figure) {
    ProfileModel model;
    for (int i = 0; i < Count(figure); ++i) {
        double x = 0, y = 0, t[2] = {};
        figure->GetPoint(i, &x, &y, nullptr, &t[0], &t[1]);
        model.points.push_back({{x, y}, {t[0], t[1]}});
    }
    return model;
}

TEST(Profile, HitsAlikeWithHundredsOfPointsAfterEveryChange) {
    Random random(11);
    auto point = [&] { return random.PointIn(0, 400); };
    std::vector<Point> path(1, point());
    while (path.size() < 400) {
        path.push_back(path.back() + random.PointIn(-6, 6));
    }
    auto figure = Profile(path);
    figure->SetUniformThickness(1, 2);
    int hits = 0;
    for (int step = 0; step < 300 && !HasFailure(); ++step) {
        const int kind = step % 13, index = random.Below(Count(figure.Get()) - 1);
        SCOPED_TRACE(kind);
        const Point near = ModelOf(figure.Get()).points[index].at;
        const Point p = near + random.PointIn(-9, 9);
        Affine map(1, 0.01, -0.01, 1, 0.5, -0.5);
        BlockStream stream;
        const std::function<void()> changes[] = {
            [&] { figure->AddPoint(p.real(), p.imag()); },
            [&] { figure->InsertPoint(index, p.real(), p.imag()); },
            [&] { figure->SetPoint(index, p.real(), p.imag()); },
            [&] { figure->RemovePoint(index); },
            [&] { figure->SetThickness(index, random.In(-3, 30), 1); },
            [&] { figure->SetUniformThickness(random.In(0, 3), 1); },
            [&] { figure->SetNodePoint(kProfileSegment, index, p.real(), p.imag()); },
            [&] { figure->SetNodePoint(kProfileMiddle1, index, p.real(), p.imag()); },
            [&] { figure->SetNodePoint(kProfileMiddle2, index, p.real(), p.imag()); },
            [&] { figure->SetCenter(200 + p.real() / 100, 200); },
            [&] { figure->Transform(&map); },
            [&] {
                As<IDataPersist>(figure.Get())->Save(&stream, 0);
                figure->SetPoint(index, 1e5, 1e5);
                figure->HitTest(0, 0, nullptr);
                As<IDataPersist>(figure.Get())->Load(&stream, 0);
            },
            [&] {
                SetParameters(figure.Get(), {{L"Add Start", 1}, {L"Remove End", 1}});
            }};
        changes[kind]();
        const ProfileModel model = ModelOf(figure.Get());
        FailAllocation(step % 5 == 0 ? 1 : 0);  // Whatever it prepares to be quick, it can do without.
        for (int i = 0; i < 40; ++i) {
            const Point q = i < 20 ? near + random.PointIn(-12, 12) : point();
            double margin = 0;
            const bool inside = model.Hit(q, &margin);
            hits += inside;
            if (margin > 1e-9) {
                ASSERT_EQ(figure->HitTest(q.real(), q.imag(), nullptr), inside ? S_OK : E_FAIL) << q;
            }
        }
        FailAllocation(0);
    }
    EXPECT_GT(hits, 1000);
    // Points that are no numbers take nothing from the segments beside them.
    for (int i = 0; i < 20; ++i) {
        const int index = 20 * i;
        figure->SetPoint(index, i % 2 == 0 ? NAN : INFINITY, i % 3 == 0 ? NAN : 5);
        const ProfileModel model = ModelOf(figure.Get());
        for (int k = index + 1; k + 1 < index + 19; ++k) {
            const Point middle = (model.points[k].at + model.points[k + 1].at) * 0.5;
            const auto& t = model.points[k].thickness;
            if (t[0] + t[1] > 0) {
                ASSERT_EQ(figure->HitTest(middle.real(), middle.imag(), nullptr), S_OK) << k;
            }
        }
    }
}

TEST(Profile, HitsPointsThatLieNextToOneAnother) {
    // The smallest numbers there are: their reciprocals are infinite.
    constexpr double kTiny = std::numeric_limits<double>::denorm_min();
    auto figure = Profile({{0, 0}, {kTiny, 0}, {2 * kTiny, kTiny}, {4 * kTiny, 0}});
    figure->SetUniformThickness(0, 0);
    for (const auto& [x, inside] :
         {std::pair(-kTiny, false), {0.0, true}, {kTiny, true}, {4 * kTiny, true}, {5 * kTiny, false}}) {
        EXPECT_EQ(figure->HitTest(x, 0, nullptr), inside ? S_OK : E_FAIL) << x;
    }
}

TEST(Profile, AnIndexEqualToTheCountIsSafe) {
    for (int count : {0, 1, 99, 100, 101, 200}) {
        auto figure = Profile(std::vector<Point>(static_cast<std::size_t>(count), Point(3, 4)));
        BlockStream stream;
        ASSERT_EQ(As<IDataPersist>(figure.Get())->Save(&stream, 0), S_OK);
        for (const bool reloaded : {false, true}) {
            if (reloaded) {
                ASSERT_EQ(As<IDataPersist>(figure.Get())->Load(&stream, 0), S_OK);
            }
            double v[5] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
            EXPECT_EQ(figure->GetPoint(count, &v[0], &v[1], &v[2], &v[3], &v[4]), S_OK) << count;
            EXPECT_EQ(v[2], -1000.0);
            EXPECT_EQ(std::vector<double>(v + 3, v + 5), std::vector<double>(2, 0.0))
                << "nothing was ever written there";
            EXPECT_EQ(figure->SetPoint(count, 8, 9), S_OK);
            EXPECT_EQ(figure->SetNodePoint(kProfilePoint, count, 8, 9), S_OK);
            EXPECT_EQ(figure->GetPoint(count + 1, nullptr, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
            EXPECT_EQ(figure->SetPoint(-1, 8, 9), E_INVALIDARG);
            EXPECT_EQ(Count(figure.Get()), count);
        }
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
    EXPECT_EQ(figure->SetCenter(x, y), E_FAIL);
    EXPECT_EQ(figure->HitTest(0, 0, nullptr), E_FAIL);
    EXPECT_EQ(figure->GetThickness(0, &x, &y), E_INVALIDARG);
    EXPECT_EQ(figure->GetNodePoint(kProfilePoint, 0, &x, &y), E_INVALIDARG);
    EXPECT_EQ(figure->SetUniformThickness(1, 1), S_OK);
    Affine map;
    EXPECT_EQ(figure->Transform(&map), S_OK);
    EXPECT_TRUE(map.asked.empty());
    SmartPtr<IUnknown> copy;
    EXPECT_EQ(figure->Replicate(copy.Receive()), S_OK);
    EXPECT_EQ(Parameters(figure.Get())[0].value, Value(10.0));
    figure->GetPoint(0, &x, &y, nullptr, nullptr, nullptr);
    figure->SetPoint(0, 1, 1);
    BlockStream stream;
    EXPECT_EQ(As<IDataPersist>(figure.Get())->Save(&stream, 0), S_OK);
    EXPECT_EQ(figure->AddPoint(1, 1), S_OK);
    EXPECT_EQ(Count(figure.Get()), 0);
    EXPECT_EQ(figure->InsertPoint(0, 6, 7), S_OK);
    EXPECT_EQ(Count(figure.Get()), 1);
    EXPECT_EQ(NodeOf(figure.Get(), 1, 0), Point(6, 7));
    SetParameters(figure.Get(), {{L"Remove Start", 1}, {L"Remove End", 1}});
    EXPECT_LE(Count(figure.Get()), 0);
}

TEST(Profile, ExtendsAndShortensByItsActions) {
    auto figure = Profile({{0, 0}, {10, 0}});
    SetParameters(figure.Get(), {{L"Add Start", L"1.9"}, {L"Add End", L"0.5"}});
    ASSERT_EQ(Count(figure.Get()), 3) << "texts are read and truncated";
    EXPECT_EQ(NodeOf(figure.Get(), 1, 0), Point(-5, 0));
    SetParameters(figure.Get(), {{L"Add End", -1}, {L"Thickness1", 3.0}, {L"Thickness2", 0.0}});
    EXPECT_EQ(NodeOf(figure.Get(), 1, 3), Point(15, 0));
    EXPECT_EQ(Thickness(figure.Get(), 3), Point(20, 20));
    for (int points : {0, 1}) {
        auto small = Profile(std::vector<Point>(static_cast<std::size_t>(points), Point(70, 80)));
        SetParameters(small.Get(), {{L"Add Start", 1}});
        EXPECT_EQ(NodeOf(small.Get(), 1, 0), Point(-5, -5));
        EXPECT_EQ(Thickness(small.Get(), 0), Point(20, 20));
    }
    SetParameters(figure.Get(), {{L"Thickness1", std::nan("")}, {L"Thickness2", 2.0}});
    EXPECT_TRUE(std::isnan(Thickness(figure.Get(), 1).real())) << "NaN is not 0";
    EXPECT_EQ(As<IParametricObject>(figure.Get())->SetParameters(nullptr), E_INVALIDARG);
}

std::vector<std::uint8_t> Bytes(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::uint8_t*>(data);
    return std::vector<std::uint8_t>(first, first + size);
}

TEST(Profile, WritesItsRecordsByteForByte) {
    auto figure = Profile({{1.5, -2}, {4, 1e-300}, {7, 8}});
    figure->SetThickness(1, -0.5, 3);
    double angle = 0;
    figure->GetPoint(1, nullptr, nullptr, &angle, nullptr, nullptr);
    figure->GetPoint(0, nullptr, nullptr, nullptr, nullptr, nullptr);
    BlockStream stream;
    auto persist = As<IDataPersist>(figure.Get());
    ASSERT_EQ(persist->Save(&stream, 1234), S_OK);
    const std::uint32_t count = 3;
    double records[3][6] = {{1.5, -2, 0, -1000, 20, 20}, {4, 1e-300, 0, angle, -0.5, 3}, {7, 8, 0, -1000, 20, 20}};
    ASSERT_EQ(stream.blocks.size(), 2u);
    EXPECT_EQ(stream.blocks[0], std::pair(std::wstring(L"NumberPoints"), Bytes(&count, 4)));
    EXPECT_EQ(stream.blocks[1], std::pair(std::wstring(L"Points"), Bytes(records, sizeof records)));
    auto copy = Profile({{1, 1}});
    EXPECT_EQ(As<IDataPersist>(copy.Get())->Load(&stream, 0), S_OK);
    BlockStream again;
    As<IDataPersist>(copy.Get())->Save(&again, 0);
    EXPECT_EQ(again.blocks, stream.blocks);
    // A written point and its neighbours lose their angles.
    for (int i = 0; i < 3; ++i) {
        copy->GetPoint(i, nullptr, nullptr, &angle, nullptr, nullptr);
    }
    copy->SetPoint(0, 0, 0);
    BlockStream reset;
    As<IDataPersist>(copy.Get())->Save(&reset, 0);
    std::memcpy(records, reset.blocks[1].second.data(), sizeof records);
    EXPECT_EQ(records[0][3], -1000.0);
    EXPECT_EQ(records[1][3], -1000.0);
    EXPECT_EQ(records[2][3], angle);
}

TEST(Profile, LoadsShortMissingAndAbsurdBlocksSafely) {
    const double record[6] = {1, 2, 0, 0.5, 3, 4};
    auto load = [](std::vector<std::pair<std::wstring, std::vector<std::uint8_t>>> blocks, IROIProfile* figure) {
        BlockStream stream;
        stream.blocks = std::move(blocks);
        return As<IDataPersist>(figure)->Load(&stream, 0);
    };
    auto countOf = [](std::uint32_t n) { return std::pair(std::wstring(L"NumberPoints"), Bytes(&n, 4)); };
    const std::pair points(std::wstring(L"Points"), Bytes(record, sizeof record));

    auto figure = Profile({{9, 9}});
    // The first load of a process makes what is kept for good: the descriptor of strings.
    load({countOf(0xFFFFFFFFu)}, figure.Get());
    for (std::uint32_t absurd : {16777217u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        const long before = LiveAllocations();
        EXPECT_EQ(load({countOf(absurd), points}, figure.Get()), E_FAIL);
        EXPECT_EQ(Count(figure.Get()), 1);
        EXPECT_EQ(LiveAllocations(), before);
    }
    EXPECT_EQ(load({countOf(3), points}, figure.Get()), S_OK);
    ASSERT_EQ(Count(figure.Get()), 3);
    EXPECT_EQ(Thickness(figure.Get(), 0), Point(3, 4));
    EXPECT_EQ(Thickness(figure.Get(), 2), Point(0, 0));
    EXPECT_EQ(load({countOf(2)}, figure.Get()), S_OK);
    EXPECT_EQ(NodeOf(figure.Get(), 1, 1), Point(0, 0));
    EXPECT_EQ(load({points}, figure.Get()), S_OK);
    EXPECT_EQ(Count(figure.Get()), 0);
    PlainStream plain;
    for (IDataStream* stream : {static_cast<IDataStream*>(&plain), static_cast<IDataStream*>(nullptr)}) {
        EXPECT_EQ(As<IDataPersist>(figure.Get())->Save(stream, 0), E_FAIL);
        EXPECT_EQ(As<IDataPersist>(figure.Get())->Load(stream, 0), E_FAIL);
    }
    EXPECT_EQ(plain.references, 1);
}

TEST(Profile, ALackOfMemoryLeavesItAsItWas) {
    auto figure = Profile(std::vector<Point>(100, Point(1, 2)));
    for (const bool insert : {false, true}) {
        FailAllocation(1);
        EXPECT_EQ(insert ? figure->InsertPoint(3, 4, 5) : figure->AddPoint(4, 5), E_FAIL);
        EXPECT_TRUE(AllocationHasFailed());
        FailAllocation(0);
        EXPECT_EQ(Count(figure.Get()), 100);
        EXPECT_EQ(NodeOf(figure.Get(), 1, 3), Point(1, 2));
    }
    EXPECT_EQ(figure->AddPoint(4, 5), S_OK);
}

}  // namespace

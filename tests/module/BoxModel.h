// An independent model of the rolled box, rectangle and parallelogram alike, in complex arithmetic, and
// the driver that runs it beside a figure.
#pragma once

#include <cmath>
#include <type_traits>

#include "Harness.h"

struct BoxModel {
    bool slanted = false;
    double width = 50, height = 50, roll = 0, shear = 0, aspect = 0, grip = 0;
    Point center{50, 50};
    short lockA = 0;

    Point Turned(Point local) const { return local * std::polar(1.0, roll); }
    Point Local(Point image) const { return (image - center) * std::polar(1.0, -roll); }
    double Lean() const { return height * std::tan(shear); }
    double A() const { return width - Lean(); }
    double B() const { return std::sqrt(Lean() * Lean() + height * height); }

    /// Nodes 10 and 11 raise the grip length.
    Point Node(int node) {
        const double w = width / 2, h = height / 2;
        if (node >= 10) {
            grip = std::max(grip, width / 4);
            return center + grip * std::polar(1.0, node == 10 ? roll : roll - M_PI / 2 - shear);
        }
        const Point local[] = {{0, 0},  {-w, -h}, {w - Lean(), -h}, {w, h}, {-w + Lean(), h},
                               {0, -h}, {w, 0},   {0, h},           {-w, 0}};
        return center + Turned(local[node - 1]);
    }

    Result Drag(int argument, Point p) {
        const int node = argument & 0xFF;
        const bool keepCenter = (argument & 0x100) != 0;
        const bool square = (argument & 0x200) != 0;
        if (node < 1 || node > (slanted && !keepCenter ? 11 : 10)) {
            return E_INVALIDARG;
        }
        if (node == 1) {
            center = p;
            return S_OK;
        }
        if (node >= 10) {
            const double angle = Angle(p - center);
            grip = std::abs(p - center);
            if (node == 11) {
                shear = std::atan2((center - p).real(), (center - p).imag()) + roll;
            } else {
                roll = keepCenter ? kSnap * std::trunc(angle / kSnap + (angle >= 0 ? 0.5 : -0.5)) : angle;
            }
            return S_OK;
        }
        static constexpr double kSides[][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}, {0, -1}, {1, 0}, {0, 1}, {-1, 0}};
        const double sx = kSides[node - 2][0], sy = kSides[node - 2][1];
        const double u = sx * Local(p).real(), v = sy * Local(p).imag();
        const Point opposite = node < 6 ? Node(node < 4 ? node + 2 : node - 2) : Point();
        width = sx == 0 ? width : u + (keepCenter ? u : width / 2);
        height = sy == 0 ? height : v + (keepCenter ? v : height / 2);
        if (square) {
            const double side = sx == 0 ? height : sy == 0 ? width : (width + height) / 2;
            width = height = side;
        }
        if (aspect > 0) {
            if (sy == 0) {
                height = width / aspect;
            } else {
                width = aspect * height;
            }
        }
        const Point half(sx * width / 2, sy * height / 2);
        if (!keepCenter) {
            if (node >= 6) {
                center += Turned({sx * u, sy * v}) - Turned(half);
            } else {
                center = square ? opposite + Turned(half) : p - Turned(half);
            }
        }
        return S_OK;
    }

    /// Whether rounding errors could change what a drag to that point does.
    bool Fragile(int argument, Point p) const {
        return std::abs(p - center) < 1 || ((argument & 0x1FF) == 0x10A && NearHalf(Angle(p - center) / kSnap));
    }

    void Transform(const Affine& map) {
        const Point right = map.Map(Node(7)), bottom = map.Map(Node(8)), left = map.Map(Node(9)),
                    top = map.Map(Node(6));
        center = map.Map(center);
        width = std::abs(right - left);
        height = std::abs(bottom - top);
        roll = Angle(right - left);
        grip = 0;
    }

    void PutShear(double value, bool keepA) {
        const double a = A();
        shear = std::min(1.5, std::max(-1.5, value));
        if (keepA) {
            width = a + Lean();
        }
    }

    void SetParameters(const std::vector<Item>& items) {
        auto read = [&](const wchar_t* name, double* target, bool textCounts = false) {
            for (const Item& item : items) {
                if (item.name == name) {
                    if (const auto* number = std::get_if<double>(&item.value)) {
                        *target = *number;
                    } else if (const auto* integer = std::get_if<int>(&item.value)) {
                        *target = *integer;
                    } else if (textCounts) {
                        *target = std::stod(std::get<std::wstring>(item.value));
                    }
                    return true;
                }
            }
            return false;
        };
        read(L"Width", &width);
        read(L"Height", &height);
        read(slanted ? L"Roll" : L"Angle", &roll);
        roll = M_PI * roll / 180.0;
        double value = lockA;
        if (slanted) {
            read(L"LockA", &value);
            lockA = static_cast<short>(static_cast<int>(value));
            value = 0;
            if (read(L"Shear", &value)) {
                const double radians = value * M_PI / 180.0;
                PutShear(radians, static_cast<short>(static_cast<int>(radians)) != 0);
            }
        } else {
            read(L"FixedAspect", &aspect);
        }
        double x = center.real(), y = center.imag();
        read(L"CenterX", &x, slanted);
        read(L"CenterY", &y, slanted);
        center = {x, y};
        read(L"RollGripLength", &grip);
    }

    std::vector<Item> Parameters() const {
        const double degrees = 180.0 / M_PI;
        std::vector<Item> items = {
            {L"CenterX", center.real()}, {L"CenterY", center.imag()}, {L"Width", width}, {L"Height", height}};
        if (slanted) {
            const std::vector<Item> more = {{L"A", A(), 0x4040005},
                                            {L"B", B(), 0x4040005},
                                            {L"Roll", roll * degrees, 5},
                                            {L"Shear", shear * degrees, 0x8000005},
                                            {L"LockA", int{lockA}, 0xC000013}};
            for (Item& item : items) {
                item.kind = 5;
            }
            items.insert(items.end(), more.begin(), more.end());
        } else {
            items.push_back({L"Angle", roll * degrees});
            items.push_back({L"FixedAspect", aspect});
        }
        items.push_back({L"RollGripLength", grip});
        return items;
    }

    BoxModel Clone() const {
        BoxModel copy = *this;
        copy.grip = 0;
        copy.lockA = 0;
        if (slanted) {
            copy.aspect = 0;
            copy.PutShear(shear, false);
        } else if (aspect > 0) {
            copy.height = width / aspect;
        }
        return copy;
    }

    /// Whether numbers have grown so that rounding errors would no longer stay far below 1e-9.
    bool Wild() const {
        return std::abs(width) > 1e4 || std::abs(height) > 1e4 || std::abs(center) > 1e4 ||
               std::abs(std::tan(shear)) > 20 || std::abs(grip) > 1e4;
    }

    static constexpr double kSnap = 0.26179938783333334;
};

/// Runs model and figure side by side. After every comparison the model takes over the figure's own
/// numbers, so that rounding errors do not pile up.
template <class I>
class BoxDriver {
  public:
    static constexpr bool kSlanted = std::is_same_v<I, IROIParallelogram>;

    BoxDriver(const wchar_t* className, unsigned seed) : m_className(className), m_random(seed) { Renew(); }

    void Run(int steps) {
        for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) {
            const std::string what = Step();
            SCOPED_TRACE(what + ", step " + std::to_string(i));
            Compare(m_figure.Get(), m_model);
            if (m_model.Wild()) {
                Renew();
            }
        }
    }

  private:
    void Renew() {
        m_figure = Create<I>(m_className);
        m_model = BoxModel{};
        m_model.slanted = kSlanted;
    }

    std::string Step() {
        I* figure = m_figure.Get();
        const Point p = m_random.PointIn(-100, 200);
        const double angle = m_random.In(-4, 4);
        const double length = m_random.In(-90, 90);
        switch (m_random.Below(12)) {
            case 0:
                EXPECT_EQ(figure->SetCenter(p.real(), p.imag()), S_OK);
                m_model.center = p;
                return "SetCenter";
            case 1:
                EXPECT_EQ(figure->SetSize(p.real(), p.imag()), S_OK);
                m_model.width = p.real();
                m_model.height = p.imag();
                return "SetSize";
            case 2:
                EXPECT_EQ(figure->put_Roll(angle), S_OK);
                m_model.roll = angle;
                return "put_Roll";
            case 3:
                return Transform();
            case 4:
                return Clone();
            case 5:
                return GiveParameters();
            case 6:
                if constexpr (kSlanted) {
                    return Lean(angle, length);
                } else {
                    const double ratio = m_random.Chance(0.5) ? m_random.In(0.05, 3) : -1.0 * m_random.Below(2);
                    EXPECT_EQ(figure->SetAspectRatio(ratio), S_OK);
                    m_model.aspect = ratio;
                    m_model.height = ratio > 0 ? m_model.width / ratio : m_model.height;
                    return "SetAspectRatio";
                }
            case 7:
                for (int node = 10; node <= (kSlanted ? 11 : 10); ++node) {
                    EXPECT_CLOSE(NodeOf(figure, node), m_model.Node(node)) << "node " << node;
                }
                return "grips";
            default:
                return Drag(p);
        }
    }

    std::string Drag(Point p) {
        const int argument = m_random.Below(13) | (m_random.Below(4) << 8) | (m_random.Chance(0.1) ? 0x1400 : 0);
        if (m_model.Fragile(argument, p)) {
            return "no drag";
        }
        EXPECT_EQ(m_figure->SetCornerPoint(argument, p.real(), p.imag()), m_model.Drag(argument, p));
        return "drag " + std::to_string(argument & 0xFF) + " flags " + std::to_string(argument >> 8);
    }

    std::string Transform() {
        Affine map = m_random.Map();
        const std::vector<Point> order = {m_model.center, m_model.Node(7), m_model.Node(8), m_model.Node(9),
                                          m_model.Node(6)};
        EXPECT_EQ(m_figure->Transform(&map), S_OK);
        EXPECT_EQ(map.asked.size(), order.size());
        for (std::size_t i = 0; i < order.size() && i < map.asked.size(); ++i) {
            EXPECT_CLOSE(map.asked[i], order[i]) << "mapped point " << i;
        }
        EXPECT_TRUE(map.zWasZero);
        m_model.Transform(map);
        return "Transform";
    }

    std::string Clone() {
        SmartPtr<IUnknown> copy;
        EXPECT_EQ(m_figure->Replicate(copy.Receive()), S_OK);
        BoxModel model = m_model.Clone();
        SCOPED_TRACE("the copy");
        Compare(As<I>(copy.Get()).Get(), model);
        return "Replicate";
    }

    std::string GiveParameters() {
        if (!As<IParametricObject>(m_figure.Get())) {
            return "no parameters";
        }
        std::vector<Item> items;
        for (const wchar_t* name : {L"CenterX", L"CenterY", L"Width", L"Height", L"A", L"B", L"Angle", L"Roll",
                                    L"Shear", L"LockA", L"FixedAspect", L"RollGripLength"}) {
            const bool positive = name[0] == L'F' || (name[0] == L'R' && name[4] == L'G');
            const double value = m_random.In(positive ? 0.5 : -90, positive ? 2 : 120);
            if (m_random.Chance(0.4)) {
                const int form = m_random.Below(4);
                items.push_back({name, form == 0                      ? Value(std::to_wstring(value))
                                       : form == 1 || name[0] == L'L' ? Value(static_cast<int>(value) + positive)
                                                                      : Value(value)});
            }
        }
        EXPECT_EQ(SetParameters(m_figure.Get(), items), S_OK);
        m_model.SetParameters(items);
        return "SetParameters of " + testing::PrintToString(items);
    }

    std::string Lean(double angle, double length) {
        const int kind = m_random.Below(3);
        const bool keep = m_random.Chance(0.5);
        if (kind == 0) {
            EXPECT_EQ(m_figure->put_Shear(angle, keep ? 7 : 0), S_OK);
            m_model.PutShear(angle, keep);
        } else if (kind == 1) {
            EXPECT_EQ(m_figure->put_A(length), S_OK);
            m_model.width = length + m_model.Lean();
        } else {
            EXPECT_EQ(m_figure->put_B(length), S_OK);
            m_model.height = std::cos(m_model.shear) * length;
        }
        return "shear, A or B";
    }

    static Point NodeOf(I* figure, int node) {
        return Read2([&](double* x, double* y) { return figure->GetCornerPoint(ROICorner(node), x, y); });
    }

    void TakeOver(I* figure, BoxModel& model) {
        const Point center = Read2([&](double* x, double* y) { return figure->GetCenter(x, y); });
        const Point size = Read2([&](double* x, double* y) { return figure->GetSize(x, y); });
        const Point angles = Read2([&](double* roll, double* other) {
            if constexpr (kSlanted) {
                figure->get_Shear(other);
            } else {
                figure->GetAspectRatio(other);
            }
            return figure->get_Roll(roll);
        });
        EXPECT_CLOSE(center, model.center);
        EXPECT_CLOSE(size, Point(model.width, model.height));
        // Half a turn may come out with either sign.
        EXPECT_NEAR(std::remainder(angles.real() - model.roll, 2 * M_PI), 0, 1e-9);
        EXPECT_NEAR(angles.imag(), kSlanted ? model.shear : model.aspect, 1e-9);
        model.center = center;
        model.width = size.real();
        model.height = size.imag();
        model.roll = angles.real();
        (kSlanted ? model.shear : model.aspect) = angles.imag();
    }

    void Compare(I* figure, BoxModel& model) {
        TakeOver(figure, model);
        const double s = std::abs(std::sin(model.roll)), c = std::abs(std::cos(model.roll));
        const double w = std::abs(model.width), h = std::abs(model.height);
        EXPECT_CLOSE(Read2([&](double* x, double* y) { return figure->GetBoundingSize(x, y); }),
                     Point(s * h + c * w, c * h + s * w));
        if constexpr (kSlanted) {
            EXPECT_CLOSE(Read2([&](double* a, double* b) { return figure->get_A(a) | figure->get_B(b); }),
                         Point(model.A(), model.B()));
        }
        CompareNodes(figure, model);
        for (int i = 0; i < 4; ++i) {
            const Point local = {m_random.In(-1, 1) * w, m_random.In(-1, 1) * h};
            const Point p = model.center + model.Turned(local);
            const double margin = std::min(w / 2 - std::abs(local.real()), h / 2 - std::abs(local.imag()));
            int hit = 5;
            if (std::abs(margin) > 1e-6) {
                EXPECT_EQ(figure->HitTest(p.real(), p.imag(), &hit), margin > 0 ? S_OK : E_FAIL) << p;
                EXPECT_EQ(hit, margin > 0);
            }
        }
        if (As<IParametricObject>(figure)) {
            const std::vector<Item> actual = ::Parameters(figure);
            ExpectClose(actual, model.Parameters());
            model.grip = std::get<double>(actual.back().value);
        }
    }

    void CompareNodes(I* figure, BoxModel& model) {
        bool safe = true;
        std::vector<double> xs, ys;
        for (int node = 1; node <= 9; ++node) {
            const Point expected = model.Node(node);
            EXPECT_CLOSE(NodeOf(figure, node), expected) << "node " << node;
            const bool near = NearHalf(expected.real()) || NearHalf(expected.imag());
            if constexpr (!kSlanted) {
                int x = 0, y = 0;
                EXPECT_EQ(figure->GetCornerPointI(ROICorner(node), &x, &y), S_OK);
                EXPECT_TRUE(near || (x == Rounded(expected.real()) && y == Rounded(expected.imag()))) << node;
            }
            if (node >= 2 && node <= 5) {
                safe = safe && !near;
                xs.push_back(expected.real());
                ys.push_back(expected.imag());
            }
        }
        if (safe) {
            const auto [left, right] = std::minmax_element(xs.begin(), xs.end());
            const auto [top, bottom] = std::minmax_element(ys.begin(), ys.end());
            const Box box = {Rounded(*left), Rounded(*top), unsigned(Rounded(*right) - Rounded(*left) + 1),
                             unsigned(Rounded(*bottom) - Rounded(*top) + 1)};
            EXPECT_EQ(BoundingRect(figure), box);
        }
    }

    const wchar_t* m_className;
    Random m_random;
    SmartPtr<I> m_figure;
    BoxModel m_model;
};

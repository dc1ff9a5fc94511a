// Siblings that masks are drawn with: the image and the drawing object; and the module's figures over all
// siblings together. How exactly outlines are drawn is the drawing object's business: pixels near them are
// left out.
#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

#include "check/SiblingChecks.h"
#include "contract/Extensions.h"
#include "contract/IROI.h"
#include "contract/Module.h"
#include "framework/support/NamedValues.h"
#include "framework/support/Utf8.h"

namespace {

constexpr int kSet = 255;

struct Size {
    int width;
    int height;
};

SmartPtr<ICIF> NewImage(SiblingChecks& checks) { return checks.Made<ICIFImageCANVAS>(Text(L"CIFImageCANVAS")); }

// The size that an image tells. There is room for eight bytes where the third output goes.
Size SizeOf(ICIF& image) {
    Size size = {-1, -1};
    std::int64_t extra = 0;
    image.GetSize(&size.width, &size.height, reinterpret_cast<int*>(&extra));
    return size;
}

// The pixels of an image, for those that let them be read: that takes an interface that is the host's own.
class Pixels {
  public:
    explicit Pixels(const SmartPtr<ICIF>& image) : m_pixels(SmartPtr<IPixels>::QueryFrom(image.Get())) {
        int planes = 0;
        int bits = 0;
        if (!m_pixels) {
            return;
        }
        const Result code = m_pixels->GetPixels(&m_data, &m_stride, &planes, &bits);
        if (Failed(code) || m_data == nullptr || planes != 1 || bits != 8) {
            throw CheckFailed{"pixels of one plane of 8 bits",
                              fmt::format("{}, {} of {}", CodeText(code), planes, bits)};
        }
        size = SizeOf(*image);
    }

    Size size = {0, 0};
    bool AreReadable() const noexcept { return static_cast<bool>(m_pixels); }
    int At(int x, int y) const noexcept { return m_data[static_cast<std::ptrdiff_t>(y) * m_stride + x]; }
    bool IsSet(int x, int y) const noexcept {
        return x >= 0 && y >= 0 && x < size.width && y < size.height && At(x, y) == kSet;
    }

  private:
    SmartPtr<IPixels> m_pixels;
    unsigned char* m_data = nullptr;
    int m_stride = 0;
};

// What a pixel must be; negative where either will do.
using Picture = std::function<int(int x, int y)>;

// Compares pixel by pixel, where the pixels can be read.
void ExpectPicture(SiblingChecks& checks, const SmartPtr<ICIF>& image, const Picture& picture) {
    const Pixels pixels(image);
    if (!pixels.AreReadable()) {
        return;
    }
    int wrong = 0;
    std::string first;
    std::string firstExpected = "every pixel right";
    for (int y = 0; y < pixels.size.height; ++y) {
        for (int x = 0; x < pixels.size.width; ++x) {
            const int expected = picture(x, y);
            if (expected >= 0 && pixels.At(x, y) != expected && wrong++ == 0) {
                firstExpected = fmt::format("pixel ({}, {}) of {}", x, y, expected);
                first = std::to_string(pixels.At(x, y));
            }
        }
    }
    checks.Expect(wrong == 0, firstExpected, fmt::format("{}; {} pixels are wrong", first, wrong));
}

// ---------------------------------------------------------------------------------------------------
// Images

constexpr SiblingSlot kCreate{"CIFImageCANVAS", 6, "ICIF::Create"};
constexpr SiblingSlot kFill{"CIFImageCANVAS", 9, "ICIF::Fill"};

void CreatePixels(SiblingChecks& checks, ICIF& image, Size size) {
    checks.On(kCreate, fmt::format("{}, {}, 1, 8, 'MONO'", size.width, size.height));
    checks.Succeeds(image.Create(size.width, size.height, 1, 8, kFormatMono));
    const Size told = SizeOf(image);
    checks.Expect(told.width == size.width && told.height == size.height,
                  fmt::format("slot 3, GetSize() of {} x {}", size.width, size.height),
                  fmt::format("{} x {}", told.width, told.height));
}

}  // namespace

void CheckSiblingImages(SiblingChecks& checks) {
    checks.Begin("CIFImageCANVAS: a new image");
    const auto image = NewImage(checks);
    checks.Reads("references of", References(image), 1);
    for (const Size size : {Size{71, 40}, Size{2, 300}, Size{60, 60}}) {
        CreatePixels(checks, *image, size);
        ExpectPicture(checks, image, [](int, int) { return 0; });
        for (const int value : {kSet, 0, kSet}) {
            checks.On(kFill, std::to_string(value));
            checks.Succeeds(image->Fill(value));
            ExpectPicture(checks, image, [value](int, int) { return value; });
        }
    }
    // Figures pass on what they are: a refusal is as good as an image, but the process lives on.
    for (const Size size : {Size{0, 0}, Size{-17, -17}, Size{0x7FFFFFFF, 0x7FFFFFFF}}) {
        const auto absurd = NewImage(checks);
        checks.On(kCreate, fmt::format("{}, {}, 1, 8, 'MONO'", size.width, size.height));
        const Result code = absurd->Create(size.width, size.height, 1, 8, kFormatMono);
        checks.Expect(Failed(code) || size.width == 0, "a refusal", CodeText(code));
    }
}

// ---------------------------------------------------------------------------------------------------
// Drawing

namespace {

constexpr SiblingSlot kAttach{"CIFGraphics", 3, "ICIFGraphics::Attach"};
constexpr SiblingSlot kSetColor{"CIFGraphics", 4, "ICIFGraphics::SetColor"};
constexpr SiblingSlot kLine{"CIFGraphics", 5, "ICIFGraphics::Line"};
constexpr SiblingSlot kFloodFill{"CIFGraphics", 10, "ICIFGraphics::FloodFill"};
constexpr SiblingSlot kArc{"CIFGraphics", 11, "ICIFGraphics::Arc"};
constexpr float kFullTurn = 6.2831855F;

struct Spot {
    int x;
    int y;
};

// An image and a drawing object on it, as figures have them.
struct Canvas {
    Canvas(SiblingChecks& checks, Size size) : checks(checks), image(NewImage(checks)) {
        CreatePixels(checks, *image, size);
        image->Fill(0);
        checks.Begin("CIFGraphics: a new drawing object");
        graphics = checks.Made<ICIFGraphics>(Text(L"CIFGraphics"));
        checks.On(kAttach, "an image");
        checks.Succeeds(graphics->Attach(image.Get()));
        checks.On(kSetColor, "255");
        checks.Succeeds(graphics->SetColor(kSet));
    }

    // What lines and fills return is not looked at: outside the image they may say that they drew nothing.
    void Line(Spot a, Spot b) {
        checks.On(kLine, fmt::format("{}, {}, {}, {}", a.x, a.y, b.x, b.y));
        graphics->Line(static_cast<float>(a.x), static_cast<float>(a.y), static_cast<float>(b.x),
                       static_cast<float>(b.y));
    }
    void Arc(Spot center, double rx, double ry) {
        checks.On(kArc, fmt::format("{}, {}, {}, {}, 0, 6.2831855, -1", center.x, center.y, rx, ry));
        graphics->Arc(static_cast<float>(center.x), static_cast<float>(center.y), static_cast<float>(rx),
                      static_cast<float>(ry), 0.0F, kFullTurn, -1);
    }
    void FloodFill(Spot seed) {
        checks.On(kFloodFill, fmt::format("{}, {}, 0", seed.x, seed.y));
        graphics->FloodFill(seed.x, seed.y, 0);
    }

    SiblingChecks& checks;
    SmartPtr<ICIF> image;
    SmartPtr<ICIFGraphics> graphics;
};

double DistanceToLine(Spot p, Spot a, Spot b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double length = dx * dx + dy * dy;
    const double along = length > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length, 0.0, 1.0) : 0.0;
    return std::hypot(p.x - a.x - along * dx, p.y - a.y - along * dy);
}

// A rough distance to an ellipse about the origin, good near it.
double DistanceToEllipse(double x, double y, double rx, double ry) {
    const double level = x * x / (rx * rx) + y * y / (ry * ry) - 1;
    const double slope = 2 * std::hypot(x / (rx * rx), y / (ry * ry));
    return slope > 0 ? std::abs(level) / slope : std::min(rx, ry);
}

// That every spot of an outline has a set pixel within a pixel of it.
void ExpectOutline(Canvas& canvas, const std::vector<std::array<double, 2>>& spots) {
    const Pixels pixels(canvas.image);
    if (!pixels.AreReadable()) {
        return;
    }
    std::string missing;
    for (const auto& [x, y] : spots) {
        const Spot at = {static_cast<int>(std::floor(x + 0.5)), static_cast<int>(std::floor(y + 0.5))};
        const bool inside = at.x > 0 && at.y > 0 && at.x < pixels.size.width - 1 && at.y < pixels.size.height - 1;
        const bool isDrawn = pixels.IsSet(at.x, at.y) || pixels.IsSet(at.x - 1, at.y) || pixels.IsSet(at.x + 1, at.y) ||
                             pixels.IsSet(at.x, at.y - 1) || pixels.IsSet(at.x, at.y + 1);
        if (inside && !isDrawn && missing.empty()) {
            missing = fmt::format("none near ({}, {})", at.x, at.y);
        }
    }
    canvas.checks.Expect(missing.empty(), "an outline without gaps", missing);
}

constexpr Size kCanvas = {31, 23};
// Every direction, a single pixel, and lines that leave the image.
constexpr std::array<Spot, 2> kLines[] = {{{{2, 1}, {27, 1}}},   {{{3, 20}, {3, 2}}},   {{{1, 2}, {19, 20}}},
                                          {{{28, 4}, {5, 17}}},  {{{6, 21}, {11, 3}}},  {{{16, 9}, {16, 9}}},
                                          {{{-9, 5}, {40, 18}}}, {{{22, -8}, {7, 30}}}, {{{-5, -4}, {-1, 30}}}};

void CheckLine(SiblingChecks& checks, Spot a, Spot b) {
    Canvas canvas(checks, kCanvas);
    canvas.Line(a, b);
    // Both ends are drawn, and nothing away from the line.
    ExpectPicture(checks, canvas.image, [&](int x, int y) {
        const bool isEnd = (x == a.x && y == a.y) || (x == b.x && y == b.y);
        return isEnd ? kSet : DistanceToLine({x, y}, a, b) > 1.0 ? 0 : -1;
    });
    std::vector<std::array<double, 2>> spots;
    for (int i = 0; i <= 100; ++i) {
        spots.push_back({a.x + (b.x - a.x) * i / 100.0, a.y + (b.y - a.y) * i / 100.0});
    }
    ExpectOutline(canvas, spots);
}

struct Ellipse {
    Spot center;
    double rx;
    double ry;
};
constexpr Ellipse kArcs[] = {
    {{15, 11}, 12.3, 8.6}, {{15, 11}, 4.0, 10.0}, {{15, 11}, 15.5, 11.5}, {{4, 18}, 20.25, 9.5}};

void CheckArc(SiblingChecks& checks, const Ellipse& arc) {
    Canvas canvas(checks, kCanvas);
    canvas.Arc(arc.center, arc.rx, arc.ry);
    ExpectPicture(checks, canvas.image, [&](int x, int y) {
        return DistanceToEllipse(x - arc.center.x, y - arc.center.y, arc.rx, arc.ry) > 1.2 ? 0 : -1;
    });
    std::vector<std::array<double, 2>> spots;
    for (int i = 0; i < 200; ++i) {
        const double angle = i * std::numbers::pi / 100;
        spots.push_back({arc.center.x + arc.rx * std::cos(angle), arc.center.y + arc.ry * std::sin(angle)});
    }
    ExpectOutline(canvas, spots);
}

// Rolled boxes as the rectangle draws them: through their corners, filled from the middle. Slanted sides leak
// where a fill goes on across corners of pixels.
constexpr std::array<Spot, 4> kBoxes[] = {{{{35, 0}, {70, 35}, {35, 70}, {0, 35}}},
                                          {{{9, 0}, {60, 21}, {51, 43}, {0, 22}}},
                                          {{{0, 50}, {7, 0}, {27, 3}, {20, 53}}}};

void CheckBox(SiblingChecks& checks, const std::array<Spot, 4>& corners) {
    const auto [left, right] =
        std::minmax_element(corners.begin(), corners.end(), [](Spot a, Spot b) { return a.x < b.x; });
    const auto [top, bottom] =
        std::minmax_element(corners.begin(), corners.end(), [](Spot a, Spot b) { return a.y < b.y; });
    const Size size = {right->x + 1, bottom->y + 1};
    Canvas canvas(checks, size);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        canvas.Line(corners[(i + 3) % 4], corners[i]);
    }
    canvas.FloodFill({size.width / 2, size.height / 2});
    ExpectPicture(checks, canvas.image, [&](int x, int y) {
        bool isInside = true;
        double distance = size.width;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Spot a = corners[i];
            const Spot b = corners[(i + 1) % 4];
            isInside = isInside && (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x) >= 0;
            distance = std::min(distance, DistanceToLine({x, y}, a, b));
        }
        return distance <= 1.0 ? -1 : isInside ? kSet : 0;
    });
}

// Rings as the donut draws them: the image is as wide as the outer ellipse, which may lose its last column.
struct Ring {
    double x0, y0, x1, y1;
};
constexpr Ring kRings[] = {{20, 20, 30, 30}, {44.6, 20.5, 31.2, 12.25}, {12, 40, 50.5, 60}};

void CheckRing(SiblingChecks& checks, const Ring& ring) {
    const Size size = {static_cast<int>(2 * std::max(ring.x0, ring.x1)),
                       static_cast<int>(2 * std::max(ring.y0, ring.y1))};
    const Spot center = {size.width / 2, size.height / 2};
    Canvas canvas(checks, size);
    canvas.Arc(center, ring.x0, ring.y0);
    canvas.Arc(center, ring.x1, ring.y1);
    canvas.FloodFill({static_cast<int>((ring.x0 + ring.x1) / 2 + center.x), center.y});
    ExpectPicture(checks, canvas.image, [&](int px, int py) {
        const double x = px - center.x;
        const double y = py - center.y;
        const auto isIn = [x, y](double rx, double ry) { return std::hypot(x / rx, y / ry) <= 1; };
        const double distance =
            std::min(DistanceToEllipse(x, y, ring.x0, ring.y0), DistanceToEllipse(x, y, ring.x1, ring.y1));
        return distance <= 1.5 ? -1 : isIn(ring.x0, ring.y0) != isIn(ring.x1, ring.y1) ? kSet : 0;
    });
}

// Seeds that slivers and absurd figures have: on the outline, and out of the image.
void CheckSeeds(SiblingChecks& checks) {
    Canvas canvas(checks, kCanvas);
    canvas.FloodFill({-1, 5});
    canvas.FloodFill({5, kCanvas.height});
    canvas.FloodFill({0x7FFFFFFF, static_cast<int>(0x80000000)});
    ExpectPicture(checks, canvas.image, [](int, int) { return 0; });
    canvas.Line({4, 3}, {12, 3});
    canvas.FloodFill({8, 3});
    checks.Reads("width of", SizeOf(*canvas.image).width, kCanvas.width);
}

void CheckDrawingReferences(SiblingChecks& checks) {
    Canvas canvas(checks, kCanvas);
    checks.Begin("CIFGraphics: released, with its image");
    checks.Reads("references of the drawing object", References(canvas.graphics), 1);
    canvas.graphics.Reset();
    checks.Reads("references of the image", References(canvas.image), 1);
}

}  // namespace

void CheckSiblingDrawing(SiblingChecks& checks) {
    checks.Try([&] { CheckDrawingReferences(checks); });
    if (!Pixels(Canvas(checks, kCanvas).image).AreReadable()) {
        fmt::print(stderr, "roi: check: drawing: the image does not answer IPixels: pixels are not compared\n");
    }
    for (const auto& [a, b] : kLines) {
        checks.Try([&, a = a, b = b] { CheckLine(checks, a, b); });
    }
    for (const Ellipse& arc : kArcs) {
        checks.Try([&] { CheckArc(checks, arc); });
    }
    for (const auto& corners : kBoxes) {
        checks.Try([&] { CheckBox(checks, corners); });
    }
    for (const Ring& ring : kRings) {
        checks.Try([&] { CheckRing(checks, ring); });
    }
    checks.Try([&] { CheckSeeds(checks); });
}

// ---------------------------------------------------------------------------------------------------
// Figures

namespace {

// The module, with the collection of the siblings.
class Figures {
  public:
    explicit Figures(SiblingChecks& checks) {
        checks.Begin("the module loads beside the siblings");
        void* const module = dlopen(checks.module.c_str(), RTLD_NOW);
        if (module == nullptr) {
            throw CheckFailed{"a module that loads", dlerror()};
        }
        m_find = reinterpret_cast<CreateFunctionEntry>(dlsym(module, kCreateFunctionSymbol));
        const auto initialize = reinterpret_cast<InitializeModuleEntry>(dlsym(module, kInitializeModuleSymbol));
        if (m_find == nullptr || initialize == nullptr) {
            throw CheckFailed{"the entry points of the module", "none"};
        }
        initialize(nullptr, checks.Had(GLOBALComponents()).Get());
    }

    template <class Interface = IROI>
    SmartPtr<Interface> New(tagREFString className) const {
        ComponentCreator create = nullptr;
        SmartPtr<Interface> figure;
        if (Failed(m_find(className, &create)) || create == nullptr ||
            Failed(create(nullptr, &IidOf<Interface>(), figure.ReceiveVoid()))) {
            throw CheckFailed{"a new " + ToUtf8(className), "none"};
        }
        return figure;
    }

  private:
    CreateFunctionEntry m_find = nullptr;
};

// A parameter of each class that has a list: one that is saved, and a value that it does not start with.
struct Saved {
    tagREFString className;
    std::wstring_view name;
    double value;
};
constexpr Saved kSavedFigures[] = {{Text(L"ROIDonut"), L"RadiusX1", 12.25},
                                   {Text(L"ROIArcDonut"), L"Radius1X", 13.75},
                                   {Text(L"ROIEllipse"), L"CenterX", 61},
                                   {Text(L"ROIParallelogram"), L"CenterY", -7.5},
                                   {Text(L"ROIRectangle"), L"Width", 81.5}};

double Parameter(SiblingChecks& checks, IROI& figure, std::wstring_view name) {
    SmartPtr<INamedCollection> list;
    checks.Succeeds(SmartPtr<IParametricObject>::QueryFrom(&figure)->GetParameters(list.Receive(), 0));
    return NumberIn(*checks.Had(list), *SiblingString(checks, name));
}

void CheckSaved(SiblingChecks& checks, const Figures& figures, const Saved& saved) {
    const std::string className = ToUtf8(saved.className);
    const std::string name = ToUtf8(Text(saved.name));
    checks.Begin(fmt::format("{}: takes \"{}\" from a list", className, name));
    const auto figure = figures.New(saved.className);
    const auto list = checks.Had(MakeList({{name, saved.value}}));
    checks.Succeeds(SmartPtr<IParametricObject>::QueryFrom(figure.Get())->SetParameters(list.Get()));
    checks.Reads(name + " of", Parameter(checks, *figure, saved.name), saved.value);

    for (const PlaceKind kind : kPlaceKinds) {
        if (!ListTakes(checks, kind)) {
            continue;
        }
        checks.Begin(fmt::format("{}: goes through a {} stream", className, NameOf(kind)));
        const Storage storage;
        const auto copy = figures.New(saved.className);
        checks.Succeeds(SmartPtr<IDataPersist>::QueryFrom(figure.Get())->Save(SaveStream(storage, kind).Get(), 0));
        checks.Succeeds(SmartPtr<IDataPersist>::QueryFrom(copy.Get())->Load(LoadStream(storage, kind).Get(), 0));
        checks.Reads(name + " of", Parameter(checks, *copy, saved.name), saved.value);
    }
}

void CheckPages(SiblingChecks& checks, const Figures& figures) {
    checks.Begin("ROIRectangle: gives its property page");
    const auto figure = figures.New<IUIPropertyPageSpecify>(Text(L"ROIRectangle"));
    SmartPtr<INamedCollection> pages;
    checks.Succeeds(figure->GetPages(0, pages.Receive(), nullptr));
    checks.Reads("references of", References(checks.Had(pages)), 1);
}

void CheckRolledMask(SiblingChecks& checks, const Figures& figures) {
    checks.Begin("ROIRectangle: the mask of a square rolled by an eighth of a turn");
    const auto figure = figures.New<IROIRectangle>(Text(L"ROIRectangle"));
    figure->put_Roll(std::numbers::pi / 4);
    SmartPtr<ICIF> mask;
    checks.Succeeds(figure->GetMask(mask.Receive()));
    checks.Reads("width of", SizeOf(*checks.Had(mask)).width, 71);
    checks.Reads("references of the mask", References(mask), 1);
    ExpectPicture(checks, mask, [](int x, int y) {
        const int steps = std::abs(x - 35) + std::abs(y - 35);
        return steps > 36 ? 0 : steps < 34 ? kSet : -1;
    });
}

void CheckRingMask(SiblingChecks& checks, const Figures& figures) {
    checks.Begin("ROIDonut: the mask of a new ring");
    const auto figure = figures.New(Text(L"ROIDonut"));
    SmartPtr<ICIF> mask;
    checks.Succeeds(figure->GetMask(mask.Receive()));
    checks.Reads("height of", SizeOf(*checks.Had(mask)).height, 60);
    checks.Reads("references of the mask, which the ring keeps,", References(mask), 2);
    ExpectPicture(checks, mask, [](int x, int y) {
        const double radius = std::hypot(x - 30, y - 30);
        return radius < 18.5 || radius > 31.5 ? 0 : radius > 21.5 && radius < 28.5 ? kSet : -1;
    });
}

void CheckInnerRectangle(SiblingChecks& checks, const Figures& figures) {
    checks.Begin("ROIMask: has its rectangle, made by name");
    double x = 0;
    double y = 0;
    checks.Succeeds(figures.New(Text(L"ROIMask"))->GetCenter(&x, &y));
    checks.Reads("the centre's x of", x, 50.0);
}

void UseFigures(SiblingChecks& checks, const Figures& figures) {
    for (const Saved& saved : kSavedFigures) {
        checks.Try([&] { CheckSaved(checks, figures, saved); });
    }
    checks.Try([&] { CheckPages(checks, figures); });
    checks.Try([&] { CheckRolledMask(checks, figures); });
    checks.Try([&] { CheckRingMask(checks, figures); });
    checks.Try([&] { CheckInnerRectangle(checks, figures); });
}

// Memory is counted over many rounds: what the allocator keeps at hand varies a little, what leaks adds up.
void CheckNothingStays(SiblingChecks& checks, const Figures& figures) {
    constexpr int kRounds = 32;
    constexpr std::size_t kSmallestLeak = 16;
    CheckProgress apart;  // the rounds repeat what is counted already
    SiblingChecks repeated("figures", apart, checks.module);
    const auto bytesAfter = [&](int rounds) {
        for (int i = 0; i < rounds; ++i) {
            UseFigures(repeated, figures);
        }
        return mallinfo2().uordblks;
    };
    checks.Begin("using the figures leaves no memory behind");
    const std::size_t before = bytesAfter(4);
    const std::size_t after = bytesAfter(kRounds);
    checks.Expect(after < before + kRounds * kSmallestLeak, fmt::format("{} bytes in use", before),
                  std::to_string(after));
}

}  // namespace

void CheckSiblingFigures(SiblingChecks& checks) {
    const Figures figures(checks);
    UseFigures(checks, figures);
    if (checks.Failures() == 0) {
        CheckNothingStays(checks, figures);
    }
}

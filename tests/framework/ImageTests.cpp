// Images and drawing: what they survive, and that fills and outlines are right.
#include <climits>
#include <cmath>
#include <filesystem>
#include <limits>
#include <random>
#include <vector>

#include "tests/framework/FrameworkTest.h"

// An image of another maker: it does not answer IPixels.
class ForeignImage;
template <>
inline const tagREFString IObjectInfoImpl<ForeignImage>::m_ObjectName = Text(L"ForeignImage");

class ForeignImage final : public FrameworkComponent<ForeignImage, ICIF> {
  public:
    using Answers = InterfaceMap<ICIF>;
    Result GetSize(int*, int*, int*) noexcept override { return S_OK; }
    Result Create(int, int, int, int, std::uint32_t) noexcept override { return S_OK; }
    Result Fill(int) noexcept override { return S_OK; }
};

namespace {

constexpr float kTurn = 6.2831855f;

// An image with a drawing component on it.
struct Canvas {
    Canvas(int width, int height) : columns(width), rows(height) {
        EXPECT_EQ(image->Create(width, height, 1, 8, kFormatMono), S_OK);
        EXPECT_EQ(graphics->Attach(image.Get()), S_OK);
        EXPECT_EQ(graphics->SetColor(255), S_OK);
    }

    unsigned char* Row(int y) const {
        unsigned char* data = nullptr;
        int stride = 0;
        int planes = 0;
        int bits = 0;
        EXPECT_EQ(SmartPtr<IPixels>::QueryFrom(image.Get())->GetPixels(&data, &stride, &planes, &bits), S_OK);
        return data + std::ptrdiff_t{y} * stride;
    }
    int Drawn() const {
        int count = 0;
        for (int y = 0; y < rows; ++y) {
            count += static_cast<int>(std::count(Row(y), Row(y) + columns, 255));
        }
        return count;
    }

    SmartPtr<ICIFImageCANVAS> image = CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS"));
    SmartPtr<ICIFGraphics> graphics = CreateComponent<ICIFGraphics>(Text(L"CIFGraphics"));
    int columns;
    int rows;
};

class ImageTest : public FrameworkTest {};

TEST_F(ImageTest, AbsurdSizesAreRefusedAndChangeNothing) {
    const Canvas canvas(3, 2);
    const int sizes[][2] = {{0, 5}, {5, 0}, {-1, 5}, {5, INT_MIN}, {INT_MAX, INT_MAX}, {1 << 16, 1 << 16}};
    for (const auto& size : sizes) {
        EXPECT_TRUE(Failed(canvas.image->Create(size[0], size[1], 1, 8, kFormatMono)));
    }
    int width = 0;
    int height = 0;
    EXPECT_EQ(SizeOf(*canvas.image, &width, &height), S_OK);
    EXPECT_EQ(width * 10 + height, 32);
    EXPECT_EQ(canvas.image->Fill(300), S_OK);
    EXPECT_EQ(canvas.Drawn(), 6);
}

TEST_F(ImageTest, DrawingSurvivesAnyNumbers) {
    const Canvas canvas(8, 6);
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::nanf("");
    const float huge = std::numeric_limits<float>::max();
    ICIFGraphics& graphics = *canvas.graphics;
    const Result codes[] = {
        graphics.Line(nan, 0, 1, 1),
        graphics.Line(0, 0, inf, 1),
        graphics.Line(-huge, -9, huge, -9),
        graphics.Line(huge, huge, huge, huge),
        graphics.Line(100, 0, 100, 5),
        graphics.Arc(nan, 3, 2, 2, 0, kTurn, -1),
        graphics.Arc(3, 3, inf, 2, 0, 1, -1),
        graphics.Arc(3, 3, 2, 2, 0, inf, -1),
        graphics.Arc(3, 3, 99, 99, 0, 7, -1),
        graphics.Arc(huge, 3, 2, 2, 0, kTurn, -1),
        graphics.Arc(0, 0, huge, huge, 0, 7, -1),
        graphics.FloodFill(8, 0, 0),
        graphics.FloodFill(0, -1, 0),
        graphics.FloodFill(INT_MIN, INT_MAX, 0),
        graphics.SetColor(256),
        graphics.SetColor(-1),
    };
    for (const Result code : codes) {
        EXPECT_TRUE(Failed(code)) << &code - codes;
    }
    EXPECT_EQ(canvas.Drawn(), 0);
    EXPECT_EQ(graphics.Line(-huge, 2.4f, huge, 2.4f), S_OK);
    EXPECT_EQ(canvas.Drawn(), 8);
    EXPECT_EQ(graphics.Arc(4, 4, 0, -0.1f, 0, kTurn, -1), S_OK);
    EXPECT_EQ(canvas.Row(4)[4], 255);
}

TEST_F(ImageTest, DrawingNeedsAnImageWithPixels) {
    const auto graphics = CreateComponent<ICIFGraphics>(Text(L"CIFGraphics"));
    const auto empty = CreateComponent<ICIF>(Text(L"CIFImageCANVAS"));
    const auto drawingFails = [&] {
        return Failed(graphics->Line(0, 0, 1, 1)) && Failed(graphics->Arc(1, 1, 1, 1, 0, kTurn, -1)) &&
               Failed(graphics->FloodFill(0, 0, 0));
    };
    EXPECT_TRUE(drawingFails());
    EXPECT_TRUE(Failed(graphics->Attach(MakeObject<ICIF, ForeignImage>().Get())));
    EXPECT_TRUE(drawingFails());
    EXPECT_EQ(graphics->Attach(empty.Get()), S_OK);
    EXPECT_TRUE(drawingFails());
    EXPECT_TRUE(Failed(empty->Fill(0)));
}

TEST_F(ImageTest, AFillIsWhatASeedReachesOverEdges) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        const Canvas canvas(1 + static_cast<int>(random() % 30), 1 + static_cast<int>(random() % 30));
        std::vector<std::vector<bool>> expected(static_cast<std::size_t>(canvas.rows));
        for (int y = 0; y < canvas.rows; ++y) {
            for (int x = 0; x < canvas.columns; ++x) {
                // Other values than the drawn one are no border.
                canvas.Row(y)[x] = random() % 3 == 0 ? 255 : static_cast<unsigned char>(random() % 255);
                expected[static_cast<std::size_t>(y)].push_back(canvas.Row(y)[x] == 255);
            }
        }
        const int seedX = static_cast<int>(random()) % canvas.columns;
        std::vector<std::pair<int, int>> open = {{std::abs(seedX), canvas.rows / 2}};
        ASSERT_EQ(canvas.graphics->FloodFill(open[0].first, open[0].second, 0), S_OK);
        while (!open.empty()) {
            const auto [x, y] = open.back();
            open.pop_back();
            if (x < 0 || y < 0 || x >= canvas.columns || y >= canvas.rows ||
                expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]) {
                continue;
            }
            expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = true;
            open.insert(open.end(), {{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}});
        }
        for (int y = 0; y < canvas.rows; ++y) {
            for (int x = 0; x < canvas.columns; ++x) {
                ASSERT_EQ(canvas.Row(y)[x] == 255, expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
            }
        }
    }
}

TEST_F(ImageTest, AnEllipseIsClosedAndFollowsTheTrueCurve) {
    std::mt19937 random(2);
    std::uniform_real_distribution<float> center(40.0f, 60.0f);
    std::uniform_real_distribution<float> radius(0.6f, 38.0f);
    for (int round = 0; round < 300; ++round) {
        const Canvas canvas(100, 100);
        const float cx = center(random);
        const float cy = center(random);
        const float rx = radius(random);
        const float ry = round % 10 == 0 ? 0.7f : radius(random);
        ASSERT_EQ(canvas.graphics->Arc(cx, cy, rx, ry, 0.0f, kTurn, -1), S_OK);
        for (int step = 0; step < 3142; ++step) {
            const double x = cx + rx * std::cos(0.002 * step);
            const double y = cy + ry * std::sin(0.002 * step);
            bool near = false;
            for (int j = static_cast<int>(y) - 1; j <= static_cast<int>(y) + 2; ++j) {
                for (int i = static_cast<int>(x) - 1; i <= static_cast<int>(x) + 2; ++i) {
                    near |= canvas.Row(j)[i] == 255 && std::hypot(i - x, j - y) <= 1.0;
                }
            }
            ASSERT_TRUE(near) << cx << ' ' << cy << ' ' << rx << ' ' << ry << " at " << step;
        }
        ASSERT_LT(canvas.Drawn(), 4.0f * (rx + ry) * 1.05f + 8.0f) << "one pixel thick";
        ASSERT_EQ(canvas.graphics->FloodFill(0, 0, 0), S_OK);
        for (int y = 0; y < 100; ++y) {
            for (int x = 0; x < 100; ++x) {
                // A pixel whose square lies within the ellipse is neither outline nor outside.
                const double farX = (std::abs(x - double{cx}) + 0.501) / rx;
                const double farY = (std::abs(y - double{cy}) + 0.501) / ry;
                ASSERT_FALSE(farX * farX + farY * farY < 1.0 && canvas.Row(y)[x] == 255)
                    << cx << ' ' << cy << ' ' << rx << ' ' << ry << " leaks at " << x << ' ' << y;
            }
        }
    }
}

TEST_F(ImageTest, AnArcCoversItsAnglesOnly) {
    const Canvas canvas(100, 100);
    // The left half in either direction, and the right half across a full turn.
    ASSERT_EQ(canvas.graphics->Arc(50, 50, 40, 20, kTurn * 0.3f, kTurn * 0.7f, -1), S_OK);
    ASSERT_EQ(canvas.graphics->Arc(50, 50, 30, 15, kTurn * 0.7f, kTurn * 0.3f, -1), S_OK);
    ASSERT_EQ(canvas.graphics->Arc(50, 50, 20, 10, kTurn * 0.8f, kTurn * 1.2f, -1), S_OK);
    EXPECT_EQ(canvas.Row(50)[10] + canvas.Row(50)[20] + canvas.Row(50)[70], 3 * 255);
    EXPECT_EQ(canvas.Row(50)[90] + canvas.Row(50)[80] + canvas.Row(50)[30], 0);
    EXPECT_EQ(canvas.Row(30)[50] + canvas.Row(70)[50] + canvas.Row(40)[50], 0);
}

TEST_F(ImageTest, FilesKeepTheirPixels) {
    const std::string path = testing::TempDir() + "framework_image.png";
    const Canvas canvas(5, 4);
    canvas.graphics->Line(0, 0, 4, 3);
    const auto pixels = SmartPtr<IPixels>::QueryFrom(canvas.image.Get());
    ASSERT_EQ(pixels->WriteFile(path.c_str()), S_OK);
    const Canvas other(2, 2);
    const auto otherPixels = SmartPtr<IPixels>::QueryFrom(other.image.Get());
    EXPECT_TRUE(Failed(otherPixels->ReadFile("/nonexistent.png")));
    EXPECT_TRUE(Failed(pixels->WriteFile("/nonexistent/image.png")));
    EXPECT_TRUE(Failed(pixels->WriteFile("image.unknown")));
    EXPECT_EQ(other.Row(1)[1], 0);
    ASSERT_EQ(otherPixels->ReadFile(path.c_str()), S_OK);
    for (int y = 0; y < 4; ++y) {
        EXPECT_TRUE(std::equal(canvas.Row(y), canvas.Row(y) + 5, other.Row(y)));
    }
    std::filesystem::remove(path);
}

}  // namespace

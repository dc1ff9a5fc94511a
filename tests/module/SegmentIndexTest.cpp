// How few segments of a long profile a hit test looks at, and that it finds those that matter.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "roi/SegmentIndex.h"

namespace {

using roi::Point;
using Box = roi::Extent<double>;

// Boxes of a line that goes `lines` times to and fro along x, in `steps` steps of 10, the lines 20 apart.
std::vector<Box> ToAndFro(int lines, int steps) {
    std::vector<Box> boxes;
    for (int line = 0; line < lines; ++line) {
        for (int step = 0; step < steps; ++step) {
            boxes.push_back({10.0 * step - 2, 10.0 * step + 12, 20.0 * line - 2, 20.0 * line + 2});
        }
    }
    return boxes;
}

// Boxes of lines that are one long segment each.
std::vector<Box> LongLines(int lines) {
    std::vector<Box> boxes;
    for (int line = 0; line < lines; ++line) {
        boxes.push_back({0, 1000, 20.0 * line - 2, 20.0 * line + 2});
    }
    return boxes;
}

std::vector<Box> Turned(std::vector<Box> boxes) {
    for (Box& box : boxes) {
        box = {box.minY, box.maxY, box.minX, box.maxX};
    }
    return boxes;
}

TEST(SegmentIndex, LooksAtFewBoxesHoweverTheLineRuns) {
    const struct {
        const char* name;
        std::vector<Box> boxes;
        std::size_t most;
    } kRows[] = {
        {"along x", ToAndFro(1, 10000), 4},
        {"along y", Turned(ToAndFro(1, 10000)), 4},
        {"to and fro", ToAndFro(100, 100), 12},
        {"to and fro along y", Turned(ToAndFro(40, 250)), 12},
        {"few long lines", ToAndFro(4, 20), 12},
        {"long lines", LongLines(100), 4},
        {"long lines along y", Turned(LongLines(100)), 4},
        {"far apart", {{0, 10, 0, 1}, {90, 100, 0, 1}}, 1},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        std::vector<Box> more = row.boxes;
        more.push_back({1e9, 1e9 + 1, 1e9, 1e9 + 1});  // Which is not counted, and would make cells huge.
        roi::SegmentIndex index;
        ASSERT_TRUE(index.Build(more.data(), static_cast<int>(row.boxes.size())));
        for (const Box& box : row.boxes) {
            const std::size_t looked = index.Beside({box.minX + 3, box.minY + 1}).size();
            ASSERT_GE(looked, 1u);
            ASSERT_LE(looked, row.most);
        }
    }
}

TEST(SegmentIndex, FindsWhatEveryBoxInTurnFinds) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    std::mt19937 random(7);
    const auto between = [&random](double low, double high) {
        return low + (high - low) * (static_cast<double>(random()) / std::mt19937::max());
    };
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        // From dots to boxes that reach across everything, in fields from square to flat; some turned inside out.
        const double tall = round % 3 == 0 ? 3.0 : 300.0;
        const double size = std::pow(10.0, round % 6 - 3);
        std::vector<Box> boxes;
        for (int i = 0; i < 200; ++i) {
            const Point low{between(-100, 700), between(50, 50 + tall)};
            const double width = i % 40 == 0 ? 500.0 : between(-0.1, 1.0) * size;
            boxes.push_back({low.x, low.x + width, low.y, low.y + between(-0.1, 1.0) * size});
        }
        if (round % 5 == 1) {
            boxes[30].minX = kNaN;
            boxes[31].maxY = kNaN;
        }
        if (round % 5 == 2) {
            boxes[77] = {-kInfinity, kInfinity, 60.0, 61.0};
        }
        roi::SegmentIndex index;
        ASSERT_TRUE(index.Build(boxes.data(), static_cast<int>(boxes.size())));
        for (const Box& box : boxes) {
            for (const Point p : {Point{box.minX, box.maxY}, Point{box.maxX, box.minY},
                                  Point{box.minX - 0.01, box.minY}, Point{between(-150, 1300), between(0, 500)}}) {
                const bool held =
                    std::any_of(boxes.begin(), boxes.end(), [p](const Box& each) { return roi::Holds(each, p); });
                ASSERT_EQ(index.Holds(p), held) << p.x << ", " << p.y;
            }
        }
    }
}

// A box as large as the field stands in every cell: the cells get fewer rather than the places many.
TEST(SegmentIndex, TakesLittleMemoryWhereBoxesAreLarge) {
    std::vector<Box> boxes = ToAndFro(100, 100);
    for (int i = 0; i < 400; ++i) {
        boxes[static_cast<std::size_t>(25 * i)] = {0, 1000, 0, 2000};
    }
    roi::SegmentIndex index;
    ASSERT_TRUE(index.Build(boxes.data(), static_cast<int>(boxes.size())));
    EXPECT_GE(index.Beside({500, 1000}).size(), 460u);
    EXPECT_LE(index.Beside({500, 1000}).size(), 700u);
    // Dots along a diagonal: a cell for each would take as many again for the empty ones.
    boxes.clear();
    for (int i = 0; i < 1000; ++i) {
        boxes.push_back({i + 0.0, i + 0.01, i + 0.0, i + 0.01});
    }
    ASSERT_TRUE(index.Build(boxes.data(), 1000));
    EXPECT_GE(index.Beside({500, 500}).size(), 8u);
}

}  // namespace

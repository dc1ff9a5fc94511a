// The index over the boxes of figures, against asking every figure.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "host/figures/FigureIndex.h"
#include "host/measure/Region.h"
#include "host/sets/formats/ForeignFigure.h"

namespace host {

namespace {

TEST(FigureIndex, KnowsEveryFigureThatHoldsAPoint) {
    const Session session(BIN_DIR);
    Raster wide = EmptyMask(30, 20);
    std::fill_n(wide.Data(), 600, std::byte{255});
    const ForeignFigure descriptions[] = {
        BoxFigure("rolled", {40.5, 31}, 50, 8, 33),
        EllipseFigure("ellipse", {90, 20.25}, 25, 12),
        LineFigure("line", {{10, 80}, {60, 95}, {61, 70}}, 9),
        {.className = "ROIShape", .points = {{{100, 40}}, {{139, 52}}, {{96, 77}}}},
        {.className = "ROIArcDonut",
         .parameters = {{"CenterX", 120}, {"CenterY", 90}, {"StartAngle", 200}, {"DeltaAngle", -250}}},
        {.className = "ROIParallelogram", .parameters = {{"CenterX", 30}, {"CenterY", 60}, {"Shear", 40}}},
        // Its pixels reach beyond its box.
        {.className = "ROIMask",
         .parameters = {{"CenterX", 70}, {"CenterY", 50}, {"Width", 10}, {"Height", 5}},
         .mask = wide},
        BoxFigure("nowhere", {7, 5}, 3, 4, 0),
    };
    std::vector<Warning> warnings;
    std::vector<Figure> figures;
    for (const ForeignFigure& description : descriptions) {
        figures.push_back(Build(session, description, warnings));
    }
    figures.back().roi->SetCenter(NAN, 5.0);
    const FigureIndex index(figures);
    std::size_t found = 0;
    for (int y = -5; y < 130; y += 2) {
        for (int x = -5; x < 160; x += 2) {
            const ImagePoint at(x, y);
            const std::vector<std::size_t> candidates = index.At(at);
            EXPECT_TRUE(std::is_sorted(candidates.begin(), candidates.end()));
            found += candidates.size();
            for (std::size_t i = 0; i < figures.size(); ++i) {
                if (HoldsPoint(figures[i], at, PixelRule::outline) || HoldsPoint(figures[i], at, PixelRule::module)) {
                    EXPECT_TRUE(std::binary_search(candidates.begin(), candidates.end(), i))
                        << i << ": " << x << ',' << y;
                }
            }
        }
    }
    EXPECT_LT(found, figures.size() * 68 * 83 / 3);
    EXPECT_EQ(index.At({-500, 2000}), std::vector<std::size_t>{7});
}

}  // namespace

}  // namespace host

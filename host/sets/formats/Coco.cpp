// COCO annotations: polygons, boxes and counts of pixels, in coordinates whose whole numbers are corners of pixels.
#include <algorithm>
#include <cmath>
#include <map>

#include "host/figures/FigureClass.h"
#include "host/sets/formats/Formats.h"
#include "host/sets/formats/JsonText.h"
#include "host/sets/formats/RunCounts.h"

namespace host {

namespace {

using json = nlohmann::ordered_json;

constexpr double kHalf = 0.5;

struct Box {
    double left = HUGE_VAL, top = HUGE_VAL, right = -HUGE_VAL, bottom = -HUGE_VAL;
};

// The name becomes the category: what tells annotations apart there.
json AnnotationOf(const Loops& loops, std::size_t number) {
    Box box;
    double area = 0.0;
    json segmentation = json::array();
    for (const Loop& loop : loops.outer) {
        json numbers = json::array();
        for (const ImagePoint& at : loop) {
            const double x = at.x + kHalf;
            const double y = at.y + kHalf;
            numbers.push_back(x);
            numbers.push_back(y);
            box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x), std::max(box.bottom, y)};
        }
        area += std::abs(SignedArea(loop));
        segmentation.push_back(std::move(numbers));
    }
    return {{"id", number},          {"image_id", 1},
            {"category_id", number}, {"segmentation", segmentation},
            {"area", area},          {"bbox", {box.left, box.top, box.right - box.left, box.bottom - box.top}},
            {"iscrowd", 0}};
}

// Counts as a text: each number in digits of five bits from the lowest on, as the character '0' plus the digit, and
// plus 32 where another follows; the highest bit of the last digit is the sign. From the fourth number on, it is what
// the count is more than the last but one.
std::vector<std::int64_t> CountsIn(const std::string& text) {
    constexpr unsigned kMostBits = 50;
    std::vector<std::int64_t> counts;
    std::int64_t number = 0;
    unsigned bits = 0;
    for (const char c : text) {
        const int digit = c - '0';
        if (digit < 0 || digit > 63 || bits > kMostBits) {
            throw std::runtime_error("a mask whose counts are damaged");
        }
        number |= std::int64_t{digit & 31} << bits;
        bits += 5;
        if ((digit & 32) != 0) {
            continue;
        }
        number -= (digit & 16) != 0 ? std::int64_t{1} << bits : 0;
        counts.push_back(number + (counts.size() > 2 ? counts[counts.size() - 2] : 0));
        number = 0;
        bits = 0;
    }
    return counts;
}

// Counts run down the columns.
Raster ColumnMask(const json& segmentation, Reading& reading) {
    const auto size = segmentation.at("size").get<std::vector<std::int64_t>>();
    if (size.size() != 2) {
        throw std::runtime_error("a mask without a size");
    }
    const json& counts = segmentation.at("counts");
    const auto numbers =
        counts.is_string() ? CountsIn(counts.get<std::string>()) : counts.get<std::vector<std::int64_t>>();
    Raster columns = MaskOf(size[0], size[1], numbers, reading);
    Raster mask = EmptyMask(columns.Size().height, columns.Size().width);
    for (int y = 0; y < mask.Size().height; ++y) {
        for (int x = 0; x < mask.Size().width; ++x) {
            mask.Row<unsigned char>(y)[x] = columns.Row<unsigned char>(x)[y];
        }
    }
    return mask;
}

ForeignFigure FigureOf(const json& annotation, const std::string& name, Reading& reading) {
    const json segmentation = annotation.value("segmentation", json::array());
    if (segmentation.is_object()) {
        return MaskFigure(name, ColumnMask(segmentation, reading), 0, 0);
    }
    if (segmentation.empty()) {
        const auto box = annotation.at("bbox").get<std::vector<double>>();
        if (box.size() != 4) {
            throw std::runtime_error("a bbox without four numbers");
        }
        return BoxFigure(name, {box[0] + 0.5 * box[2] - kHalf, box[1] + 0.5 * box[3] - kHalf}, box[2], box[3], 0.0);
    }
    std::vector<Loop> loops;
    for (const json& numbers : segmentation) {
        Loop& loop = loops.emplace_back();
        for (std::size_t i = 0; i + 1 < numbers.size(); i += 2) {
            loop.emplace_back(numbers[i].get<double>() - kHalf, numbers[i + 1].get<double>() - kHalf);
        }
    }
    ForeignFigure figure = RegionFigure(name, loops, reading);
    figure.drawn = std::move(loops);
    TakeCarried(annotation, figure, reading);
    return figure;
}

}  // namespace

std::vector<ForeignFigure> ReadCoco(std::string_view bytes, Reading& reading) {
    const json whole = ParseJsonText(bytes);
    std::map<std::int64_t, std::string> categories;
    for (const json& category : whole.value("categories", json::array())) {
        categories[category.at("id")] = category.at("name");
    }
    std::vector<ForeignFigure> figures;
    for (const json& annotation : whole.at("annotations")) {
        figures.push_back(FigureOf(annotation, categories[annotation.value("category_id", 0)], reading));
    }
    return figures;
}

std::string WriteCoco(const std::vector<Figure>& figures, std::vector<Warning>& warnings) {
    json annotations = json::array();
    json categories = json::array();
    for (const Figure& figure : figures) {
        const Loops loops = LoopsOf(figure);
        if (loops.outer.empty()) {
            warnings.push_back({figure.name, "it encloses nothing and is left out"});
            continue;
        }
        if (!loops.holes.empty()) {
            warnings.push_back({figure.name, "COCO shows the outer edge alone, and not the hole"});
        } else if (figure.type->contents != Contents::geometry) {
            warnings.push_back({figure.name, "COCO shows the outline and not the parameters"});
        }
        const std::size_t number = annotations.size() + 1;
        annotations.push_back(AnnotationOf(loops, number));
        annotations.back()[kCarried] = ValuesOf(Describe(figure));
        categories.push_back({{"id", number}, {"name", figure.name}});
    }
    return JsonText(
        {{"images", {{{"id", 1}, {"file_name", ""}}}}, {"annotations", annotations}, {"categories", categories}});
}

}  // namespace host

#include "host/measure/Columns.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include "contract/Numbers.h"
#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

// What is not a finite number is nothing, in every format.
Cell Number(double value) { return std::isfinite(value) ? Cell(value) : Cell(); }

Cell StatusOf(const Measured& m, const Column&) {
    if (m.damaged) {
        return "damaged";
    }
    switch (m.placement) {
        case Placement::ok:
            return "ok";
        case Placement::clipped:
            return "clipped";
        case Placement::outside:
            return "outside";
        default:
            return "empty";
    }
}

template <double ValueStatistics::*kMember>
Cell OfValues(const Measured& m, const Column&) {
    return Number(m.values.*kMember);
}

template <double Place::*kMember>
Cell OfPlace(const Measured& m, const Column&) {
    return m.place ? Number((*m.place).*kMember) : Cell();
}

template <int PixelRect::*kMember>
Cell OfBox(const Measured& m, const Column&) {
    return m.place ? Cell(std::int64_t{m.place->box.*kMember}) : Cell();
}

template <double OutlineShape::*kMember>
Cell OfOutline(const Measured& m, const Column&) {
    return m.shape.perimeter > 0.0 ? Number(m.shape.*kMember) : Cell();
}

Cell Circularity(const Measured& m, const Column&) {
    return Number(4.0 * kPi * m.shape.area / (m.shape.perimeter * m.shape.perimeter));
}

double AreaOf(const Measured& m) { return m.place ? m.place->area * m.scale.Area() : 0.0; }

// The ellipse that has the same second moments as the pixels.
struct Axes {
    double major;
    double minor;
    double angle;  // in radians, above -pi/2 up to pi/2; not a number when both are equal, to a thousandth
};

Axes AxesOf(const Place& place, const PixelScale& scale) {
    // Those of the pixels' squares about their centres come in.
    const double xx = (place.xx + 1.0 / 12.0) * scale.x * scale.x;
    const double yy = (place.yy + 1.0 / 12.0) * scale.y * scale.y;
    const double xy = place.xy * scale.x * scale.y;
    const double middle = 0.5 * (xx + yy);
    const double apart = std::hypot(0.5 * (xx - yy), xy);
    // Drawn circles differ from round by less than this, and nobody sees their axis.
    constexpr double kRound = 1e-3;
    // Upright is +90 degrees, whichever way it leans by rounding.
    constexpr double kUpright = 1e-12;
    const double lean = std::abs(xy) <= kUpright * middle ? 0.0 : xy;
    const double angle = apart <= kRound * middle ? std::nan("") : 0.5 * std::atan2(2.0 * lean, xx - yy);
    return {4.0 * std::sqrt(middle + apart), 4.0 * std::sqrt(std::max(middle - apart, 0.0)), angle};
}

template <double Axes::*kMember>
Cell OfAxes(const Measured& m, const Column&) {
    return m.place ? Number(AxesOf(*m.place, m.scale).*kMember) : Cell();
}

Cell AngleOf(const Measured& m, const Column&) {
    return m.place ? Number(AxesOf(*m.place, m.scale).angle / kPi * 180.0) : Cell();
}

constexpr Wanted kShape{true, false, false};
constexpr Wanted kMiddle{false, true, false};
constexpr Wanted kDistribution{false, false, true};
constexpr bool kShown = true;
constexpr bool kInUnits = true;
constexpr bool kOfOutline = true;

const std::vector<Column> kColumns = {
    {"image", "the image, as it was named", [](const Measured& m, const Column&) { return Cell(m.image.Typed()); },
     kShown},
    {"page", "the page of the image, from 1",
     [](const Measured& m, const Column&) { return Cell(std::int64_t{m.page}); }},
    {"name", "the figure", [](const Measured& m, const Column&) { return Cell(m.figure.name); }, kShown},
    {"class", "the figure's class",
     [](const Measured& m, const Column&) { return Cell(std::string(m.figure.type->name)); }},
    {"channel", "R, G, B or A with --channels; L is a grey image, or the luma of a colour image",
     [](const Measured& m, const Column&) { return Cell(m.channel); }},
    {"status",
     "ok, clipped (only what lies inside the image is measured), outside, empty (no pixel at all), or damaged (what "
     "could be read of the image, with --lenient)",
     StatusOf, kShown},
    {"pixels", "how many pixels are measured; with --exact those of which a part counts, too",
     [](const Measured& m, const Column&) { return Cell(m.place ? m.place->pixels : 0); }, kShown},
    {"area", "their area: as many as pixels or, with --exact, the sum of the parts that count",
     [](const Measured& m, const Column&) { return Number(AreaOf(m)); }, !kShown, kInUnits},
    {"unit", "the unit of lengths and areas: px, or that of the size of a pixel",
     [](const Measured& m, const Column&) { return Cell(m.scale.unit); }},
    {"mean", "mean of the values", OfValues<&ValueStatistics::mean>, kShown},
    {"std", "standard deviation of the values, all of them being the population", OfValues<&ValueStatistics::deviation>,
     kShown},
    {"min", "smallest value", OfValues<&ValueStatistics::min>, kShown},
    {"max", "largest value", OfValues<&ValueStatistics::max>, kShown},
    {"cx", "centroid of the pixels, whatever their values: mean column", OfPlace<&Place::centroidX>, kShown},
    {"cy", "and mean row", OfPlace<&Place::centroidY>, kShown},
    {"left", "the box around the pixels: first column", OfBox<&PixelRect::left>},
    {"top", "first row", OfBox<&PixelRect::top>},
    {"width", "number of columns", OfBox<&PixelRect::width>},
    {"height", "number of rows", OfBox<&PixelRect::height>},
    {"sum", "sum of the values", OfValues<&ValueStatistics::sum>},
    {"intden", "integrated density: the sum of the values times the area of a pixel",
     [](const Measured& m, const Column&) { return Number(m.values.sum * m.scale.Area()); }, !kShown, kInUnits},
    {"median", "the value below which half of the area lies, as p50",
     [](const Measured& m, const Column&) { return Number(m.values.distribution.Percentile(50.0)); }, !kShown,
     !kInUnits, !kOfOutline, kDistribution},
    {"pNN", "the value below which NN percent of the area lie, or the mean of two that part it there: p05, p99.9",
     [](const Measured& m, const Column& column) { return Number(m.values.distribution.Percentile(column.low)); },
     !kShown, !kInUnits, !kOfOutline, kDistribution},
    {"mode", "the most frequent value, the smallest of several",
     [](const Measured& m, const Column&) { return Number(m.values.distribution.Mode()); }, !kShown, !kInUnits,
     !kOfOutline, kDistribution},
    {"threshold=LOW-HIGH", "the area of the values from LOW to HIGH, both included: threshold=100-255",
     [](const Measured& m, const Column& column) {
         return Number(m.values.distribution.Between(column.low, column.high) * m.scale.Area());
     },
     !kShown, kInUnits, !kOfOutline, kDistribution},
    {"skewness", "skewness of the values", OfValues<&ValueStatistics::skewness>, !kShown, !kInUnits, !kOfOutline,
     kShape},
    {"kurtosis", "their kurtosis, 0 for the normal distribution", OfValues<&ValueStatistics::kurtosis>, !kShown,
     !kInUnits, !kOfOutline, kShape},
    {"mx", "centre of mass, each pixel weighted by its value: column", OfValues<&ValueStatistics::middleX>, !kShown,
     !kInUnits, !kOfOutline, kMiddle},
    {"my", "and row", OfValues<&ValueStatistics::middleY>, !kShown, !kInUnits, !kOfOutline, kMiddle},
    {"nan", "the area, in pixels, of values that are not numbers and that all others pass over",
     OfValues<&ValueStatistics::notNumbers>},
    {"perimeter", "length of the outline, of the whole figure", OfOutline<&OutlineShape::perimeter>, !kShown, kInUnits,
     kOfOutline},
    {"feret", "largest distance of two points of the outline", OfOutline<&OutlineShape::feret>, !kShown, kInUnits,
     kOfOutline},
    {"circularity", "4 pi times the outline's area by its squared length: 1 for a circle", Circularity, !kShown,
     !kInUnits, kOfOutline},
    {"major", "the long axis of the ellipse with the pixels' second moments", OfAxes<&Axes::major>, !kShown, kInUnits},
    {"minor", "and its short axis", OfAxes<&Axes::minor>, !kShown, kInUnits},
    {"angle",
     "direction of the long axis in degrees, from +x toward +y, above -90 up to 90; nothing when both are equal",
     AngleOf},
};

// `pNN` for a number from 0 to 100, or `threshold=LOW-HIGH`.
std::optional<Column> WithNumbers(Column column, const std::string& name) {
    constexpr std::string_view kThreshold = "threshold=";
    const std::string_view text = name;
    column.name = name;
    if (column.name.starts_with(kThreshold)) {
        // A number may begin with a minus or have one in its exponent.
        for (std::size_t dash = text.find('-', kThreshold.size()); dash != text.npos; dash = text.find('-', dash + 1)) {
            const auto low = ParseNumber(text.substr(kThreshold.size(), dash - kThreshold.size()));
            const auto high = ParseNumber(text.substr(dash + 1));
            if (low && high && *low <= *high) {
                column.low = *low;
                column.high = *high;
                return column;
            }
        }
        return std::nullopt;
    }
    const auto percent = text.starts_with('p') ? ParseNumber(text.substr(1)) : std::nullopt;
    if (!percent || *percent < 0.0 || *percent > 100.0) {
        return std::nullopt;
    }
    column.low = *percent;
    return column;
}

const Column& Known(const std::string& name) {
    return *std::find_if(kColumns.begin(), kColumns.end(), [&](const Column& column) { return column.name == name; });
}

Column ColumnNamed(const std::string& name) {
    std::vector<std::string> known;
    for (const Column& column : kColumns) {
        const bool hasNumbers = column.name == "pNN" || column.name == "threshold=LOW-HIGH";
        if (name == column.name && !hasNumbers) {
            return column;
        }
        known.push_back(column.name);
    }
    const auto numbered = WithNumbers(Known(name.starts_with('p') ? "pNN" : "threshold=LOW-HIGH"), name);
    if (!numbered) {
        throw UnknownName("column", name, known);
    }
    return *numbered;
}

Columns Shown(ShownColumns shown) {
    Columns columns;
    for (const Column& column : kColumns) {
        const bool also = (shown.channels && column.name == "channel") || (shown.pages && column.name == "page") ||
                          (shown.areas && (column.name == "area" || column.name == "unit"));
        if (column.isShown || also) {
            columns.push_back(column);
        }
    }
    return columns;
}

}  // namespace

std::span<const Column> AllColumns() { return kColumns; }

Columns PickColumns(const std::string& list, ShownColumns shown) {
    if (list.empty()) {
        return Shown(shown);
    }
    Columns columns;
    std::istringstream names(list);
    for (std::string name; std::getline(names, name, ',');) {
        Column column = ColumnNamed(name);
        if (HasColumn(columns, name)) {
            throw UsageError("column given twice", name, "a row has one value of a name");
        }
        columns.push_back(std::move(column));
    }
    const bool inUnits = std::any_of(columns.begin(), columns.end(), [](const Column& c) { return c.isInUnits; });
    if (inUnits && !HasColumn(columns, "unit")) {
        columns.push_back(Known("unit"));
    }
    return columns;
}

bool HasColumn(const Columns& columns, const std::string& name) {
    return std::any_of(columns.begin(), columns.end(), [&](const Column& column) { return column.name == name; });
}

std::vector<std::string> NamesOf(const Columns& columns) {
    std::vector<std::string> names;
    std::transform(columns.begin(), columns.end(), std::back_inserter(names),
                   [](const Column& column) { return column.name; });
    return names;
}

Wanted WantedBy(const Columns& columns) {
    Wanted wanted;
    for (const Column& column : columns) {
        wanted.shape |= column.wanted.shape;
        wanted.middle |= column.wanted.middle;
        wanted.distribution |= column.wanted.distribution;
    }
    return wanted;
}

bool NeedOutline(const Columns& columns) {
    return std::any_of(columns.begin(), columns.end(), [](const Column& column) { return column.needsOutline; });
}

std::vector<Cell> RowOf(const Columns& columns, const Measured& measured) {
    std::vector<Cell> row;
    row.reserve(columns.size());
    for (const Column& column : columns) {
        row.push_back(column.fill(measured, column));
    }
    return row;
}

std::string ColumnsHelp() {
    constexpr std::size_t kName = 12;
    constexpr std::size_t kLine = 110;
    std::string help;
    for (const Column& column : kColumns) {
        std::string line = fmt::format("  {:{}}{}", column.name, kName, column.isShown ? '*' : ' ');
        std::istringstream words(column.meaning);
        for (std::string word; words >> word;) {
            if (line.size() + 1 + word.size() > kLine) {
                help += line + '\n';
                line.assign(3 + kName, ' ');
            }
            line += ' ' + word;
        }
        help += line + '\n';
    }
    return help;
}

}  // namespace host

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

Cell StatusOf(const Measured& m) {
    if (m.damaged) {
        return "damaged";
    }
    switch (m.view.placement) {
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

// A member of the statistics, and nothing where no pixel is measured.
template <double Statistics::*kMember>
Cell Real(const Measured& m) {
    return m.statistics ? Cell((*m.statistics).*kMember) : Cell();
}

template <int PixelRect::*kMember>
Cell OfBox(const Measured& m) {
    return m.statistics ? Cell(std::int64_t{m.statistics->box.*kMember}) : Cell();
}

Cell AngleOf(const Measured& m) {
    return m.statistics && !std::isnan(m.statistics->angle) ? Cell(m.statistics->angle / kPi * 180.0) : Cell();
}

constexpr Column kColumns[] = {
    {"image", "the image, as it was named", [](const Measured& m) { return Cell(m.image.Typed()); }},
    {"name", "the figure", [](const Measured& m) { return Cell(m.figure.name); }},
    {"class", "the figure's class", [](const Measured& m) { return Cell(std::string(m.figure.type->name)); }},
    {"status",
     "ok, clipped (only what lies inside the image is measured), outside, empty (no pixel at all), or\n"
     "           damaged (what could be read of the image, with --lenient)",
     StatusOf},
    {"pixels", "how many pixels are measured; with --exact those of which a part counts, too",
     [](const Measured& m) { return Cell(m.statistics ? m.statistics->pixels : 0); }},
    {"mean", "mean of their values", Real<&Statistics::mean>},
    {"std", "standard deviation of their values, all of them being the population", Real<&Statistics::deviation>},
    {"min", "smallest value", Real<&Statistics::min>},
    {"max", "largest value", Real<&Statistics::max>},
    {"cx", "centroid of the pixels, whatever their values: mean column", Real<&Statistics::centroidX>},
    {"cy", "and mean row", Real<&Statistics::centroidY>},
    {"left", "the box around the pixels: first column", OfBox<&PixelRect::left>},
    {"top", "first row", OfBox<&PixelRect::top>},
    {"width", "number of columns", OfBox<&PixelRect::width>},
    {"height", "number of rows", OfBox<&PixelRect::height>},
    {"median", "middle value; of an even number the mean of the two middle ones",
     [](const Measured& m) { return m.statistics ? Cell(Median(m.channel.values, m.view.pixels)) : Cell(); }},
    {"sum", "sum of the values", Real<&Statistics::sum>},
    {"angle",
     "direction of the pixels' long axis in degrees, from +x toward +y, above -90 up to 90; nothing when\n"
     "           they are as broad as long",
     AngleOf},
    {"area", "area in pixels: with --exact the sum of the parts that count, otherwise as many as pixels",
     [](const Measured& m) { return Cell(m.statistics ? m.statistics->area : 0.0); }},
    {"channel", "R, G, B or A with --channels; L is a grey image, or the luma of a colour image",
     [](const Measured& m) { return Cell(m.channel.name); }},
};
constexpr std::size_t kAlwaysThere = 15;
constexpr std::size_t kChannelPlace = 3;

const Column& ColumnNamed(const std::string& name) {
    std::vector<std::string> known;
    for (const Column& column : kColumns) {
        if (name == column.name) {
            return column;
        }
        known.emplace_back(column.name);
    }
    throw UnknownName("column", name, known);
}

}  // namespace

std::span<const Column> AllColumns() noexcept { return kColumns; }

Columns PickColumns(const std::string& list, bool channels) {
    Columns columns;
    if (list.empty()) {
        std::transform(kColumns, kColumns + kAlwaysThere, std::back_inserter(columns),
                       [](const Column& column) { return &column; });
        if (channels) {
            columns.insert(columns.begin() + kChannelPlace, &ColumnNamed("channel"));
        }
        return columns;
    }
    std::istringstream names(list);
    for (std::string name; std::getline(names, name, ',');) {
        const Column* const column = &ColumnNamed(name);
        if (std::find(columns.begin(), columns.end(), column) != columns.end()) {
            throw UsageError("column given twice", name, "a row has one value of a name");
        }
        columns.push_back(column);
    }
    return columns;
}

std::vector<std::string> NamesOf(const Columns& columns) {
    std::vector<std::string> names;
    std::transform(columns.begin(), columns.end(), std::back_inserter(names),
                   [](const Column* column) { return column->name; });
    return names;
}

std::string ColumnsHelp() {
    std::string help;
    for (const Column& column : kColumns) {
        help += fmt::format("  {:8} {}\n", column.name, column.meaning);
    }
    return help;
}

}  // namespace host

// The columns of measurements: their names, what they mean and how they are filled.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/base/Cell.h"
#include "host/base/UserPath.h"
#include "host/measure/OutlineShape.h"
#include "host/measure/PixelScale.h"
#include "host/measure/Region.h"
#include "host/measure/Statistics.h"
#include "host/sets/RoiSet.h"

namespace host {

/// One figure on one channel of one page of an image: what a row is made of.
struct Measured {
    const UserPath& image;
    int page;  ///< from 1
    const Figure& figure;
    Placement placement;
    bool damaged;  ///< whether the image was read in spite of damage
    const std::string& channel;
    const PixelScale& scale;
    std::optional<Place> place;
    OutlineShape shape;  ///< in the unit of the scale; of nothing when no column asks for it
    ValueStatistics values;
};

struct Column {
    std::string name;
    std::string meaning;
    Cell (*fill)(const Measured& measured, const Column& column) = nullptr;
    bool isShown = false;          ///< whether it is there when no columns are named
    bool isInUnits = false;        ///< a length or an area, in the unit that the column `unit` names
    bool needsOutline = false;     ///< Measured::shape
    Wanted wanted = {};            ///< what it takes of the values
    double low = 0.0, high = 0.0;  ///< of `pNN` and of `threshold=LOW-HIGH`: their numbers
};

using Columns = std::vector<Column>;

/// Every column, in the order in which people are told of them. `pNN` and `threshold=LOW-HIGH` stand for any numbers.
std::span<const Column> AllColumns();

/// What else is shown when no columns are named.
struct ShownColumns {
    bool channels = false;  ///< `channel`
    bool pages = false;     ///< `page`
    bool areas = false;     ///< `area` and `unit`
};

/// The columns of a list `a,b,c`, in its order; without a list those that are shown. Where one is in units, `unit`
/// comes behind them if it is not among them. Throws a usage error, with the nearest name, for an unknown column, and
/// for one that comes twice.
Columns PickColumns(const std::string& list, ShownColumns shown);

bool HasColumn(const Columns& columns, const std::string& name);
std::vector<std::string> NamesOf(const Columns& columns);

/// What all of them take of the values.
Wanted WantedBy(const Columns& columns);
bool NeedOutline(const Columns& columns);

std::vector<Cell> RowOf(const Columns& columns, const Measured& measured);

/// A line for every column: its name and what it means.
std::string ColumnsHelp();

}  // namespace host

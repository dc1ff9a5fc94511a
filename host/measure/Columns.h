// The columns of `roi measure`: their names, what they mean and how they are filled.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/base/Cell.h"
#include "host/base/UserPath.h"
#include "host/images/Image.h"
#include "host/measure/Region.h"
#include "host/measure/Statistics.h"
#include "host/sets/RoiSet.h"

namespace host {

/// One figure on one channel of one image: what a row is made of.
struct Measured {
    const UserPath& image;
    const Figure& figure;
    const View& view;
    const Channel& channel;
    bool damaged;  ///< whether the image was read in spite of damage
    std::optional<Statistics> statistics;
};

struct Column {
    const char* name;
    const char* meaning;
    Cell (*fill)(const Measured& measured);
};

/// All columns, in the order in which people are told of them.
std::span<const Column> AllColumns() noexcept;

using Columns = std::vector<const Column*>;

/// All columns there are.
std::span<const Column> AllColumns() noexcept;

/// The columns of a list `a,b,c`, in its order; without a list those that are always there, and the channel
/// where there are several. Throws a usage error, with the nearest name, for an unknown column, and for
/// one that comes twice.
Columns PickColumns(const std::string& list, bool channels);

std::vector<std::string> NamesOf(const Columns& columns);

/// A line for every column: its name and what it means.
std::string ColumnsHelp();

}  // namespace host

// The two lists that an archive of a set holds in JSON. They are written and read in one pass, without a tree of the
// text in memory: to free a tree takes memory, and there may be none left.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/base/Text.h"

namespace host {

/// One row of the listing of an archive.
struct ListedFigure {
    std::string name;
    std::string className;
};

std::string ListingText(const std::vector<ListedFigure>& figures);
std::string PointsText(const std::vector<ImagePoint>& points);

/// The lists back from their texts. Keys and numbers beyond those that count are passed over. Throws
/// std::runtime_error, with the reason, for a text that is not such a list or is nested more deeply.
std::vector<ListedFigure> ParseListing(std::string_view text);
std::vector<ImagePoint> ParsePoints(std::string_view text);

}  // namespace host

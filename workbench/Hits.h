// What lies below a point of the image.
#pragma once

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "host/figures/FigureIndex.h"
#include "host/sets/EditSet.h"

namespace host::workbench {

/// For one set, of which it is told every change. An index of all figures is made when it is asked first, and anew when
/// many of them have changed since.
class Hits {
  public:
    void Note(const std::vector<FigureChange>& changes);

    /// The figures whose outline holds the point or passes within the tolerance, the last of the set first.
    std::vector<std::string> At(const RoiSet& set, ImagePoint at, double tolerance);

  private:
    std::vector<const Figure*> Near(const RoiSet& set, ImagePoint at, double reach) const;

    std::optional<FigureIndex> m_index;
    std::vector<std::string> m_names;            // by their places in the index
    std::unordered_set<std::string> m_outdated;  // what the index does not know, or not as it is
};

}  // namespace host::workbench

// Edits of a set as they come in requests.
#pragma once

#include <set>
#include <string>

#include "host/figures/Session.h"
#include "host/sets/RoiSet.h"
#include "workbench/Answer.h"

namespace host::workbench {

class Edits {
  public:
    /// A list of edits, for a set of which new figures get names that are free there. Throws a usage error for a list
    /// that makes no sense, and Error for a figure that does not exist.
    Edits(Json list, const RoiSet& set);

    /// The figures of the set that they change.
    const std::set<std::string>& Named() const noexcept { return m_named; }
    /// What they do, in one line.
    std::string Summary() const;

    /// Does them to a set that holds the figures named. Gives the names that the figures have then that were changed or
    /// made. Throws Error, with the set changed in part.
    std::set<std::string> ApplyTo(RoiSet& set, const Session& session) const;

  private:
    Json m_list;
    std::set<std::string> m_named;
};

/// A name that no figure of a set has: the stem with a number from 1 on.
std::string FreshName(const std::string& stem, const RoiSet& set);

}  // namespace host::workbench

// Which figures changed when, for windows and programs that ask what is new since they last looked.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/sets/EditSet.h"

namespace host::workbench {

class Revisions {
  public:
    /// Begins at 1 with these figures.
    explicit Revisions(const std::vector<Figure>& figures);

    /// Counts one more change of the set, which now has these figures.
    void Count(const std::vector<FigureChange>& changes, const std::vector<Figure>& figures);

    std::int64_t Current() const noexcept { return m_current; }
    /// When the figure of that name changed, came or went last; the first revision when it never did.
    std::int64_t Of(const std::string& name) const;
    /// The figures that changed or came after a revision from 1 on and are there.
    std::vector<std::string> ChangedSince(std::int64_t revision) const;
    /// The figures that went after a revision and are not there.
    std::vector<std::string> RemovedSince(std::int64_t revision) const;
    /// Whether figures changed places after a revision, other than by going and by being appended.
    bool OrderChangedSince(std::int64_t revision) const noexcept { return m_order > revision; }

  private:
    std::int64_t m_current = 1;
    std::int64_t m_order = 1;
    std::unordered_map<std::string, std::int64_t> m_changed;
    std::unordered_map<std::string, std::int64_t> m_removed;
    std::vector<std::string> m_names;
};

}  // namespace host::workbench

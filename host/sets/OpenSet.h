// The file of a set in the hands of a program that shows it and edits it again and again, while others may, too.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "host/sets/StoredSet.h"

namespace host {

/// Holds what is in the file, so that an edit reads nothing unless somebody else wrote there. For the thread of its
/// session, which must live as long.
class OpenSet {
  public:
    using Names = std::set<std::string>;
    /// Is told of every change of the set, whoever made it, once the file has it.
    using Observer = std::function<void(const std::vector<FigureChange>&)>;

    /// Reads the set; a path where nothing lies is an empty one, whose file the first edit makes. Throws Error.
    OpenSet(const Session& session, UserPath path, Observer observer);

    const RoiSet& Set() const noexcept { return m_stored.set; }
    /// What can be taken back and done again: what the file keeps of it, and all changes since this was made unless
    /// others cut them off.
    const History& Past() const noexcept { return m_stored.history; }

    /// Takes over what others did to the file. Throws Error, with the set as it was, for a file that cannot be read or
    /// is gone.
    void Refresh();
    /// As EditSet and StepSet, after a Refresh under the same lock. `edit` gives the names that the figures it changed
    /// have afterwards; those of new ones may be among them. Throw Error, and what `edit` throws, with the set and its
    /// file as they were.
    EditResult Edit(const EditOptions& options, const std::function<Names(RoiSet&)>& edit);
    EditResult Step(const EditOptions& options, host::Step step);

  private:
    // Tells one version of a file from another: a new one is another file.
    using Stamp = std::tuple<std::uint64_t, std::int64_t, std::int64_t, std::int64_t>;

    Stamp StampOfFile() const;

    const Session& m_session;
    UserPath m_path;
    Observer m_observer;
    StoredSet m_stored;
    Stamp m_stamp;
};

}  // namespace host

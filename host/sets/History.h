// What was done to a set, to be taken back and done again: kept as one block of its archive, beside the figures.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "framework/support/FolderStream.h"

namespace host {

/// The block of a set's archive that holds its history. It is the only one that may be damaged without harm.
inline constexpr const char* kHistoryBlock = "history.zip";

class History {
  public:
    /// A set's archive keeps as many changes, and as many bytes of them: those nearest to the present.
    static constexpr std::size_t kMostChanges = 50;
    static constexpr std::size_t kMostBytes = std::size_t{16} << 20;

    struct Change {
        std::string what;  ///< the command, as it was typed
        std::string when;  ///< date and time, in UTC
        /// An archive of the blocks that differ on the other side of the change, and of the names of those that are
        /// not there.
        std::shared_ptr<const FolderArchive::Block> otherSide;
    };

    History() = default;
    /// The history in a set's archive; an empty one where there is none. Throws std::exception when it is damaged.
    explicit History(const FolderArchive& set);

    /// The oldest first: those that are in effect, then those that were taken back.
    const std::vector<Change>& Changes() const noexcept { return m_changes; }
    /// How many of the changes are in effect.
    std::size_t Done() const noexcept { return m_done; }

    /// Appends a change of the set's blocks, unless they are the same; what was taken back is forgotten. False when
    /// the change is larger than all that an archive keeps.
    bool Record(const std::string& what, const FolderArchive& before, const FolderArchive& after);
    /// Takes the last change back, or does the next one again, and gives the blocks of the set as they are then. The
    /// change must exist. Throws std::exception when it is damaged.
    FolderArchive Undo(const FolderArchive& set);
    FolderArchive Redo(const FolderArchive& set);

    /// Puts the history into a set's archive, as much as that keeps.
    void SaveIn(FolderArchive& set) const;

    /// Puts in front what an earlier state of the same history still knew; nothing where they have no change in common.
    void Remember(const History& earlier);

  private:
    std::vector<Change> m_changes;
    std::size_t m_done = 0;
};

}  // namespace host

// What the edits of a set's file are made of: the set with all that its file holds, the changes between two of them,
// and writing one with its history. Callers hold the lock of the folder.
#pragma once

#include <string>
#include <vector>

#include "host/sets/EditSet.h"

namespace host {

/// A set as it was read from its file or written there: the archive has all blocks, the history among them.
struct StoredSet {
    RoiSet set;
    FolderArchive archive;
    History history;     ///< at least what the archive has of it
    std::string damage;  ///< what is wrong with the history in the archive, which then is none; empty for a sound one

    /// An empty set.
    StoredSet();
};

/// Reads a set. With `create` a path where nothing lies is an empty set. Throws Error.
StoredSet LoadStored(const Session& session, const UserPath& path, bool create);

/// What differs between the sets of two archives.
std::vector<FigureChange> Changes(const FolderArchive& before, const FolderArchive& after);

/// Writes what an edit made of `stored.set`, a `.roi` file with the history, and brings the rest of `stored` up to it;
/// with options.dryRun nothing changes. `isKept` tells of figures that the edit did not touch: they stay as they were
/// stored, even where looking at them changed them. Throws Error, with the file and the rest as they were.
EditResult Commit(const UserPath& path, const EditOptions& options, StoredSet& stored,
                  const std::function<bool(const std::string&)>& isKept);

/// Takes the last change of `stored.history` back or does it again, in the file and in `stored`, or with options.dryRun
/// in neither. Throws Error, with both as they were.
EditResult StepStored(const Session& session, const UserPath& path, const EditOptions& options, Step step,
                      StoredSet& stored);

/// Calls `work`; what it throws becomes an Error about the file.
template <class Work>
auto Named(std::string_view what, const UserPath& path, Work work) {
    try {
        return work();
    } catch (const Error&) {
        throw;
    } catch (const std::exception& failure) {
        throw Error(what, path.Typed(), failure.what());
    }
}

/// Throws a usage error for a set whose file keeps no history.
void CheckKeepsHistory(const UserPath& path);

}  // namespace host

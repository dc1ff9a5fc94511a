// Editing the file of a set: nothing that others do to it at the same time is lost, and it can be taken back.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/base/UserPath.h"
#include "host/sets/History.h"
#include "host/sets/RoiSet.h"

namespace host {

struct EditOptions {
    std::string what = {};  ///< the change, in a line, as the history tells it
    bool create = false;    ///< whether a path where nothing lies is an empty set
    bool anew = false;      ///< whether `edit` starts with an empty set in place of what is there, even no set at all
    bool dryRun = false;    ///< whether nothing is written
    double wait = 30.0;     ///< for how many seconds others may keep the set; see FolderLock
};

/// What happened, or with dryRun would have happened, to a figure.
struct FigureChange {
    const char* what;  ///< "adds", "removes" or "changes"
    std::string name;
};

struct EditResult {
    std::vector<Warning> warnings;  ///< as RoiSet::Save gives them, and one when the history had to begin anew
    std::vector<FigureChange> changes;
};

/// Reads a set, changes it and replaces its file, and lets nobody else who edits in this way do so in between. A
/// `.roi` file remembers the change in its history. Throws Error, and what `edit` throws, with the file as it was.
EditResult EditSet(const Session& session, const UserPath& path, const EditOptions& options,
                   const std::function<void(RoiSet&)>& edit);

/// Takes the last change of a `.roi` file back, or does the last one that was taken back again. `options` may ask for a
/// dry run; it names no change. Throws Error, with the file as it was, when there is none or its history is damaged.
enum class Step { undo, redo };
EditResult StepSet(const Session& session, const UserPath& path, const EditOptions& options, Step step);

/// The history of a `.roi` file. Throws Error when the set or its history is damaged.
History HistoryOf(const UserPath& path);

}  // namespace host

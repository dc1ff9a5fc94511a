#include "host/sets/EditSet.h"

#include <optional>

#include "host/base/Error.h"
#include "host/base/FolderLock.h"
#include "host/sets/StoredSet.h"

namespace host {

namespace {

// What the edit starts with: the set that is there or, for one that starts anew, no figures before their history.
StoredSet Start(const Session& session, const UserPath& path, const EditOptions& options) {
    if (!options.anew) {
        return LoadStored(session, path, options.create);
    }
    StoredSet stored;
    try {
        stored = LoadStored(session, path, true);
        stored.set = {};
    } catch (const Error&) {
        // It is no set.
    }
    return stored;
}

std::optional<FolderLock> Lock(const UserPath& path, const EditOptions& options) {
    return options.dryRun ? std::nullopt : std::optional<FolderLock>(std::in_place, "set", path, options.wait);
}

}  // namespace

EditResult EditSet(const Session& session, const UserPath& path, const EditOptions& options,
                   const std::function<void(RoiSet&)>& edit) {
    CheckSetEnding(path);
    const std::optional<FolderLock> lock = Lock(path, options);
    StoredSet stored = Start(session, path, options);
    edit(stored.set);
    return Commit(path, options, stored, [](const std::string&) { return false; });
}

EditResult StepSet(const Session& session, const UserPath& path, const EditOptions& options, Step step) {
    CheckKeepsHistory(path);
    const std::optional<FolderLock> lock = Lock(path, options);
    StoredSet stored = LoadStored(session, path, false);
    return StepStored(session, path, options, step, stored);
}

History HistoryOf(const UserPath& path) {
    CheckKeepsHistory(path);
    return Named("cannot use history", path, [&] { return History(*RoiSet::LoadArchive(path)); });
}

}  // namespace host

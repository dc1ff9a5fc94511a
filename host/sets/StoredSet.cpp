#include "host/sets/StoredSet.h"

#include <algorithm>
#include <memory>
#include <set>
#include <utility>

#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/sets/ArchiveDifference.h"
#include "host/sets/SetFile.h"

namespace host {

namespace {

bool KeepsHistory(const UserPath& path) { return path.Extension() == ".roi"; }

// The name of the figure that a block belongs to; empty for any other.
std::string FigureOf(const std::string& path) {
    constexpr std::string_view kFolder = "figures/";
    const std::size_t end = path.find('/', kFolder.size());
    return path.starts_with(kFolder) && end != path.npos ? path.substr(kFolder.size(), end - kFolder.size()) : "";
}

std::set<std::string> NamesIn(const FolderArchive& archive) {
    std::set<std::string> names;
    for (ListedFigure& figure : FiguresIn(archive)) {
        names.insert(std::move(figure.name));
    }
    return names;
}

// The figures that have other blocks in one set than in the other.
std::set<std::string> Touched(const FolderArchive& before, const FolderArchive& after) {
    std::set<std::string> touched;
    ForEachDifference(before, after, [&touched](const std::string& path, const FolderArchive::Block*) {
        touched.insert(FigureOf(path));
    });
    touched.erase("");
    return touched;
}

// A damaged history is none.
void TakeHistory(StoredSet& stored) {
    try {
        stored.history = History(stored.archive);
    } catch (const std::exception& failure) {
        stored.damage = failure.what();
    }
}

// Writes the set of an archive with its history, or without it where both together are too large.
void WriteArchive(const UserPath& path, FolderArchive& archive, const History& history,
                  std::vector<Warning>& warnings) {
    std::string bytes;
    try {
        history.SaveIn(archive);
        bytes = archive.ToBytes();
    } catch (const std::exception&) {
        archive.Remove(kHistoryBlock);
        bytes = Named("cannot write set", path, [&] { return archive.ToBytes(); });
        warnings.push_back({path.Typed(), "the set leaves no room for its history"});
    }
    WriteWholeFile("set", path, bytes);
    RemoveLeftovers(path);
}

void Write(const UserPath& path, const RoiSet& set, FolderArchive& archive, const History& history,
           std::vector<Warning>& warnings) {
    if (KeepsHistory(path)) {
        WriteArchive(path, archive, history, warnings);
    } else {
        set.Save(path);
    }
}

}  // namespace

StoredSet::StoredSet() : archive(std::move(*PackFigures({}))) {}

std::vector<FigureChange> Changes(const FolderArchive& before, const FolderArchive& after) {
    const std::set<std::string> touched = Touched(before, after);
    std::vector<FigureChange> changes;
    // Long to read, and seldom another one.
    const bool hasOtherNames = !ListsSame(before, after);
    const std::set<std::string> here = hasOtherNames ? NamesIn(before) : touched;
    const std::set<std::string> there = hasOtherNames ? NamesIn(after) : touched;
    for (const std::string& name : here) {
        if (!there.contains(name)) {
            changes.push_back({"removes", name});
        }
    }
    for (const std::string& name : there) {
        if (!here.contains(name)) {
            changes.push_back({"adds", name});
        } else if (touched.contains(name)) {
            changes.push_back({"changes", name});
        }
    }
    return changes;
}

void CheckKeepsHistory(const UserPath& path) {
    if (!KeepsHistory(path)) {
        throw UsageError("no history", path.Typed(), "only a .roi file keeps one");
    }
}

StoredSet LoadStored(const Session& session, const UserPath& path, bool create) {
    std::error_code failure;
    StoredSet stored;
    if (!KeepsHistory(path)) {
        stored.set = create ? RoiSet::LoadOrCreate(session, path) : RoiSet::Load(session, path);
        stored.archive = std::move(*PackFigures(stored.set.Figures()));
    } else if (!create || std::filesystem::exists(path.Absolute(), failure)) {
        const auto archive = RoiSet::LoadArchive(path);
        stored.set = RoiSet::Load(session, path, archive);
        stored.archive = std::move(*archive);
        TakeHistory(stored);
    }
    return stored;
}

EditResult Commit(const UserPath& path, const EditOptions& options, StoredSet& stored,
                  const std::function<bool(const std::string&)>& isKept) {
    const auto archive =
        Named("cannot write set", path, [&] { return PackFigures(stored.set.Figures(), stored.archive, isKept); });
    EditResult result{stored.set.LostIn(path), Changes(stored.archive, *archive)};
    if (options.dryRun) {
        return result;
    }
    if (!stored.damage.empty()) {
        result.warnings.push_back({path.Typed(), "its history is damaged and begins anew"});
    }
    History history = stored.history;
    if (!history.Record(options.what, stored.archive, *archive) && KeepsHistory(path)) {
        result.warnings.push_back({path.Typed(), "the change is too large to be kept in the history"});
    }
    Write(path, stored.set, *archive, history, result.warnings);
    stored.archive = std::move(*archive);
    stored.history = std::move(history);
    stored.damage.clear();
    return result;
}

EditResult StepStored(const Session& session, const UserPath& path, const EditOptions& options, Step step,
                      StoredSet& stored) {
    if (!stored.damage.empty()) {
        throw Error("cannot use history", path.Typed(), stored.damage);
    }
    History history = stored.history;
    const bool undoing = step == Step::undo;
    if (undoing ? history.Done() == 0 : history.Done() == history.Changes().size()) {
        throw Error(undoing ? "nothing to undo" : "nothing to redo", path.Typed(), "its history has no such change");
    }
    const auto archive = Named("cannot use history", path, [&] {
        return std::make_shared<FolderArchive>(undoing ? history.Undo(stored.archive) : history.Redo(stored.archive));
    });
    // Nothing is written that could not be read back, whatever the history holds.
    RoiSet set = RoiSet::Load(session, path, archive);
    EditResult result{{}, Changes(stored.archive, *archive)};
    if (!options.dryRun) {
        Write(path, set, *archive, history, result.warnings);
        stored.set = std::move(set);
        stored.archive = std::move(*archive);
        stored.history = std::move(history);
    }
    return result;
}

}  // namespace host

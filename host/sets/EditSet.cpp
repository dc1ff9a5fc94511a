#include "host/sets/EditSet.h"

#include <algorithm>
#include <optional>
#include <set>

#include "host/base/Error.h"
#include "host/base/FolderLock.h"
#include "host/base/SafeFile.h"
#include "host/sets/SetFile.h"

namespace host {

namespace {

// The name of the figure that a block belongs to; empty for any other.
std::string FigureOf(const std::string& path) {
    constexpr std::string_view kFolder = "figures/";
    const std::size_t end = path.find('/', kFolder.size());
    return path.starts_with(kFolder) && end != path.npos ? path.substr(kFolder.size(), end - kFolder.size()) : "";
}

std::set<std::string> NamesOf(const std::vector<Figure>& figures) {
    std::set<std::string> names;
    std::transform(figures.begin(), figures.end(), std::inserter(names, names.end()),
                   [](const Figure& figure) { return figure.name; });
    return names;
}

// Figures of both sets of which a block differs.
std::set<std::string> Touched(const FolderArchive& before, const FolderArchive& after) {
    std::set<std::string> touched;
    const auto compare = [&touched](const FolderArchive& one, const FolderArchive& other) {
        for (const auto& [path, block] : one.Blocks()) {
            const FolderArchive::Block* const there = other.Find(path);
            if (there == nullptr || *there != block) {
                touched.insert(FigureOf(path));
            }
        }
    };
    compare(before, after);
    compare(after, before);
    return touched;
}

// The figures of a set, by name and as an archive.
struct State {
    std::set<std::string> names;
    FolderArchive archive;
};

std::vector<FigureChange> Changes(const State& before, const State& after) {
    std::vector<FigureChange> changes;
    for (const std::string& name : before.names) {
        if (!after.names.contains(name)) {
            changes.push_back({"removes", name});
        }
    }
    const std::set<std::string> touched = Touched(before.archive, after.archive);
    for (const std::string& name : after.names) {
        if (!before.names.contains(name)) {
            changes.push_back({"adds", name});
        } else if (touched.contains(name)) {
            changes.push_back({"changes", name});
        }
    }
    return changes;
}

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

void CheckKeepsHistory(const UserPath& path) {
    if (path.Extension() != ".roi") {
        throw UsageError("no history", path.Typed(), "only a .roi file keeps one");
    }
}

// The history in a set's file; a damaged one begins anew.
History HistoryToGoOn(const FolderArchive& archive, const UserPath& path, std::vector<Warning>& warnings) {
    try {
        return History(archive);
    } catch (const std::exception&) {
        warnings.push_back({path.Typed(), "its history is damaged and begins anew"});
        return {};
    }
}

// Where a set comes from and where it goes: its figures, and all of them as an archive.
struct Stored {
    RoiSet set;
    State state{{}, *PackFigures({})};
};

Stored LoadStored(const Session& session, const UserPath& path, bool create) {
    Stored stored;
    std::error_code failure;
    if (path.Extension() != ".roi") {
        stored.set = create ? RoiSet::LoadOrCreate(session, path) : RoiSet::Load(session, path);
        stored.state.archive = *PackFigures(stored.set.Figures());
    } else if (!create || std::filesystem::exists(path.Absolute(), failure)) {
        const auto archive = RoiSet::LoadArchive(path);
        stored.set = RoiSet::Load(session, path, archive);
        stored.state.archive = std::move(*archive);
    }
    stored.state.names = NamesOf(stored.set.Figures());
    return stored;
}

// What the edit starts with: the set that is there or, for one that starts anew, no figures before their history.
Stored Start(const Session& session, const UserPath& path, const EditOptions& options) {
    if (!options.anew) {
        return LoadStored(session, path, options.create);
    }
    Stored stored;
    try {
        stored.state = LoadStored(session, path, true).state;
    } catch (const Error&) {
        // It is no set.
    }
    return stored;
}

State StateOf(const UserPath& path, const RoiSet& set) {
    return {NamesOf(set.Figures()), Named("cannot write set", path, [&] { return *PackFigures(set.Figures()); })};
}

// Writes a set with its history, or without it where both together are too large.
void Write(const UserPath& path, FolderArchive archive, const History& history, std::vector<Warning>& warnings) {
    std::string bytes = Named("cannot write set", path, [&] { return archive.ToBytes(); });
    try {
        history.SaveIn(archive);
        bytes = archive.ToBytes();
    } catch (const std::exception&) {
        warnings.push_back({path.Typed(), "the set leaves no room for its history"});
    }
    WriteWholeFile("set", path, bytes);
    RemoveLeftovers(path);
}

std::optional<FolderLock> Lock(const UserPath& path, const EditOptions& options) {
    return options.dryRun ? std::nullopt : std::optional<FolderLock>(std::in_place, "set", path, options.wait);
}

}  // namespace

EditResult EditSet(const Session& session, const UserPath& path, const EditOptions& options,
                   const std::function<void(RoiSet&)>& edit) {
    CheckSetEnding(path);
    const std::optional<FolderLock> lock = Lock(path, options);
    Stored stored = Start(session, path, options);
    edit(stored.set);
    State after = StateOf(path, stored.set);
    EditResult result{stored.set.LostIn(path), Changes(stored.state, after)};
    if (options.dryRun) {
        return result;
    }
    if (path.Extension() != ".roi") {
        stored.set.Save(path);
        return result;
    }
    History history = HistoryToGoOn(stored.state.archive, path, result.warnings);
    if (!history.Record(options.what, stored.state.archive, after.archive)) {
        result.warnings.push_back({path.Typed(), "the change is too large to be kept in the history"});
    }
    Write(path, std::move(after.archive), history, result.warnings);
    return result;
}

EditResult StepSet(const Session& session, const UserPath& path, const EditOptions& options, Step step) {
    CheckKeepsHistory(path);
    const std::optional<FolderLock> lock = Lock(path, options);
    const Stored stored = LoadStored(session, path, false);
    History history = Named("cannot use history", path, [&] { return History(stored.state.archive); });
    const bool undoing = step == Step::undo;
    if (undoing ? history.Done() == 0 : history.Done() == history.Changes().size()) {
        throw Error(undoing ? "nothing to undo" : "nothing to redo", path.Typed(), "its history has no such change");
    }
    auto archive = Named("cannot use history", path, [&] {
        const FolderArchive& before = stored.state.archive;
        return std::make_shared<FolderArchive>(undoing ? history.Undo(before) : history.Redo(before));
    });
    // Nothing is written that could not be read back, whatever the history holds.
    const RoiSet set = RoiSet::Load(session, path, archive);
    State after{NamesOf(set.Figures()), std::move(*archive)};
    EditResult result{{}, Changes(stored.state, after)};
    if (!options.dryRun) {
        Write(path, std::move(after.archive), history, result.warnings);
    }
    return result;
}

History HistoryOf(const UserPath& path) {
    CheckKeepsHistory(path);
    return Named("cannot use history", path, [&] { return History(*RoiSet::LoadArchive(path)); });
}

}  // namespace host

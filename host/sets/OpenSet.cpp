#include "host/sets/OpenSet.h"

#include <sys/stat.h>

#include <memory>
#include <utility>

#include "host/base/Error.h"
#include "host/base/FolderLock.h"
#include "host/sets/SetFile.h"

namespace host {

OpenSet::OpenSet(const Session& session, UserPath path, Observer observer)
    : m_session(session), m_path(std::move(path)), m_observer(std::move(observer)), m_stamp(StampOfFile()) {
    CheckSetEnding(m_path);
    m_stored = LoadStored(m_session, m_path, true);
}

// All 0 where there is no file.
OpenSet::Stamp OpenSet::StampOfFile() const {
    struct stat status {};
    if (stat(m_path.Absolute().c_str(), &status) != 0) {
        return {};
    }
    return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void OpenSet::Refresh() {
    const Stamp stamp = StampOfFile();
    if (stamp == m_stamp) {
        return;
    }
    StoredSet read = LoadStored(m_session, m_path, false);
    read.history.Remember(m_stored.history);
    const std::vector<FigureChange> changes = Changes(m_stored.archive, read.archive);
    m_stored = std::move(read);
    m_stamp = stamp;
    m_observer(changes);
}

EditResult OpenSet::Edit(const EditOptions& options, const std::function<Names(RoiSet&)>& edit) {
    const FolderLock lock("set", m_path, options.wait);
    Refresh();
    EditResult result;
    Names touched;
    try {
        touched = edit(m_stored.set);
        result = Commit(m_path, options, m_stored, [&](const std::string& name) { return !touched.contains(name); });
    } catch (...) {
        // Figures are changed in place.
        m_stored.set = RoiSet::Load(m_session, m_path, std::make_shared<FolderArchive>(m_stored.archive));
        throw;
    }
    // As the next program sees them, too.
    for (const std::string& name : touched) {
        Figure& figure = m_stored.set.At(name);
        figure = ReadBack(m_session, figure);
    }
    m_stamp = StampOfFile();
    m_observer(result.changes);
    return result;
}

EditResult OpenSet::Step(const EditOptions& options, host::Step step) {
    const FolderLock lock("set", m_path, options.wait);
    Refresh();
    EditResult result = StepStored(m_session, m_path, options, step, m_stored);
    m_stamp = StampOfFile();
    m_observer(result.changes);
    return result;
}

}  // namespace host

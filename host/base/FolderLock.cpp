#include "host/base/FolderLock.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "host/base/Error.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

// Whether the lock was to be had before the time was over. Otherwise errno says why: EWOULDBLOCK for somebody else.
bool LockUntil(int file, Clock::time_point end) {
    constexpr auto kPause = std::chrono::milliseconds(5);
    for (;;) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        if (errno != EINTR && (errno != EWOULDBLOCK || Clock::now() >= end)) {
            return false;
        }
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace

FolderLock::FolderLock(std::string_view kind, const UserPath& path, double seconds) {
    namespace fs = std::filesystem;
    std::error_code failure;
    const fs::path file = fs::weakly_canonical(path.Absolute(), failure);
    const auto fail = [&](int code) {
        return Error(fmt::format("cannot write {}", kind), path.Typed(), std::generic_category().message(code));
    };
    if (failure) {
        throw fail(failure.value());
    }
    if (fs::exists(file, failure) && !fs::is_regular_file(file, failure)) {
        return;
    }
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    m_file = Descriptor(open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (m_file.Number() < 0 && errno != EACCES) {
        throw fail(errno);
    }
    bool locked = m_file.Number() >= 0 && LockUntil(m_file.Number(), end);
    if (!locked && errno != EWOULDBLOCK) {
        const std::string inFolder = (file.parent_path() / ".roi-lock").string();
        m_file = Descriptor(open(inFolder.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
        locked = m_file.Number() >= 0 && LockUntil(m_file.Number(), end);
    }
    if (!locked && errno == EWOULDBLOCK) {
        throw Error(fmt::format("{} in use", kind), path.Typed(),
                    fmt::format("others have been editing in its folder for {} s", seconds));
    }
    if (!locked) {
        throw fail(errno);
    }
}

}  // namespace host

#include "host/base/SafeFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <linux/magic.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <memory>
#include <system_error>

#include "host/base/Descriptor.h"
#include "host/base/Error.h"

namespace host {

namespace {

std::string Reason(int code) { return std::generic_category().message(code); }

// Every byte, or false with errno set.
bool WriteAll(int file, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written > 0 ? written : 0));
    }
    return true;
}

// The permissions that a new file gets.
mode_t NewFileMode() noexcept {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// Holds back the signals with which people end a program, while a temporary file has a name.
class HeldSignals {
  public:
    HeldSignals() noexcept {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
            sigaddset(&held, signal);
        }
        pthread_sigmask(SIG_BLOCK, &held, &m_before);
    }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;
    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

  private:
    sigset_t m_before;
};

// How the names of new versions begin; 16 hexadecimal digits follow.
constexpr std::string_view kPrefix = ".roi-";
constexpr std::size_t kNameLength = kPrefix.size() + 16;

// The new version of a file, in the folder in which it will take the old one's place. It has no name until then, so
// that a killed process leaves nothing behind; where the file system knows no such files, a name that nobody can
// foresee, for a file that did not exist.
class NewVersion {
  public:
    explicit NewVersion(const std::filesystem::path& folder)
        : m_folder(folder), m_file(open(folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600)) {
        if (m_file.Number() < 0) {
            TryNames([this](const std::string& name) {
                m_file = Descriptor(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
                return m_file.Number() >= 0;
            });
        }
        // What has a name and no lock was left by a killed process; see RemoveLeftovers.
        if (m_file.Number() >= 0) {
            flock(m_file.Number(), LOCK_EX | LOCK_NB);
        }
    }
    NewVersion(const NewVersion&) = delete;
    NewVersion& operator=(const NewVersion&) = delete;
    ~NewVersion() {
        if (!m_name.empty()) {
            const int failure = errno;
            unlink(m_name.c_str());
            errno = failure;
        }
    }

    // Below 0 with errno set when there is none.
    int Number() const noexcept { return m_file.Number(); }

    // False with errno set when it cannot take that place.
    bool Replace(const std::filesystem::path& target) {
        const std::string unnamed = fmt::format("/proc/self/fd/{}", m_file.Number());
        const bool named = !m_name.empty() || TryNames([&unnamed](const std::string& name) {
            return linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
        });
        if (!named || rename(m_name.c_str(), target.c_str()) != 0) {
            return false;
        }
        m_name.clear();
        return true;
    }

  private:
    // Keeps the first name with which `make` succeeds.
    template <class Make>
    bool TryNames(Make make) {
        for (int tries = 0; tries < 100; ++tries) {
            std::uint64_t random = 0;
            if (getrandom(&random, sizeof random, 0) != sizeof random) {
                return false;
            }
            const std::string name = (m_folder / fmt::format("{}{:016x}", kPrefix, random)).string();
            if (make(name)) {
                m_name = name;
                return true;
            }
            if (errno != EEXIST) {
                return false;
            }
        }
        return false;
    }

    std::filesystem::path m_folder;
    std::string m_name;
    Descriptor m_file;
};

// Gives a new version the owner of the old one as far as the system lets this user, and its permissions. Those of the
// group are not given to another group.
bool TakeOver(int file, const struct stat& old) noexcept {
    const bool sameGroup = fchown(file, old.st_uid, old.st_gid) == 0 || fchown(file, getuid(), old.st_gid) == 0;
    return fchmod(file, sameGroup ? old.st_mode & 07777 : old.st_mode & 0707) == 0;
}

// Whether the file system writes a file's bytes before the name of an old file leads to them, so that a power cut
// leaves one of the two whole.
bool KeepsOrder(int file) noexcept {
    struct statfs system {};
    return fstatfs(file, &system) == 0 && (system.f_type == EXT4_SUPER_MAGIC || system.f_type == BTRFS_SUPER_MAGIC);
}

// Replaces `target` by a new file; `old` is what is there, or null. False with errno set and nothing left.
bool Replace(const std::filesystem::path& target, const struct stat* old, std::string_view bytes) {
    const HeldSignals held;
    NewVersion version(target.parent_path());
    const int file = version.Number();
    return file >= 0 && WriteAll(file, bytes) &&
           (old != nullptr ? TakeOver(file, *old) : fchmod(file, NewFileMode()) == 0) &&
           ((old != nullptr && KeepsOrder(file)) || fsync(file) == 0) && version.Replace(target);
}

bool WriteDirectly(const std::filesystem::path& target, std::string_view bytes) {
    Descriptor file(open(target.c_str(), O_WRONLY | O_CLOEXEC));
    return file.Number() >= 0 && WriteAll(file.Number(), bytes) && file.Close();
}

bool WriteOver(const std::filesystem::path& path, std::string_view bytes) {
    struct stat old {};
    if (stat(path.c_str(), &old) != 0) {
        return errno == ENOENT && Replace(path, nullptr, bytes);
    }
    if (!S_ISREG(old.st_mode)) {
        return WriteDirectly(path, bytes);
    }
    // A rename would get round the protection of a file that must not be written, and would put a file
    // in the place of a link to one.
    std::error_code failure;
    const std::filesystem::path file = std::filesystem::canonical(path, failure);
    errno = failure.value();
    return !failure && access(file.c_str(), W_OK) == 0 && Replace(file, &old, bytes);
}

}  // namespace

std::string ReadWholeFile(std::string_view kind, const UserPath& path, std::size_t largest) {
    const auto fail = [&](int code) {
        return Error(fmt::format("cannot read {}", kind), path.Typed(), Reason(code), KindOf(code));
    };
    const Descriptor file(open(path.Absolute().c_str(), O_RDONLY | O_CLOEXEC));
    if (file.Number() < 0) {
        throw fail(errno);
    }
    std::string bytes;
    struct stat status {};
    if (fstat(file.Number(), &status) == 0 && S_ISREG(status.st_mode)) {
        if (static_cast<std::size_t>(status.st_size) > largest) {
            throw fail(EFBIG);
        }
        bytes.reserve(static_cast<std::size_t>(status.st_size));
    }
    for (;;) {
        char block[1 << 16];
        const ssize_t count = read(file.Number(), block, sizeof block);
        if (count == 0) {
            return bytes;
        }
        if (count < 0 && errno != EINTR) {
            throw fail(errno);
        }
        bytes.append(block, static_cast<std::size_t>(count > 0 ? count : 0));
        if (bytes.size() > largest) {
            throw fail(EFBIG);
        }
    }
}

std::string StartOfFile(const UserPath& path, std::size_t most) {
    const Descriptor file(open(path.Absolute().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    std::string bytes;
    if (file.Number() >= 0 && fstat(file.Number(), &status) == 0 && S_ISREG(status.st_mode)) {
        bytes.resize(most);
        const ssize_t count = read(file.Number(), bytes.data(), most);
        bytes.resize(static_cast<std::size_t>(count > 0 ? count : 0));
    }
    return bytes;
}

void RemoveLeftovers(const UserPath& path) {
    std::error_code failure;
    const std::filesystem::path folder = std::filesystem::canonical(path.Absolute(), failure).parent_path();
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    while (const dirent* const entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name.size() != kNameLength || !name.starts_with(kPrefix)) {
            continue;
        }
        const std::string leftover = folder / name;
        const Descriptor file(open(leftover.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat status {};
        if (file.Number() >= 0 && fstat(file.Number(), &status) == 0 && S_ISREG(status.st_mode) &&
            status.st_uid == geteuid() && flock(file.Number(), LOCK_EX | LOCK_NB) == 0) {
            unlink(leftover.c_str());
        }
    }
}

void WriteWholeFile(std::string_view kind, const UserPath& path, std::string_view bytes) {
    if (!WriteOver(path.Absolute(), bytes)) {
        throw Error(fmt::format("cannot write {}", kind), path.Typed(), Reason(errno));
    }
}

}  // namespace host

#include "host/base/SafeFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <system_error>
#include <utility>

#include "host/base/Error.h"

namespace host {

namespace {

std::string Reason(int code) { return std::generic_category().message(code); }

// A file that is open, closed at the end of the scope.
class Descriptor {
  public:
    explicit Descriptor(int number) noexcept : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }

    int Number() const noexcept { return m_number; }
    bool Close() noexcept { return close(std::exchange(m_number, -1)) == 0; }

  private:
    int m_number;
};

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

// A file in which a new version of `target` is written. The name follows from the target's, so that what a
// killed process leaves is taken over by the next and nothing piles up.
std::string TemporaryOf(const std::filesystem::path& target) {
    const std::size_t code = std::hash<std::string>()(target.filename().string());
    return (target.parent_path() / fmt::format(".roi-{:016x}", code)).string();
}

// Opens a temporary file, empty and in the hands of this process alone until it is closed; not open, with
// errno set, when that fails.
Descriptor OpenAlone(const std::string& path) {
    for (;;) {
        Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
        struct stat opened {};
        struct stat named {};
        if (file.Number() < 0 || flock(file.Number(), LOCK_EX) != 0 || fstat(file.Number(), &opened) != 0) {
            return Descriptor(-1);
        }
        // Who had the lock before may have renamed or removed the file.
        if (stat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino && named.st_dev == opened.st_dev) {
            return ftruncate(file.Number(), 0) == 0 ? std::move(file) : Descriptor(-1);
        }
    }
}

// Replaces `target`, of which a mode is wanted, by a new file. False with errno set and nothing left.
bool Replace(const std::filesystem::path& target, mode_t mode, std::string_view bytes) {
    const std::string temporary = TemporaryOf(target);
    const Descriptor file = OpenAlone(temporary);
    if (file.Number() < 0) {
        return false;
    }
    if (WriteAll(file.Number(), bytes) && fchmod(file.Number(), mode) == 0 && fsync(file.Number()) == 0 &&
        rename(temporary.c_str(), target.c_str()) == 0) {
        return true;
    }
    const int failure = errno;
    unlink(temporary.c_str());
    errno = failure;
    return false;
}

bool WriteDirectly(const std::filesystem::path& target, std::string_view bytes) {
    Descriptor file(open(target.c_str(), O_WRONLY | O_CLOEXEC));
    return file.Number() >= 0 && WriteAll(file.Number(), bytes) && file.Close();
}

bool WriteOver(const std::filesystem::path& path, std::string_view bytes) {
    struct stat old {};
    if (stat(path.c_str(), &old) != 0) {
        return errno == ENOENT && Replace(path, NewFileMode(), bytes);
    }
    if (!S_ISREG(old.st_mode)) {
        return WriteDirectly(path, bytes);
    }
    // A rename would get round the protection of a file that must not be written, and would put a file
    // in the place of a link to one.
    std::error_code failure;
    const std::filesystem::path file = std::filesystem::canonical(path, failure);
    errno = failure.value();
    return !failure && access(file.c_str(), W_OK) == 0 && Replace(file, old.st_mode & 07777, bytes);
}

}  // namespace

std::string ReadWholeFile(std::string_view kind, const UserPath& path, std::size_t largest) {
    const auto fail = [&](int code) { return Error(fmt::format("cannot read {}", kind), path.Typed(), Reason(code)); };
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

void WriteWholeFile(std::string_view kind, const UserPath& path, std::string_view bytes) {
    if (!WriteOver(path.Absolute(), bytes)) {
        throw Error(fmt::format("cannot write {}", kind), path.Typed(), Reason(errno));
    }
}

}  // namespace host

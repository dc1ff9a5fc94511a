#include "host/Talk.h"

#include <fcntl.h>
#include <fmt/color.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>

namespace {

std::mutex gMutex;
int gSilences = 0;
// Standard error as it was before the first Silence; -1 while there is none.
int gSpared = -1;

int StandardError() noexcept { return gSpared >= 0 ? gSpared : STDERR_FILENO; }

}  // namespace

void Say(std::string_view text) noexcept {
    const std::lock_guard lock(gMutex);
    while (!text.empty()) {
        const ssize_t written = write(StandardError(), text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return;  // There is nobody left to tell.
        }
        text.remove_prefix(static_cast<std::size_t>(written > 0 ? written : 0));
    }
}

Silence::Silence() noexcept {
    const std::lock_guard lock(gMutex);
    if (gSilences++ > 0) {
        return;
    }
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    gSpared = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    if (gSpared >= 0 && nowhere >= 0) {
        dup2(nowhere, STDERR_FILENO);
    }
    if (nowhere >= 0) {
        close(nowhere);
    }
}

Silence::~Silence() {
    const std::lock_guard lock(gMutex);
    if (--gSilences == 0 && gSpared >= 0) {
        dup2(gSpared, STDERR_FILENO);
        close(gSpared);
        gSpared = -1;
    }
}

bool IsTerminal(int file) noexcept {
    const std::lock_guard lock(gMutex);
    return isatty(file == STDERR_FILENO ? StandardError() : file) == 1;
}

std::string Styled(std::string_view text, Style style, int file) {
    const char* const noColor = std::getenv("NO_COLOR");
    if (!IsTerminal(file) || (noColor != nullptr && *noColor != '\0')) {
        return std::string(text);
    }
    switch (style) {
        case Style::red:
            return fmt::format(fmt::emphasis::bold | fg(fmt::terminal_color::red), "{}", text);
        case Style::yellow:
            return fmt::format(fmt::emphasis::bold | fg(fmt::terminal_color::yellow), "{}", text);
        default:
            return fmt::format(fmt::emphasis::bold, "{}", text);
    }
}

#include "cli/Talk.h"

#include <fmt/color.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <system_error>

#include "framework/support/Utf8.h"
#include "host/base/Error.h"

namespace host::cli {

void WriteStdout(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        throw Error("cannot write", "standard output", std::generic_category().message(errno));
    }
}

void Say(std::string_view text) noexcept {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    while (!text.empty()) {
        const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return;  // There is nobody left to tell.
        }
        text.remove_prefix(static_cast<std::size_t>(written > 0 ? written : 0));
    }
}

void Complain(std::string_view line) {
    Say(fmt::format("{} {}\n", Styled("roi: error:", Style::red, STDERR_FILENO), line));
}

void Warn(std::string_view subject, std::string_view text) {
    Say(fmt::format("{} {}: {}\n", Styled("roi: warning:", Style::yellow, STDERR_FILENO), Harmless(subject),
                    Harmless(text)));
}

bool IsTerminal(int file) noexcept { return isatty(file) == 1; }

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

}  // namespace host::cli

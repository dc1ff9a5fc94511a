#include "host/Error.h"

#include <fmt/format.h>
#include <unistd.h>

#include "host/Talk.h"

namespace {

std::string EscapedCharacter(unsigned char c) {
    switch (c) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return fmt::format("\\x{:02X}", c);
    }
}

}  // namespace

std::string Harmless(std::string_view text) {
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        if (c < 0x20 || c == 0x7F) {
            line += EscapedCharacter(c);
        } else if (c == 0xC2 && next >= 0x80 && next < 0xA0) {
            // A second set of control characters, two bytes each in UTF-8.
            line += EscapedCharacter(next);
            ++i;
        } else {
            line += text[i];
        }
    }
    return line;
}

Error::Error(std::string_view what, std::string_view subject, std::string_view why, ExitCode exitCode)
    : std::runtime_error(fmt::format("{}: {}: {}", Harmless(what), Harmless(subject), Harmless(why))),
      m_exitCode(exitCode) {}

void Complain(std::string_view line) {
    Say(fmt::format("{} {}\n", Styled("roi: error:", Style::red, STDERR_FILENO), line));
}

void Warn(std::string_view subject, std::string_view text) {
    Say(fmt::format("{} {}: {}\n", Styled("roi: warning:", Style::yellow, STDERR_FILENO), Harmless(subject),
                    Harmless(text)));
}

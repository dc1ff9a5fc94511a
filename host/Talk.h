// Standard error, shared by what `roi` says and what libraries print, from any thread; and what a terminal
// allows.
#pragma once

#include <string>
#include <string_view>

/// Writes a text to standard error in one piece; a Silence does not keep it back.
void Say(std::string_view text) noexcept;

/// Keeps everything else quiet on standard error while it lives: decoders have words of their own for
/// broken files. Several may live at once, on any threads.
class Silence {
  public:
    Silence() noexcept;
    ~Silence();
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
};

/// Whether a person reads STDOUT_FILENO, or STDERR_FILENO as Say writes to it.
bool IsTerminal(int file) noexcept;

enum class Style { bold, red, yellow };

/// The text in a style where the file is a terminal and the environment has no NO_COLOR; otherwise as it is.
std::string Styled(std::string_view text, Style style, int file);

// What `roi` writes: data on standard output, and everything it says to people on standard error.
#pragma once

#include <string>
#include <string_view>

namespace host::cli {

/// Writes data to standard output. Throws Error when not all of it arrives.
void WriteStdout(std::string_view text);

/// Writes a text to standard error in one piece, from any thread.
void Say(std::string_view text) noexcept;
/// Prints `roi: error: LINE` on standard error; the line is that of an Error.
void Complain(std::string_view line);
/// Prints `roi: warning: SUBJECT: TEXT` on standard error, in one line.
void Warn(std::string_view subject, std::string_view text);

/// Whether a person reads STDOUT_FILENO, or STDERR_FILENO.
bool IsTerminal(int file) noexcept;

enum class Style { bold, red, yellow };

/// The text in a style where the file is a terminal and the environment has no NO_COLOR; otherwise as it is.
std::string Styled(std::string_view text, Style style, int file);

}  // namespace host::cli

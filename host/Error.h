// The one kind of error that a user of `roi` meets: what failed, on what, and why.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// What the command `roi` exits with.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,  ///< the answer is no, or the work failed
    kExitUsage = 2,   ///< the command line asks for something that does not exist
    kExitPartly = 7   ///< some of many failed, and what the others gave stands
};

/// Text made fit for one line of a terminal: control characters, line breaks among them, appear as \n,
/// \t or \xHH.
std::string Harmless(std::string_view text);

/// An error whose text is the line `WHAT: SUBJECT: WHY`, with every part made harmless. Parts of a
/// sentence, without a full stop: Error("cannot read image", "part.png", "no such file").
class Error : public std::runtime_error {
  public:
    Error(std::string_view what, std::string_view subject, std::string_view why, ExitCode exitCode = kExitFailed);

    ExitCode Code() const noexcept { return m_exitCode; }

  private:
    ExitCode m_exitCode;
};

/// A mistake on the command line: exits with kExitUsage.
inline Error UsageError(std::string_view what, std::string_view subject, std::string_view why) {
    return {what, subject, why, kExitUsage};
}

/// Prints `roi: error: LINE` on standard error; the line is that of an Error.
void Complain(std::string_view line);
/// Prints `roi: warning: SUBJECT: TEXT` on standard error, in one line.
void Warn(std::string_view subject, std::string_view text);

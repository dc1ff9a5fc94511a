// The one kind of error that the host throws: what failed, on what, and why.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string_view>

namespace host {

/// What sort of failure an Error is, for a front end to answer each in its own way.
enum class ErrorKind {
    failed,       ///< the work failed
    usage,        ///< the caller asks for something that does not exist or makes no sense
    unknownName,  ///< a set has no figure of that name
    missingFile   ///< there is no such file
};

/// An error whose text is the line `WHAT: SUBJECT: WHY`, with every part made harmless. Parts of a
/// sentence, without a full stop: Error("cannot read image", "part.png", "no such file").
class Error : public std::runtime_error {
  public:
    Error(std::string_view what, std::string_view subject, std::string_view why, ErrorKind kind = ErrorKind::failed);

    ErrorKind Kind() const noexcept { return m_kind; }

  private:
    ErrorKind m_kind;
};

/// What sort of failure a code of the system is.
constexpr ErrorKind KindOf(int code) noexcept { return code == ENOENT ? ErrorKind::missingFile : ErrorKind::failed; }

/// A mistake of the caller's.
inline Error UsageError(std::string_view what, std::string_view subject, std::string_view why) {
    return {what, subject, why, ErrorKind::usage};
}

}  // namespace host

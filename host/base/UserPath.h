// Paths as users type them, resolved as soon as they are read, so that what happens to the current directory later
// does not matter.
#pragma once

#include <filesystem>
#include <string>

namespace host {

/// A path as typed, for talking about it, and its absolute form, for opening it.
class UserPath {
  public:
    UserPath() = default;
    /// Resolves against the current directory; symbolic links stay as they are. Throws Error for an
    /// empty text and for a relative path in a directory that is gone.
    UserPath(std::string typed);  // NOLINT(google-explicit-constructor): the command line parser converts
    /// Resolves against a folder. Throws Error for an empty text.
    UserPath(std::string typed, const UserPath& folder);

    const std::string& Typed() const noexcept { return m_typed; }
    const std::filesystem::path& Absolute() const noexcept { return m_absolute; }
    /// The file name's ending with its dot, in lower case: ".roi".
    std::string Extension() const;

  private:
    std::string m_typed;
    std::filesystem::path m_absolute;
};

}  // namespace host

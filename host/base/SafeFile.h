// Files read and written whole: what is on disk is the old contents or the new, never a part.
#pragma once

#include <string>
#include <string_view>

#include "host/base/UserPath.h"

namespace host {

/// Far above any image; devices that never end are files too.
inline constexpr std::size_t kLargestFile = std::size_t{2} << 30;

/// A file's bytes, at most `largest`. `kind` names the file in the Error that is thrown when it cannot be
/// read: `set` gives "cannot read set: PATH: reason".
std::string ReadWholeFile(std::string_view kind, const UserPath& path, std::size_t largest = kLargestFile);

/// The first bytes of a regular file, at most `most`; nothing where there is none or it cannot be read.
std::string StartOfFile(const UserPath& path, std::size_t most);

/// Replaces or creates a file, by way of a nameless file in its folder that takes its place once all of it is
/// written: after a power cut, too, there is the old file or the new one. The permissions of a file that was there
/// stay, and its owner where the system lets this user give files away, otherwise its group. What is no regular file,
/// such as /dev/stdout, is written directly. SIGINT, SIGTERM, SIGHUP and SIGQUIT to this thread wait until it is done.
/// Throws Error, with the old file as it was and nothing left beside it, when any of it fails.
void WriteWholeFile(std::string_view kind, const UserPath& path, std::string_view bytes);

/// Removes what processes that were killed in the middle of WriteWholeFile left in the folder of a file: a second name
/// of a new version, of which no living process holds the lock. What belongs to other users stays.
void RemoveLeftovers(const UserPath& path);

}  // namespace host

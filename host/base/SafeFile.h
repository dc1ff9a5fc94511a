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

/// Replaces or creates a file, by way of a temporary file in its folder that takes its place once all
/// of it is on disk; the permissions of a file that was there stay. What is no regular file, such as
/// /dev/stdout, is written directly. Throws Error, with the old file as it was and no temporary file
/// left, when any of it fails.
void WriteWholeFile(std::string_view kind, const UserPath& path, std::string_view bytes);

}  // namespace host

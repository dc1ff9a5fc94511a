// Before a command writes: nothing that it reads is lost, and nothing that it would not have written itself.
#pragma once

#include <initializer_list>
#include <string_view>

#include "host/base/UserPath.h"

namespace host {

/// What a file is, by its first bytes.
enum class FileKind { image, drawing, set, imageJ, archive, json, text };

/// Whether bytes begin as files of a kind do. An image of any format is an image; a drawing is SVG or PDF; a set has
/// either of its forms; imageJ is a single figure of ImageJ's; an archive is a zip file that is no set; json starts
/// with a bracket; text is UTF-8 without control characters.
bool IsOfKind(FileKind kind, std::string_view start) noexcept;

/// Throws a usage error when `path` is one of the files that the command reads, by whatever name: `inputs` may hold
/// paths that are empty. Throws one, too, unless `force` is set, when a regular file lies there that is not empty and
/// is of none of the kinds that the command writes.
void CheckOutput(const UserPath& path, std::initializer_list<UserPath> inputs, std::initializer_list<FileKind> kinds,
                 bool force);

}  // namespace host

// One process at a time in a folder.
#pragma once

#include <string_view>

#include "host/base/Descriptor.h"
#include "host/base/UserPath.h"

namespace host {

/// The exclusive right to replace files in a folder, among all that ask for it in this way. It ends with the object and
/// with the process, however that ends, and a folder on a local disk shows nothing of it. A file system that locks no
/// folders, such as a network's, gets a file `.roi-lock` that stays, empty and harmless.
class FolderLock {
  public:
    /// Locks the folder of a file, links to it followed; a path that names no regular file, such as a pipe, locks
    /// nothing. Throws Error after waiting for `seconds`, and when the folder cannot be locked; `kind` names the file.
    FolderLock(std::string_view kind, const UserPath& path, double seconds);

  private:
    Descriptor m_file{-1};
};

}  // namespace host

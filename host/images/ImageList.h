// The images of a batch: named on the command line, then one per line of a list.
#pragma once

#include <cstddef>
#include <fstream>
#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "host/base/UserPath.h"
#include "host/images/ImageFile.h"

namespace host {

/// One of several equal parts of a list: every count-th image, from the index-th on.
struct Shard {
    std::size_t index = 1;
    std::size_t count = 1;

    Shard() = default;
    /// Reads `I/N`, I from 1 to N. Throws a usage error for anything else.
    explicit Shard(const std::string& text);
};

/// How the paths of a list end: with their line, or with a NUL as `find -print0` writes them.
enum class PathEnd : char { line = '\n', nul = '\0' };

/// Paths in a list are resolved against the directory in which the ImageList is made. Blank lines are
/// passed over, and so is the mark that some editors put at the start of UTF-8. A list is read as it goes, never as
/// a whole.
class ImageList {
  public:
    /// `list` is a file, `-` for standard input, or an empty path for none. Throws Error when it cannot be
    /// opened.
    ImageList(std::vector<UserPath> images, UserPath list, Shard shard, PathEnd end = PathEnd::line);

    /// The shard's next image; nothing at the end. Throws Error when the list cannot be read or has a NUL in a line.
    std::optional<ImageName> Next();

    /// How many images the shard has; nothing when that takes reading a list that can be read only once.
    std::optional<std::size_t> Count() const;

  private:
    std::optional<ImageName> NextOfAll();

    std::vector<UserPath> m_images;
    UserPath m_list;
    Shard m_shard;
    PathEnd m_end;
    UserPath m_folder{"."};
    std::ifstream m_file;
    std::istream* m_lines = nullptr;
    std::size_t m_taken = 0;
};

}  // namespace host

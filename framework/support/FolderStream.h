// The folder stream: named binary blocks in folders, all in one zip file on disk, on minizip.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "contract/Framework.h"
#include "contract/SmartPtr.h"

/// An archive in memory: blocks by path, folders separated by '/'. Paths are UTF-8.
class FolderArchive {
  public:
    using Block = std::vector<std::uint8_t>;

    /// Reads a zip file's bytes. Throws std::runtime_error, with the reason, for anything that is not a
    /// sound archive of relative paths within bounded sizes: absolute and parent paths, repeated names,
    /// absurd declared sizes, truncated data. Throws std::bad_alloc without memory, as ToBytes does.
    /// The block at the path `spare`, if there is one, is empty when its data or, where it is the last, its headers are
    /// damaged.
    static FolderArchive FromBytes(std::string_view bytes, std::string_view spare = {});
    /// The archive as a zip file; the same blocks give the same bytes. Throws std::runtime_error, also
    /// when the blocks exceed the sizes that FromBytes reads.
    std::string ToBytes() const;

    /// The block at a path, or null.
    const Block* Find(const std::string& path) const noexcept;
    /// Stores a block, in place of one that has the path already. Throws std::runtime_error for a path
    /// that FromBytes would refuse.
    void Put(const std::string& path, Block block);
    /// As Put, but false for such a path.
    bool TryPut(const std::string& path, Block block);
    /// Takes the block at a path out, if there is one.
    void Remove(const std::string& path) { m_blocks.erase(path); }

    const std::map<std::string, Block>& Blocks() const noexcept { return m_blocks; }

  private:
    std::map<std::string, Block> m_blocks;
};

/// A new stream over one folder of an archive ("" is the top). It answers IDataStream and IFolderStream.
/// One reference, or null without memory. A block read into a buffer of another size is copied as far
/// as both reach, and the read fails when the buffer was not filled.
SmartPtr<IDataStream> MakeFolderStream(std::shared_ptr<FolderArchive> archive, std::string folder) noexcept;

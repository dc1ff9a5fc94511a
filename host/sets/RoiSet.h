// A set of named figures, and its file: `.roi` keeps everything exactly, `.xml` what text can carry.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "framework/support/FolderStream.h"
#include "host/base/UserPath.h"
#include "host/figures/Figure.h"
#include "host/figures/Session.h"

namespace host {

/// Something a caller should be told of that is no failure.
struct Warning {
    std::string subject;  ///< what it is about, such as a figure's name
    std::string text;     ///< half a sentence
};

/// Throws a usage error unless the text can name a figure: not empty, sound UTF-8 of at most 200 bytes,
/// without control characters and slashes of either kind, and neither "." nor "..".
void CheckFigureName(const std::string& name);
/// Throws a usage error unless the path ends in .roi or .xml.
void CheckSetEnding(const UserPath& path);

class RoiSet {
  public:
    RoiSet() = default;
    /// Throws Error for a bad name and for one that two figures have.
    explicit RoiSet(std::vector<Figure> figures);

    /// Reads a set. The ending of the path, `.roi` or `.xml`, says how. Throws Error for a file that is
    /// missing, broken or of another kind.
    static RoiSet Load(const Session& session, const UserPath& path);
    /// As Load, of a `.roi` file, in two steps: the archive that it is, and the set in an archive.
    static std::shared_ptr<FolderArchive> LoadArchive(const UserPath& path);
    static RoiSet Load(const Session& session, const UserPath& path, const std::shared_ptr<FolderArchive>& archive);
    /// As Load, but a path where nothing lies gives an empty set.
    static RoiSet LoadOrCreate(const Session& session, const UserPath& path);

    /// Writes the set, whole or not at all, without a history: edits of a file go through EditSet. Returns what
    /// LostIn gives. Throws Error, with the old file as it was, when that fails.
    std::vector<Warning> Save(const UserPath& path) const;
    /// A warning for each figure of which the form that the path names does not keep all.
    std::vector<Warning> LostIn(const UserPath& path) const;

    const std::vector<Figure>& Figures() const noexcept { return m_figures; }
    /// The figure of that name. Throws Error, with the nearest name, when there is none.
    const Figure& At(const std::string& name) const;
    Figure& At(const std::string& name) { return m_figures[IndexOf(name)]; }
    bool Has(const std::string& name) const noexcept { return m_index.contains(name); }
    /// The figures of these names, or all when there is none. Throws Error, with the nearest name, as At does.
    std::vector<const Figure*> Chosen(const std::vector<std::string>& names) const;

    /// Makes room for so many figures in all.
    void Reserve(std::size_t figures);
    /// Appends a figure with its class's defaults. Throws Error for a bad or taken name or class.
    Figure& Add(const Session& session, const std::string& name, const std::string& className);
    /// Appends a figure. Throws Error for a bad or taken name.
    Figure& Add(Figure figure);
    void Rename(const std::string& name, const std::string& newName);
    /// Removes all of these figures. Throws Error, with the set unchanged, when one does not exist.
    void Remove(std::span<const std::string> names);

  private:
    std::size_t IndexOf(const std::string& name) const;
    void CheckFree(const std::string& name) const;

    std::vector<Figure> m_figures;
    std::unordered_map<std::string, std::size_t> m_index;
};

}  // namespace host

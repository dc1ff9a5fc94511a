// The two forms of a set on disk. Reading throws std::bad_alloc without memory and
// any other std::exception, with the reason, for anything unsound.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "framework/support/FolderStream.h"
#include "host/sets/JsonLists.h"
#include "host/sets/RoiSet.h"

namespace host {

/// `.roi`: an archive of folders. `figures.json` lists names and classes in order; the folder
/// `figures/NAME/` holds what the figure saves of itself and, where its class saves less than the figure
/// is, what the host adds: `mask.png` and the rectangle of a mask, `geometry.json` of a shape.
/// Beside them may lie the history of the set, which is not looked at here.
std::string WriteFolderSet(const std::vector<Figure>& figures);
RoiSet ReadFolderSet(const Session& session, std::string_view bytes);

/// The same between figures and the archive, and the archive that a file's bytes are. A damaged history is an empty
/// block.
std::shared_ptr<FolderArchive> PackFigures(const std::vector<Figure>& figures);
/// The same, but a figure that `isKept` has the blocks that it has in `before`, where it has any.
std::shared_ptr<FolderArchive> PackFigures(const std::vector<Figure>& figures, const FolderArchive& before,
                                           const std::function<bool(const std::string&)>& isKept);
/// The names and classes of the figures of an archive, which must list them, and whether two list the same.
std::vector<ListedFigure> FiguresIn(const FolderArchive& archive);
bool ListsSame(const FolderArchive& one, const FolderArchive& other);
RoiSet UnpackFigures(const Session& session, const std::shared_ptr<FolderArchive>& archive);
std::shared_ptr<FolderArchive> ArchiveFromBytes(std::string_view bytes);

/// A copy of a figure as it comes back from a `.roi` file: a shear that no setter would take, for one, does not. A mask
/// and its copy share their image. Throws Error.
Figure ReadBack(const Session& session, const Figure& figure);

/// `.xml`: <figures> with a <figure name="..." class="..."> for each, in which <values> holds what the
/// figure saves of itself.
std::string WriteXMLSet(const std::vector<Figure>& figures);
RoiSet ReadXMLSet(const Session& session, std::string_view bytes);

/// What the XML form does not keep of a figure, as half a sentence; empty when it keeps all.
std::string LostInXML(const Figure& figure);

}  // namespace host

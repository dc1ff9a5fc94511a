// Figures to and from the files of other programs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/sets/RoiSet.h"
#include "host/sets/formats/Formats.h"

namespace host {

/// The format of that name or, without one, the one that the path's ending names; an ending that several have means the
/// one whose mark is in `bytes`, or the last. Throws a usage error when there is none.
const FigureFormat& FormatFor(const UserPath& path, const std::string& name, std::string_view bytes = {});

/// Adds the figures of a file to a set. Names that are missing, bad or taken are made fit, with a warning for those
/// that were there. Throws Error, with the set changed in part, for a file that cannot be read.
std::vector<Warning> ImportFigures(const Session& session, RoiSet& set, const UserPath& path,
                                   const std::string& formatName);
/// The same with the bytes of a file; `path` names it and is not opened.
std::vector<Warning> ImportFigures(const Session& session, RoiSet& set, const UserPath& path,
                                   const std::string& formatName, std::string_view bytes);

}  // namespace host

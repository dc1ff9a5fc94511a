// A set of named figures, and its file: `.roi` keeps everything exactly, `.xml` what text can carry.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/Session.h"
#include "host/Text.h"
#include "host/UserPath.h"
#include "host/framework/Extensions.h"

/// One figure of a set.
struct Figure {
    std::string name;
    std::string className;
    SmartPtr<IROI> roi;
    /// The geometry of a shape, which the shape does not hand back; null for other classes and for a
    /// shape without one. Set it with SetGeometry.
    SmartPtr<IPointsStore> geometry;

    /// The figure by one of its other interfaces; empty when it does not answer.
    template <class Interface>
    SmartPtr<Interface> As() const noexcept {
        return SmartPtr<Interface>::QueryFrom(roi.Get());
    }
};

/// Gives a shape a geometry of points; two are the corners of a box. Throws Error when that fails.
void SetGeometry(Figure& figure, const std::vector<ImagePoint>& points);

/// Throws a usage error unless the text can name a figure: not empty, sound UTF-8 of at most 200 bytes,
/// without control characters and slashes of either kind, and neither "." nor "..".
void CheckFigureName(const std::string& name);
/// The error about a name that another figure of the set has.
Error NameTaken(const std::string& name);

class RoiSet {
  public:
    /// Reads a set. The ending of the path, `.roi` or `.xml`, says how. Throws Error for a file that is
    /// missing, broken or of another kind.
    static RoiSet Load(const Session& session, const UserPath& path);
    /// As Load, but a path where nothing lies gives an empty set.
    static RoiSet LoadOrCreate(const Session& session, const UserPath& path);

    /// Writes the set, whole or not at all. Warns of what the form of the file does not keep.
    void Save(const UserPath& path) const;

    const std::vector<Figure>& Figures() const noexcept { return m_figures; }
    /// The figure of that name. Throws Error, with the nearest name, when there is none.
    const Figure& At(const std::string& name) const;

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
    Figure& Append(Figure figure);

    std::vector<Figure> m_figures;
    std::unordered_map<std::string, std::size_t> m_index;
};

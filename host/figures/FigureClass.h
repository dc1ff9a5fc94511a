// What the host knows of each class of figures beyond its interfaces, as one table. Everything in the host that
// differs from class to class is a column here; a row is one file in host/figures/classes/.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "contract/IROI.h"
#include "host/figures/Figure.h"
#include "host/figures/Matrix.h"
#include "host/figures/Outline.h"

namespace host {

/// One node of a figure: its number, and for a profile, whose numbers are kinds of nodes, the point it belongs to.
struct NodeId {
    int number = 0;
    int point = 0;
};

/// A box in image pixels, borders included, in exact coordinates.
struct HitBox {
    double left, top, right, bottom;
};

/// What a figure holds beside its parameters.
enum class Contents { nothing, points, geometry, image };

/// How the module says which pixels are a figure's, when it is asked for its own answer.
enum class ModulePixels {
    maskOrHits,  ///< those of its mask or, without one, those that its hit test accepts
    maskOrBox,   ///< those of its mask; no mask stands for its whole bounding box
};

struct FigureClass {
    const char* name;  ///< as registered with the module
    const char* what;  ///< half a sentence for people

    // Nodes
    std::span<const char* const> nodes = {};  ///< what nodes 1, 2, 3, ... are; for a profile, its kinds
    bool nodesAtPoints = false;               ///< whether every point of the figure has a node of each kind
    int modifiers = kKeepCenter | kBothAxes;  ///< the NodeFlags that its drags know
    Result (*getNode)(IROI& roi, NodeId node, double* x, double* y) = nullptr;
    /// `flags` are added to the node's number as the module takes them.
    Result (*dragNode)(IROI& roi, NodeId node, int flags, double x, double y) = nullptr;

    // Extent
    /// The figure as it is drawn: what is measured, too.
    Outline (*outline)(const Figure& figure) = nullptr;
    ModulePixels modulePixels = ModulePixels::maskOrHits;
    /// Boxes that hold everything that the module's hit test accepts. None when the figure has no extent; a box may
    /// have NaN in it.
    std::vector<HitBox> (*hitBoxes)(IROI& roi) = nullptr;

    // Parameters
    Contents contents = Contents::nothing;
    /// Rectangle and parallelogram convert their stored roll whenever a list comes, even one without this name: the
    /// host puts the roll back. Null for classes that leave what a list lacks alone.
    const char* rollParameter = nullptr;
    Result (*getRoll)(IROI& roi, double* radians) = nullptr;
    Result (*putRoll)(IROI& roi, double radians) = nullptr;
    /// For a class without IParametricObject: its parameters as the host makes them up.
    SmartPtr<INamedCollection> (*parameterList)(IROI& roi) = nullptr;
    void (*applyList)(IROI& roi, INamedCollection& list) = nullptr;

    // Mapping
    /// What the class leaves out of a matrix, as half a sentence; empty when it follows it wholly.
    std::string (*leftOut)(IROI& roi, const Matrix& matrix) = nullptr;

    // Files
    bool readsXML = true;
    /// What XML does not keep of a figure, as half a sentence; empty when it keeps all.
    std::string (*lostInXML)(const Figure& figure) = nullptr;
};

/// All rows, in the order in which people are told of them.
std::span<const FigureClass* const> FigureClasses() noexcept;

}  // namespace host

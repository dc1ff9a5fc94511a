// Figures as the page gets them.
#pragma once

#include <string>
#include <vector>

#include "host/base/Cell.h"
#include "host/figures/Figure.h"
#include "host/figures/FigureClass.h"
#include "host/figures/Session.h"
#include "workbench/Answer.h"

namespace host::workbench {

/// How far chords are off their arcs, in pixels, unless a request says otherwise.
inline constexpr double kTolerance = 0.05;

/// The outline of a figure as it is drawn.
struct Rings {
    std::vector<std::vector<ImagePoint>> closed;  ///< the last point joined to the first; inside by the nonzero rule
    std::vector<ImagePoint> axis;                 ///< of a profile
};

/// Leaves out what has a coordinate that is not a finite number.
Rings RingsOf(const Figure& figure, double tolerance);

/// The smallest box around an outline, borders included; left above right when there is none.
HitBox BoxAround(const Rings& rings) noexcept;

enum class Detail { outline, nodes, parameters };

/// A figure as JSON, with all that comes before the detail, too. `index` is its place in the set.
std::string FigureText(const Figure& figure, std::size_t index, Detail detail, double tolerance);

/// What the page needs to know of the classes that the module makes.
Json ClassesJson(const Session& session);

/// One value of a table.
Json CellJson(const Cell& cell);

}  // namespace host::workbench

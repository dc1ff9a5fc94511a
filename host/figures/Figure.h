// A figure of a set: an object of the module with its name and what the host keeps beside it.
#pragma once

#include <string>
#include <vector>

#include "contract/Extensions.h"
#include "contract/IROI.h"
#include "contract/SmartPtr.h"
#include "host/base/Text.h"

namespace host {

struct FigureClass;

struct Figure {
    std::string name;
    /// What the host knows of the figure's class; never null.
    const FigureClass* type = nullptr;
    SmartPtr<IROI> roi;
    /// The geometry of a shape, which the shape does not hand back; null for other classes and for a
    /// shape without one. Set it with SetPoints.
    SmartPtr<IPointsStore> geometry;

    /// The figure by one of its other interfaces; empty when it does not answer.
    template <class Interface>
    SmartPtr<Interface> As() const noexcept {
        return SmartPtr<Interface>::QueryFrom(roi.Get());
    }
};

/// The points that a profile or a shape is made of; none for other classes. Two points of a shape are the corners of
/// a box.
std::vector<ImagePoint> PointsOf(const Figure& figure);

/// Gives a shape a geometry of these points, or appends them to a profile. Throws a usage error for other classes, and
/// Error when the figure does not take them.
void SetPoints(Figure& figure, const std::vector<ImagePoint>& points);

}  // namespace host

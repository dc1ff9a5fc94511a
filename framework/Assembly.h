// "Assembly": a geometry made of points, with their extent as its one element.
#pragma once

#include <vector>

#include "contract/Capabilities.h"
#include "contract/Extensions.h"
#include "framework/FrameworkComponent.h"

class CAssembly;
template <>
inline const tagREFString IObjectInfoImpl<CAssembly>::m_ObjectName = Text(L"Assembly");

class CAssembly final : public FrameworkComponent<CAssembly, IGeometry, IGeometricAssembly, IPointsStore> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IGeometry, IGeometricAssembly, IPointsStore>;

    /// The element is a copy: later points do not change it. E_FAIL with `*element` null for an assembly
    /// without points, E_INVALIDARG for a kind other than kGeometricExtent.
    Result GetElement(int kind, IPoints** element) noexcept override;

    Result SetPoints(const double* xy, int count) noexcept override;
    int GetCount() noexcept override;
    Result GetPoint(int index, double* x, double* y) noexcept override;

  private:
    struct Point {
        double x;
        double y;
    };

    std::vector<Point> m_points;
};

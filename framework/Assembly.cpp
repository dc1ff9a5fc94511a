#include "framework/Assembly.h"

#include <algorithm>
#include <array>
#include <cmath>

class CExtent;
template <>
inline const tagREFString IObjectInfoImpl<CExtent>::m_ObjectName = Text(L"Extent");

// Two opposite corners of a box, and its centre.
class CExtent final : public FrameworkComponent<CExtent, IPoints> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IPoints>;

    CExtent(double left, double top, double right, double bottom) noexcept
        // Halved before they are added, which cannot overflow.
        : m_x{left, right, 0.5 * left + 0.5 * right}, m_y{top, bottom, 0.5 * top + 0.5 * bottom} {}

    Result GetPoint(int index, double* x, double* y, double* z) noexcept override {
        if (x == nullptr || y == nullptr || z == nullptr) {
            return Misuse("IPoints::GetPoint", "null output");
        }
        if (index < 0 || index > 2) {
            return E_INVALIDARG;
        }
        *x = m_x[static_cast<std::size_t>(index)];
        *y = m_y[static_cast<std::size_t>(index)];
        *z = 0.0;
        return S_OK;
    }

  private:
    std::array<double, 3> m_x;
    std::array<double, 3> m_y;
};

Result CAssembly::GetElement(int kind, IPoints** element) noexcept {
    if (element == nullptr) {
        return Misuse("IGeometricAssembly::GetElement", "null output");
    }
    *element = nullptr;
    if (kind != kGeometricExtent) {
        return Misuse("IGeometricAssembly::GetElement", "no such kind");
    }
    if (m_points.empty()) {
        return E_FAIL;
    }
    const auto byX = [](const Point& a, const Point& b) { return a.x < b.x; };
    const auto byY = [](const Point& a, const Point& b) { return a.y < b.y; };
    const auto [left, right] = std::minmax_element(m_points.begin(), m_points.end(), byX);
    const auto [top, bottom] = std::minmax_element(m_points.begin(), m_points.end(), byY);
    *element = MakeObject<IPoints, CExtent>(left->x, top->y, right->x, bottom->y).Detach();
    return *element != nullptr ? S_OK : E_FAIL;
}

Result CAssembly::SetPoints(const double* xy, int count) noexcept {
    if (xy == nullptr || count < 1) {
        return E_INVALIDARG;
    }
    return Guarded("IPointsStore::SetPoints", [&] {
        std::vector<Point> points;
        points.reserve(static_cast<std::size_t>(count));
        for (const double* at = xy; count > 0; --count, at += 2) {
            if (!std::isfinite(at[0]) || !std::isfinite(at[1])) {
                return E_INVALIDARG;
            }
            points.push_back({at[0], at[1]});
        }
        m_points = std::move(points);
        return S_OK;
    });
}

int CAssembly::GetCount() noexcept { return static_cast<int>(m_points.size()); }

Result CAssembly::GetPoint(int index, double* x, double* y) noexcept {
    if (x == nullptr || y == nullptr || index < 0 || index >= GetCount()) {
        return E_INVALIDARG;
    }
    *x = m_points[static_cast<std::size_t>(index)].x;
    *y = m_points[static_cast<std::size_t>(index)].y;
    return S_OK;
}

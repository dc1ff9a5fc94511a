// The parallelogram: the box of RolledBox.h whose sides 3-4 and 5-2 lean by the shear. Top and bottom
// stay along the box's own x axis; the edge nodes 6 to 9 stay those of the box.
//
//        11           the shear grip, straight above 1 for a shear of 0
//
//        2 --- 6 --- 3  .  .
//         \           \     .
//        9 \     1     \    7  10
//        .  \           \   .
//        .  . 5 -- 8 --- 4  .
//
//        lean = height tan(shear): how far 5 stands to the right of the box's own corner
#pragma once

#include "roi/RolledBox.h"
#include "runtime/Persistence.h"

namespace roi {

/// A shear with its tangent, which no corner should have to compute again.
class Shear {
  public:
    constexpr Shear() noexcept = default;
    explicit Shear(double radians) noexcept : m_radians(radians), m_tangent(std::tan(radians)) {}

    constexpr double Radians() const noexcept { return m_radians; }
    constexpr double Tangent() const noexcept { return m_tangent; }

  private:
    double m_radians = 0.0;
    double m_tangent = 0.0;
};

struct Parallelogram : RolledBox {
    Shear shear;
    short lockA = 0;  ///< Kept for the parameter page; no operation obeys it.
};

/// Side A, the top and bottom: what the lean leaves of the width.
constexpr double SideA(const Parallelogram& p) noexcept { return p.width - p.shear.Tangent() * p.height; }

/// Side B, the slanted ones: the hypotenuse over the height and the lean.
inline double SideB(const Parallelogram& p) noexcept {
    const double lean = p.shear.Tangent() * p.height;
    return std::sqrt(lean * lean + p.height * p.height);
}

/// Sets the shear clamped to [-1.5, 1.5] (NaN passes); with `keepA` the width makes up for it.
void SetShear(Parallelogram& p, double radians, bool keepA) noexcept;

}  // namespace roi

class CROIParallelogram;
template <>
inline const tagREFString IObjectInfoImpl<CROIParallelogram>::m_ObjectName = Text(L"ROIParallelogram");

class CROIParallelogram final
    : public Component<CROIParallelogram, roi::IRolledBoxImpl<CROIParallelogram, IROIParallelogram, roi::Parallelogram>,
                       IDataPersistParametricImpl<CROIParallelogram>, IReplicableObject, ITransformableObject,
                       IUIPropertyPageSpecify> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IROI, IROIParallelogram, IUIPropertyPageSpecify, IReplicableObject,
                                 ITransformableObject, IParametricObject, IDataPersist>;

    Result Transform(ITransform* transform) noexcept override;
    Result Replicate(IUnknown** copy) noexcept override;
    /// S_OK, with nothing written.
    Result GetMask(ICIF** mask) noexcept override;

    Result get_A(double* a) noexcept override;
    Result put_A(double a) noexcept override;
    Result get_B(double* b) noexcept override;
    Result put_B(double b) noexcept override;
    Result get_Shear(double* radians) noexcept override;
    Result put_Shear(double radians, short keepA) noexcept override;
    /// Nodes 10 and 11 raise the stored grip length, which both share, to a quarter of the width, and it stays.
    Result GetCornerPoint(ROICorner corner, double* x, double* y) noexcept override;
    Result SetCornerPoint(int corner, double x, double y) noexcept override;
    /// As the rectangle's; a class operation, not one of IROIParallelogram.
    Result GetCornerPointI(ROICorner corner, int* x, int* y) noexcept { return IntegerCornerPoint(corner, x, y); }

    Result GetParameters(INamedCollection** parameters, int flags) noexcept override;
    Result SetParameters(INamedCollection* parameters) noexcept override;
    Result GetPages(int index, INamedCollection** pages, IUnknown** context) noexcept override;
    /// As every parametric figure's, but lock A is 0 afterwards even when the load fails.
    Result Load(IDataStream* stream, int flags) noexcept override;

    /// How far the corners 3 and 5 stand off the box's own.
    double Lean() const noexcept { return m_state.width - SideA(m_state); }
};

// The ellipse: centre and two half-axes along the image's axes.
//
//              3
//          .---o---.
//        /     |     \            2: right end of the x axis
//       |      o------o 2         3: upper end of the y axis
//        \            /           anything else: the centre
//          `-------'
#pragma once

#include "contract/IROI.h"
#include "roi/Geometry.h"
#include "runtime/ParameterTable.h"

namespace roi {

struct Ellipse {
    double centerX = 50.0;
    double centerY = 50.0;
    double radiusX = 30.0;
    double radiusY = 30.0;
};

/// Inside the circle about the centre whose squared radius is radiusX * radiusY, that is, the circle of
/// the ellipse's area. Edge included; false for NaN.
constexpr bool Contains(const Ellipse& e, Point p) noexcept {
    return e.radiusX * e.radiusY >= SquaredLength(p - Point{e.centerX, e.centerY});
}

/// The box of the half-axes, not of the full extent, about the centre; sizes rounded up.
PixelBox BoundingBox(const Ellipse& e, double width, double height) noexcept;

/// The ellipse with its centre and the ends of its half-axes mapped; it stays along the image's axes.
Ellipse Mapped(ITransform& transform, const Ellipse& e) noexcept;

/// Drags a node of the ellipse to `p`; see IROIEllipse::SetNode.
void Drag(Ellipse& e, int node, Point p) noexcept;

}  // namespace roi

class CROIEllipse;
template <>
inline const tagREFString IObjectInfoImpl<CROIEllipse>::m_ObjectName = Text(L"ROIEllipse");

class CROIEllipse final : public Component<CROIEllipse, IROIEllipse, IDataPersist, IParametricObject> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IROI, IROIEllipse, IParametricObject, IDataPersist>;

    Result GetBoundingSize(double* width, double* height) noexcept override;
    Result GetCenter(double* x, double* y) noexcept override;
    Result SetCenter(double x, double y) noexcept override;
    Result Transform(ITransform* transform) noexcept override;
    Result Replicate(IUnknown** copy) noexcept override;
    Result GetMask(ICIF** image) noexcept override;
    Result HitTest(double x, double y, int* hit) noexcept override;
    Result GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept override;

    Result GetNode(int node, double* x, double* y) noexcept override;
    Result SetNode(int node, double x, double y) noexcept override;
    Result GetRadius(double* radiusX, double* radiusY) noexcept override;
    Result SetRadius(double radiusX, double radiusY) noexcept override;

    Result GetParameters(INamedCollection** parameters, int flags) noexcept override;
    Result SetParameters(INamedCollection* parameters) noexcept override;

    /// An XML stream gets each value as text and gives it back as an integer; a folder stream keeps the
    /// parameter list exactly. A null or plain stream is left alone, with S_OK from both.
    Result Save(IDataStream* stream, int flags) noexcept override;
    Result Load(IDataStream* stream, int flags) noexcept override;

  private:
    roi::Ellipse m_state;
};

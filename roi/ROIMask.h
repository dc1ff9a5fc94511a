// The mask: any bitmap, placed in a rectangle. The geometry is an inner rectangle's, drawn in
// RolledBox.h; the mask adds the image and the image's size.
#pragma once

#include "contract/Components.h"
#include "contract/IROI.h"

class CROIMask;
template <>
inline const tagREFString IObjectInfoImpl<CROIMask>::m_ObjectName = Text(L"ROIMask");

/// Without its inner rectangle, which takes the host's component collection to make, every operation of
/// IROIRectangle but GetMask returns E_FAIL and writes nothing.
class CROIMask final : public Component<CROIMask, IROIMask> {
  public:
    using Answers = InterfaceMap<IObjectInfo, IROIMask, IROIRectangle, IROI>;

    /// Makes the inner rectangle by name; S_OK whether or not there is one.
    Result FinalConstruct() noexcept override;

    Result GetBoundingSize(double* width, double* height) noexcept override;
    Result GetCenter(double* x, double* y) noexcept override;
    Result SetCenter(double x, double y) noexcept override;
    Result Transform(ITransform* transform) noexcept override;
    /// The copy has a rectangle of its own and shares the image. What the rectangle answers to the questions about its
    /// geometry is not looked at.
    Result Replicate(IUnknown** copy) noexcept override;
    /// The stored image, with a reference for the caller; E_FAIL with a null mask when there is none.
    Result GetMask(ICIF** mask) noexcept override;
    Result HitTest(double x, double y, int* hit) noexcept override;
    /// The rectangle's box, over whose size an image writes its own: both outputs are handed to the image. The result
    /// is the rectangle's, whatever the image answers.
    Result GetBoundingRect(int* left, int* top, unsigned int* width, unsigned int* height) noexcept override;

    Result GetSize(double* width, double* height) noexcept override;
    Result SetSize(double width, double height) noexcept override;
    Result get_Roll(double* radians) noexcept override;
    Result put_Roll(double radians) noexcept override;
    /// Node 10 raises the rectangle's stored grip length, in either form.
    Result GetCornerPoint(ROICorner corner, double* x, double* y) noexcept override;
    Result GetCornerPointI(ROICorner corner, int* x, int* y) noexcept override;
    Result SetCornerPoint(int corner, double x, double y) noexcept override;
    Result GetAspectRatio(double* ratio) noexcept override;
    Result SetAspectRatio(double ratio) noexcept override;

    Result SetMask(ICIF* mask, int flags) noexcept override;

  private:
    // Calls an operation of the inner rectangle.
    template <class Interface, class... Parameters, class... Arguments>
    Result Forward(Result (Interface::*operation)(Parameters...) noexcept, Arguments... arguments) noexcept {
        return m_rectangle ? (m_rectangle.Get()->*operation)(arguments...) : E_FAIL;
    }

    // In this order, so that the image goes before the rectangle.
    SmartPtr<IROIRectangle> m_rectangle;
    SmartPtr<ICIF> m_mask;
};

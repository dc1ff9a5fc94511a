// "CIFGraphics": draws lines and arcs of one pixel's thickness into an 8-bit single-plane image, and
// fills regions between them.
//
// Pixel (i, j) is the square around the point (i, j): a coordinate belongs to the pixel it rounds to.
// What is drawn is connected over edges and corners, the fill spreads over edges only, so that it never
// leaks through an outline.
#pragma once

#include <opencv2/core.hpp>

#include "contract/Extensions.h"
#include "framework/FrameworkComponent.h"

class CCIFGraphics;
template <>
inline const tagREFString IObjectInfoImpl<CCIFGraphics>::m_ObjectName = Text(L"CIFGraphics");

/// All drawing gives E_FAIL, with nothing drawn, without an attached image of the right kind or when
/// the figure lies outside it altogether, and E_INVALIDARG for numbers that are not finite.
class CCIFGraphics final : public FrameworkComponent<CCIFGraphics, ICIFGraphics> {
  public:
    using Answers = InterfaceMap<IObjectInfo, ICIFGraphics>;

    /// E_NOINTERFACE for an image that does not answer IPixels; after a failure none is attached.
    Result Attach(ICIF* image) noexcept override;
    /// 0 to 255; E_INVALIDARG, with the value unchanged, for any other.
    Result SetColor(int value) noexcept override;
    Result Line(float x1, float y1, float x2, float y2) noexcept override;
    /// S_OK when the seed has the drawing value already: there is nothing to fill.
    Result FloodFill(int x, int y, int mode) noexcept override;
    /// Radii count by their absolute values. From `start` to `end` the angle runs towards the y axis,
    /// which points down; a full turn or more is the whole ellipse.
    Result Arc(float cx, float cy, float rx, float ry, float start, float end, int mode) noexcept override;

  private:
    // The attached image's pixels; empty when there are none or they are not 8-bit single-plane.
    cv::Mat Target() noexcept;

    SmartPtr<ICIF> m_image;
    unsigned char m_value = 255;
};

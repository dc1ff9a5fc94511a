// What the figures draw their masks with: an 8-bit image and a drawing object, both components of
// sibling modules. Drawing outlines and filling between them is the drawing object's business.
#pragma once

#include "contract/Components.h"

namespace roi {

/// The value of a figure's pixels in its mask; the others are 0.
inline constexpr int kMaskValue = 255;

/// A new image without pixels, or null.
inline SmartPtr<ICIF> NewMaskImage() noexcept { return CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS")); }

/// Allocates the pixels of a mask. The size is passed on as it is: the image refuses an absurd one, and
/// drawing into it then does nothing.
inline void AllocateMask(ICIF& image, unsigned int width, unsigned int height) noexcept {
    image.Create(static_cast<int>(width), static_cast<int>(height), 1, 8, kFormatMono);
}

/// A new drawing object that draws kMaskValue into the image, or null.
inline SmartPtr<ICIFGraphics> NewMaskGraphics(ICIF& image) noexcept {
    auto graphics = CreateComponent<ICIFGraphics>(Text(L"CIFGraphics"));
    if (graphics) {
        graphics->Attach(&image);
        graphics->SetColor(kMaskValue);
    }
    return graphics;
}

}  // namespace roi

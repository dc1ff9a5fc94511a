#include "host/figures/MaskPicture.h"

#include <cstring>

#include "contract/Components.h"
#include "contract/Extensions.h"
#include "host/base/Error.h"
#include "host/figures/FigureClass.h"
#include "host/figures/HostCollection.h"

namespace host {

namespace {

unsigned char* RowOf(const ImagePixels& pixels, int y) noexcept {
    return pixels.data + static_cast<std::ptrdiff_t>(y) * pixels.stride;
}

// The image of a mask figure; empty when it has none.
SmartPtr<ICIF> ImageOf(const Figure& figure) noexcept {
    SmartPtr<ICIF> image;
    if (figure.type->contents == Contents::image && Failed(figure.roi->GetMask(image.Receive()))) {
        return nullptr;
    }
    return image;
}

}  // namespace

void SetMaskImage(const Figure& figure, const RasterView& image) {
    const SmartPtr<ICIF> mask = CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS"));
    const auto figureMask = figure.As<IROIMask>();
    if (!mask || !figureMask || Failed(mask->Create(image.size.width, image.size.height, 1, 8, kFormatMono))) {
        throw Error("cannot set mask", figure.name,
                    HostCollection::WhyNot("the framework gives no image of that size"));
    }
    const ImagePixels pixels = PixelsOf(*mask);
    for (int y = 0; y < pixels.height; ++y) {
        std::memcpy(RowOf(pixels, y), image.Row<unsigned char>(y), static_cast<std::size_t>(image.size.width));
    }
    figureMask->SetMask(mask.Get(), 0);
}

bool HasMaskImage(const Figure& figure) noexcept { return static_cast<bool>(ImageOf(figure)); }

Raster MaskImageOf(const Figure& figure) {
    const SmartPtr<ICIF> image = ImageOf(figure);
    const ImagePixels pixels = image ? PixelsOf(*image) : ImagePixels();
    if (!pixels.AreBytes()) {
        return {};
    }
    Raster copy({pixels.width, pixels.height}, 1, Depth::u8);
    for (int y = 0; y < pixels.height; ++y) {
        std::memcpy(copy.Row<unsigned char>(y), RowOf(pixels, y), copy.RowBytes());
    }
    return copy;
}

}  // namespace host

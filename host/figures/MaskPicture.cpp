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

// 255 where an image of one channel is above 0, and 0 elsewhere.
Raster AboveZero(const RasterView& image) {
    Raster mask(image.size, 1, Depth::u8);
    InType(image.depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        const std::ptrdiff_t step = image.columnStride / static_cast<std::ptrdiff_t>(sizeof(Value));
        for (int y = 0; y < image.size.height; ++y) {
            const auto* const row = image.Row<Value>(y);
            for (int x = 0; x < image.size.width; ++x) {
                mask.Row<std::uint8_t>(y)[x] = row[x * step] > 0 ? 255 : 0;
            }
        }
    });
    return mask;
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

void GiveMask(const Figure& figure, const RasterView& image) {
    const auto mask = figure.As<IROIMask>();
    if (!mask) {
        throw UsageError("cannot take a mask", figure.type->name, "only ROIMask has an image");
    }
    SetMaskImage(figure, image.depth == Depth::u8 && image.columnStride == 1 ? image : AboveZero(image).View());
    const double right = image.size.width - 1.0;
    const double bottom = image.size.height - 1.0;
    mask->SetSize(right, bottom);
    mask->SetCenter(0.5 * right, 0.5 * bottom);
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

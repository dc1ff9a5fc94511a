#include "host/figures/MaskPicture.h"

#include <cstring>

#include "contract/Components.h"
#include "contract/Extensions.h"
#include "host/base/Error.h"
#include "host/figures/FigureClass.h"

namespace host {

namespace {

// The rows of an image in its memory; without data unless it is 8-bit and of a single plane.
struct Rows {
    PixelSize size;
    unsigned char* data = nullptr;
    std::ptrdiff_t stride = 0;
};

Rows RowsOf(ICIF& image) {
    const auto pixels = SmartPtr<IPixels>::QueryFrom(&image);
    int width = 0;
    int height = 0;
    int extra = 0;
    unsigned char* data = nullptr;
    int stride = 0;
    int planes = 0;
    int bits = 0;
    if (!pixels || Failed(image.GetSize(&width, &height, &extra)) ||
        Failed(pixels->GetPixels(&data, &stride, &planes, &bits)) || planes != 1 || bits != 8) {
        return {};
    }
    return {{width, height}, data, stride};
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
        throw Error("cannot set mask", figure.name, "the framework gives no image of that size");
    }
    const Rows rows = RowsOf(*mask);
    for (int y = 0; y < image.size.height; ++y) {
        std::memcpy(rows.data + y * rows.stride, image.Row<unsigned char>(y),
                    static_cast<std::size_t>(image.size.width));
    }
    figureMask->SetMask(mask.Get(), 0);
}

bool HasMaskImage(const Figure& figure) noexcept { return static_cast<bool>(ImageOf(figure)); }

Raster MaskImageOf(const Figure& figure) {
    const SmartPtr<ICIF> image = ImageOf(figure);
    const Rows rows = image ? RowsOf(*image) : Rows();
    if (rows.data == nullptr) {
        return {};
    }
    Raster copy(rows.size, 1, Depth::u8);
    for (int y = 0; y < rows.size.height; ++y) {
        std::memcpy(copy.Row<unsigned char>(y), rows.data + y * rows.stride, copy.RowBytes());
    }
    return copy;
}

}  // namespace host

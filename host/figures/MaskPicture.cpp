#include "host/figures/MaskPicture.h"

#include "contract/Components.h"
#include "contract/Extensions.h"
#include "host/base/Error.h"
#include "host/figures/FigureClass.h"
#include "host/figures/HostCollection.h"

namespace host {

namespace {

// The pixels of an image as a matrix over its memory; empty unless it is 8-bit and of a single plane.
cv::Mat Over(ICIF& image) {
    const ImagePixels pixels = PixelsOf(image);
    if (!pixels.AreBytes()) {
        return {};
    }
    return {pixels.height, pixels.width, CV_8UC1, pixels.data, static_cast<std::size_t>(pixels.stride)};
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

void SetMaskImage(const Figure& figure, const cv::Mat& image) {
    const SmartPtr<ICIF> mask = CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS"));
    const auto figureMask = figure.As<IROIMask>();
    if (!mask || !figureMask || Failed(mask->Create(image.cols, image.rows, 1, 8, kFormatMono))) {
        throw Error("cannot set mask", figure.name,
                    HostCollection::WhyNot("the framework gives no image of that size"));
    }
    image.copyTo(Over(*mask));
    figureMask->SetMask(mask.Get(), 0);
}

bool HasMaskImage(const Figure& figure) noexcept { return static_cast<bool>(ImageOf(figure)); }

cv::Mat MaskImageOf(const Figure& figure) {
    const SmartPtr<ICIF> image = ImageOf(figure);
    return image ? Over(*image).clone() : cv::Mat();
}

}  // namespace host

// OpenCV's matrices as pixels of ours.
#pragma once

#include <opencv2/core.hpp>

#include "host/base/Error.h"
#include "host/base/Raster.h"

namespace host {

/// A matrix of any depth but half floats, as it lies in memory.
inline RasterView ViewOf(const cv::Mat& image) {
    constexpr Depth kDepths[] = {Depth::u8, Depth::i8, Depth::u16, Depth::i16, Depth::i32, Depth::f32, Depth::f64};
    if (image.depth() > CV_64F) {
        throw Error("cannot measure", "image", "half floats are not measured");
    }
    const Depth depth = kDepths[image.depth()];
    return {reinterpret_cast<const std::byte*>(image.data),
            {image.cols, image.rows},
            image.channels(),
            depth,
            static_cast<std::ptrdiff_t>(BytesOf(depth)),
            static_cast<std::ptrdiff_t>(image.elemSize()),
            image.empty() ? 0 : static_cast<std::ptrdiff_t>(image.step[0])};
}

/// A matrix with its colours in the order in which the host keeps them: red, green, blue, alpha.
inline cv::Mat InOurOrder(const cv::Mat& image) {
    if (image.channels() < 3) {
        return image;
    }
    cv::Mat ours(image.size(), image.type());
    const int order[] = {0, 2, 1, 1, 2, 0, 3, 3};
    cv::mixChannels(&image, 1, &ours, 1, order, static_cast<std::size_t>(image.channels()));
    return ours;
}

/// Pixels of ours as a matrix, its colours in OpenCV's order.
inline cv::Mat MatOf(const Raster& image) {
    constexpr int kDepths[] = {CV_8U, CV_8S, CV_16U, CV_16S, CV_32S, CV_32S, -1, -1, CV_32F, CV_64F};
    const RasterView view = image.View();
    return InOurOrder({view.size.height, view.size.width,
                       CV_MAKETYPE(kDepths[static_cast<int>(view.depth)], view.channels),
                       const_cast<std::byte*>(view.data)});
}

}  // namespace host

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

/// Pixels of ours as a matrix over the same memory, to be read only.
inline cv::Mat MatOver(const Raster& image) {
    constexpr int kDepths[] = {CV_8U, CV_8S, CV_16U, CV_16S, CV_32S, CV_32S, -1, -1, CV_32F, CV_64F};
    return {image.Size().height, image.Size().width,
            CV_MAKETYPE(kDepths[static_cast<int>(image.Depth())], image.Channels()),
            const_cast<std::byte*>(image.View().data)};
}

}  // namespace host

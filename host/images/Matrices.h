// Pixels as OpenCV's matrices and back, for what still draws and measures with them.
#pragma once

#include <opencv2/core.hpp>

#include "host/base/Raster.h"

namespace host {

/// A copy; channels keep their order. Depths that matrices do not have become f64.
inline cv::Mat MatrixOf(const RasterView& view) {
    return InType(view.depth, [&](auto* type) {
        using Value = std::remove_pointer_t<decltype(type)>;
        constexpr bool kIsKnown = sizeof(Value) <= 2 || std::is_floating_point_v<Value> || std::is_same_v<Value, int>;
        using Kept = std::conditional_t<kIsKnown, Value, double>;
        cv::Mat matrix(view.size.height, view.size.width, CV_MAKETYPE(cv::DataType<Kept>::depth, view.channels));
        for (int y = 0; y < view.size.height; ++y) {
            auto* to = matrix.ptr<Kept>(y);
            for (int x = 0; x < view.size.width; ++x) {
                for (int c = 0; c < view.channels; ++c) {
                    const std::byte* const at =
                        view.data + y * view.rowStride + x * view.columnStride + c * view.channelStride;
                    *to++ = static_cast<Kept>(*reinterpret_cast<const Value*>(at));
                }
            }
        }
        return matrix;
    });
}

/// The pixels of an 8-bit matrix, which must live as long.
inline RasterView ViewOf(const cv::Mat& matrix) {
    return {reinterpret_cast<const std::byte*>(matrix.data),
            {matrix.cols, matrix.rows},
            matrix.channels(),
            Depth::u8,
            1,
            matrix.channels(),
            static_cast<std::ptrdiff_t>(matrix.step[0])};
}

}  // namespace host

// Image files: read in their own depth, measured on their luma, written whole.
#pragma once

#include <opencv2/core.hpp>
#include <string_view>
#include <vector>

#include "host/base/UserPath.h"

namespace host {

/// The image that a file's bytes are, up to 2 GiB of them, in its own depth and planes; empty for
/// anything else. Silent about what is wrong.
cv::Mat DecodeImage(std::string_view bytes);

/// The image of a file in its own depth and planes, as stored: orientation tags are not followed. Throws
/// Error for a file that is missing or is not a sound image.
cv::Mat LoadImage(const UserPath& path);

/// The one plane that is measured: a grey image itself, the luma 0.114 B + 0.587 G + 0.299 R of a
/// colour image, in the image's own depth where luma is a number of that depth. Alpha is dropped.
cv::Mat Luma(const cv::Mat& image);

/// One plane of an image and its name.
struct Channel {
    const char* name;
    cv::Mat values;
};

/// The planes of a colour image as R, G, B and, where it has one, A; a grey image, without its alpha, as L.
std::vector<Channel> Channels(const cv::Mat& image);

/// Throws a usage error unless the ending of the path names a format that SaveImage writes.
void CheckImageEnding(const UserPath& path);

/// Writes an image in the format that the ending of the path names, whole or not at all. `kind` names
/// the file in the Error that is thrown when that fails.
void SaveImage(std::string_view kind, const UserPath& path, const cv::Mat& image);

}  // namespace host

#include "host/images/Image.h"

#include <fmt/format.h>

#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string_view>
#include <vector>

#include "host/base/Error.h"
#include "host/base/SafeFile.h"
#include "host/base/Silence.h"

namespace host {

namespace {

// The decoder fills the rest of a truncated JPEG with grey and says nothing. Markers do not occur inside
// the coded pixels: a whole file has an end of image after its last start of scan.
bool IsTruncatedJpeg(std::string_view bytes) noexcept {
    if (!bytes.starts_with("\xFF\xD8")) {
        return false;
    }
    const std::size_t end = bytes.rfind("\xFF\xD9");
    const std::size_t scan = bytes.rfind("\xFF\xDA");
    return end == std::string_view::npos || scan == std::string_view::npos || end < scan;
}

}  // namespace

cv::Mat DecodeImage(std::string_view bytes) {
    try {
        const Silence quiet;
        // The decoder takes a matrix and only reads it.
        const cv::Mat file(1, static_cast<int>(bytes.size()), CV_8U, const_cast<char*>(bytes.data()));
        return file.empty() ? cv::Mat() : cv::imdecode(file, cv::IMREAD_UNCHANGED);
    } catch (const cv::Exception&) {
        return {};
    }
}

cv::Mat LoadImage(const UserPath& path) {
    const std::string bytes = ReadWholeFile("image", path);
    const auto broken = [&](std::string_view why) { return Error("cannot read image", path.Typed(), why); };
    if (bytes.empty()) {
        throw broken("the file is empty");
    }
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw broken("the file is too large");
    }
    if (IsTruncatedJpeg(bytes)) {
        throw broken("the file is truncated");
    }
    cv::Mat image = DecodeImage(bytes);
    if (image.empty()) {
        throw broken("not an image, or a broken one");
    }
    return image;
}

cv::Mat Luma(const cv::Mat& image) {
    if (image.channels() == 1) {
        return image;
    }
    cv::Mat luma;
    if (image.channels() == 2) {
        cv::extractChannel(image, luma, 0);
    } else if (image.depth() == CV_8U || image.depth() == CV_16U || image.depth() == CV_32F) {
        cv::cvtColor(image, luma, image.channels() == 3 ? cv::COLOR_BGR2GRAY : cv::COLOR_BGRA2GRAY);
    } else {
        cv::Mat real;
        image.convertTo(real, CV_64F);
        const cv::Matx14d weights(0.114, 0.587, 0.299, 0.0);
        cv::transform(real, luma, cv::Mat(weights).colRange(0, image.channels()));
    }
    return luma;
}

std::vector<Channel> Channels(const cv::Mat& image) {
    if (image.channels() < 3) {
        return {{"L", Luma(image)}};
    }
    // Stored as blue, green, red and alpha.
    constexpr std::pair<const char*, int> kStored[] = {{"R", 2}, {"G", 1}, {"B", 0}, {"A", 3}};
    std::vector<Channel> channels;
    for (const auto& [name, plane] : kStored) {
        if (plane < image.channels()) {
            cv::extractChannel(image, channels.emplace_back(Channel{name, {}}).values, plane);
        }
    }
    return channels;
}

void CheckImageEnding(const UserPath& path) {
    if (path.Extension().empty() || !cv::haveImageWriter("image" + path.Extension())) {
        throw UsageError("unknown image format", path.Typed(), "end the name in .png, .jpg, .tif or .bmp");
    }
}

void SaveImage(std::string_view kind, const UserPath& path, const cv::Mat& image) {
    // The encoder's own choice is made for speed: close-ups would be four times as large.
    const std::vector<int> options = {cv::IMWRITE_PNG_COMPRESSION, 6};
    std::vector<unsigned char> bytes;
    bool written = false;
    try {
        const Silence quiet;
        written = cv::imencode(path.Extension(), image, bytes, options);
    } catch (const cv::Exception&) {
        written = false;
    }
    if (!written) {
        throw Error(fmt::format("cannot write {}", kind), path.Typed(), "the image does not fit the format");
    }
    WriteWholeFile(kind, path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace host

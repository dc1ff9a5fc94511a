#include "framework/CIFImageCANVAS.h"

#include <climits>
#include <fstream>
#include <opencv2/imgcodecs.hpp>

namespace {

constexpr std::int64_t kLargestImage = std::int64_t{1} << 30;

void Write(int* output, int value) noexcept {
    if (output != nullptr) {
        *output = value;
    }
}

}  // namespace

Result CCIFImageCANVAS::GetSize(int* width, int* height, int* extra) noexcept {
    Write(width, m_image.cols);
    Write(height, m_image.rows);
    Write(extra, m_image.empty() ? 0 : m_image.channels());
    return S_OK;
}

Result CCIFImageCANVAS::Create(int width, int height, int planes, int bitsPerPixel, std::uint32_t format) noexcept {
    if (planes != 1 || bitsPerPixel != 8 || format != kFormatMono) {
        return Misuse("ICIF::Create", "not one plane of 8 bits in the format MONO");
    }
    if (width <= 0 || height <= 0 || std::int64_t{width} * height > kLargestImage) {
        return E_INVALIDARG;
    }
    auto* pixels =
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(height), static_cast<std::size_t>(width)));
    if (pixels == nullptr) {
        return E_FAIL;
    }
    m_image = cv::Mat(height, width, CV_8UC1, pixels);
    m_created.reset(pixels);
    m_isBlank = true;
    return S_OK;
}

Result CCIFImageCANVAS::Fill(int value) noexcept {
    if (m_image.empty()) {
        return E_FAIL;
    }
    if (m_isBlank && value == 0) {
        return S_OK;
    }
    m_isBlank = false;
    return Guarded("ICIF::Fill", [&] {
        m_image = cv::Scalar::all(value);
        return S_OK;
    });
}

Result CCIFImageCANVAS::GetPixels(unsigned char** data, int* stride, int* planes, int* bits) noexcept {
    if (data == nullptr || stride == nullptr || planes == nullptr || bits == nullptr) {
        return Misuse("IPixels::GetPixels", "null output");
    }
    const bool usable = !m_image.empty() && m_image.step[0] <= INT_MAX;
    m_isBlank = false;
    *data = usable ? m_image.data : nullptr;
    *stride = usable ? static_cast<int>(m_image.step[0]) : 0;
    *planes = usable ? m_image.channels() : 0;
    *bits = usable ? static_cast<int>(m_image.elemSize1() * 8) : 0;
    return usable ? S_OK : E_FAIL;
}

Result CCIFImageCANVAS::ReadFile(const char* path) noexcept {
    if (path == nullptr) {
        return Misuse("IPixels::ReadFile", "null path");
    }
    return Guarded("IPixels::ReadFile", [&] {
        if (!std::ifstream(path)) {
            return E_FAIL;  // The library would write a warning about it.
        }
        cv::Mat image = cv::imread(path, cv::IMREAD_UNCHANGED);
        if (image.empty()) {
            return E_FAIL;
        }
        m_image = std::move(image);
        m_isBlank = false;
        m_created.reset();
        return S_OK;
    });
}

Result CCIFImageCANVAS::WriteFile(const char* path) noexcept {
    if (path == nullptr) {
        return Misuse("IPixels::WriteFile", "null path");
    }
    return Guarded("IPixels::WriteFile", [&] {
        return !m_image.empty() && cv::haveImageWriter(path) && cv::imwrite(path, m_image) ? S_OK : E_FAIL;
    });
}

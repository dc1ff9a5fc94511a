// "CIFImageCANVAS": a raster image that knows image files.
#pragma once

#include <cstdlib>
#include <memory>
#include <opencv2/core.hpp>

#include "contract/Extensions.h"
#include "framework/FrameworkComponent.h"

class CCIFImageCANVAS;
template <>
inline const tagREFString IObjectInfoImpl<CCIFImageCANVAS>::m_ObjectName = Text(L"CIFImageCANVAS");

class CCIFImageCANVAS final : public FrameworkComponent<CCIFImageCANVAS, ICIFImageCANVAS, IPixels> {
  public:
    using Answers = InterfaceMap<IObjectInfo, ICIF, ICIFImageCANVAS, IPixels>;

    /// Each output may be null. An image without pixels is 0 by 0; `extra` is the number of planes.
    Result GetSize(int* width, int* height, int* extra) noexcept override;
    /// Makes 8-bit single-plane images only, of at most 1 GiB. E_INVALIDARG, with the image unchanged,
    /// for anything else.
    Result Create(int width, int height, int planes, int bitsPerPixel, std::uint32_t format) noexcept override;
    /// Values beyond the depth of the image become its largest or smallest. E_FAIL without pixels.
    Result Fill(int value) noexcept override;

    Result GetPixels(unsigned char** data, int* stride, int* planes, int* bits) noexcept override;
    Result ReadFile(const char* path) noexcept override;
    Result WriteFile(const char* path) noexcept override;

  private:
    struct Freed {
        void operator()(void* memory) const noexcept { std::free(memory); }
    };

    // The pixels of an image that was created, from here and not from the library, which leaks them when
    // its own header cannot be allocated. An image that was read holds its own.
    std::unique_ptr<unsigned char, Freed> m_created;
    cv::Mat m_image;
    // All 0 since Create, and nobody was handed the pixels: filling with 0 would change nothing.
    bool m_isBlank = false;
};

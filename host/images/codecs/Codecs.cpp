#include "host/images/codecs/Codecs.h"

#include <stdexcept>

namespace host {

std::string OrientationWarning(unsigned orientation) {
    return orientation < 2 || orientation > 8 ? std::string()
                                              : "its orientation tag (" + std::to_string(orientation) +
                                                    ") is not followed: pixels are taken as stored";
}

unsigned ExifOrientation(std::span<const unsigned char> exif) noexcept {
    const bool isLittle = !exif.empty() && exif[0] == 'I';
    // A number of two or four bytes; 0 beyond the end.
    const auto number = [&](std::size_t at, std::size_t length) {
        std::size_t value = 0;
        for (std::size_t i = 0; i < length && at + length <= exif.size(); ++i) {
            value = value << 8 | exif[at + (isLittle ? length - 1 - i : i)];
        }
        return value;
    };
    constexpr std::size_t kOrientation = 0x0112;
    constexpr std::size_t kEntry = 12;
    const std::size_t directory = number(4, 4);
    const std::size_t entries = number(directory, 2);
    for (std::size_t i = 0; i < entries && directory + 2 + (i + 1) * kEntry <= exif.size(); ++i) {
        const std::size_t entry = directory + 2 + i * kEntry;
        if (number(entry, 2) == kOrientation) {
            return static_cast<unsigned>(number(entry + 8, 2));
        }
    }
    return 1;
}

}  // namespace host

extern "C" [[gnu::visibility("default")]] host::FileReader* OpenImageFile(host::Format format, std::FILE* file) {
    switch (format) {
        case host::Format::png:
            return host::OpenPng(file).release();
        case host::Format::jpeg:
            return host::OpenJpeg(file).release();
        default:
            return host::OpenTiff(file).release();
    }
}

extern "C" [[gnu::visibility("default")]] void WriteImageFile(host::Format format, std::FILE* file,
                                                              const host::RasterView& image) {
    switch (format) {
        case host::Format::png:
            return host::WritePng(file, image);
        case host::Format::jpeg:
            return host::WriteJpeg(file, image);
        default:
            return host::WriteTiff(file, image);
    }
}

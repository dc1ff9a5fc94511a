// What a codec does: the pages of one image file, row by row. Codecs lie in modules of their own, opened when the
// first file of their formats comes, so that a command that touches no image loads no image library.
#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "host/base/Raster.h"

namespace host {

enum class Format { png, jpeg, tiff, gif, webp, jpeg2000, fits, openExr, pnm, bmp };

/// The distances of columns and of rows, in metres.
struct PixelPitch {
    double x = 0.0;
    double y = 0.0;
};

/// One page of an image file, its values as they are stored.
struct PageInfo {
    PixelSize size;
    int channels = 1;
    Depth depth = Depth::u8;
    int bits = 8;                       ///< what a value has of its depth: with 1 bit the values are 0 and 1
    bool isColour = false;              ///< the first three channels are red, green and blue
    bool hasAlpha = false;              ///< the channel after the colours, or after the grey, is alpha
    std::optional<PixelPitch> pitch;    ///< nothing when the file names no length
    std::vector<std::string> warnings;  ///< what the file says and nobody follows

    std::size_t RowBytes() const noexcept {
        return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(channels) * BytesOf(depth);
    }
};

/// One file, opened by its codec. Of the threads only one may use it at a time.
class FileReader {
  public:
    FileReader() = default;
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;
    virtual ~FileReader() = default;

    virtual int Pages() const { return 1; }
    /// Turns to a page, from 0, and its first row. Throws std::runtime_error for what cannot be read at all.
    virtual PageInfo Turn(int page) = 0;
    /// Makes a row of the page the next one; false, and nothing changes, where rows come one after the other only.
    virtual bool Go(int /*row*/) { return false; }
    /// Reads the next row of the page, RowBytes of it. False when neither it nor the rows below can be read.
    virtual bool ReadRow(std::byte* row) = 0;
    /// What was wrong in the file first; empty as long as nothing was.
    virtual std::string Fault() const = 0;
};

/// What a module of codecs exports under the name OpenImageFile: a new reader, owned by the caller, of a seekable
/// file that outlives it. Throws std::runtime_error.
using OpenImageFileEntry = FileReader* (*)(Format format, std::FILE* file);
inline constexpr const char* kOpenImageFileSymbol = "OpenImageFile";

/// What the module that writes exports under the name WriteImageFile: one channel, grey and alpha, red, green and
/// blue, or these and alpha, in PNG, JPEG or TIFF. Throws std::runtime_error for what the format cannot hold.
using WriteImageFileEntry = void (*)(Format format, std::FILE* file, const RasterView& image);
inline constexpr const char* kWriteImageFileSymbol = "WriteImageFile";

}  // namespace host

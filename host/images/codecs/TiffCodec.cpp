// TIFF and its pages, by libtiff: strips and tiles, planes side by side or apart, values of 1 to 64 bits.
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/images/codecs/Codecs.h"

namespace host {

namespace {

// ---------------------------------------------------------------------------------------------------
// The library's way to a file

// An open file and the place at which the library goes on. It moves there without asking the system, which it would do
// for every few rows, and no more is read than it wants.
struct OpenFile {
    explicit OpenFile(std::FILE* file) : number(fileno(file)) {}

    int number;
    toff_t at = 0;
};

OpenFile& FileOf(thandle_t handle) noexcept { return *static_cast<OpenFile*>(handle); }

// Moves bytes between a file and memory until all are moved or no more are. How many were.
template <class Bytes, class MoveSome>
tmsize_t Move(thandle_t handle, Bytes* bytes, tmsize_t size, MoveSome moveSome) {
    OpenFile& file = FileOf(handle);
    tmsize_t moved = 0;
    for (ssize_t count = 1; count > 0 && moved < size; moved += std::max<ssize_t>(count, 0)) {
        count = moveSome(file.number, bytes + moved, static_cast<std::size_t>(size - moved),
                         static_cast<off_t>(file.at) + moved);
    }
    file.at += static_cast<toff_t>(moved);
    return moved;
}

tmsize_t Read(thandle_t handle, void* bytes, tmsize_t size) {
    return Move(handle, static_cast<std::byte*>(bytes), size, pread);
}
tmsize_t Write(thandle_t handle, void* bytes, tmsize_t size) {
    return Move(handle, static_cast<const std::byte*>(bytes), size, pwrite);
}
int LeaveOpen(thandle_t) { return 0; }
toff_t SizeOf(thandle_t handle) {
    struct stat status {};
    return fstat(FileOf(handle).number, &status) == 0 ? static_cast<toff_t>(status.st_size) : 0;
}
toff_t Seek(thandle_t handle, toff_t offset, int from) {
    toff_t& at = FileOf(handle).at;
    at = offset + (from == SEEK_CUR ? at : from == SEEK_END ? SizeOf(handle) : 0);
    return at;
}

int OnError(TIFF*, void* fault, const char*, const char* format, std::va_list arguments) {
    static_cast<Fault*>(fault)->Note(format, arguments);
    return 1;
}

int OnWarning(TIFF* tiff, void* fault, const char* where, const char* format, std::va_list arguments) {
    // Every program has tags of its own: what nobody knows is no damage.
    return std::string_view(format).starts_with("Unknown field") ? 1 : OnError(tiff, fault, where, format, arguments);
}

struct Closed {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Closed>;

Tiff Opened(OpenFile& file, const char* mode, Fault& fault) {
    TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, OnError, &fault);
    TIFFOpenOptionsSetWarningHandlerExtR(options, OnWarning, &fault);
    Tiff tiff(TIFFClientOpenExt("", mode, &file, Read, Write, Seek, LeaveOpen, SizeOf, nullptr, nullptr, options));
    TIFFOpenOptionsFree(options);
    if (!tiff) {
        throw std::runtime_error(fault.Text());
    }
    return tiff;
}

template <class Value>
Value Tag(TIFF* tiff, ttag_t tag, Value otherwise = {}) {
    Value value = otherwise;
    return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : otherwise;
}

// ---------------------------------------------------------------------------------------------------
// Values

// An IEEE half as a float.
float FromHalf(std::uint16_t half) noexcept {
    const int exponent = half >> 10 & 0x1F;
    const auto fraction = static_cast<float>(half & 0x3FF);
    float value = std::ldexp(exponent == 0 ? fraction : fraction + 1024.0F, std::max(exponent, 1) - 25);
    if (exponent == 0x1F) {
        value = fraction == 0.0F ? std::numeric_limits<float>::infinity() : std::numeric_limits<float>::quiet_NaN();
    }
    return (half & 0x8000) != 0 ? -value : value;
}

// Whole numbers of any number of bits, packed without gaps, the highest bit first.
template <class Value>
void UnpackBits(const std::uint8_t* packed, int bits, std::size_t count, Value* values) noexcept {
    std::size_t at = 0;
    for (std::size_t i = 0; i < count; ++i) {
        Value value = 0;
        for (int bit = 0; bit < bits; ++bit, ++at) {
            value = static_cast<Value>(value << 1 | (packed[at / 8] >> (7 - at % 8) & 1));
        }
        values[i] = value;
    }
}

// How wide the values of a page are and what they mean, as its tags say.
struct Layout {
    int bits;
    std::uint16_t format;
    std::uint16_t photometric;
    int samples;
    bool isPlanar;
    bool isTiled;

    explicit Layout(TIFF* tiff)
        : bits(Tag<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1)),
          format(Tag<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)),
          photometric(Tag<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK)),
          samples(Tag<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1)),
          isPlanar(samples > 1 &&
                   Tag<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE),
          isTiled(TIFFIsTiled(tiff) != 0) {}

    bool IsPalette() const noexcept { return photometric == PHOTOMETRIC_PALETTE; }
    bool IsHalf() const noexcept { return format == SAMPLEFORMAT_IEEEFP && bits == 16; }
    Depth StoredDepth() const;
    // Whether the values lie in the file as they do in memory.
    bool IsNative() const { return !IsHalf() && bits == 8 * static_cast<int>(BytesOf(StoredDepth())); }
};

Depth Layout::StoredDepth() const {
    switch (format) {
        case SAMPLEFORMAT_INT:
            switch (bits) {
                case 8:
                    return Depth::i8;
                case 16:
                    return Depth::i16;
                case 32:
                    return Depth::i32;
                case 64:
                    return Depth::i64;
            }
            break;
        case SAMPLEFORMAT_IEEEFP:
            if (bits == 16 || bits == 32 || bits == 64) {
                return bits == 64 ? Depth::f64 : Depth::f32;
            }
            break;
        case SAMPLEFORMAT_UINT:
        case SAMPLEFORMAT_VOID:
            if (bits >= 1 && bits <= 16) {
                return bits <= 8 ? Depth::u8 : Depth::u16;
            }
            if (bits == 32 || bits == 64) {
                return bits == 32 ? Depth::u32 : Depth::u64;
            }
            break;
    }
    throw std::runtime_error("its values are of an unknown kind");
}

// ---------------------------------------------------------------------------------------------------

class TiffReader : public FileReader {
  public:
    // The library has read the first page, even where it then counts none for want of its end.
    explicit TiffReader(std::FILE* file)
        : m_file(file),
          m_tiff(Opened(m_file, "r", m_fault)),
          m_pages(static_cast<int>(std::max<tdir_t>(1, TIFFNumberOfDirectories(m_tiff.get())))) {}

    int Pages() const override { return m_pages; }
    PageInfo Turn(int page) override;
    bool Go(int row) override;
    bool ReadRow(std::byte* row) override;
    std::string Fault() const override { return m_fault.Text(); }

  private:
    void Find(int page);
    void SetColours(const Layout& layout);
    void SetPitch();
    void SetWarnings(const Layout& layout);
    void SetPalette(const Layout& layout);
    void SetBlocks(const Layout& layout);
    bool ReadBand(int top);
    bool ReadBlock(int top, int column, int plane);
    void Place(int column, int plane);
    const std::byte* Values(const std::byte* packed, std::size_t count);
    void PlaceColours(const std::byte* values, std::size_t count, std::byte* row) const;

    host::Fault m_fault;
    OpenFile m_file;
    Tiff m_tiff;
    int m_pages;
    PageInfo m_page;
    std::unique_ptr<Layout> m_layout;
    std::vector<std::uint8_t> m_palette;  // Red, green and blue of every index.

    // Strips and tiles are blocks; those that begin in one row are a band, and a band is read at a time.
    int m_blockWidth = 0;
    int m_blockHeight = 0;
    std::size_t m_blockRowBytes = 0;
    std::size_t m_blockBytes = 0;
    std::size_t m_unpackedBytes = 0;
    std::vector<std::byte> m_block;
    std::vector<std::byte> m_unpacked;
    std::vector<std::byte> m_band;
    bool m_byLine = false;
    int m_next = 0;
    int m_bandTop = -1;  // The first row of the band that is there.
};

PageInfo TiffReader::Turn(int page) {
    Find(page);
    TIFF* const tiff = m_tiff.get();
    m_page = PageInfo();
    m_next = 0;
    m_bandTop = -1;
    const auto width = Tag<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
    const auto height = Tag<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
    const auto most = static_cast<std::uint32_t>(std::numeric_limits<int>::max());
    m_page.size = {static_cast<int>(std::min(width, most)), static_cast<int>(std::min(height, most))};
    const auto compression = Tag<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (TIFFIsCODECConfigured(compression) == 0) {
        throw std::runtime_error("its compression is unknown");
    }
    if (compression == COMPRESSION_JPEG) {
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    m_layout = std::make_unique<Layout>(tiff);
    if (compression == COMPRESSION_JPEG && m_layout->photometric == PHOTOMETRIC_YCBCR) {
        m_layout->photometric = PHOTOMETRIC_RGB;
    }
    SetColours(*m_layout);
    SetPitch();
    SetWarnings(*m_layout);
    SetBlocks(*m_layout);
    return m_page;
}

void TiffReader::Find(int page) {
    const auto number = static_cast<tdir_t>(page);
    TIFF* const tiff = m_tiff.get();
    // The next page is read from where this one ends; any other is looked for from the first.
    const bool isNext = number == TIFFCurrentDirectory(tiff) + 1U;
    const bool found = number == TIFFCurrentDirectory(tiff) ||
                       (isNext ? TIFFReadDirectory(tiff) : TIFFSetDirectory(tiff, number)) == 1;
    if (!found) {
        throw std::runtime_error(m_fault.Text());
    }
}

void TiffReader::SetColours(const Layout& layout) {
    m_page.depth = layout.StoredDepth();
    m_page.bits = layout.bits;
    m_page.channels = layout.samples;
    std::uint16_t extras = 0;
    const std::uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(m_tiff.get(), TIFFTAG_EXTRASAMPLES, &extras, &kinds);
    switch (layout.photometric) {
        case PHOTOMETRIC_PALETTE:
            return SetPalette(layout);
        case PHOTOMETRIC_RGB:
            m_page.isColour = layout.samples >= 3;
            break;
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MASK:
            break;
        default:
            throw std::runtime_error("its colours are of a kind that is not measured");
    }
    const int colours = m_page.isColour ? 3 : 1;
    m_page.hasAlpha = layout.samples > colours && extras > 0 && kinds[0] != EXTRASAMPLE_UNSPECIFIED;
}

void TiffReader::SetPalette(const Layout& layout) {
    std::uint16_t* colours[3] = {};
    if (layout.samples != 1 || layout.bits > 8 || layout.format != SAMPLEFORMAT_UINT ||
        TIFFGetField(m_tiff.get(), TIFFTAG_COLORMAP, &colours[0], &colours[1], &colours[2]) != 1) {
        throw std::runtime_error("its palette is of an unknown kind");
    }
    const std::size_t count = std::size_t{1} << layout.bits;
    // Some programs write bytes where words belong.
    const bool isWords = std::any_of(std::begin(colours), std::end(colours), [count](const std::uint16_t* values) {
        return std::any_of(values, values + count, [](std::uint16_t value) { return value > 255; });
    });
    m_palette.clear();
    for (std::size_t i = 0; i < count; ++i) {
        for (const std::uint16_t* values : colours) {
            m_palette.push_back(static_cast<std::uint8_t>(isWords ? values[i] >> 8 : values[i]));
        }
    }
    m_page.channels = 3;
    m_page.bits = 8;
    m_page.isColour = true;
}

void TiffReader::SetPitch() {
    const auto unit = Tag<std::uint16_t>(m_tiff.get(), TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    const double length = unit == RESUNIT_INCH ? 0.0254 : unit == RESUNIT_CENTIMETER ? 0.01 : 0.0;
    float x = 0.0F;
    float y = 0.0F;
    if (length > 0.0 && TIFFGetField(m_tiff.get(), TIFFTAG_XRESOLUTION, &x) == 1 &&
        TIFFGetField(m_tiff.get(), TIFFTAG_YRESOLUTION, &y) == 1 && x > 0.0F && y > 0.0F) {
        m_page.pitch = PixelPitch{length / x, length / y};
    }
}

void TiffReader::SetWarnings(const Layout& layout) {
    const auto orientation = Tag<std::uint16_t>(m_tiff.get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (std::string warning = OrientationWarning(orientation); !warning.empty()) {
        m_page.warnings.push_back(std::move(warning));
    }
    if (layout.photometric == PHOTOMETRIC_MINISWHITE) {
        m_page.warnings.emplace_back("its smallest value is white: values are taken as stored");
    }
    // Of stacks beyond 4 GiB ImageJ writes the first directory alone, and the other images behind its own.
    const char* text = nullptr;
    if (TIFFGetField(m_tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text) != 1 ||
        !std::string_view(text).starts_with("ImageJ=")) {
        return;
    }
    const char* const images = std::strstr(text, "\nimages=");
    const long count = images != nullptr ? std::strtol(std::strchr(images, '=') + 1, nullptr, 10) : 0;
    if (count > m_pages) {
        m_page.warnings.push_back("ImageJ has put " + std::to_string(count) + " images into it, of which " +
                                  std::to_string(m_pages) + " can be read");
    }
}

void TiffReader::SetBlocks(const Layout& layout) {
    TIFF* const tiff = m_tiff.get();
    // Longer strips are decoded line by line.
    constexpr tmsize_t kLongStrip = tmsize_t{1} << 24;
    constexpr tmsize_t kLargestBlock = tmsize_t{1} << 31;
    tmsize_t size = 0;
    m_blockWidth = m_page.size.width;
    if (layout.isTiled) {
        m_blockWidth = static_cast<int>(Tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH));
        m_blockHeight = static_cast<int>(Tag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH));
        m_blockRowBytes = static_cast<std::size_t>(TIFFTileRowSize(tiff));
        size = TIFFTileSize(tiff);
    } else {
        const auto rows = Tag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, std::numeric_limits<std::uint32_t>::max());
        m_blockHeight = static_cast<int>(std::min(rows, static_cast<std::uint32_t>(m_page.size.height)));
        m_blockRowBytes = static_cast<std::size_t>(TIFFScanlineSize(tiff));
        size = TIFFStripSize(tiff);
    }
    m_byLine = !layout.isTiled && !layout.isPlanar && size > kLongStrip;
    if (m_byLine) {
        m_blockHeight = 1;
        size = TIFFScanlineSize(tiff);
    }
    const auto samples = static_cast<std::size_t>(layout.isPlanar ? 1 : layout.samples);
    const auto bits = static_cast<std::size_t>(m_blockWidth) * samples * static_cast<std::size_t>(layout.bits);
    if (size <= 0 || size > kLargestBlock || m_blockWidth <= 0 || m_blockHeight <= 0 ||
        m_blockRowBytes < (bits + 7) / 8 ||
        static_cast<std::size_t>(size) < m_blockRowBytes * static_cast<std::size_t>(m_blockHeight)) {
        throw std::runtime_error("its strips or tiles are of an impossible size");
    }
    m_blockBytes = static_cast<std::size_t>(size);
    m_unpackedBytes = static_cast<std::size_t>(m_blockWidth) * samples * BytesOf(layout.StoredDepth());
}

// A strip that is decoded line by line has to be decoded from its first one.
bool TiffReader::Go(int row) {
    m_next = m_byLine ? m_next : row;
    return !m_byLine;
}

bool TiffReader::ReadRow(std::byte* row) {
    const int inBand = m_next % m_blockHeight;
    const int top = m_next - inBand;
    if (m_bandTop != top) {
        m_bandTop = -1;
        if (!ReadBand(top)) {
            return false;
        }
        m_bandTop = top;
    }
    const std::size_t length = m_page.RowBytes();
    std::memcpy(row, m_band.data() + static_cast<std::size_t>(inBand) * length, length);
    ++m_next;
    return true;
}

// Memory is taken here and not before, since a header may claim any size and be refused for it.
bool TiffReader::ReadBand(int top) {
    m_block.resize(m_blockBytes);
    m_unpacked.resize(m_unpackedBytes);
    m_band.resize(m_page.RowBytes() * static_cast<std::size_t>(std::min(m_blockHeight, m_page.size.height - top)));
    for (int plane = 0; plane < (m_layout->isPlanar ? m_layout->samples : 1); ++plane) {
        for (int column = 0; column < m_page.size.width; column += m_blockWidth) {
            if (!ReadBlock(top, column, plane)) {
                return false;
            }
            Place(column, plane);
        }
    }
    return true;
}

// Reads the block that begins in a row at a column.
bool TiffReader::ReadBlock(int top, int column, int plane) {
    TIFF* const tiff = m_tiff.get();
    const auto row = static_cast<std::uint32_t>(top);
    const auto sample = static_cast<std::uint16_t>(plane);
    const auto size = static_cast<tmsize_t>(m_block.size());
    if (m_byLine) {
        return TIFFReadScanline(tiff, m_block.data(), row, sample) == 1;
    }
    // A strip may hold fewer rows than the others, a tile never does.
    const tmsize_t expected =
        m_layout->isTiled ? size
                          : static_cast<tmsize_t>(m_blockRowBytes) * std::min(m_blockHeight, m_page.size.height - top);
    const tmsize_t got =
        m_layout->isTiled
            ? TIFFReadEncodedTile(tiff, TIFFComputeTile(tiff, static_cast<std::uint32_t>(column), row, 0, sample),
                                  m_block.data(), size)
            : TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, row, sample), m_block.data(), size);
    if (got >= 0 && got < expected) {
        m_fault.Note("a strip or tile is too short");
    }
    return got >= expected;
}

// Puts the values of the block where they belong in the band.
void TiffReader::Place(int column, int plane) {
    const std::size_t value = BytesOf(m_page.depth);
    const auto channels = static_cast<std::size_t>(m_page.channels);
    const auto width = static_cast<std::size_t>(std::min(m_blockWidth, m_page.size.width - column));
    const std::size_t samples = m_layout->isPlanar ? 1 : static_cast<std::size_t>(m_layout->samples);
    std::byte* to =
        m_band.data() + (static_cast<std::size_t>(column) * channels + static_cast<std::size_t>(plane)) * value;
    const std::byte* from = m_block.data();
    for (std::size_t row = 0; row < m_band.size() / m_page.RowBytes(); ++row) {
        const std::byte* const values = Values(from, width * samples);
        if (m_layout->IsPalette()) {
            PlaceColours(values, width, to);
        } else if (samples == channels) {
            std::memcpy(to, values, width * channels * value);
        } else {
            for (std::size_t x = 0; x < width; ++x) {
                std::memcpy(to + x * channels * value, values + x * value, value);
            }
        }
        from += m_blockRowBytes;
        to += m_page.RowBytes();
    }
}

// The values of a row of the block, each in the bytes of the depth.
const std::byte* TiffReader::Values(const std::byte* packed, std::size_t count) {
    if (m_layout->IsNative()) {
        return packed;
    }
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(packed);
    void* const values = m_unpacked.data();
    if (m_layout->IsHalf()) {
        for (std::size_t i = 0; i < count; ++i) {
            std::uint16_t half = 0;
            std::memcpy(&half, bytes + 2 * i, sizeof half);
            static_cast<float*>(values)[i] = FromHalf(half);
        }
    } else if (m_page.depth == Depth::u8) {
        UnpackBits(bytes, m_layout->bits, count, static_cast<std::uint8_t*>(values));
    } else {
        UnpackBits(bytes, m_layout->bits, count, static_cast<std::uint16_t*>(values));
    }
    return m_unpacked.data();
}

void TiffReader::PlaceColours(const std::byte* values, std::size_t count, std::byte* row) const {
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(row + 3 * i, m_palette.data() + 3 * std::to_integer<std::size_t>(values[i]), 3);
    }
}

}  // namespace

std::unique_ptr<FileReader> OpenTiff(std::FILE* file) { return std::make_unique<TiffReader>(file); }

void WriteTiff(std::FILE* file, const RasterView& image) {
    constexpr std::uint16_t kRowsPerStrip = 16;
    constexpr std::uint16_t kAlpha[] = {EXTRASAMPLE_UNASSALPHA};
    const std::uint16_t format = InType(image.depth, [](auto* type) -> std::uint16_t {
        using Value = std::remove_pointer_t<decltype(type)>;
        return std::is_floating_point_v<Value> ? SAMPLEFORMAT_IEEEFP
               : std::is_signed_v<Value>       ? SAMPLEFORMAT_INT
                                               : SAMPLEFORMAT_UINT;
    });
    Fault fault;
    OpenFile open(file);
    const Tiff owner = Opened(open, "w", fault);
    TIFF* const tiff = owner.get();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.size.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.size.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * BytesOf(image.depth)));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, image.channels);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, image.channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kRowsPerStrip);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    if (image.channels % 2 == 0) {
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, kAlpha);
    }
    // The library may change the bytes of what it writes.
    std::vector<std::byte> row(static_cast<std::size_t>(image.size.width) * static_cast<std::size_t>(image.channels) *
                               BytesOf(image.depth));
    for (int y = 0; y < image.size.height; ++y) {
        std::memcpy(row.data(), image.Row<std::byte>(y), row.size());
        if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0) != 1) {
            throw std::runtime_error(fault.Text());
        }
    }
    if (TIFFFlush(tiff) != 1) {
        throw std::runtime_error(fault.Text());
    }
}

}  // namespace host

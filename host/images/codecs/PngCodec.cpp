// PNG, by libpng; what is not large is inflated by ISA-L.
#include <png.h>

#include <bit>
#include <stdexcept>
#include <vector>

#include "host/images/codecs/Codecs.h"
#include "host/images/codecs/StoredPng.h"

namespace host {

namespace {

void OnError(png_structp png, png_const_charp text) {
    static_cast<Fault*>(png_get_error_ptr(png))->Note(text);
    png_longjmp(png, 1);
}

void OnWarning(png_structp png, png_const_charp text) { static_cast<Fault*>(png_get_error_ptr(png))->Note(text); }

template <class Body>
bool RunsThrough(png_structp png, const Body& body) {
    return Completes(*png_set_longjmp_fn(png, longjmp, sizeof(std::jmp_buf)), body);
}

class PngReader : public FileReader {
  public:
    explicit PngReader(std::FILE* file) : m_file(file) {}
    ~PngReader() override { png_destroy_read_struct(&m_png, &m_info, nullptr); }

    PageInfo Turn(int) override;
    bool ReadRow(std::byte* row) override;
    std::string Fault() const override { return m_fault.Text(); }

  private:
    void Begin();
    void ReadHeader();
    void ReadFrom(png_bytep bytes, std::size_t count);
    void Describe(PageInfo& page) const;
    void ReadStored();
    bool ReadInterlaced();

    std::FILE* m_file;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    host::Fault m_fault;
    png_uint_32 m_height = 0;
    png_uint_32 m_next = 0;
    int m_passes = 1;
    // All rows of an interlaced image, which come together.
    std::vector<png_byte> m_all;
    // What is read in place of the file, where it is not empty.
    FileBytes m_stored;
    std::size_t m_at = 0;
};

PageInfo PngReader::Turn(int) {
    m_stored = {};
    std::rewind(m_file);
    Begin();
    PageInfo page;
    Describe(page);
    return page;
}

void PngReader::Begin() {
    png_destroy_read_struct(&m_png, &m_info, nullptr);
    m_all.clear();
    m_next = 0;
    m_at = 0;
    m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_fault, OnError, OnWarning);
    m_info = m_png != nullptr ? png_create_info_struct(m_png) : nullptr;
    if (m_info == nullptr) {
        throw std::bad_alloc();
    }
    if (!RunsThrough(m_png, [this] { ReadHeader(); })) {
        throw std::runtime_error(m_fault.Text());
    }
}

void PngReader::ReadFrom(png_bytep bytes, std::size_t count) {
    if (count > m_stored.size - m_at) {
        png_error(m_png, "Read Error");
    }
    std::copy_n(m_stored.bytes.get() + m_at, count, bytes);
    m_at += count;
}

void PngReader::ReadHeader() {
    // Chunks that change no value cannot damage one; that they are whole is checked all the same.
    png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_AS_DEFAULT, reinterpret_cast<png_const_bytep>("pHYs\0eXIf"), 2);
    png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_ALWAYS, reinterpret_cast<png_const_bytep>("acTL"), 1);
    if (m_stored.IsEmpty()) {
        png_init_io(m_png, m_file);
    } else {
        png_set_read_fn(m_png, this, [](png_structp png, png_bytep bytes, std::size_t count) {
            static_cast<PngReader*>(png_get_io_ptr(png))->ReadFrom(bytes, count);
        });
        png_set_crc_action(m_png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
        png_set_option(m_png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
    }
    png_read_info(m_png, m_info);
    if (png_get_color_type(m_png, m_info) == PNG_COLOR_TYPE_PALETTE) {
        png_set_palette_to_rgb(m_png);
    }
    png_set_packing(m_png);
    if constexpr (std::endian::native == std::endian::little) {
        png_set_swap(m_png);
    }
    m_passes = png_set_interlace_handling(m_png);
    m_height = png_get_image_height(m_png, m_info);
}

void PngReader::Describe(PageInfo& page) const {
    const bool isPalette = png_get_color_type(m_png, m_info) == PNG_COLOR_TYPE_PALETTE;
    page.bits = isPalette ? 8 : png_get_bit_depth(m_png, m_info);
    page.size = {static_cast<int>(png_get_image_width(m_png, m_info)), static_cast<int>(m_height)};
    png_read_update_info(m_png, m_info);
    page.channels = png_get_channels(m_png, m_info);
    page.depth = page.bits == 16 ? Depth::u16 : Depth::u8;
    page.isColour = page.channels >= 3;
    page.hasAlpha = page.channels % 2 == 0;
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    if (png_get_pHYs(m_png, m_info, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER && x > 0 && y > 0) {
        page.pitch = PixelPitch{1.0 / x, 1.0 / y};
    }
    png_unknown_chunkp animation = nullptr;
    if (png_get_unknown_chunks(m_png, m_info, &animation) > 0) {
        page.warnings.emplace_back("it is an animation: its first image alone is read");
    }
    png_uint_32 length = 0;
    png_bytep exif = nullptr;
    if (png_get_eXIf_1(m_png, m_info, &length, &exif) != 0) {
        if (std::string warning = OrientationWarning(ExifOrientation({exif, length})); !warning.empty()) {
            page.warnings.push_back(std::move(warning));
        }
    }
}

bool PngReader::ReadRow(std::byte* row) {
    if (m_passes > 1) {
        if (m_all.empty() && !ReadInterlaced()) {
            return false;
        }
        const std::size_t length = png_get_rowbytes(m_png, m_info);
        std::copy_n(m_all.data() + m_next++ * length, length, reinterpret_cast<png_bytep>(row));
        return true;
    }
    if (m_next == 0) {
        ReadStored();
    }
    if (!RunsThrough(m_png, [&] { png_read_row(m_png, reinterpret_cast<png_bytep>(row), nullptr); })) {
        return false;
    }
    if (++m_next == m_height) {
        // What follows the last row is its check sum; the row stands without it.
        RunsThrough(m_png, [this] { png_read_end(m_png, nullptr); });
    }
    return true;
}

// Begins anew with the file inflated, where it can be.
void PngReader::ReadStored() {
    const long at = std::ftell(m_file);
    m_stored = StoredPng(m_file);
    if (m_stored.IsEmpty()) {
        std::fseek(m_file, at, SEEK_SET);
        return;
    }
    Begin();
    RunsThrough(m_png, [this] { png_read_update_info(m_png, m_info); });
}

bool PngReader::ReadInterlaced() {
    const std::size_t length = png_get_rowbytes(m_png, m_info);
    m_all.resize(length * m_height);
    return RunsThrough(m_png, [&] {
        for (int pass = 0; pass < m_passes; ++pass) {
            for (png_uint_32 y = 0; y < m_height; ++y) {
                png_read_row(m_png, m_all.data() + y * length, nullptr);
            }
        }
        png_read_end(m_png, nullptr);
    });
}

}  // namespace

std::unique_ptr<FileReader> OpenPng(std::FILE* file) { return std::make_unique<PngReader>(file); }

void WritePng(std::FILE* file, const RasterView& image) {
    constexpr int kTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                              PNG_COLOR_TYPE_RGB_ALPHA};
    if (image.depth != Depth::u8 && image.depth != Depth::u16) {
        throw std::runtime_error("PNG holds whole numbers of 8 or 16 bits");
    }
    Fault fault;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &fault, OnError, OnWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    const bool done = info != nullptr && RunsThrough(png, [&] {
                          png_init_io(png, file);
                          png_set_IHDR(png, info, static_cast<png_uint_32>(image.size.width),
                                       static_cast<png_uint_32>(image.size.height), image.depth == Depth::u8 ? 8 : 16,
                                       kTypes[image.channels - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                                       PNG_FILTER_TYPE_DEFAULT);
                          png_write_info(png, info);
                          if constexpr (std::endian::native == std::endian::little) {
                              png_set_swap(png);
                          }
                          for (int y = 0; y < image.size.height; ++y) {
                              png_write_row(png, image.Row<png_byte>(y));
                          }
                          png_write_end(png, info);
                      });
    png_destroy_write_struct(&png, &info);
    if (!done) {
        throw std::runtime_error(fault.Text());
    }
}

}  // namespace host

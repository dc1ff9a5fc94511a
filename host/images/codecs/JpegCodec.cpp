// JPEG, by libjpeg-turbo.
#include <cstdio>
// Their headers need the one above.
#include <jpeglib.h>

#include <jerror.h>

#include <cstring>
#include <stdexcept>
#include <vector>

#include "host/images/codecs/Codecs.h"

namespace host {

namespace {

constexpr int kExifMarker = JPEG_APP0 + 1;

// The library's error manager with what ours adds; it reaches the callbacks by its first member.
struct Errors {
    jpeg_error_mgr manager;
    std::jmp_buf exit;
    Fault fault;
    // Past the end of a file the library takes bytes of its own making for the file's.
    bool hasEnded = false;

    Errors() noexcept {
        jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr jpeg) {
            Of(jpeg).NoteMessage(jpeg);
            std::longjmp(Of(jpeg).exit, 1);
        };
        manager.emit_message = [](j_common_ptr jpeg, int level) {
            if (level < 0) {
                Of(jpeg).NoteMessage(jpeg);
                Of(jpeg).hasEnded |= jpeg->err->msg_code == JWRN_JPEG_EOF;
            }
        };
        manager.output_message = [](j_common_ptr) {};
    }

    static Errors& Of(j_common_ptr jpeg) noexcept { return *reinterpret_cast<Errors*>(jpeg->err); }
    void NoteMessage(j_common_ptr jpeg) noexcept {
        char text[JMSG_LENGTH_MAX];
        manager.format_message(jpeg, text);
        fault.Note(text);
    }
};

class JpegReader : public FileReader {
  public:
    explicit JpegReader(std::FILE* file) : m_file(file) { m_jpeg.err = &m_errors.manager; }
    ~JpegReader() override { jpeg_destroy_decompress(&m_jpeg); }

    PageInfo Turn(int) override;
    bool ReadRow(std::byte* row) override;
    std::string Fault() const override { return m_errors.fault.Text(); }

  private:
    unsigned Orientation() const noexcept;

    std::FILE* m_file;
    Errors m_errors;
    jpeg_decompress_struct m_jpeg{};
    // A progressive image is coarse where its file ends, and has all its rows.
    bool m_isProgressive = false;
};

PageInfo JpegReader::Turn(int) {
    jpeg_destroy_decompress(&m_jpeg);
    m_errors.hasEnded = false;
    std::rewind(m_file);
    const bool begun = Completes(m_errors.exit, [this] {
        jpeg_create_decompress(&m_jpeg);
        jpeg_stdio_src(&m_jpeg, m_file);
        jpeg_save_markers(&m_jpeg, kExifMarker, 0xFFFF);
        jpeg_read_header(&m_jpeg, TRUE);
        m_isProgressive = jpeg_has_multiple_scans(&m_jpeg) == TRUE;
        jpeg_start_decompress(&m_jpeg);
    });
    if (!begun) {
        throw std::runtime_error(m_errors.fault.Text());
    }
    if (m_jpeg.output_components != 1 && m_jpeg.output_components != 3) {
        throw std::runtime_error("its colours are those of inks (CMYK), which are not measured");
    }
    PageInfo page;
    page.size = {static_cast<int>(m_jpeg.output_width), static_cast<int>(m_jpeg.output_height)};
    page.channels = m_jpeg.output_components;
    page.isColour = page.channels == 3;
    if (std::string warning = OrientationWarning(Orientation()); !warning.empty()) {
        page.warnings.push_back(std::move(warning));
    }
    return page;
}

unsigned JpegReader::Orientation() const noexcept {
    constexpr char kStart[] = "Exif\0";
    for (jpeg_saved_marker_ptr marker = m_jpeg.marker_list; marker != nullptr; marker = marker->next) {
        if (marker->data_length > sizeof kStart && std::memcmp(marker->data, kStart, sizeof kStart) == 0) {
            return ExifOrientation({marker->data + sizeof kStart, marker->data_length - sizeof kStart});
        }
    }
    return 1;
}

bool JpegReader::ReadRow(std::byte* row) {
    JSAMPROW rows[] = {reinterpret_cast<JSAMPROW>(row)};
    if (!Completes(m_errors.exit, [&] { jpeg_read_scanlines(&m_jpeg, rows, 1); }) ||
        (m_errors.hasEnded && !m_isProgressive)) {
        return false;
    }
    if (m_jpeg.output_scanline == m_jpeg.output_height) {
        Completes(m_errors.exit, [this] { jpeg_finish_decompress(&m_jpeg); });
    }
    return true;
}

}  // namespace

std::unique_ptr<FileReader> OpenJpeg(std::FILE* file) { return std::make_unique<JpegReader>(file); }

void WriteJpeg(std::FILE* file, const RasterView& image) {
    constexpr int kQuality = 95;
    if (image.depth != Depth::u8 || image.channels % 2 == 0) {
        throw std::runtime_error("JPEG holds values of 8 bits, without alpha");
    }
    Errors errors;
    jpeg_compress_struct jpeg{};
    jpeg.err = &errors.manager;
    const bool done = Completes(errors.exit, [&] {
        jpeg_create_compress(&jpeg);
        jpeg_stdio_dest(&jpeg, file);
        jpeg.image_width = static_cast<JDIMENSION>(image.size.width);
        jpeg.image_height = static_cast<JDIMENSION>(image.size.height);
        jpeg.input_components = image.channels;
        jpeg.in_color_space = image.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&jpeg);
        jpeg_set_quality(&jpeg, kQuality, TRUE);
        jpeg_start_compress(&jpeg, TRUE);
        for (int y = 0; y < image.size.height; ++y) {
            // The library takes a row to be written and only reads it.
            JSAMPROW rows[] = {const_cast<JSAMPROW>(image.Row<JSAMPLE>(y))};
            jpeg_write_scanlines(&jpeg, rows, 1);
        }
        jpeg_finish_compress(&jpeg);
    });
    jpeg_destroy_compress(&jpeg);
    if (!done) {
        throw std::runtime_error(errors.fault.Text());
    }
}

}  // namespace host

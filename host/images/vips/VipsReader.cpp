// The formats that are rare here, by libvips. Its loaders are called by name, so that none but these ever opens a file.
#include <vips/vips.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/images/FileReader.h"
#include "host/images/vips/FileHeaders.h"
#include "host/images/vips/PnmSource.h"
#include "host/images/vips/Start.h"

namespace host {

namespace {

// The loader of a format; of all of them only those for animations and for stacks know pages.
struct Loader {
    const char* name;
    bool hasPages;
};

Loader LoaderOf(Format format) {
    switch (format) {
        case Format::gif:
            return {"gifload", true};
        case Format::webp:
            return {"webpload", true};
        case Format::jpeg2000:
            return {"jp2kload", false};
        case Format::fits:
            return {"fitsload", false};
        case Format::openExr:
            return {"openexrload", false};
        case Format::pnm:
            return {"ppmload_source", false};
        default:
            return {"magickload", false};
    }
}

// What the library says of its last error, in one line, and a clean slate.
std::string LastFault() {
    const std::unique_ptr<char, decltype(&g_free)> text(vips_error_buffer_copy(), g_free);
    std::string fault = text ? text.get() : "";
    fault.erase(fault.find_last_not_of(" \n") + 1);
    std::replace(fault.begin(), fault.end(), '\n', ';');
    return fault.empty() ? "it cannot be decoded" : fault;
}

Depth DepthOf(VipsBandFormat format) {
    switch (format) {
        case VIPS_FORMAT_UCHAR:
            return Depth::u8;
        case VIPS_FORMAT_CHAR:
            return Depth::i8;
        case VIPS_FORMAT_USHORT:
            return Depth::u16;
        case VIPS_FORMAT_SHORT:
            return Depth::i16;
        case VIPS_FORMAT_UINT:
            return Depth::u32;
        case VIPS_FORMAT_INT:
            return Depth::i32;
        case VIPS_FORMAT_FLOAT:
            return Depth::f32;
        case VIPS_FORMAT_DOUBLE:
            return Depth::f64;
        default:
            throw std::runtime_error("its values are of an unknown kind");
    }
}

struct Unreferenced {
    void operator()(void* object) const noexcept { g_object_unref(object); }
};
using Picture = std::unique_ptr<VipsImage, Unreferenced>;

class VipsReader : public FileReader {
  public:
    VipsReader(Format format, std::FILE* file)
        : m_format(format),
          m_loader(LoaderOf(format)),
          m_file(file),
          m_path("/proc/self/fd/" + std::to_string(fileno(file))) {
        CheckHeader();
        m_image = Load(0, VIPS_FAIL_ON_NONE);
    }

    int Pages() const override { return m_loader.hasPages ? vips_image_get_n_pages(m_image.get()) : 1; }
    PageInfo Turn(int page) override;
    bool ReadRow(std::byte* row) override;
    std::string Fault() const override { return m_fault.empty() && m_pnm ? m_pnm->Fault() : m_fault; }

  private:
    Picture Load(int page, VipsFailOn failOn);
    int Call(VipsImage** image, int page, VipsFailOn failOn);
    void CheckHeader();
    Picture AsStored(Picture picture) const;
    bool PrepareBand();
    void Begin(VipsFailOn failOn);

    Format m_format;
    Loader m_loader;
    std::FILE* m_file;
    std::string m_path;
    std::unique_ptr<PnmSource> m_pnm;  // Of a PNM file; as new as the image that is read from it.
    int m_shift = 0;
    std::vector<std::string> m_warnings;
    Picture m_image;
    std::vector<std::byte> m_band;
    std::string m_fault;
    int m_page = 0;
    int m_next = 0;
    int m_begun = 0;     // The first row of those that are decoded,
    int m_prepared = 0;  // and the row below them.
    std::size_t m_rowBytes = 0;
};

Picture VipsReader::Load(int page, VipsFailOn failOn) {
    VipsImage* image = nullptr;
    const int failure = Call(&image, page, failOn);
    Picture picture(image);
    if (failure != 0) {
        throw std::runtime_error(LastFault());
    }
    return picture;
}

// Calls the loader, and answers as it does.
int VipsReader::Call(VipsImage** image, int page, VipsFailOn failOn) {
    if (m_format == Format::pnm) {
        // What is missing is told by the source, not by the library.
        m_image.reset();
        m_pnm = std::make_unique<PnmSource>(m_file);
        m_shift = m_pnm->Shift();
        return vips_call(m_loader.name, m_pnm->Source(), image, "access", VIPS_ACCESS_SEQUENTIAL, nullptr);
    }
    if (m_loader.hasPages) {
        return vips_call(m_loader.name, m_path.c_str(), image, "access", VIPS_ACCESS_SEQUENTIAL, "fail_on", failOn,
                         "page", page, nullptr);
    }
    return vips_call(m_loader.name, m_path.c_str(), image, "access", VIPS_ACCESS_SEQUENTIAL, "fail_on", failOn,
                     nullptr);
}

void VipsReader::CheckHeader() {
    if (m_format == Format::jpeg2000) {
        m_shift = ShiftOf(m_file);
    } else if (m_format == Format::openExr) {
        m_warnings = LossesOf(m_file);
    }
}

// The library gives the alpha of an OpenEXR file from 0 to 255, where the file says 0 to 1, and moves the values of
// JPEG 2000 and bits to the top of their bytes.
Picture VipsReader::AsStored(Picture picture) const {
    constexpr int kBands = 4;
    VipsImage* stored = nullptr;
    int failure = 0;
    if (m_shift > 0) {
        failure = vips_rshift_const1(picture.get(), &stored, m_shift, nullptr);
    } else if (m_format == Format::openExr && vips_image_get_bands(picture.get()) == kBands) {
        const double factors[kBands] = {1.0, 1.0, 1.0, 1.0 / 255.0};
        const double offsets[kBands] = {};
        failure = vips_linear(picture.get(), &stored, factors, offsets, kBands, nullptr);
    } else {
        return picture;
    }
    if (failure != 0) {
        throw std::runtime_error(LastFault());
    }
    return Picture(stored);
}

PageInfo VipsReader::Turn(int page) {
    m_page = page;
    m_next = 0;
    m_prepared = 0;
    try {
        Begin(VIPS_FAIL_ON_WARNING);
    } catch (const std::runtime_error& fault) {
        m_fault = fault.what();
        Begin(VIPS_FAIL_ON_NONE);
    }
    VipsImage* const image = m_image.get();
    PageInfo info;
    info.size = {vips_image_get_width(image), vips_image_get_height(image)};
    info.channels = vips_image_get_bands(image);
    info.depth = DepthOf(vips_image_get_format(image));
    info.bits = m_pnm ? m_pnm->Bits() : 8 * static_cast<int>(BytesOf(info.depth)) - m_shift;
    info.warnings = m_warnings;
    const VipsInterpretation kind = vips_image_get_interpretation(image);
    if (kind == VIPS_INTERPRETATION_CMYK) {
        throw std::runtime_error("its colours are those of inks (CMYK), which are not measured");
    }
    info.isColour = info.channels >= 3 && (kind == VIPS_INTERPRETATION_sRGB || kind == VIPS_INTERPRETATION_RGB16 ||
                                           kind == VIPS_INTERPRETATION_scRGB || kind == VIPS_INTERPRETATION_RGB);
    info.hasAlpha = vips_image_hasalpha(image) != 0;
    if (vips_image_get_orientation(image) > 1) {
        info.warnings.emplace_back("its orientation tag is not followed: pixels are taken as stored");
    }
    m_rowBytes = info.RowBytes();
    return info;
}

// Opens the page. The library gives nothing more once it has failed; what is to make the best of a damaged file
// begins anew.
void VipsReader::Begin(VipsFailOn failOn) { m_image = AsStored(Load(m_page, failOn)); }

// Has the next rows decoded. A region belongs to the thread that made it, and whoever reads may be another than who
// opened the file or read before: so it lives here alone.
bool VipsReader::PrepareBand() {
    if (m_format == Format::gif && m_band.empty()) {
        // For want of memory the library would end the process: it takes this much, all of it at once.
        const auto area = static_cast<std::size_t>(VIPS_IMAGE_N_PELS(m_image.get()));
        ::operator delete(::operator new(4 * area));
    }
    // A few bytes can stand for the widest rows, of which it would hold as many as it is asked for.
    constexpr std::size_t kMostRows = 64;
    constexpr std::size_t kMostBytes = std::size_t{1} << 24;
    const auto rows = static_cast<int>(std::clamp(kMostBytes / m_rowBytes, std::size_t{1}, kMostRows));
    m_prepared = std::min(m_next + rows, vips_image_get_height(m_image.get()));
    const VipsRect band{0, m_next, vips_image_get_width(m_image.get()), m_prepared - m_next};
    const std::unique_ptr<VipsRegion, Unreferenced> region(vips_region_new(m_image.get()));
    if (vips_region_prepare(region.get(), &band) != 0) {
        return false;
    }
    m_band.resize(m_rowBytes * static_cast<std::size_t>(band.height));
    for (int row = 0; row < band.height; ++row) {
        std::copy_n(reinterpret_cast<const std::byte*>(VIPS_REGION_ADDR(region.get(), 0, m_next + row)), m_rowBytes,
                    m_band.data() + m_rowBytes * static_cast<std::size_t>(row));
    }
    m_begun = m_next;
    return true;
}

bool VipsReader::ReadRow(std::byte* row) {
    if (m_next >= m_prepared && !PrepareBand()) {
        const bool isFirst = m_fault.empty();
        m_fault = isFirst ? LastFault() : m_fault;
        if (!isFirst) {
            return false;
        }
        Begin(VIPS_FAIL_ON_NONE);
        if (!PrepareBand()) {
            return false;
        }
    }
    if (m_pnm && m_next >= m_pnm->WholeRows()) {
        return false;
    }
    std::copy_n(m_band.data() + m_rowBytes * static_cast<std::size_t>(m_next - m_begun), m_rowBytes, row);
    ++m_next;
    return true;
}

}  // namespace

}  // namespace host

extern "C" [[gnu::visibility("default")]] host::FileReader* OpenImageFile(host::Format format, std::FILE* file) {
    host::StartVips();
    return std::make_unique<host::VipsReader>(format, file).release();
}

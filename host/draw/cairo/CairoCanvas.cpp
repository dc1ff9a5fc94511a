// A canvas by cairo.
#include <cairo-pdf.h>
#include <cairo-svg.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "contract/Numbers.h"
#include "framework/support/Utf8.h"
#include "host/draw/Canvas.h"

namespace host {

namespace {

struct Destroyed {
    void operator()(cairo_surface_t* surface) const noexcept { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const noexcept { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, Destroyed>;
using Context = std::unique_ptr<cairo_t, Destroyed>;

void Check(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(cairo_status_to_string(status));
    }
}

Context ContextOf(const Surface& surface) {
    Context context(cairo_create(surface.get()));
    Check(cairo_status(context.get()));
    return context;
}

// ---------------------------------------------------------------------------------------------------
// Between pictures and the library's pixels: whole numbers of 32 bits, blue the lowest eight of them

std::uint32_t* RowOf(const Surface& surface, int y) noexcept {
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface.get());
    return reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(surface.get()) + stride * y);
}

Surface SurfaceOf(const RasterView& picture) {
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.size.width, picture.size.height));
    Check(cairo_surface_status(surface.get()));
    for (int y = 0; y < picture.size.height; ++y) {
        const auto* from = picture.Row<std::uint8_t>(y);
        std::uint32_t* to = RowOf(surface, y);
        for (int x = 0; x < picture.size.width; ++x, from += picture.columnStride) {
            *to++ = std::uint32_t{from[0]} << 16 | std::uint32_t{from[1]} << 8 | from[2];
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

// Into rows of `stride` bytes.
void CopyBack(const Surface& surface, std::uint8_t* pixels, std::ptrdiff_t stride) {
    cairo_surface_flush(surface.get());
    const int width = cairo_image_surface_get_width(surface.get());
    for (int y = 0; y < cairo_image_surface_get_height(surface.get()); ++y, pixels += stride) {
        const std::uint32_t* from = RowOf(surface, y);
        std::uint8_t* to = pixels;
        for (int x = 0; x < width; ++x, ++from) {
            *to++ = static_cast<std::uint8_t>(*from >> 16);
            *to++ = static_cast<std::uint8_t>(*from >> 8);
            *to++ = static_cast<std::uint8_t>(*from);
        }
    }
}

// ---------------------------------------------------------------------------------------------------
// The canvas

cairo_status_t Append(void* bytes, const unsigned char* data, unsigned int length) {
    try {
        static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), length);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

class CairoCanvas : public Canvas {
  public:
    explicit CairoCanvas(PixelSize size)
        : m_width(size.width),
          m_record([size] {
              const cairo_rectangle_t extent{0.0, 0.0, static_cast<double>(size.width),
                                             static_cast<double>(size.height)};
              return cairo_recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, &extent);
          }()),
          m_context(ContextOf(m_record)) {
        cairo_select_font_face(m_context.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
        cairo_set_line_cap(m_context.get(), CAIRO_LINE_CAP_SQUARE);
    }

    void Tint(const std::vector<PixelRect>& boxes, Colour colour, double share) override {
        cairo_set_source_rgba(m_context.get(), colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0, share);
        for (const PixelRect& box : boxes) {
            cairo_rectangle(m_context.get(), box.left, box.top, box.width, box.height);
        }
        cairo_fill(m_context.get());
    }

    void Stroke(const std::vector<Path>& paths, Colour colour, double width) override {
        SetColour(colour);
        cairo_set_line_width(m_context.get(), width);
        for (const Path& path : paths) {
            cairo_new_sub_path(m_context.get());
            for (const ImagePoint& point : path) {
                cairo_line_to(m_context.get(), point.x, point.y);
            }
        }
        cairo_stroke(m_context.get());
    }

    void Disc(ImagePoint center, double radius, Colour colour) override {
        SetColour(colour);
        cairo_arc(m_context.get(), center.x, center.y, radius, 0.0, 2.0 * kPi);
        cairo_fill(m_context.get());
    }

    double TextWidth(const std::string& text, double height) override {
        SetHeight(height);
        cairo_text_extents_t extents;
        cairo_text_extents(m_context.get(), Harmless(text).c_str(), &extents);
        return extents.x_advance;
    }

    void Write(const std::string& text, ImagePoint start, double height, Colour colour, Colour border,
               double borderWidth) override {
        SetHeight(height);
        cairo_move_to(m_context.get(), start.x, start.y);
        cairo_text_path(m_context.get(), Harmless(text).c_str());
        SetColour(border);
        cairo_set_line_width(m_context.get(), 2.0 * borderWidth);
        cairo_set_line_join(m_context.get(), CAIRO_LINE_JOIN_ROUND);
        cairo_stroke_preserve(m_context.get());
        cairo_set_line_join(m_context.get(), CAIRO_LINE_JOIN_MITER);
        SetColour(colour);
        cairo_fill(m_context.get());
    }

    void PaintOn(std::uint8_t* pixels, PixelSize size) override {
        // The library's surfaces have shorter sides than images may have.
        constexpr int kTile = 2048;
        const std::ptrdiff_t stride = std::ptrdiff_t{3} * size.width;
        const RasterView picture{reinterpret_cast<std::byte*>(pixels), size, 3, Depth::u8, 1, 3, stride};
        for (int top = 0; top < size.height; top += kTile) {
            for (int left = 0; left < size.width; left += kTile) {
                const PixelRect tile = Intersection({left, top, kTile, kTile}, {0, 0, size.width, size.height});
                const Surface surface = SurfaceOf(picture.Part(tile));
                Replay(surface, tile);
                CopyBack(surface, pixels + top * stride + std::ptrdiff_t{3} * left, stride);
            }
        }
    }

    std::string Document(DocumentFormat format, const RasterView& picture) override {
        std::string bytes;
        const Surface ground = SurfaceOf(picture);
        const Surface page(
            format == DocumentFormat::svg
                ? cairo_svg_surface_create_for_stream(Append, &bytes, picture.size.width, picture.size.height)
                : cairo_pdf_surface_create_for_stream(Append, &bytes, picture.size.width, picture.size.height));
        if (format == DocumentFormat::svg) {
            cairo_svg_surface_set_document_unit(page.get(), CAIRO_SVG_UNIT_PX);
        }
        const Context context = ContextOf(page);
        cairo_set_source_surface(context.get(), ground.get(), 0.0, 0.0);
        cairo_paint(context.get());
        Replay(page, {0, 0, picture.size.width, picture.size.height});
        cairo_surface_finish(page.get());
        Check(cairo_surface_status(page.get()));
        return bytes;
    }

  private:
    void SetColour(Colour colour) const noexcept {
        cairo_set_source_rgb(m_context.get(), colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0);
    }

    void SetHeight(double height) const noexcept {
        constexpr double kCapitals = 0.73;  // of the size of common fonts
        cairo_set_font_size(m_context.get(), height / kCapitals);
    }

    // Paints what is kept on a part of a picture, whose point (left, top) lies at the surface's corner.
    void Replay(const Surface& surface, const PixelRect& part) const {
        const Context context = ContextOf(surface);
        for (int copy = part.left / m_width * m_width; copy < part.Right(); copy += m_width) {
            cairo_set_source_surface(context.get(), m_record.get(), copy - part.left, -part.top);
            cairo_paint(context.get());
        }
        Check(cairo_status(m_context.get()));
        Check(cairo_status(context.get()));
    }

    int m_width;
    Surface m_record;
    Context m_context;
};

}  // namespace

}  // namespace host

extern "C" [[gnu::visibility("default")]] host::Canvas* NewCanvas(host::PixelSize size) {
    return std::make_unique<host::CairoCanvas>(size).release();
}

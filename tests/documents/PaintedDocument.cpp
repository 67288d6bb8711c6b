#include "PaintedDocument.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <leptonica/allheaders.h>
#include <pango/pangocairo.h>

#include <memory>
#include <random>
#include <stdexcept>

namespace corvale::testing {
namespace {

void drawLines(cairo_t* cr, const Paper& paper) {
    PangoLayout* layout = pango_cairo_create_layout(cr);
    PangoFontDescription* font = pango_font_description_from_string("DejaVu Sans");
    pango_font_description_set_size(font, static_cast<int>(paper.points * PANGO_SCALE));
    pango_layout_set_font_description(layout, font);
    cairo_set_source_rgb(cr, 0.05, 0.05, 0.1);
    double y = 0.6 * 72;
    for (const auto& line : paper.lines) {
        pango_layout_set_text(layout, line.c_str(), -1);
        cairo_move_to(cr, 0.6 * 72, y);
        pango_cairo_show_layout(cr, layout);
        y += paper.points * 1.7;
    }
    pango_font_description_free(font);
    g_object_unref(layout);
}

cairo_surface_t* paintedSurface(const Paper& paper, double dotsPerInch) {
    const int width = static_cast<int>(paper.widthInches * dotsPerInch);
    const int height = static_cast<int>(paper.heightInches * dotsPerInch);
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_scale(cr, dotsPerInch / 72, dotsPerInch / 72);
    drawLines(cr, paper);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    return surface;
}

cairo_status_t append(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<Bytes*>(closure)->insert(static_cast<Bytes*>(closure)->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

struct PixFree {
    void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using Owned = std::unique_ptr<Pix, PixFree>;

}  // namespace

Bytes paintedPDF(const std::vector<Paper>& pages) {
    Bytes out;
    cairo_surface_t* surface = cairo_pdf_surface_create_for_stream(append, &out, 612, 792);
    cairo_t* cr = cairo_create(surface);
    for (const auto& page : pages) {
        cairo_pdf_surface_set_size(surface, page.widthInches * 72, page.heightInches * 72);
        drawLines(cr, page);
        cairo_show_page(cr);
    }
    cairo_destroy(cr);
    cairo_surface_finish(surface);
    cairo_surface_destroy(surface);
    return out;
}

Bytes scannedPicture(const Paper& paper, const Scan& scan) {
    cairo_surface_t* surface = paintedSurface(paper, scan.dotsPerInch);
    const int width = cairo_image_surface_get_width(surface);
    const int height = cairo_image_surface_get_height(surface);
    Owned pix(pixCreate(width, height, 8));
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + y * stride);
        l_uint32* line = pixGetData(pix.get()) + y * pixGetWpl(pix.get());
        for (int x = 0; x < width; ++x)
            SET_DATA_BYTE(line, x, static_cast<l_uint8>(((row[x] >> 16) & 0xFF) * 3 / 10 + ((row[x] >> 8) & 0xFF) * 6 / 10 +
                                                        (row[x] & 0xFF) / 10));
    }
    cairo_surface_destroy(surface);
    if (scan.degrees != 0)
        pix.reset(pixRotate(pix.get(), static_cast<float>(scan.degrees * 3.14159265 / 180), L_ROTATE_AREA_MAP,
                            L_BRING_IN_WHITE, 0, 0));
    if (scan.blur > 0) pix.reset(pixBlockconv(pix.get(), scan.blur, scan.blur));
    if (scan.speckle > 0) {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> share(0, 1);
        std::uniform_int_distribution<int> grey(0, 255);
        const int w = pixGetWidth(pix.get());
        const int h = pixGetHeight(pix.get());
        for (int y = 0; y < h; ++y) {
            l_uint32* line = pixGetData(pix.get()) + y * pixGetWpl(pix.get());
            for (int x = 0; x < w; ++x)
                if (share(random) < scan.speckle) SET_DATA_BYTE(line, x, static_cast<l_uint8>(grey(random)));
        }
    }
    const int dpi = static_cast<int>(scan.dotsPerInch);
    pixSetResolution(pix.get(), dpi, dpi);
    const l_int32 format = scan.format == Scan::Format::png    ? IFF_PNG
                           : scan.format == Scan::Format::jpeg ? IFF_JFIF_JPEG
                                                               : IFF_TIFF_ZIP;
    l_uint8* encoded = nullptr;
    size_t size = 0;
    if (pixWriteMem(&encoded, &size, pix.get(), format) != 0) throw std::runtime_error("picture not encoded");
    Bytes out(encoded, encoded + size);
    lept_free(encoded);
    return out;
}

Bytes scannedPDF(const std::vector<Paper>& pages, double dotsPerInch) {
    Bytes out;
    cairo_surface_t* pdf = cairo_pdf_surface_create_for_stream(append, &out, 612, 792);
    cairo_t* cr = cairo_create(pdf);
    for (const auto& page : pages) {
        cairo_pdf_surface_set_size(pdf, page.widthInches * 72, page.heightInches * 72);
        cairo_surface_t* picture = paintedSurface(page, dotsPerInch);
        cairo_save(cr);
        cairo_scale(cr, 72 / dotsPerInch, 72 / dotsPerInch);
        cairo_set_source_surface(cr, picture, 0, 0);
        cairo_paint(cr);
        cairo_restore(cr);
        cairo_show_page(cr);
        cairo_surface_destroy(picture);
    }
    cairo_destroy(cr);
    cairo_surface_finish(pdf);
    cairo_surface_destroy(pdf);
    return out;
}

}  // namespace corvale::testing

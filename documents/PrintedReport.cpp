#include "documents/PrintedReport.h"

#include <cairo-pdf.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <memory>
#include <numeric>

namespace corvale {
namespace {

// US Letter in points, with the margins an office printer leaves room for.
constexpr double kPageWidth = 612;
constexpr double kPageHeight = 792;
constexpr double kMargin = 54;
constexpr double kFooterHeight = 24;
constexpr double kCellPadding = 4;
constexpr double kLineWidth = kPageWidth - 2 * kMargin;

struct Colour {
    double red, green, blue;
};
constexpr Colour kText{0x1d / 255.0, 0x23 / 255.0, 0x29 / 255.0};
constexpr Colour kMuted{0x55 / 255.0, 0x60 / 255.0, 0x6d / 255.0};
constexpr Colour kAccent{0x2b / 255.0, 0x6f / 255.0, 0x97 / 255.0};
constexpr Colour kRule{0xc8 / 255.0, 0xcd / 255.0, 0xd3 / 255.0};
constexpr Colour kHeaderFill{0xee / 255.0, 0xf1 / 255.0, 0xf4 / 255.0};

struct FontRelease {
    void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};
using Font = std::unique_ptr<PangoFontDescription, FontRelease>;
struct LayoutRelease {
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
};
using Layout = std::unique_ptr<PangoLayout, LayoutRelease>;

Font font(const char* description) { return Font(pango_font_description_from_string(description)); }

// Lays the pages out top to bottom, starting a new page where the next piece would not fit.
class PageWriter {
public:
    PageWriter(cairo_t* cairo, const PrintedReport& report) : m_cairo(cairo), m_report(report) {}

    void write() {
        text(m_report.title, *m_title, kAccent, 4);
        if (!m_report.subtitle.empty()) text(m_report.subtitle, *m_note, kMuted, 14);
        for (const auto& block : m_report.blocks) {
            switch (block.kind) {
            case PrintedBlock::Kind::heading:
                // A heading never ends a page: it keeps room for a few lines after it.
                text(block.text, *m_heading, kText, 6, 72, 12);
                break;
            case PrintedBlock::Kind::subheading: text(block.text, *m_subheading, kText, 4, 48, 6); break;
            case PrintedBlock::Kind::paragraph: text(block.text, *m_body, kText, 6); break;
            case PrintedBlock::Kind::note: text(block.text, *m_note, kMuted, 6); break;
            case PrintedBlock::Kind::table: table(block.table); break;
            }
        }
        footer();
        cairo_show_page(m_cairo);
    }

private:
    Layout layout(const std::string& content, const PangoFontDescription& description, double width) const {
        Layout made(pango_cairo_create_layout(m_cairo));
        pango_layout_set_font_description(made.get(), &description);
        pango_layout_set_width(made.get(), pango_units_from_double(width));
        pango_layout_set_wrap(made.get(), PANGO_WRAP_WORD_CHAR);
        // Record text is the user's own; anything that isn't UTF-8 is shown as replacement marks, not dropped.
        gchar* valid = g_utf8_make_valid(content.c_str(), static_cast<gssize>(content.size()));
        pango_layout_set_text(made.get(), valid, -1);
        g_free(valid);
        return made;
    }
    static double heightOf(PangoLayout* layout) {
        int width = 0, height = 0;
        pango_layout_get_size(layout, &width, &height);
        return pango_units_to_double(height);
    }
    void draw(PangoLayout* layout, double x, double y, Colour colour) {
        cairo_set_source_rgb(m_cairo, colour.red, colour.green, colour.blue);
        cairo_move_to(m_cairo, x, y);
        pango_cairo_show_layout(m_cairo, layout);
    }
    void rule(double y, Colour colour) {
        cairo_set_source_rgb(m_cairo, colour.red, colour.green, colour.blue);
        cairo_set_line_width(m_cairo, 0.6);
        cairo_move_to(m_cairo, kMargin, y);
        cairo_line_to(m_cairo, kMargin + kLineWidth, y);
        cairo_stroke(m_cairo);
    }
    double bottom() const { return kPageHeight - kMargin - kFooterHeight; }
    bool onFreshPage() const { return m_y <= kMargin; }
    void makeRoomFor(double height) {
        if (m_y + height <= bottom() || onFreshPage()) return;
        footer();
        cairo_show_page(m_cairo);
        ++m_page;
        m_y = kMargin;
    }
    void footer() {
        const Layout left = layout(m_report.footer, *m_note, kLineWidth * 0.8);
        draw(left.get(), kMargin, kPageHeight - kMargin - 10, kMuted);
        const Layout number = layout("Page " + std::to_string(m_page), *m_note, kLineWidth);
        pango_layout_set_alignment(number.get(), PANGO_ALIGN_RIGHT);
        draw(number.get(), kMargin, kPageHeight - kMargin - 10, kMuted);
    }

    void text(const std::string& content, const PangoFontDescription& description, Colour colour, double after,
              double keepBelow = 0, double before = 0) {
        const Layout laid = layout(content, description, kLineWidth);
        const double height = heightOf(laid.get());
        if (!onFreshPage()) m_y += before;
        makeRoomFor(height + keepBelow);
        draw(laid.get(), kMargin, m_y, colour);
        m_y += height + after;
    }

    void table(const PrintedTable& table) {
        const double shares = std::accumulate(table.widths.begin(), table.widths.end(), 0.0);
        std::vector<double> widths, lefts;
        double x = kMargin;
        for (std::size_t column = 0; column < table.columns.size(); ++column) {
            const double share = column < table.widths.size() && shares > 0
                                     ? table.widths[column] / shares
                                     : 1.0 / static_cast<double>(table.columns.size());
            lefts.push_back(x);
            widths.push_back(share * kLineWidth);
            x += widths.back();
        }
        const auto row = [&](const std::vector<std::string>& cells, const PangoFontDescription& description) {
            std::vector<Layout> laid;
            double height = 0;
            for (std::size_t column = 0; column < widths.size(); ++column) {
                const std::string& cell = column < cells.size() ? cells[column] : std::string();
                laid.push_back(layout(cell, description, widths[column] - 2 * kCellPadding));
                height = std::max(height, heightOf(laid.back().get()));
            }
            return std::pair{std::move(laid), height + 2 * kCellPadding};
        };
        const auto drawRow = [&](std::vector<Layout>& laid, double height, bool header) {
            if (header) {
                cairo_set_source_rgb(m_cairo, kHeaderFill.red, kHeaderFill.green, kHeaderFill.blue);
                cairo_rectangle(m_cairo, kMargin, m_y, kLineWidth, height);
                cairo_fill(m_cairo);
            }
            for (std::size_t column = 0; column < laid.size(); ++column)
                draw(laid[column].get(), lefts[column] + kCellPadding, m_y + kCellPadding, kText);
            m_y += height;
            rule(m_y, kRule);
        };
        auto [header, headerHeight] = row(table.columns, *m_bold);
        bool headerOnPage = false;
        for (const auto& cells : table.rows) {
            auto [laid, height] = row(cells, *m_body);
            const int before = m_page;
            makeRoomFor(height + (headerOnPage ? 0 : headerHeight));
            if (m_page != before || !headerOnPage) {
                drawRow(header, headerHeight, true);
                headerOnPage = true;
            }
            drawRow(laid, height, false);
        }
        if (table.rows.empty()) {
            makeRoomFor(headerHeight);
            drawRow(header, headerHeight, true);
        }
        m_y += 12;
    }

    cairo_t* m_cairo;
    const PrintedReport& m_report;
    int m_page = 1;
    double m_y = kMargin;
    Font m_title = font("Sans Bold 18");
    Font m_heading = font("Sans Bold 14");
    Font m_subheading = font("Sans Bold 11");
    Font m_body = font("Sans 9.5");
    Font m_bold = font("Sans Bold 9.5");
    Font m_note = font("Sans 8.5");
};

cairo_status_t appendTo(void* closure, const unsigned char* data, unsigned int length) {
    auto* bytes = static_cast<Bytes*>(closure);
    bytes->insert(bytes->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

}  // namespace

std::string PrintError::message() const {
    return "The report couldn't be drawn as a PDF (" + detail + ").";
}

Result<Bytes, PrintError> writePdf(const PrintedReport& report) {
    Bytes pdf;
    cairo_surface_t* surface = cairo_pdf_surface_create_for_stream(appendTo, &pdf, kPageWidth, kPageHeight);
    cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_TITLE, report.title.c_str());
    cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_CREATOR, "Corvale");
    cairo_t* cairo = cairo_create(surface);
    PageWriter(cairo, report).write();
    cairo_status_t status = cairo_status(cairo);
    cairo_destroy(cairo);
    cairo_surface_finish(surface);
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) return fail(PrintError{PrintError::Code::drawingFailed, cairo_status_to_string(status)});
    return pdf;
}

}  // namespace corvale

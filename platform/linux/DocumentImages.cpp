#include "platform/linux/DocumentImages.h"

#include <leptonica/allheaders.h>
#include <libheif/heif.h>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>
#include <mutex>
#include <vector>

namespace corvale {

void PixDeleter::operator()(Pix* pix) const { pixDestroy(&pix); }

namespace {

// The libraries report damaged input on stderr; the caller gets a sentence instead.
void quietLibraries() {
    static std::once_flag once;
    std::call_once(once, [] {
        setMsgSeverity(L_SEVERITY_NONE);
        poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr);
    });
}

bool startsWith(ByteView bytes, std::string_view magic) {
    return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
}

bool isHeif(ByteView bytes) {
    if (bytes.size() < 12 || std::memcmp(bytes.data() + 4, "ftyp", 4) != 0) return false;
    const std::string_view brand(reinterpret_cast<const char*>(bytes.data()) + 8, 4);
    return brand == "heic" || brand == "heix" || brand == "heim" || brand == "heis" || brand == "hevc" ||
           brand == "hevx" || brand == "mif1" || brand == "msf1" || brand == "avif";
}

// A picture's pixels at a size the recogniser reads well: grey, and a small photo scaled up.
PixPtr prepared(PixPtr pix) {
    if (!pix) return nullptr;
    if (static_cast<double>(pixGetWidth(pix.get())) * pixGetHeight(pix.get()) > 120e6) return nullptr;
    PixPtr grey(pixConvertTo8(pix.get(), 0));
    if (!grey) return nullptr;
    const int longSide = std::max(pixGetWidth(grey.get()), pixGetHeight(grey.get()));
    if (longSide > 0 && longSide < 2000) {
        const float scale = std::min(4.0f, 2400.0f / static_cast<float>(longSide));
        grey.reset(pixScale(grey.get(), scale, scale));
        if (!grey) return nullptr;
        pixSetResolution(grey.get(), DocumentImages::kDotsPerInch, DocumentImages::kDotsPerInch);
    } else if (pixGetXRes(grey.get()) < 70) {
        pixSetResolution(grey.get(), DocumentImages::kDotsPerInch, DocumentImages::kDotsPerInch);
    }
    // A skew of a few degrees from a hand-held scan is taken out before the page is read.
    if (PixPtr straight{pixDeskew(grey.get(), 0)}) grey = std::move(straight);
    return grey;
}

PixPtr greyFromRows(int width, int height, const unsigned char* data, std::size_t stride, int channels) {
    if (width <= 0 || height <= 0) return nullptr;
    PixPtr pix(pixCreate(width, height, 8));
    if (!pix) return nullptr;
    l_uint32* base = pixGetData(pix.get());
    const int wpl = pixGetWpl(pix.get());
    for (int y = 0; y < height; ++y) {
        const unsigned char* row = data + static_cast<std::size_t>(y) * stride;
        l_uint32* line = base + static_cast<std::size_t>(y) * static_cast<std::size_t>(wpl);
        for (int x = 0; x < width; ++x) {
            const unsigned char* p = row + static_cast<std::size_t>(x) * static_cast<std::size_t>(channels);
            const auto value = static_cast<l_uint8>(channels == 1 ? p[0] : (p[0] * 299 + p[1] * 587 + p[2] * 114) / 1000);
            SET_DATA_BYTE(line, x, value);
        }
    }
    return pix;
}

PixPtr decodeHeif(ByteView bytes) {
    heif_context* context = heif_context_alloc();
    if (!context) return nullptr;
    PixPtr result;
    heif_image_handle* handle = nullptr;
    heif_image* image = nullptr;
    if (heif_context_read_from_memory_without_copy(context, bytes.data(), bytes.size(), nullptr).code ==
            heif_error_Ok &&
        heif_context_get_primary_image_handle(context, &handle).code == heif_error_Ok &&
        heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr).code ==
            heif_error_Ok) {
        int stride = 0;
        const std::uint8_t* data = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
        if (data && stride > 0)
            result = greyFromRows(heif_image_get_width(image, heif_channel_interleaved),
                                  heif_image_get_height(image, heif_channel_interleaved), data,
                                  static_cast<std::size_t>(stride), 3);
    }
    if (image) heif_image_release(image);
    if (handle) heif_image_handle_release(handle);
    heif_context_free(context);
    return result;
}

std::size_t wordCharacters(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)); }));
}

}  // namespace

struct DocumentImages::State {
    std::unique_ptr<poppler::document> pdf;
    std::vector<PixPtr> pictures;  // an image file's pages, decoded on open
};

DocumentImages::DocumentImages(std::unique_ptr<State> state) : m_state(std::move(state)) {}
DocumentImages::DocumentImages(DocumentImages&&) noexcept = default;
DocumentImages& DocumentImages::operator=(DocumentImages&&) noexcept = default;
DocumentImages::~DocumentImages() = default;

Result<DocumentImages, RecognitionError> DocumentImages::open(ByteView file) {
    quietLibraries();
    auto state = std::make_unique<State>();
    if (startsWith(file, "%PDF-")) {
        if (file.size() > static_cast<std::size_t>(INT_MAX)) return fail(RecognitionError{RecognitionError::Code::damaged});
        state->pdf.reset(poppler::document::load_from_raw_data(reinterpret_cast<const char*>(file.data()),
                                                              static_cast<int>(file.size())));
        if (!state->pdf) {
            // Poppler refuses a locked file without saying why; its trailer names the encryption.
            const std::string_view text = asText(file);
            if (text.find("/Encrypt") != std::string_view::npos)
                return fail(RecognitionError{RecognitionError::Code::encrypted});
            return fail(RecognitionError{RecognitionError::Code::damaged});
        }
        if (state->pdf->is_locked()) return fail(RecognitionError{RecognitionError::Code::encrypted});
        if (state->pdf->pages() <= 0) return fail(RecognitionError{RecognitionError::Code::damaged});
        return DocumentImages(std::move(state));
    }
    if (isHeif(file)) {
        PixPtr pix = decodeHeif(file);
        if (!pix) return fail(RecognitionError{RecognitionError::Code::damaged});
        state->pictures.push_back(std::move(pix));
        return DocumentImages(std::move(state));
    }
    l_int32 format = IFF_UNKNOWN;
    if (file.size() < 12 || findFileFormatBuffer(file.data(), &format) != 0 || format == IFF_UNKNOWN ||
        format == IFF_SPIX || format == IFF_PS || format == IFF_LPDF || format == IFF_DEFAULT)
        return fail(RecognitionError{RecognitionError::Code::notADocument});
    const bool tiff = format == IFF_TIFF || format == IFF_TIFF_PACKBITS || format == IFF_TIFF_RLE ||
                      format == IFF_TIFF_G3 || format == IFF_TIFF_G4 || format == IFF_TIFF_LZW ||
                      format == IFF_TIFF_ZIP || format == IFF_TIFF_JPEG;
    if (tiff) {
        std::size_t offset = 0;
        do {
            PixPtr page(pixReadMemFromMultipageTiff(file.data(), file.size(), &offset));
            if (!page) break;
            state->pictures.push_back(std::move(page));
        } while (offset != 0 && state->pictures.size() < 500);
    } else if (PixPtr pix{pixReadMem(file.data(), file.size())}) {
        state->pictures.push_back(std::move(pix));
    }
    if (state->pictures.empty()) return fail(RecognitionError{RecognitionError::Code::damaged});
    return DocumentImages(std::move(state));
}

int DocumentImages::pageCount() const {
    return m_state->pdf ? m_state->pdf->pages() : static_cast<int>(m_state->pictures.size());
}

std::optional<std::string> DocumentImages::textLayer(int index) const {
    if (!m_state->pdf) return std::nullopt;
    std::unique_ptr<poppler::page> page(m_state->pdf->create_page(index));
    if (!page) return std::nullopt;
    const poppler::byte_array utf8 = page->text(page->page_rect(), poppler::page::physical_layout).to_utf8();
    std::string text(utf8.begin(), utf8.end());
    std::replace(text.begin(), text.end(), '\f', '\n');
    // A scan saved as PDF often carries a few stray characters; a page of text has many.
    if (wordCharacters(text) < 16) return std::nullopt;
    return text;
}

PixPtr DocumentImages::picture(int index) const {
    if (index < 0 || index >= pageCount()) return nullptr;
    if (!m_state->pdf) return prepared(PixPtr(pixClone(m_state->pictures[static_cast<std::size_t>(index)].get())));
    std::unique_ptr<poppler::page> page(m_state->pdf->create_page(index));
    if (!page) return nullptr;
    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::antialiasing, true);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing, true);
    renderer.set_image_format(poppler::image::format_gray8);
    // A page drawn larger than a poster is read at a lower resolution rather than filling the memory.
    const poppler::rectf box = page->page_rect();
    const double longestInches = std::max(box.width(), box.height()) / 72;
    const double dotsPerInch = longestInches > 24 ? kDotsPerInch * 24 / longestInches : kDotsPerInch;
    if (dotsPerInch < 10) return nullptr;
    const poppler::image image = renderer.render_page(page.get(), dotsPerInch, dotsPerInch);
    if (!image.is_valid()) return nullptr;
    PixPtr pix = greyFromRows(image.width(), image.height(), reinterpret_cast<const unsigned char*>(image.const_data()),
                              static_cast<std::size_t>(image.bytes_per_row()), 1);
    if (pix) pixSetResolution(pix.get(), kDotsPerInch, kDotsPerInch);
    return prepared(std::move(pix));
}

namespace {

std::optional<DocumentImages::Preview> previewOf(Pix* colour, int longestSide) {
    if (!colour) return std::nullopt;
    const int longSide = std::max(pixGetWidth(colour), pixGetHeight(colour));
    PixPtr fitted(longSide > longestSide
                      ? pixScale(colour, static_cast<float>(longestSide) / static_cast<float>(longSide),
                                 static_cast<float>(longestSide) / static_cast<float>(longSide))
                      : pixClone(colour));
    if (!fitted) return std::nullopt;
    PixPtr rgb(pixConvertTo32(fitted.get()));
    if (!rgb) return std::nullopt;
    DocumentImages::Preview preview{pixGetWidth(rgb.get()), pixGetHeight(rgb.get()), {}};
    preview.rgb.reserve(static_cast<std::size_t>(preview.width) * static_cast<std::size_t>(preview.height) * 3);
    for (int y = 0; y < preview.height; ++y) {
        const l_uint32* line = pixGetData(rgb.get()) + static_cast<std::size_t>(y) * static_cast<std::size_t>(pixGetWpl(rgb.get()));
        for (int x = 0; x < preview.width; ++x) {
            l_int32 r = 0, g = 0, b = 0;
            extractRGBValues(line[x], &r, &g, &b);
            preview.rgb.insert(preview.rgb.end(), {static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
                                                   static_cast<std::uint8_t>(b)});
        }
    }
    return preview;
}

}  // namespace

std::optional<DocumentImages::Preview> DocumentImages::preview(int index, int longestSide) const {
    if (index < 0 || index >= pageCount() || longestSide < 16) return std::nullopt;
    if (!m_state->pdf) return previewOf(m_state->pictures[static_cast<std::size_t>(index)].get(), longestSide);
    std::unique_ptr<poppler::page> page(m_state->pdf->create_page(index));
    if (!page) return std::nullopt;
    const poppler::rectf box = page->page_rect();
    const double longestPoints = std::max(box.width(), box.height());
    if (longestPoints <= 0) return std::nullopt;
    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::antialiasing, true);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing, true);
    renderer.set_image_format(poppler::image::format_argb32);
    const poppler::image image = renderer.render_page(page.get(), 72.0 * longestSide / longestPoints,
                                                      72.0 * longestSide / longestPoints);
    if (!image.is_valid()) return std::nullopt;
    Preview preview{image.width(), image.height(), {}};
    preview.rgb.reserve(static_cast<std::size_t>(preview.width) * static_cast<std::size_t>(preview.height) * 3);
    // Each pixel is one native 32-bit word, 0xAARRGGBB.
    for (int y = 0; y < preview.height; ++y) {
        const auto* row = reinterpret_cast<const unsigned char*>(image.const_data()) +
                          static_cast<std::size_t>(y) * static_cast<std::size_t>(image.bytes_per_row());
        for (int x = 0; x < preview.width; ++x) {
            std::uint32_t word = 0;
            std::memcpy(&word, row + static_cast<std::size_t>(x) * 4, 4);
            preview.rgb.insert(preview.rgb.end(), {static_cast<std::uint8_t>(word >> 16), static_cast<std::uint8_t>(word >> 8),
                                                   static_cast<std::uint8_t>(word)});
        }
    }
    return preview;
}

}  // namespace corvale

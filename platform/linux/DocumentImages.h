#pragma once
// A document's pages as the recogniser needs them: a PDF's own text where it has some, otherwise each
// page as an 8-bit grey picture at 300 dpi. Decoding only; recognition is TesseractRecognizer's.
// One instance belongs to one thread; pages may be asked for in any order.

#include "platform/Bytes.h"
#include "platform/Result.h"
#include "platform/TextRecognizer.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct Pix;

namespace corvale {

struct PixDeleter {
    void operator()(Pix* pix) const;
};
using PixPtr = std::unique_ptr<Pix, PixDeleter>;

class DocumentImages {
public:
    static constexpr int kDotsPerInch = 300;

    // Reads the file's kind and decodes what is cheap to decode; the bytes must outlive the result.
    static Result<DocumentImages, RecognitionError> open(ByteView file);

    DocumentImages(DocumentImages&&) noexcept;
    DocumentImages& operator=(DocumentImages&&) noexcept;
    ~DocumentImages();

    int pageCount() const;
    // The page's own text when it has enough to stand for the page.
    std::optional<std::string> textLayer(int page) const;
    // The page as grey pixels ready for recognition, or null when it cannot be decoded.
    PixPtr picture(int page) const;
    // The page in colour to look at, its longer side `longestSide` pixels at most: 8-bit red, green and
    // blue, rows packed. Absent when it cannot be drawn.
    struct Preview {
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> rgb;
    };
    std::optional<Preview> preview(int page, int longestSide) const;

private:
    struct State;
    explicit DocumentImages(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

}  // namespace corvale

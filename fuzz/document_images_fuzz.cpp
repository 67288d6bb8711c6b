// Any bytes offered as a document: sniffing the kind, opening a PDF or decoding a picture must answer
// with a page or a refusal, never crash. Recognition itself is Tesseract's and is left out: it is slow
// and reads only pictures this code has already decoded.
#include "platform/linux/DocumentImages.h"

#include <cstdint>
#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const corvale::ByteView file(data, size);
    auto images = corvale::DocumentImages::open(file);
    if (!images) return 0;
    if (images->pageCount() <= 0) std::abort();
    for (int page = 0; page < std::min(images->pageCount(), 2); ++page)
        if (!images->textLayer(page)) (void)images->picture(page);
    return 0;
}

#pragma once
// Text recognition on this machine with Tesseract (English), PDFs through Poppler. The pages of a long
// scan are read in parallel, one engine per thread; engines are kept for the next document.
// Thread-safe: any thread may call read.

#include "platform/TextRecognizer.h"

#include <memory>

namespace corvale {

class TesseractRecognizer final : public TextRecognizer {
public:
    // threads 0: as many as the machine has cores.
    explicit TesseractRecognizer(unsigned threads = 0);
    ~TesseractRecognizer() override;

    Result<RecognizedDocument, RecognitionError> read(ByteView file) override;

private:
    struct Engines;
    std::unique_ptr<Engines> m_engines;
    unsigned m_threads;
};

}  // namespace corvale

#pragma once
// On-device text recognition: what a scan, a photo or a PDF says, as lines in reading order.
// Nothing leaves the machine.

#include "platform/Bytes.h"
#include "platform/Result.h"

#include <string>

namespace corvale {

struct RecognizedDocument {
    std::string text;  // lines in reading order; pages apart by a blank line
    int pages = 0;
    bool fromTextLayer = false;  // a PDF's own text, not recognised from its pictures
};

struct RecognitionError {
    enum class Code {
        notADocument,  // neither a PDF nor an image format this device reads
        damaged,       // a PDF or image that cannot be decoded
        encrypted,     // a PDF locked with a password
        noEngine,      // the recognition engine or its English data is not installed
    };
    Code code = Code::damaged;

    std::string message() const;
};

// Implementations say whether they may be shared by threads.
class TextRecognizer {
public:
    virtual ~TextRecognizer() = default;
    virtual Result<RecognizedDocument, RecognitionError> read(ByteView file) = 0;
};

}  // namespace corvale

#include "platform/TextRecognizer.h"

namespace corvale {

std::string RecognitionError::message() const {
    switch (code) {
    case Code::notADocument:
        return "This file isn't a PDF or a picture Corvale can read.";
    case Code::damaged:
        return "This file is damaged and can't be read.";
    case Code::encrypted:
        return "This PDF is locked with a password, so save a copy without the password and add that.";
    case Code::noEngine:
        return "Text recognition isn't installed (Tesseract with its English data), so the document can't be read.";
    }
    return "This file can't be read.";
}

}  // namespace corvale

#pragma once
// Documents made for the tests the way they reach a clinician: a PDF with its own text, or a page
// painted at some resolution, then turned, blurred and speckled like a scan or a phone photo.

#include "platform/Bytes.h"

#include <string>
#include <vector>

namespace corvale::testing {

struct Paper {
    std::vector<std::string> lines;
    double widthInches = 8.5;
    double heightInches = 11;
    double points = 13;  // type size
};

struct Scan {
    enum class Format { png, jpeg, tiff };
    double dotsPerInch = 300;
    double degrees = 0;  // turned clockwise by this much
    int blur = 0;        // half-width of a box blur, in pixels
    double speckle = 0;  // share of pixels set to a random grey
    Format format = Format::png;
};

Bytes paintedPDF(const std::vector<Paper>& pages);
Bytes scannedPicture(const Paper& paper, const Scan& scan);
// A PDF of pictures only, as a scanner's "scan to PDF" makes it.
Bytes scannedPDF(const std::vector<Paper>& pages, double dotsPerInch);

}  // namespace corvale::testing

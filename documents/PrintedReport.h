#pragma once
// A report laid out for paper: a title, then headings, paragraphs and tables
// in reading order. Made into a PDF by writePdf.

#include "platform/Bytes.h"
#include "platform/Result.h"

#include <string>
#include <vector>

namespace corvale {

struct PrintedTable {
    std::vector<std::string> columns;
    std::vector<double> widths;  // shares of the line, one per column; they need not add up to 1
    std::vector<std::vector<std::string>> rows;
};

struct PrintedBlock {
    enum class Kind { heading, subheading, paragraph, note, table };
    Kind kind = Kind::paragraph;
    std::string text;
    PrintedTable table;  // for a table
};

struct PrintedReport {
    std::string title;
    std::string subtitle;  // under the title: whose, and when it was prepared
    std::string footer;    // at the foot of every page, beside its number
    std::vector<PrintedBlock> blocks;

    void heading(std::string text) { blocks.push_back({PrintedBlock::Kind::heading, std::move(text), {}}); }
    void subheading(std::string text) { blocks.push_back({PrintedBlock::Kind::subheading, std::move(text), {}}); }
    void paragraph(std::string text) { blocks.push_back({PrintedBlock::Kind::paragraph, std::move(text), {}}); }
    void note(std::string text) { blocks.push_back({PrintedBlock::Kind::note, std::move(text), {}}); }
    void table(PrintedTable table) { blocks.push_back({PrintedBlock::Kind::table, {}, std::move(table)}); }
};

struct PrintError {
    enum class Code {
        drawingFailed,  // the PDF library refused to draw the page
    };
    Code code = Code::drawingFailed;
    std::string detail;  // the library's own words

    std::string message() const;
};

// US Letter pages, in the desktop's sans-serif font; a table that runs onto
// another page repeats its header there, and no row is split between pages.
Result<Bytes, PrintError> writePdf(const PrintedReport& report);

}  // namespace corvale

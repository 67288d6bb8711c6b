#include "documents/reading/TextLines.h"

#include "documents/reading/Pattern.h"

#include <algorithm>

namespace corvale {

std::vector<TextLine> textLines(std::string_view text) {
    std::vector<TextLine> lines;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.push_back({line, start});
        start = end + 1;
    }
    return lines;
}

std::vector<TextCell> textCells(std::string_view line) {
    static const Pattern gap(R"(\s{2,}|\t)");
    std::vector<TextCell> cells;
    std::size_t start = 0;
    for (const auto& match : gap.all(line)) {
        if (match.begin > start) cells.push_back({line.substr(start, match.begin - start), start});
        start = match.end;
    }
    if (start < line.size()) cells.push_back({line.substr(start), start});
    return cells;
}

std::size_t cellAt(const std::vector<TextCell>& cells, std::size_t offset) {
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (offset >= cells[i].offset && offset < cells[i].offset + cells[i].text.size()) return i;
    return cells.size();
}

std::size_t cellUnder(const std::vector<TextCell>& headings, std::size_t column, const std::vector<TextCell>& cells) {
    if (column >= headings.size()) return cells.size();
    if (headings.size() == cells.size()) return column;
    const std::size_t from = headings[column].offset;
    const std::size_t to = from + headings[column].text.size();
    std::size_t best = cells.size();
    std::size_t bestOverlap = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::size_t start = std::max(from, cells[i].offset);
        const std::size_t end = std::min(to, cells[i].offset + cells[i].text.size());
        if (end > start && end - start > bestOverlap) {
            best = i;
            bestOverlap = end - start;
        }
    }
    return best;
}

std::string_view trimmed(std::string_view text) {
    const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; };
    while (!text.empty() && space(text.front())) text.remove_prefix(1);
    while (!text.empty() && space(text.back())) text.remove_suffix(1);
    return text;
}

bool isBlank(std::string_view text) { return trimmed(text).empty(); }

}  // namespace corvale

#include "documents/reading/TextLines.h"

#include "documents/reading/Pattern.h"

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

std::string_view trimmed(std::string_view text) {
    const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; };
    while (!text.empty() && space(text.front())) text.remove_prefix(1);
    while (!text.empty() && space(text.back())) text.remove_suffix(1);
    return text;
}

bool isBlank(std::string_view text) { return trimmed(text).empty(); }

}  // namespace corvale

#pragma once
// Recognised text cut into lines and table cells, the units every field is read from.

#include <string>
#include <string_view>
#include <vector>

namespace corvale {

struct TextLine {
    std::string_view text;  // without its line break or a trailing carriage return
    std::size_t offset = 0;  // where it starts in the whole text
};

struct TextCell {
    std::string_view text;
    std::size_t offset = 0;  // where it starts in its line
};

std::vector<TextLine> textLines(std::string_view text);
// Cells of a table row: the line split where two or more spaces or a tab stand.
std::vector<TextCell> textCells(std::string_view line);
// The cell of `cells` holding the byte at `offset` of its line; cells.size() when none does.
std::size_t cellAt(const std::vector<TextCell>& cells, std::size_t offset);
// The cell of a table row under `heading` (a cell of the heading row): the same column when both rows have
// as many cells, else the row's cell overlapping the heading most; cells.size() when none does.
std::size_t cellUnder(const std::vector<TextCell>& headings, std::size_t column, const std::vector<TextCell>& cells);
std::string_view trimmed(std::string_view text);
bool isBlank(std::string_view text);

}  // namespace corvale

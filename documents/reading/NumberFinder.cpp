#include "documents/reading/NumberFinder.h"

#include "documents/reading/DocumentDates.h"
#include "documents/reading/Pattern.h"
#include "documents/reading/TextLines.h"

#include <cctype>

namespace corvale {
namespace {

const Pattern& strongLabel() {
    static const Pattern p(
        R"((?i)\b(?:licen[cs]e|lic|certificate|cert|registration|reg|permit|credential|board|file)\.?(?:\s*\/\s*[a-z]+)?\s*(?:no\.?|nbr\.?|num\.?|number|#|id)(?![a-z])\s*[:#.]?)");
    return p;
}

const Pattern& weakLabel() {
    static const Pattern p(R"((?i)(?:\blicen[cs]e\s*:|\bnumber\s*:|\bno\.\s|^\s*#))");
    return p;
}

bool isNoise(std::string_view line) {
    static const Pattern p(
        R"((?i)\b(?:npi|phone|tel|fax|zip|ssn|social security|page|dob|date of birth|order|receipt|transaction|amount|fee|\$))");
    return p.test(line);
}

const Pattern& candidatePattern() {
    static const Pattern p(R"(\b([A-Z]{1,4}[-. ]?\d{3,10}(?:-?[A-Z])?|\d{5,10})\b)");
    return p;
}

using Spans = std::vector<std::pair<std::size_t, std::size_t>>;

bool overlaps(const Spans& spans, std::size_t begin, std::size_t end) {
    for (const auto& [from, to] : spans)
        if (begin < to && from < end) return true;
    return false;
}

// Where a state code and ZIP code stand in the value ("TX 78701"): never a number.
Spans stateAndZipSpans(std::string_view value) {
    static const Pattern stateZip(R"(\b[A-Z]{2}\s+\d{5}(?:-\d{4})?\b)");
    Spans spans;
    for (const auto& match : stateZip.all(value)) spans.emplace_back(match.begin, match.end);
    return spans;
}

// The numbers a label's value holds, in order, without dates and state-and-ZIP pairs.
std::vector<std::string> candidates(std::string_view value) {
    static const Pattern split(R"(^[\s:#]*(\d{3,6}) (\d{4,10})(?![\d\/\-.]))");
    std::vector<std::string> found;
    if (const auto joined = split.search(value)) {
        if (auto cleaned = NumberFinder::clean(std::string(joined->group(1)) + std::string(joined->group(2))))
            found.push_back(*cleaned);
    }
    static const Pattern compactStateZip(R"(^[A-Z]{2}[ ]?\d{5}$)");
    const Spans dates = dateSpans(value);
    const Spans stateZips = stateAndZipSpans(value);
    for (const auto& match : candidatePattern().all(value)) {
        if (overlaps(dates, match.begin, match.end) || overlaps(stateZips, match.begin, match.end) ||
            compactStateZip.test(match.group(1)))
            continue;
        std::string_view candidate = match.group(1);
        // "JANE Q 054321" in a table row: letters apart from the digits after a word are a name's initial.
        const std::size_t gap = candidate.find(' ');
        const std::string_view before = trimmed(value.substr(0, match.begin));
        if (gap != std::string_view::npos && !before.empty() && std::isalpha(static_cast<unsigned char>(before.back())))
            candidate.remove_prefix(gap + 1);
        if (auto cleaned = NumberFinder::clean(candidate)) found.push_back(*cleaned);
    }
    return found;
}

std::optional<std::string> labelled(const std::vector<TextLine>& lines, const Pattern& label) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = lines[i].text;
        if (isNoise(line)) continue;
        const auto match = label.search(line);
        if (!match) continue;
        const auto cells = textCells(line);
        const std::size_t labelCell = cellAt(cells, match->begin);
        std::string_view value = line.substr(match->end);
        std::string_view nextCell;
        if (labelCell < cells.size()) {
            const std::size_t cellEnd = cells[labelCell].offset + cells[labelCell].text.size();
            value = match->end < cellEnd ? line.substr(match->end, cellEnd - match->end) : std::string_view();
            if (labelCell + 1 < cells.size()) nextCell = cells[labelCell + 1].text;
        }
        if (auto found = candidates(value); !found.empty()) return found.front();
        if (!isBlank(value)) continue;
        // "License No.   RN123456": the value in the cell beside the label.
        if (auto found = candidates(nextCell); !found.empty()) return found.front();
        // A label alone takes its value from the line below: the same column of a table, else the whole line.
        if (i + 1 >= lines.size() || isNoise(lines[i + 1].text)) continue;
        const auto below = textCells(lines[i + 1].text);
        std::string_view next = lines[i + 1].text;
        if (const std::size_t column = cellUnder(cells, labelCell, below); cells.size() >= 2 && column < below.size())
            next = below[column].text;
        if (auto found = candidates(next); !found.empty()) return found.front();
    }
    return std::nullopt;
}

// Without a label: letters with digits read most like a licence number; nine- and five-character values
// are the lengths of ZIP codes and rank last.
int likeness(const std::string& value) {
    const bool hasLetter = std::isalpha(static_cast<unsigned char>(value.front())) != 0;
    if (hasLetter) return 4;
    if (value.size() >= 10) return 3;
    if (value.size() == 5 || value.size() == 9) return 1;
    return 2;
}

}  // namespace

std::optional<std::string> NumberFinder::clean(std::string_view candidate) {
    static const Pattern prefix(R"(^([A-Za-z]{1,4})-(?=\d))");
    static const Pattern suffix(R"(^(.*\d)-([A-Za-z])$)");
    const auto outer = [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); };
    while (!candidate.empty() && outer(candidate.front())) candidate.remove_prefix(1);
    while (!candidate.empty() && outer(candidate.back())) candidate.remove_suffix(1);
    std::string value(candidate);
    if (const auto m = prefix.search(value)) value = std::string(m->group(1)) + value.substr(m->end);
    if (const auto m = suffix.search(value)) value = std::string(m->group(1)) + std::string(m->group(2));
    if (value.size() < 3 || value.size() > 20) return std::nullopt;
    return value;
}

std::optional<std::string> NumberFinder::deaForm(std::string_view text) {
    static const Pattern dea(R"(\b([A-Z]{2}\d{7})\b)");
    for (const auto& line : textLines(text)) {
        if (isNoise(line.text)) continue;
        if (const auto match = dea.search(line.text)) return std::string(match->group(1));
    }
    return std::nullopt;
}

std::optional<std::string> NumberFinder::find(std::string_view text, bool unlabelled) {
    const auto lines = textLines(text);
    if (auto strong = labelled(lines, strongLabel())) return strong;
    if (auto weak = labelled(lines, weakLabel())) return weak;
    if (!unlabelled) return std::nullopt;
    if (auto dea = deaForm(text)) return dea;
    std::optional<std::string> best;
    int bestLikeness = 0;
    for (const auto& line : lines) {
        if (isNoise(line.text)) continue;
        for (const auto& value : candidates(line.text)) {
            if (const int score = likeness(value); score > bestLikeness) {
                best = value;
                bestLikeness = score;
            }
        }
    }
    return best;
}

}  // namespace corvale

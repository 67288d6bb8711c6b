#include "documents/reading/DocumentDates.h"

#include "documents/reading/Pattern.h"
#include "documents/reading/TextLines.h"
#include "records/AsciiCase.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace corvale {
namespace {

bool containsAny(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(), [&](std::string_view w) { return text.find(w) != text.npos; });
}

int number(std::string_view digits) {
    int value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

int monthFromName(std::string_view name) {
    static constexpr std::array<std::string_view, 12> kMonths{"jan", "feb", "mar", "apr", "may", "jun",
                                                              "jul", "aug", "sep", "oct", "nov", "dec"};
    const std::string lower = asciiLower(name.substr(0, 3));
    for (std::size_t i = 0; i < kMonths.size(); ++i)
        if (lower == kMonths[i]) return static_cast<int>(i) + 1;
    return 0;
}

// Two-digit years up to 50 are this century's: cards print "06/30/27" for 2027 and birth years as "65".
std::optional<Day> makeDay(int year, int month, int day, std::size_t yearDigits) {
    if (yearDigits == 2) year += year <= 50 ? 2000 : 1900;
    else if (yearDigits != 4) return std::nullopt;
    if (year < 1900 || year > 2199 || month < 1 || month > 12) return std::nullopt;
    const Day result{year, month, day == 0 ? Day::endOfMonth(year, month).day : day};
    return result.exists() ? std::optional(result) : std::nullopt;
}

struct Found {
    std::size_t begin = 0;
    std::size_t end = 0;
    Day day;
    bool monthOnly = false;
};

enum class Form { monthDayYear, isoDate, namedMonthDayYear, dayNamedMonthYear, namedMonthYear, monthYear };

struct DateForm {
    Form form;
    Pattern pattern;
};

const std::array<DateForm, 6>& dateForms() {
    // Full dates first: a month-and-year form must not take the tail of a full date.
    static const std::array<DateForm, 6> forms{{
        {Form::isoDate, Pattern(R"(\b(\d{4})-(\d{2})-(\d{2})\b)")},
        {Form::monthDayYear, Pattern(R"(\b(\d{1,2})[\/\-.](\d{1,2})[\/\-.](\d{2,4})\b)")},
        {Form::namedMonthDayYear,
         Pattern(R"((?i)\b(jan|feb|mar|apr|may|jun|jul|aug|sep|oct|nov|dec)[a-z]*\.?\s+(\d{1,2}),?\s+(\d{4})\b)")},
        {Form::dayNamedMonthYear,
         Pattern(R"((?i)\b(\d{1,2})\s+(jan|feb|mar|apr|may|jun|jul|aug|sep|oct|nov|dec)[a-z]*\.?,?\s+(\d{4})\b)")},
        {Form::namedMonthYear, Pattern(R"((?i)\b(jan|feb|mar|apr|may|jun|jul|aug|sep|oct|nov|dec)[a-z]*\.?,?\s+(\d{4})\b)")},
        {Form::monthYear, Pattern(R"(\b(\d{1,2})\/(\d{4})\b(?![\/\-.]\d))")},
    }};
    return forms;
}

std::optional<Day> dayOf(Form form, const Pattern::Match& m) {
    switch (form) {
    case Form::monthDayYear:
        return makeDay(number(m.group(3)), number(m.group(1)), number(m.group(2)), m.group(3).size());
    case Form::isoDate: return makeDay(number(m.group(1)), number(m.group(2)), number(m.group(3)), 4);
    case Form::namedMonthDayYear:
        return number(m.group(2)) == 0 ? std::nullopt
                                       : makeDay(number(m.group(3)), monthFromName(m.group(1)), number(m.group(2)), 4);
    case Form::dayNamedMonthYear:
        return number(m.group(1)) == 0 ? std::nullopt
                                       : makeDay(number(m.group(3)), monthFromName(m.group(2)), number(m.group(1)), 4);
    case Form::namedMonthYear: return makeDay(number(m.group(2)), monthFromName(m.group(1)), 0, 4);
    case Form::monthYear: return makeDay(number(m.group(2)), number(m.group(1)), 0, 4);
    }
    return std::nullopt;
}

std::vector<Found> datesInLine(std::string_view line) {
    std::vector<Found> found;
    // Spans a fuller form matched, valid or not: 13/01/2026 is no date, and "01/2026" inside it none either.
    std::vector<std::pair<std::size_t, std::size_t>> taken;
    for (const auto& [form, pattern] : dateForms()) {
        for (const auto& match : pattern.all(line)) {
            const bool overlaps = std::any_of(taken.begin(), taken.end(), [&](const auto& span) {
                return match.begin < span.second && span.first < match.end;
            });
            if (overlaps) continue;
            taken.emplace_back(match.begin, match.end);
            if (const auto day = dayOf(form, match))
                found.push_back({match.begin, match.end, *day,
                                 form == Form::namedMonthYear || form == Form::monthYear});
        }
    }
    std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) { return a.begin < b.begin; });
    return found;
}

bool aboutBirth(std::string_view lower) {
    static const Pattern dob(R"(\bdob\b)");
    return lower.find("birth") != lower.npos || dob.test(lower);
}

bool isRangeSeparator(std::string_view between) {
    static const Pattern separator(R"(\bthru\b|\bthrough\b|\bto\b|\buntil\b| – | - )");
    const std::string padded = " " + asciiLower(trimmed(between)) + " ";
    return trimmed(between).size() <= 9 && separator.test(padded);
}

struct Heading {
    std::vector<TextCell> cells;
    bool set = false;
};

}  // namespace

DateRole dateRole(std::string_view label) {
    static const Pattern dob(R"(\bdob\b)");
    // Cards print the bare abbreviations; they are read like the words they stand for.
    static const Pattern exp(R"(\bexp\b)");
    static const Pattern iss(R"(\biss\b)");
    const std::string lower = asciiLower(label);
    if (dob.test(lower)) return DateRole::other;
    if (containsAny(lower, {"expir", "valid through", "renew", "valid until", "registered through", "good through",
                            "valid thru", "exp.", "expires"}) ||
        exp.test(lower))
        return DateRole::expiry;
    if ((containsAny(lower, {"issue", "complet", "date of", "awarded", "granted", "effective", "original"}) ||
         iss.test(lower)) &&
        lower.find("birth") == lower.npos)
        return DateRole::issue;
    if (containsAny(lower, {"date", "birth"})) return DateRole::other;
    return DateRole::none;
}

std::vector<DatedText> dates(std::string_view text) {
    std::vector<DatedText> result;
    Heading heading;                  // the last row of column titles seen
    std::string_view labelAbove;      // a label alone on the line before
    for (const auto& line : textLines(text)) {
        const auto found = datesInLine(line.text);
        if (found.empty()) {
            const auto cells = textCells(line.text);
            if (cells.size() >= 2) heading = {cells, true};
            labelAbove = isBlank(line.text) ? labelAbove : line.text;
            continue;
        }
        const auto cells = textCells(line.text);
        const bool birthLine = aboutBirth(asciiLower(line.text));
        std::size_t from = 0;
        for (std::size_t i = 0; i < found.size(); ++i) {
            DatedText dated{found[i].day, std::string(line.text), "", DateRole::none, found[i].monthOnly};
            std::string_view label = line.text.substr(from, found[i].begin - from);
            // In a table row the label is the text of the date's own cell.
            const std::size_t cell = cellAt(cells, found[i].begin);
            if (cell < cells.size() && cells[cell].offset > from)
                label = line.text.substr(cells[cell].offset, found[i].begin - cells[cell].offset);
            dated.context = std::string(trimmed(label));
            dated.role = dateRole(label);
            if (dated.role == DateRole::none && i > 0 && isRangeSeparator(label)) {
                // "01/01/2025 through 12/31/2026": a span from issue to expiry.
                DatedText& start = result.back();
                if (start.role == DateRole::none || start.role == DateRole::issue) {
                    start.role = DateRole::issue;
                    dated.role = DateRole::expiry;
                }
            }
            if (dated.role == DateRole::none && heading.set && isBlank(label)) {
                const std::size_t column =
                    heading.cells.size() == cells.size() ? cell : cellAt(heading.cells, found[i].begin);
                if (column < heading.cells.size()) {
                    dated.context = std::string(trimmed(heading.cells[column].text));
                    dated.role = dateRole(dated.context);
                }
            }
            if (dated.role == DateRole::none && i == 0 && isBlank(label) && !labelAbove.empty()) {
                dated.context = std::string(trimmed(labelAbove));
                dated.role = dateRole(labelAbove);
            }
            // An unlabelled date on a line that speaks of birth is never an issue or an expiry.
            if (birthLine && dated.role == DateRole::none) dated.role = DateRole::other;
            from = found[i].end;
            result.push_back(std::move(dated));
        }
        labelAbove = {};
    }
    return result;
}

std::vector<std::pair<std::size_t, std::size_t>> dateSpans(std::string_view line) {
    std::vector<std::pair<std::size_t, std::size_t>> spans;
    for (const auto& found : datesInLine(line)) spans.emplace_back(found.begin, found.end);
    return spans;
}

DocumentDates readDates(std::string_view text) {
    DocumentDates read;
    read.all = dates(text);
    for (const auto& dated : read.all)
        if (dated.role == DateRole::expiry && (!read.expiry || dated.day > *read.expiry)) read.expiry = dated.day;
    for (const auto& dated : read.all)
        if (dated.role == DateRole::issue && (!read.expiry || dated.day <= *read.expiry) &&
            (!read.issued || dated.day > *read.issued))
            read.issued = dated.day;
    return read;
}

}  // namespace corvale

#pragma once
// The dates of a document and what each one is: an expiry, an issue or completion date, or
// another date (a date of birth is never taken for either).

#include "records/Day.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvale {

enum class DateRole { none, expiry, issue, other };

struct DatedText {
    Day day;
    std::string line;     // the line it was read from
    std::string context;  // the words it was read with: its label, or its column's heading
    DateRole role = DateRole::none;
    bool monthOnly = false;  // written as a month and year; `day` is the month's last day
};

struct DocumentDates {
    std::optional<Day> expiry;
    std::optional<Day> issued;
    std::vector<DatedText> all;
};

// The role the wording of a label gives the date beside it.
DateRole dateRole(std::string_view label);
// Every date of the text, in reading order, with its role.
std::vector<DatedText> dates(std::string_view text);
// Where each date of one line stands, as [begin, end) byte ranges.
std::vector<std::pair<std::size_t, std::size_t>> dateSpans(std::string_view line);
// The latest expiry and the latest issue date not after it.
DocumentDates readDates(std::string_view text);

}  // namespace corvale

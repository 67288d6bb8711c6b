#include "requirements/CMECycle.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace corvale {
namespace {

constexpr int kMaxMoves = 200;

constexpr const char* kMonthNames[] = {"January", "February", "March",     "April",   "May",      "June",
                                       "July",    "August",   "September", "October", "November", "December"};

}  // namespace

std::optional<Day> CMECycle::start(std::string_view text) {
    text = text.substr(0, 7);
    std::vector<int> numbers;
    while (!text.empty()) {
        const auto dash = text.find('-');
        const auto piece = text.substr(0, dash);
        int value = 0;
        const auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
        if (!piece.empty() && error == std::errc() && end == piece.data() + piece.size()) numbers.push_back(value);
        if (dash == std::string_view::npos) break;
        text.remove_prefix(dash + 1);
    }
    if (numbers.size() != 2) return std::nullopt;
    const int year = numbers[0];
    const int month = numbers[1];
    if (month < 1 || month > 12 || year < 1900 || year > 2200) return std::nullopt;
    return Day{year, month, 1};
}

std::optional<CMECycle::Window> CMECycle::window(std::string_view text, int months, const Day& today) {
    const auto first = start(text);
    if (months < 1 || !first) return std::nullopt;
    // Jump close to today in one step instead of walking window by window;
    // the walk below then finishes the job and keeps the 200-move limit.
    const int monthsToToday = (today.year - first->year) * 12 + (today.month - first->month);
    int moves = std::clamp(monthsToToday / months - 1, 0, kMaxMoves);
    const auto windowAt = [&](int n) {
        const Day from = first->addingMonths(n * months);
        return Window{from, from.addingMonths(months).addingDays(-1)};
    };
    Window current = windowAt(moves);
    while (current.end < today && moves < kMaxMoves) current = windowAt(++moves);
    return current;
}

std::string CMECycle::label(std::string_view text) {
    const auto day = start(text);
    if (!day) return std::string(text);
    return std::string(kMonthNames[day->month - 1]) + " " + std::to_string(day->year);
}

}  // namespace corvale

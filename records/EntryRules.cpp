#include "records/EntryRules.h"

#include <charconv>
#include <cmath>

namespace corvale {
namespace {

std::size_t utf8Characters(std::string_view text) {
    std::size_t count = 0;
    for (const char c : text) {
        // Continuation bytes (10xxxxxx) belong to the character before them.
        if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80U) ++count;
    }
    return count;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::optional<std::string> newPassphraseProblem(std::string_view passphrase) {
    if (utf8Characters(passphrase) < kMinimumPassphraseLength) {
        return "That passphrase is shorter than " + std::to_string(kMinimumPassphraseLength) +
               " characters, so choose a longer one.";
    }
    return std::nullopt;
}

std::optional<std::string> cmeCompletedProblem(const Day& completed, const Day& today) {
    if (completed > today) return std::string("That day is still ahead. Enter the day you completed it.");
    return std::nullopt;
}

Result<double, std::string> parseCMEHours(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    if (text.empty()) return fail(std::string("Enter the hours it earned."));

    const std::size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    const std::string_view decimals = point == std::string_view::npos ? std::string_view() : text.substr(point + 1);
    const auto allDigits = [](std::string_view part) {
        for (const char c : part) {
            if (!isDigit(c)) return false;
        }
        return true;
    };
    double hours = 0;
    const bool wellFormed = allDigits(whole) && allDigits(decimals) && (!whole.empty() || !decimals.empty()) &&
                            std::from_chars(text.data(), text.data() + text.size(), hours).ec == std::errc() &&
                            std::isfinite(hours);
    if (!wellFormed || hours <= 0) return fail(std::string("Enter the hours as a number above 0."));
    if (decimals.size() > 2) return fail(std::string("Use at most two decimals for the hours."));
    return hours;
}

std::optional<std::string> storedFileProblem(std::string_view filename, std::size_t size) {
    if (size == 0) return std::string(filename) + " is empty, so choose the file that holds the document.";
    return std::nullopt;
}

}  // namespace corvale

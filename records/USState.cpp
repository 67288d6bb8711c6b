#include "records/USState.h"
#include "records/AsciiCase.h"

#include <algorithm>
#include <array>

namespace corvale {

namespace {

constexpr std::array<USState, 56> kStates{{
    {"AL", "Alabama"},       {"AK", "Alaska"},         {"AZ", "Arizona"},        {"AR", "Arkansas"},
    {"CA", "California"},    {"CO", "Colorado"},       {"CT", "Connecticut"},    {"DE", "Delaware"},
    {"DC", "District of Columbia"},                    {"FL", "Florida"},        {"GA", "Georgia"},
    {"HI", "Hawaii"},        {"ID", "Idaho"},          {"IL", "Illinois"},       {"IN", "Indiana"},
    {"IA", "Iowa"},          {"KS", "Kansas"},         {"KY", "Kentucky"},       {"LA", "Louisiana"},
    {"ME", "Maine"},         {"MD", "Maryland"},       {"MA", "Massachusetts"},  {"MI", "Michigan"},
    {"MN", "Minnesota"},     {"MS", "Mississippi"},    {"MO", "Missouri"},       {"MT", "Montana"},
    {"NE", "Nebraska"},      {"NV", "Nevada"},         {"NH", "New Hampshire"},  {"NJ", "New Jersey"},
    {"NM", "New Mexico"},    {"NY", "New York"},       {"NC", "North Carolina"}, {"ND", "North Dakota"},
    {"OH", "Ohio"},          {"OK", "Oklahoma"},       {"OR", "Oregon"},         {"PA", "Pennsylvania"},
    {"RI", "Rhode Island"},  {"SC", "South Carolina"}, {"SD", "South Dakota"},   {"TN", "Tennessee"},
    {"TX", "Texas"},         {"UT", "Utah"},           {"VT", "Vermont"},        {"VA", "Virginia"},
    {"WA", "Washington"},    {"WV", "West Virginia"},  {"WI", "Wisconsin"},      {"WY", "Wyoming"},
    {"PR", "Puerto Rico"},   {"GU", "Guam"},           {"VI", "US Virgin Islands"},
    {"AS", "American Samoa"},                          {"MP", "Northern Mariana Islands"},
}};

}  // namespace

std::span<const USState> USState::all() { return kStates; }

std::optional<USState> USState::find(std::string_view code) {
    const std::string wanted = asciiUpper(code);
    const auto found =
        std::find_if(kStates.begin(), kStates.end(), [&](const USState& s) { return s.code == wanted; });
    if (found == kStates.end()) return std::nullopt;
    return *found;
}

std::string USState::nameOf(std::string_view code) {
    const auto state = find(code);
    return state ? std::string(state->name) : std::string(code);
}

std::string notAState(std::string_view text) {
    return "'" + std::string(text) + "' isn't a state; use its two-letter code, like CA.";
}

}  // namespace corvale

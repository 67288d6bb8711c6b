#include "documents/reading/StateFinder.h"

#include "documents/reading/Pattern.h"
#include "documents/reading/TextLines.h"
#include "records/AsciiCase.h"
#include "records/USState.h"

#include <algorithm>
#include <vector>

namespace corvale {
namespace {

struct NamePattern {
    Pattern pattern;
    std::vector<USState> states;  // in the order of the alternatives, longest name first
};

const NamePattern& names() {
    static const NamePattern built = [] {
        std::vector<USState> states(USState::all().begin(), USState::all().end());
        states.push_back({"VI", "Virgin Islands"});
        std::stable_sort(states.begin(), states.end(),
                         [](const USState& a, const USState& b) { return a.name.size() > b.name.size(); });
        std::string alternatives;
        for (const auto& state : states) {
            std::string name(state.name);
            std::string spaced;
            for (char c : name) spaced += c == ' ' ? std::string(R"(\s+)") : std::string(1, c);
            alternatives += (alternatives.empty() ? "" : "|") + std::string("(") + spaced + ")";
        }
        return NamePattern{Pattern("(?i)\\b(?:" + alternatives + ")\\b"), states};
    }();
    return built;
}

bool isAuthorityLine(std::string_view line) {
    static const Pattern authority(
        R"((?i)\b(board|department|dept\.?|state of|commonwealth of|university of the state of|commission|division of|office of the professions|bureau|licensure|principal license|regulation|registration)\b)");
    return authority.test(line);
}

bool isAddressLine(std::string_view line) {
    static const Pattern address(
        R"((?i)(\b\d{5}(?:-\d{4})?\b|\b(?:street|st\.|avenue|ave\.?|road|rd\.|suite|blvd|drive|lane|p\.?o\.? box)\b))");
    return address.test(line);
}

// The state a name found at [begin, end) of the line stands for, or absent where it is part of another name.
std::optional<std::string> stateAt(std::string_view line, const Pattern::Match& match) {
    std::size_t index = 1;
    while (index < match.set.size() && !match.set[index]) ++index;
    const auto& states = names().states;
    if (index - 1 >= states.size()) return std::nullopt;
    std::string code(states[index - 1].code);
    const std::string before = asciiLower(line.substr(0, match.begin));
    const std::string after = asciiLower(line.substr(match.end, 40));
    static const Pattern otherName(R"(^(?:\W+\w+){0,2}?\W+(university|college|street|road|county|hospital)\b)");
    static const Pattern universityOf(R"(university\s+of\s+(?:the\s+)?$)");
    static const Pattern stateUniversity(R"(university\s+of\s+the\s+state\s+of\s+$)");
    if (code == "VA" && before.ends_with("west ")) code = "WV";
    if (code == "KS" && after.starts_with(" city")) return std::nullopt;
    if (code == "WA" && before.ends_with("george ")) return std::nullopt;
    if (code == "WA" && (after.starts_with(", d.c") || after.starts_with(" d.c") || after.starts_with(" dc") ||
                         after.starts_with(", dc")))
        code = "DC";
    if (otherName.test(after)) return std::nullopt;
    if (universityOf.test(before) && !stateUniversity.test(before)) return std::nullopt;
    return code;
}

std::optional<std::string> firstName(std::string_view line) {
    for (const auto& match : names().pattern.all(line))
        if (auto code = stateAt(line, match)) return code;
    return std::nullopt;
}

}  // namespace

std::optional<std::string> findState(std::string_view text) {
    static const Pattern paBoard(R"(\bPA State Board\b)");
    static const Pattern addressCode(R"(,\s*([A-Z]{2})\s+\d{5}(?:-\d{4})?\b)");
    const auto lines = textLines(text);
    for (const auto& line : lines) {
        if (isAddressLine(line.text) || !isAuthorityLine(line.text)) continue;
        if (paBoard.test(line.text)) return std::string("PA");
        if (auto code = firstName(line.text)) return code;
    }
    for (const auto& line : lines)
        for (const auto& match : addressCode.all(line.text))
            if (const auto state = USState::find(match.group(1))) return std::string(state->code);
    for (const auto& line : lines)
        if (auto code = firstName(line.text)) return code;
    return std::nullopt;
}

}  // namespace corvale

#include "requirements/RuleData.h"
#include "records/AsciiCase.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace corvale {

namespace {

template <class Entry>
const Entry* findByCode(const std::vector<Entry>& entries, std::string_view code) {
    if (code.empty()) return nullptr;
    const std::string wanted = asciiUpper(code);
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.code == wanted; });
    return found == entries.end() ? nullptr : &*found;
}

std::string_view blockKey(Degree degree) { return professionCode(degree).value_or(std::string_view{}); }

// The table's label for a profession in sentences.
std::string_view label(Degree degree) { return degree == Degree::lpn ? "LPN/LVN" : rawValue(degree); }

}  // namespace

bool borrowsMDRule(Degree d) {
    return d == Degree::np || d == Degree::pa || d == Degree::crna || d == Degree::caa || d == Degree::cnm ||
           d == Degree::cns;
}
bool isNurse(Degree d) {
    return d == Degree::np || d == Degree::crna || d == Degree::rn || d == Degree::lpn || d == Degree::cnm ||
           d == Degree::cns;
}
bool isAPRN(Degree d) { return d == Degree::np || d == Degree::crna || d == Degree::cnm || d == Degree::cns; }
bool usesNursingCERule(Degree d) { return d == Degree::rn || d == Degree::lpn; }
bool isPhysician(Degree d) { return d == Degree::md || d == Degree::doctor; }

bool TopicRule::isOneTime() const {
    if (frequency) return *frequency == "once" || *frequency == "firstRenewal";
    return note && asciiLower(*note).find("one-time") != std::string::npos;
}

bool ResolvedRule::noCERequired() const { return rule.hours && *rule.hours == 0 && !rule.hasTopics(); }

std::optional<std::string> ResolvedRule::caveat(std::string_view stateName) const {
    std::vector<std::string> sentences;
    if (source != profession) {
        sentences.push_back("Corvale has no " + std::string(label(profession)) + " rules for " + std::string(stateName) +
                            " yet, so these figures use the MD rules as a rough guide.");
    }
    if (rule.verified && !*rule.verified) sentences.emplace_back("Not yet verified, confirm with the board.");
    if (!rule.hours && source == profession && !rule.hasTopics()) {
        const std::string board = boardName ? *boardName : isNurse(profession) ? "the board of nursing" : "the board";
        sentences.push_back("The hour requirement for this profession isn't recorded, so please check it with " + board +
                            ".");
    }
    if (sentences.empty()) return std::nullopt;
    std::string joined = sentences.front();
    for (std::size_t i = 1; i < sentences.size(); ++i) joined += " " + sentences[i];
    return joined;
}

const Rule* StateRule::ownBlock(Degree degree) const {
    const auto key = blockKey(degree);
    if (key.empty()) return nullptr;
    const auto found = blocks.find(key);
    return found == blocks.end() ? nullptr : &found->second;
}

std::optional<BoardInfo> StateRule::boardInfo(Degree degree) const {
    const auto key = blockKey(degree);
    if (key.empty()) return std::nullopt;
    const auto found = boards.find(key);
    if (found == boards.end()) return std::nullopt;
    return found->second;
}

std::optional<ResolvedRule> StateRule::resolved(Degree degree) const {
    ResolvedRule result;
    result.profession = degree;
    if (const Rule* own = ownBlock(degree)) {
        result.rule = *own;
        result.source = degree;
    } else if (const Rule* md = ownBlock(Degree::md); md && borrowsMDRule(degree)) {
        // Osteopathic physicians and nurses without an APRN role never borrow.
        result.rule = *md;
        result.source = Degree::md;
    } else {
        return std::nullopt;
    }
    const auto info = boardInfo(degree);
    if (info) {
        result.boardName = info->name;
        result.boardURL = info->url;
    } else if (isPhysician(degree)) {
        result.boardName = board;
        result.boardURL = boardURL;
    }
    return result;
}

std::optional<int> StateRule::renewalYearsFor(Degree degree) const {
    std::optional<double> chosen;
    const Rule* own = ownBlock(degree);
    if (isPhysician(degree)) chosen = renewalYears;
    if (!chosen && own) chosen = own->renewalYears;
    if (!chosen || !std::isfinite(*chosen)) return std::nullopt;
    return std::max(1, static_cast<int>(std::lround(*chosen)));
}

namespace {

// Nurses read only their own block; everyone else falls back to the state, then the MD block.
template <class Field>
std::optional<std::string> withPrecedence(const StateRule& state, Degree degree, Field field,
                                          const std::optional<std::string>& stateWide) {
    const Rule* own = state.ownBlock(degree);
    if (isNurse(degree)) return own ? own->*field : std::nullopt;
    if (degree != Degree::md && own && own->*field) return own->*field;
    if (stateWide) return stateWide;
    if (const Rule* md = state.ownBlock(Degree::md)) return md->*field;
    return std::nullopt;
}

}  // namespace

std::optional<std::string> StateRule::basis(Degree degree) const {
    return withPrecedence(*this, degree, &Rule::renewalBasis, renewalBasis);
}

std::optional<std::string> StateRule::renewalDateFor(Degree degree) const {
    return withPrecedence(*this, degree, &Rule::renewalDate, renewalDate);
}

Day StateRule::adjustedExpiry(const Day& expiry, Degree degree) const {
    const auto chosen = basis(degree);
    if (chosen == "birthMonth") return Day::endOfMonth(expiry.year, expiry.month);
    if (chosen == "fixedDate") {
        const auto date = renewalDateFor(degree);
        if (!date) return expiry;
        std::vector<int> numbers;
        std::size_t start = 0;
        while (start <= date->size()) {
            const auto end = std::min(date->find('-', start), date->size());
            const std::string_view piece = std::string_view(*date).substr(start, end - start);
            if (!piece.empty() && piece.size() <= 9 &&
                std::all_of(piece.begin(), piece.end(), [](unsigned char c) { return std::isdigit(c); })) {
                numbers.push_back(std::stoi(std::string(piece)));
            }
            start = end + 1;
        }
        // The data is trusted to name a real month and day.
        if (numbers.size() == 2) return Day{expiry.year, numbers[0], numbers[1]};
    }
    return expiry;
}

bool StateRule::unknownRule(Degree degree) const {
    const Rule* own = ownBlock(degree);
    return !own || (!own->hours && !own->hasTopics());
}

const StateRule* RequirementsFile::state(std::string_view code) const { return findByCode(states, code); }

std::string RequirementsFile::topicName(std::string_view key) const {
    const auto found = std::find_if(topics.begin(), topics.end(), [&](const Topic& t) { return t.key == key; });
    return found == topics.end() ? humanise(key) : found->name;
}

const StateFee* StateFeesFile::state(std::string_view code) const { return findByCode(states, code); }

std::string humanise(std::string_view key) {
    std::string out;
    for (std::size_t i = 0; i < key.size(); ++i) {
        const char c = key[i];
        if (c == '_') {
            if (!out.empty() && out.back() != ' ') out += ' ';
            continue;
        }
        if (i > 0 && std::isupper(static_cast<unsigned char>(c)) && std::islower(static_cast<unsigned char>(key[i - 1])))
            out += ' ';
        out += c;
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    if (!out.empty()) out[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[0])));
    return out;
}

}  // namespace corvale

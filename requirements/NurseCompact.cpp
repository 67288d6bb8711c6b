#include "requirements/NurseCompact.h"
#include "records/AsciiCase.h"

#include "records/CredentialKind.h"
#include "requirements/RuleData.h"
#include "records/USState.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace corvale::NurseCompact {

namespace {

constexpr std::array<std::string_view, 40> kMembers{
    "AL", "AZ", "AR", "CO", "CT", "DE", "FL", "GA", "ID", "IN", "IA", "KS", "KY", "LA", "ME", "MD", "MS", "MO", "MT", "NE",
    "NH", "NJ", "NM", "NC", "ND", "OH", "OK", "PA", "RI", "SC", "SD", "TN", "TX", "UT", "VT", "VA", "WA", "WV", "WI", "WY"};
constexpr std::array<std::string_view, 3> kPending{"MA", "GU", "VI"};

bool contains(std::span<const std::string_view> list, std::string_view code) {
    return std::find(list.begin(), list.end(), asciiUpper(code)) != list.end();
}

std::string reviewedDate() { return Day::parse(kLastReviewed)->formatted(); }

bool isLiveStateLicense(const Credential& c) {
    return !c.deleted && c.kindValue() == CredentialKind::stateLicense && c.state && !c.state->empty();
}

// "a Texas RN", "an Ohio LPN/LVN": the article follows the sound of the state's name.
std::string labelWithArticle(const Credential& license, Degree personDegree) {
    std::string type;
    if (license.licenseType && !license.licenseType->empty()) {
        type = *license.licenseType;
    } else if (isAPRN(personDegree)) {
        type = "APRN";
    } else {
        type = personDegree == Degree::lpn ? "LPN/LVN" : std::string(rawValue(personDegree));
    }
    const std::string name = USState::nameOf(*license.state);
    const char first = name.empty() ? 'x' : static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    const bool vowel = first == 'A' || first == 'E' || first == 'I' || first == 'O';
    return std::string(vowel ? "an " : "a ") + name + " " + type;
}

}  // namespace

std::span<const std::string_view> memberStates() { return kMembers; }
std::span<const std::string_view> pendingStates() { return kPending; }
bool isMember(std::string_view code) { return contains(kMembers, code); }
bool isPending(std::string_view code) { return contains(kPending, code); }

std::string reviewedNote() { return "The Compact list in Corvale was last reviewed " + reviewedDate(); }

std::vector<std::string> coverage(std::string_view state, std::span<const Credential> licenses, Degree personDegree) {
    std::vector<std::string> sentences;
    const std::string target = USState::nameOf(state);
    if (isAPRN(personDegree)) {
        sentences.emplace_back(
            "The APRN Compact isn't in effect yet, so an APRN license covers only the state that issued it. Your RN "
            "license can still be multistate.");
    }

    std::vector<const Credential*> held;
    for (const auto& license : licenses)
        if (isLiveStateLicense(license)) held.push_back(&license);

    const auto issuedHere = std::find_if(held.begin(), held.end(), [&](const Credential* c) {
        return asciiUpper(*c->state) == asciiUpper(state);
    });
    if (issuedHere != held.end()) {
        sentences.push_back("You hold " + labelWithArticle(**issuedHere, personDegree) +
                            " license, so you can practise in " + target + " on it.");
        return sentences;
    }

    const auto multistate = std::find_if(held.begin(), held.end(), [](const Credential* c) {
        return c->multistate.value_or(false) || c->isCompact;
    });
    std::optional<std::string> homeCode;
    if (multistate != held.end()) {
        const Credential& license = **multistate;
        homeCode = license.homeState && !license.homeState->empty() ? *license.homeState : *license.state;
    }
    const std::string home = homeCode ? USState::nameOf(*homeCode) : "your home state";

    if (isPending(state)) {
        sentences.push_back(target +
                            " has passed the Compact but may not recognise multistate licenses yet, so check with its "
                            "board of nursing before you practise there on your " +
                            home + " license.");
        return sentences;
    }
    if (!isMember(state)) {
        if (multistate != held.end()) {
            sentences.push_back(target + " isn't a Compact state, so your multistate license from " + home +
                                " doesn't cover it and you need a " + target + " license.");
        } else {
            sentences.push_back(target + " isn't listed as a Compact state, so you need a " + target +
                                " license to practise there.");
        }
        return sentences;
    }
    if (multistate == held.end() || (homeCode && !isMember(*homeCode))) {
        sentences.push_back("None of your licenses is marked multistate, so " + target +
                            " needs its own license. If your home state is a Compact state, ask its board of nursing "
                            "for a multistate license, which would cover " +
                            target + ".");
        return sentences;
    }
    sentences.push_back("Your multistate license from " + home + " covers practice in " + target +
                        ", because both are Compact states, so you don't need a separate " + target +
                        " license. The list was last reviewed " + reviewedDate() +
                        ", so check ncsbn.org before relying on it.");
    return sentences;
}

std::optional<std::string> moveNote(std::string_view from, std::string_view to) {
    if (to.empty() || asciiUpper(to) == asciiUpper(from)) return std::nullopt;
    const std::string next = USState::nameOf(to);
    const std::string old = from.empty() ? "your old home state" : USState::nameOf(from);
    if (!isMember(to)) {
        return next + " isn't a Compact state, so after the move you'll need a single-state " + next +
               " license, and your " + old +
               " license changes to single-state. Check with both boards of nursing before you move.";
    }
    return "When you move your primary residence to " + next + ", " + next +
           " must issue your new multistate license, and your " + old +
           " multistate license becomes inactive once it does. Apply to the " + next +
           " board of nursing by endorsement soon after the move.";
}

std::string stateSentence(std::string_view state) {
    const std::string name = USState::nameOf(state);
    if (isPending(state))
        return name + " has passed the Compact but may not issue multistate licenses yet, so check with its board of "
                      "nursing.";
    if (isMember(state))
        return name +
               " is a Nurse Licensure Compact state, so a multistate RN or LPN/LVN license from another Compact home "
               "state covers practice here.";
    return name + " isn't listed as a Compact state, so its licenses are single-state. Check ncsbn.org if this has "
                  "changed.";
}

}  // namespace corvale::NurseCompact

#pragma once
// The two data files the app ships about states: renewal and education rules
// per profession, and licence fees. Read-only once loaded.

#include "records/Day.h"
#include "records/Degree.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

struct Topic {
    std::string key;
    std::string name;
};

struct TopicRule {
    std::string key;
    std::optional<double> hours;
    std::optional<std::string> note;
    std::optional<std::string> frequency;
    std::optional<double> everyNCycles;
    std::optional<double> everyYears;
    std::optional<std::string> appliesTo;
    std::optional<bool> boardApprovedOnly;

    // Met once rather than every cycle.
    bool isOneTime() const;
};

struct Rule {
    std::optional<double> cycleYears;
    std::optional<double> hours;  // 0 means none required; absent means not recorded
    std::optional<double> cat1Min;
    std::optional<std::vector<TopicRule>> topics;
    std::optional<std::string> renewalBasis;
    std::optional<double> renewalYears;
    std::optional<std::string> renewalDate;  // "MM-DD"
    std::optional<std::string> board;
    std::optional<std::string> boardURL;
    std::optional<std::string> notes;
    std::optional<bool> verified;
    std::optional<std::string> lastChecked;

    bool hasTopics() const { return topics && !topics->empty(); }
};

struct BoardInfo {
    std::optional<std::string> name;
    std::optional<std::string> url;
};

struct ResolvedRule {
    Rule rule;
    Degree profession = Degree::other;
    Degree source = Degree::other;  // whose block supplied `rule`
    std::optional<std::string> boardName;
    std::optional<std::string> boardURL;

    bool noCERequired() const;
    // The sentences that qualify the figures, or absent when none applies.
    std::optional<std::string> caveat(std::string_view stateName) const;
};

struct StateRule {
    std::string code;
    std::string name;
    std::optional<std::string> board;
    std::optional<std::string> boardURL;
    std::optional<std::string> lastChecked;
    std::map<std::string, Rule, std::less<>> blocks;  // by profession code, "md" to "cns"
    std::map<std::string, BoardInfo, std::less<>> boards;
    std::optional<bool> verified;
    std::optional<double> renewalYears;
    std::optional<std::string> renewalBasis;
    std::optional<std::string> renewalDate;
    std::optional<std::string> verifyURL;

    const Rule* ownBlock(Degree degree) const;
    std::optional<BoardInfo> boardInfo(Degree degree) const;
    std::optional<ResolvedRule> resolved(Degree degree) const;
    std::optional<int> renewalYearsFor(Degree degree) const;
    std::optional<std::string> basis(Degree degree) const;
    std::optional<std::string> renewalDateFor(Degree degree) const;
    // The expiry moved onto this state's renewal basis; unchanged when the basis says nothing usable.
    Day adjustedExpiry(const Day& expiry, Degree degree) const;
    // No usable figures of the profession's own.
    bool unknownRule(Degree degree) const;
};

struct NationalRule {
    std::string key;
    std::string name;
    std::optional<double> cycleYears;
    std::optional<double> hours;
    std::optional<double> cat1Min;
    std::optional<std::string> notes;
};

struct RequirementsFile {
    std::optional<int> version;
    std::optional<std::string> lastReviewed;
    std::optional<std::string> disclaimer;
    std::vector<Topic> topics;
    std::vector<StateRule> states;
    std::vector<NationalRule> national;

    const StateRule* state(std::string_view code) const;
    std::string topicName(std::string_view key) const;
};

struct StateFee {
    struct Processing {
        std::optional<std::string> text;
        std::optional<double> typicalDays;
    };
    std::string code;
    std::string name;
    std::optional<double> applicationFee;
    std::optional<double> licenseOrIssuanceFee;
    std::optional<double> renewalFee;
    std::optional<double> renewalYears;
    std::optional<Processing> processing;
    std::optional<bool> imlcMember;
    std::optional<std::string> boardFeesURL;
    std::optional<std::string> lastChecked;
    std::optional<bool> verified;
    std::optional<std::string> notes;
};

struct StateFeesFile {
    std::optional<int> version;
    std::optional<std::string> lastReviewed;
    std::optional<std::string> disclaimer;
    std::vector<StateFee> states;

    const StateFee* state(std::string_view code) const;
};

// A topic key turned into words: "implicitBias" reads "Implicit Bias", "hiv_aids" "Hiv aids".
std::string humanise(std::string_view key);

// The profession table's columns.
bool borrowsMDRule(Degree degree);
bool isNurse(Degree degree);
bool isAPRN(Degree degree);
bool usesNursingCERule(Degree degree);
bool isPhysician(Degree degree);

}  // namespace corvale

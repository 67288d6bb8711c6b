#pragma once
// How ready a person's records are, from 100 down: points off for every
// expired or soon-due credential, licence without a renewal date, missing
// copy and unfinished education cycle ending soon. Computed on demand.

#include "records/CMEActivity.h"
#include "records/Credential.h"
#include "records/Day.h"
#include "records/DocumentRecord.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace corvale {

struct StateProgress;

struct StandingInput {
    // One state licence's hours still missing in its current cycle.
    struct CMEGap {
        std::string licenseId;
        std::string personId;
        std::string state;      // code
        std::string stateName;  // as the sentence names it
        double missingHours = 0;
        double requiredHours = 0;
        std::optional<Day> cycleEnd;
        bool contactHours = false;  // nursing CE rather than CME

        static CMEGap from(const StateProgress& progress);
    };

    // Views of records the caller keeps alive; deleted ones are skipped.
    std::span<const Credential> credentials;
    std::vector<CMEGap> cmeGaps;
    int reviewCount = 0;
    bool syncOn = false;
    bool ownerHasNPI = false;
    // The people in view. When it names anyone, credentials of others do not count.
    std::map<std::string, std::string, std::less<>> personNames;
    Day today;
    std::span<const CMEActivity> activities;
    std::span<const DocumentRecord> documents;

    // The credentials that count: live, and of a person in view.
    std::vector<const Credential*> active() const;
    // The ids of the documents that are not deleted: what an attached copy must point at.
    std::unordered_set<std::string_view> liveDocumentIds() const;
    // The person's name shown on a deduction, when more than one person is kept.
    std::optional<std::string> who(const Credential& credential) const;
    std::optional<std::string> who(const std::string& personId) const;
};

struct PersonStanding;
struct StandingBreakdown;

struct StandingScore {
    enum class FixAction { renew, edit, attach, logCME };

    // What removes a deduction, and the record it opens.
    struct Fix {
        FixAction action = FixAction::edit;
        std::string recordId;
        friend bool operator==(const Fix&, const Fix&) = default;
    };

    struct Deduction {
        std::string id;  // stable; "cme:" + licence id for an education gap
        int points = 0;
        std::string title;
        std::string detail;
        Fix fix;
        std::string term;  // the glossary entry it belongs to
        std::optional<std::string> person;
        bool thisMonth = false;  // needs the user within 30 days

        // "Starting this renewal gives back 25 points."
        std::string recovery() const;
    };

    int value = 100;
    std::vector<Deduction> deductions;  // largest first; equal points keep the order made
    std::string headline;

    static StandingScore compute(const StandingInput& input);
    // Each person's own score, worst first (ties by name), when more than one person is kept.
    static std::vector<PersonStanding> perPerson(const StandingInput& input);
    // Both at once, finding the deductions only once.
    static StandingBreakdown breakdown(const StandingInput& input);

private:
    static StandingBreakdown settleAll(const StandingInput& input, bool withPeople);
};

struct PersonStanding {
    std::string personId;
    std::string name;
    StandingScore score;
};

struct StandingBreakdown {
    StandingScore whole;
    std::vector<PersonStanding> people;
};

std::string_view rawValue(StandingScore::FixAction action);

}  // namespace corvale

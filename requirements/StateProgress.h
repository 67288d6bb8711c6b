#pragma once
// How far one state licence's current education cycle is done. Computed from
// the records whenever they change; never stored.

#include "records/CMEActivity.h"
#include "records/Credential.h"
#include "records/Degree.h"
#include "requirements/RuleData.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace corvale {

struct StateProgress {
    struct TopicLine {
        std::string key;
        std::string name;
        double required = 0;
        double done = 0;
        std::optional<std::string> note;
        bool boardApprovedOnly = false;
        double unapprovedHours = 0;  // tagged with the topic but not board-approved, so not counted
        std::vector<const CMEActivity*> counted;  // the activities whose hours make up `done`

        bool isOpen() const;
        // "Human trafficking: 0 of 2 hours"
        std::string progressText() const;
    };

    Credential license;
    Rule rule;
    Day cycleStart;
    Day cycleEnd;  // inclusive
    double requiredHours = 0;
    bool hoursAreCustom = false;
    double doneHours = 0;
    double cat1Required = 0;
    double cat1Done = 0;
    std::vector<TopicLine> topics;
    // Dated inside the cycle. They point into the records `compute` was given,
    // so a progress lives no longer than those records do.
    std::vector<const CMEActivity*> activities;
    std::optional<ResolvedRule> resolved;

    // Absent unless `license` is a live state licence naming a state the file
    // has a rule for. `activities` are the clinician's, of any date: one-time
    // topics draw on all of them.
    static std::optional<StateProgress> compute(const Credential& license, Degree degree,
                                                std::span<const CMEActivity> activities, bool deaHolder,
                                                const RequirementsFile* file, const Day& today);
    // The same over records the caller has already grouped by person.
    static std::optional<StateProgress> compute(const Credential& license, Degree degree,
                                                std::span<const CMEActivity* const> activities, bool deaHolder,
                                                const RequirementsFile* file, const Day& today);

    bool isComplete() const;
    // 0 to 1 for the progress ring; only a complete cycle reaches 1.
    double ringFraction() const;
    // "12 of 50 CME hours", "2 topics left", "No CE required"...
    std::string summary() const;
    std::vector<TopicLine> openTopics() const;
    bool noCERequired() const { return resolved && resolved->noCERequired(); }
    // The resolved rule's caveat, naming this licence's state.
    std::optional<std::string> caveat() const;
    // Hours still to log, 0 when the total is met.
    double missingHours() const;
    // "CME hours" for physicians and PAs, "contact hours" for nurses.
    std::string unit() const;
};

}  // namespace corvale

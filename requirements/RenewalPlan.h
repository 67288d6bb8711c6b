#pragma once
// The next twelve months laid out month by month: every expiry, the day each
// renewal window opens, and each licence's education cycle end with the hours
// still to earn, each with the points of the standing score it would cost if
// nothing is done by then; and, per state, the mandated topics still open.

#include "records/VaultDocument.h"
#include "requirements/RuleData.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

struct PlanEvent {
    enum class Kind { renewalWindow, expiry, cycleEnd };
    Kind kind = Kind::expiry;
    Day day;
    std::string recordId;  // the credential, or the licence whose cycle ends
    std::string title;     // "Texas license expires", "Texas license for Ana Ruiz: renewal window opens"
    std::string detail;    // "Renewal not filed yet.", "12 CME hours still to earn."
    int pointsAtStake = 0;  // what the standing score loses on the day if nothing is done
};

struct PlanMonth {
    Day first;  // the first of the month
    std::vector<PlanEvent> events;  // by day
};

struct OpenTopics {
    std::string title;  // "Texas license", "Texas license for Ana Ruiz"
    std::string state;  // "Texas"
    Day cycleEnd;
    std::vector<std::string> topics;  // "Human trafficking: 0 of 2 hours"
};

struct RenewalPlan {
    Day from;                      // today
    std::vector<PlanMonth> months;  // twelve, from this month; a quiet month has no events
    std::vector<OpenTopics> openTopics;

    // The renewal window opens at the largest reminder day before an expiry,
    // when Corvale starts reminding. `personId` narrows the plan to one person.
    static RenewalPlan compute(const VaultDocument& document, const RequirementsFile* rules, const Day& today,
                               std::optional<std::string_view> personId = std::nullopt);

    std::size_t eventCount() const;
};

std::string_view rawValue(PlanEvent::Kind kind);

}  // namespace corvale

#pragma once
// Rules, progress and the standing score as JSON, each field under its own
// name, so scripts and the assistant read what the screens show.

#include "records/JSONValue.h"
#include "requirements/Readiness.h"
#include "requirements/RuleData.h"

namespace corvale {

// Topic names come from `names` when given.
JSONValue ruleJSON(const Rule& rule, const RequirementsFile* names);
JSONValue resolvedRuleJSON(const ResolvedRule& resolved, const RequirementsFile* names, std::string_view stateName);
JSONValue progressJSON(const StateProgress& progress, const RequirementsFile* names);
JSONValue standingJSON(const StandingScore& score);
JSONValue personStandingJSON(const PersonStanding& standing);

}  // namespace corvale

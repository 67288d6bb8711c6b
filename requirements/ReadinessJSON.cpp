#include "requirements/ReadinessJSON.h"

#include "records/RecordJSON.h"
#include "records/USState.h"

namespace corvale {
namespace {

JSONValue topicRuleJSON(const TopicRule& topic, const RequirementsFile* names) {
    JSONObject object;
    object.emplace("key", topic.key);
    object.emplace("name", names ? names->topicName(topic.key) : humanise(topic.key));
    putIfPresent(object, "hours", topic.hours);
    putIfPresent(object, "note", topic.note);
    putIfPresent(object, "frequency", topic.frequency);
    putIfPresent(object, "everyNCycles", topic.everyNCycles);
    putIfPresent(object, "everyYears", topic.everyYears);
    putIfPresent(object, "appliesTo", topic.appliesTo);
    putIfPresent(object, "boardApprovedOnly", topic.boardApprovedOnly);
    object.emplace("isOneTime", topic.isOneTime());
    return object;
}

JSONValue topicLineJSON(const StateProgress::TopicLine& line) {
    JSONObject object;
    object.emplace("key", line.key);
    object.emplace("name", line.name);
    object.emplace("required", line.required);
    object.emplace("done", line.done);
    putIfPresent(object, "note", line.note);
    object.emplace("boardApprovedOnly", line.boardApprovedOnly);
    object.emplace("unapprovedHours", line.unapprovedHours);
    object.emplace("open", line.isOpen());
    JSONValue::Array ids;
    for (const CMEActivity* activity : line.counted) ids.emplace_back(activity->id);
    object.emplace("activityIds", std::move(ids));
    return object;
}

}  // namespace

JSONValue ruleJSON(const Rule& rule, const RequirementsFile* names) {
    JSONObject object;
    putIfPresent(object, "cycleYears", rule.cycleYears);
    putIfPresent(object, "hours", rule.hours);
    putIfPresent(object, "cat1Min", rule.cat1Min);
    if (rule.topics) {
        JSONValue::Array topics;
        for (const auto& topic : *rule.topics) topics.push_back(topicRuleJSON(topic, names));
        object.emplace("topics", std::move(topics));
    }
    putIfPresent(object, "renewalBasis", rule.renewalBasis);
    putIfPresent(object, "renewalYears", rule.renewalYears);
    putIfPresent(object, "renewalDate", rule.renewalDate);
    putIfPresent(object, "board", rule.board);
    putIfPresent(object, "boardURL", rule.boardURL);
    putIfPresent(object, "notes", rule.notes);
    putIfPresent(object, "verified", rule.verified);
    putIfPresent(object, "lastChecked", rule.lastChecked);
    return object;
}

JSONValue resolvedRuleJSON(const ResolvedRule& resolved, const RequirementsFile* names, std::string_view stateName) {
    JSONObject object;
    object.emplace("profession", std::string(rawValue(resolved.profession)));
    object.emplace("source", std::string(rawValue(resolved.source)));
    object.emplace("rule", ruleJSON(resolved.rule, names));
    putIfPresent(object, "boardName", resolved.boardName);
    putIfPresent(object, "boardURL", resolved.boardURL);
    putIfPresent(object, "caveat", resolved.caveat(stateName));
    object.emplace("noCERequired", resolved.noCERequired());
    return object;
}

JSONValue progressJSON(const StateProgress& progress, const RequirementsFile* names) {
    const std::string state = progress.license.state.value_or("");
    const std::string stateName = USState::nameOf(state);
    JSONObject object;
    object.emplace("license", recordJSON(progress.license));
    object.emplace("rule", ruleJSON(progress.rule, names));
    object.emplace("cycleStart", progress.cycleStart.toString());
    object.emplace("cycleEnd", progress.cycleEnd.toString());
    object.emplace("requiredHours", progress.requiredHours);
    object.emplace("hoursAreCustom", progress.hoursAreCustom);
    object.emplace("doneHours", progress.doneHours);
    object.emplace("cat1Required", progress.cat1Required);
    object.emplace("cat1Done", progress.cat1Done);
    JSONValue::Array topics;
    for (const auto& line : progress.topics) topics.push_back(topicLineJSON(line));
    object.emplace("topics", std::move(topics));
    JSONValue::Array activities;
    for (const CMEActivity* activity : progress.activities) activities.push_back(recordJSON(*activity));
    object.emplace("activities", std::move(activities));
    if (progress.resolved) object.emplace("resolved", resolvedRuleJSON(*progress.resolved, names, stateName));
    // Derived, so scripts need not repeat the arithmetic.
    object.emplace("state", state);
    object.emplace("stateName", stateName);
    object.emplace("isComplete", progress.isComplete());
    object.emplace("ringFraction", progress.ringFraction());
    object.emplace("summary", progress.summary());
    object.emplace("noCERequired", progress.noCERequired());
    object.emplace("missingHours", progress.missingHours());
    JSONValue::Array open;
    for (const auto& line : progress.openTopics()) open.push_back(line.key);
    object.emplace("openTopics", std::move(open));
    return object;
}

JSONValue standingJSON(const StandingScore& score) {
    JSONValue::Array deductions;
    for (const auto& deduction : score.deductions) {
        JSONObject fix;
        fix.emplace("action", std::string(rawValue(deduction.fix.action)));
        fix.emplace("recordId", deduction.fix.recordId);
        JSONObject object;
        object.emplace("id", deduction.id);
        object.emplace("points", deduction.points);
        object.emplace("title", deduction.title);
        object.emplace("detail", deduction.detail);
        object.emplace("fix", std::move(fix));
        object.emplace("term", deduction.term);
        putIfPresent(object, "person", deduction.person);
        object.emplace("thisMonth", deduction.thisMonth);
        object.emplace("recovery", deduction.recovery());
        deductions.push_back(std::move(object));
    }
    JSONObject object;
    object.emplace("value", score.value);
    object.emplace("deductions", std::move(deductions));
    object.emplace("headline", score.headline);
    return object;
}

JSONValue personStandingJSON(const PersonStanding& standing) {
    JSONObject object;
    object.emplace("personId", standing.personId);
    object.emplace("name", standing.name);
    object.emplace("standing", standingJSON(standing.score));
    return object;
}

}  // namespace corvale

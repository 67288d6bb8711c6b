#include "requirements/StateProgress.h"

#include "requirements/CMECycle.h"
#include "requirements/Hours.h"
#include "records/USState.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string_view>

namespace corvale {
namespace {

constexpr double kOpenRingCap = 0.97;

bool countsAsCategory1(const CMEActivity& activity) {
    return activity.category == "cat1" || activity.category == "aapa";
}

struct Span {
    std::optional<Day> from;  // absent: no lower bound
    Day to;
};

// The activities a topic may draw on: all of them for a one-time topic, a
// window ending with the cycle for a topic due every N years or N cycles,
// otherwise the cycle itself.
Span topicSpan(const TopicRule& topic, const StateProgress& progress, double cycleYears) {
    if (topic.isOneTime()) return {std::nullopt, progress.cycleEnd};
    if (topic.everyYears) {
        const int months = static_cast<int>(std::lround(*topic.everyYears * 12));
        return {progress.cycleEnd.addingMonths(-months), progress.cycleEnd};
    }
    if (topic.frequency == "everyNCycles" && topic.everyNCycles) {
        const int months = static_cast<int>(std::lround(cycleYears * *topic.everyNCycles * 12));
        return {progress.cycleEnd.addingMonths(-months), progress.cycleEnd};
    }
    return {progress.cycleStart, progress.cycleEnd};
}

}  // namespace

bool StateProgress::TopicLine::isOpen() const { return required > done + kHourTolerance; }

std::string StateProgress::TopicLine::progressText() const {
    return name + ": " + hoursText(done, HoursRounding::down) + " of " + hoursText(required, HoursRounding::down) +
           (required == 1 ? " hour" : " hours");
}

std::optional<StateProgress> StateProgress::compute(const Credential& license, Degree degree,
                                                    std::span<const CMEActivity> activities, bool deaHolder,
                                                    const RequirementsFile* file, const Day& today) {
    std::vector<const CMEActivity*> pointers;
    pointers.reserve(activities.size());
    for (const CMEActivity& activity : activities) pointers.push_back(&activity);
    return compute(license, degree, pointers, deaHolder, file, today);
}

std::optional<StateProgress> StateProgress::compute(const Credential& license, Degree degree,
                                                    std::span<const CMEActivity* const> activities, bool deaHolder,
                                                    const RequirementsFile* file, const Day& today) {
    if (!file || license.deleted || license.kind != "stateLicense" || !license.state) return std::nullopt;
    const StateRule* state = file->state(*license.state);
    if (!state) return std::nullopt;
    auto resolved = state->resolved(degree);
    if (!resolved) return std::nullopt;

    StateProgress progress;
    progress.license = license;
    progress.rule = resolved->rule;
    const Rule& rule = progress.rule;

    const double cycleYears = rule.cycleYears ? std::max(*rule.cycleYears, 1.0) : 2.0;
    const int wholeYears = std::max(static_cast<int>(std::lround(cycleYears)), 1);
    std::optional<CMECycle::Window> pinned;
    if (license.cmeCycleStart) {
        pinned = CMECycle::window(*license.cmeCycleStart, static_cast<int>(std::lround(cycleYears * 12)), today);
    }
    if (pinned) {
        progress.cycleStart = pinned->start;
        progress.cycleEnd = pinned->end;
    } else {
        progress.cycleEnd = license.expiresOn.value_or(today.addingYears(wholeYears));
        progress.cycleStart = progress.cycleEnd.addingYears(-wholeYears);
    }

    if (license.cmeHoursOverride) {
        progress.requiredHours = *license.cmeHoursOverride;
        progress.hoursAreCustom = true;
    } else {
        progress.requiredHours = rule.hours.value_or(0);
    }
    progress.cat1Required = rule.cat1Min.value_or(0);

    for (const CMEActivity* pointer : activities) {
        const CMEActivity& activity = *pointer;
        if (activity.deleted || activity.completedOn < progress.cycleStart || activity.completedOn > progress.cycleEnd) {
            continue;
        }
        progress.doneHours += activity.hours;
        if (countsAsCategory1(activity)) progress.cat1Done += activity.hours;
        progress.activities.push_back(pointer);
    }

    if (rule.topics) {
        struct Wanted {
            std::size_t hash;  // of the key, so most tags are told apart without comparing text
            const std::string* key;
            Span span;
        };
        std::vector<Wanted> wanted;
        const std::hash<std::string_view> hash;
        for (const TopicRule& topic : *rule.topics) {
            if (topic.appliesTo == "deaHolders" && !deaHolder) continue;
            TopicLine line;
            line.key = topic.key;
            line.name = file->topicName(topic.key);
            line.required = topic.hours.value_or(0);
            line.note = topic.note;
            line.boardApprovedOnly = topic.boardApprovedOnly.value_or(false);
            progress.topics.push_back(std::move(line));
            wanted.push_back({hash(topic.key), &topic.key, topicSpan(topic, progress, cycleYears)});
        }
        // One pass over the activities for all the lines; an activity counts once per line however often it is tagged.
        std::vector<char> counted(wanted.size());
        for (const CMEActivity* pointer : activities) {
            const CMEActivity& activity = *pointer;
            if (activity.deleted || activity.topics.empty()) continue;
            std::fill(counted.begin(), counted.end(), 0);
            for (const std::string& tag : activity.topics) {
                const std::size_t tagHash = hash(tag);
                for (std::size_t i = 0; i < wanted.size(); ++i) {
                    const Wanted& topic = wanted[i];
                    if (counted[i] || topic.hash != tagHash || *topic.key != tag) continue;
                    if (activity.completedOn > topic.span.to || (topic.span.from && activity.completedOn < *topic.span.from)) {
                        continue;
                    }
                    counted[i] = 1;
                    TopicLine& line = progress.topics[i];
                    if (line.boardApprovedOnly && !activity.boardApproved.value_or(false)) {
                        line.unapprovedHours += activity.hours;
                    } else {
                        line.done += activity.hours;
                        line.counted.push_back(pointer);
                    }
                }
            }
        }
    }
    progress.resolved = std::move(resolved);
    return progress;
}

bool StateProgress::isComplete() const {
    return requiredHours - doneHours <= kHourTolerance &&
           std::none_of(topics.begin(), topics.end(), [](const TopicLine& line) { return line.isOpen(); }) &&
           cat1Required <= cat1Done + kHourTolerance;
}

double StateProgress::ringFraction() const {
    if (isComplete()) return 1.0;
    const double hoursShare = requiredHours > 0 ? std::min(doneHours / requiredHours, 1.0) : 0.0;
    if (topics.empty()) return requiredHours <= 0 ? kOpenRingCap : std::min(hoursShare, kOpenRingCap);
    const auto met = std::count_if(topics.begin(), topics.end(), [](const TopicLine& line) { return !line.isOpen(); });
    const double topicShare = static_cast<double>(met) / static_cast<double>(topics.size());
    if (requiredHours <= 0) return std::min(topicShare, kOpenRingCap);
    return std::min(0.8 * hoursShare + 0.2 * topicShare, kOpenRingCap);
}

std::vector<StateProgress::TopicLine> StateProgress::openTopics() const {
    std::vector<TopicLine> open;
    std::copy_if(topics.begin(), topics.end(), std::back_inserter(open),
                 [](const TopicLine& line) { return line.isOpen(); });
    return open;
}

std::optional<std::string> StateProgress::caveat() const {
    if (!resolved) return std::nullopt;
    return resolved->caveat(USState::nameOf(license.state.value_or("")));
}

double StateProgress::missingHours() const { return std::max(requiredHours - doneHours, 0.0); }

std::string StateProgress::unit() const {
    return resolved && isNurse(resolved->profession) ? "contact hours" : "CME hours";
}

std::string StateProgress::summary() const {
    const bool nurse = resolved && isNurse(resolved->profession);
    // A total the clinician typed in outranks a rule that asks for nothing.
    if (noCERequired() && !(hoursAreCustom && requiredHours > 0)) {
        return nurse ? "No CE required" : "No CME required";
    }
    const auto open = static_cast<int>(openTopics().size());
    const std::string topicCount = std::to_string(open) + (open == 1 ? " topic" : " topics");
    if (requiredHours <= 0) {
        const bool recorded = hoursAreCustom || (resolved && resolved->rule.hours);
        if (!recorded) return open == 0 ? "Hours not recorded" : "Hours not recorded · " + topicCount;
        return open == 0 ? "No hour requirement" : topicCount + " left";
    }
    std::string unitText = unit();
    if (std::fabs(requiredHours - 1.0) < 1e-9) unitText.pop_back();  // "1 CME hour"
    return hoursText(doneHours, HoursRounding::down) + " of " + hoursText(requiredHours, HoursRounding::down) + " " +
           unitText;
}

}  // namespace corvale

#include "requirements/RenewalPlan.h"

#include "requirements/CredentialRenewal.h"
#include "requirements/Hours.h"
#include "requirements/Readiness.h"
#include "requirements/ReminderPlan.h"
#include "records/USState.h"

#include <algorithm>
#include <span>

namespace corvale {
namespace {

constexpr int kMonths = 12;

// The points one deduction takes on `day`, scored over that one record alone:
// a whole office's score for every day the plan looks at would cost a
// readiness per day.
int pointsOn(const Day& day, std::span<const Credential> credential, std::vector<StandingInput::CMEGap> gaps,
             const std::string& deductionId) {
    StandingInput input;
    input.credentials = credential;
    input.cmeGaps = std::move(gaps);
    input.today = day;
    for (const auto& deduction : StandingScore::compute(input).deductions)
        if (deduction.id == deductionId) return deduction.points;
    return 0;
}

std::string withWhom(std::string title, const std::optional<std::string>& person) {
    return person ? title + " for " + *person : title;
}

}  // namespace

std::string_view rawValue(PlanEvent::Kind kind) {
    switch (kind) {
    case PlanEvent::Kind::renewalWindow: return "renewalWindow";
    case PlanEvent::Kind::expiry: return "expiry";
    case PlanEvent::Kind::cycleEnd: break;
    }
    return "cycleEnd";
}

RenewalPlan RenewalPlan::compute(const VaultDocument& document, const RequirementsFile* rules, const Day& today,
                                 std::optional<std::string_view> personId) {
    RenewalPlan plan;
    plan.from = today;
    const Day first{today.year, today.month, 1};
    for (int month = 0; month < kMonths; ++month) plan.months.push_back({first.addingMonths(month), {}});
    const Day end = first.addingMonths(kMonths);  // the first day past the plan

    const auto readiness = Readiness::compute(document, rules, today, personId);
    std::vector<PlanEvent> events;
    const auto credentials = readiness.input.active();
    const auto titles = distinctTitles(credentials);
    for (std::size_t i = 0; i < credentials.size(); ++i) {
        const Credential& credential = *credentials[i];
        if (!credential.expiresOn || *credential.expiresOn < today || !(*credential.expiresOn < end)) continue;
        const Day expiry = *credential.expiresOn;
        const std::string title = withWhom(titles[i], readiness.input.who(credential));
        const bool filed = isRenewalFiled(credential);
        events.push_back({PlanEvent::Kind::expiry, expiry, credential.id, title + " expires",
                          filed ? "The renewal is filed; enter the new expiry date once it is granted."
                                : "Renewal not filed yet.",
                          pointsOn(expiry.addingDays(1), {&credential, 1}, {}, "expired:" + credential.id)});
        const auto leads = reminderLeadDays(credential, document.settings);
        if (filed || leads.empty()) continue;
        const Day opens = expiry.addingDays(-leads.front());
        if (opens < today) continue;  // already open: Today says what to do
        events.push_back({PlanEvent::Kind::renewalWindow, opens, credential.id, title + ": renewal window opens",
                          "Start the renewal: it expires " + std::to_string(leads.front()) + " days later, on " +
                              expiry.formatted() + ".",
                          pointsOn(opens, {&credential, 1}, {}, "due:" + credential.id)});
    }
    for (const auto& progress : readiness.progress) {
        const auto whose = readiness.input.who(progress.license);
        const std::string title = withWhom(renewTitle(progress.license), whose);
        const std::string state = USState::nameOf(progress.license.state.value_or(""));
        if (progress.cycleEnd >= today && progress.cycleEnd < end) {
            const double missing = progress.missingHours();
            events.push_back({PlanEvent::Kind::cycleEnd, progress.cycleEnd, progress.license.id,
                              withWhom(state + " education cycle ends", whose),
                              missing > 0 ? hoursText(missing, HoursRounding::up) + " " + progress.unit() +
                                                " still to earn."
                                          : "Every hour is earned.",
                              missing > 0 ? pointsOn(progress.cycleEnd, {}, {StandingInput::CMEGap::from(progress)},
                                                     "cme:" + progress.license.id)
                                          : 0});
        }
        OpenTopics open{title, state, progress.cycleEnd, {}};
        for (const auto& topic : progress.openTopics()) open.topics.push_back(topic.progressText());
        if (!open.topics.empty()) plan.openTopics.push_back(std::move(open));
    }

    std::stable_sort(events.begin(), events.end(),
                     [](const PlanEvent& a, const PlanEvent& b) { return a.day < b.day; });
    for (auto& event : events) {
        const int month = (event.day.year - first.year) * 12 + (event.day.month - first.month);
        plan.months[static_cast<std::size_t>(month)].events.push_back(std::move(event));
    }
    return plan;
}

std::size_t RenewalPlan::eventCount() const {
    std::size_t count = 0;
    for (const auto& month : months) count += month.events.size();
    return count;
}

}  // namespace corvale

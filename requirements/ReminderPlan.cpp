#include "requirements/ReminderPlan.h"

#include "requirements/CredentialRenewal.h"
#include "requirements/Hours.h"
#include "requirements/Readiness.h"
#include "records/USState.h"

#include <algorithm>
#include <ctime>
#include <map>

namespace corvale {
namespace {

constexpr int kUnfiledNoticeDays = 30;  // from here on an unfiled renewal is said
constexpr int kStaleAfterDays = 400;

std::string daysAway(int days) {
    if (days == 0) return "today";
    if (days == 1) return "tomorrow";
    return "in " + std::to_string(days) + " days";
}

// The latest of the lead days already reached before `end`: the one worth saying.
// The earlier ones reached on the way are settled with it, so a missed 90-day
// reminder does not follow a 30-day one.
struct Reached {
    std::vector<std::string> keys;
    std::optional<Day> day;  // the latest lead day reached
};

Reached reached(const std::string& stem, const Day& end, const std::vector<int>& leads, const Day& today) {
    Reached result;
    if (today >= end) return result;
    for (const int lead : leads) {
        const Day on = end.addingDays(-lead);
        if (on > today) continue;
        result.keys.push_back(stem + ":" + std::to_string(lead) + ":" + end.toString());
        result.day = on;
    }
    return result;
}

bool isSnoozed(const VaultSettings& settings, const Credential& credential, const Day& today) {
    const auto found = settings.snoozed.find(credential.id);
    if (found == settings.snoozed.end()) return false;
    const auto until = Day::parse(found->second);
    return until && today < *until;
}

}  // namespace

std::vector<int> reminderLeadDays(const Credential& credential, const VaultSettings& settings) {
    std::vector<int> leads;
    if (credential.reminderLeadDays && *credential.reminderLeadDays > 0)
        leads.push_back(*credential.reminderLeadDays);
    else
        for (const int days : settings.reminderDays)
            if (days > 0) leads.push_back(days);
    std::sort(leads.begin(), leads.end(), std::greater<>());
    leads.erase(std::unique(leads.begin(), leads.end()), leads.end());
    return leads;
}

std::vector<Reminder> ReminderPlan::due(const Readiness& readiness, const VaultSettings& settings, const Day& today,
                                        const std::set<std::string, std::less<>>& shown) {
    std::map<std::string, const StateProgress*, std::less<>> cycles;
    for (const auto& progress : readiness.progress) cycles.emplace(progress.license.id, &progress);
    const auto credentials = readiness.input.active();
    std::vector<const Credential*> listed(credentials.begin(), credentials.end());
    const auto titles = distinctTitles(listed);

    std::vector<Reminder> reminders;
    for (std::size_t index = 0; index < credentials.size(); ++index) {
        const Credential& credential = *credentials[index];
        if (std::find(settings.notApplicable.begin(), settings.notApplicable.end(), credential.kind) !=
            settings.notApplicable.end())
            continue;
        if (isSnoozed(settings, credential, today)) continue;

        Reminder reminder;
        reminder.credentialId = credential.id;
        reminder.personId = credential.personId;
        reminder.title = titles[index];
        if (const auto who = readiness.input.who(credential)) reminder.title += " for " + *who;
        // A thing already said is not said again; what is new goes out together.
        const auto carry = [&](std::vector<std::string> keys, const Day& on, std::string line) {
            if (std::all_of(keys.begin(), keys.end(), [&](const std::string& k) { return shown.contains(k); })) return;
            reminder.keys.insert(reminder.keys.end(), keys.begin(), keys.end());
            reminder.lines.push_back(std::move(line));
            reminder.due = reminder.lines.size() == 1 ? on : std::min(reminder.due, on);
        };

        if (credential.expiresOn) {
            const Day expiry = *credential.expiresOn;
            const int days = today.daysTo(expiry);
            const bool filed = isRenewalFiled(credential);
            if (!filed) {
                auto lead = reached("expiry:" + credential.id, expiry, reminderLeadDays(credential, settings), today);
                if (lead.day) {
                    std::string line = "Expires on " + expiry.formatted() + " (" + daysAway(days) + ").";
                    if (days <= kUnfiledNoticeDays) line += " Its renewal isn't filed yet.";
                    carry(std::move(lead.keys), *lead.day, std::move(line));
                }
            }
            if (days <= 0) {
                std::string line = days == 0 ? "Expires today, " + expiry.formatted() + "."
                                             : "Expired on " + expiry.formatted() + ".";
                if (filed) line += " The renewal is filed; enter the new expiry date once it is granted.";
                carry({"expired:" + credential.id + ":" + expiry.toString()}, expiry, std::move(line));
            }
        }

        if (const auto found = cycles.find(credential.id); found != cycles.end()) {
            const StateProgress& progress = *found->second;
            const double missing = progress.missingHours();
            if (missing > kHourTolerance) {
                auto lead = reached("cycle:" + credential.id, progress.cycleEnd, reminderLeadDays(credential, settings), today);
                if (lead.day) {
                    const std::string state = USState::nameOf(credential.state.value_or(""));
                    carry(std::move(lead.keys), *lead.day,
                          hoursText(missing, HoursRounding::up) + " " + progress.unit() + " still to earn before the " +
                              state + " cycle ends on " + progress.cycleEnd.formatted() + ".");
                }
            }
        }
        if (!reminder.lines.empty()) reminders.push_back(std::move(reminder));
    }
    std::stable_sort(reminders.begin(), reminders.end(),
                     [](const Reminder& a, const Reminder& b) { return a.due < b.due; });
    return reminders;
}

Reminder ReminderPlan::weekAhead(const Readiness& readiness, const Day& today) {
    constexpr int kWeek = 7;
    Reminder review;
    review.title = "The week ahead";
    review.due = today;
    review.keys = {"weekly:" + today.toString()};
    const auto credentials = readiness.input.active();
    const auto titles = distinctTitles(credentials);
    int expired = 0;
    for (std::size_t i = 0; i < credentials.size(); ++i) {
        const Credential& credential = *credentials[i];
        if (!credential.expiresOn) continue;
        const int days = today.daysTo(*credential.expiresOn);
        if (days < 0) {
            ++expired;
            continue;
        }
        if (days >= kWeek) continue;
        std::string line = titles[i];
        if (const auto who = readiness.input.who(credential)) line += " for " + *who;
        review.lines.push_back(line + " expires " + daysAway(days) + ", " + credential.expiresOn->formatted() + ".");
    }
    for (const auto& progress : readiness.progress) {
        const int days = today.daysTo(progress.cycleEnd);
        if (days < 0 || days >= kWeek || progress.missingHours() <= kHourTolerance) continue;
        std::string line = hoursText(progress.missingHours(), HoursRounding::up) + " " + progress.unit() + " to earn for " +
                           USState::nameOf(progress.license.state.value_or(""));
        if (const auto who = readiness.input.who(progress.license)) line += " (" + *who + ")";
        review.lines.push_back(line + " before " + progress.cycleEnd.formatted() + ".");
    }
    if (expired == 1) review.lines.push_back("One credential has expired and needs renewing.");
    if (expired > 1) review.lines.push_back(std::to_string(expired) + " credentials have expired and need renewing.");
    if (review.lines.empty()) review.lines.push_back("Nothing is due in the week ahead.");
    return review;
}

bool ReminderPlan::isWeeklyReviewTime(int weekday, int hour, const Day& today, int hourNow) {
    const std::chrono::weekday day{std::chrono::sys_days{std::chrono::year{today.year} /
                                                         std::chrono::month{static_cast<unsigned>(today.month)} /
                                                         std::chrono::day{static_cast<unsigned>(today.day)}}};
    return static_cast<int>(day.c_encoding()) + 1 == weekday && hourNow >= hour;
}

std::vector<Reminder> ReminderPlan::withWeeklyReview(std::vector<Reminder> due, const Readiness& readiness,
                                                    const WeeklyReview& review, const Day& today, int hourNow,
                                                    const std::set<std::string, std::less<>>& shown) {
    if (!review.on || !isWeeklyReviewTime(review.weekday, review.hour, today, hourNow)) return due;
    Reminder week = weekAhead(readiness, today);
    if (!shown.contains(week.keys.front())) due.push_back(std::move(week));
    return due;
}

int ReminderPlan::localHour(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return parts.tm_hour;
}

bool ReminderPlan::isStale(const std::string& key, const Day& today) {
    const auto colon = key.rfind(':');
    if (colon == std::string::npos) return true;
    const auto day = Day::parse(std::string_view(key).substr(colon + 1));
    return !day || day->daysTo(today) > kStaleAfterDays;
}

}  // namespace corvale

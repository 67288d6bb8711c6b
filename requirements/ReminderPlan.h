#pragma once
// What to remind the user of on a given day: each credential's expiry at the
// lead days chosen (the vault's, or the credential's own), the expiry itself,
// and a licence's education cycle ending with hours still missing. Whatever is
// due for one credential goes out as one reminder; each occasion goes out once,
// and one missed while the computer was off goes out at the next chance, with
// its true dates. Snoozed credentials and kinds marked not applicable are left out.

#include "records/Credential.h"
#include "records/Day.h"
#include "records/VaultSettings.h"

#include <chrono>
#include <set>
#include <string>
#include <vector>

namespace corvale {

struct Readiness;

struct Reminder {
    std::string credentialId;
    std::string personId;
    std::string title;               // "Texas license", "BLS card for Jordan Reyes"
    std::vector<std::string> lines;  // one sentence per thing due
    std::vector<std::string> keys;   // every occasion it settles, to be remembered as shown
    Day due;                         // the earliest day among what it carries
};

// The days before an expiry to remind at, largest first: the credential's own
// lead time when it has one, else the vault's reminder days.
std::vector<int> reminderLeadDays(const Credential& credential, const VaultSettings& settings);

// When the user wants the week ahead summed up.
struct WeeklyReview {
    bool on = false;
    int weekday = 2;  // 1 Sunday to 7 Saturday
    int hour = 8;
};

struct ReminderPlan {
    // Every reminder due on `today` whose occasions are not all in `shown`,
    // the earliest first. `readiness` must be of the whole vault.
    static std::vector<Reminder> due(const Readiness& readiness, const VaultSettings& settings, const Day& today,
                                     const std::set<std::string, std::less<>>& shown);

    // `due` with the week ahead added when the review is on, it is time, and it hasn't gone out today.
    static std::vector<Reminder> withWeeklyReview(std::vector<Reminder> due, const Readiness& readiness,
                                                  const WeeklyReview& review, const Day& today, int hourNow,
                                                  const std::set<std::string, std::less<>>& shown);
    // The weekly review: one reminder summing up the seven days from `today`
    // (what expires, what has expired, cycles ending with hours missing).
    static Reminder weekAhead(const Readiness& readiness, const Day& today);
    // Whether the weekly review is due at this day and hour: on `weekday`
    // (1 Sunday to 7 Saturday) from `hour` on.
    static bool isWeeklyReviewTime(int weekday, int hour, const Day& today, int hourNow);
    // The hour of `time` here, 0 to 23.
    static int localHour(std::chrono::system_clock::time_point time);

    // Occasion keys end with the day they were for; keys older than a year
    // are of no use and can be dropped from what is remembered.
    static bool isStale(const std::string& key, const Day& today);
};

}  // namespace corvale

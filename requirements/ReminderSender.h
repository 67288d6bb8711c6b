#pragma once
// Puts the day's reminders on the desktop. With app lock on a notification
// says only that something needs attention, never what or whose: anyone at
// the screen can read it.

#include "platform/Notifier.h"
#include "requirements/ReminderPlan.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corvale {

struct ReminderSending {
    std::vector<Notification> sent;     // as they went out
    std::vector<std::string> settled;   // the occasions now said, to remember
    std::optional<NotifierFailure> failure;  // the first refusal; what follows it was not tried
};

ReminderSending sendReminders(Notifier& notifier, const std::vector<Reminder>& reminders, bool privately);

// What to keep as shown after a sending: what was shown before and what was
// just settled, less what is more than a year past.
std::set<std::string, std::less<>> remember(const std::set<std::string, std::less<>>& shown,
                                            const ReminderSending& sending, const Day& today);

}  // namespace corvale

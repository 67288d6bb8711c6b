#include "requirements/ReminderSender.h"

#include "records/RecordLink.h"

namespace corvale {

ReminderSending sendReminders(Notifier& notifier, const std::vector<Reminder>& reminders, bool privately) {
    ReminderSending result;
    if (reminders.empty()) return result;
    if (privately) {
        // One for all of them: even how many could say too much.
        const Notification notice{"Something in Corvale needs your attention", "Open Corvale to see what is due.",
                                  RecordLink::today().text()};
        if (auto sent = notifier.notify(notice); !sent) {
            result.failure = sent.error();
            return result;
        }
        result.sent.push_back(notice);
        for (const auto& reminder : reminders)
            result.settled.insert(result.settled.end(), reminder.keys.begin(), reminder.keys.end());
        return result;
    }
    for (const auto& reminder : reminders) {
        // A click opens the credential; the weekly review, which is about no one record, opens Today.
        const RecordLink link =
            reminder.credentialId.empty() ? RecordLink::today() : RecordLink::credential(reminder.credentialId);
        Notification notice{reminder.title, {}, link.text()};
        for (const auto& line : reminder.lines) notice.body += (notice.body.empty() ? "" : "\n") + line;
        if (auto sent = notifier.notify(notice); !sent) {
            result.failure = sent.error();
            return result;
        }
        result.sent.push_back(std::move(notice));
        result.settled.insert(result.settled.end(), reminder.keys.begin(), reminder.keys.end());
    }
    return result;
}

std::set<std::string, std::less<>> remember(const std::set<std::string, std::less<>>& shown,
                                            const ReminderSending& sending, const Day& today) {
    std::set<std::string, std::less<>> kept;
    for (const auto& key : shown)
        if (!ReminderPlan::isStale(key, today)) kept.insert(key);
    for (const auto& key : sending.settled) kept.insert(key);
    return kept;
}

}  // namespace corvale

// `corvale remind`: what is due today goes to the desktop once, and what went
// out is printed, so a timer's log says it too.

#include "cli/CommandContext.h"
#include "requirements/Readiness.h"
#include "requirements/ReminderPlan.h"
#include "requirements/ReminderSender.h"
#include "vault/VaultStore.h"

#include <algorithm>
#include <functional>
#include <set>

namespace corvale::cli {
namespace {

// Sends what is due and remembers it as shown; the vault is closed again on return.
int sendDue(Session& session, const RemindOptions& options, bool& sentSome) {
    VaultStore store(session.setup);
    if (auto started = store.start(); !started) {
        // The open window holds the vault and says what is due itself.
        if (started.error().code == VaultError::Code::inUse) {
            session.out << "Corvale is open in a window; nothing sent from here.\n";
            return kSucceeded;
        }
        return session.failed(started.error());
    }
    // App lock keeps the records from the screen, not from the user's own
    // reminders: they are read, and say only that something needs attention.
    const bool privately = store.phase() == VaultPhase::locked;
    if (privately) {
        if (auto opened = store.unlockWithoutAuth(); !opened) return session.failed(opened.error());
    } else if (store.phase() != VaultPhase::ready) {
        return session.failed(VaultError::noVault());
    }

    const Day today = options.asOf.value_or(Day::local(session.setup.clock.now()));
    auto shown = store.prefs().textSet(Prefs::kRemindersShown);
    const RequirementsFile* rules = session.requirements.file() ? &*session.requirements.file() : nullptr;
    const auto readiness = Readiness::compute(store.doc(), rules, today);
    const Prefs& prefs = store.prefs();
    const WeeklyReview review{prefs.flag(Prefs::kWeeklyReview),
                              prefs.integer(Prefs::kWeeklyReviewWeekday, Prefs::kDefaultWeeklyReviewWeekday),
                              prefs.integer(Prefs::kWeeklyReviewHour, Prefs::kDefaultWeeklyReviewHour)};
    const auto due = ReminderPlan::withWeeklyReview(ReminderPlan::due(readiness, store.doc().settings, today, shown),
                                                    readiness, review, today,
                                                    ReminderPlan::localHour(session.setup.clock.now()), shown);
    if (due.empty()) {
        session.out << "Nothing to remind of on " << today.formatted() << ".\n";
        return kSucceeded;
    }
    if (options.dryRun) {
        for (const auto& reminder : due) {
            session.out << reminder.title << '\n';
            for (const auto& line : reminder.lines) session.out << "  " << line << '\n';
        }
        return kSucceeded;
    }

    const auto sending = sendReminders(session.notifier, due, privately);
    sentSome = !sending.sent.empty();
    for (const auto& notice : sending.sent) {
        session.out << "Sent: " << notice.summary << '\n';
        std::string body = notice.body;
        for (std::size_t at = 0; (at = body.find('\n', at)) != std::string::npos; at += 3) body.replace(at, 1, "\n  ");
        session.out << "  " << body << '\n';
    }
    if (auto saved = store.prefs().setTextSet(Prefs::kRemindersShown, remember(shown, sending, today)); !saved)
        return session.failed(saved.error());
    if (sending.failure) {
        return session.failed("The desktop's notification service didn't take the reminder (" +
                              sending.failure->detail + "), so it will be tried again next time.");
    }
    return kSucceeded;
}

}  // namespace

int runRemind(Session& session, const RemindOptions& options) {
    bool sentSome = false;
    const int sent = sendDue(session, options, sentSome);
    if (sent != kSucceeded || !sentSome || options.stayMinutes <= 0) return sent;
    // The vault is closed by now, so the app a click starts can open it.
    session.notifier.followClicks(std::chrono::minutes(options.stayMinutes), [&](const std::string& link) {
        session.out << "Opening " << link << '\n' << std::flush;
        session.openLink(link);
    });
    return kSucceeded;
}

namespace {

// Applies a settings edit and writes it at once; the sentence of any failure is reported.
int changeSettings(Session& session, VaultStore& store, const std::function<void(VaultSettings&)>& edit) {
    const Timestamp now = session.now();
    if (auto changed = store.change([&](VaultDocument& d) {
            edit(d.settings);
            d.settings.updatedAt = now;
        });
        !changed)
        return session.failed(changed.error());
    if (auto flushed = store.flush(); !flushed) return session.failed(flushed.error());
    return kSucceeded;
}

}  // namespace

int runSnooze(Session& session, const std::string& credentialId, const std::optional<Day>& until) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) return session.failed(opened.error());
    const auto& credentials = store.doc().credentials;
    if (std::none_of(credentials.begin(), credentials.end(),
                     [&](const Credential& c) { return !c.deleted && c.id == credentialId; }))
        return session.failed("No credential has the id " + credentialId + ".");
    return changeSettings(session, store, [&](VaultSettings& settings) {
        if (until)
            settings.snoozed[credentialId] = until->toString();
        else
            settings.snoozed.erase(credentialId);
    });
}

int runNotApplicable(Session& session, const std::string& kind, bool applies) {
    if (kind == "stateLicense" || kind == "other")
        return session.usage("State licenses and other credentials always apply.");
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) return session.failed(opened.error());
    return changeSettings(session, store, [&](VaultSettings& settings) {
        auto& kinds = settings.notApplicable;
        std::erase(kinds, kind);
        if (!applies) kinds.push_back(kind);
    });
}

}  // namespace corvale::cli

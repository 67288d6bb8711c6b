#pragma once
// What every screen reads from: the one store, the state rules and the clock.
// Not a QObject, and included only by .cpp files: the meta-object compiler
// cannot read the records' headers.

#include "records/Day.h"
#include "records/Person.h"
#include "records/VaultDocument.h"

#include <filesystem>
#include <string_view>
#include <vector>

namespace corvale {
class Clock;
class ReminderTimer;
class Requirements;
class VaultStore;
}  // namespace corvale

namespace corvale::app {

struct AppContext {
    VaultStore& store;
    const Requirements& requirements;
    const Clock& clock;
    // Runs the reminders while the window is closed; absent where this build can't.
    ReminderTimer* reminderTimer = nullptr;
    std::filesystem::path remindProgram;  // the corvale command the timer runs

    Day today() const;
    const VaultDocument& doc() const;
    // Live people in the vault's order.
    std::vector<const Person*> people() const;
    const Person* person(std::string_view id) const;
    // Whose records new entries belong to: the person in scope, else the vault's own, else the first.
    const Person* currentPerson() const;
    // A record of this person is in view: no one is in scope, or they are.
    bool inScope(std::string_view personId) const;
    // More than one live person: the screens then say whose each record is.
    bool isOffice() const;
    // An office with no one chosen: a new record must be told whose it is.
    bool asksWhose() const;
};

}  // namespace corvale::app

#include "requirements/Readiness.h"

#include "requirements/Hours.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace corvale {

Readiness Readiness::compute(const VaultDocument& document, const RequirementsFile* file, const Day& today,
                             std::optional<std::string_view> personId) {
    struct PersonView {
        Degree degree = Degree::other;
        bool deaHolder = false;
        std::vector<const CMEActivity*> activities;
    };
    std::unordered_map<std::string_view, PersonView> people;
    Readiness readiness;
    StandingInput& input = readiness.input;
    // Someone who only manages others is scored once they hold a credential of their own.
    std::unordered_set<std::string_view> holders;
    for (const Credential& credential : document.credentials)
        if (!credential.deleted) holders.insert(credential.personId);
    for (const Person& person : document.people) {
        if (person.deleted || (personId && person.id != *personId)) continue;
        if (person.managesOthersOnly() && !holders.contains(person.id)) continue;
        people[person.id].degree = person.degreeValue().value_or(Degree::other);
        input.personNames.emplace(person.id, person.name);
    }
    for (const Credential& credential : document.credentials) {
        if (credential.deleted || credential.kind != "dea") continue;
        if (const auto found = people.find(credential.personId); found != people.end()) found->second.deaHolder = true;
    }
    // A person's activities mostly sit together in the list, so the last owner is tried before the table.
    PersonView* owner = nullptr;
    std::string_view ownerId;
    for (const CMEActivity& activity : document.cme) {
        if (activity.deleted) continue;
        if (!owner || activity.personId != ownerId) {
            const auto found = people.find(activity.personId);
            owner = found == people.end() ? nullptr : &found->second;
            ownerId = activity.personId;
        }
        if (owner) owner->activities.push_back(&activity);
    }

    readiness.progress.reserve(static_cast<std::size_t>(std::count_if(
        document.credentials.begin(), document.credentials.end(),
        [](const Credential& c) { return !c.deleted && c.kind == "stateLicense"; })));
    for (const Credential& credential : document.credentials) {
        if (credential.deleted || credential.kind != "stateLicense") continue;
        const auto found = people.find(credential.personId);
        if (found == people.end()) continue;
        const PersonView& person = found->second;
        auto progress = StateProgress::compute(credential, person.degree, person.activities, person.deaHolder, file, today);
        if (!progress) continue;
        if (progress->missingHours() > kHourTolerance) input.cmeGaps.push_back(StandingInput::CMEGap::from(*progress));
        readiness.progress.push_back(std::move(*progress));
    }

    input.today = today;
    // A person asked for who isn't in the vault has nothing in view.
    if (!personId || !input.personNames.empty()) {
        input.credentials = document.credentials;
        input.activities = document.cme;
        input.documents = document.documents;
    }
    input.ownerHasNPI = std::any_of(document.people.begin(), document.people.end(), [](const Person& person) {
        return !person.deleted && person.isSelf && person.npi && !person.npi->empty();
    });
    input.reviewCount = static_cast<int>(std::count_if(document.documents.begin(), document.documents.end(),
                                                       [](const DocumentRecord& d) { return !d.deleted && d.needsReview; }));
    auto standing = StandingScore::breakdown(input);
    readiness.score = std::move(standing.whole);
    readiness.people = std::move(standing.people);
    return readiness;
}

}  // namespace corvale

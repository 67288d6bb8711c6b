#include "app/AppContext.h"

#include "platform/Clock.h"
#include "vault/VaultStore.h"

#include <algorithm>

namespace corvale::app {

Day AppContext::today() const { return Day::local(clock.now()); }

const VaultDocument& AppContext::doc() const { return store.doc(); }

std::vector<const Person*> AppContext::people() const {
    std::vector<const Person*> live;
    for (const auto& person : doc().people)
        if (!person.deleted) live.push_back(&person);
    return live;
}

const Person* AppContext::person(std::string_view id) const {
    const auto& people = doc().people;
    const auto found =
        std::find_if(people.begin(), people.end(), [&](const Person& p) { return !p.deleted && p.id == id; });
    return found == people.end() ? nullptr : &*found;
}

const Person* AppContext::currentPerson() const {
    if (const auto& scope = store.scopePersonId())
        if (const Person* scoped = person(*scope)) return scoped;
    const auto live = people();
    const auto self = std::find_if(live.begin(), live.end(), [](const Person* p) { return p->isSelf; });
    if (self != live.end()) return *self;
    return live.empty() ? nullptr : live.front();
}

bool AppContext::inScope(std::string_view personId) const {
    const auto& scope = store.scopePersonId();
    return !scope || *scope == personId;
}

bool AppContext::isOffice() const { return people().size() > 1; }

bool AppContext::asksWhose() const { return isOffice() && !store.scopePersonId(); }

}  // namespace corvale::app

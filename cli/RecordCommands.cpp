// status, add, list, show and delete: the record lists through VaultStore.

#include "cli/CommandContext.h"
#include "records/CredentialKind.h"
#include "records/EntryRules.h"
#include "records/JSONReader.h"
#include "records/JSONWriter.h"
#include "records/RecordJSON.h"
#include "records/VaultDocument.h"

#include <algorithm>
#include <utility>

namespace corvale::cli {
namespace {

template <class F>
auto visitList(RecordList list, F&& f) {
    switch (list) {
    case RecordList::credentials:
        return f(&VaultDocument::credentials, "credentials", "credential");
    case RecordList::cme:
        return f(&VaultDocument::cme, "cme", "CME activity");
    case RecordList::documents:
        return f(&VaultDocument::documents, "documents", "document");
    case RecordList::packets:
        return f(&VaultDocument::packets, "packets", "packet");
    case RecordList::healthRecords:
        return f(&VaultDocument::healthRecords, "healthRecords", "health record");
    case RecordList::people:
        break;
    }
    return f(&VaultDocument::people, "people", "person");
}

template <class T>
std::vector<T> live(const std::vector<T>& records) {
    std::vector<T> result;
    std::copy_if(records.begin(), records.end(), std::back_inserter(result), [](const T& r) { return !r.deleted; });
    return result;
}

template <class T>
const T* findLive(const std::vector<T>& records, std::string_view id) {
    auto it = std::find_if(records.begin(), records.end(), [&](const T& r) { return !r.deleted && r.id == id; });
    return it == records.end() ? nullptr : &*it;
}

std::string text(const JSONValue& value) { return value.isString() ? value.asString() : writeJSON(value); }

std::string orDash(const std::optional<std::string>& value) { return value.value_or("-"); }
std::string orDash(const std::optional<Day>& value) { return value ? value->toString() : "-"; }

// One tab-separated line per record, id first, so scripts can cut columns.
std::string summary(const Person& p) { return p.name + '\t' + p.degree + (p.isSelf ? "\tself" : ""); }
std::string summary(const Credential& c) {
    return c.kind + '\t' + orDash(c.state) + '\t' + orDash(c.number) + '\t' + orDash(c.expiresOn) + '\t' +
           orDash(c.title);
}
std::string summary(const CMEActivity& a) {
    return a.completedOn.toString() + '\t' + writeJSON(a.hours) + '\t' + a.category + '\t' + a.title;
}
std::string summary(const DocumentRecord& d) {
    return d.filename + '\t' + orDash(d.kind) + '\t' + std::to_string(d.size);
}
std::string summary(const Packet& p) { return p.name + '\t' + std::to_string(p.documentIds.size()); }
std::string summary(const HealthRecord& h) {
    return h.kind + '\t' + orDash(h.title) + '\t' + orDash(h.performedOn) + '\t' + orDash(h.expiresOn);
}

template <class T>
int saveNew(Session& session, VaultStore& store, std::vector<T> VaultDocument::*member, T record) {
    const std::string id = record.id;
    if (auto changed = store.change([&](VaultDocument& d) { (d.*member).push_back(std::move(record)); }); !changed) {
        return session.failed(changed.error());
    }
    if (auto flushed = store.flush(); !flushed) {
        return session.failed(flushed.error());
    }
    session.out << id << '\n';
    return kSucceeded;
}

}  // namespace

Result<std::string, std::string> openForNewRecord(Session& session, VaultStore& store,
                                                  const std::optional<std::string>& person) {
    if (auto opened = openRecords(session, store); !opened) return fail(opened.error());
    return choosePerson(store.doc(), person);
}

Result<std::string, std::string> choosePerson(const VaultDocument& document, const std::optional<std::string>& given) {
    if (given) {
        if (!findLive(document.people, *given)) {
            return fail("No person has the id " + *given + ", so check it with `corvale list people`.");
        }
        return *given;
    }
    const auto people = live(document.people);
    if (auto self = std::find_if(people.begin(), people.end(), [](const Person& p) { return p.isSelf; });
        self != people.end()) {
        return self->id;
    }
    if (people.size() == 1) {
        return people.front().id;
    }
    return fail(std::string("Choose a person with --person, so the record has an owner."));
}

int runStatus(Session& session, bool json) {
    VaultStore store(session.setup);
    if (auto started = store.start(); !started) {
        return session.failed(started.error());
    }
    JSONValue::Object status{{"phase", std::string(rawValue(store.phase()))}};
    if (store.phase() == VaultPhase::ready) {
        const VaultDocument& doc = store.doc();
        status["vaultId"] = doc.vaultId;
        JSONValue::Object counts;
        for (auto name : recordListNames()) {
            counts[std::string(name)] = visitList(*recordListFromName(name), [&](auto member, auto, auto) {
                return static_cast<int>(live(doc.*member).size());
            });
        }
        status["counts"] = counts;
    }
    if (json) {
        session.out << writeJSON(status) << '\n';
        return kSucceeded;
    }
    session.out << "phase: " << text(status["phase"]) << '\n';
    if (auto vaultId = status.find("vaultId"); vaultId != status.end()) {
        session.out << "vaultId: " << text(vaultId->second) << '\n';
        for (const auto& [name, count] : status["counts"].asObject()) {
            session.out << name << ": " << text(count) << '\n';
        }
    }
    return kSucceeded;
}

int runAddPerson(Session& session, const PersonOptions& options) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) {
        return session.failed(opened.error());
    }
    Person person;
    person.id = newUUID();
    person.updatedAt = session.now();
    person.name = options.name;
    person.degree = options.degree;
    return saveNew(session, store, &VaultDocument::people, std::move(person));
}

int runAddCredential(Session& session, const CredentialOptions& options) {
    const auto kind = credentialKindFromRaw(options.kind);
    if (kind && needsState(*kind) && !options.state) {
        return session.usage("A " + options.kind + " credential needs --state.");
    }
    if (options.issued && options.expires && *options.expires < *options.issued) {
        return session.usage("--expires " + options.expires->toString() + " comes before --issued " +
                             options.issued->toString() + ".");
    }
    VaultStore store(session.setup);
    auto owner = openForNewRecord(session, store, options.person);
    if (!owner) {
        return session.failed(owner.error());
    }
    Credential credential;
    credential.id = newUUID();
    credential.updatedAt = session.now();
    credential.personId = *owner;
    credential.kind = options.kind;
    credential.state = options.state;
    credential.number = options.number;
    credential.title = options.title;
    credential.issuedOn = options.issued;
    credential.expiresOn = options.expires;
    return saveNew(session, store, &VaultDocument::credentials, std::move(credential));
}

int runAddCME(Session& session, const CMEOptions& options) {
    if (auto ahead = cmeCompletedProblem(options.completed, Day::local(session.setup.clock.now()))) {
        return session.usage(*ahead);
    }
    VaultStore store(session.setup);
    auto owner = openForNewRecord(session, store, options.person);
    if (!owner) {
        return session.failed(owner.error());
    }
    CMEActivity activity;
    activity.id = newUUID();
    activity.updatedAt = session.now();
    activity.personId = *owner;
    activity.title = options.title;
    activity.hours = options.hours;
    activity.completedOn = options.completed;
    activity.category = options.category;
    activity.topics = options.topics;
    return saveNew(session, store, &VaultDocument::cme, std::move(activity));
}

int runList(Session& session, RecordList list, bool json) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) {
        return session.failed(opened.error());
    }
    return visitList(list, [&](auto member, std::string_view, auto) {
        auto records = live(store.doc().*member);
        if (json) {
            JSONValue::Array array;
            for (const auto& record : records) array.push_back(recordJSON(record));
            session.out << writeJSON(JSONValue(std::move(array))) << '\n';
            return kSucceeded;
        }
        for (const auto& record : records) {
            session.out << record.id << '\t' << summary(record) << '\n';
        }
        return kSucceeded;
    });
}

int runShow(Session& session, RecordList list, const std::string& id, bool json) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) {
        return session.failed(opened.error());
    }
    return visitList(list, [&](auto member, std::string_view, std::string_view noun) {
        const auto* record = findLive(store.doc().*member, id);
        if (!record) {
            return session.failed("No " + std::string(noun) + " has the id " + id + ".");
        }
        const JSONValue object = recordJSON(*record);
        if (json) {
            session.out << writeJSON(object) << '\n';
        } else if (object.isObject()) {
            for (const auto& [field, value] : object.asObject()) {
                session.out << field << ": " << text(value) << '\n';
            }
        }
        return kSucceeded;
    });
}

int runDelete(Session& session, RecordList list, const std::string& id) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) {
        return session.failed(opened.error());
    }
    return visitList(list, [&](auto member, auto, std::string_view noun) {
        if (!findLive(store.doc().*member, id)) {
            return session.failed("No " + std::string(noun) + " has the id " + id + ".");
        }
        // A tombstone, not a removal: a merge with an older copy must not bring the record back.
        const Timestamp now = session.now();
        auto changed = store.change([&](VaultDocument& d) {
            for (auto& record : d.*member) {
                if (record.id == id && !record.deleted) {
                    record.deleted = true;
                    record.updatedAt = now;
                }
            }
        });
        if (!changed) {
            return session.failed(changed.error());
        }
        if (auto flushed = store.flush(); !flushed) {
            return session.failed(flushed.error());
        }
        return kSucceeded;
    });
}

}  // namespace corvale::cli

#pragma once
// A vault document built up record by record for the requirements tests.
// Credentials come with a scanned copy attached, so a case sees only the
// deductions and reminders it is about.

#include "records/VaultDocument.h"

#include <optional>
#include <string>
#include <vector>

namespace corvale::testing {

struct TestVault {
    VaultDocument document;
    int serial = 0;

    std::string person(std::string name, std::string degree) {
        Person person;
        person.id = "person-" + std::to_string(++serial);
        person.name = std::move(name);
        person.degree = std::move(degree);
        document.people.push_back(person);
        return person.id;
    }
    // The reference lasts until the next credential is added.
    Credential& credential(const std::string& owner, std::string kind, std::optional<std::string> state,
                           Day expires) {
        Credential credential;
        credential.id = "credential-" + std::to_string(++serial);
        credential.personId = owner;
        credential.kind = std::move(kind);
        credential.state = std::move(state);
        credential.expiresOn = expires;
        DocumentRecord copy;
        copy.id = "document-" + std::to_string(++serial);
        copy.personId = owner;
        document.documents.push_back(copy);
        credential.documentIds = {copy.id};
        document.credentials.push_back(std::move(credential));
        return document.credentials.back();
    }
    void cme(const std::string& owner, Day completed, double hours, std::string category,
             std::vector<std::string> topics = {}, std::optional<bool> approved = std::nullopt) {
        CMEActivity activity;
        activity.id = "cme-" + std::to_string(++serial);
        activity.personId = owner;
        activity.title = "Course " + std::to_string(serial);
        activity.completedOn = completed;
        activity.hours = hours;
        activity.category = std::move(category);
        activity.topics = std::move(topics);
        activity.boardApproved = approved;
        document.cme.push_back(std::move(activity));
    }
};

}  // namespace corvale::testing

#pragma once
// The small records nested inside a Person.

#include "records/Day.h"
#include "records/JSONValue.h"
#include "records/Timestamp.h"
#include "records/VaultRecord.h"

#include <optional>
#include <string>
#include <vector>

namespace corvale {

struct WorkEntry : VaultRecord {
    std::string employer;
    std::optional<std::string> role;
    std::optional<Day> startDate;
    std::optional<Day> endDate;  // absent: current
    std::optional<std::string> address;
};

struct WorkAttestation {
    std::string typedName;
    Day signedOn;
    Timestamp signedAt;
    std::string statement;
    std::string historyHash;
    std::optional<std::string> signPublicKey;
    std::optional<std::string> signature;
};

struct Facility : VaultRecord {
    std::string name;
    std::optional<Day> startDate;
    std::optional<std::string> state;
    std::vector<std::string> requiredItems;
    std::optional<std::string> contactEmail;
    std::optional<std::string> notes;
};

struct HealthConsent {
    Timestamp givenAt;
    int version = 0;
};

struct Location : VaultRecord {
    std::string name;
    std::optional<std::string> address;
    std::optional<std::string> phone;
    JSONObject extra;
};

}  // namespace corvale

#pragma once

#include "records/CredentialKind.h"
#include "records/Day.h"
#include "records/JSONValue.h"
#include "records/VaultRecord.h"

#include <optional>
#include <string>
#include <vector>

namespace corvale {

struct RenewalStep {
    std::string id;
    std::string title;
    bool done = false;

    friend bool operator==(const RenewalStep&, const RenewalStep&) = default;
};

// A licence, registration, certification, policy or other expiring item.
struct Credential : VaultRecord {
    std::string personId;
    std::string kind;  // raw CredentialKind text; an unknown kind survives
    std::optional<std::string> title;
    std::optional<std::string> state;
    std::optional<std::string> number;
    std::optional<Day> issuedOn;
    std::optional<Day> expiresOn;
    bool isCompact = false;
    std::optional<std::string> status;
    std::optional<std::string> renewalURL;
    std::optional<std::string> notes;
    std::vector<std::string> documentIds;
    std::optional<std::string> renewalStage;
    std::optional<std::vector<RenewalStep>> renewalSteps;
    std::optional<double> fee;
    std::optional<std::string> boardStatus;
    std::optional<bool> multistate;
    std::optional<std::string> homeState;
    std::optional<Day> attestedOn;
    std::optional<std::string> carrier;
    std::optional<std::string> policyNumber;
    std::optional<std::string> limits;
    std::optional<std::string> coverageType;
    std::optional<std::vector<std::string>> schedules;
    std::optional<std::string> cmeCycleStart;
    std::optional<std::string> programId;
    std::optional<double> cmeHoursOverride;
    std::optional<std::string> category;
    std::optional<std::string> issuer;
    std::optional<int> cycleMonths;
    std::optional<int> reminderLeadDays;
    std::optional<std::string> licenseType;
    std::optional<std::string> aprnRole;
    std::optional<std::string> populationFocus;
    JSONObject extra;

    std::optional<CredentialKind> kindValue() const { return credentialKindFromRaw(kind); }
};

}  // namespace corvale

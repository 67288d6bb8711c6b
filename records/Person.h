#pragma once

#include "records/Degree.h"
#include "records/PersonDetails.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

// A clinician or provider tracked by the vault.
struct Person : VaultRecord {
    std::string name;
    std::string degree;  // raw Degree text; unknown text is kept
    std::optional<std::string> specialty;
    std::optional<std::string> npi;
    std::optional<std::string> email;
    std::optional<std::string> phone;
    bool isSelf = false;
    std::optional<std::string> color;
    std::optional<std::string> notes;
    std::optional<std::string> addressAs;
    std::optional<std::string> npiVerifiedAt;
    std::optional<std::string> taxonomy;
    std::optional<std::string> caqhId;
    std::optional<std::string> ptan;
    std::optional<std::string> medicaidId;
    std::optional<std::string> languages;
    std::optional<std::string> practiceAddress;
    std::optional<std::string> practicePhone;
    std::optional<std::string> dob;
    std::optional<std::vector<Facility>> facilities;
    // Screening runs and sharing records stay as JSON objects until the
    // compliance and sharing areas give them their own types.
    std::optional<std::vector<JSONValue>> screenings;
    std::optional<HealthConsent> healthConsent;
    std::optional<std::vector<WorkEntry>> workHistory;
    std::optional<WorkAttestation> workAttestation;
    std::optional<std::vector<JSONValue>> orgAccess;
    std::optional<std::vector<JSONValue>> accessActivity;
    JSONObject extra;

    std::optional<Degree> degreeValue() const { return degreeFromRaw(degree); }

    // Someone who keeps others' records and holds no licence of their own: not
    // scored. Kept under "role" so an older program carries it through untouched.
    bool managesOthersOnly() const {
        const auto found = extra.find(kRoleKey);
        return found != extra.end() && found->second.isString() && found->second.asString() == kManagerRole;
    }
    void setManagesOthersOnly(bool only) {
        if (only)
            extra.insert_or_assign(std::string(kRoleKey), JSONValue(std::string(kManagerRole)));
        else
            extra.erase(std::string(kRoleKey));
    }

    static constexpr std::string_view kRoleKey = "role";
    static constexpr std::string_view kManagerRole = "manager";
};

}  // namespace corvale

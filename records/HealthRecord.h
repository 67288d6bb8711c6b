#pragma once

#include "records/Day.h"
#include "records/JSONValue.h"
#include "records/VaultRecord.h"

#include <optional>
#include <string>
#include <vector>

namespace corvale {

// An immunisation, TB test, titre, physical and the like.
struct HealthRecord : VaultRecord {
    std::string personId;
    std::string kind;
    std::optional<std::string> title;
    std::optional<Day> performedOn;
    std::optional<std::string> result;
    std::optional<std::string> detail;
    std::optional<Day> expiresOn;
    std::vector<std::string> documentIds;
    std::optional<std::string> notes;
    JSONObject extra;
};

}  // namespace corvale

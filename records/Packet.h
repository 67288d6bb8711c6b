#pragma once

#include "records/Day.h"
#include "records/JSONValue.h"
#include "records/VaultRecord.h"

#include <optional>
#include <string>
#include <vector>

namespace corvale {

// Documents assembled, in order, for an office.
struct Packet : VaultRecord {
    std::string personId;
    std::string name;
    std::vector<std::string> documentIds;
    bool includeProfile = false;
    Day createdOn;
    std::optional<std::string> facilityId;
    JSONObject extra;
};

}  // namespace corvale

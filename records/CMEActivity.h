#pragma once

#include "records/Day.h"
#include "records/JSONValue.h"
#include "records/VaultRecord.h"

#include <optional>
#include <string>
#include <vector>

namespace corvale {

// One CME activity, or nursing CE (contact hours).
struct CMEActivity : VaultRecord {
    std::string personId;
    std::string title;
    std::optional<std::string> provider;
    Day completedOn;
    double hours = 0;
    std::string category = "other";  // raw CMECategory text
    std::vector<std::string> topics;
    std::vector<std::string> documentIds;
    std::optional<std::string> notes;
    std::optional<double> cost;
    std::optional<bool> boardApproved;
    JSONObject extra;
};

}  // namespace corvale

#pragma once

#include "records/JSONValue.h"
#include "records/Timestamp.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvale {

struct QuickAddHint {
    std::optional<std::string> kind;
    std::optional<std::string> provider;

    friend bool operator==(const QuickAddHint&, const QuickAddHint&) = default;
};

struct AccessKeys {
    std::string sign;
    std::string enc;

    friend bool operator==(const AccessKeys&, const AccessKeys&) = default;
};

struct VaultSettings {
    Timestamp updatedAt;  // the epoch until the first real change, so any change wins a merge
    std::vector<int> reminderDays{90, 30, 7};
    std::optional<std::string> primaryState;
    std::optional<std::string> profession;
    std::vector<std::string> dismissedInsights;
    std::map<std::string, QuickAddHint> quickAddHints;
    std::vector<std::string> notApplicable;
    std::map<std::string, std::string> snoozed;
    std::optional<AccessKeys> accessKeys;
    JSONObject extra;
};

}  // namespace corvale

#pragma once

#include "records/JSONValue.h"
#include "records/Timestamp.h"

#include <string>

namespace corvale {

// The shape every record shares. A deleted record stays as a tombstone so a
// deletion wins over an older copy when vaults are merged.
struct VaultRecord {
    std::string id;
    Timestamp updatedAt;
    bool deleted = false;
};

// A lower-case random (version 4) UUID.
std::string newUUID();

}  // namespace corvale

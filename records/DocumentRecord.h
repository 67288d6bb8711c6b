#pragma once

#include "records/JSONValue.h"
#include "records/Timestamp.h"
#include "records/VaultRecord.h"

#include <cstdint>
#include <optional>
#include <string>

namespace corvale {

// What the vault knows of a stored file; the bytes are a sealed blob named by `blobHash`.
struct DocumentRecord : VaultRecord {
    std::string personId;
    std::string filename;
    std::string contentType;
    std::string blobHash;
    std::int64_t size = 0;
    Timestamp addedAt;
    std::optional<std::string> kind;  // raw DocumentKind text
    std::optional<std::string> text;  // recognised text
    bool needsReview = false;
    JSONObject extra;
};

}  // namespace corvale

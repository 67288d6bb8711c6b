#pragma once

#include <string>

namespace corvale {

enum class RecordError {
    invalidJSON,
    notVaultDocument,
    malformedRecord,
    tooDeep,  // nested past kJSONMaxDepth
};

std::string message(RecordError error);

}  // namespace corvale

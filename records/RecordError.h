#pragma once

#include <string>

namespace corvale {

enum class RecordError {
    invalidJSON,
    notVaultDocument,
    malformedRecord,
};

std::string message(RecordError error);

}  // namespace corvale

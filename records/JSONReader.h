#pragma once

#include "platform/Result.h"
#include "records/JSONValue.h"
#include "records/RecordError.h"

#include <string_view>

namespace corvale {

// Any JSON text into a JSONValue (for key files, tool arguments and the like).
Result<JSONValue, RecordError> parseJSON(std::string_view text);

}  // namespace corvale

#pragma once
// Internal to records: simdjson's tree into our value type.

#include "records/JSONValue.h"

#include <simdjson.h>

namespace corvale {

JSONValue toJSONValue(simdjson::dom::element element);

}  // namespace corvale

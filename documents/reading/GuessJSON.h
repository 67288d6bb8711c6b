#pragma once
// A Guess as JSON under its own field names, days as YYYY-MM-DD; absent fields are left out.

#include "documents/reading/Guess.h"
#include "records/JSONValue.h"

namespace corvale {

JSONObject guessJSON(const Guess& guess);

}  // namespace corvale

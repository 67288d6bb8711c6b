#pragma once
// Internal to records: encoding and decoding any record through its field
// list. Other record-level entry points (single records for tools, exports)
// build on these.

#include "records/JSONWriter.h"
#include "records/RecordFields.h"

#include <simdjson.h>

namespace corvale::codec {

template <class T>
void encode(JSONWriter& writer, const T& record);


}  // namespace corvale::codec

#include "records/RecordCodecImpl.h"

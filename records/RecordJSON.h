#pragma once
// One record as the vault writes it, for output that embeds records (tool
// results, --json reports) and must agree with the vault's own form.

#include "records/CMEActivity.h"
#include "records/Credential.h"
#include "records/DocumentRecord.h"
#include "records/HealthRecord.h"
#include "records/JSONValue.h"
#include "records/Packet.h"
#include "records/Person.h"

namespace corvale {

JSONValue recordJSON(const Person& record);
JSONValue recordJSON(const Credential& record);
JSONValue recordJSON(const CMEActivity& record);
JSONValue recordJSON(const DocumentRecord& record);
JSONValue recordJSON(const Packet& record);
JSONValue recordJSON(const HealthRecord& record);

}  // namespace corvale

#pragma once
// The renewals as an iCalendar (RFC 5545) file a calendar app imports or
// subscribes to: each credential's expiry and each licence's education-cycle
// end as an all-day event, with alarms at the reminder days. Every event's UID
// follows its record, so importing again updates the events instead of adding
// copies.

#include "records/Timestamp.h"
#include "records/VaultSettings.h"

#include <string>

namespace corvale {

struct Readiness;

// `readiness` decides whose records are in; `stamp` is when the file is made.
std::string calendarOf(const Readiness& readiness, const VaultSettings& settings, const Timestamp& stamp);

}  // namespace corvale

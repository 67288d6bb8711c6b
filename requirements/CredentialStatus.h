#pragma once
// What a credential's row says about it: how soon it needs the user, in the
// words the Licenses list and the printed report share.

#include "records/Credential.h"
#include "records/Day.h"

#include <string>

namespace corvale {

// Soon is within 30 days, due within 90.
enum class Urgency { expired, soon, due, current, undated };

Urgency urgencyOf(const Credential& credential, const Day& today);

// "Expired", "Renew now", "Renew soon", "Current", "No expiry date"; a renewal
// already with the board says so instead, as it needs nothing more from the user.
std::string statusText(const Credential& credential, Urgency urgency);

}  // namespace corvale

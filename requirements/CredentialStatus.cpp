#include "requirements/CredentialStatus.h"

#include "records/RecordEnums.h"

namespace corvale {
namespace {

constexpr int kSoonDays = 30;
constexpr int kDueDays = 90;

std::string urgencyText(Urgency urgency) {
    switch (urgency) {
    case Urgency::expired: return "Expired";
    case Urgency::soon: return "Renew now";
    case Urgency::due: return "Renew soon";
    case Urgency::current: return "Current";
    case Urgency::undated: break;
    }
    return "No expiry date";
}

}  // namespace

Urgency urgencyOf(const Credential& credential, const Day& today) {
    if (!credential.expiresOn) return Urgency::undated;
    const int daysLeft = today.daysTo(*credential.expiresOn);
    if (daysLeft < 0) return Urgency::expired;
    if (daysLeft <= kSoonDays) return Urgency::soon;
    if (daysLeft <= kDueDays) return Urgency::due;
    return Urgency::current;
}

std::string statusText(const Credential& credential, Urgency urgency) {
    const auto stage = credential.renewalStage ? renewalStageFromRaw(*credential.renewalStage) : std::nullopt;
    if (stage == RenewalStage::submitted) return "Renewal submitted";
    if (stage == RenewalStage::approved) return "Renewal approved";
    if (stage == RenewalStage::gathering && urgency != Urgency::current && urgency != Urgency::undated)
        return "Renewal started";
    return urgencyText(urgency);
}

}  // namespace corvale

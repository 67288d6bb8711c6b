#include "requirements/StandingScore.h"

#include "requirements/CredentialRenewal.h"
#include "requirements/Hours.h"
#include "requirements/NumberWord.h"
#include "requirements/StateProgress.h"
#include "requirements/USState.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace corvale {
namespace {

constexpr int kExpiredCritical = 25;
constexpr int kExpiredOther = 12;
constexpr int kDueThisMonth = 12;
constexpr int kDueSoon = 5;
constexpr int kNoRenewalDate = 8;
constexpr int kNoCopy = 2;
constexpr int kNoCopyCeiling = 9;  // another copy deduction only while the total is at or below this
constexpr int kEducationGap = 8;
constexpr int kEducationHorizonDays = 180;
constexpr int kThisMonthDays = 30;
constexpr int kSoonDays = 90;

// What the headline counts, beside the deductions themselves.
struct Tally {
    int renewalsSoon = 0;
    int undated = 0;
    int withoutCopy = 0;
    int credentials = 0;
    bool educationToPlan = false;
};

std::string pointsText(int points) { return std::to_string(points) + (points == 1 ? " point" : " points"); }

std::string expiresIn(int days) {
    if (days == 0) return "expires today";
    if (days == 1) return "expires tomorrow";
    return "expires in " + std::to_string(days) + " days";
}

std::string headlineFor(const std::vector<StandingScore::Deduction>& deductions, const Tally& tally) {
    const auto thisMonth = static_cast<int>(
        std::count_if(deductions.begin(), deductions.end(), [](const auto& d) { return d.thisMonth; }));
    if (thisMonth == 1) return "One thing needs you this month.";
    if (thisMonth > 1) return capitalisedNumberWord(thisMonth) + " things need you this month.";
    if (tally.educationToPlan) {
        return "Nothing is urgent, and there are continuing education hours to plan before a renewal.";
    }
    if (tally.renewalsSoon == 1) return "Nothing is urgent, and one renewal is coming up in the next 90 days.";
    if (tally.renewalsSoon > 1) {
        return "Nothing is urgent, and " + numberWord(tally.renewalsSoon) +
               " renewals are coming up in the next 90 days.";
    }
    if (tally.undated == 1) return "One license needs its renewal date.";
    if (tally.undated > 1) return capitalisedNumberWord(tally.undated) + " licenses need their renewal dates.";
    if (tally.withoutCopy == 1) return "One credential has no copy attached.";
    if (tally.withoutCopy > 1) return capitalisedNumberWord(tally.withoutCopy) + " credentials have no copy attached.";
    return tally.credentials > 0 ? "Nothing needs you right now." : "Add a license to start tracking.";
}

std::string gapDetail(const StandingInput::CMEGap& gap) {
    std::string detail = hoursText(gap.missingHours, HoursRounding::up) + " h of " +
                         hoursText(gap.requiredHours, HoursRounding::down) + " left for " + gap.stateName + ".";
    if (gap.cycleEnd) return detail + " The " + gap.stateName + " cycle ends on " + gap.cycleEnd->formatted() + ".";
    return detail + " The " + gap.stateName + " cycle has no end date yet.";
}

// The score of one set of credentials and gaps: the whole input, or one person's share of it.
StandingScore score(const StandingInput& input, const std::vector<const Credential*>& credentials,
                    const std::vector<const StandingInput::CMEGap*>& gaps,
                    const std::unordered_set<std::string_view>& liveDocuments) {
    using Deduction = StandingScore::Deduction;
    using FixAction = StandingScore::FixAction;
    std::vector<Deduction> deductions;
    Tally tally;
    tally.credentials = static_cast<int>(credentials.size());
    int copyPoints = 0;

    for (const Credential* credential : credentials) {
        const auto kind = credential->kindValue();
        const std::string title = renewTitle(*credential);
        const auto add = [&](std::string prefix, int points, std::string heading, std::string detail, FixAction action,
                             std::string term, bool thisMonth) {
            deductions.push_back({std::move(prefix) + credential->id, points, std::move(heading), std::move(detail),
                                  {action, credential->id}, std::move(term), input.who(*credential), thisMonth});
        };
        if (credential->expiresOn) {
            const int days = input.today.daysTo(*credential->expiresOn);
            const bool filed = isRenewalFiled(*credential);
            const std::string date = credential->expiresOn->formatted();
            if (days < 0) {
                const bool critical = kind && isPracticeCritical(*kind);
                add("expired:", critical ? kExpiredCritical : kExpiredOther, title + " has expired",
                    critical ? "It expired on " + date + ", and practice that depends on it stops until it's renewed."
                             : "It expired on " + date + ".",
                    FixAction::renew, "Expired", true);
            } else if (days <= kThisMonthDays && !filed) {
                add("due:", kDueThisMonth, title + " " + expiresIn(days), "It expires on " + date + ".",
                    FixAction::renew, "Renewal", true);
            } else if (days <= kSoonDays && !filed) {
                add("due:", kDueSoon, title + " " + expiresIn(days), "It expires on " + date + ".", FixAction::renew,
                    "Renewal", false);
                ++tally.renewalsSoon;
            }
        } else if (kind == CredentialKind::stateLicense) {
            add("undated:", kNoRenewalDate, title + " has no renewal date",
                "Reminders and continuing education tracking start once you add it.", FixAction::edit, "Renewal date",
                false);
            ++tally.undated;
        }
        if (needsDocument(*credential, liveDocuments)) {
            ++tally.withoutCopy;
            if (copyPoints <= kNoCopyCeiling) {
                add("copy:", kNoCopy, title + " has no copy attached",
                    "Attach the license or certificate so it's ready for packets.", FixAction::attach, "Document",
                    false);
                copyPoints += kNoCopy;
            }
        }
    }

    for (const auto* gap : gaps) {
        if (gap->missingHours <= kHourTolerance) continue;
        // An end that cannot be measured is treated as today: the gap needs planning now.
        const int days = gap->cycleEnd ? input.today.daysTo(*gap->cycleEnd) : 0;
        if (days < 0 || days > kEducationHorizonDays) continue;
        deductions.push_back({"cme:" + gap->licenseId, kEducationGap,
                              gap->stateName + (gap->contactHours ? " CE" : " CME") + " hours to finish",
                              gapDetail(*gap), {FixAction::logCME, gap->licenseId}, "CME", input.who(gap->personId),
                              days <= kThisMonthDays});
        tally.educationToPlan = true;
    }

    std::stable_sort(deductions.begin(), deductions.end(),
                     [](const Deduction& a, const Deduction& b) { return a.points > b.points; });
    StandingScore result;
    int lost = 0;
    for (const auto& deduction : deductions) lost += deduction.points;
    result.value = std::clamp(100 - lost, 0, 100);
    result.headline = headlineFor(deductions, tally);
    result.deductions = std::move(deductions);
    return result;
}

std::unordered_set<std::string_view> liveDocumentIds(const StandingInput& input) {
    std::unordered_set<std::string_view> ids;
    ids.reserve(input.documents.size());
    for (const auto& document : input.documents)
        if (!document.deleted) ids.insert(document.id);
    return ids;
}

}  // namespace

std::string_view rawValue(StandingScore::FixAction action) {
    switch (action) {
    case StandingScore::FixAction::renew: return "renew";
    case StandingScore::FixAction::edit: return "edit";
    case StandingScore::FixAction::attach: return "attach";
    case StandingScore::FixAction::logCME: return "logCME";
    }
    return "edit";
}

StandingInput::CMEGap StandingInput::CMEGap::from(const StateProgress& progress) {
    CMEGap gap;
    gap.licenseId = progress.license.id;
    gap.personId = progress.license.personId;
    gap.state = progress.license.state.value_or("");
    gap.stateName = USState::nameOf(gap.state);
    gap.missingHours = progress.missingHours();
    gap.requiredHours = progress.requiredHours;
    gap.cycleEnd = progress.cycleEnd;
    gap.contactHours = progress.unit() == "contact hours";
    return gap;
}

std::vector<const Credential*> StandingInput::active() const {
    std::vector<const Credential*> result;
    result.reserve(credentials.size());
    for (const Credential& credential : credentials) {
        if (credential.deleted) continue;
        if (!personNames.empty() && !personNames.contains(credential.personId)) continue;
        result.push_back(&credential);
    }
    return result;
}

std::optional<std::string> StandingInput::who(const std::string& personId) const {
    if (personNames.size() < 2) return std::nullopt;
    const auto found = personNames.find(personId);
    return found == personNames.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> StandingInput::who(const Credential& credential) const { return who(credential.personId); }

std::string StandingScore::Deduction::recovery() const {
    std::string opening;
    switch (fix.action) {
    case FixAction::renew: opening = "Starting this renewal gives back "; break;
    case FixAction::edit: opening = "Adding the date gives back "; break;
    case FixAction::attach: opening = "Attaching a copy gives back "; break;
    case FixAction::logCME: opening = "Logging the remaining hours gives back "; break;
    }
    return opening + pointsText(points) + ".";
}

StandingScore StandingScore::compute(const StandingInput& input) {
    std::vector<const StandingInput::CMEGap*> gaps;
    for (const auto& gap : input.cmeGaps)
        if (input.personNames.empty() || input.personNames.contains(gap.personId)) gaps.push_back(&gap);
    return score(input, input.active(), gaps, liveDocumentIds(input));
}

std::vector<PersonStanding> StandingScore::perPerson(const StandingInput& input) {
    if (input.personNames.size() < 2) return {};
    struct Share {
        std::vector<const Credential*> credentials;
        std::vector<const StandingInput::CMEGap*> gaps;
    };
    // One pass over the records, so the work grows with them, not with people times records.
    std::unordered_map<std::string_view, Share> shares;
    shares.reserve(input.personNames.size());
    for (const Credential* credential : input.active()) shares[credential->personId].credentials.push_back(credential);
    for (const auto& gap : input.cmeGaps) shares[gap.personId].gaps.push_back(&gap);
    const auto documents = liveDocumentIds(input);

    std::vector<PersonStanding> result;
    result.reserve(input.personNames.size());
    for (const auto& [id, name] : input.personNames) {
        const Share& share = shares[id];
        result.push_back({id, name, score(input, share.credentials, share.gaps, documents)});
    }
    std::sort(result.begin(), result.end(), [](const PersonStanding& a, const PersonStanding& b) {
        return a.name != b.name ? a.name < b.name : a.personId < b.personId;
    });
    std::stable_sort(result.begin(), result.end(),
                     [](const PersonStanding& a, const PersonStanding& b) { return a.score.value < b.score.value; });
    return result;
}

}  // namespace corvale

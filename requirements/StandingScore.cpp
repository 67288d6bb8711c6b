#include "requirements/StandingScore.h"

#include "requirements/CredentialRenewal.h"
#include "requirements/Hours.h"
#include "requirements/NumberWord.h"
#include "requirements/StateProgress.h"
#include "records/USState.h"

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

std::string pointsText(int points) { return std::to_string(points) + (points == 1 ? " point" : " points"); }

std::string expiresIn(int days) {
    if (days == 0) return "expires today";
    if (days == 1) return "expires tomorrow";
    return "expires in " + std::to_string(days) + " days";
}

// What made a deduction; the headline counts some of them.
enum class Finding { expired, dueThisMonth, dueSoon, undated, noCopy, education };

// A deduction the records call for, before the copy cap decides whether it is taken.
struct Candidate {
    Finding finding;
    std::string_view personId;
    StandingScore::Deduction deduction;
};

std::string headlineFor(const std::vector<StandingScore::Deduction>& deductions,
                        const std::vector<Candidate*>& found, int credentials) {
    const auto thisMonth = static_cast<int>(
        std::count_if(deductions.begin(), deductions.end(), [](const auto& d) { return d.thisMonth; }));
    const auto count = [&](Finding finding) {
        return static_cast<int>(
            std::count_if(found.begin(), found.end(), [&](const Candidate* c) { return c->finding == finding; }));
    };
    if (thisMonth == 1) return "One thing needs you this month.";
    if (thisMonth > 1) return capitalisedNumberWord(thisMonth) + " things need you this month.";
    if (count(Finding::education) > 0) {
        return "Nothing is urgent, and there are continuing education hours to plan before a renewal.";
    }
    const int soon = count(Finding::dueSoon);
    if (soon == 1) return "Nothing is urgent, and one renewal is coming up in the next 90 days.";
    if (soon > 1) return "Nothing is urgent, and " + numberWord(soon) + " renewals are coming up in the next 90 days.";
    const int undated = count(Finding::undated);
    if (undated == 1) return "One license needs its renewal date.";
    if (undated > 1) return capitalisedNumberWord(undated) + " licenses need their renewal dates.";
    const int withoutCopy = count(Finding::noCopy);
    if (withoutCopy == 1) return "One credential has no copy attached.";
    if (withoutCopy > 1) return capitalisedNumberWord(withoutCopy) + " credentials have no copy attached.";
    return credentials > 0 ? "Nothing needs you right now." : "Add a license to start tracking.";
}

std::string gapDetail(const StandingInput::CMEGap& gap) {
    std::string detail = hoursText(gap.missingHours, HoursRounding::up) + " h of " +
                         hoursText(gap.requiredHours, HoursRounding::down) + " left for " + gap.stateName + ".";
    if (gap.cycleEnd) return detail + " The " + gap.stateName + " cycle ends on " + gap.cycleEnd->formatted() + ".";
    return detail + " The " + gap.stateName + " cycle has no end date yet.";
}

// Every deduction the records call for, in the order they are made.
std::vector<Candidate> candidatesFor(const StandingInput& input, const std::vector<const Credential*>& credentials,
                                     const std::unordered_set<std::string_view>& liveDocuments) {
    using FixAction = StandingScore::FixAction;
    std::vector<Candidate> found;
    found.reserve(credentials.size() + input.cmeGaps.size());
    for (const Credential* credential : credentials) {
        const auto kind = credential->kindValue();
        // Most credentials cost nothing; only those that do need their words.
        std::optional<std::string> renewal;
        const auto title = [&]() -> const std::string& {
            if (!renewal) renewal = renewTitle(*credential);
            return *renewal;
        };
        const auto add = [&](Finding finding, std::string_view prefix, int points, std::string heading,
                             std::string detail, FixAction action, std::string term, bool thisMonth) {
            Candidate& candidate = found.emplace_back(Candidate{finding, credential->personId, {}});
            auto& deduction = candidate.deduction;
            deduction.id = std::string(prefix) + credential->id;
            deduction.points = points;
            deduction.title = std::move(heading);
            deduction.detail = std::move(detail);
            deduction.fix.action = action;
            deduction.fix.recordId = credential->id;
            deduction.term = std::move(term);
            deduction.person = input.who(*credential);
            deduction.thisMonth = thisMonth;
        };
        if (credential->expiresOn) {
            const int days = input.today.daysTo(*credential->expiresOn);
            const bool filed = isRenewalFiled(*credential);
            const auto date = [&] { return credential->expiresOn->formatted(); };
            if (days < 0) {
                const bool critical = kind && isPracticeCritical(*kind);
                add(Finding::expired, "expired:", critical ? kExpiredCritical : kExpiredOther, title() + " has expired",
                    critical ? "It expired on " + date() + ", and practice that depends on it stops until it's renewed."
                             : "It expired on " + date() + ".",
                    FixAction::renew, "Expired", true);
            } else if (days <= kThisMonthDays && !filed) {
                add(Finding::dueThisMonth, "due:", kDueThisMonth, title() + " " + expiresIn(days),
                    "It expires on " + date() + ".", FixAction::renew, "Renewal", true);
            } else if (days <= kSoonDays && !filed) {
                add(Finding::dueSoon, "due:", kDueSoon, title() + " " + expiresIn(days),
                    "It expires on " + date() + ".", FixAction::renew, "Renewal", false);
            }
        } else if (kind == CredentialKind::stateLicense) {
            add(Finding::undated, "undated:", kNoRenewalDate, title() + " has no renewal date",
                "Reminders and continuing education tracking start once you add it.", FixAction::edit, "Renewal date",
                false);
        }
        if (needsDocument(*credential, liveDocuments)) {
            add(Finding::noCopy, "copy:", kNoCopy, title() + " has no copy attached",
                "Attach the license or certificate so it's ready for packets.", FixAction::attach, "Document", false);
        }
    }

    for (const auto& gap : input.cmeGaps) {
        if (!input.personNames.empty() && !input.personNames.contains(gap.personId)) continue;
        if (gap.missingHours <= kHourTolerance) continue;
        // An end that cannot be measured is treated as today: the gap needs planning now.
        const int days = gap.cycleEnd ? input.today.daysTo(*gap.cycleEnd) : 0;
        if (days < 0 || days > kEducationHorizonDays) continue;
        Candidate& candidate = found.emplace_back(Candidate{Finding::education, gap.personId, {}});
        auto& deduction = candidate.deduction;
        deduction.id = "cme:" + gap.licenseId;
        deduction.points = kEducationGap;
        deduction.title = gap.stateName + (gap.contactHours ? " CE" : " CME") + " hours to finish";
        deduction.detail = gapDetail(gap);
        deduction.fix.action = FixAction::logCME;
        deduction.fix.recordId = gap.licenseId;
        deduction.term = "CME";
        deduction.person = input.who(gap.personId);
        deduction.thisMonth = days <= kThisMonthDays;
    }
    return found;
}

// The score of some of the candidates: all of them, or one person's. Copies
// cost points only while their total stays within the cap.
StandingScore settle(const std::vector<Candidate*>& found, int credentials, bool consume) {
    std::vector<Candidate*> taken;
    taken.reserve(found.size());
    int copyPoints = 0;
    for (Candidate* candidate : found) {
        if (candidate->finding == Finding::noCopy) {
            if (copyPoints > kNoCopyCeiling) continue;
            copyPoints += candidate->deduction.points;
        }
        taken.push_back(candidate);
    }
    // Sorting the pointers keeps equal points in the order made without moving whole deductions.
    std::stable_sort(taken.begin(), taken.end(),
                     [](const Candidate* a, const Candidate* b) { return a->deduction.points > b->deduction.points; });
    StandingScore result;
    result.deductions.reserve(taken.size());
    int lost = 0;
    for (Candidate* candidate : taken) {
        lost += candidate->deduction.points;
        if (consume) {
            result.deductions.push_back(std::move(candidate->deduction));
        } else {
            result.deductions.push_back(candidate->deduction);
        }
    }
    result.value = std::clamp(100 - lost, 0, 100);
    result.headline = headlineFor(result.deductions, found, credentials);
    return result;
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
    // A person's credentials mostly sit together, so the last answer is reused before the lookup.
    std::optional<std::string_view> lastPerson;
    bool lastInView = false;
    for (const Credential& credential : credentials) {
        if (credential.deleted) continue;
        if (!personNames.empty()) {
            if (lastPerson != std::string_view(credential.personId)) {
                lastPerson = credential.personId;
                lastInView = personNames.contains(credential.personId);
            }
            if (!lastInView) continue;
        }
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

std::unordered_set<std::string_view> StandingInput::liveDocumentIds() const {
    std::unordered_set<std::string_view> ids;
    ids.reserve(documents.size());
    for (const auto& document : documents)
        if (!document.deleted) ids.insert(document.id);
    return ids;
}

StandingBreakdown StandingScore::breakdown(const StandingInput& input) { return settleAll(input, true); }

StandingScore StandingScore::compute(const StandingInput& input) { return settleAll(input, false).whole; }

std::vector<PersonStanding> StandingScore::perPerson(const StandingInput& input) { return settleAll(input, true).people; }

StandingBreakdown StandingScore::settleAll(const StandingInput& input, bool withPeople) {
    const auto documents = input.liveDocumentIds();
    const auto credentials = input.active();
    // The deductions are found once; the whole and each person only choose among them.
    auto found = candidatesFor(input, credentials, documents);
    std::vector<Candidate*> all;
    all.reserve(found.size());
    for (auto& candidate : found) all.push_back(&candidate);

    StandingBreakdown result;
    const bool several = withPeople && input.personNames.size() >= 2;
    // Each person's share takes the deductions over once the whole has its copies.
    result.whole = settle(all, static_cast<int>(credentials.size()), !several);
    if (!several) return result;

    struct Share {
        std::vector<Candidate*> found;
        int credentials = 0;
    };
    std::unordered_map<std::string_view, Share> shares;
    shares.reserve(input.personNames.size());
    for (const Credential* credential : credentials) ++shares[credential->personId].credentials;
    for (Candidate* candidate : all) shares[candidate->personId].found.push_back(candidate);

    result.people.reserve(input.personNames.size());
    for (const auto& [id, name] : input.personNames) {
        const Share& share = shares[id];
        result.people.push_back({id, name, settle(share.found, share.credentials, true)});
    }
    std::sort(result.people.begin(), result.people.end(), [](const PersonStanding& a, const PersonStanding& b) {
        return a.name != b.name ? a.name < b.name : a.personId < b.personId;
    });
    std::stable_sort(result.people.begin(), result.people.end(),
                     [](const PersonStanding& a, const PersonStanding& b) { return a.score.value < b.score.value; });
    return result;
}


}  // namespace corvale

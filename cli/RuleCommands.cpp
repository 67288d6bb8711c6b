// rules and fees: what the delivered state data says, for one state or a few.

#include "cli/CommandContext.h"
#include "records/AsciiCase.h"
#include "records/JSONWriter.h"
#include "requirements/NurseCompact.h"
#include "requirements/ReadinessJSON.h"
#include "records/USState.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace corvale::cli {
namespace {

std::optional<Degree> professionFromText(const std::string& text) {
    const std::string wanted = asciiUpper(text);
    for (const Degree degree : allDegrees()) {
        if (asciiUpper(rawValue(degree)) == wanted) return degree;
        if (const auto code = professionCode(degree); code && asciiUpper(*code) == wanted) return degree;
    }
    return wanted == "LVN" || wanted == "LPN/LVN" ? std::optional(Degree::lpn) : std::nullopt;
}

std::string number(double value) {
    std::ostringstream out;
    out << std::setprecision(6) << value;
    return out.str();
}

std::string plural(double value, std::string_view unit) {
    return number(value) + " " + std::string(unit) + (std::fabs(value - 1.0) < 1e-9 ? "" : "s");
}

std::string money(double value) {
    std::ostringstream out;
    out << '$' << std::fixed << std::setprecision(std::floor(value) == value ? 0 : 2) << value;
    return out.str();
}

// "every year", "every 3 years"
std::string every(double count, std::string_view unit) {
    return std::fabs(count - 1.0) < 1e-9 ? "every " + std::string(unit) : "every " + plural(count, unit);
}

std::string frequencyText(const TopicRule& topic) {
    if (topic.frequency == "once") return "once";
    if (topic.frequency == "firstRenewal") return "at the first renewal";
    if (topic.everyYears) return every(*topic.everyYears, "year");
    if (topic.frequency == "everyNCycles" && topic.everyNCycles) return every(*topic.everyNCycles, "cycle");
    return topic.isOneTime() ? "once" : "every cycle";
}

std::string unitFor(Degree degree) { return isNurse(degree) ? "contact hour" : "CME hour"; }

std::string basisText(const std::string& basis) {
    if (basis == "birthMonth") return "end of the birth month";
    if (basis == "fixedDate") return "a fixed date";
    if (basis == "birthday") return "the birthday";
    if (basis == "issueAnniversary") return "the anniversary of issue";
    return basis;
}

// The professions a state speaks to: those it has a block or a board for.
std::vector<Degree> professionsOf(const StateRule& state) {
    std::vector<Degree> result;
    for (const Degree degree : allDegrees())
        if (state.ownBlock(degree) || state.boardInfo(degree)) result.push_back(degree);
    return result;
}

JSONValue professionJSON(const StateRule& state, Degree degree, const Requirements& requirements) {
    JSONObject object;
    if (const auto resolved = state.resolved(degree)) {
        object = resolvedRuleJSON(*resolved, requirements.file() ? &*requirements.file() : nullptr, state.name).asObject();
    } else if (const auto board = state.boardInfo(degree)) {
        putIfPresent(object, "boardName", board->name);
        putIfPresent(object, "boardURL", board->url);
    }
    object.insert_or_assign("profession", std::string(rawValue(degree)));
    object.emplace("unknownRule", state.unknownRule(degree));
    if (const auto years = state.renewalYearsFor(degree)) object.emplace("renewalYears", *years);
    putIfPresent(object, "renewalBasis", state.basis(degree));
    putIfPresent(object, "renewalDate", state.renewalDateFor(degree));
    if (isNurse(degree)) object.emplace("compact", NurseCompact::stateSentence(state.code));
    return object;
}

void printProfession(std::ostream& out, const StateRule& state, Degree degree, const Requirements& requirements) {
    out << '\n' << displayName(degree) << '\n';
    const auto resolved = state.resolved(degree);
    if (!resolved) {
        out << "  No rule recorded for " << displayName(degree) << "s in " << state.name << ".\n";
        if (const auto board = state.boardInfo(degree); board && board->name)
            out << "  Board: " << *board->name << (board->url ? " <" + *board->url + ">" : "") << '\n';
        return;
    }
    const Rule& rule = resolved->rule;
    const std::string unit = unitFor(degree);
    if (resolved->noCERequired()) {
        out << "  No continuing education required\n";
    } else if (rule.hours && *rule.hours == 0) {
        out << "  " << state.name << " requires no general " << unit << "s, only the topics below\n";
    } else if (rule.hours) {
        out << "  " << plural(*rule.hours, unit);
        if (rule.cycleYears) out << " " << every(*rule.cycleYears, "year");
        out << '\n';
    } else {
        out << "  Hours not recorded";
        if (rule.cycleYears) out << " (cycle of " << plural(*rule.cycleYears, "year") << ")";
        out << '\n';
    }
    if (rule.cat1Min) out << "  Category 1 minimum: " << plural(*rule.cat1Min, "hour") << '\n';
    if (rule.hasTopics()) {
        out << "  Topics:\n";
        for (const auto& topic : *rule.topics) {
            out << "    - " << requirements.topicName(topic.key);
            if (topic.hours) out << ": " << plural(*topic.hours, "hour");
            out << ", " << frequencyText(topic);
            if (topic.appliesTo == "deaHolders") out << ", DEA registrants only";
            else if (topic.appliesTo) out << ", " << *topic.appliesTo;
            if (topic.boardApprovedOnly.value_or(false)) out << ", board-approved courses only";
            if (topic.note) out << " (" << *topic.note << ")";
            out << '\n';
        }
    }
    const auto years = state.renewalYearsFor(degree);
    const auto basis = state.basis(degree);
    const auto date = state.renewalDateFor(degree);
    if (years || basis || date) {
        out << "  Renewal:";
        if (years) out << " " << every(*years, "year");
        if (basis) out << (years ? "," : "") << " on " << basisText(*basis);
        if (date && basis == "fixedDate") out << " (" << *date << ")";
        out << '\n';
    }
    if (resolved->boardName)
        out << "  Board: " << *resolved->boardName << (resolved->boardURL ? " <" + *resolved->boardURL + ">" : "")
            << '\n';
    if (rule.notes) out << "  Notes: " << *rule.notes << '\n';
    if (const auto caveat = resolved->caveat(state.name)) out << "  Caveat: " << *caveat << '\n';
    if (rule.lastChecked) out << "  Last checked: " << *rule.lastChecked << '\n';
}

std::optional<std::string> knownState(Session& session, const std::string& text, int& status) {
    const auto state = USState::find(text);
    if (!state) {
        status = session.usage(notAState(text));
        return std::nullopt;
    }
    return std::string(state->code);
}

}  // namespace

int runRules(Session& session, const RulesOptions& options, bool json) {
    int status = kSucceeded;
    const auto code = knownState(session, options.state, status);
    if (!code) return status;
    std::optional<Degree> only;
    if (options.profession) {
        only = professionFromText(*options.profession);
        if (!only || *only == Degree::other)
            return session.usage("--profession must be one of MD, DO, NP, PA, CRNA, CAA, RN, LPN, CNM or CNS.");
    }
    if (!session.requirements.file()) return session.failed("The state rules aren't available in this installation.");
    const StateRule* state = session.requirements.state(*code);
    if (!state) return session.failed("Corvale has no rules recorded for " + USState::nameOf(*code) + " yet.");

    const std::vector<Degree> professions = only ? std::vector<Degree>{*only} : professionsOf(*state);
    if (json) {
        JSONObject object;
        object.emplace("code", state->code);
        object.emplace("name", state->name);
        putIfPresent(object, "verifyURL", state->verifyURL);
        putIfPresent(object, "lastChecked", state->lastChecked);
        putIfPresent(object, "verified", state->verified);
        JSONValue::Array list;
        for (const Degree degree : professions) list.push_back(professionJSON(*state, degree, session.requirements));
        object.emplace("professions", std::move(list));
        session.out << writeJSON(JSONValue(std::move(object))) << '\n';
        return kSucceeded;
    }
    session.out << state->name << " (" << state->code << ")\n";
    if (state->verifyURL) session.out << "Verify a licence: " << *state->verifyURL << '\n';
    for (const Degree degree : professions) printProfession(session.out, *state, degree, session.requirements);
    if (std::any_of(professions.begin(), professions.end(), isNurse)) {
        session.out << "\nNurse Licensure Compact\n  " << NurseCompact::stateSentence(state->code) << "\n  "
                    << NurseCompact::reviewedNote() << ".\n";
    }
    return kSucceeded;
}

int runFees(Session& session, const std::vector<std::string>& states, bool json) {
    std::vector<std::string> codes;
    for (const auto& text : states) {
        int status = kSucceeded;
        const auto code = knownState(session, text, status);
        if (!code) return status;
        if (std::find(codes.begin(), codes.end(), *code) == codes.end()) codes.push_back(*code);
    }
    if (!session.fees.file()) return session.failed("The fee table isn't available in this installation.");

    if (json) {
        JSONValue::Array list;
        for (const auto& code : codes) {
            JSONObject object;
            object.emplace("code", code);
            object.emplace("name", USState::nameOf(code));
            if (const StateFee* fee = session.fees.state(code)) {
                putIfPresent(object, "applicationFee", fee->applicationFee);
                putIfPresent(object, "licenseOrIssuanceFee", fee->licenseOrIssuanceFee);
                putIfPresent(object, "renewalFee", fee->renewalFee);
                putIfPresent(object, "renewalYears", fee->renewalYears);
                if (fee->processing) {
                    JSONObject processing;
                    putIfPresent(processing, "text", fee->processing->text);
                    putIfPresent(processing, "typicalDays", fee->processing->typicalDays);
                    object.emplace("processing", std::move(processing));
                }
                putIfPresent(object, "imlcMember", fee->imlcMember);
                putIfPresent(object, "boardFeesURL", fee->boardFeesURL);
                putIfPresent(object, "lastChecked", fee->lastChecked);
                putIfPresent(object, "verified", fee->verified);
                putIfPresent(object, "notes", fee->notes);
            }
            list.push_back(std::move(object));
        }
        session.out << writeJSON(JSONValue(std::move(list))) << '\n';
        return kSucceeded;
    }

    // One row per state; "-" where the figure isn't recorded.
    const auto cell = [](const std::optional<double>& value) { return value ? money(*value) : std::string("-"); };
    session.out << std::left << std::setw(24) << "State" << std::setw(13) << "Application" << std::setw(10)
                << "Licence" << std::setw(20) << "Renewal" << std::setw(22) << "Processing"
                << "IMLC\n";
    double startingCost = 0;
    bool everyStartKnown = true;
    for (const auto& code : codes) {
        const StateFee* fee = session.fees.state(code);
        const StateFee empty{};
        const StateFee& f = fee ? *fee : empty;
        std::string renewal = cell(f.renewalFee);
        if (f.renewalFee && f.renewalYears) renewal += " / " + plural(*f.renewalYears, "year");
        std::string processing = "-";
        if (f.processing && f.processing->text) processing = *f.processing->text;
        else if (f.processing && f.processing->typicalDays) processing = "about " + plural(*f.processing->typicalDays, "day");
        const std::string imlc = f.imlcMember ? (*f.imlcMember ? "member" : "no") : "-";
        session.out << std::left << std::setw(24) << USState::nameOf(code) << std::setw(13) << cell(f.applicationFee)
                    << std::setw(10) << cell(f.licenseOrIssuanceFee) << std::setw(20) << renewal << std::setw(22)
                    << processing << imlc << '\n';
        if (!f.applicationFee) everyStartKnown = false;
        startingCost += f.applicationFee.value_or(0) + f.licenseOrIssuanceFee.value_or(0);
    }
    if (codes.size() > 1) {
        session.out << "\nTo apply in all " << codes.size() << ": " << money(startingCost)
                    << (everyStartKnown ? "" : " for the states with recorded fees") << " in application and licence fees.\n";
    }
    if (session.fees.file()->disclaimer) session.out << '\n' << *session.fees.file()->disclaimer << '\n';
    return kSucceeded;
}

}  // namespace corvale::cli

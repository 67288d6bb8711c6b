// today and progress: the standing score and each licence's education cycle,
// for today or for a day the clinician is planning toward.

#include "cli/CommandContext.h"
#include "records/JSONWriter.h"
#include "requirements/CMECycle.h"
#include "requirements/CredentialRenewal.h"
#include "requirements/Hours.h"
#include "requirements/NumberWord.h"
#include "requirements/CalendarExport.h"
#include "requirements/Readiness.h"
#include "requirements/ReadinessReport.h"
#include "requirements/RenewalPlan.h"
#include "requirements/ReadinessJSON.h"
#include "records/USState.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace corvale::cli {
namespace {

std::string hours(double value) { return hoursText(value, HoursRounding::down); }

std::string cycleText(const StateProgress& progress) {
    return progress.cycleStart.formatted() + " – " + progress.cycleEnd.formatted();
}

std::string stateHeading(const StateProgress& progress) {
    const std::string code = progress.license.state.value_or("");
    return USState::nameOf(code) + " (" + code + ")";
}

std::string topicText(const StateProgress::TopicLine& line) {
    std::string text = line.name + " (" + hours(line.done) + " of " + hours(line.required) + " h)";
    if (line.unapprovedHours > kHourTolerance) {
        text += ", " + hours(line.unapprovedHours) + " h not board-approved";
    }
    return text;
}

// The few lines of one licence that the daily view needs.
void printBrief(std::ostream& out, const StateProgress& progress) {
    out << "  " << stateHeading(progress) << " · cycle " << cycleText(progress) << '\n';
    out << "    " << progress.summary();
    if (progress.cat1Required > 0) {
        out << " · Category 1: " << hours(progress.cat1Done) << " of " << hours(progress.cat1Required) << " h";
    }
    out << (progress.isComplete() ? " · complete" : "") << '\n';
    const auto open = progress.openTopics();
    if (!open.empty()) {
        out << "    Open topics: ";
        for (std::size_t i = 0; i < open.size(); ++i) out << (i ? "; " : "") << topicText(open[i]);
        out << '\n';
    }
    if (const auto caveat = progress.caveat()) out << "    " << *caveat << '\n';
}

void printDeductions(std::ostream& out, const StandingScore& score) {
    for (const auto& deduction : score.deductions) {
        out << "  -" << deduction.points << "  " << deduction.title;
        if (deduction.person) out << " (" << *deduction.person << ")";
        out << '\n';
        out << "       " << deduction.detail << '\n';
        out << "       " << deduction.recovery() << '\n';
    }
}

const RequirementsFile* rulesOf(const Session& session) {
    return session.requirements.file() ? &*session.requirements.file() : nullptr;
}

struct Scope {
    Day day;
    std::optional<std::string> personId;
    std::string personName;
};

struct View {
    Scope scope;
    Readiness readiness;  // refers to the store's document
};

// Opens the vault, settles the day and the person and computes what both
// commands show; a failure is already reported, its exit code in `code`.
std::optional<View> openView(Session& session, VaultStore& store, const ProgressOptions& options, int& code) {
    if (auto opened = openRecords(session, store); !opened) {
        code = session.failed(opened.error());
        return std::nullopt;
    }
    Scope scope{options.asOf.value_or(Day::local(session.setup.clock.now())), options.person, ""};
    if (options.person) {
        const auto& people = store.doc().people;
        const auto found = std::find_if(people.begin(), people.end(),
                                        [&](const Person& p) { return !p.deleted && p.id == *options.person; });
        if (found == people.end()) {
            code = session.failed("No person has the id " + *options.person + ".");
            return std::nullopt;
        }
        scope.personName = found->name;
    }
    return View{scope, Readiness::compute(store.doc(), rulesOf(session), scope.day, scope.personId)};
}

JSONValue::Array progressArray(const Session& session, const Readiness& readiness) {
    JSONValue::Array progress;
    for (const auto& item : readiness.progress) progress.push_back(progressJSON(item, rulesOf(session)));
    return progress;
}

struct OfficeTotals {
    int people = 0;
    int credentials = 0;
    int thisMonth = 0;
    int renewalsSoon = 0;
    int undated = 0;
    int withoutCopy = 0;
    int educationGaps = 0;
    int averageScore = 100;
};

OfficeTotals officeTotals(const Readiness& readiness) {
    OfficeTotals totals;
    totals.people = static_cast<int>(readiness.people.size());
    const auto active = readiness.input.active();
    totals.credentials = static_cast<int>(active.size());
    const auto documents = readiness.input.liveDocumentIds();
    totals.withoutCopy = static_cast<int>(
        std::count_if(active.begin(), active.end(), [&](const Credential* c) { return needsDocument(*c, documents); }));
    long sum = 0;
    for (const auto& person : readiness.people) {
        sum += person.score.value;
        for (const auto& deduction : person.score.deductions) {
            totals.thisMonth += deduction.thisMonth ? 1 : 0;
            totals.renewalsSoon += deduction.id.starts_with("due:") && !deduction.thisMonth ? 1 : 0;
            totals.undated += deduction.id.starts_with("undated:") ? 1 : 0;
            totals.educationGaps += deduction.id.starts_with("cme:") ? 1 : 0;
        }
    }
    if (totals.people > 0) totals.averageScore = static_cast<int>((sum + totals.people / 2) / totals.people);
    return totals;
}

std::string count(int number, std::string_view one, std::string_view many) {
    return std::to_string(number) + " " + std::string(number == 1 ? one : many);
}

int printOffice(Session& session, const Readiness& readiness, const Day& day, bool json) {
    const OfficeTotals totals = officeTotals(readiness);
    if (json) {
        JSONValue::Array people;
        for (const auto& person : readiness.people) people.push_back(personStandingJSON(person));
        JSONObject totalsJSON{{"people", totals.people},
                              {"credentials", totals.credentials},
                              {"thisMonth", totals.thisMonth},
                              {"renewalsSoon", totals.renewalsSoon},
                              {"withoutRenewalDate", totals.undated},
                              {"withoutCopy", totals.withoutCopy},
                              {"educationGaps", totals.educationGaps},
                              {"averageScore", totals.averageScore}};
        JSONObject object{{"asOf", day.toString()}, {"people", std::move(people)}, {"totals", std::move(totalsJSON)}};
        session.out << writeJSON(JSONValue(std::move(object))) << '\n';
        return kSucceeded;
    }
    auto& out = session.out;
    out << "Office standing on " << day.formatted() << ", worst first\n";
    std::size_t width = 0;
    for (const auto& person : readiness.people) width = std::max(width, person.name.size());
    for (const auto& person : readiness.people) {
        std::string score = std::to_string(person.score.value);
        out << "  " << std::string(3 - std::min<std::size_t>(score.size(), 3), ' ') << score << "  " << person.name
            << std::string(width - person.name.size(), ' ') << "  " << person.score.headline << '\n';
    }
    out << "\nTotals: " << count(totals.people, "person", "people") << " · "
        << count(totals.credentials, "credential", "credentials") << " · average score " << totals.averageScore << '\n';
    out << "  " << count(totals.thisMonth, "thing needs", "things need") << " someone this month\n";
    out << "  " << count(totals.renewalsSoon, "renewal", "renewals") << " in the next 31 to 90 days\n";
    out << "  " << count(totals.undated, "license has", "licenses have") << " no renewal date\n";
    out << "  " << count(totals.withoutCopy, "credential has", "credentials have") << " no copy attached\n";
    out << "  " << count(totals.educationGaps, "state cycle ends", "state cycles end")
        << " within 180 days with hours missing\n";
    out << "\nUse --person ID for one person's deductions and licences.\n";
    return kSucceeded;
}

}  // namespace

int runToday(Session& session, const ProgressOptions& options, bool json) {
    VaultStore store(session.setup);
    int code = kSucceeded;
    const auto view = openView(session, store, options, code);
    if (!view) return code;
    const Scope& scope = view->scope;
    const Readiness& readiness = view->readiness;
    if (!scope.personId && !readiness.people.empty()) return printOffice(session, readiness, scope.day, json);

    if (json) {
        JSONObject object{{"asOf", scope.day.toString()},
                          {"standing", standingJSON(readiness.score)},
                          {"progress", progressArray(session, readiness)}};
        if (scope.personId) object.emplace("personId", *scope.personId);
        session.out << writeJSON(JSONValue(std::move(object))) << '\n';
        return kSucceeded;
    }
    auto& out = session.out;
    out << (scope.personName.empty() ? "" : scope.personName + " · ") << "Standing " << readiness.score.value
        << " of 100 on " << scope.day.formatted() << '\n';
    out << readiness.score.headline << '\n';
    if (!readiness.score.deductions.empty()) {
        out << '\n';
        printDeductions(out, readiness.score);
    }
    out << "\nState licenses\n";
    if (!session.requirements.file()) out << "  The state rules aren't available in this installation.\n";
    if (readiness.progress.empty()) out << "  No state license with a state Corvale has rules for.\n";
    for (const auto& progress : readiness.progress) printBrief(out, progress);
    return kSucceeded;
}

int runProgress(Session& session, const ProgressOptions& options, bool json) {
    VaultStore store(session.setup);
    int code = kSucceeded;
    const auto view = openView(session, store, options, code);
    if (!view) return code;
    const Readiness& readiness = view->readiness;

    if (json) {
        JSONObject object{{"asOf", view->scope.day.toString()}, {"progress", progressArray(session, readiness)}};
        session.out << writeJSON(JSONValue(std::move(object))) << '\n';
        return kSucceeded;
    }
    auto& out = session.out;
    if (readiness.progress.empty()) {
        out << (session.requirements.file() ? "No state license with a state Corvale has rules for.\n"
                                            : "The state rules aren't available in this installation.\n");
        return kSucceeded;
    }
    const auto activityLine = [&](const CMEActivity& activity) {
        return activity.completedOn.toString() + "  " + hours(activity.hours) + " h  " + activity.category + "  " +
               activity.title;
    };
    const bool several = readiness.input.personNames.size() > 1;

    for (const auto& progress : readiness.progress) {
        out << stateHeading(progress) << " · " << renewTitle(progress.license);
        if (several) {
            if (const auto name = readiness.input.who(progress.license)) out << " · " << *name;
        }
        out << '\n';
        out << "  Cycle: " << cycleText(progress);
        if (progress.license.cmeCycleStart) {
            out << " (pinned to " << CMECycle::label(*progress.license.cmeCycleStart) << ")";
        }
        out << '\n';
        out << "  Hours: " << progress.summary();
        if (progress.hoursAreCustom) out << " (your own total)";
        if (progress.missingHours() > kHourTolerance) {
            out << ", " << hoursText(progress.missingHours(), HoursRounding::up) << " h to go";
        }
        out << '\n';
        if (progress.cat1Required > 0) {
            out << "  Category 1: " << hours(progress.cat1Done) << " of " << hours(progress.cat1Required) << " h\n";
        }
        out << "  Status: " << (progress.isComplete() ? "complete" : "in progress") << '\n';
        for (const auto& line : progress.topics) {
            out << "  Topic: " << topicText(line) << (line.isOpen() ? ", open" : ", met") << '\n';
            if (line.note) out << "    " << *line.note << '\n';
            for (const CMEActivity* activity : line.counted) out << "    " << activityLine(*activity) << '\n';
        }
        out << "  Activities in this cycle: " << progress.activities.size() << '\n';
        for (const CMEActivity* activity : progress.activities) out << "    " << activityLine(*activity) << '\n';
        if (const auto caveat = progress.caveat()) out << "  Caveat: " << *caveat << '\n';
        out << '\n';
    }
    return kSucceeded;
}

int runCalendar(Session& session, const ProgressOptions& options, const std::filesystem::path& destination) {
    VaultStore store(session.setup);
    int code = kSucceeded;
    const auto view = openView(session, store, options, code);
    if (!view) return code;
    const std::string calendar = calendarOf(view->readiness, store.doc().settings, session.now());
    if (auto written = session.setup.files.replaceFileAtomically(destination, asBytes(calendar)); !written)
        return session.failed(VaultError::storage(written.error()));
    session.out << destination.string() << '\n';
    return kSucceeded;
}

int runReport(Session& session, const ProgressOptions& options, const std::filesystem::path& destination) {
    VaultStore store(session.setup);
    int code = kSucceeded;
    const auto view = openView(session, store, options, code);
    if (!view) return code;
    const auto report = ReadinessReport::build(store.doc(), rulesOf(session), view->scope.day, view->scope.personId);
    if (!report) return session.failed("No person has the id " + options.person.value_or("") + ".");
    const auto pdf = writePdf(report->printable());
    if (!pdf) return session.failed(pdf.error().message());
    if (auto written = session.setup.files.replaceFileAtomically(destination, *pdf); !written)
        return session.failed(VaultError::storage(written.error()));
    session.out << destination.string() << '\n';
    return kSucceeded;
}

namespace {

JSONValue planJSON(const RenewalPlan& plan) {
    JSONValue::Array months;
    for (const auto& month : plan.months) {
        JSONValue::Array events;
        for (const auto& event : month.events) {
            events.push_back(JSONObject{{"kind", std::string(rawValue(event.kind))},
                                        {"day", event.day.toString()},
                                        {"recordId", event.recordId},
                                        {"title", event.title},
                                        {"detail", event.detail},
                                        {"pointsAtStake", event.pointsAtStake}});
        }
        months.push_back(JSONObject{{"month", month.first.toString().substr(0, 7)}, {"events", std::move(events)}});
    }
    JSONValue::Array topics;
    for (const auto& open : plan.openTopics) {
        JSONValue::Array lines(open.topics.begin(), open.topics.end());
        topics.push_back(JSONObject{{"title", open.title},
                                    {"state", open.state},
                                    {"cycleEnd", open.cycleEnd.toString()},
                                    {"topics", std::move(lines)}});
    }
    return JSONObject{{"from", plan.from.toString()}, {"months", std::move(months)}, {"openTopics", std::move(topics)}};
}

}  // namespace

int runPlan(Session& session, const ProgressOptions& options, bool json) {
    VaultStore store(session.setup);
    int code = kSucceeded;
    const auto view = openView(session, store, options, code);
    if (!view) return code;
    const auto plan = RenewalPlan::compute(store.doc(), rulesOf(session), view->scope.day, view->scope.personId);
    if (json) {
        session.out << writeJSON(planJSON(plan)) << '\n';
        return kSucceeded;
    }
    auto& out = session.out;
    out << (view->scope.personName.empty() ? "" : view->scope.personName + " · ") << "The next twelve months, from "
        << plan.from.formatted() << '\n';
    for (const auto& month : plan.months) {
        out << '\n' << month.first.monthAndYear() << '\n';
        if (month.events.empty()) out << "  Nothing due.\n";
        for (const auto& event : month.events) {
            out << "  " << event.day.shortFormatted() << "  " << event.title;
            if (event.pointsAtStake > 0) out << " (" << event.pointsAtStake << " points at stake)";
            out << "\n    " << event.detail << '\n';
        }
    }
    if (!plan.openTopics.empty()) out << "\nMandated topics still open\n";
    for (const auto& open : plan.openTopics) {
        out << "  " << open.title << " (cycle ends " << open.cycleEnd.formatted() << ")\n";
        for (const auto& topic : open.topics) out << "    " << topic << '\n';
    }
    return kSucceeded;
}

}  // namespace corvale::cli

#include "requirements/ReadinessReport.h"

#include "requirements/CredentialRenewal.h"
#include "requirements/CredentialStatus.h"
#include "requirements/Readiness.h"
#include "records/USState.h"

#include <algorithm>
#include <map>

namespace corvale {
namespace {

std::vector<ReadinessReport::CredentialLine> credentialLines(const std::vector<const Credential*>& held,
                                                             const Day& today) {
    const auto titles = distinctTitles(held);
    std::vector<ReadinessReport::CredentialLine> lines;
    for (std::size_t i = 0; i < held.size(); ++i) {
        const Credential& credential = *held[i];
        lines.push_back({titles[i], credential.number.value_or(""),
                         statusText(credential, urgencyOf(credential, today)),
                         credential.expiresOn ? credential.expiresOn->formatted() : "No expiry date"});
    }
    return lines;
}

ReadinessReport::CycleLine cycleLine(const StateProgress& progress) {
    ReadinessReport::CycleLine line{renewTitle(progress.license),
                                    progress.cycleStart.formatted() + " to " + progress.cycleEnd.formatted(),
                                    progress.summary(),
                                    {},
                                    progress.caveat()};
    for (const auto& topic : progress.openTopics()) line.openTopics.push_back(topic.progressText());
    return line;
}

// The latest screening run kept on the person, in a sentence.
std::string lastScreening(const Person& person) {
    const JSONValue* latest = nullptr;
    std::string latestAt;
    if (!person.screenings) return "No compliance check has been run yet.";
    for (const auto& run : *person.screenings) {
        const JSONValue* ranAt = run.isObject() ? run.find("ranAt") : nullptr;
        if (!ranAt || !ranAt->isString() || ranAt->asString() < latestAt) continue;
        latest = &run;
        latestAt = ranAt->asString();
    }
    if (!latest) return "No compliance check has been run yet.";
    const auto day = Day::parse(std::string_view(latestAt).substr(0, 10));
    const JSONValue* outcome = latest->find("outcome");
    const JSONValue* reviewed = latest->find("reviewedAt");
    std::string sentence = "Last compliance screening: " + (day ? day->formatted() : latestAt);
    if (outcome && outcome->isString()) sentence += ", outcome " + outcome->asString();
    if (reviewed && reviewed->isString()) sentence += ", reviewed";
    return sentence + ".";
}

}  // namespace

std::optional<ReadinessReport> ReadinessReport::build(const VaultDocument& document, const RequirementsFile* rules,
                                                      const Day& today, std::optional<std::string_view> personId) {
    ReadinessReport report;
    report.preparedOn = today;
    // One readiness for everyone in view, and the records grouped by person in one pass:
    // a readiness per person would read the whole office once for each of them.
    const auto readiness = Readiness::compute(document, rules, today, personId);
    std::map<std::string_view, const StandingScore*, std::less<>> scores;
    for (const auto& standing : readiness.people) scores.emplace(standing.personId, &standing.score);
    std::map<std::string_view, std::vector<const Credential*>, std::less<>> held;
    for (const auto& credential : document.credentials)
        if (!credential.deleted) held[credential.personId].push_back(&credential);
    std::map<std::string_view, std::vector<const StateProgress*>, std::less<>> cycles;
    for (const auto& progress : readiness.progress) cycles[progress.license.personId].push_back(&progress);

    for (const auto& person : document.people) {
        if (person.deleted || (personId && person.id != *personId)) continue;
        const auto ownCredentials = held.find(person.id);
        // An office report leaves out who only manages others, as Today does; asked for by name, they appear.
        const bool scored = !person.managesOthersOnly() || ownCredentials != held.end();
        if (!personId && !scored) continue;
        PersonPart part{person.name, person.degree, std::nullopt, "Nothing of theirs to score.", {}, {}, {}};
        if (scored) {
            // With one person in view the readiness's own score is theirs.
            const auto own = scores.find(person.id);
            const StandingScore& score = own == scores.end() ? readiness.score : *own->second;
            part.score = score.value;
            part.headline = score.headline;
            if (const auto found = cycles.find(person.id); found != cycles.end())
                for (const StateProgress* progress : found->second) part.cycles.push_back(cycleLine(*progress));
        }
        if (ownCredentials != held.end()) part.credentials = credentialLines(ownCredentials->second, today);
        part.compliance = lastScreening(person);
        report.people.push_back(std::move(part));
    }
    if (personId && report.people.empty()) return std::nullopt;
    std::stable_sort(report.people.begin(), report.people.end(), [](const PersonPart& a, const PersonPart& b) {
        return a.score.value_or(101) < b.score.value_or(101);
    });
    return report;
}

PrintedReport ReadinessReport::printable() const {
    PrintedReport printed;
    const bool one = people.size() == 1;
    printed.title = one ? "Readiness report: " + people[0].name : "Readiness report";
    printed.subtitle = (one ? std::string() : std::to_string(people.size()) + " people · ") + "Prepared on " +
                       preparedOn.formatted() + " by Corvale";
    printed.footer = printed.title + " · " + preparedOn.formatted();
    if (people.empty()) printed.paragraph("There is no one in this vault to report on yet.");
    for (const auto& person : people) {
        printed.heading(person.name + (person.degree.empty() ? "" : ", " + person.degree));
        printed.paragraph(person.score ? "Standing score " + std::to_string(*person.score) + " of 100. " +
                                             person.headline
                                       : person.headline);
        printed.subheading("Credentials");
        if (person.credentials.empty()) {
            printed.note("No credentials recorded.");
        } else {
            PrintedTable table{{"Credential", "Number", "Status", "Expires"}, {0.34, 0.21, 0.19, 0.26}, {}};
            for (const auto& line : person.credentials)
                table.rows.push_back({line.title, line.number, line.status, line.expires});
            printed.table(std::move(table));
        }
        if (!person.cycles.empty()) {
            printed.subheading("Education cycles");
            PrintedTable table{{"Licence", "Cycle", "Progress", "Open topics"}, {0.25, 0.25, 0.2, 0.3}, {}};
            for (const auto& cycle : person.cycles) {
                std::string topics;
                for (const auto& topic : cycle.openTopics) topics += (topics.empty() ? "" : "\n") + topic;
                table.rows.push_back({cycle.title, cycle.period, cycle.summary, topics.empty() ? "None" : topics});
            }
            printed.table(std::move(table));
            for (const auto& cycle : person.cycles)
                if (cycle.caveat) printed.note(*cycle.caveat);
        }
        printed.subheading("Compliance");
        printed.paragraph(person.compliance);
    }
    return printed;
}

}  // namespace corvale

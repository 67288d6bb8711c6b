#include "documents/reading/DocumentProposal.h"

#include "documents/reading/DocumentParser.h"
#include "records/AsciiCase.h"
#include "records/EntryRules.h"
#include "records/RecordEnums.h"
#include "records/USState.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <sstream>

namespace corvale {
namespace {

const std::vector<std::string_view> kCredentialFields{"kind",        "state",      "number",     "issuedOn", "expiresOn",
                                                      "title",       "boardStatus", "multistate", "licenseType"};
const std::vector<std::string_view> kActivityFields{"title", "hours", "completedOn", "provider", "category", "topics"};

std::string comparable(std::string_view number) {
    std::string out;
    for (const char c : number)
        if (std::isalnum(static_cast<unsigned char>(c))) out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

std::string hoursText(double hours) {
    std::ostringstream text;
    text << std::setprecision(6) << hours;
    return text.str();
}

std::string categoryFor(const std::string& lower) {
    if (lower.find("category 1") != std::string::npos || lower.find("category i ") != std::string::npos) return "cat1";
    if (lower.find("category 2") != std::string::npos) return "cat2";
    if (lower.find("aanp") != std::string::npos) return "aanp";
    if (lower.find("aapa") != std::string::npos) return "aapa";
    if (lower.find("nbcrna") != std::string::npos) return "nbcrna";
    if (lower.find("contact hour") != std::string::npos || lower.find("nursing continuing") != std::string::npos)
        return "ce";
    return "other";
}

const Credential* findCredential(const VaultDocument& vault, const std::string& personId, const Guess& guess,
                                 CredentialKind kind) {
    std::vector<const Credential*> sameKind;
    for (const auto& credential : vault.credentials)
        if (!credential.deleted && credential.personId == personId && credential.kindValue() == kind)
            sameKind.push_back(&credential);
    if (guess.number)
        for (const Credential* credential : sameKind)
            if (credential->number && comparable(*credential->number) == comparable(*guess.number)) return credential;
    if (guess.state && needsState(kind)) {
        const Credential* only = nullptr;
        for (const Credential* credential : sameKind)
            if (credential->state && asciiUpper(*credential->state) == *guess.state) {
                if (only) return nullptr;  // two of that state: the user chooses
                only = credential;
            }
        return only;
    }
    // A person holds one DEA number per state at most, but one BLS or ACLS card.
    return !needsState(kind) && sameKind.size() == 1 && !guess.number ? sameKind.front() : nullptr;
}

Result<Day, std::string> dayField(const std::string& text) {
    if (const auto day = Day::parseExisting(text)) return *day;
    if (Day::parse(text)) return fail("'" + text + "' isn't on the calendar, so check the day and month.");
    return fail("'" + text + "' isn't a day; write it as YYYY-MM-DD.");
}

std::optional<std::string> field(const DocumentProposal& proposal, std::string_view name) {
    const auto found = proposal.fields.find(std::string(name));
    if (found == proposal.fields.end() || found->second.empty()) return std::nullopt;
    return found->second;
}

// Fills a credential from the fields; the credential is a copy, so a refusal leaves the vault untouched.
Result<void, std::string> fillCredential(Credential& credential, const DocumentProposal& proposal) {
    if (const auto kind = field(proposal, "kind")) {
        if (!credentialKindFromRaw(*kind)) return fail("'" + *kind + "' isn't a credential kind.");
        credential.kind = *kind;
    }
    if (credential.kind.empty()) return fail("Say what kind of credential this is with --set kind=KIND.");
    if (const auto state = field(proposal, "state")) {
        const auto found = USState::find(*state);
        if (!found) return fail(notAState(*state));
        credential.state = std::string(found->code);
    }
    if (const auto number = field(proposal, "number")) credential.number = *number;
    if (const auto issued = field(proposal, "issuedOn")) {
        auto day = dayField(*issued);
        if (!day) return fail(day.error());
        credential.issuedOn = *day;
    }
    if (const auto expires = field(proposal, "expiresOn")) {
        auto day = dayField(*expires);
        if (!day) return fail(day.error());
        credential.expiresOn = *day;
    }
    if (credential.issuedOn && credential.expiresOn && *credential.expiresOn < *credential.issuedOn)
        return fail("The expiry comes before the issue date, so check both.");
    if (const auto title = field(proposal, "title")) credential.title = *title;
    if (const auto status = field(proposal, "boardStatus")) credential.boardStatus = *status;
    if (const auto type = field(proposal, "licenseType")) credential.licenseType = *type;
    if (const auto multistate = field(proposal, "multistate")) {
        if (*multistate != "true" && *multistate != "false") return fail("multistate is true or false.");
        credential.multistate = *multistate == "true";
        credential.isCompact = credential.multistate.value_or(false);
    }
    return {};
}

Result<void, std::string> fillActivity(CMEActivity& activity, const DocumentProposal& proposal, const Day& today) {
    const auto title = field(proposal, "title");
    if (!title) return fail("Give the activity a title with --set title=TEXT.");
    activity.title = *title;
    const auto hours = field(proposal, "hours");
    if (!hours) return fail("The document doesn't say its hours, so give them with --set hours=N.");
    auto parsed = parseCMEHours(*hours);
    if (!parsed) return fail(parsed.error());
    activity.hours = *parsed;
    const auto completed = field(proposal, "completedOn");
    if (!completed) return fail("The document doesn't say when it was completed, so give the day with --set completedOn=YYYY-MM-DD.");
    auto day = dayField(*completed);
    if (!day) return fail(day.error());
    if (auto problem = cmeCompletedProblem(*day, today)) return fail(*problem);
    activity.completedOn = *day;
    if (const auto provider = field(proposal, "provider")) activity.provider = *provider;
    if (const auto category = field(proposal, "category")) {
        if (!cmeCategoryFromRaw(*category)) return fail("'" + *category + "' isn't a CME category.");
        activity.category = *category;
    }
    if (const auto topics = field(proposal, "topics")) {
        std::istringstream list(*topics);
        activity.topics.clear();
        for (std::string topic; std::getline(list, topic, ',');)
            if (!topic.empty()) activity.topics.push_back(topic);
    }
    return {};
}

void attach(std::vector<std::string>& ids, const std::string& id) {
    if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
}

}  // namespace

std::string_view rawValue(DocumentProposal::Target target) {
    switch (target) {
    case DocumentProposal::Target::existingCredential: return "existingCredential";
    case DocumentProposal::Target::newCredential: return "newCredential";
    case DocumentProposal::Target::newActivity: return "newActivity";
    case DocumentProposal::Target::nothing: return "nothing";
    }
    return "nothing";
}

DocumentProposal DocumentProposal::make(const VaultDocument& vault, const DocumentRecord& document, const Guess& guess) {
    DocumentProposal proposal;
    proposal.documentId = document.id;
    proposal.personId = document.personId;
    auto put = [&](std::string_view name, const std::optional<std::string>& value) {
        if (value && !value->empty()) proposal.fields[std::string(name)] = *value;
    };
    auto putDay = [&](std::string_view name, const std::optional<Day>& day) {
        if (day) proposal.fields[std::string(name)] = day->toString();
    };
    if (guess.kind == DocumentKind::cme) {
        proposal.target = Target::newActivity;
        put("title", guess.title);
        if (guess.hours) proposal.fields["hours"] = hoursText(*guess.hours);
        putDay("completedOn", guess.issued ? guess.issued : guess.anyDate);
        put("provider", guess.provider);
        proposal.fields["category"] = categoryFor(asciiLower(document.text.value_or("")));
        std::string topics;
        for (const auto& topic : guess.topics) topics += (topics.empty() ? "" : ",") + topic;
        put("topics", topics);
        return proposal;
    }
    const auto kind = guess.credentialKind();
    if (!kind) return proposal;
    proposal.fields["kind"] = std::string(rawValue(*kind));
    put("state", guess.state);
    put("number", guess.number);
    putDay("issuedOn", guess.issued);
    putDay("expiresOn", guess.expires);
    if (guess.certification) put("title", guess.certification->title);
    put("boardStatus", guess.boardStatus);
    put("licenseType", guess.nurseLicenseType);
    if (guess.multistate) proposal.fields["multistate"] = "true";
    if (const Credential* existing = findCredential(vault, document.personId, guess, *kind)) {
        proposal.target = Target::existingCredential;
        proposal.credentialId = existing->id;
    } else {
        proposal.target = Target::newCredential;
    }
    return proposal;
}

std::vector<std::string_view> DocumentProposal::fieldNames() const {
    return target == Target::newActivity ? kActivityFields : kCredentialFields;
}

Result<void, std::string> DocumentProposal::set(const VaultDocument& vault, std::string_view assignment) {
    const auto equals = assignment.find('=');
    if (equals == std::string_view::npos || equals == 0)
        return fail("Write a correction as FIELD=VALUE, like expiresOn=2027-06-30.");
    const std::string name(assignment.substr(0, equals));
    const std::string value(assignment.substr(equals + 1));
    if (name == "record") {
        if (target == Target::newActivity || target == Target::nothing)
            return fail("Only a credential's document can be moved to another record.");
        if (value == "new") {
            target = Target::newCredential;
            credentialId.reset();
            return {};
        }
        const auto found = std::find_if(vault.credentials.begin(), vault.credentials.end(), [&](const Credential& c) {
            return !c.deleted && c.id == value && c.personId == personId;
        });
        if (found == vault.credentials.end()) return fail("No credential of this person has the id " + value + ".");
        target = Target::existingCredential;
        credentialId = value;
        return {};
    }
    if (target == Target::nothing && name == "kind") {
        target = Target::newCredential;
    }
    const auto names = fieldNames();
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        std::string allowed;
        for (const auto known : names) allowed += (allowed.empty() ? "" : ", ") + std::string(known);
        return fail("'" + name + "' isn't a field here; use one of " + allowed + ", or record.");
    }
    fields[name] = value;
    return {};
}

Result<std::optional<std::string>, std::string> acceptProposal(VaultDocument& vault, const DocumentProposal& proposal,
                                                               Timestamp now, const Day& today) {
    DocumentRecord* document = vault.liveDocument(proposal.documentId);
    if (!document) return fail("No document has the id " + proposal.documentId + ".");
    std::optional<std::string> filled;
    switch (proposal.target) {
    case DocumentProposal::Target::nothing:
        break;
    case DocumentProposal::Target::existingCredential: {
        const auto found = std::find_if(vault.credentials.begin(), vault.credentials.end(), [&](const Credential& c) {
            return !c.deleted && proposal.credentialId && c.id == *proposal.credentialId;
        });
        if (found == vault.credentials.end()) return fail("The credential this document belonged to is gone.");
        Credential updated = *found;
        if (auto problem = fillCredential(updated, proposal); !problem) return fail(problem.error());
        attach(updated.documentIds, document->id);
        updated.updatedAt = now;
        *found = std::move(updated);
        filled = found->id;
        break;
    }
    case DocumentProposal::Target::newCredential: {
        Credential created;
        created.id = newUUID();
        created.personId = proposal.personId;
        if (auto problem = fillCredential(created, proposal); !problem) return fail(problem.error());
        created.documentIds.push_back(document->id);
        created.updatedAt = now;
        filled = created.id;
        vault.credentials.push_back(std::move(created));
        break;
    }
    case DocumentProposal::Target::newActivity: {
        CMEActivity created;
        created.id = newUUID();
        created.personId = proposal.personId;
        if (auto problem = fillActivity(created, proposal, today); !problem) return fail(problem.error());
        created.documentIds.push_back(document->id);
        created.updatedAt = now;
        filled = created.id;
        vault.cme.push_back(std::move(created));
        break;
    }
    }
    document->needsReview = false;
    document->updatedAt = now;
    if (proposal.target == DocumentProposal::Target::newActivity) document->kind = "cme";
    else if (const auto kind = field(proposal, "kind"))
        document->kind = std::string(rawValue(documentKindFor(credentialKindFromRaw(*kind))));
    return filled;
}

}  // namespace corvale

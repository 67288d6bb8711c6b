// doc add, read, review, list and duplicates: documents stored, read on this machine and filed.

#include "cli/CommandContext.h"
#include "documents/reading/DocumentDuplicates.h"
#include "documents/reading/DocumentForReview.h"
#include "documents/reading/DocumentParser.h"
#include "documents/reading/DocumentProposal.h"
#include "documents/reading/GuessJSON.h"
#include "records/EntryRules.h"
#include "records/JSONWriter.h"
#include "vault/DocumentFiling.h"
#include "records/USState.h"
#include "requirements/CredentialRenewal.h"

#include <iomanip>
#include <sstream>

namespace corvale::cli {
namespace {

void line(std::ostream& out, std::string_view label, const std::optional<std::string>& value) {
    if (value) out << std::left << std::setw(14) << (std::string(label) + ":") << *value << '\n';
}

std::optional<std::string> dayText(const std::optional<Day>& day) {
    return day ? std::optional(day->formatted()) : std::nullopt;
}

std::optional<std::string> hoursText(const std::optional<double>& hours) {
    if (!hours) return std::nullopt;
    std::ostringstream text;
    text << std::setprecision(6) << *hours;
    return text.str();
}

std::string credentialName(const Credential& credential) {
    return renewTitle(credential) + (credential.number ? " " + *credential.number : std::string());
}

JSONObject proposalJSON(const DocumentProposal& proposal, const DocumentRecord& document) {
    JSONObject object{{"documentId", proposal.documentId},
                      {"target", std::string(rawValue(proposal.target))},
                      {"needsReview", document.needsReview}};
    putIfPresent(object, "credentialId", proposal.credentialId);
    JSONObject fields;
    for (const auto& [name, value] : proposal.fields) fields.emplace(name, value);
    object.emplace("fields", std::move(fields));
    return object;
}

void printProposal(std::ostream& out, const DocumentProposal& proposal, const VaultDocument& vault) {
    switch (proposal.target) {
    case DocumentProposal::Target::existingCredential:
        for (const auto& credential : vault.credentials)
            if (credential.id == proposal.credentialId)
                out << "Proposed: file it with " << credentialName(credential) << " (" << credential.id
                    << "), updating what is below\n";
        break;
    case DocumentProposal::Target::newCredential: out << "Proposed: a new credential\n"; break;
    case DocumentProposal::Target::newActivity: out << "Proposed: a new CME activity\n"; break;
    case DocumentProposal::Target::nothing: out << "Proposed: keep it as a document of its own\n"; break;
    }
    for (const auto name : proposal.fieldNames()) {
        const auto value = proposal.fields.find(std::string(name));
        if (value != proposal.fields.end()) out << "  " << std::left << std::setw(12) << name << ' ' << value->second << '\n';
    }
    out << "Confirm with: corvale doc review " << proposal.documentId << " --accept [--set FIELD=VALUE]...\n";
}

Result<DocumentProposal, std::string> proposalFor(const VaultDocument& vault, const DocumentRecord& document,
                                                  const std::vector<std::string>& corrections) {
    const Guess guess = DocumentParser::parse(document.text.value_or(""), document.filename);
    DocumentProposal proposal = DocumentProposal::make(vault, document, guess);
    for (const auto& correction : corrections)
        if (auto set = proposal.set(vault, correction); !set) return fail(set.error());
    return proposal;
}

}  // namespace

int runDocumentAdd(Session& session, const DocumentOptions& options) {
    VaultStore store(session.setup);
    auto owner = openForNewRecord(session, store, options.person);
    if (!owner) return session.failed(owner.error());
    auto bytes = session.setup.files.readFile(options.file);
    if (!bytes) return session.failed(bytes.error().message());
    if (auto empty = storedFileProblem(options.file.filename().string(), bytes->size())) return session.failed(*empty);
    std::optional<std::string> text;
    if (options.read) {
        // Read before storing: a file that is no document is refused and nothing is kept.
        auto read = session.recognizer.read(*bytes);
        if (!read) return session.failed(read.error().message());
        text = std::move(read->text);
    }
    auto added = store.addDocument(
        *bytes, documentRecordFor(*owner, options.file.filename().string(), session.now(), std::move(text), options.kind));
    if (!added) return session.failed(added.error());
    if (auto flushed = store.flush(); !flushed) return session.failed(flushed.error());
    session.out << added->id << '\n';
    if (options.read) {
        auto proposal = proposalFor(store.doc(), *added, {});
        if (proposal) printProposal(session.out, *proposal, store.doc());
    }
    return kSucceeded;
}

int runDocumentReview(Session& session, const DocumentReviewOptions& options, bool json) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) return session.failed(opened.error());
    const DocumentRecord* document = store.doc().liveDocument(options.id);
    if (!document) return session.failed("No document has the id " + options.id + ".");
    auto proposal = proposalFor(store.doc(), *document, options.corrections);
    if (!proposal) return session.usage(proposal.error());
    if (!options.accept) {
        if (json) session.out << writeJSON(proposalJSON(*proposal, *document)) << '\n';
        else printProposal(session.out, *proposal, store.doc());
        return kSucceeded;
    }
    auto filed = confirmProposal(store, *proposal, session.now(), Day::today());
    if (!filed) return session.failed(filed.error());
    const std::optional<std::string> filled = *filed;
    if (auto flushed = store.flush(); !flushed) return session.failed(flushed.error());
    session.out << (filled ? "Filed with " + *filled : std::string("Reviewed; it stays a document of its own")) << '\n';
    return kSucceeded;
}

int runDocumentList(Session& session, bool needsReview, bool json) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) return session.failed(opened.error());
    JSONValue::Array list;
    for (const auto& document : store.doc().documents) {
        if (document.deleted || (needsReview && !document.needsReview)) continue;
        if (json) {
            JSONObject object{{"id", document.id},           {"personId", document.personId},
                              {"filename", document.filename}, {"addedAt", document.addedAt.toString()},
                              {"needsReview", document.needsReview}};
            putIfPresent(object, "kind", document.kind);
            list.emplace_back(std::move(object));
            continue;
        }
        const auto kind = document.kind ? documentKindFromRaw(*document.kind) : std::nullopt;
        session.out << document.id << "  " << document.filename << "  "
                    << (kind ? displayName(*kind) : std::string_view("Unfiled")) << "  "
                    << Day::local(document.addedAt.time).toString()
                    << (document.needsReview ? "  needs review" : "") << '\n';
    }
    if (json) session.out << writeJSON(list) << '\n';
    return kSucceeded;
}

int runDocumentDuplicates(Session& session, bool remove) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) return session.failed(opened.error());
    if (!remove) {
        const auto copies = DocumentDuplicates::copies(store.doc().documents);
        for (const auto& [id, copy] : copies) {
            const DocumentRecord* duplicate = store.doc().liveDocument(id);
            session.out << duplicate->filename << " (" << id << ") is a copy of " << copy.originalName << " ("
                        << copy.originalId << "): "
                        << (copy.reason == DocumentDuplicates::Reason::sameFile ? "the same file" : "the same text")
                        << '\n';
        }
        if (copies.empty()) session.out << "No document is stored twice.\n";
        return kSucceeded;
    }
    std::size_t removed = 0;
    auto changed = store.change([&](VaultDocument& vault) { removed = DocumentDuplicates::remove(vault, session.now()); });
    if (!changed) return session.failed(changed.error());
    if (auto flushed = store.flush(); !flushed) return session.failed(flushed.error());
    session.out << DocumentDuplicates::removedSentence(removed) << '\n';
    return kSucceeded;
}

int runDocumentRead(Session& session, const std::filesystem::path& file, bool json) {
    auto bytes = session.setup.files.readFile(file);
    if (!bytes) return session.failed(bytes.error().message());
    auto read = session.recognizer.read(*bytes);
    if (!read) return session.failed(read.error().message());
    const Guess guess = DocumentParser::parse(read->text, file.filename().string());
    if (json) {
        JSONObject object = guessJSON(guess);
        object.emplace("pages", read->pages);
        object.emplace("fromTextLayer", read->fromTextLayer);
        object.emplace("text", read->text);
        session.out << writeJSON(object) << '\n';
        return kSucceeded;
    }
    auto& out = session.out;
    line(out, "Kind", std::string(displayName(guess.kind)));
    if (guess.isVerificationReport) line(out, "Source", std::string("a board's online verification"));
    line(out, "State", guess.state ? std::optional(USState::nameOf(*guess.state) + " (" + *guess.state + ")")
                                   : std::nullopt);
    line(out, "Number", guess.number);
    line(out, "Licence type", guess.nurseLicenseType);
    if (guess.multistate) line(out, "Compact", std::string("multistate licence"));
    line(out, "Issued", dayText(guess.issued));
    line(out, "Expires", dayText(guess.expires));
    if (!guess.issued && !guess.expires) line(out, "Date", dayText(guess.anyDate));
    line(out, "Hours", hoursText(guess.hours));
    line(out, "Title", guess.title);
    line(out, "Provider", guess.provider);
    line(out, "Status", guess.boardStatus);
    if (guess.certification) line(out, "Certification", guess.certification->title);
    std::string topics;
    for (const auto& topic : guess.topics) topics += (topics.empty() ? "" : ", ") + session.requirements.topicName(topic);
    if (!topics.empty()) line(out, "Topics", topics);
    out << '\n'
        << (read->fromTextLayer ? "The PDF's own text" : "Recognised text") << " (" << read->pages
        << (read->pages == 1 ? " page" : " pages") << "):\n";
    std::istringstream lines(read->text);
    for (std::string text; std::getline(lines, text);) out << "  " << text << '\n';
    return kSucceeded;
}

}  // namespace corvale::cli

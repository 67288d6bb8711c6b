#pragma once
// What a read document proposes to the vault: the record it belongs to (a credential already there, a
// new credential or a new CME activity) and the fields to fill from it. Nothing in the vault changes
// until the proposal is accepted.

#include "documents/reading/Guess.h"
#include "platform/Result.h"
#include "records/Timestamp.h"
#include "records/VaultDocument.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

struct DocumentProposal {
    enum class Target { existingCredential, newCredential, newActivity, nothing };

    Target target = Target::nothing;
    std::string documentId;
    std::string personId;
    std::optional<std::string> credentialId;  // the credential the document belongs to, when it is there already
    // Field values as text, under the record's own field names (kind, state, number, issuedOn, expiresOn,
    // title, boardStatus, multistate, licenseType for a credential; title, hours, completedOn, provider,
    // category, topics for an activity).
    std::map<std::string, std::string> fields;

    // The person's live credentials are searched for the one the document is a copy of: the same kind and
    // number, else the same kind and state, else the only one of its kind where a person holds one.
    static DocumentProposal make(const VaultDocument& vault, const DocumentRecord& document, const Guess& guess);

    // A correction typed as FIELD=VALUE; "record=new" or "record=<credential id>" changes the target.
    Result<void, std::string> set(const VaultDocument& vault, std::string_view assignment);
    std::vector<std::string_view> fieldNames() const;
};

std::string_view rawValue(DocumentProposal::Target target);

// Confirms the proposal: creates or updates the record with the fields, attaches the document to it and
// clears the document's needsReview. Every field is checked before anything changes, so a refused value
// leaves the vault as it was. Answers the id of the record filled, or none when the document belongs to
// no record.
Result<std::optional<std::string>, std::string> acceptProposal(VaultDocument& vault, const DocumentProposal& proposal,
                                                               Timestamp now, const Day& today);

}  // namespace corvale

#pragma once
// Confirming what a read document proposes, through the store, for the command line and the window alike.

#include "documents/reading/DocumentProposal.h"
#include "vault/VaultStore.h"

namespace corvale {

// Files the document as the proposal says and saves it. A refused value, or a store that is not ready,
// leaves the records and the vault file as they were. Answers the id of the record filled, if any.
Result<std::optional<std::string>, std::string> confirmProposal(VaultStore& store, const DocumentProposal& proposal,
                                                                Timestamp now, const Day& today);

}  // namespace corvale

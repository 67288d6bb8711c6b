#include "vault/DocumentFiling.h"

namespace corvale {

Result<std::optional<std::string>, std::string> confirmProposal(VaultStore& store, const DocumentProposal& proposal,
                                                                Timestamp now, const Day& today) {
    if (store.phase() != VaultPhase::ready) return fail(VaultError::locked().message());
    // Tried on a copy: the store saves whatever an edit touches, and a refusal must not reach the disk.
    VaultDocument filed = store.doc();
    auto accepted = acceptProposal(filed, proposal, now, today);
    if (!accepted) return fail(accepted.error());
    if (auto changed = store.change([&](VaultDocument& vault) { vault = std::move(filed); }); !changed)
        return fail(changed.error().message());
    return *accepted;
}

}  // namespace corvale

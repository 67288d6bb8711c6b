#pragma once
// The whole vault: one root value that is encoded as JSON and sealed.

#include "records/CMEActivity.h"
#include "records/Credential.h"
#include "records/DocumentRecord.h"
#include "records/HealthRecord.h"
#include "records/JSONValue.h"
#include "records/Packet.h"
#include "records/Person.h"
#include "records/RecordError.h"
#include "records/VaultSettings.h"
#include "platform/Bytes.h"
#include "platform/Result.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

inline constexpr std::string_view kVaultDocumentFormat = "pembrose-vault";
inline constexpr int kVaultDocumentVersion = 1;

struct VaultDocument {
    std::string format{kVaultDocumentFormat};
    int version = kVaultDocumentVersion;
    std::string vaultId;
    std::vector<Person> people;
    std::vector<Credential> credentials;
    std::vector<CMEActivity> cme;
    std::vector<DocumentRecord> documents;
    std::vector<Packet> packets;
    std::vector<HealthRecord> healthRecords;
    VaultSettings settings;
    JSONObject extra;

    // A new vault: fresh vaultId, empty lists, default settings.
    static VaultDocument makeEmpty();

    // The document with this id that is not deleted, or null.
    const DocumentRecord* liveDocument(std::string_view id) const;
    DocumentRecord* liveDocument(std::string_view id);
};

// Sorted keys, absent optionals left out, unknown keys written back.
std::string encodeVaultDocument(const VaultDocument& document);

// The parser may read this many bytes past the end of the text. A caller
// whose buffer has that much spare capacity beyond the text saves a copy of
// the whole document.
inline constexpr std::size_t kJSONReadPadding = 64;

// Lenient where it can be: a bad element of a person's nested lists is
// dropped, numbers may arrive as text, a wrongly typed optional reads as
// absent. A top-level record missing what it cannot do without fails the
// whole document rather than being dropped and lost on the next save.
Result<VaultDocument, RecordError> decodeVaultDocument(std::string_view json, std::size_t spareCapacity = 0);

// The same for plain text just unsealed, which is wiped and released once read.
Result<VaultDocument, RecordError> decodeVaultDocument(Bytes&& plainJSON);

}  // namespace corvale

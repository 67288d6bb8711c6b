#pragma once
// Files the user brings into the vault and copies they open from it, the same
// way from every editor that attaches them.

#include "platform/Result.h"
#include "records/DocumentRecord.h"

#include <QString>

#include <optional>
#include <string>
#include <string_view>

namespace corvale {
class VaultStore;
}  // namespace corvale

namespace corvale::app {

// Reads the file and stores it sealed as a document of this person and kind.
// Fails with the sentence to show; nothing is stored then.
Result<DocumentRecord, QString> storeFile(VaultStore& store, const QString& path, std::string personId,
                                          std::string_view kind);

// Opens a plain copy in the desktop's program for its type; absent when it
// opened, otherwise why it could not.
std::optional<QString> openStoredDocument(VaultStore& store, const std::string& documentId);

}  // namespace corvale::app

#pragma once
// Files the user brings into the vault and copies they open from it, the same
// way from every editor that attaches them.

#include "platform/Result.h"
#include "records/DocumentRecord.h"

#include <QString>

#include <functional>

#include <optional>
#include <string>
#include <string_view>

class QUrl;
class QWidget;

namespace corvale {
class VaultStore;
}  // namespace corvale

namespace corvale::app {

// Reads the file and stores it sealed as a document of this person and kind.
// Fails with the sentence to show; nothing is stored then.
Result<DocumentRecord, QString> storeFile(VaultStore& store, const QString& path, std::string personId,
                                          std::string_view kind);

// Why a stored copy did not open; with no program for it, saving a copy
// elsewhere is the way out.
struct OpenFailure {
    QString sentence;
    bool noViewer = false;
};

// Opens a plain copy in the desktop's program for its type; absent when it
// opened, otherwise why it could not.
std::optional<OpenFailure> openStoredDocument(VaultStore& store, const std::string& documentId);

// How a plain copy is handed to the desktop; tests put in their own. An
// empty function restores the desktop's own.
void setFileOpener(std::function<bool(const QUrl&)> opener);

// Asks where to keep a copy (a dialog of `parent` that does not block), then
// writes it there through the store, whole or not at all; `done` gets why it
// could not, or nothing once it is saved.
void offerToSaveCopy(QWidget* parent, VaultStore& store, const std::string& documentId, const QString& filename,
                     std::function<void(const std::optional<QString>& problem)> done);
// The writing half of it, for a path already chosen.
std::optional<QString> saveCopyTo(VaultStore& store, const std::string& documentId, const QString& path);

}  // namespace corvale::app

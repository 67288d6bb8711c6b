#include "app/StoredFiles.h"

#include "records/EntryRules.h"
#include "vault/VaultStore.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QObject>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <utility>

namespace corvale::app {

Result<DocumentRecord, QString> storeFile(VaultStore& store, const QString& path, std::string personId,
                                          std::string_view kind) {
    const QString filename = QFileInfo(path).fileName();
    QFile file(path);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly)) bytes = file.readAll();
    if (!file.isOpen() || file.error() != QFileDevice::NoError)
        return fail(QObject::tr("%1 couldn't be read, so nothing was attached.").arg(filename));
    if (auto empty = storedFileProblem(filename.toStdString(), static_cast<std::size_t>(bytes.size())))
        return fail(QString::fromStdString(*empty));

    DocumentRecord record;
    record.personId = std::move(personId);
    record.filename = filename.toStdString();
    record.contentType = QMimeDatabase().mimeTypeForFile(path).name().toStdString();
    record.kind = std::string(kind);
    auto stored = store.addDocument(
        ByteView(reinterpret_cast<const std::uint8_t*>(bytes.constData()), static_cast<std::size_t>(bytes.size())),
        std::move(record));
    if (!stored) return fail(QString::fromStdString(stored.error().message()));
    return std::move(stored).value();
}

namespace {

std::function<bool(const QUrl&)>& fileOpener() {
    static std::function<bool(const QUrl&)> opener;
    return opener;
}

}  // namespace

void setFileOpener(std::function<bool(const QUrl&)> opener) { fileOpener() = std::move(opener); }

std::optional<OpenFailure> openStoredDocument(VaultStore& store, const std::string& documentId) {
    const auto copy = store.temporaryFile(documentId);
    if (!copy) return OpenFailure{QString::fromStdString(copy.error().message())};
    const QUrl url = QUrl::fromLocalFile(QString::fromStdString(copy->string()));
    const bool opened = fileOpener() ? fileOpener()(url) : QDesktopServices::openUrl(url);
    if (!opened) {
        return OpenFailure{
            QObject::tr("No program here opens this kind of file, so save a copy and open it elsewhere."), true};
    }
    return std::nullopt;
}

std::optional<QString> saveCopyTo(VaultStore& store, const std::string& documentId, const QString& path) {
    if (auto saved = store.saveDocumentCopy(documentId, path.toStdString()); !saved)
        return QString::fromStdString(saved.error().message());
    return std::nullopt;
}

void offerToSaveCopy(QWidget* parent, VaultStore& store, const std::string& documentId, const QString& filename,
                     std::function<void(const std::optional<QString>& problem)> done) {
    auto* dialog = new QFileDialog(parent, QObject::tr("Save a copy"), QDir::home().filePath(filename));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(dialog, &QFileDialog::fileSelected, parent,
                     [&store, documentId, done = std::move(done)](const QString& path) {
                         done(saveCopyTo(store, documentId, path));
                     });
    dialog->open();
}

}  // namespace corvale::app

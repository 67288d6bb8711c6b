#include "app/StoredFiles.h"

#include "records/EntryRules.h"
#include "vault/VaultStore.h"

#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QObject>
#include <QUrl>

#include <cstdint>
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

std::optional<QString> openStoredDocument(VaultStore& store, const std::string& documentId) {
    const auto copy = store.temporaryFile(documentId);
    if (!copy) return QString::fromStdString(copy.error().message());
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(copy->string()))))
        return QObject::tr("No program here opens this kind of file.");
    return std::nullopt;
}

}  // namespace corvale::app

// Backups: one archive holding the key file, the sealed document and the
// sealed blobs exactly as they lie on disk, so nothing is decrypted to make it.
#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"
#include "vault/KeyFile.h"
#include "vault/VaultStore.h"

#include <future>
#include <set>

namespace corvale {

namespace {

constexpr std::string_view kBlobsPrefix = "blobs/";
constexpr std::string_view kBackupFolder = "PembrosePreview";

Failure<VaultError> archiveFailure(const ArchiveError& error) { return fail(VaultError::archive(error.message())); }

std::string backupFileName(const Day& today) { return "Corvale Backup " + today.toString() + ".pbbackup"; }

}  // namespace

Result<std::filesystem::path, VaultError> VaultStore::exportBackup(std::string_view passphrase,
                                                                   std::optional<std::filesystem::path> destination) {
    if (m_key.empty()) return fail(VaultError::keyMissing());
    if (auto ready = requireReady(); !ready) return fail(ready.error());

    std::filesystem::path path;
    if (destination) {
        path = *destination;
    } else {
        const auto folder = m_setup.temporaryDirectory / kBackupFolder;
        if (auto made = m_setup.files.createDirectories(folder); !made) return fail(VaultError::storage(made.error()));
        path = folder / backupFileName(Day::local(m_setup.clock.now()));
    }

    // The passphrase derivation is deliberately slow: it runs on another core
    // while the documents stream in, and the key file is added last.
    const std::string passphraseCopy(passphrase);
    auto keyFile = std::async(std::launch::async, [&, passphraseCopy] {
        return KeyFile::make(m_key, passphraseCopy, m_doc.vaultId, m_setup.clock);
    });
    VaultFiles vault = files(m_key.clone());
    auto sealed = vault.sealedDocument(m_doc);
    if (!sealed) return fail(sealed.error());

    auto writer = ZipFileWriter::create(path);
    if (!writer) return archiveFailure(writer.error());
    if (auto added = writer->add(VaultFiles::kDocumentFileName, *sealed); !added) return archiveFailure(added.error());
    sealed->clear();
    sealed->shrink_to_fit();

    // Each live document's blob once, whatever number of records point at it; one blob in memory at a time.
    std::set<std::string> written;
    for (const auto& record : m_doc.documents) {
        if (record.deleted || !VaultFiles::isBlobHash(record.blobHash) || !written.insert(record.blobHash).second)
            continue;
        const std::string name = record.blobHash + std::string(VaultFiles::kBlobExtension);
        const auto source = vault.blobsDirectory() / name;
        if (m_setup.files.isNative()) {
            if (auto added = writer->addFile(std::string(kBlobsPrefix) + name, source); !added)
                return archiveFailure(added.error());
            continue;
        }
        auto blob = m_setup.files.readFile(source);
        if (!blob) return fail(VaultError::storage(blob.error()));
        if (auto added = writer->add(std::string(kBlobsPrefix) + name, *blob); !added)
            return archiveFailure(added.error());
    }
    auto made = keyFile.get();
    if (!made) return fail(made.error());
    const std::string keyJSON = made->toJSON();
    if (auto added = writer->add(kKeyFileName, asBytes(keyJSON)); !added) return archiveFailure(added.error());
    if (auto finished = writer->finish(); !finished) return archiveFailure(finished.error());
    (void)m_prefs.setTimestamp(Prefs::kLastBackup, Timestamp::now(m_setup.clock));
    return path;
}

Result<void, VaultError> VaultStore::restoreBackup(const std::filesystem::path& archive, std::string_view passphrase) {
    if (auto started = start(); !started) return started;
    if (m_phase == VaultPhase::ready || m_phase == VaultPhase::locked) return fail(VaultError::vaultExists());

    auto reader = ZipFileReader::open(archive);
    if (!reader) return archiveFailure(reader.error());
    const ZipEntry* keyEntry = nullptr;
    const ZipEntry* documentEntry = nullptr;
    std::vector<const ZipEntry*> blobs;
    for (const auto& entry : reader->entries()) {
        if (entry.name == kKeyFileName) keyEntry = &entry;
        if (entry.name == VaultFiles::kDocumentFileName) documentEntry = &entry;
        if (entry.name.starts_with(kBlobsPrefix)) {
            // Only names a blob can have: nothing in an archive may choose where it lands.
            if (VaultFiles::isBlobFileName(std::string_view(entry.name).substr(kBlobsPrefix.size())))
                blobs.push_back(&entry);
        }
    }
    if (!keyEntry || !documentEntry) return fail(VaultError::badFormat());

    auto keyText = reader->read(*keyEntry);
    if (!keyText) return fail(VaultError::badFormat());
    auto keyFile = KeyFile::parse(asText(*keyText));
    if (!keyFile) return fail(keyFile.error());
    auto key = keyFile->open(passphrase);
    if (!key) return fail(key.error());  // a wrong passphrase stops here, before anything is written
    auto sealed = reader->read(*documentEntry);
    if (!sealed) return archiveFailure(sealed.error());
    return install(std::move(key).value(), *sealed, [&](const std::filesystem::path& folder) -> Result<void, VaultError> {
        if (m_setup.files.isNative()) {
            // Straight from the archive to disk, one chunk in memory; the
            // folder is flushed once, before the document makes the vault real.
            for (const ZipEntry* entry : blobs) {
                const auto name = entry->name.substr(kBlobsPrefix.size());
                if (auto copied = reader->copyTo(*entry, folder / name, ZipFileReader::FolderFlush::deferred); !copied)
                    return archiveFailure(copied.error());
            }
            ZipFileReader::flushFolder(folder);
            return {};
        }
        for (const ZipEntry* entry : blobs) {
            auto blob = reader->read(*entry);
            if (!blob) return archiveFailure(blob.error());
            const auto name = entry->name.substr(kBlobsPrefix.size());
            if (auto written = m_setup.files.replaceFileAtomically(folder / name, *blob); !written)
                return fail(VaultError::storage(written.error()));
        }
        return {};
    });
}

}  // namespace corvale

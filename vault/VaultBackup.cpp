// Backups: one archive holding the key file, the sealed document and the
// sealed blobs exactly as they lie on disk, so nothing is decrypted to make it.
#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"
#include "platform/Crypto.h"
#include "vault/KeyFile.h"
#include "vault/Sealer.h"
#include "vault/VaultStore.h"

#include <future>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace corvale {

namespace {

constexpr std::string_view kBlobsPrefix = "blobs/";
constexpr std::string_view kBackupFolder = "PembrosePreview";

Failure<VaultError> archiveFailure(const ArchiveError& error) { return fail(VaultError::archive(error.message())); }

std::string backupFileName(const Day& today) { return "Corvale Backup " + today.toString() + ".pbbackup"; }

Failure<VaultError> damagedBackup() { return archiveFailure(ArchiveError::make(ArchiveError::Code::damaged)); }

// What every reading of a backup starts from: its directory, where the parts
// that matter lie in it, and the vault key its passphrase opens.
struct OpenedBackup {
    ZipFileReader reader;
    std::size_t document = 0;        // index into reader.entries()
    std::vector<std::size_t> blobs;  // likewise, only entries named like a blob
    SecureBytes key;
};

Result<OpenedBackup, VaultError> openBackup(const std::filesystem::path& archive, std::string_view passphrase) {
    auto reader = ZipFileReader::open(archive);
    if (!reader) return archiveFailure(reader.error());
    std::optional<std::size_t> keyEntry;
    std::optional<std::size_t> documentEntry;
    std::vector<std::size_t> blobs;
    const auto& entries = reader->entries();
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const std::string& name = entries[index].name;
        if (name == VaultStore::kKeyFileName) keyEntry = index;
        if (name == VaultFiles::kDocumentFileName) documentEntry = index;
        // Only names a blob can have: nothing in an archive may choose where it lands.
        if (name.starts_with(kBlobsPrefix) &&
            VaultFiles::isBlobFileName(std::string_view(name).substr(kBlobsPrefix.size())))
            blobs.push_back(index);
    }
    if (!keyEntry || !documentEntry) return fail(VaultError::badFormat());

    auto keyText = reader->read(entries[*keyEntry]);
    if (!keyText) return fail(VaultError::badFormat());
    auto keyFile = KeyFile::parse(asText(*keyText));
    if (!keyFile) return fail(keyFile.error());
    auto key = keyFile->open(passphrase);
    if (!key) return fail(key.error());
    return OpenedBackup{std::move(reader).value(), *documentEntry, std::move(blobs), std::move(key).value()};
}

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
    // while the documents stream in, and the key file is added last. The view
    // needs no copy: the future's destructor waits for the derivation on every
    // return path, so the caller's (wiping) buffer outlives it.
    auto keyFile = std::async(std::launch::async, [&, passphrase] {
        return KeyFile::make(m_key, passphrase, m_doc.vaultId, m_setup.clock);
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

    auto backup = openBackup(archive, passphrase);
    if (!backup) return fail(backup.error());  // a wrong passphrase stops here, before anything is written
    const ZipFileReader& reader = backup->reader;
    const auto& entries = reader.entries();
    auto sealed = reader.read(entries[backup->document]);
    if (!sealed) return archiveFailure(sealed.error());
    return install(std::move(backup->key), *sealed, [&](const std::filesystem::path& folder) -> Result<void, VaultError> {
        if (m_setup.files.isNative()) {
            // Straight from the archive to disk, one chunk in memory; the
            // folder is flushed once, before the document makes the vault real.
            for (const std::size_t index : backup->blobs) {
                const ZipEntry& entry = entries[index];
                const auto name = entry.name.substr(kBlobsPrefix.size());
                if (auto copied = reader.copyTo(entry, folder / name, ZipFileReader::FolderFlush::deferred); !copied)
                    return archiveFailure(copied.error());
            }
            ZipFileReader::flushFolder(folder);
            return {};
        }
        for (const std::size_t index : backup->blobs) {
            const ZipEntry& entry = entries[index];
            auto blob = reader.read(entry);
            if (!blob) return archiveFailure(blob.error());
            const auto name = entry.name.substr(kBlobsPrefix.size());
            if (auto written = m_setup.files.replaceFileAtomically(folder / name, *blob); !written)
                return fail(VaultError::storage(written.error()));
        }
        return {};
    });
}

Result<void, VaultError> VaultStore::checkBackup(const std::filesystem::path& archive,
                                                 std::string_view passphrase) const {
    auto backup = openBackup(archive, passphrase);
    if (!backup) return fail(backup.error());
    const ZipFileReader& reader = backup->reader;
    const auto& entries = reader.entries();
    auto sealed = reader.read(entries[backup->document]);
    if (!sealed) return archiveFailure(sealed.error());
    // Checksums only catch accidents; the key proves each part is what this backup sealed.
    {
        auto plain = Sealer::open(*sealed, backup->key.view());
        if (!plain) return damagedBackup();
        if (!decodeVaultDocument(std::move(*plain))) return damagedBackup();
    }
    for (const std::size_t index : backup->blobs) {
        const ZipEntry& entry = entries[index];
        auto blob = reader.read(entry);
        if (!blob) return archiveFailure(blob.error());
        auto plain = Sealer::open(*blob, backup->key.view());
        if (!plain) return damagedBackup();
        const std::string_view name = std::string_view(entry.name).substr(kBlobsPrefix.size());
        // A blob under another's name would restore as the wrong document.
        const bool named = name.starts_with(crypto::hexLower(crypto::sha256(*plain)));
        secureWipe(plain->data(), plain->size());
        if (!named) return damagedBackup();
    }
    return {};
}

}  // namespace corvale

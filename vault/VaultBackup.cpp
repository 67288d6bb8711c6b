// Backups: one archive holding the key file, the sealed document and the
// sealed blobs exactly as they lie on disk, so nothing is decrypted to make it.
#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"
#include "platform/Crypto.h"
#include "vault/KeyFile.h"
#include "vault/PlainCopies.h"
#include "vault/Sealer.h"
#include "vault/VaultStore.h"

#include <algorithm>
#include <future>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace corvale {

namespace {

constexpr std::string_view kBlobsPrefix = "blobs/";

Failure<VaultError> archiveFailure(const ArchiveError& error) { return fail(VaultError::archive(error.message())); }

std::string backupFileName(const Day& today) { return "Corvale Backup " + today.toString() + ".pbbackup"; }

Failure<VaultError> damagedBackup() { return archiveFailure(ArchiveError::make(ArchiveError::Code::damaged)); }

// What every reading of a backup starts from: a consistent archive, the key
// its passphrase opens, its sealed document, and its blobs by hash.
struct OpenedBackup {
    ZipFileReader reader;
    SecureBytes key;
    Bytes sealedDocument;
    std::set<std::string> referenced;          // by live records of the document
    std::map<std::string, std::size_t> blobs;  // hash to index into reader.entries()
};

Result<Bytes, VaultError> readEntry(const ZipFileReader& reader, const ZipEntry& entry, std::uint64_t limit) {
    if (entry.size > limit) return damagedBackup();
    auto bytes = reader.read(entry);
    if (!bytes) return archiveFailure(bytes.error());
    return std::move(bytes).value();
}

Result<OpenedBackup, VaultError> openBackup(const std::filesystem::path& archive, std::string_view passphrase) {
    auto reader = ZipFileReader::openChecked(archive);
    if (!reader) return archiveFailure(reader.error());
    std::optional<std::size_t> keyEntry;
    std::optional<std::size_t> documentEntry;
    std::map<std::string, std::size_t> blobs;
    std::set<std::string_view> names;
    bool strayBlob = false;
    const auto& entries = reader->entries();
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const std::string& name = entries[index].name;
        // One name, one meaning: a repeated name would let two readers see two backups.
        if (!names.insert(name).second) return damagedBackup();
        if (name == VaultStore::kKeyFileName) keyEntry = index;
        if (name == VaultFiles::kDocumentFileName) documentEntry = index;
        if (!name.starts_with(kBlobsPrefix)) continue;
        // Only names a blob can have: nothing in an archive may choose where it lands.
        const std::string_view file = std::string_view(name).substr(kBlobsPrefix.size());
        if (VaultFiles::isBlobFileName(file))
            blobs.emplace(std::string(file.substr(0, file.size() - VaultFiles::kBlobExtension.size())), index);
        else
            strayBlob = true;
    }
    if (!keyEntry || !documentEntry) return fail(VaultError::badFormat());

    if (entries[*keyEntry].size > VaultFiles::kKeyFileMaxBytes) return fail(VaultError::badFormat());
    const auto keyText = reader->read(entries[*keyEntry]);
    if (!keyText) return fail(VaultError::badFormat());
    auto keyFile = KeyFile::parse(asText(*keyText));
    if (!keyFile) return fail(keyFile.error());
    auto key = keyFile->open(passphrase);
    if (!key) return fail(key.error());  // a wrong passphrase stops here, before anything is written

    auto sealed = readEntry(*reader, entries[*documentEntry], VaultFiles::kDocumentMaxBytes);
    if (!sealed) return fail(sealed.error());
    std::set<std::string> referenced;
    {
        // Checksums only catch accidents; the key proves the document is what this backup sealed.
        auto plain = Sealer::open(*sealed, key->view(), kJSONReadPadding);
        if (!plain) return damagedBackup();
        auto document = decodeVaultDocument(std::move(*plain));
        if (!document) return damagedBackup();
        referenced = VaultFiles::referencedBlobs(*document);
    }
    // Exactly the blobs the document refers to: one it does not would be
    // installed for nothing, one it lacks would leave a record pointing at nothing.
    if (strayBlob || blobs.size() != referenced.size()) return damagedBackup();
    for (const auto& hash : referenced) {
        if (!blobs.contains(hash)) return damagedBackup();
    }
    return OpenedBackup{std::move(reader).value(), std::move(key).value(), std::move(sealed).value(),
                        std::move(referenced), std::move(blobs)};
}

}  // namespace

std::string VaultStore::defaultBackupFolderName() { return perUserName("PembrosePreview", "backups"); }

Result<std::filesystem::path, VaultError> VaultStore::exportBackup(std::string_view passphrase,
                                                                   std::optional<std::filesystem::path> destination) {
    if (m_key.empty()) return fail(VaultError::keyMissing());
    if (auto ready = requireReady(); !ready) return fail(ready.error());

    std::filesystem::path path;
    if (destination) {
        path = *destination;
    } else {
        // The temporary folder may be shared, and an archive holds the key file: the folder is this user's alone.
        const auto folder = m_setup.temporaryDirectory / defaultBackupFolderName();
        if (auto made = m_setup.files.createDirectories(m_setup.temporaryDirectory); !made)
            return fail(VaultError::storage(made.error()));
        if (auto made = ensurePrivateFolder(folder); !made) return fail(made.error());
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
    return restoreFrom(archive, passphrase);
}

Result<void, VaultError> VaultStore::replaceWithBackup(const std::filesystem::path& archive,
                                                       std::string_view passphrase) {
    if (auto ready = requireReady(); !ready) return ready;
    // Should the restore fail, the vault left in place has every edit made so far.
    if (auto saved = flush(); !saved) return saved;
    return restoreFrom(archive, passphrase);
}

Result<void, VaultError> VaultStore::restoreFrom(const std::filesystem::path& archive, std::string_view passphrase) {
    auto backup = openBackup(archive, passphrase);
    if (!backup) return fail(backup.error());
    const ZipFileReader& reader = backup->reader;
    const auto& entries = reader.entries();
    // Entries cannot share bytes, so this holds anyway; it is the promise that
    // a restore never writes more than the archive brought.
    std::uint64_t budget = reader.size() - std::min<std::uint64_t>(reader.size(), backup->sealedDocument.size());
    auto installed = install(std::move(backup->key), backup->sealedDocument, backup->referenced,
                             [&](const std::string& hash) -> Result<Bytes, VaultError> {
                                 const ZipEntry& entry = entries[backup->blobs.at(hash)];
                                 if (entry.size > budget) return damagedBackup();
                                 budget -= entry.size;
                                 return readEntry(reader, entry, VaultFiles::kBlobMaxBytes);
                             });
    // A blob that fails its proof is the backup's fault, and says so in its words.
    if (!installed && installed.error().code == VaultError::Code::damaged) return damagedBackup();
    return installed;
}

Result<void, VaultError> VaultStore::checkBackup(const std::filesystem::path& archive,
                                                 std::string_view passphrase) const {
    auto backup = openBackup(archive, passphrase);
    if (!backup) return fail(backup.error());
    const ZipFileReader& reader = backup->reader;
    for (const auto& [hash, index] : backup->blobs) {
        auto blob = readEntry(reader, reader.entries()[index], VaultFiles::kBlobMaxBytes);
        if (!blob) return fail(blob.error());
        if (!VaultFiles::checkSealedBlob(*blob, backup->key, hash)) return damagedBackup();
    }
    return {};
}

}  // namespace corvale

#include "vault/VaultFiles.h"

#include "platform/Crypto.h"
#include "platform/Paths.h"
#include "vault/Sealer.h"
#include "vault/VaultKeychain.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace corvale {

namespace {

std::filesystem::path orDefaultTemporary(std::filesystem::path base) {
    return base.empty() ? paths::temporaryDirectory() : std::move(base);
}

}  // namespace

std::filesystem::path VaultFiles::defaultDirectory() {
    return paths::applicationSupportDirectory() / "Corvale" / "Vault";
}

VaultFiles::VaultFiles(FileSystem& fileSystem, SecureBytes key, std::filesystem::path directory,
                       std::filesystem::path temporaryBase)
    : m_fileSystem(fileSystem),
      m_key(std::move(key)),
      m_directory(std::move(directory)),
      m_plainCopies(orDefaultTemporary(std::move(temporaryBase))) {}

std::filesystem::path VaultFiles::documentPath() const { return m_directory / kDocumentFileName; }

std::filesystem::path VaultFiles::blobsDirectory() const { return m_directory / kBlobsFolderName; }

bool VaultFiles::isBlobFileName(std::string_view name) {
    return name.size() == 64 + kBlobExtension.size() && name.ends_with(kBlobExtension) &&
           isBlobHash(name.substr(0, 64));
}

bool VaultFiles::isBlobHash(std::string_view hash) {
    return hash.size() == 64 && std::all_of(hash.begin(), hash.end(),
                                            [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

std::string VaultFiles::blobFileName(std::string_view hash) {
    std::string name(hash);
    name += kBlobExtension;
    return name;
}

std::set<std::string> VaultFiles::referencedBlobs(const VaultDocument& document) {
    std::set<std::string> hashes;
    for (const auto& record : document.documents) {
        if (!record.deleted && isBlobHash(record.blobHash)) hashes.insert(record.blobHash);
    }
    return hashes;
}

Result<void, VaultError> VaultFiles::checkSealedBlob(ByteView sealed, const SecureBytes& key, std::string_view hash) {
    auto plain = Sealer::open(sealed, key.view());
    if (!plain) {
        return fail(VaultError::damaged());
    }
    // Sealed under the right key is not enough: a blob under another's name
    // would open as the wrong document.
    const bool named = crypto::hexLower(crypto::sha256(*plain)) == hash;
    secureWipe(plain->data(), plain->size());
    if (!named) {
        return fail(VaultError::damaged());
    }
    return {};
}

Result<Bytes, VaultError> VaultFiles::sealedDocument(const VaultDocument& document) const {
    std::string json = encodeVaultDocument(document);
    auto sealed = Sealer::seal(asBytes(json), m_key.view());
    secureWipe(json.data(), json.size());  // the vault's plain text should not outlive the save
    return sealed;
}

Result<void, VaultError> VaultFiles::writeSealed(const std::filesystem::path& path, ByteView sealed) {
    auto made = m_fileSystem.createDirectories(path.parent_path());
    if (!made) {
        return fail(VaultError::storage(made.error()));
    }
    auto written = m_fileSystem.replaceFileAtomically(path, sealed);
    if (!written) {
        return fail(VaultError::storage(written.error()));
    }
    return {};
}

Result<void, VaultError> VaultFiles::saveDocument(const VaultDocument& document) {
    auto sealed = sealedDocument(document);
    if (!sealed) {
        return fail(sealed.error());
    }
    return writeSealed(documentPath(), *sealed);
}

bool VaultFiles::hasDocument() { return m_fileSystem.exists(documentPath()); }

Result<VaultDocument, VaultError> VaultFiles::loadDocument() {
    auto plain = [&]() -> Result<Bytes, VaultError> {
        // The sealed bytes go as soon as they are opened: a large vault should not sit in memory three times.
        auto sealed = m_fileSystem.readFile(documentPath());
        if (!sealed) {
            return fail(VaultError::storage(sealed.error()));
        }
        return Sealer::open(*sealed, m_key.view(), kJSONReadPadding);
    }();
    if (!plain) {
        return fail(plain.error());
    }
    auto document = decodeVaultDocument(std::move(*plain));
    if (!document) {
        // Text that opens under our key yet nests beyond reason was damaged, not written by another program.
        return fail(document.error() == RecordError::tooDeep ? VaultError::damaged() : VaultError::badFormat());
    }
    return std::move(document).value();
}

Result<void, VaultError> VaultFiles::removeStaleTemporaries() {
    for (const auto& folder : {m_directory, blobsDirectory()}) {
        for (const auto& name : m_fileSystem.list(folder)) {
            // Temporaries are ".<target name>.<random>"; the lock file is the one hidden name that stays.
            if (name.size() < 2 || name[0] != '.' || name == ".lock") continue;
            if (auto removed = m_fileSystem.removeFile(folder / name); !removed) {
                return fail(VaultError::storage(removed.error()));
            }
        }
    }
    return {};
}

Result<std::string, VaultError> VaultFiles::storeBlob(ByteView plain) {
    std::string hash = crypto::hexLower(crypto::sha256(plain));
    const auto path = blobsDirectory() / (hash + std::string(kBlobExtension));
    if (m_fileSystem.exists(path)) {
        return hash;
    }
    auto sealed = Sealer::seal(plain, m_key.view());
    if (!sealed) {
        return fail(sealed.error());
    }
    auto written = writeSealed(path, *sealed);
    if (!written) {
        return fail(written.error());
    }
    return hash;
}

Result<Bytes, VaultError> VaultFiles::readBlob(std::string_view hash) {
    if (!isBlobHash(hash)) {
        return fail(VaultError::badFormat());
    }
    auto sealed = m_fileSystem.readFile(blobsDirectory() / (std::string(hash) + std::string(kBlobExtension)));
    if (!sealed) {
        return fail(VaultError::storage(sealed.error()));
    }
    auto plain = Sealer::open(*sealed, m_key.view());
    if (!plain) {
        return fail(plain.error());
    }
    // A blob renamed or copied over another is sealed correctly but is not
    // the document the record points at.
    if (crypto::hexLower(crypto::sha256(*plain)) != hash) {
        secureWipe(plain->data(), plain->size());
        return fail(VaultError::damaged());
    }
    return std::move(plain).value();
}

Result<std::filesystem::path, VaultError> VaultFiles::temporaryFile(const DocumentRecord& record) {
    auto plain = readBlob(record.blobHash);
    if (!plain) {
        return fail(plain.error());
    }
    auto path = m_plainCopies.write(record.id, record.filename, *plain);
    secureWipe(plain->data(), plain->size());
    return path;
}

Result<void, VaultError> VaultFiles::clearTemporaryFiles() { return m_plainCopies.clear(); }

Result<void, VaultError> VaultFiles::erase(VaultKeychain& keychain) {
    std::optional<VaultError> first;
    const auto note = [&first](const VaultError& error) {
        if (!first) {
            first = error;
        }
    };
    if (auto removed = m_fileSystem.removeFile(documentPath()); !removed) {
        note(VaultError::storage(removed.error()));
    }
    if (auto removed = m_fileSystem.removeAll(blobsDirectory()); !removed) {
        note(VaultError::storage(removed.error()));
    }
    if (auto cleared = clearTemporaryFiles(); !cleared) {
        note(cleared.error());
    }
    if (auto deleted = keychain.deleteVaultKey(); !deleted) {
        note(deleted.error());
    }
    if (first) {
        return fail(std::move(*first));
    }
    return {};
}

}  // namespace corvale

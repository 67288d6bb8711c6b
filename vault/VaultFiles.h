#pragma once
// The vault on disk: <application support>/Corvale/Vault holding vault.pbv
// (the sealed VaultDocument) and blobs/<sha256 of plain bytes>.pbb (one sealed
// document each). Also hands out short-lived plain copies for viewing.

#include "platform/Bytes.h"
#include "platform/FileSystem.h"
#include "platform/Result.h"
#include "platform/SecureBytes.h"
#include "records/DocumentRecord.h"
#include "records/VaultDocument.h"
#include "vault/PlainCopies.h"
#include "vault/VaultError.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace corvale {

class VaultKeychain;

class VaultFiles {
public:
    static constexpr std::string_view kDocumentFileName = "vault.pbv";
    static constexpr std::string_view kBlobsFolderName = "blobs";
    static constexpr std::string_view kBlobExtension = ".pbb";
    // Bounds on files brought from elsewhere (a joined folder, a backup's
    // entries), far above anything a real vault holds, so a hostile one
    // cannot make us read without end.
    static constexpr std::uint64_t kKeyFileMaxBytes = 64 << 10;
    static constexpr std::uint64_t kDocumentMaxBytes = std::uint64_t{1} << 30;
    static constexpr std::uint64_t kBlobMaxBytes = std::uint64_t{1} << 30;

    static std::filesystem::path defaultDirectory();

    // `temporaryBase` is where the plain-copy folder is made; by default the
    // platform's temporary folder.
    VaultFiles(FileSystem& fileSystem, SecureBytes key, std::filesystem::path directory = defaultDirectory(),
               std::filesystem::path temporaryBase = {});

    const std::filesystem::path& directory() const { return m_directory; }
    std::filesystem::path documentPath() const;
    std::filesystem::path blobsDirectory() const;
    const std::filesystem::path& plainCopiesDirectory() const { return m_plainCopies.root(); }

    // 64 lower-case hex characters: the only text a blob path is built from.
    static bool isBlobHash(std::string_view hash);
    // "<hash>.pbb": the only names a blob file brought from elsewhere may have.
    static bool isBlobFileName(std::string_view name);
    static std::string blobFileName(std::string_view hash);
    // The blob hashes live document records point at, each once.
    static std::set<std::string> referencedBlobs(const VaultDocument& document);
    // damaged unless `sealed` opens under `key` to bytes whose hash is `hash`.
    static Result<void, VaultError> checkSealedBlob(ByteView sealed, const SecureBytes& key, std::string_view hash);

    Result<Bytes, VaultError> sealedDocument(const VaultDocument& document) const;
    // Atomic: a failed write leaves the previous vault.pbv whole.
    Result<void, VaultError> saveDocument(const VaultDocument& document);
    Result<VaultDocument, VaultError> loadDocument();
    bool hasDocument();

    // The blob's hash. Content already stored is not written again.
    Result<std::string, VaultError> storeBlob(ByteView plain);
    // Removes what writers killed mid-save left behind (hidden temporaries
    // beside vault.pbv and the blobs). Only for the process holding the vault.
    Result<void, VaultError> removeStaleTemporaries();
    // badFormat for hash text that is not a blob hash; damaged when the bytes
    // inside do not match the name.
    Result<Bytes, VaultError> readBlob(std::string_view hash);

    // A plain copy of the document's bytes that only this user can read.
    Result<std::filesystem::path, VaultError> temporaryFile(const DocumentRecord& record);
    Result<void, VaultError> clearTemporaryFiles();

    // Removes vault.pbv, every blob, the plain copies and the key on this
    // device. Tries all of them and reports the first failure.
    Result<void, VaultError> erase(VaultKeychain& keychain);

private:
    Result<void, VaultError> writeSealed(const std::filesystem::path& path, ByteView plain);

    FileSystem& m_fileSystem;
    SecureBytes m_key;
    std::filesystem::path m_directory;
    PlainCopies m_plainCopies;
};

}  // namespace corvale

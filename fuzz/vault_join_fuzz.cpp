// A folder to join, laid out from arbitrary bytes read as an archive: entries
// named vault.key, vault.pbv or blobs/<name> become its files, and the same
// names ending in "/" become folders in their place. The passphrase is the
// seeds' (tests/vault/data/golden-backup.pbbackup). Whatever the folder holds,
// a failed join leaves the device without a vault or key, and a successful
// one holds exactly the blobs its document refers to, each opening to its name.

#include "documents/ZipReader.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/KeyFile.h"
#include "vault/VaultKeychain.h"
#include "vault/VaultStore.h"

#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace corvale;

constexpr std::string_view kPassphrase = "correct horse battery staple \u2713";
// Key derivation dominates past this, and the derivation is not what is fuzzed here.
constexpr std::uint32_t kMaxIterations = 1000;
const std::filesystem::path kFolder = "/carried";

// Plain copies always go to the real disk; a folder of this run's own keeps them apart.
const std::filesystem::path& plainCopies() {
    static const std::filesystem::path folder = [] {
        char pattern[] = "/tmp/vault_join_fuzz-XXXXXX";
        if (::mkdtemp(pattern) == nullptr) std::abort();
        return std::filesystem::path(pattern);
    }();
    return folder;
}

// Only the names a joined folder has, so nothing lands outside it.
bool allowed(std::string_view name) {
    if (name == "vault.key" || name == "vault.pbv") return true;
    if (!name.starts_with("blobs/")) return false;
    const std::string_view file = name.substr(6);
    return !file.empty() && file != "." && file != ".." && file.find('/') == std::string_view::npos &&
           file.find('\0') == std::string_view::npos;
}

void layOut(InMemoryFileSystem& files, ByteView input) {
    if (!files.createDirectories(kFolder / "blobs")) std::abort();
    for (const auto& [name, bytes] : ZipReader::entries(input)) {
        if (name.ends_with('/') && allowed(std::string_view(name).substr(0, name.size() - 1))) {
            (void)files.createDirectories(kFolder / name.substr(0, name.size() - 1));
        } else if (allowed(name)) {
            (void)files.replaceFileAtomically(kFolder / name, bytes);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteView input(data, size);
    InMemoryFileSystem files;
    layOut(files, input);
    if (auto keyText = files.readFile(kFolder / "vault.key")) {
        auto file = KeyFile::parse(asText(*keyText));
        if (file && file->iterations > kMaxIterations) return 0;
    }

    InMemorySecretStore secrets;
    FixedClock clock{std::chrono::system_clock::time_point{} + std::chrono::seconds(1'795'003'200)};
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;
    VaultStore store({files, secrets, clock, scheduler, authenticator, "/share", "/prefs.json", plainCopies()});
    const auto joined = store.join(kFolder, kPassphrase);
    if (files.exists("/share/Corvale/.Vault.incoming") || files.heldLocks() != 1) std::abort();
    if (!joined) {
        if (store.phase() != VaultPhase::welcome || secrets.itemCount() != 0 ||
            files.exists(store.vaultDirectory() / VaultFiles::kDocumentFileName))
            std::abort();
        return 0;
    }
    if (store.phase() != VaultPhase::ready) std::abort();
    auto key = VaultKeychain(secrets).requireVaultKey();
    if (!key) std::abort();
    VaultFiles vault(files, std::move(key).value(), store.vaultDirectory(), plainCopies());
    const auto referenced = VaultFiles::referencedBlobs(store.doc());
    if (files.list(vault.blobsDirectory()).size() != referenced.size()) std::abort();
    for (const auto& hash : referenced) {
        if (!vault.readBlob(hash)) std::abort();
    }
    return 0;
}

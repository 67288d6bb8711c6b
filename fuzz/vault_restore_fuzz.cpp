// Arbitrary bytes as a backup restored over an open vault, with the passphrase
// of the seeds (tests/vault/data/golden-backup.pbbackup). Whatever the archive,
// the restore answers; when it fails the vault, its files and its key are as
// they were; when it succeeds every blob of the new vault opens to its name;
// and checking the backup first predicts which of the two happens.

#include "documents/ZipReader.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/KeyFile.h"
#include "vault/VaultKeychain.h"
#include "vault/VaultStore.h"

#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace {

using namespace corvale;

constexpr std::string_view kPassphrase = "correct horse battery staple \u2713";
// Key derivation dominates past this, and the derivation is not what is fuzzed here.
constexpr std::uint32_t kMaxIterations = 1000;

// Plain copies always go to the real disk; a folder of this run's own keeps them apart.
const std::filesystem::path& plainCopies() {
    static const std::filesystem::path folder = [] {
        char pattern[] = "/tmp/vault_restore_fuzz-XXXXXX";
        if (::mkdtemp(pattern) == nullptr) std::abort();
        return std::filesystem::path(pattern);
    }();
    return folder;
}

int archiveFile() {
    static const int fd = memfd_create("vault_restore_fuzz", MFD_CLOEXEC);
    if (fd < 0) std::abort();
    return fd;
}

std::map<std::string, Bytes> contents(InMemoryFileSystem& files, SecretStore& secrets,
                                      const std::filesystem::path& vault) {
    std::map<std::string, Bytes> result;
    for (const auto& folder : {vault, vault / "blobs"}) {
        for (const auto& name : files.list(folder)) {
            if (auto bytes = files.readFile(folder / name)) result[(folder / name).string()] = *bytes;
        }
    }
    if (auto key = secrets.load(VaultKeychain::service(), std::string(VaultKeychain::kAccount)); key && *key)
        result["key"] = Bytes((*key)->view().begin(), (*key)->view().end());
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteView input(data, size);
    const auto entries = ZipReader::entries(input);
    if (const auto key = entries.find("vault.key"); key != entries.end()) {
        auto file = KeyFile::parse(asText(key->second));
        if (file && file->iterations > kMaxIterations) return 0;
    }
    const int fd = archiveFile();
    if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
    const std::filesystem::path archive = "/proc/self/fd/" + std::to_string(fd);

    InMemoryFileSystem files;
    InMemorySecretStore secrets;
    FixedClock clock{std::chrono::system_clock::time_point{} + std::chrono::seconds(1'795'003'200)};
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;
    VaultStore store({files, secrets, clock, scheduler, authenticator, "/share", "/prefs.json", plainCopies()});
    Onboarding onboarding;
    onboarding.owner.name = "Fuzz";
    if (!store.create(onboarding) || !store.addDocument(asBytes("kept scan"), DocumentRecord{}) || !store.flush())
        std::abort();
    const auto before = contents(files, secrets, store.vaultDirectory());
    const std::string document = encodeVaultDocument(store.doc());

    const bool checked = store.checkBackup(archive, kPassphrase).ok();
    const auto restored = store.replaceWithBackup(archive, kPassphrase);
    if (restored.ok() != checked) std::abort();
    if (store.phase() != VaultPhase::ready || files.exists("/share/Corvale/.Vault.incoming") || files.heldLocks() != 1)
        std::abort();
    if (!restored) {
        if (contents(files, secrets, store.vaultDirectory()) != before || encodeVaultDocument(store.doc()) != document)
            std::abort();
        return 0;
    }
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

#pragma once
// A device on the real disk, in a private folder removed with it: for what
// only a real disk shows (locks, permissions, files carried elsewhere).

#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/VaultStore.h"

#include "support/DiskFiles.h"

#include <chrono>

namespace corvale::test_support {

struct DiskDevice {
    TemporaryFolder folder;
    const std::filesystem::path& home = folder.path;
    PosixFileSystem files;
    InMemorySecretStore secrets;
    // Noon UTC, so the local date is the 18th in every zone within eleven hours of it.
    FixedClock clock{std::chrono::system_clock::time_point{} + std::chrono::seconds(1'795'003'200)};
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;

    VaultStoreSetup setup() {
        return {files, secrets, clock, scheduler, authenticator, home / "share", home / "prefs.json", home / "tmp"};
    }
    std::filesystem::path vaultFolder() const { return home / "share/Corvale/Vault"; }
};

}  // namespace corvale::test_support

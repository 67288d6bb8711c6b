// Erasing against a real Secret Service; runs inside with_keyring.sh, whose
// private keyring is all it touches.

#include "platform/linux/LibsecretSecretStore.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "vault/VaultStore.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace corvale {
namespace {

using namespace std::chrono_literals;

bool holdsItem(const std::string& service) {
    // A store of its own, so nothing cached by the one under test answers.
    LibsecretSecretStore fresh;
    auto loaded = fresh.load(service, std::string(VaultKeychain::kAccount));
    EXPECT_TRUE(loaded.ok()) << "status " << (loaded.ok() ? 0 : loaded.error().status);
    return loaded.ok() && loaded->has_value();
}

TEST(VaultKeyring, EraseLeavesNoItemHoldingTheKeyAndMigrationKeepsOnlyOne) {
    InMemoryFileSystem files;
    LibsecretSecretStore secrets;
    FixedClock clock{std::chrono::system_clock::time_point{} + 1'780'000'000s};
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;
    const VaultStoreSetup setup{files,
                                secrets,
                                clock,
                                scheduler,
                                authenticator,
                                "/home/ana/share",
                                "/home/ana/config/Corvale/prefs.json",
                                "/home/ana/tmp"};
    const std::string account(VaultKeychain::kAccount);
    {
        VaultStore store(setup);
        Onboarding onboarding;
        onboarding.owner.name = "Ana Ruiz";
        ASSERT_TRUE(store.create(onboarding));
    }
    // Make it an older installation's: the key only under the older name, and the move not yet run.
    auto key = secrets.load(VaultKeychain::service(), account).value();
    ASSERT_TRUE(key.has_value());
    ASSERT_TRUE(secrets.save(VaultKeychain::olderService(), account, key->view()).ok());
    ASSERT_TRUE(secrets.remove(VaultKeychain::service(), account).ok());
    ASSERT_TRUE(files.removeFile(setup.prefsFile));

    VaultStore store(setup);
    ASSERT_TRUE(store.start());
    EXPECT_EQ(store.phase(), VaultPhase::ready);
    EXPECT_TRUE(holdsItem(VaultKeychain::service()));
    EXPECT_FALSE(holdsItem(VaultKeychain::olderService()));

    // As an earlier version's move left it: both names hold the key.
    ASSERT_TRUE(secrets.save(VaultKeychain::olderService(), account, key->view()).ok());
    ASSERT_TRUE(store.erase());
    EXPECT_FALSE(holdsItem(VaultKeychain::service()));
    EXPECT_FALSE(holdsItem(VaultKeychain::olderService()));
}

}  // namespace
}  // namespace corvale

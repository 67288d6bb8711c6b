#include "vault/VaultKeychain.h"

#include "platform/memory/InMemorySecretStore.h"

#include "VaultTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>

namespace corvale {
namespace {

using test::countingBytes;
using test::countingKey;

constexpr std::int32_t kItemNotFound = -25300;

TEST(VaultKeychain, SavesLoadsReplacesAndDeletesOneItem) {
    InMemorySecretStore store;
    VaultKeychain keychain(store);
    EXPECT_EQ(VaultKeychain::service(), "com.corvale.Corvale.vault");

    auto nothing = keychain.loadVaultKey();
    ASSERT_TRUE(nothing);
    EXPECT_FALSE(nothing->has_value());
    auto missing = keychain.requireVaultKey();
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().code, VaultError::Code::keyMissing);
    EXPECT_EQ(missing.error().message(), "The vault key is missing from this device.");

    ASSERT_TRUE(keychain.saveVaultKey(countingKey(1)));
    // Other code (and other builds) find the key by these exact names.
    auto raw = store.load("com.corvale.Corvale.vault", "vault-key");
    ASSERT_TRUE(raw && raw->has_value());
    EXPECT_TRUE(**raw == countingKey(1));

    ASSERT_TRUE(keychain.saveVaultKey(countingKey(2)));
    EXPECT_EQ(store.itemCount(), 1u);
    auto loaded = keychain.requireVaultKey();
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(*loaded == countingKey(2));

    ASSERT_TRUE(keychain.deleteVaultKey());
    EXPECT_EQ(store.itemCount(), 0u);
    EXPECT_FALSE(keychain.loadVaultKey()->has_value());
    EXPECT_TRUE(keychain.deleteVaultKey());

    // Something else stored under our name that cannot be a key counts as no key.
    ASSERT_TRUE(store.save(VaultKeychain::service(), "vault-key", countingBytes(0, 16)));
    EXPECT_FALSE(keychain.loadVaultKey()->has_value());
}

TEST(VaultKeychain, StoreFailuresCarryTheStatusAndChangeNothing) {
    InMemorySecretStore store;
    VaultKeychain keychain(store);
    ASSERT_TRUE(keychain.saveVaultKey(countingKey(1)));

    store.failNext(1, kItemNotFound);
    auto load = keychain.loadVaultKey();
    ASSERT_FALSE(load);
    EXPECT_EQ(load.error().code, VaultError::Code::keychain);
    EXPECT_EQ(load.error().status, kItemNotFound);
    EXPECT_EQ(load.error().message(), "Keychain error -25300.");

    store.failNext(1, 7);
    auto required = keychain.requireVaultKey();
    ASSERT_FALSE(required);
    EXPECT_EQ(required.error().message(), "Keychain error 7.");

    store.failNext(2, kItemNotFound);
    auto save = keychain.saveVaultKey(countingKey(2));
    ASSERT_FALSE(save);
    EXPECT_EQ(save.error().message(), "Keychain error -25300.");
    auto remove = keychain.deleteVaultKey();
    ASSERT_FALSE(remove);
    EXPECT_EQ(remove.error().status, kItemNotFound);

    auto kept = keychain.requireVaultKey();
    ASSERT_TRUE(kept);
    EXPECT_TRUE(*kept == countingKey(1));
}

TEST(VaultKeychain, JoiningStoresTheKeyOnlyForTheRightPassphrase) {
    const FixedClock clock{std::chrono::system_clock::time_point{}};
    auto keyFile = KeyFile::make(countingKey(9), "mitral", "vault-9", clock, 1000);
    ASSERT_TRUE(keyFile);

    InMemorySecretStore store;
    VaultKeychain keychain(store);
    ASSERT_TRUE(keychain.saveVaultKey(countingKey(1)));

    auto wrong = keychain.joinWithKeyFile(*keyFile, "tricuspid");
    ASSERT_FALSE(wrong);
    EXPECT_EQ(wrong.error().message(), "That passphrase doesn't unlock this vault.");
    EXPECT_TRUE(*keychain.requireVaultKey() == countingKey(1));

    store.failNext(1, -34018);
    auto refused = keychain.joinWithKeyFile(*keyFile, "mitral");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().message(), "Keychain error -34018.");
    EXPECT_TRUE(*keychain.requireVaultKey() == countingKey(1));

    auto joined = keychain.joinWithKeyFile(*keyFile, "mitral");
    ASSERT_TRUE(joined);
    EXPECT_TRUE(*joined == countingKey(9));
    EXPECT_TRUE(*keychain.requireVaultKey() == countingKey(9));
}

}  // namespace
}  // namespace corvale

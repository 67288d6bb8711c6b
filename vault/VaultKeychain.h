#pragma once
// The vault key as a secret-store item: service "<app id>.vault", account
// "vault-key", the 32 raw key bytes. An older installation kept it under its
// own identifier; that item is read only to move it across.

#include "platform/Result.h"
#include "platform/SecretStore.h"
#include "platform/SecureBytes.h"
#include "vault/KeyFile.h"
#include "vault/VaultError.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvale {

class VaultKeychain {
public:
    static std::string service();
    static std::string olderService();
    static constexpr std::string_view kAccount = "vault-key";

    explicit VaultKeychain(SecretStore& store) : m_store(store) {}

    // Absent when this device has no vault key.
    Result<std::optional<SecureBytes>, VaultError> loadVaultKey();
    // Like loadVaultKey, with an absent key as keyMissing.
    Result<SecureBytes, VaultError> requireVaultKey();
    Result<void, VaultError> saveVaultKey(const SecureBytes& key);
    // Removes every item holding the key, the older installation's too; tries
    // both and reports the first refusal.
    Result<void, VaultError> deleteVaultKey();

    // Joins a vault from its key file: opens the key with the passphrase and,
    // only then, stores it on this device.
    Result<SecureBytes, VaultError> joinWithKeyFile(const KeyFile& keyFile, std::string_view passphrase);

private:
    SecretStore& m_store;
};

}  // namespace corvale

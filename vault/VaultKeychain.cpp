#include "vault/VaultKeychain.h"

#include "vault/AppIdentity.h"

#include <utility>

namespace corvale {

namespace {

VaultError keyringFailure(const SecretStoreFailure& failure) {
    switch (failure.kind) {
    case SecretStoreFailure::Kind::locked:
        return VaultError::keyringLocked();
    case SecretStoreFailure::Kind::noService:
        return VaultError::noKeyring();
    case SecretStoreFailure::Kind::refused:
        break;
    }
    return VaultError::keyringRefused(failure.status);
}

}  // namespace

std::string VaultKeychain::service() { return std::string(kAppIdentifier) + ".vault"; }

std::string VaultKeychain::olderService() { return std::string(kOlderAppIdentifier) + ".vault"; }

Result<std::optional<SecureBytes>, VaultError> VaultKeychain::loadVaultKey() {
    auto loaded = m_store.load(service(), std::string(kAccount));
    if (!loaded) {
        return fail(keyringFailure(loaded.error()));
    }
    std::optional<SecureBytes> key = std::move(loaded).value();
    // An item of another length cannot be our key. Reporting it as absent
    // sends the user to rejoin with the key file, which replaces it.
    if (key && key->size() != kVaultKeySize) {
        key.reset();
    }
    return key;
}

Result<SecureBytes, VaultError> VaultKeychain::requireVaultKey() {
    auto loaded = loadVaultKey();
    if (!loaded) {
        return fail(loaded.error());
    }
    if (!loaded->has_value()) {
        return fail(VaultError::keyMissing());
    }
    return std::move(**loaded);
}

Result<void, VaultError> VaultKeychain::saveVaultKey(const SecureBytes& key) {
    auto saved = m_store.save(service(), std::string(kAccount), key.view());
    if (!saved) {
        return fail(keyringFailure(saved.error()));
    }
    return {};
}

Result<void, VaultError> VaultKeychain::deleteVaultKey() {
    std::optional<SecretStoreFailure> first;
    for (const auto& name : {service(), olderService()}) {
        auto removed = m_store.remove(name, std::string(kAccount));
        if (!removed && !first) {
            first = removed.error();
        }
    }
    if (first) {
        return fail(keyringFailure(*first));
    }
    return {};
}

Result<SecureBytes, VaultError> VaultKeychain::joinWithKeyFile(const KeyFile& keyFile, std::string_view passphrase) {
    auto key = keyFile.open(passphrase);
    if (!key) {
        return fail(key.error());
    }
    auto saved = saveVaultKey(*key);
    if (!saved) {
        return fail(saved.error());
    }
    return std::move(key).value();
}

}  // namespace corvale

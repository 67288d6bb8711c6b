#pragma once
// Keeps secrets in the desktop's Secret Service (GNOME Keyring, KWallet) via
// libsecret, one item per service and account in the default collection.

#include "platform/SecretStore.h"

namespace corvale {

class LibsecretSecretStore final : public SecretStore {
public:
    Result<std::optional<SecureBytes>, SecretStoreFailure> load(const std::string& service,
                                                                const std::string& account) override;
    Result<void, SecretStoreFailure> save(const std::string& service, const std::string& account,
                                          ByteView secret) override;
    Result<void, SecretStoreFailure> remove(const std::string& service, const std::string& account) override;
};

}  // namespace corvale

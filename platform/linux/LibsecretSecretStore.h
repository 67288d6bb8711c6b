#pragma once
// Keeps secrets in the desktop's Secret Service (GNOME Keyring, KWallet) via
// libsecret, one item per service and account in the default collection.

#include "platform/SecretStore.h"

#include <chrono>

using GError = struct _GError;

namespace corvale {

// A locked keyring is unlocked through its own prompt; one dismissed, or not
// answered within the time given, is reported as locked.
class LibsecretSecretStore final : public SecretStore {
public:
    explicit LibsecretSecretStore(std::chrono::milliseconds promptTimeout = std::chrono::minutes(2))
        : m_promptTimeout(promptTimeout) {}

    Result<std::optional<SecureBytes>, SecretStoreFailure> load(const std::string& service,
                                                                const std::string& account) override;
    Result<void, SecretStoreFailure> save(const std::string& service, const std::string& account,
                                          ByteView secret) override;
    Result<void, SecretStoreFailure> remove(const std::string& service, const std::string& account) override;

    // What a libsecret or D-Bus error means to the user: a locked keyring, no
    // keyring at all, or some other refusal.
    static SecretStoreFailure classify(const GError* error);

private:
    std::chrono::milliseconds m_promptTimeout;
};

}  // namespace corvale

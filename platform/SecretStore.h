#pragma once
// A per-user store of small secrets, addressed by service and account, like a
// generic-password keychain item. Implementations are safe to call from one
// thread at a time.

#include "platform/Result.h"
#include "platform/SecureBytes.h"

#include <cstdint>
#include <optional>
#include <string>

namespace corvale {

// Why the store refused, and the platform's numeric status as a detail.
struct SecretStoreFailure {
    enum class Kind {
        refused,    // the store answered no for another reason
        locked,     // the keyring stayed locked (its unlock prompt was dismissed or never came)
        noService,  // nothing answers for the store on this desktop
    };
    std::int32_t status = 0;
    Kind kind = Kind::refused;
};

class SecretStore {
public:
    virtual ~SecretStore() = default;

    // Absent when no item exists.
    virtual Result<std::optional<SecureBytes>, SecretStoreFailure> load(const std::string& service,
                                                                        const std::string& account) = 0;
    // Replaces any item with the same service and account.
    virtual Result<void, SecretStoreFailure> save(const std::string& service, const std::string& account,
                                                  ByteView secret) = 0;
    // Removing an item that does not exist succeeds.
    virtual Result<void, SecretStoreFailure> remove(const std::string& service, const std::string& account) = 0;
};

}  // namespace corvale

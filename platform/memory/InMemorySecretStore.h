#pragma once
// A secret store for tests: items live in memory, and failures can be
// scheduled to exercise the code paths behind a refused keychain.

#include "platform/SecretStore.h"

#include <map>
#include <utility>

namespace corvale {

class InMemorySecretStore final : public SecretStore {
public:
    Result<std::optional<SecureBytes>, SecretStoreFailure> load(const std::string& service,
                                                                const std::string& account) override;
    Result<void, SecretStoreFailure> save(const std::string& service, const std::string& account,
                                          ByteView secret) override;
    Result<void, SecretStoreFailure> remove(const std::string& service, const std::string& account) override;

    // The next `count` operations of any kind fail with `status` and change nothing.
    void failNext(int count, std::int32_t status, SecretStoreFailure::Kind kind = SecretStoreFailure::Kind::refused);

    std::size_t itemCount() const { return m_items.size(); }

private:
    bool takeScheduledFailure(SecretStoreFailure& failure);

    std::map<std::pair<std::string, std::string>, SecureBytes> m_items;
    int m_failuresLeft = 0;
    std::int32_t m_failureStatus = 0;
    SecretStoreFailure::Kind m_failureKind = SecretStoreFailure::Kind::refused;
};

}  // namespace corvale

#include "platform/memory/InMemorySecretStore.h"

namespace corvale {

bool InMemorySecretStore::takeScheduledFailure(SecretStoreFailure& failure) {
    if (m_failuresLeft <= 0) {
        return false;
    }
    --m_failuresLeft;
    failure.status = m_failureStatus;
    failure.kind = m_failureKind;
    return true;
}

void InMemorySecretStore::failNext(int count, std::int32_t status, SecretStoreFailure::Kind kind) {
    m_failuresLeft = count;
    m_failureStatus = status;
    m_failureKind = kind;
}

Result<std::optional<SecureBytes>, SecretStoreFailure> InMemorySecretStore::load(const std::string& service,
                                                                                 const std::string& account) {
    if (SecretStoreFailure failure; takeScheduledFailure(failure)) {
        return fail(failure);
    }
    const auto found = m_items.find({service, account});
    if (found == m_items.end()) {
        return std::optional<SecureBytes>();
    }
    return std::optional<SecureBytes>(found->second.clone());
}

Result<void, SecretStoreFailure> InMemorySecretStore::save(const std::string& service, const std::string& account,
                                                           ByteView secret) {
    if (SecretStoreFailure failure; takeScheduledFailure(failure)) {
        return fail(failure);
    }
    m_items.insert_or_assign(std::pair(service, account), SecureBytes(secret));
    return {};
}

Result<void, SecretStoreFailure> InMemorySecretStore::remove(const std::string& service, const std::string& account) {
    if (SecretStoreFailure failure; takeScheduledFailure(failure)) {
        return fail(failure);
    }
    m_items.erase({service, account});
    return {};
}

}  // namespace corvale

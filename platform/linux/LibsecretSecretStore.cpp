#include "platform/linux/LibsecretSecretStore.h"

#include <libsecret/secret.h>

#include <memory>

namespace corvale {

namespace {

const SecretSchema& schema() {
    static const SecretSchema value = [] {
        SecretSchema s{};
        s.name = "com.corvale.Corvale.GenericPassword";
        s.flags = SECRET_SCHEMA_NONE;
        s.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        s.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return s;
    }();
    return value;
}

struct HashTableUnref {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
struct SecretValueUnref {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};
struct ErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};

using Attributes = std::unique_ptr<GHashTable, HashTableUnref>;
using Value = std::unique_ptr<SecretValue, SecretValueUnref>;
using Error = std::unique_ptr<GError, ErrorFree>;

// The table borrows the strings; they outlive every call that uses it.
Attributes attributesFor(const std::string& service, const std::string& account) {
    Attributes table(g_hash_table_new(g_str_hash, g_str_equal));
    g_hash_table_insert(table.get(), const_cast<char*>("service"), const_cast<char*>(service.c_str()));
    g_hash_table_insert(table.get(), const_cast<char*>("account"), const_cast<char*>(account.c_str()));
    return table;
}

// Code 0 reads as success to anyone looking at a status, so report it as -1.
SecretStoreFailure failureFrom(const Error& error) {
    if (!error || error->code == 0) {
        return {-1};
    }
    return {static_cast<std::int32_t>(error->code)};
}

}  // namespace

Result<std::optional<SecureBytes>, SecretStoreFailure> LibsecretSecretStore::load(const std::string& service,
                                                                                  const std::string& account) {
    const Attributes attributes = attributesFor(service, account);
    GError* rawError = nullptr;
    const Value value(secret_password_lookupv_binary_sync(&schema(), attributes.get(), nullptr, &rawError));
    const Error error(rawError);
    if (error) {
        return fail(failureFrom(error));
    }
    if (!value) {
        return std::optional<SecureBytes>();
    }
    gsize length = 0;
    const gchar* bytes = secret_value_get(value.get(), &length);
    return std::optional<SecureBytes>(SecureBytes(ByteView(reinterpret_cast<const std::uint8_t*>(bytes), length)));
}

Result<void, SecretStoreFailure> LibsecretSecretStore::save(const std::string& service, const std::string& account,
                                                            ByteView secret) {
    // A matching item may sit in another collection, where storing would not replace it.
    if (auto cleared = remove(service, account); !cleared) {
        return cleared;
    }
    const Attributes attributes = attributesFor(service, account);
    // secret_value_new copies into libsecret's own wiping memory.
    const gchar* bytes = secret.empty() ? "" : reinterpret_cast<const gchar*>(secret.data());
    const Value value(secret_value_new(bytes, static_cast<gssize>(secret.size()), "application/octet-stream"));
    const std::string label = "Corvale: " + service;
    GError* rawError = nullptr;
    const gboolean stored = secret_password_storev_binary_sync(&schema(), attributes.get(), SECRET_COLLECTION_DEFAULT,
                                                               label.c_str(), value.get(), nullptr, &rawError);
    const Error error(rawError);
    if (!stored || error) {
        return fail(failureFrom(error));
    }
    return {};
}

Result<void, SecretStoreFailure> LibsecretSecretStore::remove(const std::string& service, const std::string& account) {
    const Attributes attributes = attributesFor(service, account);
    GError* rawError = nullptr;
    secret_password_clearv_sync(&schema(), attributes.get(), nullptr, &rawError);
    const Error error(rawError);
    if (error) {
        return fail(failureFrom(error));
    }
    return {};
}

}  // namespace corvale

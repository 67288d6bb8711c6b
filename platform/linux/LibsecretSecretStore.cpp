#include "platform/linux/LibsecretSecretStore.h"

#include <libsecret/secret.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

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
struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct ItemListFree {
    void operator()(GList* items) const { g_list_free_full(items, g_object_unref); }
};

using Attributes = std::unique_ptr<GHashTable, HashTableUnref>;
using Value = std::unique_ptr<SecretValue, SecretValueUnref>;
using Error = std::unique_ptr<GError, ErrorFree>;
using Cancellable = std::unique_ptr<GCancellable, ObjectUnref>;
using Service = std::unique_ptr<SecretService, ObjectUnref>;
using ItemList = std::unique_ptr<GList, ItemListFree>;

// The table borrows the strings; they outlive every call that uses it.
Attributes attributesFor(const std::string& service, const std::string& account) {
    Attributes table(g_hash_table_new(g_str_hash, g_str_equal));
    g_hash_table_insert(table.get(), const_cast<char*>("service"), const_cast<char*>(service.c_str()));
    g_hash_table_insert(table.get(), const_cast<char*>("account"), const_cast<char*>(account.c_str()));
    return table;
}

// Cancels a call that outlasts its time. The keyring's unlock prompt may never
// appear (no prompter in a headless session) or never be answered, and the app
// must say the keyring is locked rather than wait for ever.
class Deadline {
public:
    Deadline(GCancellable* cancellable, std::chrono::milliseconds limit)
        : m_thread([this, cancellable, limit] {
              std::unique_lock lock(m_mutex);
              if (!m_ended.wait_for(lock, limit, [this] { return m_done; })) g_cancellable_cancel(cancellable);
          }) {}
    ~Deadline() {
        {
            const std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_ended.notify_one();
        m_thread.join();
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_done = false;
    std::thread m_thread;  // last, so it starts once the rest exists
};

bool meansNoService(const GError& error) {
    if (error.domain != G_DBUS_ERROR) return false;
    switch (error.code) {
    case G_DBUS_ERROR_SERVICE_UNKNOWN:
    case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
    case G_DBUS_ERROR_NO_SERVER:
    case G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND:
    case G_DBUS_ERROR_SPAWN_EXEC_FAILED:
    case G_DBUS_ERROR_SPAWN_FAILED:
    case G_DBUS_ERROR_SPAWN_CHILD_EXITED:
        return true;
    default:
        return false;
    }
}

}  // namespace

SecretStoreFailure LibsecretSecretStore::classify(const GError* error) {
    if (!error) return {-1, SecretStoreFailure::Kind::refused};
    // Code 0 reads as success to anyone looking at a status, so report it as -1.
    const std::int32_t status = error->code == 0 ? -1 : static_cast<std::int32_t>(error->code);
    if (error->domain == SECRET_ERROR && error->code == SECRET_ERROR_IS_LOCKED)
        return {status, SecretStoreFailure::Kind::locked};
    // Only a prompt is slow enough to meet the deadline; dismissed or unanswered, the keyring stays locked.
    if (error->domain == G_IO_ERROR && error->code == G_IO_ERROR_CANCELLED)
        return {status, SecretStoreFailure::Kind::locked};
    if (meansNoService(*error)) return {status, SecretStoreFailure::Kind::noService};
    return {status, SecretStoreFailure::Kind::refused};
}

namespace {

// Without a service object nothing on the bus answered at all, whatever the error says.
Result<Service, SecretStoreFailure> connect(GCancellable* cancellable) {
    GError* rawError = nullptr;
    Service secrets(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, cancellable, &rawError));
    const Error error(rawError);
    if (secrets) return secrets;
    SecretStoreFailure failure = LibsecretSecretStore::classify(error.get());
    if (failure.kind == SecretStoreFailure::Kind::refused) failure.kind = SecretStoreFailure::Kind::noService;
    return fail(failure);
}

}  // namespace

Result<std::optional<SecureBytes>, SecretStoreFailure> LibsecretSecretStore::load(const std::string& service,
                                                                                  const std::string& account) {
    const Cancellable cancellable(g_cancellable_new());
    const Deadline deadline(cancellable.get(), m_promptTimeout);
    auto secrets = connect(cancellable.get());
    if (!secrets) return fail(secrets.error());
    GError* rawError = nullptr;
    Error error;
    const Attributes attributes = attributesFor(service, account);
    // A locked item is unlocked through the keyring's own prompt, as any desktop app asks.
    const auto flags =
        static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS);
    rawError = nullptr;
    const ItemList items(
        secret_service_search_sync(secrets->get(), &schema(), attributes.get(), flags, cancellable.get(), &rawError));
    error.reset(rawError);
    if (error) return fail(classify(error.get()));
    if (!items) return std::optional<SecureBytes>();
    for (GList* entry = items.get(); entry; entry = entry->next) {
        auto* item = static_cast<SecretItem*>(entry->data);
        if (secret_item_get_locked(item)) continue;
        const Value value(secret_item_get_secret(item));
        if (!value) continue;
        gsize length = 0;
        const gchar* bytes = secret_value_get(value.get(), &length);
        return std::optional<SecureBytes>(SecureBytes(ByteView(reinterpret_cast<const std::uint8_t*>(bytes), length)));
    }
    // The item is there, but the keyring kept it locked: never to be read as "no key".
    return fail(SecretStoreFailure{-1, SecretStoreFailure::Kind::locked});
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
    const Cancellable cancellable(g_cancellable_new());
    const Deadline deadline(cancellable.get(), m_promptTimeout);
    if (auto secrets = connect(cancellable.get()); !secrets) return fail(secrets.error());
    GError* rawError = nullptr;
    const gboolean stored =
        secret_password_storev_binary_sync(&schema(), attributes.get(), SECRET_COLLECTION_DEFAULT, label.c_str(),
                                           value.get(), cancellable.get(), &rawError);
    const Error error(rawError);
    if (!stored || error) {
        return fail(classify(error.get()));
    }
    return {};
}

Result<void, SecretStoreFailure> LibsecretSecretStore::remove(const std::string& service, const std::string& account) {
    const Attributes attributes = attributesFor(service, account);
    const Cancellable cancellable(g_cancellable_new());
    const Deadline deadline(cancellable.get(), m_promptTimeout);
    if (auto secrets = connect(cancellable.get()); !secrets) return fail(secrets.error());
    GError* rawError = nullptr;
    secret_password_clearv_sync(&schema(), attributes.get(), cancellable.get(), &rawError);
    const Error error(rawError);
    if (error) {
        return fail(classify(error.get()));
    }
    return {};
}

}  // namespace corvale

// Runs against a real Secret Service; see with_keyring.sh for the headless one
// the test suite starts.

#include "platform/linux/LibsecretSecretStore.h"

#include <gtest/gtest.h>

#include <libsecret/secret.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace corvale {
namespace {

// Names unique to this run so a real keyring is never disturbed.
std::string testService(const char* name) {
    return std::string("com.corvale.tests.") + name + "." + std::to_string(::getpid());
}

struct FoundItem {
    std::string path;
    std::string label;
};

GVariant* callSecretService(GDBusConnection* bus, const char* path, const char* interface, const char* method,
                            GVariant* parameters, const char* replyType) {
    GError* error = nullptr;
    GVariant* reply =
        g_dbus_connection_call_sync(bus, "org.freedesktop.secrets", path, interface, method, parameters,
                                    G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    EXPECT_EQ(error, nullptr) << method << ": " << (error ? error->message : "");
    if (error) {
        g_error_free(error);
    }
    return reply;
}

// Asks the Secret Service over D-Bus directly, so the check does not share
// code with what it checks.
std::vector<FoundItem> itemsFor(const std::string& service, const std::string& account) {
    std::vector<FoundItem> items;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (bus == nullptr) {
        ADD_FAILURE() << "no session bus";
        return items;
    }
    GVariantBuilder attributes;
    g_variant_builder_init(&attributes, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&attributes, "{ss}", "xdg:schema", "com.corvale.Corvale.GenericPassword");
    g_variant_builder_add(&attributes, "{ss}", "service", service.c_str());
    g_variant_builder_add(&attributes, "{ss}", "account", account.c_str());
    GVariant* found = callSecretService(bus, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
                                        "SearchItems", g_variant_new("(a{ss})", &attributes), "(aoao)");
    if (found != nullptr) {
        GVariantIter* unlocked = nullptr;
        GVariantIter* locked = nullptr;
        g_variant_get(found, "(aoao)", &unlocked, &locked);
        const gchar* path = nullptr;
        while (g_variant_iter_next(unlocked, "&o", &path)) {
            FoundItem item{path, {}};
            GVariant* label = callSecretService(bus, path, "org.freedesktop.DBus.Properties", "Get",
                                                g_variant_new("(ss)", "org.freedesktop.Secret.Item", "Label"), "(v)");
            if (label != nullptr) {
                GVariant* value = nullptr;
                g_variant_get(label, "(v)", &value);
                item.label = g_variant_get_string(value, nullptr);
                g_variant_unref(value);
                g_variant_unref(label);
            }
            items.push_back(item);
        }
        EXPECT_EQ(g_variant_iter_n_children(locked), 0u);
        g_variant_iter_free(unlocked);
        g_variant_iter_free(locked);
        g_variant_unref(found);
    }
    g_object_unref(bus);
    return items;
}

std::string defaultCollectionPath() {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (bus == nullptr) {
        return {};
    }
    std::string path;
    GVariant* reply = callSecretService(bus, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service", "ReadAlias",
                                        g_variant_new("(s)", "default"), "(o)");
    if (reply != nullptr) {
        const gchar* alias = nullptr;
        g_variant_get(reply, "(&o)", &alias);
        path = alias;
        g_variant_unref(reply);
    }
    g_object_unref(bus);
    return path;
}

std::optional<std::string> loadText(LibsecretSecretStore& store, const std::string& service,
                                    const std::string& account) {
    auto loaded = store.load(service, account);
    EXPECT_TRUE(loaded.ok()) << "status " << (loaded.ok() ? 0 : loaded.error().status);
    if (!loaded.ok() || !loaded->has_value()) {
        return std::nullopt;
    }
    return std::string(asText((*loaded)->view()));
}

TEST(LibsecretSecretStore, SaveLoadReplaceRemove) {
    LibsecretSecretStore store;
    const std::string service = testService("lifecycle");

    EXPECT_EQ(loadText(store, service, "alice"), std::nullopt);

    auto saved = store.save(service, "alice", asBytes("first secret"));
    ASSERT_TRUE(saved.ok()) << "status " << saved.error().status;
    EXPECT_EQ(loadText(store, service, "alice"), "first secret");

    ASSERT_TRUE(store.save(service, "alice", asBytes("second")).ok());
    EXPECT_EQ(loadText(store, service, "alice"), "second");
    const auto items = itemsFor(service, "alice");
    ASSERT_EQ(items.size(), 1u) << "saving again must replace, not add";
    EXPECT_EQ(items[0].label, "Corvale: " + service);
    const std::string collection = defaultCollectionPath();
    ASSERT_NE(collection, "/") << "the keyring has no default collection";
    EXPECT_TRUE(items[0].path.starts_with(collection + "/")) << items[0].path << " is not in " << collection;

    ASSERT_TRUE(store.save(service, "bob", asBytes("bob's")).ok());
    EXPECT_EQ(loadText(store, service, "alice"), "second");

    ASSERT_TRUE(store.remove(service, "alice").ok());
    EXPECT_EQ(loadText(store, service, "alice"), std::nullopt);
    EXPECT_TRUE(itemsFor(service, "alice").empty());
    EXPECT_EQ(loadText(store, service, "bob"), "bob's");
    EXPECT_TRUE(store.remove(service, "alice").ok()) << "removing nothing succeeds";

    ASSERT_TRUE(store.remove(service, "bob").ok());
    EXPECT_EQ(loadText(store, service, "bob"), std::nullopt);
}

TEST(LibsecretSecretStore, BinarySecretsSurviveByteForByte) {
    LibsecretSecretStore store;
    const std::string service = testService("binary");

    Bytes key(256);
    for (std::size_t i = 0; i < key.size(); ++i) {
        key[i] = static_cast<std::uint8_t>(255 - i);  // every value, NULs included
    }
    key.push_back(0);
    ASSERT_TRUE(store.save(service, "key", key).ok());
    auto loaded = store.load(service, "key");
    ASSERT_TRUE(loaded.ok() && loaded->has_value());
    EXPECT_TRUE(std::equal(key.begin(), key.end(), (*loaded)->view().begin(), (*loaded)->view().end()));

    const Bytes leadingNul = {0, 0, 'a', 0};
    ASSERT_TRUE(store.save(service, "key", leadingNul).ok());
    loaded = store.load(service, "key");
    ASSERT_TRUE(loaded.ok() && loaded->has_value());
    EXPECT_TRUE((*loaded)->view().size() == 4 &&
                std::equal(leadingNul.begin(), leadingNul.end(), (*loaded)->view().begin()));

    ASSERT_TRUE(store.remove(service, "key").ok());
}

}  // namespace
}  // namespace corvale

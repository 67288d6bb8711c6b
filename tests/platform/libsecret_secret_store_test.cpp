// Runs against a real Secret Service; see with_keyring.sh for the headless one
// the test suite starts.

#include "platform/linux/LibsecretSecretStore.h"

#include <gtest/gtest.h>

#include <gio/gio.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace corvale {
namespace {

// Names unique to this run so a real keyring is never disturbed.
const std::string kService = "com.corvale.tests." + std::to_string(::getpid());

// Asks the Secret Service over D-Bus directly, so the check shares no code with what it checks.
GVariant* askSecretService(const char* method, GVariant* parameters, const char* replyType) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    GVariant* reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service", method,
        parameters, G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    EXPECT_EQ(error, nullptr) << method << ": " << (error ? error->message : "");
    return reply;
}

// Object paths of the items for `account`, which must all be unlocked.
std::vector<std::string> itemsFor(const std::string& account) {
    g_autoptr(GVariant) found = askSecretService(
        "SearchItems",
        g_variant_new_parsed("({'xdg:schema': 'com.corvale.Corvale.GenericPassword', 'service': %s, 'account': %s},)",
                             kService.c_str(), account.c_str()),
        "(aoao)");
    std::vector<std::string> paths;
    if (found == nullptr) return paths;
    g_autoptr(GVariantIter) unlocked = nullptr;
    g_autoptr(GVariantIter) locked = nullptr;
    g_variant_get(found, "(aoao)", &unlocked, &locked);
    for (const gchar* path = nullptr; g_variant_iter_next(unlocked, "&o", &path);) paths.emplace_back(path);
    EXPECT_EQ(g_variant_iter_n_children(locked), 0u);
    return paths;
}

std::optional<std::string> loadText(LibsecretSecretStore& store, const std::string& account) {
    auto loaded = store.load(kService, account);
    EXPECT_TRUE(loaded.ok()) << "status " << (loaded.ok() ? 0 : loaded.error().status);
    if (!loaded.ok() || !loaded->has_value()) {
        return std::nullopt;
    }
    return std::string(asText((*loaded)->view()));
}

TEST(LibsecretSecretStore, SaveLoadReplaceRemoveInTheDefaultCollection) {
    LibsecretSecretStore store;
    EXPECT_EQ(loadText(store, "alice"), std::nullopt);
    ASSERT_TRUE(store.save(kService, "alice", asBytes("first secret")).ok());
    EXPECT_EQ(loadText(store, "alice"), "first secret");
    ASSERT_TRUE(store.save(kService, "alice", asBytes("second")).ok());
    EXPECT_EQ(loadText(store, "alice"), "second");
    ASSERT_TRUE(store.save(kService, "bob", asBytes("bob's")).ok());

    const auto items = itemsFor("alice");
    ASSERT_EQ(items.size(), 1u) << "saving again must replace, not add";
    g_autoptr(GVariant) alias = askSecretService("ReadAlias", g_variant_new("(s)", "default"), "(o)");
    ASSERT_NE(alias, nullptr);
    g_autoptr(GVariant) path = g_variant_get_child_value(alias, 0);
    const std::string collection = g_variant_get_string(path, nullptr);
    ASSERT_NE(collection, "/") << "the keyring has no default collection";
    EXPECT_TRUE(items[0].starts_with(collection + "/")) << items[0] << " is not in " << collection;

    ASSERT_TRUE(store.remove(kService, "alice").ok());
    EXPECT_EQ(loadText(store, "alice"), std::nullopt);
    EXPECT_TRUE(itemsFor("alice").empty());
    EXPECT_TRUE(store.remove(kService, "alice").ok()) << "removing nothing succeeds";
    EXPECT_EQ(loadText(store, "bob"), "bob's");
    ASSERT_TRUE(store.remove(kService, "bob").ok());
}

TEST(LibsecretSecretStore, BinarySecretsSurviveByteForByte) {
    LibsecretSecretStore store;
    std::string everyValue(256, '\0');
    for (std::size_t i = 0; i < everyValue.size(); ++i) {
        everyValue[i] = static_cast<char>(255 - i);
    }
    for (const std::string& secret : {everyValue + '\0', std::string("\0\0a\0", 4)}) {
        ASSERT_TRUE(store.save(kService, "key", asBytes(secret)).ok());
        EXPECT_EQ(loadText(store, "key"), secret);
    }
    ASSERT_TRUE(store.remove(kService, "key").ok());
}

}  // namespace
}  // namespace corvale

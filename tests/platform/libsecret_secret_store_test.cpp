// Runs against a real Secret Service; see with_keyring.sh for the headless one
// the test suite starts.

#include "platform/linux/LibsecretSecretStore.h"

#include <gtest/gtest.h>

#include <gio/gio.h>
#include <libsecret/secret.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
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
    EXPECT_TRUE(loaded.ok()) << "status " << (loaded.ok() ? 0 : loaded.error().status) << ", kind "
                             << (loaded.ok() ? -1 : static_cast<int>(loaded.error().kind));
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

// The default collection, locked as a screen lock or a timeout would.
std::string lockDefaultCollection() {
    g_autoptr(GVariant) alias = askSecretService("ReadAlias", g_variant_new("(s)", "default"), "(o)");
    if (alias == nullptr) return {};
    g_autoptr(GVariant) path = g_variant_get_child_value(alias, 0);
    const std::string collection = g_variant_get_string(path, nullptr);
    const char* paths[] = {collection.c_str()};
    g_autoptr(GVariant) locked =
        askSecretService("Lock", g_variant_new("(@ao)", g_variant_new_objv(paths, 1)), "(aoo)");
    return collection;
}

// Last in this file: the keyring stays locked for the rest of the run.
TEST(LibsecretSecretStore, ALockedKeyringIsReportedLockedNotEmpty) {
    LibsecretSecretStore store(std::chrono::seconds(5));
    ASSERT_TRUE(store.save(kService, "locked", asBytes("sealed away")).ok());
    ASSERT_FALSE(lockDefaultCollection().empty());

    // Headless there is no prompter, so the keyring's unlock prompt cannot be
    // answered: the store must come back, and say locked rather than "no item".
    const auto started = std::chrono::steady_clock::now();
    const auto loaded = store.load(kService, "locked");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(20));
    ASSERT_FALSE(loaded.ok()) << "a locked item read as " << (loaded->has_value() ? "a value" : "no item");
    EXPECT_EQ(loaded.error().kind, SecretStoreFailure::Kind::locked);

    const auto saved = store.save(kService, "another", asBytes("x"));
    ASSERT_FALSE(saved.ok());
    EXPECT_EQ(saved.error().kind, SecretStoreFailure::Kind::locked);
}

// Run on its own by platform.libsecret.none, with a session bus address that leads nowhere.
TEST(LibsecretSecretStore, WithNothingOnTheBusItSaysThereIsNoKeyring) {
    if (!std::getenv("CORVALE_NO_SECRET_SERVICE")) GTEST_SKIP() << "needs a session bus with no Secret Service";
    LibsecretSecretStore store(std::chrono::seconds(5));
    const auto loaded = store.load(kService, "anyone");
    ASSERT_FALSE(loaded.ok());
    EXPECT_EQ(loaded.error().kind, SecretStoreFailure::Kind::noService);
    const auto saved = store.save(kService, "anyone", asBytes("x"));
    ASSERT_FALSE(saved.ok());
    EXPECT_EQ(saved.error().kind, SecretStoreFailure::Kind::noService);
}

TEST(LibsecretSecretStore, ErrorsAreToldByWhatTheyMeanToTheUser) {
    const auto kindOf = [](GQuark domain, int code) {
        g_autoptr(GError) error = g_error_new_literal(domain, code, "test");
        return LibsecretSecretStore::classify(error).kind;
    };
    using Kind = SecretStoreFailure::Kind;
    EXPECT_EQ(kindOf(SECRET_ERROR, SECRET_ERROR_IS_LOCKED), Kind::locked);
    EXPECT_EQ(kindOf(G_IO_ERROR, G_IO_ERROR_CANCELLED), Kind::locked);
    EXPECT_EQ(kindOf(G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN), Kind::noService);
    EXPECT_EQ(kindOf(G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER), Kind::noService);
    EXPECT_EQ(kindOf(G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED), Kind::refused);
    EXPECT_EQ(kindOf(SECRET_ERROR, SECRET_ERROR_PROTOCOL), Kind::refused);
    EXPECT_EQ(LibsecretSecretStore::classify(nullptr).status, -1);
}

}  // namespace
}  // namespace corvale

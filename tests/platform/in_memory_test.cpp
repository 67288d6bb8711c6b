#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

std::string contentsOf(InMemoryFileSystem& fs, const std::filesystem::path& path) {
    auto read = fs.readFile(path);
    EXPECT_TRUE(read.ok()) << path;
    return read ? std::string(asText(*read)) : std::string();
}

TEST(InMemoryFileSystem, FullDiskFailsTheWriteAndKeepsTheOldFile) {
    InMemoryFileSystem fs;
    ASSERT_TRUE(fs.createDirectories("/vault").ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("old a")).ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/b", asBytes("old b")).ok());

    fs.failWritesAfter(10);
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("new a")).ok());  // 5 of 10
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("12345")).ok());  // exactly 10

    const auto full = fs.replaceFileAtomically("/vault/b", asBytes("x"));
    ASSERT_FALSE(full.ok());
    EXPECT_EQ(full.error().code, FileError::Code::noSpace);
    EXPECT_EQ(full.error().path, "/vault/b");
    EXPECT_EQ(contentsOf(fs, "/vault/b"), "old b");
    EXPECT_EQ(contentsOf(fs, "/vault/a"), "12345");
    EXPECT_TRUE(fs.replaceFileAtomically("/vault/c", {}).ok()) << "an empty file still fits";
    EXPECT_FALSE(fs.replaceFileAtomically("/vault/b", asBytes("y")).ok()) << "the disk stays full";
    EXPECT_EQ(fs.list("/vault"), (std::vector<std::string>{"a", "b", "c"}));

    fs.clearWriteFailures();
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/b", asBytes("new b")).ok());
    EXPECT_EQ(contentsOf(fs, "/vault/b"), "new b");

    fs.failWritesAfter(3);  // a fresh budget, not counting earlier writes
    EXPECT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("abc")).ok());
    EXPECT_FALSE(fs.replaceFileAtomically("/vault/a", asBytes("d")).ok());
    EXPECT_EQ(contentsOf(fs, "/vault/a"), "abc");
}

TEST(InMemoryFileSystem, CountsOnlySuccessfulWritesPerFile) {
    InMemoryFileSystem fs;
    ASSERT_TRUE(fs.createDirectories("/vault").ok());
    EXPECT_EQ(fs.writeCount(), 0u);
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/records", asBytes("1")).ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/./records", asBytes("2")).ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/settings", asBytes("s")).ok());
    fs.failWritesAfter(0);
    EXPECT_FALSE(fs.replaceFileAtomically("/vault/records", asBytes("3")).ok());
    EXPECT_FALSE(fs.replaceFileAtomically("/missing/records", asBytes("3")).ok());

    EXPECT_EQ(fs.writeCount("/vault/records"), 2u);
    EXPECT_EQ(fs.writeCount("/vault/settings"), 1u);
    EXPECT_EQ(fs.writeCount("/vault/other"), 0u);
    EXPECT_EQ(fs.writeCount(), 3u);
    // Reads and removals are not writes.
    (void)fs.readFile("/vault/records");
    ASSERT_TRUE(fs.removeFile("/vault/settings").ok());
    EXPECT_EQ(fs.writeCount(), 3u);
}

TEST(InMemoryFileSystem, PathSpellingsNameTheSameEntry) {
    InMemoryFileSystem fs;
    ASSERT_TRUE(fs.createDirectories("/a/b/").ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/a/b/../b/file", asBytes("x")).ok());
    EXPECT_TRUE(fs.exists("/a/b/file"));
    EXPECT_TRUE(fs.exists("/a//b"));
    EXPECT_EQ(fs.list("/a/b/"), std::vector<std::string>{"file"});
    EXPECT_EQ(fs.list("/"), std::vector<std::string>{"a"});

    ASSERT_TRUE(fs.createDirectories("rel/sub").ok());
    ASSERT_TRUE(fs.replaceFileAtomically("top", asBytes("t")).ok());
    EXPECT_EQ(fs.list("."), (std::vector<std::string>{"rel", "top"}));
    EXPECT_TRUE(fs.removeAll("").ok());
    EXPECT_TRUE(fs.exists("/a/b/file"));
}

TEST(InMemorySecretStore, KeepsOneSecretPerServiceAndAccount) {
    InMemorySecretStore store;
    auto absent = store.load("vault", "alice");
    ASSERT_TRUE(absent.ok());
    EXPECT_FALSE(absent->has_value());

    ASSERT_TRUE(store.save("vault", "alice", asBytes("one")).ok());
    ASSERT_TRUE(store.save("vault", "bob", asBytes("bob's")).ok());
    ASSERT_TRUE(store.save("other", "alice", asBytes("other")).ok());
    ASSERT_TRUE(store.save("vault", "alice", asBytes(std::string_view("t\0o", 3))).ok());
    EXPECT_EQ(store.itemCount(), 3u);

    auto loaded = store.load("vault", "alice");
    ASSERT_TRUE(loaded.ok() && loaded->has_value());
    EXPECT_EQ(asText((*loaded)->view()), std::string_view("t\0o", 3));

    ASSERT_TRUE(store.remove("vault", "alice").ok());
    ASSERT_TRUE(store.remove("vault", "alice").ok());
    EXPECT_FALSE(store.load("vault", "alice")->has_value());
    EXPECT_TRUE(store.load("vault", "bob")->has_value());
}

TEST(InMemorySecretStore, ScheduledFailuresCarryTheStatusAndChangeNothing) {
    InMemorySecretStore store;
    ASSERT_TRUE(store.save("vault", "alice", asBytes("kept")).ok());

    store.failNext(3, -25308);
    const auto save = store.save("vault", "alice", asBytes("lost"));
    ASSERT_FALSE(save.ok());
    EXPECT_EQ(save.error().status, -25308);
    const auto remove = store.remove("vault", "alice");
    ASSERT_FALSE(remove.ok());
    EXPECT_EQ(remove.error().status, -25308);
    const auto load = store.load("vault", "alice");
    ASSERT_FALSE(load.ok());
    EXPECT_EQ(load.error().status, -25308);

    const auto after = store.load("vault", "alice");
    ASSERT_TRUE(after.ok() && after->has_value());
    EXPECT_EQ(asText((*after)->view()), "kept");
}

}  // namespace
}  // namespace corvale

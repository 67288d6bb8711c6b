// The in-memory file system stands in for the real one in other tests, so both
// are held to the same behaviour here.

#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"

#include "support/DiskFiles.h"
#include "support/Outcomes.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <optional>

namespace corvale {
namespace {

using namespace test_support;

using Names = std::vector<std::string>;
using namespace std::string_view_literals;

std::string contentsOf(FileSystem& fs, const std::filesystem::path& path) {
    auto read = fs.readFile(path);
    EXPECT_TRUE(read.ok()) << path;
    return read ? std::string(asText(*read)) : std::string();
}

mode_t permissionsOf(const std::filesystem::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

// Runs on the real file system when the parameter is true, in memory otherwise.
class FileSystemContract : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override { ASSERT_TRUE(m_memory.createDirectories(root).ok()); }
    FileSystem& fs() { return GetParam() ? static_cast<FileSystem&>(m_posix) : m_memory; }

    TemporaryFolder m_folder;
    const std::filesystem::path root = m_folder.path;

private:
    PosixFileSystem m_posix;
    InMemoryFileSystem m_memory;
};

TEST_P(FileSystemContract, ReplaceReadListAndRemove) {
    const auto file = root / "records.json";
    EXPECT_FALSE(fs().exists(file));
    for (std::string_view contents : {"one"sv, "two, longer"sv, ""sv, "3\0"sv}) {  // a shorter file keeps no old tail
        ASSERT_TRUE(fs().replaceFileAtomically(file, asBytes(contents)).ok());
        EXPECT_EQ(contentsOf(fs(), file), contents);
    }
    ASSERT_TRUE(fs().replaceFileAtomically(root / "." / "records.json", asBytes("4")).ok());
    EXPECT_EQ(contentsOf(fs(), file), "4");

    ASSERT_TRUE(fs().createDirectories(root / "docs" / "2024").ok());
    ASSERT_TRUE(fs().createDirectories(root / "docs").ok());
    for (const char* name : {"docs/b.pdf", "docs/a.pdf", "docs/2024/c.pdf", "docs-other"})
        ASSERT_TRUE(fs().replaceFileAtomically(root / name, asBytes(name)).ok()) << name;
    EXPECT_EQ(fs().list(root / "docs"), (Names{"2024", "a.pdf", "b.pdf"}));
    EXPECT_EQ(fs().list(root), (Names{"docs", "docs-other", "records.json"}));  // no temporaries left
    EXPECT_EQ(failedWith(fs().createDirectories(root / "docs-other" / "sub")), FileError::Code::other);

    ASSERT_TRUE(fs().removeFile(root / "docs" / "a.pdf").ok());
    EXPECT_FALSE(fs().exists(root / "docs" / "a.pdf"));
    EXPECT_TRUE(fs().removeFile(root / "docs" / "a.pdf").ok());
    EXPECT_FALSE(fs().removeFile(root / "docs").ok());
    ASSERT_TRUE(fs().removeAll(root / "docs").ok());
    EXPECT_FALSE(fs().exists(root / "docs" / "2024" / "c.pdf"));
    EXPECT_TRUE(fs().removeAll(root / "docs").ok());
    EXPECT_EQ(fs().list(root), (Names{"docs-other", "records.json"}));  // a shared prefix is not containment
}

TEST_P(FileSystemContract, FailuresAreClassifiedAndChangeNothing) {
    const auto read = fs().readFile(root / "absent");
    ASSERT_EQ(failedWith(read), FileError::Code::notFound);
    EXPECT_EQ(read.error().path, root / "absent");
    EXPECT_EQ(failedWith(fs().replaceFileAtomically(root / "no-folder" / "file", asBytes("x"))),
              FileError::Code::notFound);
    EXPECT_FALSE(fs().exists(root / "no-folder"));
    EXPECT_TRUE(fs().list(root / "no-folder").empty());

    ASSERT_TRUE(fs().createDirectories(root / "blocked" / "inner").ok());
    EXPECT_EQ(failedWith(fs().readFile(root / "blocked")), FileError::Code::other);
    EXPECT_FALSE(fs().replaceFileAtomically(root / "blocked", asBytes("x")).ok());
    EXPECT_EQ(fs().list(root), Names{"blocked"});
    EXPECT_EQ(fs().list(root / "blocked"), Names{"inner"});
}

TEST_P(FileSystemContract, BoundedReadsTakeOnlyPlainFilesAndExchangeSwapsFoldersWithTheirLocks) {
    ASSERT_TRUE(fs().createDirectories(root / "folder").ok());
    ASSERT_TRUE(fs().replaceFileAtomically(root / "file", asBytes("twelve bytes")).ok());
    const auto whole = fs().readRegularFile(root / "file", 12);
    ASSERT_TRUE(whole.ok());
    EXPECT_EQ(asText(*whole), "twelve bytes");
    EXPECT_EQ(failedWith(fs().readRegularFile(root / "file", 11)), FileError::Code::tooLarge);
    EXPECT_EQ(failedWith(fs().readRegularFile(root / "folder", 100)), FileError::Code::notAFile);
    EXPECT_EQ(failedWith(fs().readRegularFile(root / "absent", 100)), FileError::Code::notFound);
    // A new file only: one already there, or a folder, stays as it was.
    ASSERT_TRUE(fs().createFile(root / "new", asBytes("fresh")).ok());
    EXPECT_EQ(contentsOf(fs(), root / "new"), "fresh");
    EXPECT_FALSE(fs().createFile(root / "file", asBytes("over")).ok());
    EXPECT_EQ(contentsOf(fs(), root / "file"), "twelve bytes");
    EXPECT_FALSE(fs().createFile(root / "folder", asBytes("over")).ok());
    fs().flushFolder(root);

    ASSERT_TRUE(fs().createDirectories(root / "a").ok());
    ASSERT_TRUE(fs().createDirectories(root / "b" / "inner").ok());
    ASSERT_TRUE(fs().replaceFileAtomically(root / "a" / "one", asBytes("1")).ok());
    auto lock = fs().lockExclusively(root / "a" / ".lock");
    ASSERT_TRUE(lock.ok() && lock->has_value());
    ASSERT_TRUE(fs().exchange(root / "a", root / "b").ok());
    EXPECT_EQ(fs().list(root / "a"), Names{"inner"});
    EXPECT_EQ(contentsOf(fs(), root / "b" / "one"), "1");
    // The lock went with its file: held at its new place, free at the old.
    auto moved = fs().lockExclusively(root / "b" / ".lock");
    ASSERT_TRUE(moved.ok());
    EXPECT_FALSE(moved->has_value());
    auto vacated = fs().lockExclusively(root / "a" / ".lock");
    ASSERT_TRUE(vacated.ok());
    EXPECT_TRUE(vacated->has_value());
    EXPECT_EQ(failedWith(fs().exchange(root / "a", root / "absent")), FileError::Code::notFound);
    EXPECT_TRUE(fs().exists(root / "a" / "inner"));
}

TEST(PosixFileSystem, BoundedReadsRefuseLinksAndPipesWithoutWaiting) {
    TemporaryFolder folder;
    PosixFileSystem disk;
    ASSERT_TRUE(disk.replaceFileAtomically(folder.path / "real", asBytes("x")).ok());
    std::filesystem::create_symlink(folder.path / "real", folder.path / "link");
    ASSERT_EQ(::mkfifo((folder.path / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(failedWith(disk.readRegularFile(folder.path / "link", 100)), FileError::Code::notAFile);
    EXPECT_EQ(failedWith(disk.readRegularFile(folder.path / "pipe", 100)), FileError::Code::notAFile);
    EXPECT_EQ(disk.readRegularFile(folder.path / "link", 100).error().message(),
              (folder.path / "link").string() +
                  " is a link, folder or device rather than a plain file, so choose the file itself.");
}

INSTANTIATE_TEST_SUITE_P(Implementations, FileSystemContract, ::testing::Values(true, false),
                         [](const ::testing::TestParamInfo<bool>& p) {
                             return std::string(p.param ? "Posix" : "InMemory");
                         });

TEST(PosixFileSystem, FilesAndFoldersAreOwnerOnly) {
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto target = folder.path / "vault.corvale";
    ASSERT_TRUE(fs.replaceFileAtomically(target, asBytes("first")).ok());
    EXPECT_EQ(permissionsOf(target), 0600);
    ASSERT_EQ(::chmod(target.c_str(), 0644), 0);
    ASSERT_TRUE(fs.replaceFileAtomically(target, asBytes("second")).ok());
    EXPECT_EQ(permissionsOf(target), 0600);

    ASSERT_TRUE(fs.createDirectories(folder.path / "a" / "b").ok());
    EXPECT_EQ(permissionsOf(folder.path / "a"), 0700);
    EXPECT_EQ(permissionsOf(folder.path / "a" / "b"), 0700);

    // stat reports no size for these, yet they must read whole.
    EXPECT_NE(contentsOf(fs, "/proc/self/status").find("Name:"), std::string::npos);
}

TEST(PosixFileSystem, FailedReplaceLeavesTargetUntouched) {
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto target = folder.path / "vault.corvale";
    ASSERT_TRUE(fs.replaceFileAtomically(target, asBytes("old contents")).ok());
    // A low file size limit stops the write part way, as a full disk would.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit previous{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &previous), 0);
    rlimit lowered = previous;
    lowered.rlim_cur = 4096;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &lowered), 0);
    const auto tooBig = fs.replaceFileAtomically(target, Bytes(64 * 1024, 0x42));
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &previous), 0);
    ASSERT_FALSE(tooBig.ok());
    EXPECT_EQ(tooBig.error().systemError, EFBIG);
    EXPECT_EQ(contentsOf(fs, target), "old contents");
    EXPECT_EQ(fs.list(folder.path), Names{"vault.corvale"});

    if (::geteuid() == 0) {
        return;  // root ignores permissions
    }
    ASSERT_EQ(::chmod(folder.path.c_str(), 0500), 0);
    const auto readOnly = fs.replaceFileAtomically(target, asBytes("new"));
    ASSERT_EQ(::chmod(folder.path.c_str(), 0700), 0);
    EXPECT_EQ(failedWith(readOnly), FileError::Code::permissionDenied);
    EXPECT_EQ(contentsOf(fs, target), "old contents");
    EXPECT_EQ(fs.list(folder.path), Names{"vault.corvale"});

    ASSERT_EQ(::chmod(target.c_str(), 0000), 0);
    EXPECT_EQ(failedWith(fs.readFile(target)), FileError::Code::permissionDenied);
}

TEST(InMemoryFileSystem, FullDiskFailsWritesAndOnlySuccessfulWritesCount) {
    InMemoryFileSystem fs;
    ASSERT_TRUE(fs.createDirectories("/vault").ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("old a")).ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/./b", asBytes("old b")).ok());
    fs.failWritesAfter(10);
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("new a")).ok());
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("12345")).ok());  // exactly at the limit
    const auto full = fs.replaceFileAtomically("/vault/b", asBytes("x"));
    ASSERT_EQ(failedWith(full), FileError::Code::noSpace);
    EXPECT_EQ(full.error().path, "/vault/b");
    EXPECT_EQ(contentsOf(fs, "/vault/b"), "old b");
    EXPECT_TRUE(fs.replaceFileAtomically("/vault/c", {}).ok()) << "an empty file still fits";
    EXPECT_FALSE(fs.replaceFileAtomically("/vault/b", asBytes("y")).ok()) << "the disk stays full";
    EXPECT_FALSE(fs.replaceFileAtomically("/missing/b", {}).ok());
    EXPECT_EQ(fs.writeCount(), 5u);  // the failed ones are not counted
    EXPECT_EQ(fs.writeCount("/vault/a"), 3u);
    EXPECT_EQ(fs.writeCount("/vault/b"), 1u);

    fs.clearWriteFailures();
    ASSERT_TRUE(fs.replaceFileAtomically("/vault/b", asBytes("new b")).ok());
    fs.failWritesAfter(3);  // a fresh budget, not counting earlier writes
    EXPECT_TRUE(fs.replaceFileAtomically("/vault/a", asBytes("abc")).ok());
    EXPECT_FALSE(fs.replaceFileAtomically("/vault/a", asBytes("d")).ok());
    EXPECT_EQ(contentsOf(fs, "/vault/a"), "abc");
}

}  // namespace
}  // namespace corvale

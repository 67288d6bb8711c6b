#include "platform/linux/PosixFileSystem.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

namespace corvale {
namespace {

using testing::TemporaryFolder;

mode_t permissionsOf(const std::filesystem::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

std::string contentsOf(PosixFileSystem& fs, const std::filesystem::path& path) {
    auto read = fs.readFile(path);
    EXPECT_TRUE(read.ok()) << path;
    return read ? std::string(asText(*read)) : std::string();
}

// Lowers the file size limit so writes fail part way, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        rlimit lowered = m_previous;
        lowered.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &lowered);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int) = nullptr;
};

TEST(PosixFileSystem, AtomicReplaceWritesOwnerOnlyFileAndLeavesNoTemporaries) {
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto target = folder.path() / "vault.corvale";

    ASSERT_TRUE(fs.replaceFileAtomically(target, asBytes("first")).ok());
    EXPECT_EQ(contentsOf(fs, target), "first");
    EXPECT_EQ(permissionsOf(target), 0600);

    // A shorter version must not keep the tail of the longer one.
    ASSERT_TRUE(fs.replaceFileAtomically(target, asBytes("2nd")).ok());
    EXPECT_EQ(contentsOf(fs, target), "2nd");

    ASSERT_EQ(::chmod(target.c_str(), 0644), 0);
    ASSERT_TRUE(fs.replaceFileAtomically(target, {}).ok());
    EXPECT_EQ(contentsOf(fs, target), "");
    EXPECT_EQ(permissionsOf(target), 0600);

    EXPECT_EQ(fs.list(folder.path()), std::vector<std::string>{"vault.corvale"});
}

TEST(PosixFileSystem, LargeFilesRoundTrip) {
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto target = folder.path() / "big.bin";
    Bytes data(5 * 1024 * 1024 + 3);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>(i * 131 + (i >> 12));
    }
    ASSERT_TRUE(fs.replaceFileAtomically(target, data).ok());
    auto read = fs.readFile(target);
    ASSERT_TRUE(read.ok());
    EXPECT_TRUE(*read == data);
}

TEST(PosixFileSystem, FailedReplaceLeavesTargetUntouched) {
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto target = folder.path() / "vault.corvale";
    ASSERT_TRUE(fs.replaceFileAtomically(target, asBytes("old contents")).ok());

    {  // the write stops part way
        FileSizeLimit limit(4096);
        const auto result = fs.replaceFileAtomically(target, Bytes(64 * 1024, 0x42));
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().systemError, EFBIG);
        EXPECT_EQ(result.error().path, target);
    }
    EXPECT_EQ(contentsOf(fs, target), "old contents");
    EXPECT_EQ(fs.list(folder.path()), std::vector<std::string>{"vault.corvale"});

    // The rename fails: a folder is in the way.
    const auto blocked = folder.path() / "blocked";
    ASSERT_TRUE(fs.createDirectories(blocked / "inner").ok());
    EXPECT_FALSE(fs.replaceFileAtomically(blocked, asBytes("new")).ok());
    EXPECT_EQ(fs.list(folder.path()), (std::vector<std::string>{"blocked", "vault.corvale"}));

    // The folder does not exist.
    const auto missing = fs.replaceFileAtomically(folder.path() / "missing" / "vault.corvale", asBytes("new"));
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.error().code, FileError::Code::notFound);
    EXPECT_FALSE(fs.exists(folder.path() / "missing"));
}

TEST(PosixFileSystem, ReadOnlyFolderRefusesReplaceAndKeepsTarget) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root ignores folder permissions";
    }
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto locked = folder.path() / "locked";
    ASSERT_TRUE(fs.createDirectories(locked).ok());
    ASSERT_TRUE(fs.replaceFileAtomically(locked / "vault.corvale", asBytes("old")).ok());
    ASSERT_EQ(::chmod(locked.c_str(), 0500), 0);

    const auto result = fs.replaceFileAtomically(locked / "vault.corvale", asBytes("new"));
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().code, FileError::Code::permissionDenied);
    EXPECT_EQ(contentsOf(fs, locked / "vault.corvale"), "old");
    EXPECT_EQ(fs.list(locked), std::vector<std::string>{"vault.corvale"});
}

TEST(PosixFileSystem, CreateDirectoriesMakesOwnerOnlyFoldersAndToleratesExisting) {
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto deep = folder.path() / "a" / "b" / "c";
    ASSERT_TRUE(fs.createDirectories(deep).ok());
    EXPECT_EQ(permissionsOf(folder.path() / "a"), 0700);
    EXPECT_EQ(permissionsOf(folder.path() / "a" / "b"), 0700);
    EXPECT_EQ(permissionsOf(deep), 0700);
    EXPECT_TRUE(fs.createDirectories(deep).ok());
    EXPECT_TRUE(fs.createDirectories(deep / "").ok());

    ASSERT_TRUE(fs.replaceFileAtomically(folder.path() / "file", asBytes("x")).ok());
    const auto throughFile = fs.createDirectories(folder.path() / "file" / "sub");
    ASSERT_FALSE(throughFile.ok());
    EXPECT_EQ(throughFile.error().code, FileError::Code::other);
}

TEST(PosixFileSystem, ReadMapsErrorsToCodes) {
    TemporaryFolder folder;
    PosixFileSystem fs;
    const auto missing = fs.readFile(folder.path() / "absent");
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.error().code, FileError::Code::notFound);
    EXPECT_EQ(missing.error().systemError, ENOENT);
    EXPECT_EQ(missing.error().path, folder.path() / "absent");

    const auto directory = fs.readFile(folder.path());
    ASSERT_FALSE(directory.ok());
    EXPECT_EQ(directory.error().code, FileError::Code::other);

    // Files whose size stat can't tell still read completely.
    const auto status = fs.readFile("/proc/self/status");
    ASSERT_TRUE(status.ok());
    EXPECT_NE(asText(*status).find("Name:"), std::string_view::npos);

    if (::geteuid() != 0) {
        const auto secret = folder.path() / "secret";
        std::ofstream(secret) << "x";
        ASSERT_EQ(::chmod(secret.c_str(), 0000), 0);
        const auto denied = fs.readFile(secret);
        ASSERT_FALSE(denied.ok());
        EXPECT_EQ(denied.error().code, FileError::Code::permissionDenied);
    }
}

}  // namespace
}  // namespace corvale

// The in-memory file system stands in for the real one in other tests, so both
// are held to the same behaviour here.

#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <memory>

namespace corvale {
namespace {

struct Subject {
    std::unique_ptr<FileSystem> fs;
    std::filesystem::path root;
    std::unique_ptr<testing::TemporaryFolder> folder;
};

using Factory = Subject (*)();

Subject posix() {
    Subject s;
    s.folder = std::make_unique<testing::TemporaryFolder>();
    s.root = s.folder->path();
    s.fs = std::make_unique<PosixFileSystem>();
    return s;
}

Subject inMemory() {
    Subject s;
    s.root = "/home/clinician/vault";
    s.fs = std::make_unique<InMemoryFileSystem>();
    EXPECT_TRUE(s.fs->createDirectories(s.root).ok());
    return s;
}

class FileSystemContract : public ::testing::TestWithParam<Factory> {
protected:
    void SetUp() override { m_subject = GetParam()(); }
    FileSystem& fs() { return *m_subject.fs; }
    const std::filesystem::path& root() const { return m_subject.root; }

private:
    Subject m_subject;
};

TEST_P(FileSystemContract, ReplaceThenReadReturnsTheLatestContents) {
    const auto file = root() / "records.json";
    EXPECT_FALSE(fs().exists(file));
    ASSERT_TRUE(fs().replaceFileAtomically(file, asBytes("one")).ok());
    ASSERT_TRUE(fs().replaceFileAtomically(file, asBytes("two, longer")).ok());
    ASSERT_TRUE(fs().replaceFileAtomically(file, asBytes(std::string_view("3\0", 2))).ok());
    auto read = fs().readFile(file);
    ASSERT_TRUE(read.ok());
    EXPECT_EQ(asText(*read), std::string_view("3\0", 2));
    EXPECT_TRUE(fs().exists(file));
    EXPECT_EQ(fs().list(root()), std::vector<std::string>{"records.json"});
}

TEST_P(FileSystemContract, MissingThingsReportNotFound) {
    const auto read = fs().readFile(root() / "absent");
    ASSERT_FALSE(read.ok());
    EXPECT_EQ(read.error().code, FileError::Code::notFound);

    const auto write = fs().replaceFileAtomically(root() / "no-folder" / "file", asBytes("x"));
    ASSERT_FALSE(write.ok());
    EXPECT_EQ(write.error().code, FileError::Code::notFound);
    EXPECT_FALSE(fs().exists(root() / "no-folder"));
    EXPECT_TRUE(fs().list(root() / "no-folder").empty());
}

TEST_P(FileSystemContract, FoldersAreCreatedListedAndRemovedWithTheirContents) {
    ASSERT_TRUE(fs().createDirectories(root() / "docs" / "2024").ok());
    ASSERT_TRUE(fs().createDirectories(root() / "docs").ok());
    ASSERT_TRUE(fs().replaceFileAtomically(root() / "docs" / "b.pdf", asBytes("b")).ok());
    ASSERT_TRUE(fs().replaceFileAtomically(root() / "docs" / "a.pdf", asBytes("a")).ok());
    ASSERT_TRUE(fs().replaceFileAtomically(root() / "docs" / "2024" / "c.pdf", asBytes("c")).ok());
    ASSERT_TRUE(fs().replaceFileAtomically(root() / "docs-other", asBytes("d")).ok());
    EXPECT_EQ(fs().list(root() / "docs"), (std::vector<std::string>{"2024", "a.pdf", "b.pdf"}));
    EXPECT_EQ(fs().list(root()), (std::vector<std::string>{"docs", "docs-other"}));

    const auto throughFile = fs().createDirectories(root() / "docs-other" / "sub");
    ASSERT_FALSE(throughFile.ok());
    EXPECT_EQ(throughFile.error().code, FileError::Code::other);

    ASSERT_TRUE(fs().removeFile(root() / "docs" / "a.pdf").ok());
    EXPECT_FALSE(fs().exists(root() / "docs" / "a.pdf"));
    EXPECT_TRUE(fs().removeFile(root() / "docs" / "a.pdf").ok());
    EXPECT_FALSE(fs().removeFile(root() / "docs").ok());

    ASSERT_TRUE(fs().removeAll(root() / "docs").ok());
    EXPECT_FALSE(fs().exists(root() / "docs"));
    EXPECT_FALSE(fs().exists(root() / "docs" / "2024" / "c.pdf"));
    EXPECT_TRUE(fs().exists(root() / "docs-other"));  // a shared name prefix is not containment
    EXPECT_TRUE(fs().removeAll(root() / "docs").ok());
    EXPECT_EQ(fs().list(root()), std::vector<std::string>{"docs-other"});
}

TEST_P(FileSystemContract, ReadingAFolderFails) {
    const auto read = fs().readFile(root());
    ASSERT_FALSE(read.ok());
    EXPECT_EQ(read.error().code, FileError::Code::other);
    EXPECT_FALSE(fs().replaceFileAtomically(root(), asBytes("x")).ok());
}

INSTANTIATE_TEST_SUITE_P(Implementations, FileSystemContract, ::testing::Values(&posix, &inMemory),
                         [](const ::testing::TestParamInfo<Factory>& param) {
                             return param.param == &posix ? std::string("Posix") : std::string("InMemory");
                         });

}  // namespace
}  // namespace corvale

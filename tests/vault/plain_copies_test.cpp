#include "vault/PlainCopies.h"

#include "VaultTestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace corvale {
namespace {

using test::TemporaryFolder;

TEST(PlainCopies, FileNamesAreSanitised) {
    const std::pair<std::string, std::string> cases[] = {
        {"licence.pdf", "licence.pdf"},
        {"Approbationsurkunde \xC3\x84rztekammer.pdf", "Approbationsurkunde \xC3\x84rztekammer.pdf"},
        {"", "document"},
        {".", "document"},
        {"..", "document"},
        {"...", "document"},
        {".bashrc", "bashrc"},
        {"../../etc/passwd", "_._etc_passwd"},
        {"a\\b/c", "a_b_c"},
        {"tab\there\nnl\x7f", "tab_here_nl_"},
        {"c1\xC2\x85next", "c1_next"},
        {"report..final.pdf", "report.final.pdf"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(sanitisedFileName(input, "document"), expected) << input;
    }

    // Long names keep their extension and are never cut inside a character:
    // with a one-byte prefix the 200-byte mark falls inside an "é".
    std::string accents;
    for (int i = 0; i < 150; ++i) {
        accents += "\xC3\xA9";
    }
    EXPECT_EQ(sanitisedFileName("x" + accents + ".pdf", "document"), "x" + accents.substr(0, 194) + ".pdf");
    EXPECT_EQ(sanitisedFileName(std::string(300, 'x'), "document"), std::string(200, 'x'));
}

TEST(PlainCopies, RefusesFoldersItDoesNotOwnOutright) {
    TemporaryFolder temporary;
    PlainCopies copies(temporary.path());
    const auto root = copies.root();

    // A look-alike folder that others may write to is tightened before use.
    ASSERT_EQ(::mkdir(root.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(root.c_str(), 0777), 0);
    auto written = copies.write("doc-1", "scan.png", asBytes("png"));
    ASSERT_TRUE(written) << written.error().message();
    struct stat info {};
    ASSERT_EQ(::stat(root.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700u);
    ASSERT_TRUE(copies.clear());

    // A link planted in its place is not followed.
    TemporaryFolder elsewhere;
    ASSERT_EQ(::symlink(elsewhere.path().c_str(), root.c_str()), 0);
    auto redirected = copies.write("doc-1", "scan.png", asBytes("png"));
    ASSERT_FALSE(redirected);
    EXPECT_EQ(redirected.error().code, VaultError::Code::storage);
    EXPECT_TRUE(std::filesystem::is_empty(elsewhere.path()));
    ASSERT_TRUE(copies.clear());
    EXPECT_TRUE(std::filesystem::exists(elsewhere.path()));
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(root)));

    // So is a link where the copy itself goes.
    ASSERT_TRUE(copies.write("doc-1", "scan.png", asBytes("png")));
    const auto target = elsewhere.path() / "victim";
    const auto copy = root / "doc-1" / "scan.png";
    ASSERT_EQ(::unlink(copy.c_str()), 0);
    ASSERT_EQ(::symlink(target.c_str(), copy.c_str()), 0);
    ASSERT_TRUE(copies.write("doc-1", "scan.png", asBytes("png")));
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_FALSE(std::filesystem::is_symlink(copy));
}

TEST(PlainCopies, RefusesAFolderOwnedBySomeoneElse) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to hand a folder to another user";
    }
    TemporaryFolder temporary;
    PlainCopies copies(temporary.path());
    ASSERT_EQ(::mkdir(copies.root().c_str(), 0700), 0);
    ASSERT_EQ(::chown(copies.root().c_str(), 65534, 65534), 0);

    auto written = copies.write("doc-1", "scan.png", asBytes("png"));
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, VaultError::Code::storage);
    EXPECT_EQ(written.error().file.code, FileError::Code::permissionDenied);
    EXPECT_TRUE(std::filesystem::is_empty(copies.root()));
}

}  // namespace
}  // namespace corvale

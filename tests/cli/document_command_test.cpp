#include "TestDevice.h"
#include "support/DiskFiles.h"

namespace corvale {
namespace {

using namespace clitest;

TEST(DocumentRead, ProposesTheFieldsOfAFileAndStoresNothing) {
    InMemoryFileSystem files;
    Device device(files, "/read");
    ASSERT_TRUE(files.createDirectories("/scans"));
    ASSERT_TRUE(files.replaceFileAtomically(
        "/scans/TX licence.pdf", test_support::readAll(std::filesystem::path(CORVALE_TEST_DATA_DIR) / "licence-card.pdf")));
    ASSERT_TRUE(files.replaceFileAtomically("/scans/notes.txt", asBytes("Renew the Texas licence in February")));
    const auto writesBefore = files.writeCount();

    const auto plain = device.run({"doc", "read", "/scans/TX licence.pdf"});
    ASSERT_EQ(plain.code, 0) << plain.err;
    EXPECT_NE(plain.out.find("State:        Texas (TX)\nNumber:       Q4412\nIssued:       March 15, 2019\n"
                             "Expires:      February 28, 2027\n"),
              std::string::npos)
        << plain.out;
    EXPECT_NE(plain.out.find("The PDF's own text (1 page):\n  TEXAS MEDICAL BOARD\n"), std::string::npos);

    const auto json = device.run({"doc", "read", "/scans/TX licence.pdf", "--json"}).json();
    EXPECT_EQ(json.find("kind")->asString(), "license");
    EXPECT_EQ(json.find("credentialKind")->asString(), "stateLicense");
    EXPECT_EQ(json.find("expires")->asString(), "2027-02-28");
    EXPECT_TRUE(json.find("fromTextLayer")->asBool());
    EXPECT_NE(json.find("text")->asString().find("License No. Q-4412"), std::string::npos);

    const auto notADocument = device.run({"doc", "read", "/scans/notes.txt"});
    EXPECT_EQ(notADocument.code, 1);
    EXPECT_EQ(notADocument.err, "This file isn't a PDF or a picture Corvale can read.\n");
    EXPECT_EQ(device.run({"doc", "read", "/scans/gone.pdf"}).code, 1);
    // Reading needs no vault: none was made, nothing was written.
    EXPECT_EQ(files.writeCount(), writesBefore);
    EXPECT_FALSE(files.exists("/read/support"));
}

}  // namespace
}  // namespace corvale

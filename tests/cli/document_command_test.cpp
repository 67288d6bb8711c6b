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

namespace corvale {
namespace {

using namespace clitest;

class DocumentImport : public ::testing::Test {
protected:
    InMemoryFileSystem files;
    Device device{files, "/office"};

    void SetUp() override {
        ASSERT_TRUE(files.createDirectories("/scans"));
        ASSERT_TRUE(files.replaceFileAtomically(
            "/scans/card.pdf", test_support::readAll(std::filesystem::path(CORVALE_TEST_DATA_DIR) / "licence-card.pdf")));
        ASSERT_EQ(device.run({"init", "--name", "Jane Example", "--degree", "MD", "--state", "TX"}).code, 0);
    }
    std::vector<JSONValue> credentials() { return device.run({"list", "credentials", "--json"}).json().asArray(); }
};

TEST_F(DocumentImport, AReadDocumentFillsTheLicenceItBelongsToOnlyOnceConfirmed) {
    // The starter Texas licence has no number yet: the card is proposed for it by its state.
    const auto added = device.run({"doc", "add", "/scans/card.pdf", "--read"});
    ASSERT_EQ(added.code, 0) << added.err;
    const std::string id = added.line();
    EXPECT_NE(added.out.find("Proposed: file it with Texas license ("), std::string::npos) << added.out;
    EXPECT_NE(added.out.find("  expiresOn    2027-02-28\n"), std::string::npos);
    ASSERT_EQ(credentials().size(), 1u);
    EXPECT_FALSE(credentials()[0].find("number"));  // nothing changes before the confirmation
    EXPECT_NE(device.run({"doc", "list", "--needs-review"}).out.find(id), std::string::npos);

    // A refused correction changes nothing; a good one is applied with the rest.
    const auto vaultWrites = files.writeCount(device.vaultFile());
    const auto refused = device.run({"doc", "review", id, "--set", "expiresOn=2027-02-30", "--accept"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err, "'2027-02-30' isn't on the calendar, so check the day and month.\n");
    EXPECT_EQ(device.run({"doc", "review", id, "--set", "colour=blue"}).code, 2);
    EXPECT_EQ(files.writeCount(device.vaultFile()), vaultWrites);

    const auto accepted = device.run({"doc", "review", id, "--set", "expiresOn=2027-03-31", "--accept"});
    ASSERT_EQ(accepted.code, 0) << accepted.err;
    const auto licence = credentials()[0];
    EXPECT_EQ(licence.find("number")->asString(), "Q4412");
    EXPECT_EQ(licence.find("expiresOn")->asString(), "2027-03-31");
    EXPECT_EQ(licence.find("issuedOn")->asString(), "2019-03-15");
    EXPECT_EQ(licence.find("documentIds")->asArray()[0].asString(), id);
    EXPECT_EQ(device.run({"doc", "list", "--needs-review"}).out, "");

    // The same file again is a duplicate; removing it keeps the licence pointing at the first.
    const auto again = device.run({"doc", "add", "/scans/card.pdf", "--read"});
    ASSERT_EQ(device.run({"doc", "review", again.line(), "--accept"}).code, 0);
    EXPECT_EQ(credentials().size(), 1u);  // the same number: the same licence
    EXPECT_NE(device.run({"doc", "duplicates"}).out.find("is a copy of card.pdf (" + id + "): the same file"),
              std::string::npos);
    EXPECT_EQ(device.run({"doc", "duplicates", "--remove"}).out, "1 duplicate removed\n");
    const auto ids = credentials()[0].find("documentIds")->asArray();
    ASSERT_EQ(ids.size(), 1u);
    EXPECT_EQ(ids[0].asString(), id);
    EXPECT_EQ(device.run({"doc", "duplicates"}).out, "No document is stored twice.\n");
}

TEST_F(DocumentImport, AFileThatIsNoDocumentIsNotStored) {
    ASSERT_TRUE(files.replaceFileAtomically("/scans/notes.txt", asBytes("Renew the Texas licence in February")));
    const auto refused = device.run({"doc", "add", "/scans/notes.txt", "--read"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err, "This file isn't a PDF or a picture Corvale can read.\n");
    EXPECT_EQ(device.run({"doc", "list"}).out, "");
}

}  // namespace
}  // namespace corvale

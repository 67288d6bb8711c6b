#include "documents/reading/DocumentParser.h"
#include "documents/reading/DocumentProposal.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

Credential credential(std::string id, std::string kind, std::optional<std::string> state,
                      std::optional<std::string> number) {
    Credential c;
    c.id = std::move(id);
    c.personId = "p";
    c.kind = std::move(kind);
    c.state = std::move(state);
    c.number = std::move(number);
    return c;
}

DocumentRecord read(std::string text) {
    DocumentRecord d;
    d.id = "doc";
    d.personId = "p";
    d.filename = "scan.pdf";
    d.text = std::move(text);
    d.needsReview = true;
    return d;
}

TEST(DocumentProposal, FindsTheRecordByNumberThenStateAndFillsItOnlyWhenAccepted) {
    VaultDocument vault;
    vault.credentials = {credential("ca-old", "stateLicense", "CA", "A1"), credential("ca", "stateLicense", "CA", "A 123456"),
                         credential("bls", "bls", std::nullopt, std::nullopt)};
    const auto card = read("Medical Board of California\nLicense No. A-123456\nExpires: 05/31/2027");
    vault.documents = {card};
    // The number decides between two California licences, whatever its spacing.
    auto proposal = DocumentProposal::make(vault, card, DocumentParser::parse(*card.text, card.filename));
    EXPECT_EQ(proposal.target, DocumentProposal::Target::existingCredential);
    EXPECT_EQ(proposal.credentialId, "ca");
    const auto withoutNumber = read("Medical Board of California\nExpires: 05/31/2027");
    EXPECT_EQ(DocumentProposal::make(vault, withoutNumber, DocumentParser::parse(*withoutNumber.text, "")).target,
              DocumentProposal::Target::newCredential);  // two licences of that state: the user chooses
    const auto bls = read("BLS Provider\nRecommended Renewal Date 04/2027");
    EXPECT_EQ(DocumentProposal::make(vault, bls, DocumentParser::parse(*bls.text, "")).credentialId, "bls");

    ASSERT_TRUE(proposal.set(vault, "record=new"));
    EXPECT_FALSE(proposal.set(vault, "record=nobody"));
    EXPECT_FALSE(proposal.set(vault, "hours=2"));  // a licence has no hours
    const auto accepted = acceptProposal(vault, proposal, Timestamp::epoch(), Day{2026, 11, 25});
    ASSERT_TRUE(accepted);
    ASSERT_EQ(vault.credentials.size(), 4u);
    EXPECT_EQ(vault.credentials.back().number, "A123456");
    EXPECT_EQ(vault.credentials.back().expiresOn, (Day{2027, 5, 31}));
    EXPECT_EQ(vault.credentials.back().documentIds, std::vector<std::string>{"doc"});
    EXPECT_FALSE(vault.documents[0].needsReview);
    EXPECT_EQ(vault.documents[0].kind, "license");
}

TEST(DocumentProposal, ACertificateBecomesAnActivityOnceItsHoursAndDayAreKnown) {
    VaultDocument vault;
    const auto certificate = read("Certificate of Completion\nhas successfully completed\nOpioid Safety\n"
                                  "Date of completion: 03/14/2026\nAMA PRA Category 1 Credit(s)");
    vault.documents = {certificate};
    auto proposal = DocumentProposal::make(vault, certificate, DocumentParser::parse(*certificate.text, ""));
    EXPECT_EQ(proposal.target, DocumentProposal::Target::newActivity);
    EXPECT_EQ(proposal.fields.at("category"), "cat1");
    EXPECT_EQ(proposal.fields.at("topics"), "opioidPrescribing");
    const auto missing = acceptProposal(vault, proposal, Timestamp::epoch(), Day{2026, 11, 25});
    EXPECT_EQ(missing.error(), "The document doesn't say its hours, so give them with --set hours=N.");
    EXPECT_TRUE(vault.cme.empty());
    EXPECT_TRUE(vault.documents[0].needsReview);

    ASSERT_TRUE(proposal.set(vault, "hours=1.5"));
    EXPECT_FALSE(acceptProposal(vault, proposal, Timestamp::epoch(), Day{2026, 3, 1}));  // not done yet then
    ASSERT_TRUE(acceptProposal(vault, proposal, Timestamp::epoch(), Day{2026, 11, 25}));
    ASSERT_EQ(vault.cme.size(), 1u);
    EXPECT_EQ(vault.cme[0].title, "Opioid Safety");
    EXPECT_DOUBLE_EQ(vault.cme[0].hours, 1.5);
    EXPECT_EQ(vault.cme[0].completedOn, (Day{2026, 3, 14}));
    EXPECT_EQ(vault.documents[0].kind, "cme");
}

}  // namespace
}  // namespace corvale

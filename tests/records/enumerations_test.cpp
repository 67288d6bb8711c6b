#include "records/CredentialKind.h"
#include "records/Degree.h"
#include "records/DocumentKind.h"
#include "records/RecordEnums.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace corvale {
namespace {

TEST(CredentialKind, ListsInPickerOrderWithTheRenewalProperties) {
    std::vector<std::string> raws;
    for (auto kind : allCredentialKinds()) raws.emplace_back(rawValue(kind));
    EXPECT_EQ(raws, (std::vector<std::string>{"stateLicense", "dea", "stateCSR", "boardCertification", "bls", "acls",
                                              "pals", "nrp", "atls", "malpractice", "hospitalPrivileges", "caqh", "tb",
                                              "immunization", "imlcLOQ", "agreement", "mate", "exam", "other"}));

    std::set<std::string> needingState, critical;
    for (auto kind : allCredentialKinds()) {
        EXPECT_EQ(credentialKindFromRaw(rawValue(kind)), kind);
        EXPECT_FALSE(displayName(kind).empty());
        EXPECT_FALSE(symbolName(kind).empty());
        if (needsState(kind)) needingState.emplace(rawValue(kind));
        if (isPracticeCritical(kind)) critical.emplace(rawValue(kind));
    }
    EXPECT_EQ(needingState, (std::set<std::string>{"stateLicense", "stateCSR"}));
    EXPECT_EQ(critical, (std::set<std::string>{"stateLicense", "dea", "boardCertification"}));

    EXPECT_EQ(credentialKindFromRaw("StateLicense"), std::nullopt);
    EXPECT_EQ(credentialKindFromRaw("telehealthPermit"), std::nullopt);
}

TEST(CredentialKind, ProposesAnExpiryFromTheIssueDate) {
    const Day issued{2024, 2, 29};
    EXPECT_EQ(proposedExpiry(CredentialKind::bls, issued), (Day{2026, 2, 28}));  // no Feb 29 two years on
    EXPECT_EQ(proposedExpiry(CredentialKind::dea, Day{2025, 1, 31}), (Day{2028, 1, 31}));
    EXPECT_EQ(proposedExpiry(CredentialKind::atls, Day{2025, 6, 15}), (Day{2029, 6, 15}));
    EXPECT_EQ(proposedExpiry(CredentialKind::stateLicense, Day{2025, 6, 15}), (Day{2027, 6, 15}));
    EXPECT_EQ(proposedExpiry(CredentialKind::malpractice, Day{2025, 6, 15}), (Day{2026, 6, 15}));
    // Day counts win over the year they round to.
    EXPECT_EQ(proposedExpiry(CredentialKind::caqh, Day{2026, 11, 22}), (Day{2027, 3, 22}));
    EXPECT_EQ(proposedExpiry(CredentialKind::imlcLOQ, issued), (Day{2025, 2, 28}));
    EXPECT_EQ(proposedExpiry(CredentialKind::boardCertification, issued), std::nullopt);
    EXPECT_EQ(proposedExpiry(CredentialKind::exam, issued), std::nullopt);
}

TEST(Degree, RawTextDiffersFromCaseNames) {
    EXPECT_EQ(rawValue(Degree::doctor), "DO");
    EXPECT_EQ(degreeFromRaw("DO"), Degree::doctor);
    EXPECT_EQ(degreeFromRaw("Other"), Degree::other);
    EXPECT_EQ(degreeFromRaw("other"), std::nullopt);
    EXPECT_EQ(degreeFromRaw("md"), std::nullopt);
    EXPECT_EQ(displayName(Degree::lpn), "LPN/LVN");
    EXPECT_EQ(professionCode(Degree::doctor), "do");
    EXPECT_EQ(professionCode(Degree::other), std::nullopt);
    std::vector<std::string> codes;
    for (auto degree : allDegrees())
        if (auto code = professionCode(degree)) codes.emplace_back(*code);
    EXPECT_EQ(codes, (std::vector<std::string>{"md", "do", "np", "pa", "crna", "caa", "rn", "lpn", "cnm", "cns"}));
}

TEST(SmallEnumerations, RoundTripTheirRawText) {
    for (auto kind : allDocumentKinds()) EXPECT_EQ(documentKindFromRaw(rawValue(kind)), kind);
    EXPECT_EQ(allDocumentKinds().size(), 13u);
    EXPECT_EQ(documentKindFromRaw("skillsChecklist"), DocumentKind::skillsChecklist);
    // A credential's copy is filed under its own kind where one exists.
    EXPECT_EQ(documentKindFor(CredentialKind::stateCSR), DocumentKind::csr);
    EXPECT_EQ(documentKindFor(CredentialKind::imlcLOQ), DocumentKind::loq);
    EXPECT_EQ(documentKindFor(CredentialKind::boardCertification), DocumentKind::other);
    EXPECT_EQ(documentKindFor(std::nullopt), DocumentKind::other);
    for (auto value : allCMECategories()) EXPECT_EQ(cmeCategoryFromRaw(rawValue(value)), value);
    EXPECT_EQ(rawValue(CMECategory::nbcrna), "nbcrna");
    for (auto value : allCredentialCategories()) EXPECT_EQ(credentialCategoryFromRaw(rawValue(value)), value);
    for (auto value : allRenewalStages()) EXPECT_EQ(renewalStageFromRaw(rawValue(value)), value);
    EXPECT_EQ(renewalStageFromRaw("notStarted"), RenewalStage::notStarted);
    EXPECT_EQ(cmeCategoryFromRaw("cat3"), std::nullopt);
}

}  // namespace
}  // namespace corvale

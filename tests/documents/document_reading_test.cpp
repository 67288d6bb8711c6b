// Reading recognised text: dates and their roles, numbers, states, hours and whole documents.
#include "documents/reading/DocumentDates.h"
#include "documents/reading/DocumentParser.h"
#include "documents/reading/NumberFinder.h"
#include "documents/reading/StateFinder.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

std::optional<Day> day(int y, int m, int d) { return Day{y, m, d}; }

TEST(DocumentDates, EachDateTakesItsRoleFromItsLabelColumnOrRange) {
    EXPECT_EQ(readDates("Expires 06/2027").expiry, day(2027, 6, 30));
    EXPECT_EQ(readDates("Exp. Feb 2028").expiry, day(2028, 2, 29));

    const auto birth = readDates("Date of Birth: 01/02/1980\nDOB 03/04/1981");
    EXPECT_FALSE(birth.expiry);
    EXPECT_FALSE(birth.issued);
    ASSERT_EQ(birth.all.size(), 2u);
    EXPECT_EQ(birth.all[0].role, DateRole::other);
    EXPECT_EQ(birth.all[1].role, DateRole::other);

    // Two labels on one line, a card's bare abbreviations, and a two-digit year.
    const auto line = readDates("Issued: 2025-01-15 Expires: January 31, 2027");
    EXPECT_EQ(line.issued, day(2025, 1, 15));
    EXPECT_EQ(line.expiry, day(2027, 1, 31));
    const auto card = readDates("4a ISS 02/03/24  4b EXP 02/03/29  3 DOB 02/03/65");
    EXPECT_EQ(card.expiry, day(2029, 2, 3));
    EXPECT_EQ(card.issued, day(2024, 2, 3));
    EXPECT_EQ(card.all[2].day, (Day{1965, 2, 3}));
    EXPECT_EQ(card.all[2].role, DateRole::other);

    const auto range = readDates("Valid 01/01/2025 through 12/31/2026");
    EXPECT_EQ(range.issued, day(2025, 1, 1));
    EXPECT_EQ(range.expiry, day(2026, 12, 31));

    // A verification table: each date takes its column's heading; a label alone titles the line below.
    const auto table = readDates(
        "License   Status    Original Issue Date   Expiration Date\n"
        "RN123456  Active    03/15/2010            05/31/2027\n"
        "Renewal due\n"
        "5 March 2027");
    EXPECT_EQ(table.issued, day(2010, 3, 15));
    EXPECT_EQ(table.expiry, day(2027, 5, 31));
    EXPECT_EQ(table.all[2].context, "Renewal due");

    // Days the calendar lacks, and a full date's tail, are no dates of their own.
    EXPECT_TRUE(dates("02/30/2027 and 13/01/2026 and 1.2.3").empty());
    const auto full = dates("Completed 05/06/2025");
    ASSERT_EQ(full.size(), 1u);
    EXPECT_FALSE(full[0].monthOnly);
    EXPECT_EQ(readDates("Date of completion: 12/05/2025").issued, day(2025, 12, 5));
    EXPECT_FALSE(readDates("Printed on 11/02/2026").issued);
}

TEST(NumberFinder, TakesTheLabelledNumberAndNeverAZipDateOrNoise) {
    EXPECT_EQ(NumberFinder::find("Texas Medical Board\nLicense No. Q-4412\n", false), "Q4412");
    EXPECT_EQ(NumberFinder::find("NPI 1234567893\nPhone 512 555 0100\nLicense Number: RN 12345678", false),
              "RN 12345678");
    // The board's address sits under the label; the state and ZIP are no number, the next line is.
    EXPECT_EQ(NumberFinder::find("License #\nAustin, TX 78701\n", true), std::nullopt);
    EXPECT_EQ(NumberFinder::find("Certificate No: 123 4567", false), "1234567");
    EXPECT_EQ(NumberFinder::find("Registration Number\nBF1234563", false), "BF1234563");
    EXPECT_EQ(NumberFinder::find("Name         License Number    Status\nJane Roe     0098765           Active", false),
              "0098765");
    EXPECT_EQ(NumberFinder::find("License No.   MD-77321-B", false), "MD77321B");
    // A row whose name and number ran together: the name's initial is no prefix of the number.
    EXPECT_EQ(NumberFinder::find("Name        License Number     Status\nROE, JANE Q 054321         Active", false),
              "054321");
    EXPECT_EQ(NumberFinder::find("Lic. No. 06/30/2027", false), std::nullopt);
    // Unlabelled: a DEA form first, then letters with digits before a ZIP-length run.
    EXPECT_EQ(NumberFinder::find("DRUG ENFORCEMENT\nFJ1234563\n", true), "FJ1234563");
    EXPECT_EQ(NumberFinder::find("Jane Roe 90210\nRN654321\n", true), "RN654321");
    EXPECT_EQ(NumberFinder::find("Jane Roe 90210\n", false), std::nullopt);

    EXPECT_EQ(NumberFinder::clean(" #A-1234. "), "A1234");
    EXPECT_EQ(NumberFinder::clean("12"), std::nullopt);
    EXPECT_EQ(NumberFinder::clean(std::string(21, '7')), std::nullopt);
}

TEST(StateFinder, ReadsTheAuthorityAndSkipsStatesInsideOtherNames) {
    EXPECT_EQ(findState("WEST VIRGINIA BOARD OF MEDICINE"), "WV");
    EXPECT_EQ(findState("Virginia Board of Nursing"), "VA");
    EXPECT_EQ(findState("The University of the State of New York\nEducation Department"), "NY");
    EXPECT_EQ(findState("PA State Board of Nursing"), "PA");
    EXPECT_EQ(findState("Kansas City Medical Society\nMissouri State Board of Registration for the Healing Arts"), "MO");
    EXPECT_EQ(findState("George Washington University\nDepartment of Medicine\nMaryland Board of Physicians"), "MD");
    EXPECT_EQ(findState("Ohio State University College of Medicine\nHas completed"), std::nullopt);
    EXPECT_EQ(findState("Orange County Hospital\n1400 Main Street\nSanta Ana, CA 92701"), "CA");
    // An address line is no authority, however it is worded.
    EXPECT_EQ(findState("Board office, 333 Guadalupe Street, Texas\nState of Oregon"), "OR");
    EXPECT_EQ(findState("Licensed in Arkansas"), "AR");
    EXPECT_EQ(findState("No state here"), std::nullopt);
}

TEST(DocumentFields, HoursStatusTitleAndCertificationsReadRight) {
    EXPECT_EQ(findHours("designates this activity for a maximum of 2.0 AMA PRA Category 1 Credits"), 2.0);
    EXPECT_EQ(findHours("AMA PRA Category 1 Credit(s)\nCredits claimed: 1.25"), 1.25);
    EXPECT_EQ(findHours("awarded 3.5 contact hours"), 3.5);
    EXPECT_EQ(findHours("Category 1 credit"), std::nullopt);
    EXPECT_EQ(findHours("Hours - 12/05/2025"), std::nullopt);

    EXPECT_EQ(findBoardStatus("License Status: Active Expiration Date: 05/31/2027"), "Active");
    EXPECT_EQ(findBoardStatus("Name    License Status    Expires\nJ Roe   Clear             2027"), "Clear");
    EXPECT_EQ(findBoardStatus("Name       Number      Status     Expires\nJ Roe 1234            Lapsed     2027"), "Lapsed");

    EXPECT_EQ(findTitle("This certifies that Jane Roe\nhas successfully completed\n\"Safe Opioid Prescribing\""),
              "Safe Opioid Prescribing");
    EXPECT_EQ(findTitle("Activity Title: Sepsis Update 2025\nDate: 01/02/2025"), "Sepsis Update 2025");

    const auto ccrn = findNursingCredential("AACN Certification Corporation\nCCRN\nAdult critical care nursing");
    ASSERT_TRUE(ccrn);
    EXPECT_EQ(ccrn->title, "CCRN (AACN)");
    // ANCC accredits nursing CE courses too; without one of its credentials it names none.
    EXPECT_FALSE(findNursingCredential("Provider approved by the ANCC for nursing contact hours"));
    EXPECT_FALSE(findNursingCredential("Serena Bcenter"));
}

TEST(DocumentParser, ProposesTheRecordOfEachKindOfDocument) {
    const auto license = DocumentParser::parse(
        "TEXAS BOARD OF NURSING\nRegistered Nurse\nMultistate License\nJane Q Roe\nLicense Number: 998877\n"
        "Expiration Date: 05/31/2027\n333 Guadalupe St, Austin, TX 78701",
        "scan0001.pdf");
    EXPECT_EQ(license.kind, DocumentKind::license);
    EXPECT_EQ(license.credentialKind(), CredentialKind::stateLicense);
    EXPECT_EQ(license.state, "TX");
    EXPECT_EQ(license.number, "998877");
    EXPECT_EQ(license.expires, day(2027, 5, 31));
    EXPECT_EQ(license.nurseLicenseType, "RN");
    EXPECT_TRUE(license.multistate);

    const auto dea = DocumentParser::parse(
        "CONTROLLED SUBSTANCE REGISTRATION CERTIFICATE\nUNITED STATES DEPARTMENT OF JUSTICE\n"
        "DRUG ENFORCEMENT ADMINISTRATION\nDEA REGISTRATION NUMBER  THIS REGISTRATION EXPIRES  FEE PAID\n"
        "FR1234563                 06-30-2027                $888\nSCHEDULES 2,2N,3,3N,4,5",
        "");
    EXPECT_EQ(dea.kind, DocumentKind::dea);
    EXPECT_EQ(dea.number, "FR1234563");
    EXPECT_EQ(dea.expires, day(2027, 6, 30));

    const auto acls = DocumentParser::parse(
        "American Heart Association\nACLS Provider\nIssue Date 06/2025\nRecommended Renewal Date 06/2027", "card.jpg");
    EXPECT_EQ(acls.kind, DocumentKind::acls);
    EXPECT_EQ(acls.issued, day(2025, 6, 30));
    EXPECT_EQ(acls.expires, day(2027, 6, 30));
    ASSERT_TRUE(acls.certification);
    EXPECT_EQ(acls.certification->programId, "aha-acls");

    const auto cme = DocumentParser::parse(
        "Certificate of Completion\nJane Roe, MD\nhas successfully completed\nManaging Chronic Pain and Opioid Use\n"
        "Date of completion: 03/14/2026\nThe provider designates this activity for a maximum of 1.5 AMA PRA "
        "Category 1 Credits\nProvider: Example Medical Education Institute",
        "");
    EXPECT_EQ(cme.kind, DocumentKind::cme);
    EXPECT_EQ(cme.hours, 1.5);
    EXPECT_EQ(cme.issued, day(2026, 3, 14));
    EXPECT_EQ(cme.title, "Managing Chronic Pain and Opioid Use");
    EXPECT_EQ(cme.provider, "Example Medical Education Institute");
    EXPECT_EQ(cme.topics, (std::vector<std::string>{"opioidPrescribing"}));
    EXPECT_FALSE(cme.credentialKind());

    const auto printout = DocumentParser::parse(
        "License Verification\nName          License Type        Status     Expires\n"
        "ROE, JANE     Physician (MD)      Current    08/31/2028\nMedical Board of California",
        "");
    EXPECT_TRUE(printout.isVerificationReport);
    EXPECT_EQ(printout.boardStatus, "Current");
    EXPECT_EQ(printout.state, "CA");
    EXPECT_EQ(printout.expires, day(2028, 8, 31));

    const auto bls = DocumentParser::parse("BLS Provider\nIssued 01/10/2026\nvalid for 730 days", "");
    EXPECT_EQ(bls.expires, day(2028, 1, 10));
    EXPECT_EQ(DocumentParser::parse("DRIVER LICENSE\nDOB 01/02/1980\nCLASS C", "").kind, DocumentKind::id);
    EXPECT_EQ(DocumentParser::parse("Jane Roe\nWork experience", "Jane Roe resume.pdf").kind, DocumentKind::cv);
    EXPECT_EQ(DocumentParser::parse("", "IMG_0001.jpg").kind, DocumentKind::other);
}

}  // namespace
}  // namespace corvale

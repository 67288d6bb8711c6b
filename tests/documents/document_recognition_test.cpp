// Documents made the way clinicians' papers arrive (clean PDFs, scans turned a little, blurred and
// speckled, a small phone photo of a card), read end to end from the file: recognised on this machine,
// then parsed. Every field the document states is compared, and the share read right is reported.
#include "PaintedDocument.h"
#include "documents/reading/DocumentParser.h"
#include "platform/linux/TesseractRecognizer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>

namespace corvale {
namespace {

using testing::Paper;
using testing::Scan;

struct Expected {
    std::optional<DocumentKind> kind;
    std::optional<std::string> state;
    std::optional<std::string> number;
    std::optional<Day> issued;
    std::optional<Day> expires;
    std::optional<double> hours;
    std::optional<std::string> title;
    std::optional<std::string> nurseLicenseType;
    std::optional<bool> multistate;
    std::optional<std::string> boardStatus;
};

struct Sample {
    std::string name;
    Bytes file;
    Expected expected;
};

Paper card(std::vector<std::string> lines) { return Paper{std::move(lines), 3.4, 2.2, 8}; }

std::vector<Sample> samples() {
    std::vector<Sample> list;
    list.push_back({"licence card, PDF with its own text",
                    testing::paintedPDF({card({"TEXAS MEDICAL BOARD", "Physician License", "Jane Q. Example, MD",
                                               "License No. Q-4412", "Issue Date: 03/15/2019",
                                               "Expiration Date: 02/28/2027"})}),
                    {DocumentKind::license, "TX", "Q4412", Day{2019, 3, 15}, Day{2027, 2, 28}}});
    list.push_back({"wall certificate, scan turned 1.5 degrees with speckle",
                    testing::scannedPicture(
                        Paper{{"STATE OF CALIFORNIA", "Medical Board of California", "",
                               "This is to certify that", "JANE QUINCY EXAMPLE, M.D.",
                               "is licensed as a Physician and Surgeon", "Certificate Number A 123456",
                               "Original Issue Date: January 12, 2011"},
                              11, 8.5, 18},
                        Scan{200, 1.5, 0, 0.01}),
                    {DocumentKind::license, "CA", "A 123456", Day{2011, 1, 12}}});
    Expected nurse{DocumentKind::license, "FL", "RN9512345", std::nullopt, Day{2027, 7, 31}};
    nurse.nurseLicenseType = "RN";
    nurse.multistate = true;
    list.push_back({"nursing licence with the Compact, blurred scan",
                    testing::scannedPicture(card({"FLORIDA BOARD OF NURSING", "Registered Nurse",
                                                  "Multistate License", "JANE Q EXAMPLE",
                                                  "License Number: RN9512345", "Expires: 07/31/2027"}),
                                            Scan{300, -0.8, 1, 0.002}),
                    nurse});
    Expected board{DocumentKind::license, "AZ", "054321", std::nullopt, Day{2028, 6, 30}};
    board.boardStatus = "Active";
    list.push_back({"board verification printout with a status column",
                    testing::paintedPDF({Paper{{"Arizona Medical Board", "License Verification", "",
                                                "Name              License Number     Status     Expiration Date",
                                                "EXAMPLE, JANE Q   054321             Active     06/30/2028", "",
                                                "Information is current as of 11/20/2026"},
                                               8.5, 11, 10}}),
                    board});
    list.push_back({"DEA certificate, scan",
                    testing::scannedPicture(
                        Paper{{"UNITED STATES DEPARTMENT OF JUSTICE", "DRUG ENFORCEMENT ADMINISTRATION",
                               "CONTROLLED SUBSTANCE REGISTRATION CERTIFICATE", "DEA REGISTRATION NUMBER",
                               "FE1234563", "THIS REGISTRATION EXPIRES", "06-30-2027", "SCHEDULES 2,2N,3,3N,4,5"},
                              8.5, 5.5, 12},
                        Scan{300, 0.6, 0, 0.003}),
                    {DocumentKind::dea, std::nullopt, "FE1234563", std::nullopt, Day{2027, 6, 30}}});
    list.push_back({"BLS card, small phone photo",
                    testing::scannedPicture(card({"American Heart Association", "BLS Provider", "Jane Example",
                                                  "Issue Date 04/2025", "Recommended Renewal Date 04/2027"}),
                                            Scan{150, 1.0, 0, 0.002, Scan::Format::jpeg}),
                    {DocumentKind::bls, std::nullopt, std::nullopt, Day{2025, 4, 30}, Day{2027, 4, 30}}});
    list.push_back({"ACLS card, JPEG scan",
                    testing::scannedPicture(card({"American Heart Association", "ACLS Provider",
                                                  "Advanced Cardiovascular Life Support", "Issued: 09/12/2025",
                                                  "Renew by: 09/2027"}),
                                            Scan{300, -1.2, 0, 0.001, Scan::Format::jpeg}),
                    {DocumentKind::acls, std::nullopt, std::nullopt, Day{2025, 9, 12}, Day{2027, 9, 30}}});
    Expected cme{DocumentKind::cme, std::nullopt, std::nullopt, Day{2026, 3, 14}};
    cme.hours = 1.5;
    cme.title = "Managing Chronic Pain and Opioid Use";
    list.push_back({"CME certificate, PDF, Category 1 beside the hours",
                    testing::paintedPDF({Paper{{"Certificate of Completion", "Jane Q. Example, MD",
                                                "has successfully completed", "Managing Chronic Pain and Opioid Use",
                                                "Date of completion: 03/14/2026",
                                                "AMA PRA Category 1 Credit(s) claimed: 1.5",
                                                "Provider: Example Medical Education Institute"}}}),
                    cme});
    Expected ce{DocumentKind::cme, std::nullopt, std::nullopt, Day{2025, 11, 2}};
    ce.hours = 2;
    list.push_back({"nursing CE certificate, scan",
                    testing::scannedPicture(Paper{{"Certificate of Attendance", "Jane Example, RN",
                                                   "Course: Sepsis Recognition for Nurses",
                                                   "Date of completion: 11/02/2025", "Contact Hours: 2.0",
                                                   "Nursing continuing professional development"},
                                                  8.5, 6, 13},
                                            Scan{300, 0.4, 0, 0.002}),
                    ce});
    list.push_back({"malpractice certificate, TIFF scan",
                    testing::scannedPicture(Paper{{"CERTIFICATE OF INSURANCE", "Professional Liability",
                                                   "Named Insured: Jane Q. Example, MD",
                                                   "Policy Number: MPL 4455667",
                                                   "Policy Period: 01/01/2026 to 01/01/2027",
                                                   "Limits of Liability: $1,000,000 each claim / $3,000,000 aggregate"},
                                                  8.5, 6, 12},
                                            Scan{300, -0.5, 0, 0.002, Scan::Format::tiff}),
                    {DocumentKind::malpractice, std::nullopt, "MPL 4455667", Day{2026, 1, 1}, Day{2027, 1, 1}}});
    list.push_back({"driver's licence, small phone photo",
                    testing::scannedPicture(card({"CALIFORNIA", "DRIVER LICENSE", "DL D1234567",
                                                  "EXP 08/31/2029", "DOB 01/02/1980", "CLASS C"}),
                                            Scan{150, 0.7, 0, 0.002, Scan::Format::jpeg}),
                    {DocumentKind::id, "CA", std::nullopt, std::nullopt, Day{2029, 8, 31}}});
    return list;
}

// Whether the text holds the value, ignoring the spaces and hyphens a card prints between its parts.
bool heldIn(const std::string& text, const std::string& value) {
    const auto bare = [](const std::string& t) {
        std::string out;
        for (const char c : t)
            if (c != ' ' && c != '-') out += c;
        return out;
    };
    return bare(text).find(bare(value)) != std::string::npos;
}

template <class T>
void score(const std::string& sample, const char* field, const std::optional<T>& expected, const std::optional<T>& got,
           int& right, int& total, std::ostringstream& misses) {
    if (!expected) return;
    ++total;
    if (got == expected) ++right;
    else misses << "  " << sample << ": " << field << " misread\n";
}

TEST(DocumentRecognition, ReadsTheFieldsOfRealisticDocumentsFromTheFile) {
    TesseractRecognizer recognizer;
    int right = 0;
    int total = 0;
    std::ostringstream misses;
    std::ostringstream textOfMisses;
    for (const auto& sample : samples()) {
        const auto read = recognizer.read(sample.file);
        ASSERT_TRUE(read) << sample.name << ": " << read.error().message();
        const Guess guess = DocumentParser::parse(read->text, "");
        const Expected& e = sample.expected;
        const auto& n = sample.name;
        score(n, "kind", e.kind, std::optional(guess.kind), right, total, misses);
        score(n, "state", e.state, guess.state, right, total, misses);
        score(n, "number", e.number, guess.number, right, total, misses);
        // Recognition may misread a character; what it read right, the parser must not lose.
        if (e.number && heldIn(read->text, *e.number)) {
            EXPECT_EQ(guess.number, e.number) << n;
        }
        if (e.title && heldIn(read->text, *e.title)) {
            EXPECT_EQ(guess.title, e.title) << n;
        }
        score(n, "issued", e.issued, guess.issued, right, total, misses);
        score(n, "expires", e.expires, guess.expires, right, total, misses);
        score(n, "hours", e.hours, guess.hours, right, total, misses);
        score(n, "title", e.title, guess.title, right, total, misses);
        score(n, "licence type", e.nurseLicenseType, guess.nurseLicenseType, right, total, misses);
        score(n, "multistate", e.multistate, std::optional(guess.multistate), right, total, misses);
        score(n, "status", e.boardStatus, guess.boardStatus, right, total, misses);
        if (right != total) textOfMisses << "--- " << n << ":\n" << read->text;
    }
    std::printf("fields read right: %d of %d (%.0f%%)\n%s", right, total, 100.0 * right / total, misses.str().c_str());
    EXPECT_GE(right * 100, total * 90) << misses.str() << "Recognised text from the first miss on:\n"
                                       << textOfMisses.str();
}

// The file a command makes of `input`: a PDF locked by qpdf, a phone's HEIC photo by heif-enc.
Bytes converted(const Bytes& input, const std::string& command, const std::string& from, const std::string& to) {
    const std::string in = ::testing::TempDir() + from;
    const std::string out = ::testing::TempDir() + to;
    std::ofstream(in, std::ios::binary).write(reinterpret_cast<const char*>(input.data()),
                                              static_cast<std::streamsize>(input.size()));
    std::string line = command;
    line.replace(line.find("IN"), 2, in);
    line.replace(line.find("OUT"), 3, out);
    if (std::system((line + " >/dev/null 2>&1").c_str()) != 0) return {};
    std::ifstream read(out, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(read), {});
}

TEST(DocumentRecognition, RefusesWhatIsNoDocumentAndReadsEveryPageUpright) {
    TesseractRecognizer recognizer(2);
    const auto code = [&](const Bytes& file) { return recognizer.read(file).error().code; };
    const auto bytes = [](std::string_view text) { return Bytes(text.begin(), text.end()); };
    EXPECT_EQ(code(bytes("just some words, not a document, long enough to sniff")),
              RecognitionError::Code::notADocument);
    Bytes png = testing::scannedPicture(card({"Board of Nursing"}), Scan{});
    png.resize(png.size() / 3);
    EXPECT_EQ(code(png), RecognitionError::Code::damaged);
    EXPECT_EQ(code(bytes("%PDF-1.7\n% nothing else\n")),
              RecognitionError::Code::damaged);
    const Bytes locked = converted(testing::paintedPDF({card({"Texas Medical Board"})}),
                                   "qpdf --encrypt secret secret 256 -- IN OUT", "plain.pdf", "locked.pdf");
    ASSERT_FALSE(locked.empty()) << "qpdf is needed to lock a PDF";
    EXPECT_EQ(code(locked), RecognitionError::Code::encrypted);
    EXPECT_EQ(RecognitionError{RecognitionError::Code::encrypted}.message(),
              "This PDF is locked with a password, so save a copy without the password and add that.");

    // A scanner's PDF has pictures only: every page is recognised, in order, pages read in parallel.
    std::vector<Paper> pages;
    for (int page = 1; page <= 3; ++page)
        pages.push_back(Paper{{"Continuing Education Transcript", "Page " + std::to_string(page) + " of 3"}, 8.5, 4});
    const auto scanned = recognizer.read(testing::scannedPDF(pages, 200));
    ASSERT_TRUE(scanned);
    EXPECT_EQ(scanned->pages, 3);
    EXPECT_FALSE(scanned->fromTextLayer);
    const auto first = scanned->text.find("Page 1 of 3");
    const auto third = scanned->text.find("Page 3 of 3");
    EXPECT_TRUE(first != std::string::npos && third != std::string::npos && first < third) << scanned->text;

    const auto layered = recognizer.read(testing::paintedPDF({card({"Texas Medical Board", "License No. Q-4412"})}));
    ASSERT_TRUE(layered);
    EXPECT_TRUE(layered->fromTextLayer);

    const Bytes heic = converted(testing::scannedPicture(card({"Texas Board of Nursing", "License Number: 776655"}),
                                                         Scan{300, 0, 0, 0, Scan::Format::jpeg}),
                                 "heif-enc IN -o OUT", "card.jpg", "card.heic");
    ASSERT_FALSE(heic.empty()) << "heif-enc is needed to make a phone's photo";
    const auto photo = recognizer.read(heic);
    ASSERT_TRUE(photo) << photo.error().message();
    EXPECT_NE(photo->text.find("License Number: 776655"), std::string::npos) << photo->text;

    // A page scanned upside down reads upright.
    const auto upsideDown = recognizer.read(testing::scannedPicture(
        Paper{{"DRUG ENFORCEMENT ADMINISTRATION", "THIS REGISTRATION EXPIRES 06-30-2027"}, 8.5, 3, 14},
        Scan{300, 180}));
    ASSERT_TRUE(upsideDown);
    EXPECT_NE(upsideDown->text.find("REGISTRATION EXPIRES"), std::string::npos) << upsideDown->text;
}

}  // namespace
}  // namespace corvale

#include "documents/reading/DocumentDuplicates.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

DocumentRecord document(std::string id, std::string person, std::string blob, std::optional<std::string> text,
                        std::int64_t addedSeconds) {
    DocumentRecord d;
    d.id = std::move(id);
    d.personId = std::move(person);
    d.filename = d.id + ".pdf";
    d.blobHash = std::move(blob);
    d.text = std::move(text);
    d.addedAt = Timestamp::fromTimePoint(std::chrono::system_clock::time_point(std::chrono::seconds(addedSeconds)));
    return d;
}

TEST(DocumentDuplicates, TheFirstAddedStaysAndEachLaterCopySaysWhy) {
    std::vector<DocumentRecord> documents{
        document("later-scan", "p1", "b2", "TEXAS  Medical\nBoard", 300),
        document("first", "p1", "b1", "Texas Medical Board", 100),
        document("same-file", "p1", "b1", std::nullopt, 200),
        document("other-person", "p2", "b1", "Texas Medical Board", 400),
        document("blank", "p1", "b3", "  \n", 500),
        document("blank-too", "p1", "b4", "", 600),
    };
    documents.push_back(document("gone", "p1", "b1", std::nullopt, 50));
    documents.back().deleted = true;

    const auto copies = DocumentDuplicates::copies(documents);
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(copies.at("same-file").originalId, "first");
    EXPECT_EQ(copies.at("same-file").reason, DocumentDuplicates::Reason::sameFile);
    EXPECT_EQ(copies.at("later-scan").originalId, "first");
    EXPECT_EQ(copies.at("later-scan").originalName, "first.pdf");
    EXPECT_EQ(copies.at("later-scan").reason, DocumentDuplicates::Reason::sameText);

    EXPECT_EQ(DocumentDuplicates::removedSentence(1), "1 duplicate removed");
    EXPECT_EQ(DocumentDuplicates::removedSentence(3), "3 duplicates removed");
}

}  // namespace
}  // namespace corvale

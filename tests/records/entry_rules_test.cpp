#include "records/EntryRules.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

TEST(EntryRules, NewPassphrasesCountCharactersNotBytes) {
    const std::string shortOne = "That passphrase is shorter than 8 characters, so choose a longer one.";
    EXPECT_EQ(newPassphraseProblem(""), shortOne);
    EXPECT_EQ(newPassphraseProblem("seven77"), shortOne);
    EXPECT_EQ(newPassphraseProblem("eight888"), std::nullopt);
    // Seven characters in fourteen bytes are still too short; eight in sixteen pass.
    EXPECT_EQ(newPassphraseProblem("\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9"), shortOne);
    EXPECT_EQ(newPassphraseProblem("\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9"), std::nullopt);
}

TEST(EntryRules, CMEHoursAndDaysAsTheEditorTakesThem) {
    const Day today{2026, 6, 15};
    EXPECT_EQ(cmeCompletedProblem(today, today), std::nullopt);
    EXPECT_EQ(cmeCompletedProblem(Day{2025, 12, 31}, today), std::nullopt);
    EXPECT_EQ(cmeCompletedProblem(Day{2026, 6, 16}, today), "That day is still ahead. Enter the day you completed it.");

    for (const auto& [text, hours] : std::vector<std::pair<std::string, double>>{
             {"1.5", 1.5}, {"2", 2}, {".25", 0.25}, {"3.", 3}, {" 40 ", 40}, {"0.01", 0.01}}) {
        auto parsed = parseCMEHours(text);
        ASSERT_TRUE(parsed.ok()) << text;
        EXPECT_DOUBLE_EQ(*parsed, hours) << text;
    }
    const std::string aboveZero = "Enter the hours as a number above 0.";
    for (const std::string text : {"0", "0.00", "-1", "1h", "1e3", "inf", "nan", "1.2.3", ".", "+2", "0x10"}) {
        auto parsed = parseCMEHours(text);
        ASSERT_FALSE(parsed.ok()) << text;
        EXPECT_EQ(parsed.error(), aboveZero) << text;
    }
    EXPECT_EQ(parseCMEHours("  ").error(), "Enter the hours it earned.");
    EXPECT_EQ(parseCMEHours("1.255").error(), "Use at most two decimals for the hours.");
}

TEST(EntryRules, AStoredFileMustHoldSomething) {
    EXPECT_EQ(storedFileProblem("scan.pdf", 0), "scan.pdf is empty, so choose the file that holds the document.");
    EXPECT_EQ(storedFileProblem("scan.pdf", 1), std::nullopt);
}

}  // namespace
}  // namespace corvale

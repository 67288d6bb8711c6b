#include "ShippedRules.h"
#include "TestVault.h"
#include "records/JSONReader.h"
#include "requirements/ReadinessReport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace corvale {
namespace {

std::string joined(const PrintedReport& printed) {
    std::string all = printed.title + "\n" + printed.subtitle + "\n";
    for (const auto& block : printed.blocks) {
        all += block.text + "\n";
        for (const auto& row : block.table.rows)
            for (const auto& cell : row) all += cell + "\n";
    }
    return all;
}

TEST(ReadinessReport, AnOfficeReportListsEveryoneScoredWorstFirstAndOnePersonAlone) {
    const Day today{2026, 11, 25};
    testing::TestVault vault;
    const auto ana = vault.person("Ana Ruiz", "RN");
    const auto jordan = vault.person("Jordan Reyes", "RN");
    const auto manager = vault.person("Office Manager", "RN");
    const auto gone = vault.person("Left Long Ago", "RN");
    VaultDocument& document = vault.document;
    document.people[2].setManagesOthersOnly(true);
    document.people[3].deleted = true;
    // Jordan's card has expired, so Jordan comes first; Ana's two DEA registrations are told apart.
    vault.credential(ana, "dea", "TX", Day{2027, 9, 1});
    vault.credential(ana, "dea", "CA", Day{2028, 3, 1});
    vault.credential(jordan, "bls", std::nullopt, Day{2026, 10, 1});
    vault.credential(gone, "bls", std::nullopt, Day{2027, 1, 1});
    document.people[0].screenings = std::vector<JSONValue>{
        *parseJSON(R"({"id":"r1","ranAt":"2026-05-01T10:00:00Z","outcome":"review"})"),
        *parseJSON(R"({"id":"r2","ranAt":"2026-10-02T10:00:00Z","outcome":"clear","reviewedAt":"2026-10-03T09:00:00Z"})")};

    const auto office = ReadinessReport::build(document, &testing::shippedRules(), today);
    ASSERT_TRUE(office);
    ASSERT_EQ(office->people.size(), 2u) << "the manager and the deleted person are left out";
    EXPECT_EQ(office->people[0].name, "Jordan Reyes");
    EXPECT_EQ(office->people[1].name, "Ana Ruiz");
    EXPECT_LT(*office->people[0].score, *office->people[1].score);
    EXPECT_EQ(office->people[0].credentials.at(0).status, "Expired");
    EXPECT_EQ(office->people[0].credentials.at(0).expires, "October 1, 2026");
    ASSERT_EQ(office->people[1].credentials.size(), 2u);
    EXPECT_NE(office->people[1].credentials[0].title, office->people[1].credentials[1].title);
    EXPECT_EQ(office->people[1].compliance, "Last compliance screening: October 2, 2026, outcome clear, reviewed.");
    EXPECT_EQ(office->people[0].compliance, "No compliance check has been run yet.");

    const std::string printed = joined(office->printable());
    EXPECT_NE(printed.find("Readiness report\n2 people · Prepared on November 25, 2026"), std::string::npos);
    EXPECT_EQ(printed.find("Left Long Ago"), std::string::npos);

    // Asked for by id, the manager appears, unscored; an unknown id gives nothing.
    const auto managerAlone = ReadinessReport::build(document, &testing::shippedRules(), today, manager);
    ASSERT_TRUE(managerAlone);
    EXPECT_FALSE(managerAlone->people.at(0).score);
    EXPECT_EQ(managerAlone->printable().title, "Readiness report: Office Manager");
    EXPECT_NE(joined(managerAlone->printable()).find("No credentials recorded."), std::string::npos);
    EXPECT_FALSE(ReadinessReport::build(document, &testing::shippedRules(), today, "nobody"));
    EXPECT_FALSE(ReadinessReport::build(document, &testing::shippedRules(), today, gone));
}

TEST(ReadinessReport, ALicenceCycleShowsItsPeriodProgressAndOpenTopics) {
    testing::TestVault vault;
    vault.credential(vault.person("Ana Ruiz", "MD"), "stateLicense", "TX", Day{2027, 5, 31});
    const VaultDocument& document = vault.document;
    const auto report = ReadinessReport::build(document, &testing::shippedRules(), Day{2026, 11, 25});
    ASSERT_TRUE(report);
    ASSERT_EQ(report->people.at(0).cycles.size(), 1u);
    const auto& cycle = report->people[0].cycles[0];
    EXPECT_EQ(cycle.period, "May 31, 2025 to May 31, 2027");
    EXPECT_EQ(cycle.summary, "0 of 48 CME hours");
    EXPECT_FALSE(cycle.openTopics.empty());
    EXPECT_TRUE(std::all_of(cycle.openTopics.begin(), cycle.openTopics.end(), [](const std::string& topic) {
        return topic.find(": 0 of ") != std::string::npos;
    }));
    const auto pdf = writePdf(report->printable());
    ASSERT_TRUE(pdf);
    EXPECT_EQ(std::string(pdf->begin(), pdf->begin() + 5), "%PDF-");
}

}  // namespace
}  // namespace corvale

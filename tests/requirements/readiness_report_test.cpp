#include "ShippedRules.h"
#include "records/JSONReader.h"
#include "requirements/ReadinessReport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace corvale {
namespace {

Person personNamed(const std::string& id, const std::string& name) {
    Person person;
    person.id = id;
    person.name = name;
    person.degree = "RN";
    return person;
}

Credential credential(const std::string& id, const std::string& personId, const std::string& kind,
                      std::optional<Day> expires) {
    Credential made;
    made.id = id;
    made.personId = personId;
    made.kind = kind;
    made.expiresOn = expires;
    return made;
}

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
    VaultDocument document;
    document.people = {personNamed("ana", "Ana Ruiz"), personNamed("jo", "Jordan Reyes"),
                       personNamed("mgr", "Office Manager"), personNamed("gone", "Left Long Ago")};
    document.people[2].setManagesOthersOnly(true);
    document.people[3].deleted = true;
    ASSERT_TRUE(document.people[2].managesOthersOnly());
    // Jordan's card has expired, so Jordan comes first; Ana's two DEA registrations are told apart.
    document.credentials = {credential("a1", "ana", "dea", Day{2027, 9, 1}),
                            credential("a2", "ana", "dea", Day{2028, 3, 1}),
                            credential("j1", "jo", "bls", Day{2026, 10, 1}),
                            credential("g1", "gone", "bls", Day{2027, 1, 1})};
    document.credentials[0].state = "TX";
    document.credentials[1].state = "CA";
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
    const auto manager = ReadinessReport::build(document, &testing::shippedRules(), today, "mgr");
    ASSERT_TRUE(manager);
    EXPECT_FALSE(manager->people.at(0).score);
    EXPECT_EQ(manager->printable().title, "Readiness report: Office Manager");
    EXPECT_NE(joined(manager->printable()).find("No credentials recorded."), std::string::npos);
    EXPECT_FALSE(ReadinessReport::build(document, &testing::shippedRules(), today, "nobody"));
    EXPECT_FALSE(ReadinessReport::build(document, &testing::shippedRules(), today, "gone"));
}

TEST(ReadinessReport, ALicenceCycleShowsItsPeriodProgressAndOpenTopics) {
    VaultDocument document;
    document.people = {personNamed("ana", "Ana Ruiz")};
    document.people[0].degree = "MD";
    auto licence = credential("tx", "ana", "stateLicense", Day{2027, 5, 31});
    licence.state = "TX";
    document.credentials = {licence};
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

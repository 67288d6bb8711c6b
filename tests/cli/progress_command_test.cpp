#include "TestDevice.h"
#include "requirements/RuleDataReader.h"

#include <algorithm>

namespace corvale {
namespace {

using namespace clitest;

const Requirements kRules(readRequirementsFile(R"json({
  "topics": [{"key": "opioidPrescribing", "name": "Opioid prescribing"}, {"key": "ethics", "name": "Ethics"}],
  "states": [{"code": "TX", "name": "Texas",
    "md": {"cycleYears": 2, "hours": 48, "cat1Min": 24,
           "topics": [{"key": "opioidPrescribing", "hours": 2, "appliesTo": "deaHolders"},
                      {"key": "ethics", "hours": 2}]},
    "rn": {"cycleYears": 2, "hours": 20}}]})json"));

bool has(const std::string& text, std::string_view piece) { return text.find(piece) != std::string::npos; }

class ProgressCommandTest : public ::testing::Test {
protected:
    InMemoryFileSystem files;
    Device device{files, "/a"};

    void SetUp() override {
        static const StateFees noFees(std::nullopt);
        device.stateData = {&kRules, &noFees};
        ASSERT_EQ(device.run({"init", "--name", "Ana Ruiz", "--degree", "MD"}).code, 0);
        licence = add({"credential", "--kind", "stateLicense", "--state", "TX", "--expires", "2027-01-31"});
        add({"credential", "--kind", "dea", "--expires", "2027-06-30"});
        add({"credential", "--kind", "bls", "--expires", "2026-11-30"});
        ethics = add({"cme", "--title", "Ethics in practice", "--hours", "20", "--completed", "2026-01-10",
                      "--category", "cat1", "--topic", "ethics"});
    }
    std::string add(std::vector<std::string> args) {
        args.insert(args.begin(), "add");
        const auto added = device.run(args);
        EXPECT_EQ(added.code, 0) << added.err;
        return added.line();
    }

    std::string licence, ethics;
};

TEST_F(ProgressCommandTest, TodayShowsTheScoreWhatNeedsYouAndEachCycle) {
    const auto today = device.run({"today", "--as-of", "2026-11-22"});
    ASSERT_EQ(today.code, 0) << today.err;
    // BLS due in 8 days (12), the licence in 70 (5), its cycle short of hours (8), three copies missing (6).
    EXPECT_EQ(today.line(), "Standing 69 of 100 on November 22, 2026");
    EXPECT_TRUE(has(today.out, "One thing needs you this month.\n"));
    EXPECT_TRUE(has(today.out, "  -12  BLS card expires in 8 days\n"
                               "       It expires on November 30, 2026.\n"
                               "       Starting this renewal gives back 12 points.\n"));
    EXPECT_TRUE(has(today.out, "  -8  Texas CME hours to finish\n"
                               "       28 h of 48 left for Texas. The Texas cycle ends on January 31, 2027.\n"));
    EXPECT_TRUE(has(today.out, "  Texas (TX) · cycle January 31, 2025 – January 31, 2027\n"
                               "    20 of 48 CME hours · Category 1: 20 of 24 h\n"
                               "    Open topics: Opioid prescribing (0 of 2 h)\n"));

    // The same in JSON, each field under its own name.
    const auto json = device.run({"today", "--as-of", "2026-11-22", "--json"}).json();
    const auto& standing = *json.find("standing");
    EXPECT_EQ(standing.find("value")->asNumber(), 69);
    EXPECT_EQ(standing.find("headline")->asString(), "One thing needs you this month.");
    const auto& deductions = standing.find("deductions")->asArray();
    ASSERT_EQ(deductions.size(), 6u);
    const auto& first = deductions[0];
    for (const char* key : {"id", "points", "title", "detail", "fix", "term", "thisMonth"}) {
        EXPECT_TRUE(first.find(key)) << key;
    }
    EXPECT_EQ(first.find("points")->asNumber(), 12);
    EXPECT_EQ(first.find("fix")->find("action")->asString(), "renew");
    EXPECT_TRUE(first.find("thisMonth")->asBool());
    EXPECT_FALSE(first.find("person"));
    const auto gap = std::find_if(deductions.begin(), deductions.end(),
                                  [](const JSONValue& d) { return d.find("id")->asString().starts_with("cme:"); });
    ASSERT_NE(gap, deductions.end());
    EXPECT_EQ(gap->find("fix")->find("recordId")->asString(), licence);
    const auto& progress = json.find("progress")->asArray().at(0);
    EXPECT_EQ(progress.find("cycleStart")->asString(), "2025-01-31");
    EXPECT_EQ(progress.find("requiredHours")->asNumber(), 48);
    EXPECT_EQ(progress.find("cat1Done")->asNumber(), 20);
    EXPECT_EQ(progress.find("license")->find("id")->asString(), licence);
    EXPECT_EQ(progress.find("topics")->asArray().size(), 2u);

    // Planning ahead: by mid-February the licence and the BLS card have lapsed.
    const auto ahead = device.run({"today", "--as-of", "2027-02-15", "--json"}).json();
    const auto& later = ahead.find("standing")->find("deductions")->asArray();
    EXPECT_EQ(later[0].find("id")->asString(), "expired:" + licence);
    EXPECT_EQ(later[0].find("points")->asNumber(), 25);
    EXPECT_EQ(ahead.find("progress")->asArray().at(0).find("cycleEnd")->asString(), "2027-01-31");
}

TEST_F(ProgressCommandTest, ProgressListsTheActivitiesBehindEachTopic) {
    const auto progress = device.run({"progress", "--as-of", "2026-11-22"});
    ASSERT_EQ(progress.code, 0) << progress.err;
    EXPECT_TRUE(has(progress.out, "Texas (TX) · Texas license\n"));
    EXPECT_TRUE(has(progress.out, "  Hours: 20 of 48 CME hours, 28 h to go\n"));
    EXPECT_TRUE(has(progress.out, "  Topic: Ethics (20 of 2 h), met\n"
                                  "    2026-01-10  20 h  cat1  Ethics in practice\n"));
    EXPECT_TRUE(has(progress.out, "  Topic: Opioid prescribing (0 of 2 h), open\n"));
    const auto json = device.run({"progress", "--as-of", "2026-11-22", "--json"}).json();
    const auto& topics = json.find("progress")->asArray().at(0).find("topics")->asArray();
    const auto ethicsLine = std::find_if(topics.begin(), topics.end(),
                                         [](const JSONValue& t) { return t.find("key")->asString() == "ethics"; });
    ASSERT_NE(ethicsLine, topics.end());
    EXPECT_EQ(ethicsLine->find("activityIds")->asArray().at(0).asString(), ethics);
}

TEST_F(ProgressCommandTest, AnOfficeSeesEveryoneWorstFirstThenOnePerson) {
    const auto nurse = add({"person", "--name", "Ben Ode", "--degree", "RN"});
    add({"credential", "--kind", "stateLicense", "--state", "TX", "--expires", "2026-12-01", "--person", nurse});

    const auto office = device.run({"today", "--as-of", "2026-11-22"});
    ASSERT_EQ(office.code, 0) << office.err;
    // Ben: due in 9 days (12), 20 contact hours short (8), no copy (2) = 78. Ana: 69.
    EXPECT_TRUE(has(office.out, "   69  Ana Ruiz  One thing needs you this month.\n"
                                "   78  Ben Ode   Two things need you this month.\n"));
    EXPECT_TRUE(has(office.out, "Totals: 2 people · 4 credentials · average score 74\n"));
    EXPECT_TRUE(has(office.out, "  3 things need someone this month\n"));

    const auto json = device.run({"today", "--as-of", "2026-11-22", "--json"}).json();
    EXPECT_EQ(json.find("people")->asArray().at(1).find("standing")->find("deductions")->asArray().at(0)
                  .find("person")->asString(),
              "Ben Ode");
    EXPECT_EQ(json.find("totals")->find("withoutCopy")->asNumber(), 4);

    const auto one = device.run({"today", "--person", nurse, "--as-of", "2026-11-22"});
    EXPECT_EQ(one.line(), "Ben Ode · Standing 78 of 100 on November 22, 2026");
    EXPECT_TRUE(has(one.out, "    0 of 20 contact hours\n"));

    const auto unknown = device.run({"today", "--person", "nobody"});
    EXPECT_EQ(unknown.code, 1);
    EXPECT_EQ(unknown.err, "No person has the id nobody.\n");
    EXPECT_EQ(device.run({"today", "--as-of", "2026-13-01"}).code, 2);
}

TEST_F(ProgressCommandTest, PlanLaysOutTwelveMonthsAndTheTopicsStillOpen) {
    auto plan = device.run({"plan", "--as-of", "2026-11-25"});
    ASSERT_EQ(plan.code, 0) << plan.err;
    EXPECT_TRUE(has(plan.out, "The next twelve months, from November 25, 2026\n\nNovember 2026\n"));
    EXPECT_TRUE(has(plan.out, "\nDecember 2026\n  Nothing due.\n"));
    EXPECT_TRUE(has(plan.out, "\nOctober 2027\n"));
    EXPECT_FALSE(has(plan.out, "November 2027"));
    // The DEA's window opens at the 90-day mark, on April 1.
    EXPECT_TRUE(has(plan.out, "\nApril 2027\n  Apr 1, 2027  DEA registration: renewal window opens (5 points at stake)\n"));
    EXPECT_TRUE(has(plan.out, "  Jan 31, 2027  Texas license expires (25 points at stake)\n    Renewal not filed yet.\n"));
    EXPECT_TRUE(has(plan.out, "Jan 31, 2027  Texas education cycle ends"));
    EXPECT_TRUE(has(plan.out, "\nMandated topics still open\n  Texas license (cycle ends January 31, 2027)\n"
                              "    Opioid prescribing: 0 of 2 hours\n"));

    const JSONValue json = device.run({"plan", "--as-of", "2026-11-25", "--json"}).json();
    const auto& months = json.find("months")->asArray();
    ASSERT_EQ(months.size(), 12u);
    EXPECT_EQ(months[0].find("month")->asString(), "2026-11");
    const auto& january = months[2].find("events")->asArray();
    ASSERT_FALSE(january.empty());
    EXPECT_EQ(january[0].find("kind")->asString(), "expiry");
    EXPECT_EQ(january[0].find("recordId")->asString(), licence);
    EXPECT_EQ(device.run({"plan", "--person", "nobody"}).err, "No person has the id nobody.\n");
}

TEST_F(ProgressCommandTest, WithoutStateRulesTheScoreStillStands) {
    static const Requirements none(std::nullopt);
    static const StateFees noFees(std::nullopt);
    device.stateData = {&none, &noFees};
    const auto today = device.run({"today", "--as-of", "2026-11-22"});
    ASSERT_EQ(today.code, 0) << today.err;
    EXPECT_EQ(today.line(), "Standing 77 of 100 on November 22, 2026");  // no education gap to count
    EXPECT_TRUE(has(today.out, "The state rules aren't available in this installation."));
}

}  // namespace
}  // namespace corvale

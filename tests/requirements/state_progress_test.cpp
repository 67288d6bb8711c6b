#include "requirements/CMECycle.h"
#include "requirements/RuleDataReader.h"
#include "requirements/StateProgress.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

// Each state pins one rule of the cycle and the counting; "ZZ" is no state at all.
constexpr std::string_view kRules = R"json({
  "topics": [{"key": "opioidPrescribing", "name": "Opioid prescribing"}, {"key": "ethics", "name": "Ethics"}],
  "states": [
    {"code": "TX", "name": "Texas",
     "md": {"cycleYears": 2, "hours": 30, "cat1Min": 10,
            "topics": [{"key": "opioidPrescribing", "hours": 2, "appliesTo": "deaHolders"},
                       {"key": "ethics", "hours": 2, "appliesTo": "prescribers"},
                       {"key": "painManagement", "hours": 12, "frequency": "once"},
                       {"key": "childAbuse", "hours": 2, "boardApprovedOnly": true},
                       {"key": "infectionControl", "hours": 1, "everyYears": 4},
                       {"key": "jurisprudence", "hours": 2, "frequency": "everyNCycles", "everyNCycles": 3}]},
     "rn": {"cycleYears": 2, "hours": 20}},
    {"code": "OH", "name": "Ohio", "md": {"hours": 50}},
    {"code": "MA", "name": "Massachusetts", "md": {"cycleYears": 0.5, "hours": 10}},
    {"code": "IN", "name": "Indiana", "md": {"cycleYears": 2, "hours": 0}, "rn": {"cycleYears": 2, "hours": 0}},
    {"code": "NY", "name": "New York", "md": {"topics": [{"key": "infectionControl", "hours": 1, "everyYears": 4}]},
     "pa": {"hours": 0, "topics": [{"key": "ethics", "hours": 1}, {"key": "infectionControl", "hours": 1}]}}
  ]})json";

const RequirementsFile& rules() {
    static const RequirementsFile file = *readRequirementsFile(kRules);
    return file;
}

Credential license(std::string state, std::optional<Day> expires) {
    Credential credential;
    credential.id = "lic-" + state;
    credential.kind = "stateLicense";
    credential.state = std::move(state);
    credential.expiresOn = expires;
    return credential;
}

CMEActivity activity(Day completed, double hours, std::string category = "cat2", std::vector<std::string> topics = {},
                     std::optional<bool> boardApproved = std::nullopt) {
    static int serial = 0;
    CMEActivity cme;
    cme.id = "cme-" + std::to_string(++serial);
    cme.completedOn = completed;
    cme.hours = hours;
    cme.category = std::move(category);
    cme.topics = std::move(topics);
    cme.boardApproved = boardApproved;
    return cme;
}

const Day kToday{2026, 11, 14};

StateProgress progress(const Credential& credential, const std::vector<CMEActivity>& activities, bool dea = true,
                       Degree degree = Degree::md) {
    auto result = StateProgress::compute(credential, degree, activities, dea, &rules(), kToday);
    EXPECT_TRUE(result);
    return result.value_or(StateProgress{});
}

const StateProgress::TopicLine* line(const StateProgress& progress, std::string_view key) {
    for (const auto& topic : progress.topics)
        if (topic.key == key) return &topic;
    return nullptr;
}

TEST(CMECycle, ReadsAStartMonthAndRollsWholeWindowsForward) {
    EXPECT_EQ(CMECycle::start("2019-03"), (Day{2019, 3, 1}));
    EXPECT_EQ(CMECycle::start("2019-3"), (Day{2019, 3, 1}));
    EXPECT_EQ(CMECycle::start("2019-03-15"), (Day{2019, 3, 1}));  // only the first seven characters count
    for (const char* bad : {"1899-12", "2201-01", "2019-13", "2019-00", "03-2019", "2019", "March", "", "2019-x3"}) {
        EXPECT_FALSE(CMECycle::start(bad)) << bad;
    }

    // Three windows have passed since March 2019; the fourth holds today.
    EXPECT_EQ(CMECycle::window("2019-03", 24, kToday), (CMECycle::Window{{2025, 3, 1}, {2027, 2, 28}}));
    // The window ending today still holds today; the day after moves on.
    EXPECT_EQ(CMECycle::window("2024-12", 24, {2026, 11, 30}), (CMECycle::Window{{2024, 12, 1}, {2026, 11, 30}}));
    EXPECT_EQ(CMECycle::window("2024-12", 24, {2026, 12, 1}), (CMECycle::Window{{2026, 12, 1}, {2028, 11, 30}}));
    // A start in the future is its own first window.
    EXPECT_EQ(CMECycle::window("2027-06", 12, kToday), (CMECycle::Window{{2027, 6, 1}, {2028, 5, 31}}));
    EXPECT_FALSE(CMECycle::window("2019-03", 0, kToday));
    EXPECT_FALSE(CMECycle::window("soon", 24, kToday));
    // Monthly windows from 1900 would need 3,200 moves; the walk stops after 200.
    EXPECT_EQ(CMECycle::window("1900-01", 1, kToday), (CMECycle::Window{{1916, 9, 1}, {1916, 9, 30}}));

    EXPECT_EQ(CMECycle::label("2026-03"), "March 2026");
    EXPECT_EQ(CMECycle::label("next spring"), "next spring");
}

TEST(StateProgress, TheCycleEndsOnTheExpiryOrFollowsAPinnedStart) {
    // Both ends of the cycle count; a day either side does not.
    const auto twoYears = progress(license("TX", Day{2027, 5, 31}),
                                   {activity({2025, 5, 30}, 5), activity({2025, 5, 31}, 1), activity({2027, 5, 31}, 2),
                                    activity({2027, 6, 1}, 7)});
    EXPECT_EQ(twoYears.cycleStart, (Day{2025, 5, 31}));
    EXPECT_EQ(twoYears.cycleEnd, (Day{2027, 5, 31}));
    EXPECT_DOUBLE_EQ(twoYears.doneHours, 3);
    EXPECT_EQ(twoYears.activities.size(), 2u);

    // No cycleYears: two years. Without an expiry the cycle ends that far from today.
    const auto noExpiry = progress(license("OH", std::nullopt), {});
    EXPECT_EQ(noExpiry.cycleEnd, (Day{2028, 11, 14}));
    EXPECT_EQ(noExpiry.cycleStart, kToday);

    // Half a year is raised to one.
    const auto shortCycle = progress(license("MA", Day{2027, 1, 31}), {});
    EXPECT_EQ(shortCycle.cycleStart, (Day{2026, 1, 31}));

    // A pinned start month wins over the expiry; one that doesn't parse is ignored.
    auto pinned = license("TX", Day{2027, 5, 31});
    pinned.cmeCycleStart = "2019-03";
    const auto rolled = progress(pinned, {});
    EXPECT_EQ(rolled.cycleStart, (Day{2025, 3, 1}));
    EXPECT_EQ(rolled.cycleEnd, (Day{2027, 2, 28}));
    pinned.cmeCycleStart = "when I remember";
    EXPECT_EQ(progress(pinned, {}).cycleEnd, (Day{2027, 5, 31}));
}

TEST(StateProgress, CountsHoursCategoryOneAndACustomTotal) {
    std::vector<CMEActivity> activities{activity({2026, 1, 10}, 4, "cat1"), activity({2026, 2, 10}, 3.5, "aapa"),
                                        activity({2026, 3, 10}, 2, "cat2"), activity({2026, 4, 10}, 6, "cat1")};
    activities.back().deleted = true;
    auto credential = license("TX", Day{2027, 5, 31});
    const auto counted = progress(credential, activities);
    EXPECT_DOUBLE_EQ(counted.doneHours, 9.5);
    EXPECT_DOUBLE_EQ(counted.cat1Done, 7.5);  // a PA's AAPA Category 1 is Category 1
    EXPECT_DOUBLE_EQ(counted.cat1Required, 10);
    EXPECT_DOUBLE_EQ(counted.requiredHours, 30);
    EXPECT_FALSE(counted.hoursAreCustom);

    credential.cmeHoursOverride = 9.5;
    const auto custom = progress(credential, activities);
    EXPECT_TRUE(custom.hoursAreCustom);
    EXPECT_DOUBLE_EQ(custom.requiredHours, 9.5);
    EXPECT_DOUBLE_EQ(custom.missingHours(), 0);
}

TEST(StateProgress, TopicsDrawOnTheirOwnWindowsAndScopes) {
    const Day expiry{2027, 5, 31};
    const std::vector<CMEActivity> activities{
        activity({2012, 6, 1}, 12, "cat1", {"painManagement"}),        // one-time: any date counts
        activity({2023, 5, 31}, 1, "cat1", {"infectionControl"}),      // four years before the cycle end
        activity({2023, 5, 30}, 1, "cat1", {"infectionControl"}),      // a day too early
        activity({2021, 5, 31}, 2, "cat1", {"jurisprudence"}),         // three two-year cycles back
        activity({2021, 5, 30}, 5, "cat1", {"jurisprudence"}),         // a day too early
        activity({2026, 1, 5}, 2, "cat1", {"childAbuse"}, true),
        activity({2026, 1, 6}, 1, "cat1", {"childAbuse"}),             // not board-approved
        activity({2024, 1, 1}, 2, "cat1", {"ethics"}),                 // before the cycle
    };
    const auto withDEA = progress(license("TX", expiry), activities, true);
    ASSERT_EQ(withDEA.topics.size(), 6u);
    EXPECT_EQ(line(withDEA, "opioidPrescribing")->name, "Opioid prescribing");
    EXPECT_DOUBLE_EQ(line(withDEA, "painManagement")->done, 12);
    EXPECT_DOUBLE_EQ(line(withDEA, "infectionControl")->done, 1);
    EXPECT_DOUBLE_EQ(line(withDEA, "jurisprudence")->done, 2);
    EXPECT_DOUBLE_EQ(line(withDEA, "childAbuse")->done, 2);
    EXPECT_DOUBLE_EQ(line(withDEA, "childAbuse")->unapprovedHours, 1);
    EXPECT_EQ(line(withDEA, "childAbuse")->counted, std::vector<const CMEActivity*>{&activities[5]});
    EXPECT_DOUBLE_EQ(line(withDEA, "ethics")->done, 0);  // "prescribers" applies; the hours lie outside the cycle
    const auto open = withDEA.openTopics();
    ASSERT_EQ(open.size(), 2u);
    EXPECT_EQ(open[0].key, "opioidPrescribing");
    EXPECT_EQ(open[1].key, "ethics");

    // A tag repeated on one activity still counts its hours once.
    const auto twice = progress(license("TX", expiry), {activity({2026, 2, 1}, 1.5, "cat1", {"ethics", "ethics"})});
    EXPECT_DOUBLE_EQ(line(twice, "ethics")->done, 1.5);
    EXPECT_EQ(line(twice, "ethics")->counted.size(), 1u);

    // Without a DEA registration the DEA-holders topic is not asked for.
    const auto withoutDEA = progress(license("TX", expiry), activities, false);
    EXPECT_EQ(withoutDEA.topics.size(), 5u);
    EXPECT_EQ(line(withoutDEA, "opioidPrescribing"), nullptr);
}

TEST(StateProgress, CompletionAllowsAThousandthOfAnHourAndTheRingStaysOpenUntilThen) {
    const Day expiry{2027, 5, 31};
    auto ohio = [&](double hours) { return progress(license("OH", expiry), {activity({2026, 1, 1}, hours)}); };
    EXPECT_TRUE(ohio(49.9995).isComplete());
    EXPECT_EQ(ohio(49.9995).ringFraction(), 1.0);
    EXPECT_EQ(ohio(49.9995).summary(), "50 of 50 CME hours");
    EXPECT_FALSE(ohio(49.998).isComplete());
    EXPECT_EQ(ohio(49.998).summary(), "49.99 of 50 CME hours");  // never rounded up to look finished
    EXPECT_DOUBLE_EQ(ohio(49.998).ringFraction(), 0.97);
    EXPECT_DOUBLE_EQ(ohio(25).ringFraction(), 0.5);
    EXPECT_DOUBLE_EQ(ohio(80).ringFraction(), 1.0);

    // No hour total: the ring is the share of topics met.
    const auto york = progress(license("NY", expiry), {activity({2026, 1, 1}, 1, "cat1", {"ethics"})}, false, Degree::pa);
    EXPECT_FALSE(york.isComplete());
    EXPECT_DOUBLE_EQ(york.ringFraction(), 0.5);

    auto texas = [&](std::vector<CMEActivity> extra) {
        std::vector<CMEActivity> all{activity({2026, 1, 1}, 30, "cat2", {"painManagement"})};
        all.insert(all.end(), extra.begin(), extra.end());
        return progress(license("TX", expiry), all);
    };
    // 30 of 30 hours and one of six topics met.
    const auto partial = texas({});
    EXPECT_DOUBLE_EQ(partial.ringFraction(), 0.8 + 0.2 * 1.0 / 6.0);
    // Every topic met except Category 1: the ring still stops short.
    const auto allTopics = texas({activity({2026, 2, 1}, 2, "cat2", {"opioidPrescribing", "ethics", "childAbuse",
                                                                     "infectionControl", "jurisprudence"},
                                           true)});
    EXPECT_TRUE(allTopics.openTopics().empty());
    EXPECT_FALSE(allTopics.isComplete());
    EXPECT_LE(allTopics.ringFraction(), 0.97);
    EXPECT_TRUE(texas({activity({2026, 2, 1}, 10, "cat1", {"opioidPrescribing", "ethics", "childAbuse",
                                                           "infectionControl", "jurisprudence"},
                                 true)})
                    .isComplete());
}

TEST(StateProgress, SummariesSpeakTheProfessionsUnits) {
    const Day expiry{2027, 5, 31};
    EXPECT_EQ(progress(license("TX", expiry), {activity({2026, 1, 1}, 12.5)}, true, Degree::rn).summary(),
              "12.5 of 20 contact hours");
    EXPECT_EQ(progress(license("IN", expiry), {}).summary(), "No CME required");
    EXPECT_EQ(progress(license("IN", expiry), {}, true, Degree::rn).summary(), "No CE required");
    EXPECT_TRUE(progress(license("IN", expiry), {}).noCERequired());
    // A total typed by the clinician outranks a rule that asks for none.
    auto custom = license("IN", expiry);
    custom.cmeHoursOverride = 1;
    EXPECT_EQ(progress(custom, {}).summary(), "0 of 1 CME hour");

    EXPECT_EQ(progress(license("NY", expiry), {}, false).summary(), "Hours not recorded · 1 topic");
    EXPECT_EQ(progress(license("NY", expiry), {activity({2026, 1, 1}, 1, "cat1", {"infectionControl"})}, false)
                  .summary(),
              "Hours not recorded");
    EXPECT_EQ(progress(license("NY", expiry), {}, false, Degree::pa).summary(), "2 topics left");
    EXPECT_EQ(progress(license("NY", expiry), {activity({2026, 1, 1}, 1, "cat1", {"ethics"})}, false, Degree::pa)
                  .summary(),
              "1 topic left");
    EXPECT_EQ(progress(license("NY", expiry),
                       {activity({2026, 1, 1}, 1, "cat1", {"ethics", "infectionControl"})}, false, Degree::pa)
                  .summary(),
              "No hour requirement");
}

TEST(StateProgress, OnlyALiveStateLicenceInAKnownStateHasProgress) {
    const RequirementsFile& file = rules();
    auto dea = license("TX", Day{2027, 5, 31});
    dea.kind = "dea";
    auto unknownState = license("ZZ", Day{2027, 5, 31});
    auto noState = license("TX", Day{2027, 5, 31});
    noState.state.reset();
    auto deleted = license("TX", Day{2027, 5, 31});
    deleted.deleted = true;
    for (const auto& credential : {dea, unknownState, noState, deleted}) {
        EXPECT_FALSE(StateProgress::compute(credential, Degree::md, std::span<const CMEActivity>{}, true, &file, kToday))
            << credential.kind << ' ' << credential.state.value_or("-");
    }
    EXPECT_FALSE(StateProgress::compute(license("TX", Day{2027, 5, 31}), Degree::md, std::span<const CMEActivity>{},
                                        true, nullptr, kToday));
    // Massachusetts has no nursing rule, and a nurse does not borrow the physicians'.
    EXPECT_FALSE(StateProgress::compute(license("MA", Day{2027, 5, 31}), Degree::rn, std::span<const CMEActivity>{},
                                        true, &file, kToday));
}

}  // namespace
}  // namespace corvale

#include "ShippedRules.h"
#include "TestVault.h"
#include "requirements/RenewalPlan.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace corvale {
namespace {

const Day kToday{2026, 11, 25};

const PlanEvent* find(const RenewalPlan& plan, PlanEvent::Kind kind, const std::string& recordId) {
    for (const auto& month : plan.months)
        for (const auto& event : month.events)
            if (event.kind == kind && event.recordId == recordId) return &event;
    return nullptr;
}

TEST(RenewalPlan, TwelveMonthsOfExpiriesWindowsAndCycleEndsWithWhatEachWouldCost) {
    testing::TestVault vault;
    const auto nurse = vault.person("Ana Ruiz", "RN");
    const auto pa = vault.person("Jordan Reyes", "PA");
    const std::string licence = vault.credential(nurse, "stateLicense", "TX", Day{2027, 4, 30}).id;
    const std::string bls = vault.credential(nurse, "bls", std::nullopt, Day{2027, 1, 20}).id;  // window open already
    Credential& dea = vault.credential(pa, "dea", std::nullopt, Day{2027, 6, 30});
    dea.renewalStage = "submitted";
    const std::string deaId = dea.id;
    const std::string later = vault.credential(pa, "acls", std::nullopt, Day{2027, 12, 1}).id;   // past the plan
    const std::string lapsed = vault.credential(pa, "pals", std::nullopt, Day{2026, 10, 1}).id;  // behind it

    const auto plan = RenewalPlan::compute(vault.document, &testing::shippedRules(), kToday);
    ASSERT_EQ(plan.months.size(), 12u);
    EXPECT_EQ(plan.months.front().first, (Day{2026, 11, 1}));
    EXPECT_EQ(plan.months.back().first, (Day{2027, 10, 1}));
    EXPECT_EQ(plan.months.front().first.monthAndYear(), "November 2026");
    for (const auto& month : plan.months) {
        EXPECT_TRUE(std::is_sorted(month.events.begin(), month.events.end(),
                                   [](const PlanEvent& a, const PlanEvent& b) { return a.day < b.day; }));
        for (const auto& event : month.events) {
            EXPECT_EQ(event.day.year, month.first.year);
            EXPECT_EQ(event.day.month, month.first.month);
        }
    }
    EXPECT_FALSE(find(plan, PlanEvent::Kind::expiry, later));
    EXPECT_FALSE(find(plan, PlanEvent::Kind::expiry, lapsed));

    // The licence: its window opens at the 90-day mark, and letting it lapse costs the most.
    const PlanEvent* opens = find(plan, PlanEvent::Kind::renewalWindow, licence);
    ASSERT_TRUE(opens);
    EXPECT_EQ(opens->day, (Day{2027, 1, 30}));
    EXPECT_EQ(opens->title, "Texas license for Ana Ruiz: renewal window opens");
    EXPECT_EQ(opens->pointsAtStake, 5);
    const PlanEvent* expires = find(plan, PlanEvent::Kind::expiry, licence);
    ASSERT_TRUE(expires);
    EXPECT_EQ(expires->title, "Texas license for Ana Ruiz expires");
    EXPECT_EQ(expires->pointsAtStake, 25);
    // A window already open is Today's business; a filed renewal has no window, and says it is filed.
    EXPECT_FALSE(find(plan, PlanEvent::Kind::renewalWindow, bls));
    ASSERT_TRUE(find(plan, PlanEvent::Kind::expiry, bls));
    EXPECT_FALSE(find(plan, PlanEvent::Kind::renewalWindow, deaId));
    EXPECT_EQ(find(plan, PlanEvent::Kind::expiry, deaId)->detail,
              "The renewal is filed; enter the new expiry date once it is granted.");

    // The Texas nursing cycle ends with every hour missing: what is left to earn, and what the gap costs.
    const PlanEvent* cycle = find(plan, PlanEvent::Kind::cycleEnd, licence);
    ASSERT_TRUE(cycle);
    EXPECT_EQ(cycle->day, (Day{2027, 4, 30}));
    EXPECT_EQ(cycle->title, "Texas education cycle ends for Ana Ruiz");
    EXPECT_NE(cycle->detail.find("contact hours still to earn."), std::string::npos) << cycle->detail;
    EXPECT_EQ(cycle->pointsAtStake, 8);
    ASSERT_EQ(plan.openTopics.size(), 1u);
    EXPECT_EQ(plan.openTopics[0].state, "Texas");
    EXPECT_FALSE(plan.openTopics[0].topics.empty());

    // Narrowed to one person: only theirs, and titles no longer say whose.
    const auto alone = RenewalPlan::compute(vault.document, &testing::shippedRules(), kToday, pa);
    EXPECT_FALSE(find(alone, PlanEvent::Kind::expiry, licence));
    ASSERT_TRUE(find(alone, PlanEvent::Kind::expiry, deaId));
    EXPECT_EQ(find(alone, PlanEvent::Kind::expiry, deaId)->title, "DEA registration expires");
    EXPECT_TRUE(alone.openTopics.empty());
    EXPECT_EQ(alone.eventCount(), 1u);
}

}  // namespace
}  // namespace corvale

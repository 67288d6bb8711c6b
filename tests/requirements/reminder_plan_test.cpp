#include "ShippedRules.h"
#include "TestVault.h"
#include "requirements/Readiness.h"
#include "requirements/ReminderPlan.h"
#include "requirements/Requirements.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

const RequirementsFile& shipped() { return testing::shippedRules(); }

struct Vault : testing::TestVault {
    std::set<std::string, std::less<>> shown;

    // What goes out on `day`, remembered as shown, as the reminder command does.
    std::vector<Reminder> on(Day day) {
        const auto readiness = Readiness::compute(document, &shipped(), day);
        auto due = ReminderPlan::due(readiness, document.settings, day, shown);
        for (const auto& reminder : due) shown.insert(reminder.keys.begin(), reminder.keys.end());
        return due;
    }
};

const Day kExpiry{2027, 3, 31};

TEST(ReminderPlan, EachLeadDayOnceAndAMissedOneAtTheNextChanceWithItsTrueDates) {
    Vault vault;
    const auto nurse = vault.person("Ana Ruiz", "RN");
    vault.credential(nurse, "bls", std::nullopt, kExpiry);

    EXPECT_TRUE(vault.on(kExpiry.addingDays(-91)).empty());
    auto due = vault.on(kExpiry.addingDays(-90));
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].title, "BLS card");
    EXPECT_EQ(due[0].lines, std::vector<std::string>{"Expires on March 31, 2027 (in 90 days)."});
    EXPECT_EQ(due[0].due, kExpiry.addingDays(-90));
    // Said once: the next days are quiet until the next lead day.
    EXPECT_TRUE(vault.on(kExpiry.addingDays(-90)).empty());
    EXPECT_TRUE(vault.on(kExpiry.addingDays(-31)).empty());

    // The computer was off on the 30-day mark: it goes out five days late, saying the real date,
    // and within 30 days it says the renewal isn't filed.
    due = vault.on(kExpiry.addingDays(-25));
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].lines,
              std::vector<std::string>{"Expires on March 31, 2027 (in 25 days). Its renewal isn't filed yet."});
    EXPECT_EQ(due[0].due, kExpiry.addingDays(-30));
    EXPECT_TRUE(vault.on(kExpiry.addingDays(-8)).empty());

    // Off from before the 7-day mark until the expiry: the expiry says it all, once.
    due = vault.on(kExpiry);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].lines, std::vector<std::string>{"Expires today, March 31, 2027."});
    EXPECT_TRUE(vault.on(kExpiry.addingDays(2)).empty());
    // Off over the expiry itself: said afterwards, in the past tense.
    vault.shown.clear();
    due = vault.on(kExpiry.addingDays(2));
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].lines, std::vector<std::string>{"Expired on March 31, 2027."});
    EXPECT_EQ(due[0].due, kExpiry);

    // A renewal to a new date starts over.
    vault.document.credentials[0].expiresOn = kExpiry.addingYears(2);
    EXPECT_EQ(vault.on(kExpiry.addingYears(2).addingDays(-90)).size(), 1u);
}

TEST(ReminderPlan, OneReminderPerCredentialAndWhatTheUserSetAsideStaysAside) {
    Vault vault;
    const auto physician = vault.person("Sam Patel", "MD");
    const auto nurse = vault.person("Jordan Reyes", "RN");
    // A Texas licence ending with every hour missing: its expiry and its cycle go out together.
    vault.credential(physician, "stateLicense", "TX", kExpiry);
    vault.credential(physician, "bls", std::nullopt, kExpiry);
    Credential& acls = vault.credential(nurse, "acls", std::nullopt, kExpiry);
    acls.reminderLeadDays = 14;
    const std::string aclsId = acls.id;
    Credential& dea = vault.credential(physician, "dea", std::nullopt, kExpiry);
    dea.renewalStage = "submitted";
    const std::string deaId = dea.id;
    vault.document.settings.notApplicable = {"bls"};

    auto due = vault.on(kExpiry.addingDays(-30));
    ASSERT_EQ(due.size(), 1u);  // BLS not applicable, ACLS waits for its own 14 days, the DEA renewal is filed
    EXPECT_EQ(due[0].title, "Texas license for Sam Patel");
    ASSERT_EQ(due[0].lines.size(), 2u);
    EXPECT_EQ(due[0].lines[1], "48 CME hours still to earn before the Texas cycle ends on March 31, 2027.");
    EXPECT_EQ(due[0].keys.size(), 4u);  // 90 and 30 days, for the expiry and for the cycle

    // Snoozed until a day: quiet until then, and then what was held back goes out.
    vault.document.settings.snoozed[aclsId] = kExpiry.addingDays(-5).toString();
    EXPECT_TRUE(vault.on(kExpiry.addingDays(-14)).empty());
    due = vault.on(kExpiry.addingDays(-5));
    ASSERT_EQ(due.size(), 2u);
    EXPECT_EQ(due[0].title, "ACLS card for Jordan Reyes");
    EXPECT_EQ(due[0].due, kExpiry.addingDays(-14));
    EXPECT_EQ(due[1].title, "Texas license for Sam Patel");  // its 7-day mark

    // A filed renewal is still said on the day the old date runs out.
    due = vault.on(kExpiry);
    const auto deaReminder = std::find_if(due.begin(), due.end(), [&](const Reminder& r) { return r.credentialId == deaId; });
    ASSERT_NE(deaReminder, due.end());
    EXPECT_EQ(deaReminder->lines, std::vector<std::string>{"Expires today, March 31, 2027. The renewal is filed; enter "
                                                           "the new expiry date once it is granted."});

    // The week ahead from the 25th: the DEA's filed renewal still expires, the Texas cycle ends with hours missing.
    const auto review = ReminderPlan::weekAhead(Readiness::compute(vault.document, &shipped(), kExpiry.addingDays(-3)),
                                                kExpiry.addingDays(-3));
    EXPECT_EQ(review.title, "The week ahead");
    EXPECT_EQ(review.keys, std::vector<std::string>{"weekly:2027-03-28"});
    EXPECT_NE(std::find(review.lines.begin(), review.lines.end(),
                        "Texas license for Sam Patel expires in 3 days, March 31, 2027."),
              review.lines.end());
    EXPECT_NE(std::find(review.lines.begin(), review.lines.end(),
                        "48 CME hours to earn for Texas (Sam Patel) before March 31, 2027."),
              review.lines.end());
    const auto quiet = ReminderPlan::weekAhead(Readiness::compute(vault.document, &shipped(), kExpiry.addingDays(-30)),
                                               kExpiry.addingDays(-30));
    EXPECT_EQ(quiet.lines, std::vector<std::string>{"Nothing is due in the week ahead."});
    // 2027-03-28 is a Sunday (1): from the hour chosen on, and not on another day.
    EXPECT_TRUE(ReminderPlan::isWeeklyReviewTime(1, 8, Day{2027, 3, 28}, 8));
    EXPECT_FALSE(ReminderPlan::isWeeklyReviewTime(1, 8, Day{2027, 3, 28}, 7));
    EXPECT_FALSE(ReminderPlan::isWeeklyReviewTime(2, 8, Day{2027, 3, 28}, 12));
    EXPECT_TRUE(ReminderPlan::isWeeklyReviewTime(7, 0, Day{2027, 3, 27}, 0));

    EXPECT_TRUE(ReminderPlan::isStale("expiry:x:30:2025-01-01", Day{2026, 3, 1}));
    EXPECT_FALSE(ReminderPlan::isStale("expiry:x:30:2025-06-01", Day{2026, 3, 1}));
    EXPECT_TRUE(ReminderPlan::isStale("nonsense", Day{2026, 3, 1}));
}

}  // namespace
}  // namespace corvale

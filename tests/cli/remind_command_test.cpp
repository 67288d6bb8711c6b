#include "TestDevice.h"
#include "vault/VaultStore.h"

namespace corvale {
namespace {

using namespace clitest;

class RemindCommandTest : public ::testing::Test {
protected:
    InMemoryFileSystem files;
    Device device{files, "/a"};

    void SetUp() override {
        ASSERT_EQ(device.run({"init", "--name", "Ana Ruiz", "--degree", "RN"}).code, 0);
        ASSERT_EQ(device.run({"add", "credential", "--kind", "bls", "--expires", "2027-03-31"}).code, 0);
    }
    JSONValue shown() {
        Prefs prefs(files, device.setup().prefsFile);
        prefs.load();
        const JSONValue* value = prefs.value(Prefs::kRemindersShown);
        return value ? *value : JSONValue();
    }
};

TEST_F(RemindCommandTest, SendsWhatIsDueOnceAndPrintsIt) {
    auto quiet = device.run({"remind", "--as-of", "2026-12-30"});
    EXPECT_EQ(quiet.code, 0);
    EXPECT_EQ(quiet.out, "Nothing to remind of on December 30, 2026.\n");
    EXPECT_TRUE(device.notifier.sent.empty());

    // A dry run says what is due and neither sends nor remembers it.
    auto dry = device.run({"remind", "--as-of", "2026-12-31", "--dry-run"});
    EXPECT_EQ(dry.out, "BLS card\n  Expires on March 31, 2027 (in 90 days).\n");
    EXPECT_TRUE(device.notifier.sent.empty());

    auto sent = device.run({"remind", "--as-of", "2026-12-31"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    EXPECT_EQ(sent.out, "Sent: BLS card\n  Expires on March 31, 2027 (in 90 days).\n");
    ASSERT_EQ(device.notifier.sent.size(), 1u);
    EXPECT_EQ(device.notifier.sent[0].summary, "BLS card");
    EXPECT_EQ(shown().asArray().size(), 1u);
    // Once only, however often the timer runs.
    EXPECT_EQ(device.run({"remind", "--as-of", "2026-12-31"}).out, "Nothing to remind of on December 31, 2026.\n");
    EXPECT_EQ(device.notifier.sent.size(), 1u);

    // A desktop that refuses keeps the reminder for the next run.
    device.notifier.refusal = NotifierFailure{NotifierFailure::Kind::noService, "no daemon"};
    auto refused = device.run({"remind", "--as-of", "2027-03-01"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err, "The desktop's notification service didn't take the reminder (no daemon), so it will be "
                           "tried again next time.\n");
    device.notifier.refusal.reset();
    EXPECT_EQ(device.run({"remind", "--as-of", "2027-03-02"}).code, 0);
    ASSERT_EQ(device.notifier.sent.size(), 2u);
    EXPECT_EQ(device.notifier.sent[1].body, "Expires on March 31, 2027 (in 29 days). Its renewal isn't filed yet.");
}

TEST_F(RemindCommandTest, AClickedReminderOpensTheAppOnItsCredentialOnceTheVaultIsFree) {
    const std::string bls = device.run({"list", "credentials", "--json"}).json().asArray().at(0).find("id")->asString();
    device.notifier.clicks = {0};
    // Without --stay nothing waits for a click: a terminal gets its prompt back.
    EXPECT_EQ(device.run({"remind", "--as-of", "2026-12-31"}).code, 0);
    EXPECT_EQ(device.notifier.sent.at(0).link, "corvale://credential/" + bls);
    EXPECT_FALSE(device.notifier.followedFor);
    EXPECT_TRUE(device.openedLinks.empty());

    auto stayed = device.run({"remind", "--as-of", "2027-03-01", "--stay", "50"});
    EXPECT_EQ(stayed.code, 0) << stayed.err;
    EXPECT_EQ(device.notifier.followedFor, std::chrono::minutes(50));
    EXPECT_EQ(device.openedLinks, std::vector<std::string>{"corvale://credential/" + bls});
    EXPECT_NE(stayed.out.find("Opening corvale://credential/" + bls), std::string::npos);
    EXPECT_TRUE(device.vaultFreeWhenOpened) << "the app started on a click found the vault still held";

    // Nothing sent, nothing to wait for; a dry run never waits either.
    device.notifier.followedFor.reset();
    EXPECT_EQ(device.run({"remind", "--as-of", "2027-03-01", "--stay", "50"}).code, 0);
    EXPECT_EQ(device.run({"remind", "--as-of", "2027-03-24", "--stay", "50", "--dry-run"}).code, 0);
    EXPECT_FALSE(device.notifier.followedFor);
    EXPECT_EQ(device.run({"remind", "--stay", "-1"}).code, 2);

    // With app lock on the click opens Today: the link may say no more than the notice.
    device.turnOnAppLock();
    device.notifier.clicks = {device.notifier.sent.size()};
    EXPECT_EQ(device.run({"remind", "--as-of", "2027-03-24", "--stay", "5"}).code, 0);
    EXPECT_EQ(device.notifier.sent.back().link, "corvale://today");
    EXPECT_EQ(device.openedLinks.back(), "corvale://today");
}

TEST_F(RemindCommandTest, SnoozedAndNotApplicableCredentialsWait) {
    const std::string bls = device.run({"list", "credentials", "--json"}).json().asArray().at(0).find("id")->asString();
    EXPECT_EQ(device.run({"not-applicable", "bls"}).code, 0);
    EXPECT_TRUE(device.run({"remind", "--as-of", "2026-12-31"}).out.starts_with("Nothing"));
    EXPECT_EQ(device.run({"not-applicable", "bls", "--off"}).code, 0);
    EXPECT_EQ(device.run({"snooze", bls, "--until", "2027-01-05"}).code, 0);
    EXPECT_TRUE(device.run({"remind", "--as-of", "2027-01-04"}).out.starts_with("Nothing"));
    EXPECT_TRUE(device.notifier.sent.empty());
    // The snooze ends: what it held back goes out then.
    EXPECT_EQ(device.run({"remind", "--as-of", "2027-01-05"}).out,
              "Sent: BLS card\n  Expires on March 31, 2027 (in 85 days).\n");

    auto always = device.run({"not-applicable", "stateLicense"});
    EXPECT_EQ(always.code, 2);
    EXPECT_EQ(always.err, "State licenses and other credentials always apply.\n");
    EXPECT_EQ(device.run({"snooze", "no-such-id", "--until", "2027-01-05"}).err, "No credential has the id no-such-id.\n");
    EXPECT_EQ(device.run({"snooze", bls}).code, 2);
}

TEST_F(RemindCommandTest, TheWeeklyReviewGoesOutOnItsDayFromItsHourOnce) {
    {
        Prefs prefs(files, device.setup().prefsFile);
        prefs.load();
        ASSERT_TRUE(prefs.setFlag(Prefs::kWeeklyReview, true));
        ASSERT_TRUE(prefs.set(Prefs::kWeeklyReviewWeekday, JSONValue(2)));  // Monday
        ASSERT_TRUE(prefs.set(Prefs::kWeeklyReviewHour, JSONValue(9)));    // the clock reads 11:06
    }
    EXPECT_TRUE(device.run({"remind", "--as-of", "2026-11-24"}).out.starts_with("Nothing"));  // a Tuesday
    EXPECT_EQ(device.run({"remind", "--as-of", "2026-11-23"}).out, "Sent: The week ahead\n  Nothing is due in the week ahead.\n");
    EXPECT_TRUE(device.run({"remind", "--as-of", "2026-11-23"}).out.starts_with("Nothing"));
    // The next Monday, with the BLS card within 90 days, both go out.
    auto both = device.run({"remind", "--as-of", "2027-03-29"});
    EXPECT_NE(both.out.find("Sent: BLS card\n"), std::string::npos) << both.out;
    EXPECT_NE(both.out.find("Sent: The week ahead\n  BLS card expires in 2 days, March 31, 2027.\n"), std::string::npos)
        << both.out;
}

TEST_F(RemindCommandTest, WithAppLockOnItSaysOnlyThatSomethingNeedsAttention) {
    device.turnOnAppLock();
    // No terminal and no password: a timer still reminds, without a word of what or whose.
    auto sent = device.run({"remind", "--as-of", "2027-03-31"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    ASSERT_EQ(device.notifier.sent.size(), 1u);
    const Notification& notice = device.notifier.sent[0];
    EXPECT_EQ(notice.summary, "Something in Corvale needs your attention");
    for (const std::string& said : {notice.summary, notice.body, sent.out}) {
        EXPECT_EQ(said.find("BLS"), std::string::npos) << said;
        EXPECT_EQ(said.find("Ana"), std::string::npos) << said;
        EXPECT_EQ(said.find("March"), std::string::npos) << said;
    }
    EXPECT_TRUE(device.authenticator.reasons.empty());
    EXPECT_EQ(device.run({"remind", "--as-of", "2027-03-31"}).out, "Nothing to remind of on March 31, 2027.\n");
}

}  // namespace
}  // namespace corvale

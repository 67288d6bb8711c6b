#include "requirements/NurseCompact.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

Credential license(std::string state, bool multistate = false, std::optional<std::string> home = std::nullopt) {
    Credential c;
    c.kind = "stateLicense";
    c.state = std::move(state);
    c.multistate = multistate;
    c.homeState = std::move(home);
    return c;
}

TEST(NurseCompact, MembershipListsAreFixedAndCaseBlind) {
    EXPECT_EQ(NurseCompact::memberStates().size(), 40u);
    EXPECT_EQ(NurseCompact::pendingStates().size(), 3u);
    EXPECT_TRUE(NurseCompact::isMember("tx"));
    EXPECT_FALSE(NurseCompact::isMember("CA"));
    EXPECT_FALSE(NurseCompact::isMember("MA"));
    EXPECT_TRUE(NurseCompact::isPending("gu"));
    EXPECT_EQ(NurseCompact::reviewedNote(), "The Compact list in Corvale was last reviewed November 3, 2026");
    EXPECT_EQ(NurseCompact::stateSentence("oh"),
              "Ohio is a Nurse Licensure Compact state, so a multistate RN or LPN/LVN license from another Compact "
              "home state covers practice here.");
    EXPECT_EQ(NurseCompact::stateSentence("CA"),
              "California isn't listed as a Compact state, so its licenses are single-state. Check ncsbn.org if this "
              "has changed.");
    EXPECT_EQ(NurseCompact::stateSentence("VI"),
              "US Virgin Islands has passed the Compact but may not issue multistate licenses yet, so check with its "
              "board of nursing.");
}

TEST(NurseCompact, CoverageSaysWhichLicenceCoversTheState) {
    const std::vector<Credential> texasMultistate{license("TX", true, "TX")};
    EXPECT_EQ(NurseCompact::coverage("OH", texasMultistate, Degree::rn),
              std::vector<std::string>{
                  "Your multistate license from Texas covers practice in Ohio, because both are Compact states, so "
                  "you don't need a separate Ohio license. The list was last reviewed November 3, 2026, so check "
                  "ncsbn.org before relying on it."});
    EXPECT_EQ(NurseCompact::coverage("tx", texasMultistate, Degree::rn),
              std::vector<std::string>{"You hold a Texas RN license, so you can practise in Texas on it."});
    EXPECT_EQ(NurseCompact::coverage("CA", texasMultistate, Degree::lpn),
              std::vector<std::string>{"California isn't a Compact state, so your multistate license from Texas "
                                       "doesn't cover it and you need a California license."});
    EXPECT_EQ(NurseCompact::coverage("MA", texasMultistate, Degree::rn),
              std::vector<std::string>{
                  "Massachusetts has passed the Compact but may not recognise multistate licenses yet, so check with "
                  "its board of nursing before you practise there on your Texas license."});

    const std::vector<Credential> singleState{license("OH")};
    EXPECT_EQ(NurseCompact::coverage("IN", singleState, Degree::rn),
              std::vector<std::string>{
                  "None of your licenses is marked multistate, so Indiana needs its own license. If your home state "
                  "is a Compact state, ask its board of nursing for a multistate license, which would cover "
                  "Indiana."});
    EXPECT_EQ(NurseCompact::coverage("OH", singleState, Degree::lpn),
              std::vector<std::string>{"You hold an Ohio LPN/LVN license, so you can practise in Ohio on it."});
    EXPECT_EQ(NurseCompact::coverage("NY", {}, Degree::rn),
              std::vector<std::string>{"New York isn't listed as a Compact state, so you need a New York license to "
                                       "practise there."});

    // A deleted licence covers nothing; an APRN hears first that the APRN Compact is not in effect.
    std::vector<Credential> withDeleted{license("IN")};
    withDeleted[0].deleted = true;
    const auto aprn = NurseCompact::coverage("IN", withDeleted, Degree::np);
    ASSERT_EQ(aprn.size(), 2u);
    EXPECT_EQ(aprn[0],
              "The APRN Compact isn't in effect yet, so an APRN license covers only the state that issued it. Your "
              "RN license can still be multistate.");
    EXPECT_TRUE(aprn[1].starts_with("None of your licenses is marked multistate"));
}

TEST(NurseCompact, MoveNotes) {
    EXPECT_FALSE(NurseCompact::moveNote("TX", ""));
    EXPECT_FALSE(NurseCompact::moveNote("tx", "TX"));
    EXPECT_EQ(NurseCompact::moveNote("TX", "CA"),
              "California isn't a Compact state, so after the move you'll need a single-state California license, "
              "and your Texas license changes to single-state. Check with both boards of nursing before you move.");
    EXPECT_EQ(NurseCompact::moveNote("", "FL"),
              "When you move your primary residence to Florida, Florida must issue your new multistate license, and "
              "your your old home state multistate license becomes inactive once it does. Apply to the Florida "
              "board of nursing by endorsement soon after the move.");
}

}  // namespace
}  // namespace corvale

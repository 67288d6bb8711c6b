#include "records/Day.h"
#include "records/Timestamp.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

TEST(Day, ParsesLooseTextAndWritesItPadded) {
    EXPECT_EQ(Day::parse("2026-7-4"), (Day{2026, 7, 4}));
    EXPECT_EQ(Day::parse("2026-7-4")->toString(), "2026-07-04");
    EXPECT_EQ(Day::parse("2026-07-04T10:00:00Z"), (Day{2026, 7, 4}));  // only the first ten characters count
    EXPECT_EQ(Day::parse("0999-01-02")->toString(), "0999-01-02");
    EXPECT_EQ(Day::parse("2026--7-4"), (Day{2026, 7, 4}));  // empty pieces are dropped
    EXPECT_FALSE(Day::parse("2026--07--04"));               // the cut at ten characters leaves two pieces

    EXPECT_FALSE(Day::parse("2026/07/04"));
    EXPECT_FALSE(Day::parse(""));
    EXPECT_FALSE(Day::parse("2026-07"));
    EXPECT_FALSE(Day::parse("2026-7-4-1"));
    EXPECT_EQ(Day::parse("2026-07-04-01"), (Day{2026, 7, 4}));
    EXPECT_FALSE(Day::parse("July 4 2026"));
    // A non-numeric piece is skipped, so it no longer counts towards the three.
    EXPECT_FALSE(Day::parse("2026-07-xx"));
    EXPECT_EQ(Day::parse("x-2026-07-04"), std::nullopt);  // the 10-character cut leaves "x-2026-07-"
}

TEST(Day, ComparesByYearMonthDay) {
    EXPECT_LT((Day{2025, 12, 31}), (Day{2026, 1, 1}));
    EXPECT_LT((Day{2026, 1, 31}), (Day{2026, 2, 1}));
    EXPECT_EQ((Day{2026, 2, 1}), (Day{2026, 2, 1}));
}

TEST(Day, ArithmeticCrossesMonthsYearsAndLeapDays) {
    EXPECT_EQ((Day{2026, 12, 31}).addingDays(1), (Day{2027, 1, 1}));
    EXPECT_EQ((Day{2024, 3, 1}).addingDays(-1), (Day{2024, 2, 29}));
    EXPECT_EQ((Day{2026, 1, 31}).addingMonths(1), (Day{2026, 2, 28}));
    EXPECT_EQ((Day{2024, 1, 31}).addingMonths(1), (Day{2024, 2, 29}));
    EXPECT_EQ((Day{2026, 3, 15}).addingMonths(-3), (Day{2025, 12, 15}));
    EXPECT_EQ((Day{2026, 11, 30}).addingMonths(14), (Day{2028, 1, 30}));
    EXPECT_EQ((Day{2024, 2, 29}).addingYears(1), (Day{2025, 2, 28}));
    EXPECT_EQ((Day{2024, 2, 29}).addingYears(4), (Day{2028, 2, 29}));

    EXPECT_EQ((Day{2026, 1, 1}).daysTo(Day{2027, 1, 1}), 365);
    EXPECT_EQ((Day{2024, 1, 1}).daysTo(Day{2025, 1, 1}), 366);
    EXPECT_EQ((Day{2026, 3, 10}).daysTo(Day{2026, 3, 1}), -9);
    EXPECT_EQ(Day::today().addingDays(30).daysFromToday(), 30);

    EXPECT_EQ(Day::endOfMonth(2024, 2), (Day{2024, 2, 29}));
    EXPECT_EQ(Day::endOfMonth(2026, 2), (Day{2026, 2, 28}));
    EXPECT_EQ(Day::endOfMonth(2026, 12), (Day{2026, 12, 31}));
    EXPECT_EQ(Day::endOfMonth(2026, 4), (Day{2026, 4, 30}));
}

TEST(Day, OutOfRangeTextSurvivesAndStillCounts) {
    // A hand-typed impossible date is kept as written, not silently moved.
    const auto odd = Day::parse("2026-02-30");
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->toString(), "2026-02-30");
    EXPECT_EQ(odd->addingDays(0), (Day{2026, 3, 2}));
    EXPECT_FALSE(Day::parse("2026-13-01"));
    EXPECT_FALSE(Day::parse("2026-00-01"));
    EXPECT_FALSE(Day::parse("2026-01-32"));
    EXPECT_FALSE(Day::parse("99999-1-1"));  // would be written with more than ten characters
}

TEST(Day, TypedDaysMustBeOnTheCalendar) {
    for (const char* missing : {"2027-02-30", "2027-04-31", "2026-02-29", "2100-02-29", "2026-06-31"}) {
        EXPECT_FALSE(Day::parseExisting(missing)) << missing;
        EXPECT_TRUE(Day::parse(missing)) << missing << " must still read back from a stored vault";
    }
    EXPECT_EQ(Day::parseExisting("2028-02-29"), (Day{2028, 2, 29}));
    EXPECT_EQ(Day::parseExisting("2000-02-29"), (Day{2000, 2, 29}));
    EXPECT_EQ(Day::parseExisting("2027-12-31"), (Day{2027, 12, 31}));
    EXPECT_FALSE(Day::parseExisting("2027-13-01"));
    EXPECT_FALSE(Day::parseExisting(""));
}

TEST(Day, FormatsForPeople) {
    EXPECT_EQ((Day{2026, 7, 4}).formatted(), "July 4, 2026");
    EXPECT_EQ((Day{2026, 7, 4}).shortFormatted(), "Jul 4, 2026");
    EXPECT_EQ((Day{2026, 12, 25}).shortFormatted(), "Dec 25, 2026");
}

TEST(Day, ConvertsToAndFromUTCTimestamps) {
    const Day day{2026, 7, 31};
    EXPECT_EQ(UTCDay::toTimestamp(day).toString(), "2026-07-31T00:00:00.000Z");
    EXPECT_EQ(UTCDay::fromTimestamp(*Timestamp::parse("2026-07-31T23:59:59.999Z")), day);
    EXPECT_EQ(UTCDay::fromTimestamp(*Timestamp::parse("1969-12-31T23:00:00Z")), (Day{1969, 12, 31}));
    EXPECT_EQ(UTCDay::fromTimestamp(Timestamp::epoch()), (Day{1970, 1, 1}));
}

}  // namespace
}  // namespace corvale

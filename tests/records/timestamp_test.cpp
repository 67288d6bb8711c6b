#include "records/Timestamp.h"

#include "platform/Clock.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

using namespace std::chrono;

std::int64_t millis(std::string_view text) {
    const auto parsed = Timestamp::parse(text);
    EXPECT_TRUE(parsed) << text;
    return parsed ? parsed->time.time_since_epoch().count() : -1;
}

TEST(Timestamp, ReadsTheThreeAcceptedForms) {
    EXPECT_EQ(millis("2025-03-01T14:05:09.120Z"), 1740837909120);
    EXPECT_EQ(millis("2025-03-01T14:05:09Z"), 1740837909000);
    EXPECT_EQ(millis("2025-03-01"), 1740787200000);
    EXPECT_EQ(millis("1970-01-01T00:00:00Z"), 0);
    // Extra fractional digits are cut to milliseconds; offsets move the instant to UTC.
    EXPECT_EQ(millis("2025-03-01T14:05:09.1209Z"), 1740837909120);
    EXPECT_EQ(millis("2025-03-01T14:05:09.1Z"), 1740837909100);
    EXPECT_EQ(millis("2025-03-01T16:05:09+02:00"), 1740837909000);
    EXPECT_EQ(millis("2025-03-01T09:35:09.120-04:30"), 1740837909120);
}

TEST(Timestamp, FallsBackToTheDayThenRejects) {
    // A malformed time that still starts with a day reads as that day's midnight.
    for (const char* text : {"2025-03-01T14:05", "2025-03-01T14:05:09", "2025-03-01T14:05:09.Z", "2025-03-01T25:00:00Z"}) {
        const auto parsed = Timestamp::parse(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(parsed->toString(), "2025-03-01T00:00:00.000Z") << text;
    }
    for (const char* text : {"", "yesterday", "03/01/2025", "2025/03/01T14:05:09Z", "T14:05:09Z"}) {
        EXPECT_FALSE(Timestamp::parse(text)) << text;
    }
}

TEST(Timestamp, WritesMillisecondsInUTC) {
    EXPECT_EQ(Timestamp::epoch().toString(), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(Timestamp::parse("2025-03-01T14:05:09.12Z")->toString(), "2025-03-01T14:05:09.120Z");
    EXPECT_EQ(Timestamp::parse("1969-12-31T23:59:59.999Z")->toString(), "1969-12-31T23:59:59.999Z");

    FixedClock clock(system_clock::time_point{} + seconds{1740837909} + microseconds{120999});
    EXPECT_EQ(Timestamp::now(clock).toString(), "2025-03-01T14:05:09.120Z");
}

}  // namespace
}  // namespace corvale

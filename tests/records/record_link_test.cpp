#include "records/RecordLink.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

TEST(RecordLinkTest, ReadsBackWhatItWritesAndRefusesAnythingElse) {
    for (const auto& link : {RecordLink::today(), RecordLink::credential("7f3c1e2a-90b4-4c1d-a2e5-0b6f1d2c3e4f"),
                             RecordLink::activity("cme_42")}) {
        EXPECT_EQ(RecordLink::parse(link.text()), link) << link.text();
    }
    EXPECT_EQ(RecordLink::credential("abc").text(), "corvale://credential/abc");
    // Desktops hand links on with a trailing slash, or with nothing after the scheme.
    EXPECT_EQ(RecordLink::parse("corvale://credential/abc/"), RecordLink::credential("abc"));
    EXPECT_EQ(RecordLink::parse("corvale://"), RecordLink::today());

    // A link comes from outside: anything that could smuggle more than an id in is refused.
    for (const char* bad : {"https://credential/abc", "corvale:credential/abc", "corvale://credential/",
                            "corvale://credential/a/b", "corvale://credential/a%20b", "corvale://credential/a?x=1",
                            "corvale://credential/../vault", "corvale://person/abc", "corvale://todayx",
                            "CORVALE://today"}) {
        EXPECT_FALSE(RecordLink::parse(bad)) << bad;
    }
    EXPECT_FALSE(RecordLink::parse("corvale://credential/" + std::string(129, 'a')));
    EXPECT_TRUE(RecordLink::parse("corvale://credential/" + std::string(128, 'a')));
}

}  // namespace
}  // namespace corvale

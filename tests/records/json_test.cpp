#include "records/JSONReader.h"
#include "records/JSONValue.h"
#include "records/JSONWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace corvale {
namespace {

TEST(JSONWriter, SortsKeysAndEscapesStrings) {
    JSONValue::Object object;
    object["zeta"] = 1;
    object["Alpha"] = true;  // upper case sorts before lower case, byte by byte
    object["alpha"] = nullptr;
    object["text"] = std::string("quote\" slash\\ line\n tab\t bell\x07 é");
    object["list"] = JSONValue::Array{1.5, "x", JSONValue::Array{}};
    EXPECT_EQ(
        writeJSON(object),
        R"({"Alpha":true,"alpha":null,"list":[1.5,"x",[]],"text":"quote\" slash\\ line\n tab\t bell\u0007 é","zeta":1})");
}

TEST(JSONWriter, WritesNumbersThatReadBackExactly) {
    EXPECT_EQ(writeJSON(2.0), "2");
    EXPECT_EQ(writeJSON(-0.5), "-0.5");
    EXPECT_EQ(writeJSON(310000), "310000");
    EXPECT_EQ(writeJSON(0.1), "0.1");
    EXPECT_EQ(writeJSON(1e300), "1e+300");
    EXPECT_EQ(writeJSON(std::numeric_limits<double>::quiet_NaN()), "null");
    for (double value : {0.1 + 0.2, 1.0 / 3.0, 123456789.123, -2.5e-7, 9007199254740993.0}) {
        const auto parsed = parseJSON(writeJSON(value));
        ASSERT_TRUE(parsed);
        EXPECT_EQ(parsed->asNumber(), value);
    }
}

TEST(JSONReader, ReadsAnyValueAndRejectsBrokenText) {
    const auto parsed = parseJSON(R"({"b":[1,-2,3.5,"s",null,true,{"k":{}}],"a":18446744073709551615})");
    ASSERT_TRUE(parsed);
    const JSONValue& list = *parsed->find("b");
    ASSERT_TRUE(list.isArray());
    ASSERT_EQ(list.asArray().size(), 7u);
    EXPECT_EQ(list.asArray()[1].asNumber(), -2);
    EXPECT_TRUE(list.asArray()[4].isNull());
    EXPECT_TRUE(list.asArray()[6].find("k")->isObject());
    EXPECT_EQ(parsed->find("a")->asNumber(), 18446744073709551615.0);
    EXPECT_EQ(writeJSON(*parsed), R"({"a":18446744073709551616,"b":[1,-2,3.5,"s",null,true,{"k":{}}]})");

    for (const char* bad : {"", "{", "{\"a\":}", "[1,]", "nul", "{\"a\":1}x", "\"\xff\""}) {
        const auto result = parseJSON(bad);
        ASSERT_FALSE(result) << bad;
        EXPECT_EQ(result.error(), RecordError::invalidJSON);
    }
    // An empty file read from disk is a view with no data pointer at all.
    const auto nothing = parseJSON(std::string_view{});
    ASSERT_FALSE(nothing);
    EXPECT_EQ(nothing.error(), RecordError::invalidJSON);
}

TEST(JSONReader, NestingPastTheLimitIsRefusedWithoutRecursingIntoIt) {
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    const auto deepest = parseJSON(nested(kJSONMaxDepth));
    ASSERT_TRUE(deepest);
    EXPECT_EQ(writeJSON(*deepest), nested(kJSONMaxDepth));
    for (const std::size_t depth : {kJSONMaxDepth + 1, std::size_t{100'000}}) {
        const auto result = parseJSON(nested(depth));
        ASSERT_FALSE(result) << depth;
        EXPECT_EQ(result.error(), RecordError::tooDeep) << depth;
    }
    // Objects count the same as arrays.
    std::string objects;
    for (std::size_t i = 0; i < 100'000; ++i) objects += "{\"a\":";
    objects += "1" + std::string(100'000, '}');
    EXPECT_EQ(parseJSON(objects).error(), RecordError::tooDeep);
}

}  // namespace
}  // namespace corvale

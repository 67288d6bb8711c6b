#include "platform/SecureBytes.h"

#include <gtest/gtest.h>

#include <utility>

namespace corvale {
namespace {

SecureBytes of(std::string_view text) { return SecureBytes(asBytes(text)); }

TEST(SecureBytes, HoldsItsOwnCopy) {
    std::string source = "key material";
    SecureBytes bytes(asBytes(source));
    source[0] = 'X';
    EXPECT_EQ(asText(bytes.view()), "key material");
    EXPECT_NE(static_cast<const void*>(bytes.data()), static_cast<const void*>(source.data()));

    const SecureBytes zeroed(4);
    EXPECT_EQ(zeroed.size(), 4u);
    EXPECT_EQ(asText(zeroed.view()), std::string_view("\0\0\0\0", 4));

    const SecureBytes none;
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(none.data(), nullptr);
    EXPECT_TRUE(SecureBytes(ByteView{}).empty());

    SecureBytes copy = bytes.clone();
    copy.data()[0] = 'K';
    EXPECT_EQ(asText(bytes.view()), "key material");
    EXPECT_EQ(asText(copy.view()), "Key material");
}

TEST(SecureBytes, MovingTransfersTheBufferAndEmptiesTheSource) {
    SecureBytes first = of("first");
    const std::uint8_t* buffer = first.data();

    SecureBytes second(std::move(first));
    EXPECT_EQ(second.data(), buffer);
    EXPECT_EQ(asText(second.view()), "first");
    EXPECT_TRUE(first.empty());  // NOLINT(bugprone-use-after-move): moved-from state is part of the contract
    EXPECT_EQ(first.data(), nullptr);

    SecureBytes third = of("third, longer");
    third = std::move(second);
    EXPECT_EQ(third.data(), buffer);
    EXPECT_EQ(asText(third.view()), "first");
    EXPECT_TRUE(second.empty());  // NOLINT(bugprone-use-after-move)

    // A moved-from object is reusable.
    second = of("again");
    EXPECT_EQ(asText(second.view()), "again");

    SecureBytes& alias = third;
    third = std::move(alias);
    EXPECT_EQ(asText(third.view()), "first");
}

TEST(SecureBytes, EqualityComparesSizeAndEveryByte) {
    EXPECT_TRUE(of("abcdef") == of("abcdef"));
    EXPECT_FALSE(of("abcdef") == of("abcdeg"));  // last byte
    EXPECT_FALSE(of("abcdef") == of("Abcdef"));  // first byte
    EXPECT_FALSE(of("abc") == of("abcdef"));
    EXPECT_FALSE(of("") == of("a"));
    EXPECT_TRUE(SecureBytes() == of(""));
    EXPECT_TRUE(SecureBytes(3) == SecureBytes(asBytes(std::string_view("\0\0\0", 3))));
}

TEST(SecureBytes, WipeZeroesExactlyTheGivenRange) {
    std::uint8_t buffer[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    secureWipe(buffer + 2, 4);
    const std::uint8_t expected[8] = {1, 2, 0, 0, 0, 0, 7, 8};
    EXPECT_TRUE(std::equal(std::begin(buffer), std::end(buffer), std::begin(expected)));
    secureWipe(nullptr, 0);
}

}  // namespace
}  // namespace corvale

#include "platform/SecureBytes.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace corvale {
namespace {

SecureBytes of(std::string_view text) { return SecureBytes(asBytes(text)); }

TEST(SecureBytes, OwnsItsBytesComparesEveryByteAndWipesOnlyTheRange) {
    std::string source = "key material";
    SecureBytes bytes(asBytes(source));
    source[0] = 'X';
    EXPECT_EQ(asText(bytes.view()), "key material");
    SecureBytes copy = bytes.clone();
    copy.data()[0] = 'K';
    EXPECT_EQ(asText(bytes.view()), "key material");
    EXPECT_EQ(asText(SecureBytes(4).view()), std::string_view("\0\0\0\0", 4));

    EXPECT_TRUE(of("abcdef") == of("abcdef"));
    EXPECT_FALSE(of("abcdef") == of("abcdeg"));
    EXPECT_FALSE(of("abcdef") == of("Abcdef"));
    EXPECT_FALSE(of("abc") == of("abcdef"));
    EXPECT_TRUE(SecureBytes() == of(""));

    std::array<std::uint8_t, 8> buffer = {1, 2, 3, 4, 5, 6, 7, 8};
    secureWipe(buffer.data() + 2, 4);
    EXPECT_EQ(buffer, (std::array<std::uint8_t, 8>{1, 2, 0, 0, 0, 0, 7, 8}));
}

TEST(SecureBytes, MovingTransfersTheBufferAndEmptiesTheSource) {
    SecureBytes first = of("first");
    const std::uint8_t* buffer = first.data();
    SecureBytes second(std::move(first));
    EXPECT_EQ(second.data(), buffer);
    EXPECT_TRUE(first.empty());  // NOLINT(bugprone-use-after-move): moved-from state is part of the contract
    EXPECT_EQ(first.data(), nullptr);

    SecureBytes third = of("third, longer");
    third = std::move(second);
    EXPECT_EQ(third.data(), buffer);
    EXPECT_EQ(asText(third.view()), "first");
    EXPECT_TRUE(second.empty());  // NOLINT(bugprone-use-after-move)

    SecureBytes& alias = third;
    third = std::move(alias);
    EXPECT_EQ(asText(third.view()), "first");
}

}  // namespace
}  // namespace corvale

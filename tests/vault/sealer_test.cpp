#include "vault/Sealer.h"

#include "VaultTestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace corvale {
namespace {

using test::countingBytes;
using test::countingKey;

const std::string kGoldenPlain = "Corvale sealed envelope, golden sample.\n";

TEST(Sealer, LayoutIsMagicNonceCiphertextTag) {
    const SecureBytes key = countingKey(0);
    const Bytes nonce = countingBytes(0xA0, 12);

    auto empty = Sealer::seal({}, key.view(), nonce);
    ASSERT_TRUE(empty);
    ASSERT_EQ(empty->size(), 32u);
    EXPECT_EQ(asText(ByteView(*empty).first(4)), "PBV1");
    EXPECT_EQ(Bytes(empty->begin() + 4, empty->begin() + 16), nonce);
    auto opened = Sealer::open(*empty, key.view());
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->empty());

    auto sealed = Sealer::seal(asBytes("licence scan"), key.view(), nonce);
    ASSERT_TRUE(sealed);
    EXPECT_EQ(sealed->size(), 32u + 12u);

    // Without a given nonce every seal draws a new one.
    auto first = Sealer::seal(asBytes("licence scan"), key.view());
    auto second = Sealer::seal(asBytes("licence scan"), key.view());
    ASSERT_TRUE(first && second);
    EXPECT_NE(Bytes(first->begin() + 4, first->begin() + 16), Bytes(second->begin() + 4, second->begin() + 16));
    auto reopened = Sealer::open(*second, key.view());
    ASSERT_TRUE(reopened);
    EXPECT_EQ(asText(*reopened), "licence scan");
}

TEST(Sealer, MatchesAnEnvelopeMadeByAnIndependentImplementation) {
    const Bytes golden = test::readGolden("golden-envelope.pbv");
    const SecureBytes key = countingKey(0);

    auto sealed = Sealer::seal(asBytes(kGoldenPlain), key.view(), countingBytes(0xA0, 12));
    ASSERT_TRUE(sealed);
    EXPECT_EQ(*sealed, golden);

    auto opened = Sealer::open(golden, key.view());
    ASSERT_TRUE(opened);
    EXPECT_EQ(asText(*opened), kGoldenPlain);
}

TEST(Sealer, RejectsWhatIsNotAnEnvelope) {
    const SecureBytes key = countingKey(0);
    auto sealed = Sealer::seal({}, key.view());
    ASSERT_TRUE(sealed);

    Bytes tooShort(sealed->begin(), sealed->end() - 1);
    auto shortResult = Sealer::open(tooShort, key.view());
    ASSERT_FALSE(shortResult);
    EXPECT_EQ(shortResult.error().code, VaultError::Code::badFormat);
    EXPECT_EQ(shortResult.error().message(), "This file isn't a Corvale vault.");

    auto emptyResult = Sealer::open({}, key.view());
    ASSERT_FALSE(emptyResult);
    EXPECT_EQ(emptyResult.error().code, VaultError::Code::badFormat);

    Bytes otherMagic = *sealed;
    otherMagic[3] = '2';
    auto magicResult = Sealer::open(otherMagic, key.view());
    ASSERT_FALSE(magicResult);
    EXPECT_EQ(magicResult.error().code, VaultError::Code::badFormat);

    auto wrongKey = Sealer::open(*sealed, countingKey(1).view());
    ASSERT_FALSE(wrongKey);
    EXPECT_EQ(wrongKey.error().code, VaultError::Code::damaged);
}

TEST(Sealer, AnySingleChangedByteFailsToOpen) {
    const SecureBytes key = countingKey(7);
    auto sealed = Sealer::seal(asBytes("DEA 2026"), key.view());
    ASSERT_TRUE(sealed);

    for (std::size_t position = 0; position < sealed->size(); ++position) {
        for (const std::uint8_t mask : {std::uint8_t{0x01}, std::uint8_t{0x80}, std::uint8_t{0xFF}}) {
            Bytes altered = *sealed;
            altered[position] ^= mask;
            auto opened = Sealer::open(altered, key.view());
            ASSERT_FALSE(opened) << "byte " << position << " mask " << int{mask};
            const auto expected = position < 4 ? VaultError::Code::badFormat : VaultError::Code::damaged;
            EXPECT_EQ(opened.error().code, expected) << "byte " << position;
        }
    }
}

TEST(Sealer, WrongSizedKeyOrNonceIsAnErrorNotACrash) {
    const Bytes nonce = countingBytes(0, 12);
    for (const std::size_t keySize : {0u, 16u, 31u, 33u}) {
        const Bytes key = countingBytes(0, keySize);
        auto sealed = Sealer::seal(asBytes("x"), key, nonce);
        ASSERT_FALSE(sealed) << keySize;
        EXPECT_EQ(sealed.error().code, VaultError::Code::sealFailed);
        EXPECT_EQ(Sealer::seal(asBytes("x"), key).error().code, VaultError::Code::sealFailed);
    }
    const SecureBytes key = countingKey(0);
    for (const std::size_t nonceSize : {0u, 11u, 13u, 16u}) {
        auto sealed = Sealer::seal(asBytes("x"), key.view(), countingBytes(0, nonceSize));
        ASSERT_FALSE(sealed) << nonceSize;
        EXPECT_EQ(sealed.error().code, VaultError::Code::sealFailed);
    }

    auto good = Sealer::seal(asBytes("x"), key.view());
    ASSERT_TRUE(good);
    auto opened = Sealer::open(*good, countingBytes(0, 16));
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error().code, VaultError::Code::sealFailed);
}

}  // namespace
}  // namespace corvale

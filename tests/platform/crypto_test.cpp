#include "platform/Crypto.h"
#include "support/Outcomes.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <tuple>
#include <vector>

namespace corvale::crypto {
namespace {

using test_support::fromHex;

TEST(Crypto, DigestsAndKeyDerivationMatchPublishedVectors) {
    // The "abc" digest has a 0x01 byte, so hex output must be zero-padded.
    const std::pair<std::string_view, std::string_view> digests[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"}};
    for (const auto& [input, digest] : digests) EXPECT_EQ(hexLower(sha256(asBytes(input))), digest) << input;

    // RFC 7914 section 11, then the RFC 6070 inputs as published for HMAC-SHA256.
    const std::tuple<std::string_view, std::string_view, std::uint32_t, std::string_view> derivations[] = {
        {"passwd", "salt", 1,
         "55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc"
         "49ca9cccf179b645991664b39d77ef317c71b845b1e30bd509112041d3a19783"},
        {"Password", "NaCl", 80000,
         "4ddcd8f60b98be21830cee5ef22701f9641a4418d04c0414aeff08876b34ab56"
         "a1d425a1225833549adb841b51c9b3176a272bdebba1d078478f62b397f33c8d"},
        {"password", "salt", 4096, "c5e478d59288c841aa530db6845c4c8d962893a001ce4e11a4963873aa98134a"},
    };
    for (const auto& [passphrase, salt, iterations, key] : derivations)
        EXPECT_EQ(hexLower(pbkdf2Sha256(passphrase, asBytes(salt), iterations, key.size() / 2).view()), key);
    EXPECT_TRUE(pbkdf2Sha256("password", asBytes("salt"), 0, 32).empty());
    EXPECT_TRUE(pbkdf2Sha256("password", asBytes("salt"), 1, 0).empty());
    EXPECT_EQ(pbkdf2Sha256("", {}, 1, 32).size(), 32u);
}

// McGrew and Viega, "The Galois/Counter Mode of Operation", test case 16.
struct GcmInput {
    Bytes key = fromHex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308");
    Bytes nonce = fromHex("cafebabefacedbaddecaf888");
    Bytes aad = fromHex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
    Bytes sealed = fromHex(
        "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
        "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662"
        "76fc6ece0f4e1768cddf8853bb2d551b");
};
const Bytes kCase16Plain = fromHex(
    "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
    "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b39");

TEST(Crypto, AesGcmMatchesPublishedVectors) {
    const GcmInput tc;
    Bytes out;
    ASSERT_TRUE(aesGcmSeal(tc.key, tc.nonce, tc.aad, kCase16Plain, out));
    EXPECT_EQ(out, tc.sealed);
    Bytes plain;
    ASSERT_TRUE(aesGcmOpen(tc.key, tc.nonce, tc.aad, tc.sealed, plain));
    EXPECT_EQ(plain, kCase16Plain);

    // Test case 13: zero key and nonce, nothing to encrypt; sealing appends after the caller's header.
    const Bytes zeroKey(32, 0);
    const Bytes zeroNonce(12, 0);
    Bytes tagOnly{0xAA};
    ASSERT_TRUE(aesGcmSeal(zeroKey, zeroNonce, {}, {}, tagOnly));
    EXPECT_EQ(hexLower(tagOnly), "aa530f8afbc74536b9a963b4f1c4cb738b");
    plain = {1, 2, 3};
    ASSERT_TRUE(aesGcmOpen(zeroKey, zeroNonce, {}, ByteView(tagOnly).subspan(1), plain));
    EXPECT_TRUE(plain.empty());

    Bytes refused{1};
    EXPECT_FALSE(aesGcmSeal(Bytes(31, 0), zeroNonce, {}, asBytes("x"), refused));
    EXPECT_FALSE(aesGcmSeal(zeroKey, Bytes(8, 0), {}, asBytes("x"), refused));
    EXPECT_EQ(refused, Bytes{1}) << "a refused seal must leave the output as it was";
}

TEST(Crypto, AesGcmRejectsAnyTamperingAndLeavesNoPlaintext) {
    const GcmInput good;
    std::vector<GcmInput> bad;
    auto variant = [&](auto change) {
        GcmInput input = good;
        change(input);
        bad.push_back(std::move(input));
    };
    for (std::size_t i : {std::size_t{0}, kCase16Plain.size() - 1, kCase16Plain.size(), good.sealed.size() - 1})
        variant([i](GcmInput& in) { in.sealed[i] ^= 0x01; });
    variant([](GcmInput& in) { in.aad.back() ^= 0x80; });
    variant([](GcmInput& in) { in.aad.clear(); });
    variant([](GcmInput& in) { in.nonce[0] ^= 0x01; });
    variant([](GcmInput& in) { in.nonce.clear(); });
    variant([](GcmInput& in) { in.key[31] ^= 0x01; });
    variant([](GcmInput& in) { in.key.resize(16); });
    variant([](GcmInput& in) { in.sealed.pop_back(); });
    variant([](GcmInput& in) { in.sealed.assign(15, 0); });
    for (std::size_t i = 0; i < bad.size(); ++i) {
        Bytes plain(5, 0xEE);
        EXPECT_FALSE(aesGcmOpen(bad[i].key, bad[i].nonce, bad[i].aad, bad[i].sealed, plain)) << "variant " << i;
        EXPECT_TRUE(plain.empty()) << "variant " << i;
    }
}

TEST(Crypto, Base64IsStrictRfc4648) {
    // RFC 4648 section 10 encodes the prefixes of "foobar".
    const std::string_view encodings[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
    for (std::size_t n = 0; n < std::size(encodings); ++n) {
        const std::string_view plain = std::string_view("foobar").substr(0, n);
        EXPECT_EQ(base64Encode(asBytes(plain)), encodings[n]);
        EXPECT_EQ(base64Decode(encodings[n]), Bytes(plain.begin(), plain.end())) << encodings[n];
    }
    EXPECT_EQ(base64Encode(Bytes{0xfb, 0xff}), "+/8=");
    Bytes everyByte(256);
    std::iota(everyByte.begin(), everyByte.end(), std::uint8_t{0});
    for (const Bytes& bytes :
         {everyByte, Bytes(everyByte.begin() + 1, everyByte.end()), Bytes(everyByte.begin() + 2, everyByte.end())})
        EXPECT_EQ(base64Decode(base64Encode(bytes)), bytes) << bytes.size();

    for (std::string_view malformed : {
             "Zg", "Zg=", "Zm9vY",                // wrong length
             "Z===", "====", "Zg==Zg==", "Zm=v",  // misplaced or excess padding
             "Zm9v YmFy", "Zm9vYmF\n",            // whitespace
             "Zm9-", "Zm9_", "Zm\x80v",           // outside the standard alphabet
             "Zh==", "Zm9=",                      // non-zero bits after the last byte
         }) {
        EXPECT_FALSE(base64Decode(malformed).has_value()) << '"' << malformed << '"';
    }
    EXPECT_FALSE(base64Decode(std::string_view("Zm9v\0\0\0\0", 8)).has_value());
}

TEST(Crypto, RandomBytesAreFreshEachTime) {
    const Bytes a = randomBytes(32);
    ASSERT_EQ(a.size(), 32u);
    EXPECT_NE(a, randomBytes(32));
    EXPECT_NE(a, Bytes(32, 0));
}

}  // namespace
}  // namespace corvale::crypto

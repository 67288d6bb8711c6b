#include "platform/Crypto.h"

#include <gtest/gtest.h>

#include <string>

namespace corvale::crypto {
namespace {

Bytes fromHex(std::string_view hex) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

TEST(Crypto, HexIsLowerCaseAndPadded) {
    EXPECT_EQ(hexLower(Bytes{0x00, 0x0a, 0xab, 0xff, 0x10}), "000aabff10");
    EXPECT_EQ(hexLower({}), "");
}

TEST(Crypto, Sha256MatchesPublishedDigests) {
    EXPECT_EQ(hexLower(sha256(asBytes("abc"))), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hexLower(sha256({})), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(hexLower(sha256(asBytes("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"))),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST(Crypto, Pbkdf2MatchesPublishedVectors) {
    // RFC 7914, section 11.
    EXPECT_EQ(hexLower(pbkdf2Sha256("passwd", asBytes("salt"), 1, 64).view()),
              "55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc"
              "49ca9cccf179b645991664b39d77ef317c71b845b1e30bd509112041d3a19783");
    EXPECT_EQ(hexLower(pbkdf2Sha256("Password", asBytes("NaCl"), 80000, 64).view()),
              "4ddcd8f60b98be21830cee5ef22701f9641a4418d04c0414aeff08876b34ab56"
              "a1d425a1225833549adb841b51c9b3176a272bdebba1d078478f62b397f33c8d");
    // The RFC 6070 inputs, as published for HMAC-SHA256.
    EXPECT_EQ(hexLower(pbkdf2Sha256("password", asBytes("salt"), 4096, 32).view()),
              "c5e478d59288c841aa530db6845c4c8d962893a001ce4e11a4963873aa98134a");

    EXPECT_TRUE(pbkdf2Sha256("password", asBytes("salt"), 0, 32).empty());
    EXPECT_TRUE(pbkdf2Sha256("password", asBytes("salt"), 1, 0).empty());
    EXPECT_EQ(pbkdf2Sha256("", {}, 1, 32).size(), 32u);
}

// McGrew and Viega, "The Galois/Counter Mode of Operation", test case 16.
struct GcmCase16 {
    Bytes key = fromHex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308");
    Bytes nonce = fromHex("cafebabefacedbaddecaf888");
    Bytes aad = fromHex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
    Bytes plain = fromHex(
        "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
        "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b39");
    Bytes sealed = fromHex(
        "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
        "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662"
        "76fc6ece0f4e1768cddf8853bb2d551b");
};

TEST(Crypto, AesGcmMatchesPublishedVectors) {
    const GcmCase16 tc;
    Bytes out;
    ASSERT_TRUE(aesGcmSeal(tc.key, tc.nonce, tc.aad, tc.plain, out));
    EXPECT_EQ(out, tc.sealed);

    Bytes plain;
    ASSERT_TRUE(aesGcmOpen(tc.key, tc.nonce, tc.aad, tc.sealed, plain));
    EXPECT_EQ(plain, tc.plain);

    // Test case 13: all-zero key and nonce, nothing to encrypt; only the tag.
    const Bytes zeroKey(32, 0);
    const Bytes zeroNonce(12, 0);
    Bytes tagOnly{0xAA};  // sealing appends after what the caller already wrote
    ASSERT_TRUE(aesGcmSeal(zeroKey, zeroNonce, {}, {}, tagOnly));
    EXPECT_EQ(hexLower(tagOnly), "aa530f8afbc74536b9a963b4f1c4cb738b");
    plain = {1, 2, 3};
    ASSERT_TRUE(aesGcmOpen(zeroKey, zeroNonce, {}, ByteView(tagOnly).subspan(1), plain));
    EXPECT_TRUE(plain.empty());
}

TEST(Crypto, AesGcmRejectsAnyTamperingAndLeavesNoPlaintext) {
    const GcmCase16 tc;
    const Bytes junk(5, 0xEE);
    auto opens = [&](const Bytes& key, const Bytes& nonce, const Bytes& aad, const Bytes& sealed) {
        Bytes plain = junk;
        const bool ok = aesGcmOpen(key, nonce, aad, sealed, plain);
        if (!ok) {
            EXPECT_TRUE(plain.empty()) << "failed open left bytes behind";
        }
        return ok;
    };
    ASSERT_TRUE(opens(tc.key, tc.nonce, tc.aad, tc.sealed));

    for (std::size_t index : {std::size_t{0}, tc.plain.size() - 1, tc.plain.size(), tc.sealed.size() - 1}) {
        Bytes tampered = tc.sealed;
        tampered[index] ^= 0x01;
        EXPECT_FALSE(opens(tc.key, tc.nonce, tc.aad, tampered)) << "flipped byte " << index;
    }
    Bytes aad = tc.aad;
    aad.back() ^= 0x80;
    EXPECT_FALSE(opens(tc.key, tc.nonce, aad, tc.sealed));
    EXPECT_FALSE(opens(tc.key, tc.nonce, {}, tc.sealed));
    Bytes nonce = tc.nonce;
    nonce[0] ^= 0x01;
    EXPECT_FALSE(opens(tc.key, nonce, tc.aad, tc.sealed));
    Bytes key = tc.key;
    key[31] ^= 0x01;
    EXPECT_FALSE(opens(key, tc.nonce, tc.aad, tc.sealed));

    const Bytes truncated(tc.sealed.begin(), tc.sealed.end() - 1);
    EXPECT_FALSE(opens(tc.key, tc.nonce, tc.aad, truncated));
    EXPECT_FALSE(opens(tc.key, tc.nonce, tc.aad, Bytes(15, 0)));
    EXPECT_FALSE(opens(tc.key, tc.nonce, tc.aad, {}));
    EXPECT_FALSE(opens(Bytes(16, 0), tc.nonce, tc.aad, tc.sealed));
    EXPECT_FALSE(opens(tc.key, Bytes(16, 0), tc.aad, tc.sealed));
    EXPECT_FALSE(opens(tc.key, {}, tc.aad, tc.sealed));
}

TEST(Crypto, AesGcmSealRefusesWrongSizesAndRoundTripsLargeInput) {
    Bytes out{1};
    EXPECT_FALSE(aesGcmSeal(Bytes(31, 0), Bytes(12, 0), {}, asBytes("x"), out));
    EXPECT_EQ(out, Bytes{1});
    EXPECT_FALSE(aesGcmSeal(Bytes(32, 0), Bytes(8, 0), {}, asBytes("x"), out));

    const Bytes key = randomBytes(kAesKeySize);
    const Bytes nonce = randomBytes(kGcmNonceSize);
    const Bytes plain = randomBytes(3 * 1024 * 1024 + 7);
    out.clear();
    ASSERT_TRUE(aesGcmSeal(key, nonce, asBytes("header"), plain, out));
    ASSERT_EQ(out.size(), plain.size() + kGcmTagSize);
    Bytes back;
    ASSERT_TRUE(aesGcmOpen(key, nonce, asBytes("header"), out, back));
    EXPECT_EQ(back, plain);
}

TEST(Crypto, Base64MatchesRfc4648AndRoundTrips) {
    const std::pair<std::string_view, std::string_view> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(base64Encode(asBytes(plain)), encoded);
        const auto decoded = base64Decode(encoded);
        ASSERT_TRUE(decoded.has_value()) << encoded;
        EXPECT_EQ(asText(*decoded), plain);
    }
    EXPECT_EQ(base64Encode(Bytes{0xfb, 0xff}), "+/8=");

    Bytes everyByte(256);
    for (std::size_t i = 0; i < everyByte.size(); ++i) {
        everyByte[i] = static_cast<std::uint8_t>(i);
    }
    for (std::size_t length = 0; length <= everyByte.size(); length += 1 + length / 8) {
        const ByteView prefix(everyByte.data(), length);
        const auto decoded = base64Decode(base64Encode(prefix));
        ASSERT_TRUE(decoded.has_value()) << length;
        EXPECT_TRUE(std::equal(prefix.begin(), prefix.end(), decoded->begin(), decoded->end())) << length;
    }
}

TEST(Crypto, Base64RejectsMalformedInput) {
    for (std::string_view bad : {
             "Zg",         // not a multiple of four
             "Zg=",        // short padding
             "Zm9vY",      // one character too many
             "Z===",       // too much padding
             "====",       // nothing but padding
             "Zg==Zg==",   // padding in the middle
             "Zm=v",       // padding before data
             "Zm9v YmFy",  // whitespace
             "Zm9vYmF\n",  // newline
             "Zm9-",       // URL-safe alphabet
             "Zm9_",       // URL-safe alphabet
             "Zh==",       // non-zero bits after the last byte
             "Zm9=",       // non-zero bits after the last byte
             "Zm\x80v",    // not ASCII
         }) {
        EXPECT_FALSE(base64Decode(bad).has_value()) << '"' << bad << '"';
    }
    EXPECT_FALSE(base64Decode(std::string_view("Zm9v\0\0\0\0", 8)).has_value());
}

TEST(Crypto, RandomBytesAreFreshEachTime) {
    const Bytes a = randomBytes(32);
    const Bytes b = randomBytes(32);
    ASSERT_EQ(a.size(), 32u);
    EXPECT_NE(a, b);
    EXPECT_NE(a, Bytes(32, 0));
    EXPECT_TRUE(randomBytes(0).empty());

    std::array<std::uint8_t, 64> buffer{};
    fillRandom(buffer);
    EXPECT_NE(buffer, decltype(buffer){});
}

}  // namespace
}  // namespace corvale::crypto

// Every AES-GCM vector of Project Wycheproof. The envelope uses one shape
// (256-bit key, 96-bit nonce, 128-bit tag): those vectors must give exactly
// their published result, and every other shape must be refused outright
// rather than half-supported.
#include "platform/Crypto.h"
#include "support/Outcomes.h"

#include <gtest/gtest.h>
#include <simdjson.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace corvale::crypto {
namespace {

using test_support::fromHex;

std::string text(simdjson::ondemand::object& object, std::string_view key) {
    std::string_view value;
    EXPECT_EQ(object[key].get_string().get(value), simdjson::SUCCESS) << key;
    return std::string(value);
}

std::int64_t number(simdjson::ondemand::object& object, std::string_view key) {
    std::int64_t value = 0;
    EXPECT_EQ(object[key].get_int64().get(value), simdjson::SUCCESS) << key;
    return value;
}

TEST(WycheproofAesGcm, EveryVectorGivesItsResultOrIsRefusedForItsShape) {
    const std::string path = std::string(CORVALE_TEST_VECTORS_DIR) + "/aes_gcm_test.json";
    simdjson::padded_string json;
    ASSERT_EQ(simdjson::padded_string::load(path).get(json), simdjson::SUCCESS) << "missing " << path;
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document document = parser.iterate(json);
    simdjson::ondemand::object root = document.get_object();
    const std::int64_t declared = number(root, "numberOfTests");

    std::int64_t ran = 0;
    std::int64_t envelopeShaped = 0;
    simdjson::ondemand::array groups = root["testGroups"].get_array();
    for (auto groupValue : groups) {
        simdjson::ondemand::object group = groupValue.get_object();
        const bool envelopeShape =
            number(group, "keySize") == 256 && number(group, "ivSize") == 96 && number(group, "tagSize") == 128;
        simdjson::ondemand::array tests = group["tests"].get_array();
        for (auto testValue : tests) {
            simdjson::ondemand::object test = testValue.get_object();
            const std::int64_t id = number(test, "tcId");
            const Bytes key = fromHex(text(test, "key"));
            const Bytes nonce = fromHex(text(test, "iv"));
            const Bytes aad = fromHex(text(test, "aad"));
            const Bytes message = fromHex(text(test, "msg"));
            Bytes sealed = fromHex(text(test, "ct"));
            const Bytes tag = fromHex(text(test, "tag"));
            sealed.insert(sealed.end(), tag.begin(), tag.end());
            const std::string result = text(test, "result");
            ++ran;

            Bytes opened{0xEE};
            const bool opens = aesGcmOpen(key, nonce, aad, sealed, opened);
            if (!envelopeShape) {
                Bytes out;
                EXPECT_FALSE(aesGcmSeal(key, nonce, aad, message, out)) << "tcId " << id;
                EXPECT_FALSE(opens) << "tcId " << id;
                continue;
            }
            ++envelopeShaped;
            if (result == "valid") {
                Bytes out;
                ASSERT_TRUE(aesGcmSeal(key, nonce, aad, message, out)) << "tcId " << id;
                EXPECT_EQ(out, sealed) << "tcId " << id;
                EXPECT_TRUE(opens) << "tcId " << id;
                EXPECT_EQ(opened, message) << "tcId " << id;
            } else {
                ASSERT_EQ(result, "invalid") << "tcId " << id;
                EXPECT_FALSE(opens) << "tcId " << id;
                EXPECT_TRUE(opened.empty()) << "tcId " << id << ": a refused open must leave no plaintext";
            }
        }
    }
    EXPECT_EQ(ran, declared);
    EXPECT_GT(envelopeShaped, 60);
}

}  // namespace
}  // namespace corvale::crypto

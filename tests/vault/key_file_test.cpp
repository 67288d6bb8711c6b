#include "vault/KeyFile.h"

#include "platform/Crypto.h"
#include "records/JSONReader.h"
#include "records/JSONWriter.h"
#include "vault/Sealer.h"

#include "VaultTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace corvale {
namespace {

using namespace std::chrono_literals;
using test::countingBytes;
using test::countingKey;

constexpr std::uint32_t kFastIterations = 1000;
const std::string kPassphrase = "Tr1cuspid valve & 4 coffees";
// The golden key file's passphrase ends in U+2713 so its UTF-8 bytes count.
const std::string kGoldenPassphrase = "correct horse battery staple \xE2\x9C\x93";

FixedClock marchFirst() {
    // 2025-03-01T14:05:09.120Z
    return FixedClock(std::chrono::system_clock::time_point(std::chrono::sys_days(std::chrono::year{2025} / 3 / 1)) +
                      14h + 5min + 9s + 120ms);
}

std::string makeFastKeyFileJSON(const SecureBytes& key) {
    const FixedClock clock = marchFirst();
    auto file = KeyFile::make(key, kPassphrase, "vault-1", clock, kFastIterations);
    EXPECT_TRUE(file);
    return file ? file->toJSON() : std::string();
}

TEST(KeyFile, RoundTripsAndWritesExactlyTheDocumentedFields) {
    const SecureBytes key = countingKey(0x40);
    const std::string json = makeFastKeyFileJSON(key);

    auto parsed = parseJSON(json);
    ASSERT_TRUE(parsed);
    ASSERT_TRUE(parsed->isObject());
    std::vector<std::string> names;
    for (const auto& [name, value] : parsed->asObject()) {
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"createdAt", "format", "iterations", "kdf", "salt", "vaultId", "version",
                                               "wrappedKey"}));
    EXPECT_EQ(json.rfind("{\"createdAt\":", 0), 0u) << "keys are written sorted";

    const JSONValue& root = *parsed;
    EXPECT_EQ(*root.find("format"), JSONValue("pembrose-key"));
    EXPECT_EQ(*root.find("version"), JSONValue(1));
    EXPECT_EQ(*root.find("kdf"), JSONValue("PBKDF2-SHA256"));
    EXPECT_EQ(*root.find("iterations"), JSONValue(1000));
    EXPECT_EQ(*root.find("vaultId"), JSONValue("vault-1"));
    EXPECT_EQ(*root.find("createdAt"), JSONValue("2025-03-01T14:05:09.120Z"));
    EXPECT_NE(json.find("\"version\":1,"), std::string::npos) << "integers carry no fraction";

    auto salt = crypto::base64Decode(root.find("salt")->asString());
    ASSERT_TRUE(salt);
    EXPECT_EQ(salt->size(), 16u);

    // The wrapped key is an envelope of the vault key under the passphrase key,
    // which anyone can check with the documented derivation.
    auto wrapped = crypto::base64Decode(root.find("wrappedKey")->asString());
    ASSERT_TRUE(wrapped);
    ASSERT_EQ(wrapped->size(), 32u + 32u);
    EXPECT_EQ(asText(ByteView(*wrapped).first(4)), "PBV1");
    auto passphraseKey = PBKDF2::deriveKey(kPassphrase, *salt, kFastIterations);
    ASSERT_TRUE(passphraseKey);
    auto unwrapped = Sealer::open(*wrapped, passphraseKey->view());
    ASSERT_TRUE(unwrapped);
    EXPECT_EQ(*unwrapped, countingBytes(0x40, 32));

    auto reparsed = KeyFile::parse(json);
    ASSERT_TRUE(reparsed);
    EXPECT_EQ(reparsed->vaultId, "vault-1");
    auto opened = reparsed->open(kPassphrase);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(*opened == key);

    // A second file for the same key has its own salt and nonce.
    auto other = parseJSON(makeFastKeyFileJSON(key));
    ASSERT_TRUE(other);
    EXPECT_NE(other->find("salt")->asString(), root.find("salt")->asString());
    EXPECT_NE(other->find("wrappedKey")->asString(), root.find("wrappedKey")->asString());
}

TEST(KeyFile, WrongPassphraseIsReportedAsSuch) {
    const SecureBytes key = countingKey(0x40);
    auto file = KeyFile::parse(makeFastKeyFileJSON(key));
    ASSERT_TRUE(file);

    for (const std::string& attempt : {std::string(), std::string("Tr1cuspid valve & 4 coffee"),
                                       std::string("tr1cuspid valve & 4 coffees"), kPassphrase + " "}) {
        auto opened = file->open(attempt);
        ASSERT_FALSE(opened) << attempt;
        EXPECT_EQ(opened.error().code, VaultError::Code::wrongPassphrase);
        EXPECT_EQ(opened.error().message(), "That passphrase doesn't unlock this vault.");
    }

    // Right passphrase, but what it unwraps is not a 32-byte key.
    KeyFile forged = *file;
    auto passphraseKey = PBKDF2::deriveKey(kPassphrase, forged.salt, forged.iterations);
    ASSERT_TRUE(passphraseKey);
    auto shortKey = Sealer::seal(countingBytes(0, 31), passphraseKey->view());
    ASSERT_TRUE(shortKey);
    forged.wrappedKey = *shortKey;
    auto opened = forged.open(kPassphrase);
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error().code, VaultError::Code::wrongPassphrase);
}

TEST(KeyFile, MalformedFilesAreNotKeyFiles) {
    auto valid = parseJSON(makeFastKeyFileJSON(countingKey(0x40)));
    ASSERT_TRUE(valid);
    const JSONObject base = valid->asObject();

    std::vector<std::pair<std::string, std::string>> cases = {
        {"not JSON", "pembrose-key"},
        {"truncated", makeFastKeyFileJSON(countingKey(0x40)).substr(0, 40)},
        {"array", "[1,2]"},
        {"empty object", "{}"},
    };
    const auto withField = [&](const std::string& label, const std::string& name, JSONValue value) {
        JSONObject object = base;
        object[name] = std::move(value);
        cases.emplace_back(label, writeJSON(JSONValue(std::move(object))));
    };
    for (const auto& [name, value] : base) {
        JSONObject object = base;
        object.erase(name);
        cases.emplace_back("missing " + name, writeJSON(JSONValue(std::move(object))));
        withField(name + " as null", name, nullptr);
        withField(name + " as array", name, JSONValue::Array{});
        withField(name + " with the wrong type", name, value.isString() ? JSONValue(1) : JSONValue("1"));
    }
    withField("other format", "format", "pembrose-vault");
    withField("newer version", "version", 2);
    withField("fractional version", "version", 1.5);
    withField("other kdf", "kdf", "scrypt");
    withField("zero iterations", "iterations", 0);
    withField("negative iterations", "iterations", -310000);
    withField("fractional iterations", "iterations", 1000.5);
    withField("absurd iterations", "iterations", 10'000'001);
    withField("huge iterations", "iterations", 1e300);
    withField("salt not base64", "salt", "not*base64!");
    withField("salt unpadded", "salt", "EBESExQVFhcYGRobHB0eHw");
    withField("empty salt", "salt", "");
    withField("wrapped key not base64", "wrappedKey", "@@@@");
    withField("wrapped key too short", "wrappedKey", crypto::base64Encode(countingBytes(0, 31)));
    withField("wrapped key without magic", "wrappedKey", crypto::base64Encode(countingBytes(0, 64)));
    withField("createdAt not a time", "createdAt", "last Tuesday");

    for (const auto& [label, text] : cases) {
        auto parsed = KeyFile::parse(text);
        ASSERT_FALSE(parsed) << label;
        EXPECT_EQ(parsed.error().code, VaultError::Code::badFormat) << label;
    }

    // Limits are inclusive, and unknown extra keys are tolerated.
    JSONObject atLimit = base;
    atLimit["iterations"] = 10'000'000;
    atLimit["comment"] = "exported from the laptop";
    auto parsed = KeyFile::parse(writeJSON(JSONValue(std::move(atLimit))));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->iterations, 10'000'000u);
}

TEST(KeyFile, OpensAKeyFileWrittenByAnIndependentImplementation) {
    const Bytes golden = test::readGolden("golden-key.json");
    auto file = KeyFile::parse(asText(golden));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->iterations, 1000u);
    EXPECT_EQ(file->salt, countingBytes(0x10, 16));
    EXPECT_EQ(file->vaultId, "7d0c5a8e-3f1b-4c2a-9e6d-0b1a2c3d4e5f");
    EXPECT_EQ(file->createdAt.toString(), "2025-03-01T14:05:09.120Z");

    auto passphraseKey = PBKDF2::deriveKey(kGoldenPassphrase, file->salt, 1000);
    ASSERT_TRUE(passphraseKey);
    EXPECT_EQ(crypto::hexLower(passphraseKey->view()),
              "68d844914c89f7b84f902db376a00bb991c1f0dba4505b6906fbe3f4dd0a04c4");

    auto key = file->open(kGoldenPassphrase);
    ASSERT_TRUE(key);
    EXPECT_TRUE(*key == countingKey(0x40));

    EXPECT_EQ(file->open("correct horse battery staple").error().code, VaultError::Code::wrongPassphrase);
}

TEST(KeyFile, ProductionStrengthDerivation) {
    auto derived = PBKDF2::deriveKey(kGoldenPassphrase, countingBytes(0x10, 16), kKeyFileIterations);
    ASSERT_TRUE(derived);
    EXPECT_EQ(crypto::hexLower(derived->view()), "db9d1a7526eaf77d696e946675d81f676fe4c346d04d93dcda13719f23212786");

    const FixedClock clock = marchFirst();
    auto file = KeyFile::make(countingKey(0x40), kPassphrase, "vault-1", clock);
    ASSERT_TRUE(file);
    auto written = parseJSON(file->toJSON());
    ASSERT_TRUE(written);
    EXPECT_EQ(*written->find("iterations"), JSONValue(310000));
    auto opened = KeyFile::parse(file->toJSON())->open(kPassphrase);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(*opened == countingKey(0x40));
}

}  // namespace
}  // namespace corvale

#include "records/JSONReader.h"
#include "records/JSONWriter.h"
#include "records/VaultDocument.h"
#include "support/DiskFiles.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

std::string readTestFile(const std::string& name) {
    return std::string(asText(test_support::readAll(std::filesystem::path(CORVALE_TEST_DATA_DIR) / name)));
}

VaultDocument decodeOrFail(std::string_view json) {
    auto decoded = decodeVaultDocument(json);
    if (!decoded) {
        ADD_FAILURE() << message(decoded.error());
        return {};
    }
    return std::move(decoded).value();
}

// A minimal document around the given people, in the shape a newer or older writer might produce.
std::string documentWithPeople(const std::string& peopleJSON) {
    return R"({"format":"pembrose-vault","version":1,"vaultId":"v","people":[)" + peopleJSON + "]}";
}

TEST(VaultDocumentCodec, EmptyVaultHasExactBytesAndDefaults) {
    VaultDocument document = VaultDocument::makeEmpty();
    EXPECT_EQ(document.vaultId.size(), 36u);
    EXPECT_EQ(document.vaultId.find_first_not_of("0123456789abcdef-"), std::string::npos);
    EXPECT_NE(document.vaultId, VaultDocument::makeEmpty().vaultId);
    EXPECT_EQ(document.settings.reminderDays, (std::vector<int>{90, 30, 7}));

    document.vaultId = "v1";
    EXPECT_EQ(
        encodeVaultDocument(document),
        R"({"cme":[],"credentials":[],"documents":[],"format":"pembrose-vault","healthRecords":[],)"
        R"("packets":[],"people":[],"settings":{"dismissedInsights":[],"notApplicable":[],"quickAddHints":{},)"
        R"("reminderDays":[90,30,7],"snoozed":{},"updatedAt":"1970-01-01T00:00:00.000Z"},"vaultId":"v1","version":1})");
}

TEST(VaultDocumentCodec, RecordsWriteSortedKeysAndLeaveOutAbsentOptionals) {
    VaultDocument document;
    document.vaultId = "v";
    Credential credential;
    credential.id = "c1";
    credential.personId = "p1";
    credential.kind = "bls";
    credential.expiresOn = Day{2028, 3, 1};
    credential.fee = 45.5;
    credential.updatedAt = *Timestamp::parse("2026-11-21T08:30:00.250Z");
    credential.renewalSteps = std::vector<RenewalStep>{{"s1", "Pay fee", true}};
    document.credentials.push_back(credential);

    const std::string json = encodeVaultDocument(document);
    EXPECT_NE(json.find(R"("credentials":[{"deleted":false,"documentIds":[],"expiresOn":"2028-03-01","fee":45.5,)"
                        R"("id":"c1","isCompact":false,"kind":"bls","personId":"p1",)"
                        R"("renewalSteps":[{"done":true,"id":"s1","title":"Pay fee"}],)"
                        R"("updatedAt":"2026-11-21T08:30:00.250Z"}])"),
              std::string::npos)
        << json;
}

TEST(VaultDocumentCodec, EveryFieldSurvivesARoundTrip) {
    const std::string original = readTestFile("vault-every-field.json");
    ASSERT_FALSE(original.empty());
    const VaultDocument document = decodeOrFail(original);
    ASSERT_EQ(document.people.size(), 1u);
    const Person& person = document.people[0];
    EXPECT_EQ(person.degreeValue(), Degree::doctor);
    ASSERT_TRUE(person.workHistory);
    EXPECT_EQ(person.workHistory->at(0).startDate, (Day{2019, 7, 1}));
    ASSERT_TRUE(person.workAttestation);
    EXPECT_EQ(person.workAttestation->signedAt.toString(), "2026-01-05T10:00:00.000Z");
    ASSERT_EQ(document.credentials.size(), 1u);
    EXPECT_EQ(document.credentials[0].kindValue(), CredentialKind::stateLicense);
    EXPECT_EQ(document.credentials[0].cycleMonths, 24);
    EXPECT_EQ(document.cme.at(0).hours, 1.5);
    EXPECT_EQ(document.documents.at(0).size, 183211);
    EXPECT_EQ(document.settings.quickAddHints.at("acls").provider, "AHA");
    EXPECT_EQ(document.settings.snoozed.at("renew-ca"), "2026-12-01");
    ASSERT_TRUE(document.settings.accessKeys);
    EXPECT_EQ(document.settings.accessKeys->enc, "ENC");

    // Written again, the document says exactly what it said before, in canonical form.
    const auto before = parseJSON(original);
    const auto after = parseJSON(encodeVaultDocument(document));
    ASSERT_TRUE(before && after);
    EXPECT_EQ(writeJSON(*after), writeJSON(*before));
    EXPECT_EQ(encodeVaultDocument(decodeOrFail(encodeVaultDocument(document))), encodeVaultDocument(document));
}

TEST(VaultDocumentCodec, KeysFromANewerVersionSurvive) {
    const std::string newer = R"({"format":"pembrose-vault","version":1,"vaultId":"v","futureTopLevel":{"a":[1,2]},
        "people":[{"id":"p","name":"Ana","degree":"Phd","futurePerson":true,
                   "facilities":[{"id":"f","name":"Mercy","futureFacility":1}],
                   "healthConsent":{"givenAt":"2026-01-01T00:00:00Z","version":2}}],
        "credentials":[{"id":"c","personId":"p","kind":"telehealthPermit","futureCredential":"x","extra":{"no":1}}],
        "settings":{"reminderDays":[60],"futureSetting":"on"}})";
    const VaultDocument document = decodeOrFail(newer);
    EXPECT_EQ(document.extra.at("futureTopLevel"), (JSONValue(JSONValue::Object{{"a", JSONValue::Array{1, 2}}})));
    EXPECT_EQ(document.credentials.at(0).kind, "telehealthPermit");
    EXPECT_FALSE(document.credentials.at(0).kindValue());
    EXPECT_EQ(document.people.at(0).degree, "Phd");

    const auto written = parseJSON(encodeVaultDocument(document));
    ASSERT_TRUE(written);
    EXPECT_TRUE(written->find("futureTopLevel"));
    const JSONValue& person = written->find("people")->asArray().at(0);
    EXPECT_EQ(*person.find("futurePerson"), JSONValue(true));
    EXPECT_EQ(person.find("degree")->asString(), "Phd");
    const JSONValue& credential = written->find("credentials")->asArray().at(0);
    EXPECT_EQ(credential.find("futureCredential")->asString(), "x");
    EXPECT_EQ(credential.find("kind")->asString(), "telehealthPermit");
    EXPECT_FALSE(credential.find("extra"));  // the map itself is never a key
    EXPECT_EQ(written->find("settings")->find("futureSetting")->asString(), "on");
    EXPECT_EQ(written->find("settings")->find("reminderDays")->asArray().size(), 1u);
    // Facilities keep no unknown keys of their own, but the facility itself survives.
    EXPECT_EQ(person.find("facilities")->asArray().at(0).find("name")->asString(), "Mercy");
}

TEST(VaultDocumentCodec, EscapedKeysAndStringsReadLikeAnyOther) {
    // "na\u006de" is the key "name"; escaped text is unescaped wherever it stands.
    const std::string json = documentWithPeople(
        R"({"id":"p","na\u006de":"Jos\u00e9 \"Pepe\"\nRuiz","degree":"MD","fut\u00fcre":{"k\u0031":"v\/"}})");
    const VaultDocument document = decodeOrFail(json);
    EXPECT_EQ(document.people.at(0).name, "Jos\u00e9 \"Pepe\"\nRuiz");
    EXPECT_EQ(document.people.at(0).extra.at("fut\u00fcre"), (JSONValue(JSONValue::Object{{"k1", "v/"}})));

    // The unsealed-buffer entry point reads the same and leaves nothing behind.
    Bytes plain(json.begin(), json.end());
    plain.reserve(plain.size() + kJSONReadPadding);
    const auto fromBuffer = decodeVaultDocument(std::move(plain));
    ASSERT_TRUE(fromBuffer);
    EXPECT_EQ(encodeVaultDocument(*fromBuffer), encodeVaultDocument(document));
    EXPECT_TRUE(plain.empty());
}

TEST(VaultDocumentCodec, AFieldWinsOverAnUnknownKeyOfTheSameName) {
    VaultDocument document;
    document.vaultId = "v";
    Person person;
    person.id = "p";
    person.name = "Real";
    person.degree = "MD";
    person.extra["name"] = "Stale";
    person.extra["specialty"] = "Stale too";  // own key even while the field is absent
    person.extra["zzz"] = 1;
    document.people.push_back(person);
    const std::string json = encodeVaultDocument(document);
    EXPECT_EQ(json.find("Stale"), std::string::npos) << json;
    EXPECT_NE(json.find(R"("updatedAt":"1970-01-01T00:00:00.000Z","zzz":1})"), std::string::npos) << json;
}

TEST(VaultDocumentCodec, NestedListsOfAPersonDropOnlyTheirBadElements) {
    const VaultDocument document = decodeOrFail(documentWithPeople(R"({
        "id":"p","name":"Ana","degree":"NP",
        "workHistory":[
            {"id":"w1","employer":"Mercy","startDate":"2020-1-2"},
            {"id":"w2"},
            {"id":"w3","employer":"Bad time","updatedAt":"last tuesday"},
            "not an entry",
            {"id":"w4","employer":"County","endDate":42}],
        "facilities":[{"id":"f1"},{"id":"f2","name":"Clinic","requiredItems":["bls",7,"tb"]}],
        "screenings":[{"id":"s1","outcome":"clear"},5,null],
        "orgAccess":[[1],{"workspaceId":"w"}],
        "accessActivity":"nonsense"})"));
    const Person& person = document.people.at(0);
    ASSERT_TRUE(person.workHistory);
    ASSERT_EQ(person.workHistory->size(), 2u);
    EXPECT_EQ(person.workHistory->at(0).employer, "Mercy");
    EXPECT_EQ(person.workHistory->at(0).startDate, (Day{2020, 1, 2}));
    EXPECT_EQ(person.workHistory->at(1).employer, "County");
    EXPECT_FALSE(person.workHistory->at(1).endDate);  // a wrongly typed value reads as absent
    ASSERT_EQ(person.facilities->size(), 1u);
    EXPECT_EQ(person.facilities->at(0).requiredItems, (std::vector<std::string>{"bls", "tb"}));
    EXPECT_EQ(person.screenings->size(), 1u);
    EXPECT_EQ(person.orgAccess->size(), 1u);
    EXPECT_FALSE(person.accessActivity);
}

TEST(VaultDocumentCodec, NumbersMayArriveAsTextAndWrongTypesReadAsAbsent) {
    const VaultDocument document = decodeOrFail(R"({"format":"pembrose-vault","version":"1","vaultId":"v",
        "credentials":[{"id":"c","personId":"p","kind":"dea","fee":" 888.5","cycleMonths":"36","reminderLeadDays":2.5,
                        "title":42,"isCompact":"yes","expiresOn":"2027-2-3","issuedOn":"soon","schedules":["2","2N",3]}],
        "cme":[{"id":"m","personId":"p","title":"Opioids","completedOn":"2026-05-01","hours":"1.25","category":"cat1",
                "cost":"free","topics":"opioids"}],
        "documents":[{"id":"d","personId":"p","filename":"a.pdf","contentType":"application/pdf","blobHash":"h",
                      "addedAt":"2026-05-01","size":"2048","needsReview":1}],
        "settings":{"reminderDays":["60","x",14]}})");
    const Credential& credential = document.credentials.at(0);
    EXPECT_EQ(credential.fee, 888.5);
    EXPECT_EQ(credential.cycleMonths, 36);
    EXPECT_FALSE(credential.reminderLeadDays);  // not a whole number
    EXPECT_FALSE(credential.title);
    EXPECT_FALSE(credential.isCompact);
    EXPECT_EQ(credential.expiresOn, (Day{2027, 2, 3}));
    EXPECT_FALSE(credential.issuedOn);
    EXPECT_EQ(credential.schedules, (std::vector<std::string>{"2", "2N"}));
    const CMEActivity& cme = document.cme.at(0);
    EXPECT_EQ(cme.hours, 1.25);
    EXPECT_FALSE(cme.cost);
    EXPECT_TRUE(cme.topics.empty());
    EXPECT_EQ(document.documents.at(0).size, 2048);
    EXPECT_EQ(document.documents.at(0).addedAt.toString(), "2026-05-01T00:00:00.000Z");
    EXPECT_FALSE(document.documents.at(0).needsReview);
    EXPECT_EQ(document.settings.reminderDays, (std::vector<int>{60, 14}));
    EXPECT_EQ(document.version, 1);

    const std::string json = encodeVaultDocument(document);
    EXPECT_NE(json.find(R"("expiresOn":"2027-02-03")"), std::string::npos);
    EXPECT_NE(json.find(R"("cycleMonths":36)"), std::string::npos);
}

TEST(VaultDocumentCodec, TopLevelRecordsThatCannotBeReadFailTheWholeDocument) {
    const auto failsWith = [](std::string_view json, RecordError expected) {
        const auto result = decodeVaultDocument(json);
        ASSERT_FALSE(result) << json;
        EXPECT_EQ(result.error(), expected) << json;
    };
    failsWith("", RecordError::invalidJSON);
    failsWith("{\"format\":\"pembrose-vault\"", RecordError::invalidJSON);
    failsWith("[]", RecordError::notVaultDocument);
    failsWith(R"({"format":"pembrose-key","vaultId":"v"})", RecordError::notVaultDocument);
    failsWith(R"({"vaultId":"v"})", RecordError::notVaultDocument);
    failsWith(R"({"format":"pembrose-vault"})", RecordError::malformedRecord);
    failsWith(documentWithPeople(R"({"id":"p","degree":"MD"})"), RecordError::malformedRecord);
    failsWith(documentWithPeople(R"({"id":"p","name":"A","degree":"MD","updatedAt":"noon"})"),
              RecordError::malformedRecord);
    failsWith(R"({"format":"pembrose-vault","vaultId":"v","cme":[{"id":"m","personId":"p","title":"t","category":"ce",
                "completedOn":"2026/01/01"}]})",
              RecordError::malformedRecord);
    failsWith(R"({"format":"pembrose-vault","vaultId":"v","credentials":[7]})", RecordError::malformedRecord);
    // Text that is not JSON fails as such, even where it hides inside a lenient list.
    failsWith(R"({"format":"pembrose-vault","vaultId":"v"} trailing)", RecordError::invalidJSON);
    failsWith(documentWithPeople(R"({"id":"p","name":"A","degree":"MD","workHistory":[{"id":"w","employer":"E",}]})"),
              RecordError::invalidJSON);
    failsWith(documentWithPeople(R"({"id":"p","name":"A","degree":"MD","futureKey":[1 2]})"), RecordError::invalidJSON);
    failsWith(documentWithPeople(R"({"id":"p","name":"A","degree":"MD","isSelf":tru})"), RecordError::invalidJSON);
    EXPECT_EQ(message(RecordError::malformedRecord),
              "A record in this vault is damaged, so restore the vault from a backup.");

    // Unknown values are kept as trees: nesting past the limit fails the
    // document, wherever the value sits, instead of overflowing the stack.
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    failsWith(R"({"format":"pembrose-vault","vaultId":"v","future":)" + nested(100'000) + "}", RecordError::tooDeep);
    failsWith(documentWithPeople(R"({"id":"p","name":"A","degree":"MD","future":)" + nested(kJSONMaxDepth + 1) + "}"),
              RecordError::tooDeep);
    const auto deepest =
        decodeVaultDocument(R"({"format":"pembrose-vault","vaultId":"v","future":)" + nested(kJSONMaxDepth) + "}");
    ASSERT_TRUE(deepest);
    EXPECT_EQ(writeJSON(deepest->extra.at("future")), nested(kJSONMaxDepth));

    // A missing list is simply empty, and a tombstone stays in the document.
    const VaultDocument document =
        decodeOrFail(documentWithPeople(R"({"id":"p","name":"Gone","degree":"RN","deleted":true})"));
    EXPECT_TRUE(document.credentials.empty());
    EXPECT_TRUE(document.people.at(0).deleted);
}

}  // namespace
}  // namespace corvale

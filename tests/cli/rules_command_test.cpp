#include "TestDevice.h"
#include "platform/linux/PosixFileSystem.h"
#include "requirements/RuleDataReader.h"

namespace corvale {
namespace {

using namespace clitest;

// The rules and fees commands never touch the vault; they still run inside a full setup.
Outcome run(std::vector<std::string> args, StateData data) {
    InMemoryFileSystem files;
    Device device(files, "/rules");
    device.stateData = data;
    const Outcome outcome = device.run(std::move(args));
    EXPECT_EQ(files.writeCount(), 0u);
    return outcome;
}

const Requirements kSample(readRequirementsFile(R"json({"topics": [{"key": "opioidPrescribing", "name": "Opioid prescribing"}],
  "states": [{"code": "TX", "name": "Texas", "verifyURL": "https://verify.example",
    "md": {"cycleYears": 2, "hours": 48, "cat1Min": 24, "renewalYears": 2, "renewalBasis": "birthMonth",
           "topics": [{"key": "opioidPrescribing", "hours": 2, "frequency": "once", "appliesTo": "deaHolders"},
                      {"key": "humanTrafficking", "hours": 1, "everyYears": 2}]},
    "rn": {"cycleYears": 2, "verified": false},
    "boards": {"rn": {"name": "Texas Board of Nursing", "url": "https://bon.example"}}}]})json"));
const StateFees kFees(readStateFeesFile(R"json({"disclaimer": "Check the board.", "states": [
  {"code": "TX", "name": "Texas", "applicationFee": 817, "renewalFee": 452, "renewalYears": 2, "imlcMember": true,
   "processing": {"text": "8-12 weeks"}},
  {"code": "CA", "name": "California", "applicationFee": 625, "licenseOrIssuanceFee": 1151.5}]})json"));

TEST(RulesCommand, PrintsTheResolvedRuleWithBoardCaveatAndCompact) {
    const auto md = run({"rules", "tx", "--profession", "md"}, {&kSample, &kFees});
    ASSERT_EQ(md.code, 0) << md.err;
    EXPECT_NE(md.out.find("Texas (TX)"), std::string::npos);
    EXPECT_NE(md.out.find("48 CME hours every 2 years"), std::string::npos);
    EXPECT_NE(md.out.find("Category 1 minimum: 24 hours"), std::string::npos);
    EXPECT_NE(md.out.find("Opioid prescribing: 2 hours, once, DEA registrants only"), std::string::npos);
    EXPECT_NE(md.out.find("Human Trafficking: 1 hour, every 2 years"), std::string::npos);
    EXPECT_NE(md.out.find("Renewal: every 2 years, on end of the birth month"), std::string::npos);
    EXPECT_EQ(md.out.find("Compact"), std::string::npos);

    const auto np = run({"rules", "TX", "--profession", "NP"}, {&kSample, &kFees});
    ASSERT_EQ(np.code, 0);
    EXPECT_NE(np.out.find("Caveat: Corvale has no NP rules for Texas yet, so these figures use the MD rules as a "
                          "rough guide."),
              std::string::npos);
    EXPECT_NE(np.out.find("Texas is a Nurse Licensure Compact state"), std::string::npos);

    // Without --profession: every profession the state speaks to, in JSON the way scripts read it.
    const auto all = run({"rules", "TX", "--json"}, {&kSample, &kFees});
    ASSERT_EQ(all.code, 0);
    const auto json = parseJSON(all.out);
    ASSERT_TRUE(json) << all.out;
    const auto& professions = json->find("professions")->asArray();
    ASSERT_EQ(professions.size(), 2u);
    EXPECT_EQ(professions[1].find("profession")->asString(), "RN");
    EXPECT_EQ(professions[1].find("boardName")->asString(), "Texas Board of Nursing");
    EXPECT_EQ(professions[1].find("caveat")->asString(),
              "Not yet verified, confirm with the board. The hour requirement for this profession isn't recorded, "
              "so please check it with Texas Board of Nursing.");
    EXPECT_TRUE(professions[1].find("compact")->asString().starts_with("Texas is a Nurse Licensure Compact state"));
    EXPECT_EQ(professions[0].find("rule")->find("topics")->asArray()[0].find("isOneTime")->asBool(), true);
    EXPECT_EQ(json->find("verifyURL")->asString(), "https://verify.example");
}

TEST(RulesCommand, RefusesWhatItCannotAnswer) {
    const auto unknown = run({"rules", "ZZ"}, {&kSample, &kFees});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_EQ(unknown.err, "'ZZ' isn't a state; use its two-letter code, like CA.\n");
    EXPECT_EQ(run({"rules", "TX", "--profession", "dentist"}, {&kSample, &kFees}).code, 2);

    const auto absent = run({"rules", "OK"}, {&kSample, &kFees});
    EXPECT_EQ(absent.code, 1);
    EXPECT_EQ(absent.err, "Corvale has no rules recorded for Oklahoma yet.\n");

    const Requirements none(std::nullopt);
    const StateFees noFees(std::nullopt);
    EXPECT_EQ(run({"rules", "TX"}, {&none, &noFees}).err, "The state rules aren't available in this installation.\n");
    EXPECT_EQ(run({"fees", "TX"}, {&none, &noFees}).code, 1);
}

TEST(FeesCommand, ComparesStatesAndTotalsWhatItKnows) {
    const auto table = run({"fees", "tx", "CA", "TX", "NY"}, {&kSample, &kFees});
    ASSERT_EQ(table.code, 0) << table.err;
    std::istringstream lines(table.out);
    std::string header, texas, california, newYork;
    std::getline(lines, header);
    std::getline(lines, texas);
    std::getline(lines, california);
    std::getline(lines, newYork);
    EXPECT_TRUE(texas.starts_with("Texas")) << texas;
    EXPECT_NE(texas.find("$817"), std::string::npos);
    EXPECT_NE(texas.find("$452 / 2 years"), std::string::npos);
    EXPECT_NE(texas.find("8-12 weeks"), std::string::npos);
    EXPECT_NE(texas.find("member"), std::string::npos);
    EXPECT_NE(california.find("$1151.50"), std::string::npos);
    EXPECT_TRUE(newYork.starts_with("New York")) << newYork;
    EXPECT_NE(table.out.find("To apply in all 3: $2593.50 for the states with recorded fees"), std::string::npos);
    EXPECT_NE(table.out.find("Check the board."), std::string::npos);

    const auto json = parseJSON(run({"fees", "CA", "--json"}, {&kSample, &kFees}).out);
    ASSERT_TRUE(json);
    EXPECT_EQ(json->asArray()[0].find("licenseOrIssuanceFee")->asNumber(), 1151.5);
}

// The delivered data, read the way the installed program reads it.
TEST(RulesCommand, AnswersFromTheDeliveredDataForNursesAndPhysicians) {
    PosixFileSystem disk;
    const auto requirements = Requirements::load(disk, {CORVALE_RESOURCES_DIR});
    const auto fees = StateFees::load(disk, {CORVALE_RESOURCES_DIR});
    ASSERT_TRUE(requirements.file());
    ASSERT_TRUE(fees.file());

    const auto texasRN = run({"rules", "TX", "--profession", "RN"}, {&requirements, &fees});
    ASSERT_EQ(texasRN.code, 0) << texasRN.err;
    EXPECT_NE(texasRN.out.find("20 contact hours every 2 years"), std::string::npos) << texasRN.out;
    EXPECT_NE(texasRN.out.find("Texas is a Nurse Licensure Compact state"), std::string::npos);

    const auto californiaMD = run({"rules", "CA", "--profession", "MD"}, {&requirements, &fees});
    EXPECT_NE(californiaMD.out.find("50 CME hours every 2 years"), std::string::npos) << californiaMD.out;

    const auto californiaRN = run({"rules", "CA", "--profession", "rn"}, {&requirements, &fees});
    EXPECT_NE(californiaRN.out.find("California isn't listed as a Compact state"), std::string::npos);

    // A board that asks only for particular topics is told apart from one that asks for nothing, and from
    // a figure nobody recorded.
    const auto newYorkMD = run({"rules", "NY", "--profession", "MD"}, {&requirements, &fees});
    EXPECT_NE(newYorkMD.out.find("New York requires no general CME hours, only the topics below\n  Topics:\n"
                                 "    - Infection control"),
              std::string::npos)
        << newYorkMD.out;
    const auto coloradoRN = run({"rules", "CO", "--profession", "RN"}, {&requirements, &fees});
    EXPECT_NE(coloradoRN.out.find("No continuing education required"), std::string::npos) << coloradoRN.out;
    for (const auto& outcome : {newYorkMD, coloradoRN}) {
        EXPECT_EQ(outcome.out.find("not recorded"), std::string::npos);
        EXPECT_EQ(outcome.out.find("isn't recorded"), std::string::npos);
    }

    const auto compare = run({"fees", "TX", "MD"}, {&requirements, &fees});
    EXPECT_EQ(compare.code, 0);
    EXPECT_NE(compare.out.find("$817"), std::string::npos) << compare.out;
}

}  // namespace
}  // namespace corvale

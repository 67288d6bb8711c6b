#include "platform/memory/InMemoryFileSystem.h"
#include "requirements/Requirements.h"
#include "requirements/RuleDataReader.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

// Small hand-made files, each pinning the rules it names.
constexpr std::string_view kTexas = R"json({
  "version": 3,
  "topics": [{"key": "opioidPrescribing", "name": "Opioid prescribing"}],
  "states": [
    {"code": "TX", "name": "Texas", "board": "Texas Medical Board", "boardURL": "https://tmb.example",
     "md": {"cycleYears": 2, "hours": "48 hours", "cat1Min": 24, "renewalBasis": "birthMonth", "renewalYears": 2,
            "topics": [{"key": "opioidPrescribing", "hours": 2}]},
     "rn": {"cycleYears": 2, "hours": 20, "renewalBasis": "birthMonth", "verified": false},
     "lpn": {"cycleYears": 2, "verified": false},
     "pa": {"hours": "n/a", "cycleYears": 2},
     "boards": {"rn": {"name": "Texas Board of Nursing", "boardURL": "https://bon.example"},
                "pa": {"name": "Texas Physician Assistant Board"}},
     "renewalDate": "01-31",
     "sources": [{"url": "https://tmb.example/rules"}]},
    {"code": "TX", "name": "Texas (a later duplicate)"}
  ]
})json";

RequirementsFile texas() {
    auto file = readRequirementsFile(kTexas);
    EXPECT_TRUE(file);
    return file.value_or(RequirementsFile{});
}

TEST(RuleData, LooksUpCodesAndReadsFieldsLeniently) {
    const auto file = texas();
    ASSERT_NE(file.state("tx"), nullptr);
    EXPECT_EQ(file.state("tx")->name, "Texas");  // the first match wins
    EXPECT_EQ(file.state(""), nullptr);
    EXPECT_EQ(file.state("OK"), nullptr);
    EXPECT_EQ(file.version, 3);

    const StateRule& tx = *file.state("TX");
    EXPECT_EQ(tx.ownBlock(Degree::md)->hours, 48.0);   // "48 hours"
    EXPECT_FALSE(tx.ownBlock(Degree::pa)->hours);       // "n/a" reads as absent, the file still loads
    EXPECT_EQ(tx.boardInfo(Degree::rn)->url, "https://bon.example");  // url under its other key
    EXPECT_FALSE(tx.boardInfo(Degree::other));

    // Wrong types inside an entry read as absent; the money and number forms a person types read as numbers.
    const auto lenient = readStateFeesFile(R"json({"states": [
        {"code": "tx", "name": "Texas"},
        {"code": "CA", "name": "California", "applicationFee": "$1,200", "renewalFee": true, "notes": 7,
         "processing": {"text": "6-8 weeks", "typicalDays": "49 days"}, "imlcMember": "yes"}]})json");
    ASSERT_TRUE(lenient);
    const StateFee* ca = lenient->state("CA");
    ASSERT_NE(ca, nullptr);
    EXPECT_EQ(lenient->state("ca"), ca);
    EXPECT_EQ(lenient->state("tx"), nullptr);  // only the query is upper-cased
    EXPECT_EQ(ca->applicationFee, 1200.0);
    EXPECT_FALSE(ca->renewalFee);
    EXPECT_FALSE(ca->notes);
    EXPECT_FALSE(ca->imlcMember);
    EXPECT_EQ(ca->processing->typicalDays, 49.0);

    // Only a document without its structure is refused.
    EXPECT_FALSE(readRequirementsFile(R"json({"topics": [], "states": {"TX": {}}})json"));
    EXPECT_FALSE(readRequirementsFile(R"json({"topics": [], "states": [{"name": "No code"}]})json"));
    EXPECT_FALSE(readRequirementsFile(R"json({"states": []})json"));
    EXPECT_FALSE(readRequirementsFile("not json"));
    EXPECT_FALSE(readStateFeesFile(R"json({"states": [{"code": "TX", "name": "Texas"}, 4]})json"));
    EXPECT_TRUE(readRequirementsFile(R"json({"topics": [], "states": [], "national": [{"key": "nccpa", "name": "NCCPA"}]})json"));
}

TEST(RuleData, ResolvesBlocksBorrowingOnlyWhereAllowed) {
    const auto file = texas();
    const StateRule& tx = *file.state("TX");

    const auto md = tx.resolved(Degree::md);
    ASSERT_TRUE(md);
    EXPECT_EQ(md->source, Degree::md);
    EXPECT_EQ(md->boardName, "Texas Medical Board");  // physicians fall back to the state's board
    EXPECT_EQ(md->boardURL, "https://tmb.example");
    EXPECT_FALSE(md->caveat("Texas"));

    const auto np = tx.resolved(Degree::np);
    ASSERT_TRUE(np);
    EXPECT_EQ(np->source, Degree::md);
    EXPECT_EQ(np->profession, Degree::np);
    EXPECT_EQ(np->rule.hours, 48.0);
    EXPECT_FALSE(np->boardName);  // no entry and not a physician
    EXPECT_EQ(np->caveat("Texas"),
              "Corvale has no NP rules for Texas yet, so these figures use the MD rules as a rough guide.");

    EXPECT_FALSE(tx.resolved(Degree::doctor));  // never borrows, though an MD block exists
    EXPECT_FALSE(tx.resolved(Degree::other));
    EXPECT_EQ(tx.resolved(Degree::pa)->source, Degree::pa);

    // Registered and practical nurses never borrow.
    const auto onlyMD = readRequirementsFile(R"json({"topics": [], "states": [{"code": "OK", "name": "Oklahoma",
        "md": {"hours": 60}}]})json");
    ASSERT_TRUE(onlyMD);
    EXPECT_FALSE(onlyMD->state("OK")->resolved(Degree::rn));
    EXPECT_FALSE(onlyMD->state("OK")->resolved(Degree::lpn));
    EXPECT_EQ(onlyMD->state("OK")->resolved(Degree::cnm)->caveat("Oklahoma"),
              "Corvale has no CNM rules for Oklahoma yet, so these figures use the MD rules as a rough guide.");
    EXPECT_TRUE(onlyMD->state("OK")->unknownRule(Degree::cnm));
    EXPECT_FALSE(onlyMD->state("OK")->unknownRule(Degree::md));
}

TEST(RuleData, CaveatsComeInOrderAndNameTheBoard) {
    const auto file = texas();
    const StateRule& tx = *file.state("TX");

    EXPECT_EQ(tx.resolved(Degree::rn)->caveat("Texas"), "Not yet verified, confirm with the board.");
    EXPECT_EQ(tx.resolved(Degree::lpn)->caveat("Texas"),
              "Not yet verified, confirm with the board. The hour requirement for this profession isn't recorded, "
              "so please check it with the board of nursing.");
    EXPECT_EQ(tx.resolved(Degree::pa)->caveat("Texas"),
              "The hour requirement for this profession isn't recorded, so please check it with Texas Physician "
              "Assistant Board.");

    const auto borrowed = readRequirementsFile(R"json({"topics": [], "states": [{"code": "GU", "name": "Guam",
        "md": {"verified": false}, "caa": {"cycleYears": 2}}]})json");
    ASSERT_TRUE(borrowed);
    const StateRule& gu = *borrowed->state("gu");
    // Borrowed figures never add the missing-hours sentence: that one speaks of the profession's own rule.
    EXPECT_EQ(gu.resolved(Degree::np)->caveat("Guam"),
              "Corvale has no NP rules for Guam yet, so these figures use the MD rules as a rough guide. Not yet "
              "verified, confirm with the board.");
    EXPECT_EQ(gu.resolved(Degree::caa)->caveat("Guam"),
              "The hour requirement for this profession isn't recorded, so please check it with the board.");
    EXPECT_EQ(gu.resolved(Degree::md)->caveat("Guam"),
              "Not yet verified, confirm with the board. The hour requirement for this profession isn't recorded, so "
              "please check it with the board.");
}

TEST(RuleData, NoEducationRequiredOnlyWhenTheRuleSaysZero) {
    const auto file = readRequirementsFile(R"json({"topics": [], "states": [{"code": "IN", "name": "Indiana",
        "rn": {"hours": 0}, "lpn": {"hours": 0, "topics": [{"key": "opioidPrescribing", "hours": 2}]},
        "md": {"cycleYears": 2}}]})json");
    ASSERT_TRUE(file);
    const StateRule& in = *file->state("IN");
    EXPECT_TRUE(in.resolved(Degree::rn)->noCERequired());
    EXPECT_FALSE(in.resolved(Degree::rn)->caveat("Indiana"));
    EXPECT_FALSE(in.resolved(Degree::lpn)->noCERequired());
    EXPECT_FALSE(in.resolved(Degree::md)->noCERequired());  // absent is "not recorded", not "none"
}

TEST(RuleData, RenewalBasisDateAndPeriodFollowTheirPrecedence) {
    const auto file = readRequirementsFile(R"json({"topics": [], "states": [
      {"code": "AA", "name": "State-wide", "renewalBasis": "fixedDate", "renewalDate": "06-30", "renewalYears": 1.6,
       "md": {"renewalBasis": "birthMonth", "renewalDate": "01-31", "renewalYears": 3},
       "pa": {"renewalYears": 2},
       "rn": {"renewalYears": 0.2},
       "np": {"renewalBasis": "birthMonth"}},
      {"code": "BB", "name": "MD only", "md": {"renewalBasis": "birthMonth", "renewalYears": 2},
       "pa": {"renewalBasis": "fixedDate", "renewalDate": "June 30"}, "rn": {}},
      {"code": "CC", "name": "Garbled", "renewalBasis": "fixedDate", "renewalDate": "2-30-1"}]})json");
    ASSERT_TRUE(file);
    const StateRule& a = *file->state("AA");
    const StateRule& b = *file->state("BB");
    const Day march14{2026, 3, 14};

    // MD: the state-wide value comes before its own block; a PA inherits it too; nurses never do.
    EXPECT_EQ(a.basis(Degree::md), "fixedDate");
    EXPECT_EQ(a.adjustedExpiry(march14, Degree::md), (Day{2026, 6, 30}));
    EXPECT_EQ(a.basis(Degree::pa), "fixedDate");
    EXPECT_EQ(a.basis(Degree::rn), std::nullopt);
    EXPECT_EQ(a.adjustedExpiry(march14, Degree::rn), march14);
    EXPECT_EQ(a.adjustedExpiry(march14, Degree::np), (Day{2026, 3, 31}));
    EXPECT_EQ(a.renewalDateFor(Degree::np), std::nullopt);
    EXPECT_EQ(a.renewalDateFor(Degree::caa), "06-30");
    // Without a state-wide value a PA falls back to the MD block.
    EXPECT_EQ(b.basis(Degree::caa), "birthMonth");
    EXPECT_EQ(b.basis(Degree::doctor), "birthMonth");
    EXPECT_EQ(b.adjustedExpiry(march14, Degree::pa), march14);  // "June 30" is no month and day
    EXPECT_EQ(b.basis(Degree::rn), std::nullopt);
    // Three numbers are not a month and a day.
    EXPECT_EQ(file->state("CC")->adjustedExpiry(march14, Degree::md), march14);

    EXPECT_EQ(a.renewalYearsFor(Degree::md), 2);      // 1.6 rounds up, ahead of the block's 3
    EXPECT_EQ(a.renewalYearsFor(Degree::doctor), 2);
    EXPECT_EQ(a.renewalYearsFor(Degree::pa), 2);      // others read only their own block
    EXPECT_EQ(a.renewalYearsFor(Degree::rn), 1);      // never below one year
    EXPECT_EQ(a.renewalYearsFor(Degree::lpn), std::nullopt);
    EXPECT_EQ(a.renewalYearsFor(Degree::other), std::nullopt);
    EXPECT_EQ(b.renewalYearsFor(Degree::doctor), std::nullopt);  // the MD block does not stand in
}

TEST(RuleData, OneTimeTopicsAndTopicNames) {
    TopicRule topic;
    topic.frequency = "firstRenewal";
    EXPECT_TRUE(topic.isOneTime());
    topic.frequency = "once";
    EXPECT_TRUE(topic.isOneTime());
    topic.frequency = "everyNCycles";
    topic.note = "A one-time course";
    EXPECT_FALSE(topic.isOneTime());  // the frequency decides when there is one
    topic.frequency.reset();
    topic.note = "Complete this One-Time course";
    EXPECT_TRUE(topic.isOneTime());
    topic.note = "Every renewal";
    EXPECT_FALSE(topic.isOneTime());

    const auto file = texas();
    EXPECT_EQ(file.topicName("opioidPrescribing"), "Opioid prescribing");
    EXPECT_EQ(file.topicName("implicitBias"), "Implicit Bias");
    EXPECT_EQ(humanise("end_of_life_care"), "End of life care");
    EXPECT_EQ(humanise("hivAIDSTraining"), "Hiv AIDSTraining");
    EXPECT_EQ(humanise(""), "");
}

TEST(Requirements, LoadsTheFirstFileFoundAndIsEmptyWhenItIsMissingOrBroken) {
    InMemoryFileSystem files;
    ASSERT_TRUE(files.createDirectories("/app/resources"));
    ASSERT_TRUE(files.replaceFileAtomically("/app/resources/state-requirements.json", asBytes(kTexas)));
    const auto loaded = Requirements::load(files, {"/nowhere", "/app/resources"});
    ASSERT_TRUE(loaded.file());
    EXPECT_EQ(loaded.state("tx")->name, "Texas");
    EXPECT_EQ(loaded.topicName("opioidPrescribing"), "Opioid prescribing");

    const auto missing = Requirements::load(files, {"/nowhere"});
    EXPECT_FALSE(missing.file());
    EXPECT_EQ(missing.state("TX"), nullptr);
    EXPECT_EQ(missing.topicName("implicitBias"), "Implicit Bias");

    ASSERT_TRUE(files.replaceFileAtomically("/app/resources/state-requirements.json", asBytes(R"json({"states": 1})json")));
    EXPECT_FALSE(Requirements::load(files, {"/app/resources"}).file());
    EXPECT_FALSE(StateFees::load(files, {"/app/resources"}).file());
}

}  // namespace
}  // namespace corvale

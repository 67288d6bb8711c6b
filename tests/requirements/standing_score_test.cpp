#include "requirements/CredentialRenewal.h"
#include "requirements/NumberWord.h"
#include "requirements/StandingScore.h"

#include <gtest/gtest.h>

#include <numeric>

namespace corvale {
namespace {

const Day kToday{2026, 11, 14};

// Credentials come with a live copy attached unless a test says otherwise, so
// each case sees only the deductions it is about.
struct Vault {
    std::vector<Credential> credentials;
    std::vector<DocumentRecord> documents;
    std::vector<StandingInput::CMEGap> gaps;
    std::map<std::string, std::string, std::less<>> people;

    Credential& add(std::string kind, std::optional<int> daysLeft, std::string person = "p1") {
        Credential credential;
        credential.id = "c" + std::to_string(credentials.size() + 1);
        credential.personId = std::move(person);
        credential.kind = std::move(kind);
        credential.state = "TX";
        if (daysLeft) credential.expiresOn = kToday.addingDays(*daysLeft);
        DocumentRecord copy;
        copy.id = "d-" + credential.id;
        documents.push_back(copy);
        credential.documentIds = {copy.id};
        credentials.push_back(std::move(credential));
        return credentials.back();
    }
    void withoutCopy(Credential& credential) { credential.documentIds.clear(); }
    void gap(double missing, std::optional<int> daysToCycleEnd, std::string person = "p1") {
        StandingInput::CMEGap gap;
        gap.licenseId = "lic" + std::to_string(gaps.size() + 1);
        gap.personId = std::move(person);
        gap.state = "TX";
        gap.stateName = "Texas";
        gap.missingHours = missing;
        gap.requiredHours = 48;
        if (daysToCycleEnd) gap.cycleEnd = kToday.addingDays(*daysToCycleEnd);
        gaps.push_back(std::move(gap));
    }

    StandingInput input() const {
        StandingInput input;
        input.credentials = credentials;
        input.documents = documents;
        input.cmeGaps = gaps;
        input.personNames = people;
        input.today = kToday;
        return input;
    }
    StandingScore score() const { return StandingScore::compute(input()); }
};

std::vector<int> points(const StandingScore& score) {
    std::vector<int> result;
    for (const auto& deduction : score.deductions) result.push_back(deduction.points);
    return result;
}

TEST(StandingScore, ExpiryCostsByKindAndByHowSoon) {
    Vault vault;
    vault.add("stateLicense", -1);
    vault.add("bls", -40);
    const auto expired = vault.score();
    EXPECT_EQ(points(expired), (std::vector<int>{25, 12}));
    EXPECT_EQ(expired.value, 63);
    const auto& licence = expired.deductions[0];
    EXPECT_EQ(licence.id, "expired:c1");
    EXPECT_EQ(licence.title, "Texas license has expired");
    EXPECT_TRUE(licence.detail.starts_with("It expired on November 13, 2026"));
    EXPECT_NE(licence.detail, "It expired on November 13, 2026.");  // a lapse that stops practice says so
    EXPECT_EQ(expired.deductions[1].detail, "It expired on October 5, 2026.");
    EXPECT_EQ(licence.fix, (StandingScore::Fix{StandingScore::FixAction::renew, "c1"}));
    EXPECT_TRUE(licence.thisMonth);
    EXPECT_EQ(licence.recovery(), "Starting this renewal gives back 25 points.");
    EXPECT_FALSE(licence.person);  // one person kept

    const auto costOf = [](int days, std::string stage = "") {
        Vault one;
        auto& credential = one.add("stateLicense", days);
        if (!stage.empty()) credential.renewalStage = stage;
        const auto score = one.score();
        return 100 - score.value;
    };
    EXPECT_EQ(costOf(0), 12);
    EXPECT_EQ(costOf(30), 12);
    EXPECT_EQ(costOf(31), 5);
    EXPECT_EQ(costOf(90), 5);
    EXPECT_EQ(costOf(91), 0);
    EXPECT_EQ(costOf(3, "submitted"), 0);  // filed: nothing left for the user to do
    EXPECT_EQ(costOf(60, "approved"), 0);
    EXPECT_EQ(costOf(3, "gathering"), 12);
    EXPECT_EQ(costOf(-3, "submitted"), 25);  // filed or not, it has lapsed

    Vault due;
    due.add("dea", 31);
    EXPECT_EQ(due.score().deductions[0].title, "DEA registration expires in 31 days");
    EXPECT_FALSE(due.score().deductions[0].thisMonth);
}

TEST(StandingScore, MissingDatesAndCopiesAndTheCopyCap) {
    Vault vault;
    vault.add("stateLicense", std::nullopt);
    vault.add("bls", std::nullopt);  // only a state licence needs its date
    const auto undated = vault.score();
    ASSERT_EQ(undated.deductions.size(), 1u);
    EXPECT_EQ(undated.deductions[0].points, 8);
    EXPECT_EQ(undated.deductions[0].title, "Texas license has no renewal date");
    EXPECT_EQ(undated.deductions[0].detail, "Reminders and continuing education tracking start once you add it.");
    EXPECT_EQ(undated.deductions[0].fix.action, StandingScore::FixAction::edit);
    EXPECT_EQ(undated.deductions[0].recovery(), "Adding the date gives back 8 points.");

    Vault copies;
    for (const char* kind : {"bls", "acls", "pals", "dea", "malpractice", "tb"}) copies.withoutCopy(copies.add(kind, 400));
    copies.withoutCopy(copies.add("caqh", 400));  // nothing to attach for an attestation
    const auto capped = copies.score();
    EXPECT_EQ(points(capped), (std::vector<int>{2, 2, 2, 2, 2}));  // six missing, ten points at most
    EXPECT_EQ(capped.value, 90);
    EXPECT_EQ(capped.deductions[0].title, "BLS card has no copy attached");
    EXPECT_EQ(capped.deductions[0].detail, "Attach the license or certificate so it's ready for packets.");
    EXPECT_EQ(capped.deductions[0].recovery(), "Attaching a copy gives back 2 points.");
    EXPECT_EQ(capped.headline, "Six credentials have no copy attached.");

    // An attached id whose document was deleted is no copy.
    Vault deleted;
    deleted.add("bls", 400);
    deleted.documents[0].deleted = true;
    EXPECT_EQ(deleted.score().value, 98);
}

TEST(StandingScore, EducationGapsCountWithinHalfAYear) {
    const auto costOf = [](double missing, std::optional<int> days) {
        Vault vault;
        vault.gap(missing, days);
        return vault.score();
    };
    EXPECT_EQ(costOf(5, 181).value, 100);
    EXPECT_EQ(costOf(5, -1).value, 100);  // the cycle is over; the licence's own expiry speaks for it
    EXPECT_EQ(costOf(0.001, 10).value, 100);
    EXPECT_EQ(costOf(5, 180).value, 92);
    EXPECT_FALSE(costOf(5, 180).deductions[0].thisMonth);
    EXPECT_TRUE(costOf(5, 30).deductions[0].thisMonth);
    EXPECT_TRUE(costOf(5, std::nullopt).deductions[0].thisMonth);  // an end that can't be measured is now

    const auto gap = costOf(5.25, 180).deductions[0];
    EXPECT_EQ(gap.id, "cme:lic1");
    EXPECT_EQ(gap.term, "CME");
    EXPECT_EQ(gap.fix, (StandingScore::Fix{StandingScore::FixAction::logCME, "lic1"}));
    EXPECT_EQ(gap.detail, "5.25 h of 48 left for Texas. The Texas cycle ends on May 13, 2027.");
    EXPECT_EQ(gap.recovery(), "Logging the remaining hours gives back 8 points.");
}

TEST(StandingScore, OrderValueAndHeadline) {
    Vault vault;
    vault.withoutCopy(vault.add("tb", 400));     // 2
    vault.add("acls", 60);                        // 5
    vault.add("bls", -1);                         // 12, made first of the twelves
    vault.add("stateLicense", std::nullopt);      // 8
    vault.add("pals", 10);                        // 12
    const auto ordered = vault.score();
    EXPECT_EQ(points(ordered), (std::vector<int>{12, 12, 8, 5, 2}));
    EXPECT_EQ(ordered.deductions[0].id, "expired:c3");
    EXPECT_EQ(ordered.deductions[1].id, "due:c5");
    EXPECT_EQ(ordered.headline, "Two things need you this month.");

    // 130 points of deductions leave 0, not less.
    Vault heavy;
    for (int i = 0; i < 5; ++i) heavy.add("stateLicense", -10);
    heavy.add("bls", 45);
    const auto floored = heavy.score();
    EXPECT_EQ(std::accumulate(floored.deductions.begin(), floored.deductions.end(), 0,
                              [](int sum, const auto& d) { return sum + d.points; }),
              130);
    EXPECT_EQ(floored.value, 0);
    EXPECT_EQ(floored.headline, "Five things need you this month.");

    const auto headline = [](auto build) {
        Vault v;
        build(v);
        return v.score().headline;
    };
    EXPECT_EQ(headline([](Vault& v) { v.add("bls", 5); }), "One thing needs you this month.");
    EXPECT_EQ(headline([](Vault& v) {
                  v.gap(4, 100);
                  v.add("bls", 60);
                  v.add("stateLicense", std::nullopt);
              }),
              "Nothing is urgent, and there are continuing education hours to plan before a renewal.");
    EXPECT_EQ(headline([](Vault& v) {
                  v.add("bls", 60);
                  v.add("stateLicense", std::nullopt);
              }),
              "Nothing is urgent, and one renewal is coming up in the next 90 days.");
    EXPECT_EQ(headline([](Vault& v) {
                  v.add("bls", 60);
                  v.add("acls", 89);
                  v.add("pals", 90);
              }),
              "Nothing is urgent, and three renewals are coming up in the next 90 days.");
    EXPECT_EQ(headline([](Vault& v) {
                  v.add("stateLicense", std::nullopt);
                  v.withoutCopy(v.add("bls", 400));
              }),
              "One license needs its renewal date.");
    EXPECT_EQ(headline([](Vault& v) {
                  v.add("stateLicense", std::nullopt);
                  v.add("stateLicense", std::nullopt);
              }),
              "Two licenses need their renewal dates.");
    EXPECT_EQ(headline([](Vault& v) { v.withoutCopy(v.add("bls", 400)); }), "One credential has no copy attached.");
    EXPECT_EQ(headline([](Vault& v) { v.add("bls", 400); }), "Nothing needs you right now.");
    EXPECT_EQ(headline([](Vault& v) { v.add("bls", 400).deleted = true; }), "Add a license to start tracking.");
}

TEST(StandingScore, PerPersonScoresWorstFirstWithNames) {
    Vault office;
    office.people = {{"p1", "Avery Chen"}, {"p2", "Blake Ortiz"}, {"p3", "Casey Diaz"}, {"p4", "Drew Park"}};
    office.add("stateLicense", -5, "p2");
    office.add("bls", 400, "p1");
    for (int i = 0; i < 7; ++i) office.withoutCopy(office.add("acls", 400, "p3"));  // capped per person
    office.gap(6, 20, "p3");
    office.add("bls", -1, "gone");  // a person no longer kept counts nowhere

    const auto people = StandingScore::perPerson(office.input());
    ASSERT_EQ(people.size(), 4u);
    EXPECT_EQ(people[0].name, "Blake Ortiz");
    EXPECT_EQ(people[0].score.value, 75);
    EXPECT_EQ(people[1].name, "Casey Diaz");
    EXPECT_EQ(people[1].score.value, 82);
    EXPECT_EQ(people[1].score.deductions[0].person, "Casey Diaz");
    EXPECT_EQ(people[2].name, "Avery Chen");  // equal scores in name order
    EXPECT_EQ(people[3].name, "Drew Park");
    EXPECT_EQ(people[3].score.headline, "Add a license to start tracking.");

    // The whole office as one score: the copy cap applies once, the lost person not at all.
    EXPECT_EQ(StandingScore::compute(office.input()).value, 100 - 25 - 10 - 8);

    office.people = {{"p1", "Avery Chen"}};
    EXPECT_TRUE(StandingScore::perPerson(office.input()).empty());
}

TEST(CredentialRenewal, TitlesFilingAndCopies) {
    Credential credential;
    credential.kind = "stateLicense";
    credential.state = "TX";
    credential.licenseType = "RN";
    EXPECT_EQ(renewTitle(credential), "Texas RN license");
    credential.kind = "stateCSR";
    EXPECT_EQ(renewTitle(credential), "Texas controlled substance registration");
    credential.kind = "bls";
    EXPECT_EQ(renewTitle(credential), "BLS card");
    credential.kind = "boardCertification";
    credential.title = "ABIM Internal Medicine";
    EXPECT_EQ(renewTitle(credential), "ABIM Internal Medicine");
    credential.kind = "fellowship";  // a kind from a newer version keeps its words
    EXPECT_EQ(renewTitle(credential), "ABIM Internal Medicine");
    credential.title.reset();
    EXPECT_EQ(renewTitle(credential), "fellowship");

    for (const auto& [stage, filed] : std::vector<std::pair<std::optional<std::string>, bool>>{
             {std::nullopt, false}, {"notStarted", false}, {"gathering", false}, {"submitted", true},
             {"approved", true}, {"Submitted", false}}) {
        credential.renewalStage = stage;
        EXPECT_EQ(isRenewalFiled(credential), filed) << stage.value_or("none");
    }

    const std::unordered_set<std::string_view> live{"d1"};
    credential.kind = "dea";
    credential.documentIds = {"d0", "d1"};
    EXPECT_FALSE(needsDocument(credential, live));
    credential.documentIds = {"d0"};
    EXPECT_TRUE(needsDocument(credential, live));
    credential.kind = "fellowship";
    EXPECT_FALSE(needsDocument(credential, live));

    // Records that read alike say what tells them apart, only among one person's.
    const auto make = [](std::string person, std::string kind, std::optional<std::string> state,
                         std::optional<std::string> number, std::optional<Day> expires) {
        Credential c;
        c.personId = std::move(person);
        c.kind = std::move(kind);
        c.state = std::move(state);
        c.number = std::move(number);
        c.expiresOn = expires;
        return c;
    };
    const std::vector<Credential> held{
        make("a", "dea", "TX", "FT1", Day{2027, 1, 31}),     make("a", "dea", "CA", "FC2", Day{2027, 1, 31}),
        make("a", "bls", std::nullopt, "B-1", Day{2025, 9, 30}), make("a", "bls", std::nullopt, "B-2", Day{2027, 9, 30}),
        make("a", "acls", std::nullopt, std::nullopt, Day{2025, 1, 31}),
        make("a", "acls", std::nullopt, std::nullopt, Day{2027, 1, 31}),
        make("b", "dea", "TX", "FB3", Day{2027, 1, 31}),     make("a", "malpractice", std::nullopt, "M", std::nullopt),
        make("a", "stateLicense", "TX", "X", std::nullopt),  make("a", "stateLicense", "TX", "X", std::nullopt)};
    std::vector<const Credential*> listedTogether;
    for (const auto& c : held) listedTogether.push_back(&c);
    EXPECT_EQ(distinctTitles(listedTogether),
              (std::vector<std::string>{"DEA registration (Texas)", "DEA registration (California)", "BLS card (B-1)",
                                        "BLS card (B-2)", "ACLS card (expires Jan 31, 2025)",
                                        "ACLS card (expires Jan 31, 2027)", "DEA registration",
                                        renewTitle(held[7]), "Texas license", "Texas license"}));
    EXPECT_TRUE(distinctTitles({}).empty());

    EXPECT_EQ(numberWord(1), "one");
    EXPECT_EQ(capitalisedNumberWord(12), "Twelve");
    EXPECT_EQ(numberWord(21), "21");
}

}  // namespace
}  // namespace corvale

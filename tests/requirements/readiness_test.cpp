#include "ShippedRules.h"
#include "TestVault.h"
#include "requirements/Readiness.h"
#include "requirements/Requirements.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

const RequirementsFile& shipped() { return testing::shippedRules(); }

const Day kToday{2026, 11, 22};

using Office = testing::TestVault;

const StateProgress& find(const Readiness& readiness, std::string_view personId, std::string_view state) {
    for (const auto& progress : readiness.progress)
        if (progress.license.personId == personId && progress.license.state == state) return progress;
    ADD_FAILURE() << "no progress for " << state;
    static const StateProgress none;
    return none;
}

bool hasTopic(const StateProgress& progress, std::string_view key) {
    return std::any_of(progress.topics.begin(), progress.topics.end(), [&](const auto& line) { return line.key == key; });
}

TEST(Readiness, ANurseAcrossStates) {
    Office office;
    const auto nurse = office.person("Maria Lopez", "RN");
    office.credential(nurse, "stateLicense", "TX", {2027, 9, 30});
    office.credential(nurse, "stateLicense", "CA", {2026, 12, 31});
    office.credential(nurse, "stateLicense", "FL", {2028, 4, 30});
    office.cme(nurse, {2026, 2, 1}, 12, "ce");
    office.cme(nurse, {2022, 1, 1}, 2, "ce", {"jurisprudence"});  // inside three two-year Texas cycles
    office.cme(nurse, {2026, 6, 15}, 2, "ce", {"laws"});

    const auto readiness = Readiness::compute(office.document, &shipped(), kToday);
    ASSERT_EQ(readiness.progress.size(), 3u);

    // Texas: 20 contact hours a cycle, with jurisprudence and ethics once every third cycle.
    const auto& texas = find(readiness, nurse, "TX");
    EXPECT_EQ(texas.cycleStart, (Day{2025, 9, 30}));
    EXPECT_DOUBLE_EQ(texas.requiredHours, 20);
    EXPECT_EQ(texas.summary(), "14 of 20 contact hours");
    EXPECT_TRUE(texas.openTopics().empty());

    // California: 30 contact hours, no mandated topics; the cycle ends next month with 16 still to do.
    const auto& california = find(readiness, nurse, "CA");
    EXPECT_EQ(california.summary(), "14 of 30 contact hours");
    EXPECT_TRUE(california.topics.empty());
    EXPECT_FALSE(california.resolved->caveat("California"));

    // Florida: 24 hours, with laws and rules, medical errors and human trafficking among the topics.
    const auto& florida = find(readiness, nurse, "FL");
    EXPECT_DOUBLE_EQ(florida.requiredHours, 24);
    EXPECT_TRUE(hasTopic(florida, "medicalErrors"));
    EXPECT_TRUE(hasTopic(florida, "humanTrafficking"));
    const auto laws = std::find_if(florida.topics.begin(), florida.topics.end(), [](const auto& l) { return l.key == "laws"; });
    ASSERT_NE(laws, florida.topics.end());
    EXPECT_FALSE(laws->isOpen());
    EXPECT_EQ(florida.summary(), "2 of 24 contact hours");

    // Only California's cycle ends within 180 days with hours missing, and that licence is due in 39 days.
    ASSERT_EQ(readiness.score.deductions.size(), 2u);
    EXPECT_EQ(readiness.score.deductions[0].id, "cme:" + california.license.id);
    EXPECT_EQ(readiness.score.deductions[1].id, "due:" + california.license.id);
    EXPECT_EQ(readiness.score.value, 87);
    EXPECT_EQ(readiness.score.deductions[0].detail,
              "16 h of 30 left for California. The California cycle ends on December 31, 2026.");
    EXPECT_EQ(readiness.score.headline,
              "Nothing is urgent, and there are continuing education hours to plan before a renewal.");
    EXPECT_TRUE(readiness.people.empty());  // one person kept
}

TEST(Readiness, APhysicianANursePractitionerAndAPhysicianAssistant) {
    Office office;
    const auto physician = office.person("Sam Patel", "MD");
    const auto practitioner = office.person("Jordan Kim", "NP");
    const auto assistant = office.person("Riley Brooks", "PA");
    office.credential(physician, "stateLicense", "CA", {2027, 8, 31});
    office.credential(physician, "stateLicense", "TX", {2027, 1, 31});
    office.credential(physician, "stateLicense", "FL", {2028, 1, 31});
    office.credential(physician, "dea", std::nullopt, {2028, 5, 31});
    office.cme(physician, {2015, 4, 1}, 12, "cat1", {"painManagement"});  // California's one-time course, years ago
    office.cme(physician, {2026, 3, 1}, 30, "cat1");
    office.cme(physician, {2026, 5, 1}, 2, "cat1", {"controlledSubstances"}, false);

    office.credential(practitioner, "stateLicense", "NY", {2028, 6, 30});
    office.credential(practitioner, "stateLicense", "TX", {2027, 10, 31});
    office.cme(practitioner, {2026, 6, 1}, 3, "aanp", {"opioidPrescribing"});

    office.credential(assistant, "stateLicense", "TX", {2027, 2, 28});
    office.credential(assistant, "stateLicense", "PA", {2026, 12, 31});
    office.cme(assistant, {2026, 1, 10}, 25, "aapa");
    office.cme(assistant, {2026, 2, 10}, 10, "cat2", {"humanTrafficking"}, false);

    const auto readiness = Readiness::compute(office.document, &shipped(), kToday);

    // California MD: 50 hours every two years, and the one-time 12 hours of pain management count from any year.
    const auto& california = find(readiness, physician, "CA");
    EXPECT_DOUBLE_EQ(california.requiredHours, 50);
    ASSERT_TRUE(hasTopic(california, "painManagement"));
    EXPECT_TRUE(std::none_of(california.openTopics().begin(), california.openTopics().end(),
                             [](const auto& l) { return l.key == "painManagement"; }));
    // Texas MD: 48 hours with 24 of them formal Category 1.
    const auto& texasMD = find(readiness, physician, "TX");
    EXPECT_DOUBLE_EQ(texasMD.requiredHours, 48);
    EXPECT_DOUBLE_EQ(texasMD.cat1Required, 24);
    EXPECT_DOUBLE_EQ(texasMD.cat1Done, 32);
    EXPECT_EQ(texasMD.summary(), "32 of 48 CME hours");
    // Florida MD with a DEA registration: the board-approved controlled-substance course is asked for,
    // and an unapproved one does not count.
    const auto& florida = find(readiness, physician, "FL");
    const auto controlled = std::find_if(florida.topics.begin(), florida.topics.end(),
                                         [](const auto& l) { return l.key == "controlledSubstances"; });
    ASSERT_NE(controlled, florida.topics.end());
    EXPECT_DOUBLE_EQ(controlled->done, 0);
    EXPECT_DOUBLE_EQ(controlled->unapprovedHours, 2);

    // New York NP: state law sets no hour total, only topics; infection control is a course, not hours;
    // opioid training is for DEA holders only (none here).
    const auto& york = find(readiness, practitioner, "NY");
    EXPECT_TRUE(hasTopic(york, "infectionControl"));
    EXPECT_FALSE(hasTopic(york, "opioidPrescribing"));
    EXPECT_FALSE(york.noCERequired());
    EXPECT_EQ(york.summary(), "No hour requirement");
    // Texas NP: 20 contact hours.
    EXPECT_EQ(find(readiness, practitioner, "TX").summary(), "3 of 20 contact hours");

    // Texas PA: 40 hours with 20 in Category 1; AAPA Category 1 counts; the trafficking course must be approved.
    const auto& texasPA = find(readiness, assistant, "TX");
    EXPECT_DOUBLE_EQ(texasPA.requiredHours, 40);
    EXPECT_DOUBLE_EQ(texasPA.cat1Required, 20);
    EXPECT_DOUBLE_EQ(texasPA.cat1Done, 25);
    EXPECT_EQ(texasPA.summary(), "35 of 40 CME hours");
    // Pennsylvania PA: the figures are not yet confirmed, and the caveat says so.
    const auto& pennsylvania = find(readiness, assistant, "PA");
    EXPECT_EQ(pennsylvania.resolved->caveat("Pennsylvania"), "Not yet verified, confirm with the board.");
    EXPECT_TRUE(hasTopic(pennsylvania, "childAbuse"));

    // Everyone's own score, worst first, and the deductions name whose they are.
    ASSERT_EQ(readiness.people.size(), 3u);
    EXPECT_TRUE(std::is_sorted(readiness.people.begin(), readiness.people.end(),
                               [](const auto& a, const auto& b) { return a.score.value < b.score.value; }));
    for (const auto& deduction : readiness.score.deductions) EXPECT_TRUE(deduction.person) << deduction.title;

    // One person in view: only their records, and no names on the deductions.
    const auto single = Readiness::compute(office.document, &shipped(), kToday, assistant);
    EXPECT_EQ(single.progress.size(), 2u);
    EXPECT_TRUE(single.people.empty());
    for (const auto& deduction : single.score.deductions) EXPECT_FALSE(deduction.person);
    // Looking ahead: on the Texas PA cycle's last day its gap is this month's business.
    const auto ahead = Readiness::compute(office.document, &shipped(), {2027, 2, 1}, assistant);
    EXPECT_TRUE(std::any_of(ahead.score.deductions.begin(), ahead.score.deductions.end(), [&](const auto& d) {
        return d.id == "cme:" + texasPA.license.id && d.thisMonth;
    }));
    // The office manager, who holds nothing, is not scored, and the others' scores don't move.
    Office managed = office;
    const auto manager = managed.person("Pat Lee", "Other");
    managed.document.people.back().setManagesOthersOnly(true);
    const auto withManager = Readiness::compute(managed.document, &shipped(), kToday);
    ASSERT_EQ(withManager.people.size(), 3u);
    EXPECT_TRUE(std::none_of(withManager.people.begin(), withManager.people.end(),
                             [&](const auto& p) { return p.personId == manager; }));
    EXPECT_EQ(withManager.score.value, readiness.score.value);
    EXPECT_TRUE(Readiness::compute(managed.document, &shipped(), kToday, manager).input.active().empty());
    // Once they hold a credential of their own, it counts.
    managed.credential(manager, "bls", std::nullopt, {2026, 12, 1});
    EXPECT_EQ(Readiness::compute(managed.document, &shipped(), kToday).people.size(), 4u);

    // Someone who isn't in the vault has nothing in view.
    const auto nobody = Readiness::compute(office.document, &shipped(), kToday, "no-such-person");
    EXPECT_TRUE(nobody.progress.empty());
    EXPECT_EQ(nobody.score.headline, "Add a license to start tracking.");
}

}  // namespace
}  // namespace corvale

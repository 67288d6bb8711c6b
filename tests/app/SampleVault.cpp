#include "AppTestSupport.h"

#include <QLocale>

namespace corvale::app::testing {
namespace {

// Dates typed in the tests read as they do in the United States, whatever this machine's language.
const bool kAmericanDates = [] {
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    return true;
}();

Credential credential(const std::string& personId, const std::string& kind, std::optional<std::string> state,
                      std::optional<std::string> number, std::optional<Day> issued, std::optional<Day> expires) {
    Credential c;
    c.id = newUUID();
    c.personId = personId;
    c.kind = kind;
    c.state = std::move(state);
    c.number = std::move(number);
    c.issuedOn = issued;
    c.expiresOn = expires;
    return c;
}

void addClinician(VaultDocument& doc, const std::string& personId) {
    auto tx = credential(personId, "stateLicense", "TX", "R4821", Day{2023, 5, 14}, Day{2027, 5, 31});
    tx.renewalURL = "https://www.tmb.state.tx.us";
    auto ca = credential(personId, "stateLicense", "CA", "A158204", Day{2021, 1, 8}, Day{2027, 1, 31});
    ca.renewalStage = "gathering";
    ca.renewalSteps = std::vector<RenewalStep>{{"fee", "Pay the renewal fee", true},
                                               {"cme", "Finish the CME hours", false},
                                               {"survey", "Complete the workforce survey", false}};
    auto dea = credential(personId, "dea", std::nullopt, "FC3829147", Day{2024, 2, 1}, Day{2027, 1, 31});
    dea.schedules = std::vector<std::string>{"2", "2N", "3", "3N", "4", "5"};
    auto board = credential(personId, "boardCertification", std::nullopt, "ABIM-227431", Day{2019, 8, 20}, Day{2029, 12, 31});
    board.title = "ABIM Internal Medicine";
    board.issuer = "American Board of Internal Medicine";
    auto bls = credential(personId, "bls", std::nullopt, "BLS-88412", Day{2024, 12, 10}, Day{2026, 12, 31});
    auto acls = credential(personId, "acls", std::nullopt, "ACLS-55120", Day{2025, 3, 2}, Day{2027, 3, 31});
    auto policy = credential(personId, "malpractice", std::nullopt, std::nullopt, Day{2026, 1, 1}, Day{2027, 1, 1});
    policy.carrier = "Lone Star Medical Mutual";
    policy.policyNumber = "LSM-2026-11873";
    policy.limits = "$1M / $3M";
    policy.coverageType = "Claims-made";
    for (auto* c : {&tx, &ca, &dea, &board, &bls, &acls, &policy}) doc.credentials.push_back(*c);

    doc.cme.push_back(activity(personId, "Internal Medicine Board Review", "ACP", Day{2026, 2, 20}, 24, "cat1"));
    doc.cme.push_back(activity(personId, "Ethics in Clinical Practice", "Texas Medical Association", Day{2026, 4, 9}, 2,
                               "cat1", {"medicalEthics"}));
    doc.cme.push_back(activity(personId, "Safe Opioid Prescribing", "Boston University", Day{2025, 9, 15}, 3, "cat1",
                               {"opioidPrescribing", "painManagement"}));
    doc.cme.push_back(activity(personId, "Human Trafficking: Recognise and Respond", "HHSC", Day{2026, 6, 1}, 1, "cat1",
                               {"humanTrafficking"}));
    doc.cme.push_back(activity(personId, "Journal club", "St. David's Medical Center", Day{2026, 9, 12}, 6, "cat2"));
}

void seal(VaultStore& store, Onboarding onboarding, const std::function<void(VaultDocument&)>& fill) {
    if (auto created = store.create(std::move(onboarding)); !created) QFAIL(created.error().message().c_str());
    const auto filled = store.change([&](VaultDocument& doc) {
        doc.credentials.clear();  // the onboarding's empty licences give way to the full ones
        fill(doc);
    });
    QVERIFY(filled.ok());
    QVERIFY(store.flush().ok());
}

Onboarding maya() {
    Onboarding onboarding;
    onboarding.owner.name = "Maya Chen";
    onboarding.owner.degree = "MD";
    onboarding.owner.specialty = "Internal medicine";
    onboarding.owner.npi = "1234567893";
    onboarding.owner.email = "maya.chen@example.org";
    onboarding.owner.phone = "512-555-0142";
    onboarding.owner.dob = "1984-06-02";
    onboarding.states = {"TX", "CA"};
    return onboarding;
}

}  // namespace

CMEActivity activity(const std::string& personId, const std::string& title, std::optional<std::string> provider, Day on,
                     double hours, const std::string& category, std::vector<std::string> topics) {
    CMEActivity a;
    a.id = newUUID();
    a.personId = personId;
    a.title = title;
    a.provider = std::move(provider);
    a.completedOn = on;
    a.hours = hours;
    a.category = category;
    a.topics = std::move(topics);
    return a;
}

void fillSampleVault(VaultStore& store) {
    seal(store, maya(), [](VaultDocument& doc) {
        Person& self = doc.people.at(0);
        self.workHistory = std::vector<WorkEntry>{};
        WorkEntry current;
        current.id = newUUID();
        current.employer = "St. David's Medical Center";
        current.role = "Hospitalist";
        current.startDate = Day{2021, 7, 1};
        WorkEntry residency;
        residency.id = newUUID();
        residency.employer = "UT Southwestern";
        residency.role = "Internal medicine resident";
        residency.startDate = Day{2018, 7, 1};
        residency.endDate = Day{2021, 6, 30};
        self.workHistory->push_back(current);
        self.workHistory->push_back(residency);
        Facility facility;
        facility.id = newUUID();
        facility.name = "Seton Medical Center Austin";
        facility.state = "TX";
        facility.startDate = Day{2027, 1, 15};
        facility.requiredItems = {"stateLicense", "dea", "bls", "malpractice"};
        self.facilities = std::vector<Facility>{facility};
        addClinician(doc, self.id);
    });
}

void fillSampleOffice(VaultStore& store) {
    Onboarding manager = maya();
    seal(store, std::move(manager), [](VaultDocument& doc) {
        addClinician(doc, doc.people.at(0).id);
        Person nurse;
        nurse.id = newUUID();
        nurse.name = "Jordan Reyes";
        nurse.degree = "RN";
        nurse.specialty = "Emergency nursing";
        doc.people.push_back(nurse);
        doc.credentials.push_back(credential(nurse.id, "stateLicense", "TX", "RN912044", Day{2024, 10, 1}, Day{2026, 12, 15}));
        doc.credentials.push_back(credential(nurse.id, "bls", std::nullopt, "BLS-20311", Day{2023, 9, 1}, Day{2025, 9, 30}));
        doc.cme.push_back(activity(nurse.id, "Trauma Nursing Core Course", "ENA", Day{2026, 3, 3}, 16, "ce"));
        Person pa;
        pa.id = newUUID();
        pa.name = "Priya Natarajan";
        pa.degree = "PA";
        pa.specialty = "Orthopedics";
        doc.people.push_back(pa);
        doc.credentials.push_back(credential(pa.id, "stateLicense", "TX", "PA07731", Day{2025, 6, 1}, Day{2027, 6, 30}));
        doc.credentials.push_back(credential(pa.id, "dea", std::nullopt, "MN2294810", Day{2025, 1, 1}, Day{2028, 1, 31}));
    });
}

}  // namespace corvale::app::testing

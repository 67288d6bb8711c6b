#include "AppTestSupport.h"
#include "app/ProfilePage.h"
#include "app/Theme.h"
#include "records/NPI.h"

#include <QApplication>
#include <QLabel>
#include <QListView>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include <algorithm>

namespace corvale::app {

using namespace std::chrono_literals;
using testing::named;
using testing::OpenVault;
using testing::field;
using testing::press;
using testing::problem;

namespace {

QTableView* table(QWidget& page, const QString& name) {
    auto* view = named<QTableView>(page, name);
    if (!view) qFatal("no table %s", qPrintable(name));
    return view;
}

QStringList column(QTableView* view, int index) {
    QStringList cells;
    for (int row = 0; row < view->model()->rowCount(); ++row)
        cells << view->model()->index(row, index).data().toString();
    return cells;
}

bool selectRow(QTableView* view, const QString& first) {
    const int row = static_cast<int>(column(view, 0).indexOf(first));
    if (row < 0) return false;
    view->selectRow(row);
    return true;
}

const Person& self(OpenVault& vault) { return *vault.context.currentPerson(); }

const WorkEntry* job(const Person& person, const std::string& employer) {
    for (const auto& entry : *person.workHistory)
        if (entry.employer == employer) return &entry;
    return nullptr;
}

}  // namespace

class ProfilePageTest : public QObject {
    Q_OBJECT

private slots:
    void anEditIsSavedWithCtrlSAndCtrlZPutsItBack() {
        OpenVault vault(testing::fillSampleVault);
        ProfilePage page(vault.context);
        QSignalSpy changed(&page, &Screen::recordsChanged);
        page.show();
        QApplication::setActiveWindow(&page);
        QVERIFY(QTest::qWaitForWindowActive(&page));

        QCOMPARE(field(page, "Name")->text(), QStringLiteral("Maya Chen"));
        QCOMPARE(field(page, "Specialty")->text(), QStringLiteral("Internal medicine"));
        QVERIFY(!testing::button(page, "Save")->isEnabled());  // nothing typed, nothing to save
        QVERIFY(!testing::button(page, "Undo")->isEnabled());

        const Timestamp before = self(vault).updatedAt;
        vault.device.clock.advance(1h);
        field(page, "Specialty")->setText("  Hospital medicine ");
        field(page, "Email")->clear();
        field(page, "CAQH ID")->setText("14820375");
        testing::button(page, "Save")->setFocus();
        QTest::keyClick(&page, Qt::Key_S, Qt::ControlModifier);
        QCOMPARE(self(vault).specialty, std::optional<std::string>("Hospital medicine"));
        QCOMPARE(self(vault).email, std::nullopt);  // emptied, not stored blank
        QCOMPARE(self(vault).caqhId, std::optional<std::string>("14820375"));
        QVERIFY(self(vault).updatedAt > before);
        QVERIFY(vault.store.hasPendingSave());
        QCOMPARE(changed.count(), 1);
        QVERIFY(!testing::button(page, "Save")->isEnabled());

        QTest::keyClick(&page, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(self(vault).specialty, std::optional<std::string>("Internal medicine"));
        QCOMPARE(self(vault).email, std::optional<std::string>("maya.chen@example.org"));
        QCOMPARE(self(vault).caqhId, std::nullopt);
        QCOMPARE(field(page, "Specialty")->text(), QStringLiteral("Internal medicine"));
        QCOMPARE(field(page, "Email")->text(), QStringLiteral("maya.chen@example.org"));
        QVERIFY(!testing::button(page, "Undo")->isEnabled());
        QCOMPARE(changed.count(), 2);
    }

    void aBadNPIOrNoNameBlocksTheSaveAndWritesNothing() {
        OpenVault vault(testing::fillSampleVault);
        QVERIFY(vault.store.change([](VaultDocument& doc) { doc.people[0].npiVerifiedAt = "2026-10-01T09:00:00.000Z"; })
                    .ok());
        QVERIFY(vault.store.flush().ok());
        ProfilePage page(vault.context);
        const std::string saved = encodeVaultDocument(vault.store.doc());

        field(page, "Name")->setText("Maya R. Chen");
        field(page, "NPI")->setText("1234567890");
        QVERIFY(press(page, "Save"));
        QCOMPARE(problem(page, "NPI problem"), QString::fromUtf8(kInvalidNPIMessage.data()));
        field(page, "NPI")->setText("1234567893");
        field(page, "Name")->setText("   ");
        QVERIFY(press(page, "Save"));
        QCOMPARE(problem(page, "Name problem"),
                 QStringLiteral("Enter a name, so the profile says whose records these are."));
        QCOMPARE(encodeVaultDocument(vault.store.doc()), saved);
        QVERIFY(!vault.store.hasPendingSave());
        QVERIFY(!vault.store.canUndoProfileEdit());

        // The registry's check stands while the number does, and goes with it.
        field(page, "Name")->setText("Maya R. Chen");
        QVERIFY(press(page, "Save"));
        QCOMPARE(problem(page, "Name problem"), QString());
        QCOMPARE(self(vault).name, std::string("Maya R. Chen"));
        QVERIFY(self(vault).npiVerifiedAt.has_value());
        field(page, "NPI")->setText("1987654328");
        QVERIFY(press(page, "Save"));
        QCOMPARE(self(vault).npi, std::optional<std::string>("1987654328"));
        QCOMPARE(self(vault).npiVerifiedAt, std::nullopt);
    }

    void theDateOfBirthShowsOnlyOnceTheOwnerIsConfirmed() {
        OpenVault vault(testing::fillSampleVault);
        ProfilePage page(vault.context);
        auto& reasons = vault.device.authenticator.reasons;
        QLineEdit* dob = field(page, "Date of birth");
        QVERIFY(!dob->text().contains("1984"));
        QVERIFY(dob->isReadOnly());

        vault.device.authenticator.answer = AuthenticationResult::failed;
        QVERIFY(press(page, "Show date of birth"));
        QCOMPARE(reasons, std::vector<std::string>{"Show your date of birth"});
        QVERIFY(!dob->text().contains("1984"));
        QVERIFY(dob->isReadOnly());
        QCOMPARE(problem(page, "Date of birth note"),
                 QStringLiteral("Your password wasn't confirmed, so the date stays hidden."));

        // A device that cannot ask at all lets its owner in.
        vault.device.authenticator.answer = AuthenticationResult::unavailable;
        QVERIFY(press(page, "Show date of birth"));
        QCOMPARE(reasons.size(), std::size_t{2});
        QCOMPARE(dob->text(), QStringLiteral("1984-06-02"));
        QVERIFY(!dob->isReadOnly());

        dob->setText("1984/06/03");
        QVERIFY(press(page, "Save"));
        QVERIFY(problem(page, "Date of birth note").contains("YYYY-MM-DD"));
        QCOMPARE(self(vault).dob, std::optional<std::string>("1984-06-02"));
        dob->setText("1984-6-3");
        QVERIFY(press(page, "Save"));
        QCOMPARE(self(vault).dob, std::optional<std::string>("1984-06-03"));

        // Any reload (the app locking and opening again) hides it, and a save then leaves it alone.
        page.reload();
        QVERIFY(!dob->text().contains("1984"));
        QVERIFY(dob->isReadOnly());
        field(page, "Phone")->setText("512-555-0199");
        QVERIFY(press(page, "Save"));
        QCOMPARE(self(vault).dob, std::optional<std::string>("1984-06-03"));

        vault.device.authenticator.answer = AuthenticationResult::passed;
        QVERIFY(press(page, "Show date of birth"));
        QCOMPARE(dob->text(), QStringLiteral("1984-06-03"));
        dob->clear();
        QVERIFY(press(page, "Save"));
        QCOMPARE(self(vault).dob, std::nullopt);
    }

    void unsavedDetailsAreSavedOrDiscardedBeforeTheProfileIsLeft() {
        OpenVault vault(testing::fillSampleVault);
        ProfilePage page(vault.context);
        bool left = false;
        QVERIFY(!page.hasUnsavedEdits());
        field(page, "Specialty")->setText("Hospital medicine");
        QVERIFY(page.hasUnsavedEdits());
        page.leave([&] { left = true; });
        QVERIFY(!left);
        QVERIFY(press(page, "Discard changes"));
        QVERIFY(left);
        QCOMPARE(field(page, "Specialty")->text(), QStringLiteral("Internal medicine"));
        QVERIFY(!page.hasUnsavedEdits());

        left = false;
        field(page, "Specialty")->setText("Hospital medicine");
        page.leave([&] { left = true; });
        QVERIFY(press(page, "Save changes"));
        QVERIFY(left);
        QCOMPARE(self(vault).specialty, std::optional<std::string>("Hospital medicine"));

        // Nothing typed: nothing to ask.
        left = false;
        page.leave([&] { left = true; });
        QVERIFY(left);
        QVERIFY(!testing::canPress(page, "Save changes"));
    }

    void workHistoryAddsEditsAndTombstonesThroughUndoableSaves() {
        OpenVault vault(testing::fillSampleVault);
        ProfilePage page(vault.context);
        QTableView* jobs = table(page, "Work history");
        QCOMPARE(column(jobs, 0), (QStringList{"St. David's Medical Center", "UT Southwestern"}));
        QCOMPARE(column(jobs, 3), (QStringList{"Current", "Jun 30, 2021"}));
        QVERIFY(!testing::button(page, "Remove job")->isEnabled());  // nothing selected yet

        QVERIFY(press(page, "Add job"));
        field(page, "Employer")->setText("Dell Seton Medical Center");
        field(page, "Role")->setText("Nocturnist");
        field(page, "From")->setText("01/08/2024");
        field(page, "To")->setText("2023-12-31");
        QVERIFY(press(page, "Save job"));
        QCOMPARE(problem(page, "Job problem"), QStringLiteral("The job ends before it starts, so check the dates."));
        field(page, "To")->setText("next year");
        QVERIFY(press(page, "Save job"));
        QVERIFY(problem(page, "Job problem").contains("YYYY-MM-DD"));
        field(page, "To")->setText("2026-02-29");  // not a leap year
        QVERIFY(press(page, "Save job"));
        QCOMPARE(problem(page, "Job problem"),
                 QStringLiteral("There's no 2026-02-29 on the calendar, so check the day and month."));
        QCOMPARE(self(vault).workHistory->size(), std::size_t{2});
        field(page, "To")->clear();
        QVERIFY(press(page, "Save job"));
        const WorkEntry* added = job(self(vault), "Dell Seton Medical Center");
        QVERIFY(added);
        QCOMPARE(added->role, std::optional<std::string>("Nocturnist"));
        QCOMPARE(added->startDate, std::optional<Day>(Day{2024, 1, 8}));
        QCOMPARE(added->endDate, std::nullopt);
        QCOMPARE(added->updatedAt, Timestamp::now(vault.device.clock));
        QVERIFY(!added->id.empty());
        QCOMPARE(column(jobs, 0).first(), QStringLiteral("Dell Seton Medical Center"));  // newest current job first
        QVERIFY(!named<QLineEdit>(page, "Employer")->isVisibleTo(&page));

        QVERIFY(selectRow(jobs, "UT Southwestern"));
        QVERIFY(press(page, "Edit job"));
        QCOMPARE(field(page, "From")->text(), QStringLiteral("2018-07-01"));
        field(page, "Role")->setText("Resident, internal medicine");
        QVERIFY(press(page, "Save job"));
        const std::string residencyId = job(self(vault), "UT Southwestern")->id;
        QCOMPARE(job(self(vault), "UT Southwestern")->role, std::optional<std::string>("Resident, internal medicine"));
        QCOMPARE(self(vault).workHistory->size(), std::size_t{3});

        vault.device.clock.advance(2h);
        QVERIFY(selectRow(jobs, "UT Southwestern"));
        QVERIFY(press(page, "Remove job"));
        const WorkEntry* removed = job(self(vault), "UT Southwestern");
        QVERIFY(removed && removed->deleted);  // a tombstone stays for merging
        QCOMPARE(removed->id, residencyId);
        QCOMPARE(removed->updatedAt, Timestamp::now(vault.device.clock));
        QVERIFY(!column(jobs, 0).contains("UT Southwestern"));

        QVERIFY(press(page, "Undo"));
        QVERIFY(!job(self(vault), "UT Southwestern")->deleted);
        QVERIFY(column(jobs, 0).contains("UT Southwestern"));
    }

    void aFormOpenedBelowTheFoldScrollsIntoViewWithFocus() {
        OpenVault vault(testing::fillSampleVault);
        testing::StyledWindow window;
        auto* page = window.hold(new ProfilePage(vault.context, &window));
        window.resize(900, 600);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto* name = field(*page, "Facility name");
        QVERIFY(press(*page, "Add facility"));
        QVERIFY(name->hasFocus());
        // The whole field is on screen, not just somewhere in the scrolled page.
        QCOMPARE(name->visibleRegion().boundingRect(), name->rect());
        // And so is the first field of a job, which opens higher up.
        QVERIFY(press(*page, "Add job"));
        auto* employer = field(*page, "Employer");
        QVERIFY(employer->hasFocus());
        QCOMPARE(employer->visibleRegion().boundingRect(), employer->rect());
    }

    void facilitiesKeepWhatTheyAskForEvenWhenThisVersionCannotNameIt() {
        OpenVault vault(testing::fillSampleVault);
        QVERIFY(
            vault.store
                .change([](VaultDocument& doc) { doc.people[0].facilities->at(0).requiredItems.push_back("fitTest"); })
                .ok());
        ProfilePage page(vault.context);
        QTableView* facilities = table(page, "Facilities");
        QCOMPARE(column(facilities, 0), QStringList{"Seton Medical Center Austin"});
        QCOMPARE(column(facilities, 1), QStringList{"Texas"});
        QVERIFY(column(facilities, 3).first().contains("fitTest"));

        QVERIFY(selectRow(facilities, "Seton Medical Center Austin"));
        QVERIFY(press(page, "Edit facility"));
        auto* required = named<QListView>(page, "Required items");
        QVERIFY(required);
        QAbstractItemModel* kinds = required->model();
        const auto setKind = [&](const QString& raw, Qt::CheckState state) {
            const auto found = kinds->match(kinds->index(0, 0), Qt::UserRole, raw, 1, Qt::MatchExactly);
            QCOMPARE(found.size(), 1);
            kinds->setData(found.first(), state, Qt::CheckStateRole);
        };
        QCOMPARE(kinds->match(kinds->index(0, 0), Qt::UserRole, "dea").first().data(Qt::CheckStateRole).toInt(),
                 int(Qt::Checked));
        setKind("dea", Qt::Unchecked);
        setKind("acls", Qt::Checked);
        field(page, "Contact email")->setText("medical staff office");
        QVERIFY(press(page, "Save facility"));
        QVERIFY(problem(page, "Facility problem").contains("@"));
        field(page, "Contact email")->setText("medstaff@seton.example.org");
        QVERIFY(press(page, "Save facility"));
        const Facility& edited = self(vault).facilities->at(0);
        QCOMPARE(edited.requiredItems,
                 (std::vector<std::string>{"fitTest", "stateLicense", "bls", "acls", "malpractice"}));
        QCOMPARE(edited.contactEmail, std::optional<std::string>("medstaff@seton.example.org"));
        QCOMPARE(edited.state, std::optional<std::string>("TX"));

        QVERIFY(press(page, "Add facility"));
        field(page, "Facility name")->setText("Ascension Seton Williamson");
        testing::choose(page, "Facility state", "TX");
        field(page, "Start date")->setText("2027-03-01");
        setKind("tb", Qt::Checked);
        QVERIFY(press(page, "Save facility"));
        QCOMPARE(self(vault).facilities->size(), std::size_t{2});
        const Facility& added = self(vault).facilities->at(1);
        QCOMPARE(added.requiredItems, std::vector<std::string>{"tb"});  // a fresh form starts unticked
        QCOMPARE(added.startDate, std::optional<Day>(Day{2027, 3, 1}));

        QVERIFY(selectRow(facilities, "Seton Medical Center Austin"));
        QVERIFY(press(page, "Remove facility"));
        QVERIFY(self(vault).facilities->at(0).deleted);
        QCOMPARE(column(facilities, 0), QStringList{"Ascension Seton Williamson"});
    }

    void whatTheFormDoesNotShowSurvivesASave() {
        OpenVault vault(testing::fillSampleVault);
        const Timestamp consented = Timestamp::now(vault.device.clock);
        QVERIFY(vault.store
                    .change([&](VaultDocument& doc) {
                        Person& maya = doc.people[0];
                        maya.degree = "DMD";  // a degree a newer version knows
                        maya.extra["badgeColor"] = JSONValue("teal");
                        maya.screenings = std::vector<JSONValue>{JSONValue(JSONObject{{"source", JSONValue("leie")}})};
                        maya.orgAccess = std::vector<JSONValue>{JSONValue(JSONObject{{"org", JSONValue("Seton")}})};
                        maya.color = "#2b6f97";
                        maya.healthConsent = HealthConsent{consented, 2};
                    })
                    .ok());
        ProfilePage page(vault.context);
        QCOMPARE(named<QComboBox>(page, "Degree")->currentText(), QStringLiteral("DMD"));

        field(page, "Languages")->setText("English, Mandarin");
        QVERIFY(press(page, "Save"));
        const Person& maya = self(vault);
        QCOMPARE(maya.languages, std::optional<std::string>("English, Mandarin"));
        QCOMPARE(maya.degree, std::string("DMD"));
        QCOMPARE(maya.extra.at("badgeColor"), JSONValue("teal"));
        QCOMPARE(maya.screenings->size(), std::size_t{1});
        QCOMPARE(maya.orgAccess->size(), std::size_t{1});
        QCOMPARE(maya.color, std::optional<std::string>("#2b6f97"));
        QCOMPARE(maya.healthConsent->version, 2);
        QVERIFY(maya.isSelf);
        QCOMPARE(maya.workHistory->size(), std::size_t{2});
    }

    void inAnOfficeTheHeaderNamesWhoseProfileItIs() {
        OpenVault vault(testing::fillSampleOffice);
        const std::string nurse = vault.store.doc().people.at(1).id;
        ProfilePage page(vault.context);
        vault.store.setScopePersonId(nurse);
        page.reload();
        QString title;
        for (auto* label : page.findChildren<QLabel*>("title")) title = label->text();
        QCOMPARE(title, QStringLiteral("Jordan Reyes's profile"));
        QCOMPARE(field(page, "Name")->text(), QStringLiteral("Jordan Reyes"));
        QVERIFY(field(page, "Date of birth")->text().isEmpty());

        field(page, "Phone")->setText("512-555-0107");
        QVERIFY(press(page, "Save"));
        QCOMPARE(vault.store.doc().people.at(1).phone, std::optional<std::string>("512-555-0107"));
        QCOMPARE(vault.store.doc().people.at(0).phone, std::optional<std::string>("512-555-0142"));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::ProfilePageTest)
#include "ProfilePageTest.moc"

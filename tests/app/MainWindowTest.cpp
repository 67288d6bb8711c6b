#include "AppTestSupport.h"
#include "app/ActivityEditor.h"
#include "app/CMEPage.h"
#include "app/CredentialEditor.h"
#include "app/LicensesPage.h"
#include "app/LockPage.h"
#include "app/LongTask.h"
#include "app/MainWindow.h"
#include "app/OnboardingPage.h"
#include "app/ProfilePage.h"
#include "app/ReportPage.h"
#include "app/SettingsPage.h"
#include "app/ProgressRing.h"
#include "app/StartProblemPage.h"
#include "app/WindowBeacon.h"
#include "app/TodayPage.h"
#include "app/UnsavedEdits.h"
#include "cli/Commands.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "platform/memory/RecordingNotifier.h"
#include "records/JSONReader.h"
#include "records/NPI.h"
#include "requirements/CredentialRenewal.h"
#include "requirements/Requirements.h"
#include "vault/VaultKeychain.h"
#include "vault/VaultStore.h"

#include <QComboBox>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <sstream>
#include <thread>

namespace corvale::app {

using namespace std::chrono_literals;

using testing::choose;
using testing::Device;
using testing::fill;
using testing::press;
using testing::rules;

std::string run(Device& device, std::vector<std::string> args) {
    std::istringstream in;
    std::ostringstream out, err;
    runCommandLine(std::move(args), in, out, err, device.setup(), nullptr);
    return out.str() + err.str();
}

class MainWindowTest : public QObject {
    Q_OBJECT

    static void screenshot(QWidget& window, const char* name) {
        testing::screenshot(window, QString::fromLatin1(name));
    }

    static QString errorText(QWidget& page) {
        for (const auto* label : page.findChildren<QLabel*>(QStringLiteral("error")))
            if (label->isVisibleTo(&page)) return label->text();
        return QString();
    }

    // Joins from a vault folder or restores from a backup file, whichever way onboarding shows.
    static void submit(OnboardingPage& page, const QString& from, const QString& passphrase) {
        const bool joining = page.way() == OnboardingPage::Way::join;
        fill(page, joining ? QStringLiteral("Vault folder") : QStringLiteral("Backup file"), from);
        fill(page, QStringLiteral("Passphrase"), passphrase);
        QVERIFY(press(page, joining ? QStringLiteral("Join vault") : QStringLiteral("Restore backup")));
    }

    // A vault made as onboarding would make it, for tests that start past it.
    static bool createVault(MainWindow& window, std::string name, std::string degree,
                            std::vector<std::string> states = {}) {
        Onboarding onboarding;
        onboarding.owner.name = std::move(name);
        onboarding.owner.degree = std::move(degree);
        onboarding.states = std::move(states);
        return window.store().create(std::move(onboarding)).ok();
    }

private slots:
    void onboardingCreatesAVaultTheCommandLineReads() {
        Device device;
        auto windowOwner = std::make_unique<MainWindow>(device.setup(), rules());
        MainWindow& window = *windowOwner;
        window.show();
        QCOMPARE(window.pageName(), QStringLiteral("opening"));
        window.start();
        QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
        OnboardingPage& page = *window.onboardingPage();

        QVERIFY(press(page, QStringLiteral("Create vault")));
        QCOMPARE(errorText(page), QStringLiteral("Enter your name, so the vault knows whose records these are."));
        fill(page, QStringLiteral("Name"), QStringLiteral("Maya Chen"));
        choose(page, QStringLiteral("Degree"), QStringLiteral("NP"));
        fill(page, QStringLiteral("NPI"), QStringLiteral("1234567890"));
        QVERIFY(press(page, QStringLiteral("Create vault")));
        QCOMPARE(errorText(page), QString::fromUtf8(kInvalidNPIMessage.data()));
        fill(page, QStringLiteral("NPI"), QStringLiteral("1234567893"));
        choose(page, QStringLiteral("Primary state"), QStringLiteral("TX"));
        fill(page, QStringLiteral("Other states"), QStringLiteral("ca, xx"));
        QVERIFY(press(page, QStringLiteral("Create vault")));
        QCOMPARE(errorText(page), QStringLiteral("'xx' isn't a state; use its two-letter code, like CA."));
        QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
        QLineEdit* otherStates = testing::field(page, QStringLiteral("Other states"));
        otherStates->clear();
        QTest::keyClicks(otherStates, QStringLiteral("ca"));
        QCOMPARE(errorText(page), QString());  // typing clears the problem shown
        testing::button(page, QStringLiteral("BLS card"))->setChecked(true);
        screenshot(window, "onboarding");
        QVERIFY(press(page, QStringLiteral("Create vault")));
        QCOMPARE(window.pageName(), QStringLiteral("today"));
        // Two licences without dates and three credentials without copies.
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), QStringLiteral("78"));
        QCOMPARE(window.todayPage()->headline(), QStringLiteral("Two licenses need their renewal dates."));
        window.close();
        delete windowOwner.release();  // the vault is open in one place at a time

        // The command line opens what the window made.
        const auto people = parseJSON(run(device, {"list", "people", "--json"}));
        QVERIFY(people.ok());
        QCOMPARE(people->asArray().size(), std::size_t{1});
        QCOMPARE(people->asArray()[0].find("name")->asString(), std::string("Maya Chen"));
        QCOMPARE(people->asArray()[0].find("npi")->asString(), std::string("1234567893"));
        const std::string credentials = run(device, {"list", "credentials"});
        QVERIFY(credentials.find("stateLicense\tTX") != std::string::npos);
        QVERIFY(credentials.find("stateLicense\tCA") != std::string::npos);
        QVERIFY(credentials.find("bls\t") != std::string::npos);
    }

    void aLicenceEditedChangesTheScoreOnToday() {
        Device device;
        MainWindow window(device.setup(), rules());
        QVERIFY(createVault(window, "Sam Patel", "MD", {"TX"}));
        QVERIFY(window.store()
                    .change([](VaultDocument& doc) {
                        doc.credentials[0].expiresOn = Day{2026, 12, 2};
                        doc.credentials[0].documentIds = {"scan"};
                        doc.cme.push_back(testing::activity(doc.people[0].id, "Grand rounds", std::nullopt,
                                                            Day{2026, 3, 2}, 20, "cat1"));
                    })
                    .ok());
        window.refresh();
        // Due in 10 days (12) with 28 of the 48 Texas hours missing (8) and no live copy (2).
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), QStringLiteral("78"));
        QCOMPARE(window.todayPage()->headline(), QStringLiteral("Two things need you this month."));
        screenshot(window, "today");

        QVERIFY(window.store()
                    .change([](VaultDocument& doc) {
                        doc.credentials[0].expiresOn = Day{2028, 11, 30};
                    })
                    .ok());
        window.refresh();
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), QStringLiteral("98"));
        QCOMPARE(window.todayPage()->headline(), QStringLiteral("One credential has no copy attached."));
    }

    // Nothing tracked is not a perfect score: Today says what to add first and takes the user there.
    void aNewVaultSaysWhatToAddFirst() {
        Device device;
        MainWindow window(device.setup(), rules());
        QVERIFY(createVault(window, "Ana Ruiz", "MD"));
        window.show();
        window.start();
        TodayPage* today = window.todayPage();
        QCOMPARE(today->scoreRing()->centreText(), QStringLiteral("–"));
        QCOMPARE(today->scoreRing()->share(), 0.0);
        QCOMPARE(today->headline(), QStringLiteral("Add a license to start tracking."));
        screenshot(window, "today-new-vault");
        QVERIFY(press(*today, QStringLiteral("Add a license")));
        QCOMPARE(window.pageName(), QStringLiteral("licenses"));
        auto* editor = window.findChild<CredentialEditor*>();
        QVERIFY(editor->isOpen() && editor->credentialId().isEmpty());
    }

    void lockingLeavesAnEmptyDocumentAndTheLastEditOnDisk() {
        Device device;
        auto windowOwner = std::make_unique<MainWindow>(device.setup(), rules());
        MainWindow& window = *windowOwner;
        QVERIFY(createVault(window, "Ana Ruiz", "RN"));
        QVERIFY(window.store().setAppLock(true).ok());
        window.show();
        window.refresh();
        QVERIFY(window.store().change([](VaultDocument& doc) { doc.people[0].specialty = "Emergency nursing"; }).ok());
        QVERIFY(window.store().hasPendingSave());

        const auto writesBefore = device.files.writeCount();
        window.showMinimized();
        QCOMPARE(window.pageName(), QStringLiteral("lock"));
        QVERIFY(window.store().doc().people.empty());
        QVERIFY(!window.store().hasPendingSave());
        QVERIFY(device.files.writeCount() > writesBefore);  // the edit went to disk as it locked

        window.showNormal();
        screenshot(window, "lock");
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("today"));
        QCOMPARE(window.store().doc().people.size(), std::size_t{1});
        window.close();
        delete windowOwner.release();

        // What the lock wrote is what another opening reads.
        VaultStore other(device.setup());
        QVERIFY(other.start().ok());
        QCOMPARE(other.phase(), VaultPhase::locked);
        QVERIFY(other.unlock().ok());
        QCOMPARE(other.doc().people.at(0).specialty, std::optional<std::string>("Emergency nursing"));
    }

    void aLockAskedForDuringALongTaskHappensWhenItEnds() {
        testing::ShownWindow window(testing::fillSampleVault);
        QVERIFY(window.store().setAppLock(true).ok());
        bool lockedAtOnce = true;
        QString pageMeanwhile;
        QTimer::singleShot(50, &window, [&] {
            lockedAtOnce = window.lockIfEnabled();
            window.lockIfEnabled();  // asked twice, still one lock
            pageMeanwhile = window.pageName();
        });
        const int answer = LongTask::run(&window, QStringLiteral("Working…"), [] {
            std::this_thread::sleep_for(400ms);
            return 42;
        });
        QCOMPARE(answer, 42);
        QVERIFY(!lockedAtOnce);
        QCOMPARE(pageMeanwhile, QStringLiteral("today"));
        QTRY_COMPARE_WITH_TIMEOUT(window.pageName(), QStringLiteral("lock"), 3000);
        QVERIFY(window.store().doc().people.empty());
    }

    void theLockScreenSaysWhatAFailedSaveOrUnlockMeans() {
        testing::ShownWindow window(testing::fillSampleVault);
        QVERIFY(window.store().setAppLock(true).ok());
        QVERIFY(
            window.store().change([](VaultDocument& doc) { doc.people[0].specialty = "Written on a full disk"; }).ok());
        window.device.files.failWritesAfter(0);
        QVERIFY(window.lockIfEnabled());
        QCOMPARE(window.pageName(), QStringLiteral("lock"));
        QVERIFY(window.store().doc().people.empty());
        QCOMPARE(window.lockPage()->noticeText(),
                 QStringLiteral("Your latest changes couldn't be saved to disk, so Corvale keeps them sealed and saves "
                                "them again when you unlock."));
        screenshot(window, "lock-unsaved");

        window.device.files.clearWriteFailures();
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("today"));
        QCOMPARE(window.store().doc().people.at(0).specialty, std::optional<std::string>("Written on a full disk"));
        QVERIFY(!window.store().lastSaveError());
        QVERIFY(window.lockIfEnabled());
        QCOMPARE(window.lockPage()->noticeText(), QString());

        // A wrong password is said; a prompt the user closed is not.
        window.device.authenticator.answer = AuthenticationResult::failed;
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("lock"));
        QCOMPARE(window.lockPage()->errorText(), QStringLiteral("That password isn't right, so try again."));
        window.device.authenticator.answer = AuthenticationResult::cancelled;
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("lock"));
        QCOMPARE(window.lockPage()->errorText(), QString());
        window.device.authenticator.answer = AuthenticationResult::passed;
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("today"));
    }

    // A problem appears without moving the button that was pressed, so a second press lands where the first did.
    void aProblemNeverMovesTheButtonThatRaisedIt() {
        testing::ShownWindow window;
        window.resize(1280, 800);
        const auto settle = [] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
            QTest::qWait(20);
        };
        const auto pressAndStay = [&](QWidget& where, const QString& name) {
            QAbstractButton* pressed = testing::button(where, name);
            QVERIFY2(pressed && pressed->isVisible(), qPrintable(name));
            settle();
            const QPoint before = pressed->mapTo(&window, QPoint());
            pressed->click();
            settle();
            QVERIFY2(pressed->isVisible() && pressed->mapTo(&window, QPoint()) == before, qPrintable(name + " moved"));
        };

        OnboardingPage& onboarding = *window.onboardingPage();
        pressAndStay(onboarding, QStringLiteral("Create vault"));
        QVERIFY(!errorText(onboarding).isEmpty());
        fill(onboarding, QStringLiteral("Name"), QStringLiteral("Ana Ruiz"));
        QVERIFY(press(onboarding, QStringLiteral("Create vault")));
        QCOMPARE(window.pageName(), QStringLiteral("today"));

        window.showScreen(QStringLiteral("licenses"));
        auto* licences = window.findChild<LicensesPage*>();
        licences->newCredential();
        auto* credential = licences->editor();
        testing::field(*credential, QStringLiteral("Expires on"))->setText(QStringLiteral("someday"));
        pressAndStay(*credential, QStringLiteral("Save"));
        QVERIFY(!credential->errorFor(QStringLiteral("Expires on")).isEmpty());
        credential->cancel();

        window.showScreen(QStringLiteral("cme"));
        auto* cme = window.findChild<CMEPage*>();
        cme->logActivity();
        pressAndStay(*cme->editor(), QStringLiteral("Save"));
        cme->editor()->cancel();

        window.showScreen(QStringLiteral("profile"));
        QWidget& profile = *window.findChild<ProfilePage*>();
        QVERIFY(press(profile, QStringLiteral("Add job")));
        testing::field(profile, QStringLiteral("Employer"))->setText(QStringLiteral("Seton"));
        testing::field(profile, QStringLiteral("From"))->setText(QStringLiteral("last spring"));
        pressAndStay(profile, QStringLiteral("Save job"));
        QVERIFY(!testing::problem(profile, QStringLiteral("Job problem")).isEmpty());

        window.showScreen(QStringLiteral("settings"));
        auto* settings = window.findChild<SettingsPage*>();
        QVERIFY(press(*settings, QStringLiteral("Export backup…")));
        testing::field(*settings, QStringLiteral("Backup passphrase"))->setText(QStringLiteral("short"));
        pressAndStay(*settings, QStringLiteral("Save backup…"));
        QVERIFY(!testing::problem(*settings, QStringLiteral("Backup problem")).isEmpty());

        QVERIFY(window.store().setAppLock(true).ok());
        QVERIFY(window.lockIfEnabled());
        window.device.authenticator.answer = AuthenticationResult::failed;
        pressAndStay(*window.lockPage(), QStringLiteral("Unlock Corvale"));
        QVERIFY(!window.lockPage()->errorText().isEmpty());
    }

    // While the window holds the vault it reminds, once a day, and the command-line timer gives way.
    void theOpenWindowRemindsOnceADay() {
        Device device;
        RecordingNotifier notifier;
        MainWindow window(device.setup(), rules());
        window.setNotifier(&notifier);
        testing::fillSampleVault(window.store());
        window.show();
        window.start();
        QTRY_COMPARE(window.pageName(), QStringLiteral("today"));
        QVERIFY(!notifier.sent.empty());
        QVERIFY(std::any_of(notifier.sent.begin(), notifier.sent.end(), [](const Notification& n) {
            return n.summary == "California license" && n.body.find("January 31, 2027") != std::string::npos;
        }));
        const auto first = notifier.sent.size();
        window.refresh();
        QCOMPARE(notifier.sent.size(), first);
        QCOMPARE(QString::fromStdString(run(device, {"remind"})),
                 QStringLiteral("Corvale is open in a window; nothing sent from here.\n"));

        // A week on, with app lock on: the 7-day mark goes out, without what or whose.
        QVERIFY(window.store().setAppLock(true).ok());
        device.clock.advance(std::chrono::days(16));
        window.refresh();
        QCOMPARE(notifier.sent.size(), first + 1);
        QCOMPARE(notifier.sent.back().summary, std::string("Something in Corvale needs your attention"));
        window.refresh();
        QCOMPARE(notifier.sent.size(), first + 1);
    }

    // A corvale:// link (a clicked reminder, a calendar event) opens its record wherever the window stands.
    void aLinkOpensItsRecordWhereverTheWindowStands() {
        testing::ShownWindow shown(testing::fillSampleOffice);
        MainWindow& window = shown.window;
        QTRY_COMPARE(window.pageName(), QStringLiteral("today"));
        const VaultDocument& doc = window.store().doc();
        // Copied: locking empties the document these come from.
        const QString otherId = QString::fromStdString(
            std::find_if(doc.credentials.begin(), doc.credentials.end(), [&](const Credential& c) {
                return c.personId != doc.people[0].id;
            })->id);
        const QString credentialLink = QStringLiteral("corvale://credential/") + otherId;
        const QString activityId = QString::fromStdString(doc.cme.at(0).id);

        // Narrowed to one person, a link to another's record widens the view to take it in.
        QComboBox* switcher = window.personSwitcher();
        switcher->setCurrentIndex(switcher->findData(QString::fromStdString(doc.people.at(0).id)));
        QVERIFY(window.store().scopePersonId().has_value());
        window.openLink(credentialLink);
        QCOMPARE(window.pageName(), QStringLiteral("licenses"));
        QCOMPARE(window.licensesPage()->editor()->credentialId(), otherId);
        QVERIFY(!window.store().scopePersonId().has_value());

        window.openLink(QStringLiteral("corvale://activity/") + activityId);
        QCOMPARE(window.pageName(), QStringLiteral("cme"));
        QCOMPARE(window.cmePage()->editor()->activityId(), activityId);
        window.openLink(QStringLiteral("corvale://today"));
        QCOMPARE(window.pageName(), QStringLiteral("today"));

        // What can't be followed is said, and the window stays where it was.
        window.openLink(QStringLiteral("corvale://credential/no-such-record"));
        QCOMPARE(window.statusText(), QStringLiteral("That credential is no longer in the vault."));
        window.openLink(QStringLiteral("corvale://credential/../../etc"));
        QVERIFY(window.statusText().contains(QStringLiteral("isn't a link to anything in the vault")));
        QCOMPARE(window.pageName(), QStringLiteral("today"));

        // Locked, the link waits behind the lock screen and is followed once unlocked.
        QVERIFY(window.store().setAppLock(true).ok());
        QVERIFY(window.lockIfEnabled());
        window.openLink(credentialLink);
        QCOMPARE(window.pageName(), QStringLiteral("lock"));
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("licenses"));
        QCOMPARE(window.licensesPage()->editor()->credentialId(), otherId);
        QVERIFY(window.store().setAppLock(false).ok());

        // A second window started on a link hands it to the one holding the vault and goes.
        window.showScreen(QStringLiteral("today"));
        MainWindow second(shown.device.setup(), rules());
        second.openLink(QStringLiteral("corvale://activity/") + activityId);
        second.show();
        second.start();
        QTRY_VERIFY(!second.isVisible());
        QTRY_COMPARE(window.pageName(), QStringLiteral("cme"));
        QCOMPARE(window.cmePage()->editor()->activityId(), activityId);
    }

    // The report shows whoever is in view, as it prints, and saves the PDF the command line writes.
    void theReportShowsWhoIsInViewAndSavesItsPdf() {
        testing::ShownWindow shown(testing::fillSampleOffice);
        MainWindow& window = shown.window;
        QTRY_COMPARE(window.pageName(), QStringLiteral("today"));
        window.showScreen(QStringLiteral("report"));
        QCOMPARE(window.pageName(), QStringLiteral("report"));
        ReportPage* report = window.reportPage();
        const VaultDocument& doc = window.store().doc();
        for (const auto& person : doc.people) QVERIFY(report->previewText().contains(QString::fromStdString(person.name)));
        screenshot(window, "report-everyone");

        // One person chosen: their every credential, and no one else.
        const Person& chosen = doc.people.at(1);
        const QString name = QString::fromStdString(chosen.name);
        QComboBox* switcher = window.personSwitcher();
        switcher->setCurrentIndex(switcher->findData(QString::fromStdString(chosen.id)));
        std::vector<const Credential*> held;
        for (const auto& credential : doc.credentials)
            if (!credential.deleted && credential.personId == chosen.id) held.push_back(&credential);
        QVERIFY(!held.empty());
        const QString preview = report->previewText();
        for (const auto& title : distinctTitles(held)) QVERIFY2(preview.contains(QString::fromStdString(title)), title.c_str());
        for (const auto& person : doc.people)
            if (person.id != chosen.id) QVERIFY(!preview.contains(QString::fromStdString(person.name)));

        QTemporaryDir disk;
        const QString path = disk.filePath(QStringLiteral("report.pdf"));
        report->answerNextFileDialog(path);
        QTest::mouseClick(report->saveButton(), Qt::LeftButton);
        QFile saved(path);
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QVERIFY(saved.read(5) == "%PDF-");
        QVERIFY(window.statusText().startsWith(QStringLiteral("Report saved as report.pdf")));
        const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
        if (!pdftotext.isEmpty()) {
            QProcess reader;
            reader.start(pdftotext, {path, QStringLiteral("-")});
            QVERIFY(reader.waitForFinished(30000));
            const QString printed = QString::fromUtf8(reader.readAllStandardOutput()).simplified();
            QVERIFY(printed.contains(QStringLiteral("Readiness report: ") + name));
            for (const Credential* credential : held)
                if (credential->number) QVERIFY(printed.contains(QString::fromStdString(*credential->number)));
        }

        // A folder that isn't there: said under the button, and nothing written.
        const QString nowhere = disk.filePath(QStringLiteral("missing/report.pdf"));
        QVERIFY(!report->saveTo(nowhere));
        QVERIFY(report->errorText().startsWith(QStringLiteral("The report couldn't be written to ")));
        QVERIFY(!QFileInfo::exists(nowhere));

        // Locked, the screen keeps no record text behind the lock.
        QVERIFY(window.store().setAppLock(true).ok());
        QVERIFY(window.lockIfEnabled());
        QVERIFY(report->previewText().isEmpty());
    }

    // A calendar app subscribed to the kept file sees each change, and only real ones rewrite it.
    void aKeptCalendarFollowsEveryChange() {
        QTemporaryDir disk;
        const QString calendar = disk.filePath("renewals.ics");
        Device device;
        MainWindow window(device.setup(), rules());
        testing::fillSampleVault(window.store());
        QVERIFY(window.store().prefs().set(Prefs::kCalendarFile, JSONValue(calendar.toStdString())).ok());
        window.show();
        window.start();
        QTRY_COMPARE(window.pageName(), QStringLiteral("today"));
        QVERIFY(testing::readFile(calendar).contains("SUMMARY:BLS card expires\r\n"));
        const QDateTime written = QFileInfo(calendar).lastModified();
        QTest::qWait(20);
        window.refresh();  // nothing changed: the file stays as it was
        QCOMPARE(QFileInfo(calendar).lastModified(), written);
        QVERIFY(window.store().change([](VaultDocument& doc) {
            for (auto& credential : doc.credentials)
                if (credential.kind == "bls") credential.expiresOn = Day{2028, 12, 31};
        }).ok());
        window.refresh();
        QVERIFY(testing::readFile(calendar).contains("DTSTART;VALUE=DATE:20281231\r\n"));
    }

    void everyStartFailureIsSaidWithWhatCanBeDone() {
        Device device;
        QTemporaryDir disk;
        const std::filesystem::path backup = disk.filePath(QStringLiteral("Corvale Backup.pbbackup")).toStdString();
        QVERIFY(device.files.createDirectories("/sync/Corvale").ok());
        {
            VaultStore store(device.setup());
            testing::fillSampleVault(store);
            QVERIFY(store.exportBackup("backup passphrase", backup).ok());
            // What another device would bring to join with.
            QVERIFY(store.exportKeyFile("/sync/Corvale/vault.key", "correct horse battery").ok());
        }
        testing::copyFile(device.files, "/support/Corvale/Vault/vault.pbv", device.files, "/sync/Corvale/vault.pbv");
        const auto opened = [&](MainWindow& window) { return window.pageName() == QStringLiteral("today"); };
        StartProblemPage* problem = nullptr;

        // A keyring left locked: said as locked, never as "no vault", and a retry opens.
        {
            device.secrets.failNext(1, 2, SecretStoreFailure::Kind::locked);
            testing::StartedWindow window(device);
            problem = window.startProblemPage();
            QCOMPARE(window.pageName(), QStringLiteral("problem"));
            QCOMPARE(problem->message(), QStringLiteral("Your keyring is locked, so unlock it and try again."));
            QVERIFY(!problem->restoreButton()->isVisibleTo(problem));
            QVERIFY(!problem->eraseButton()->isVisibleTo(problem));
            QTest::mouseClick(problem->retryButton(), Qt::LeftButton);
            QVERIFY(opened(window));
        }
        // Open in another window: said, and a retry once it has closed.
        {
            auto other = std::make_unique<VaultStore>(device.setup());
            QVERIFY(other->start().ok());
            testing::StartedWindow window(device);
            QCOMPARE(window.pageName(), QStringLiteral("problem"));
            QCOMPARE(window.startProblemPage()->message().toStdString(), VaultError::inUse().message());
            // A command line holds it, not a window: there is nothing to bring forward.
            QVERIFY(!window.startProblemPage()->forwardButton()->isVisibleTo(window.startProblemPage()));
            other.reset();
            QTest::mouseClick(window.startProblemPage()->retryButton(), Qt::LeftButton);
            QVERIFY(opened(window));
        }
        // Open in another Corvale window: that window comes forward and this one gives way.
        {
            testing::StartedWindow holder(device);
            QVERIFY(opened(holder));
            QSignalSpy raised(holder.beacon(), &WindowBeacon::raiseRequested);
            testing::StartedWindow window(device);
            QCOMPARE(window.pageName(), QStringLiteral("problem"));
            QPushButton* forward = window.startProblemPage()->forwardButton();
            QVERIFY(forward->isVisibleTo(window.startProblemPage()));
            QCOMPARE(window.focusWidget(), forward);
            QTest::mouseClick(forward, Qt::LeftButton);
            QCOMPARE(raised.count(), 1);
            QVERIFY(!window.isVisible());
            QVERIFY(holder.isVisible());
        }
        // A damaged vault file: joining replaces it, but only with a vault its key file opens...
        const std::filesystem::path vaultFile = "/support/Corvale/Vault/vault.pbv";
        Bytes damaged = device.files.readFile(vaultFile).value();
        damaged[damaged.size() / 2] ^= 0x5a;
        QVERIFY(device.files.replaceFileAtomically(vaultFile, damaged).ok());
        {
            testing::StartedWindow window(device);
            QCOMPARE(window.pageName(), QStringLiteral("problem"));
            QTest::mouseClick(window.startProblemPage()->joinButton(), Qt::LeftButton);
            OnboardingPage& page = *window.onboardingPage();
            QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
            QCOMPARE(page.way(), OnboardingPage::Way::join);
            submit(page, QStringLiteral("/sync/Corvale"), QStringLiteral("wrong passphrase"));
            QCOMPARE(errorText(page), QStringLiteral("That passphrase doesn't unlock this vault."));
            QCOMPARE(device.files.readFile(vaultFile).value(), damaged);
            submit(page, QStringLiteral("/sync/Corvale"), QStringLiteral("correct horse battery"));
            QVERIFY(opened(window));
        }
        // ...and so does a restore, with a backup that opens.
        QVERIFY(device.files.replaceFileAtomically(vaultFile, damaged).ok());
        {
            testing::StartedWindow window(device);
            problem = window.startProblemPage();
            QCOMPARE(window.pageName(), QStringLiteral("problem"));
            QCOMPARE(problem->message().toStdString(), VaultError::damaged().message());
            QVERIFY(problem->retryButton()->isVisibleTo(problem));
            QVERIFY(problem->restoreButton()->isVisibleTo(problem));
            QVERIFY(problem->eraseButton()->isVisibleTo(problem));
            screenshot(window, "start-damaged");
            QTest::mouseClick(problem->restoreButton(), Qt::LeftButton);
            OnboardingPage& page = *window.onboardingPage();
            QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
            QCOMPARE(page.way(), OnboardingPage::Way::restore);
            submit(page, QString::fromStdString(backup.string()), QStringLiteral("not it"));
            QCOMPARE(errorText(page), QStringLiteral("That passphrase doesn't unlock this vault."));
            QCOMPARE(device.files.readFile(vaultFile).value(), damaged);
            submit(page, QString::fromStdString(backup.string()), QStringLiteral("backup passphrase"));
            QVERIFY(opened(window));
            QCOMPARE(window.store().doc().people.at(0).name, std::string("Maya Chen"));
        }
        // With app lock on the damage shows only at unlock, and it gets the same ways on.
        const auto setAppLock = [&](bool on) {
            Prefs prefs(device.files, device.setup().prefsFile);
            prefs.load();
            return prefs.setFlag(Prefs::kAppLock, on).ok();
        };
        QVERIFY(setAppLock(true));
        QVERIFY(device.files.replaceFileAtomically(vaultFile, damaged).ok());
        {
            testing::StartedWindow window(device);
            QCOMPARE(window.pageName(), QStringLiteral("lock"));
            QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
            problem = window.startProblemPage();
            QCOMPARE(window.pageName(), QStringLiteral("problem"));
            QCOMPARE(problem->message().toStdString(), VaultError::damaged().message());
            QVERIFY(problem->restoreButton()->isVisibleTo(problem));
            QTest::mouseClick(problem->retryButton(), Qt::LeftButton);
            QCOMPARE(window.pageName(), QStringLiteral("lock"));
            QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
            QTest::mouseClick(window.startProblemPage()->restoreButton(), Qt::LeftButton);
            OnboardingPage& page = *window.onboardingPage();
            QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
            submit(page, QString::fromStdString(backup.string()), QStringLiteral("backup passphrase"));
            QVERIFY(opened(window));
        }
        QVERIFY(setAppLock(false));
        // The key gone but the vault file here: onboarding says so and offers only joining or restoring.
        QVERIFY(device.secrets.remove(VaultKeychain::service(), std::string(VaultKeychain::kAccount)).ok());
        testing::StartedWindow window(device);
        OnboardingPage& page = *window.onboardingPage();
        QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
        QVERIFY(page.noticeText().startsWith(QStringLiteral("The vault key is missing from this device.")));
        QVERIFY(!page.createOffered());
        QCOMPARE(page.way(), OnboardingPage::Way::join);
        QVERIFY(!page.noticeText().contains(QStringLiteral("erase"), Qt::CaseInsensitive));
    }

    void anotherDeviceJoinsOrRestoresFromOnboarding() {
        Device first;
        // Backups are written to and read from the real disk, where the user chooses.
        QTemporaryDir disk;
        const std::filesystem::path backup = disk.filePath(QStringLiteral("Corvale Backup.pbbackup")).toStdString();
        {
            VaultStore store(first.setup());
            testing::fillSampleVault(store);
            QVERIFY(store.exportKeyFile("/support/Corvale/Vault/vault.key", "correct horse battery").ok());
            auto exported = store.exportBackup("backup passphrase", backup);
            if (!exported) QFAIL(exported.error().message().c_str());
        }

        // Joining: the vault folder with its key file, as a synced folder would bring it.
        Device second;
        testing::copyFile(first.files, "/support/Corvale/Vault/vault.pbv", second.files, "/sync/Corvale/vault.pbv");
        testing::copyFile(first.files, "/support/Corvale/Vault/vault.key", second.files, "/sync/Corvale/vault.key");
        {
            // A wrong passphrase here is refused as it is on the start problem's way in.
            testing::StartedWindow window(second);
            OnboardingPage& page = *window.onboardingPage();
            page.showWay(OnboardingPage::Way::join);
            submit(page, QStringLiteral("/sync/Corvale"), QStringLiteral("correct horse battery"));
            QCOMPARE(window.pageName(), QStringLiteral("today"));
            QCOMPARE(window.store().doc().people.at(0).name, std::string("Maya Chen"));
        }

        // Restoring: one backup file, and nothing written until its passphrase is right.
        testing::ShownWindow window;
        OnboardingPage& page = *window.onboardingPage();
        page.showWay(OnboardingPage::Way::restore);
        screenshot(window, "onboarding-restore");
        QVERIFY(press(page, QStringLiteral("Restore backup")));
        QCOMPARE(errorText(page), QStringLiteral("Choose the backup file to restore."));
        submit(page, QString::fromStdString(backup.string()), QStringLiteral("not it"));
        QCOMPARE(errorText(page), QStringLiteral("That passphrase doesn't unlock this vault."));
        QVERIFY(!window.device.files.exists("/support/Corvale/Vault/vault.pbv"));
        submit(page, QString::fromStdString(backup.string()), QStringLiteral("backup passphrase"));
        QCOMPARE(window.pageName(), QStringLiteral("today"));
        QCOMPARE(window.store().doc().credentials.size(), std::size_t{7});
        QCOMPARE(window.statusText(), QStringLiteral("Restored from the backup."));
    }

    void editsInProgressAreNeverDroppedSilently() {
        Device device;
        auto owner = std::make_unique<MainWindow>(device.setup(), rules());
        MainWindow& window = *owner;
        testing::fillSampleOffice(window.store());
        QVERIFY(window.store().setAppLock(true).ok());
        window.show();
        window.refresh();
        window.showScreen(QStringLiteral("licenses"));
        LicensesPage& licenses = *window.licensesPage();
        CredentialEditor& editor = *licenses.editor();
        const auto found =
            std::find_if(window.store().doc().credentials.begin(), window.store().doc().credentials.end(),
                         [](const Credential& c) { return !c.deleted && c.kind == "stateLicense"; });
        QVERIFY(found != window.store().doc().credentials.end());
        const std::string id = found->id;
        const auto numberNow = [&]() -> std::optional<std::string> {
            for (const auto& c : window.store().doc().credentials)
                if (c.id == id) return c.number;
            return std::nullopt;
        };
        const auto original = numberNow();

        // Switching person asks first; until the answer the switcher stays put.
        licenses.editCredential(QString::fromStdString(id));
        fill(editor, QStringLiteral("Number"), QStringLiteral("EDITED-1"));
        QComboBox* switcher = window.personSwitcher();
        switcher->setCurrentIndex(1);
        QVERIFY(editor.unsavedEdits()->isAsking());
        QCOMPARE(switcher->currentIndex(), 0);
        QVERIFY(!window.store().scopePersonId());
        QVERIFY(press(editor, QStringLiteral("Discard changes")));
        QVERIFY(window.store().scopePersonId());
        QCOMPARE(numberNow(), original);
        switcher->setCurrentIndex(0);

        // So does closing the window, which stays open meanwhile.
        licenses.editCredential(QString::fromStdString(id));
        fill(editor, QStringLiteral("Number"), QStringLiteral("EDITED-2"));
        QVERIFY(!window.close());
        QVERIFY(window.isVisible());
        QVERIFY(editor.unsavedEdits()->isAsking());
        QVERIFY(press(editor, QStringLiteral("Keep editing")));

        // A lock cannot wait: an edit that is complete is saved, and the lock writes it.
        QVERIFY(window.lockIfEnabled());
        QCOMPARE(window.pageName(), QStringLiteral("lock"));
        QVERIFY(!window.store().hasPendingSave());
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(numberNow(), std::optional<std::string>("EDITED-2"));
        QVERIFY(!window.statusText().contains(QStringLiteral("wasn't complete")));

        // One that is not is dropped, and the user hears of it once the vault is open again.
        window.showScreen(QStringLiteral("licenses"));
        licenses.editCredential(QString::fromStdString(id));
        fill(editor, QStringLiteral("Number"), QStringLiteral("EDITED-3"));
        fill(editor, QStringLiteral("Expires on"), QStringLiteral("2027-02-30"));
        QVERIFY(window.lockIfEnabled());
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(numberNow(), std::optional<std::string>("EDITED-2"));
        QCOMPARE(
            window.statusText(),
            QStringLiteral("An edit wasn't complete when Corvale locked, so it wasn't saved; please enter it again."));

        // Discarding lets the window close.
        window.showScreen(QStringLiteral("licenses"));
        licenses.editCredential(QString::fromStdString(id));
        fill(editor, QStringLiteral("Number"), QStringLiteral("EDITED-4"));
        QVERIFY(!window.close());
        QVERIFY(press(editor, QStringLiteral("Discard changes")));
        QVERIFY(!window.isVisible());
        delete owner.release();

        VaultStore other(device.setup());
        QVERIFY(other.start().ok());
        QVERIFY(other.unlock().ok());
        const auto stored = std::find_if(other.doc().credentials.begin(), other.doc().credentials.end(),
                                         [&](const Credential& c) { return c.id == id; });
        QCOMPARE(stored->number, std::optional<std::string>("EDITED-2"));
    }

    void quittingLeavesNoPlainCopyBehindEvenWithoutAppLock() {
        Device device;
        auto owner = std::make_unique<MainWindow>(device.setup(), rules());
        testing::fillSampleVault(owner->store());
        const auto added = owner->store().addDocument(asBytes("%PDF-1.4 licence"), DocumentRecord{});
        QVERIFY(added.ok());
        const auto copy = owner->store().temporaryFile(added->id);
        QVERIFY(copy.ok());
        QVERIFY(std::filesystem::exists(*copy));
        QVERIFY(!owner->lockIfEnabled());  // app lock off: nothing else clears it
        QVERIFY(std::filesystem::exists(*copy));
        owner.reset();
        QVERIFY(!std::filesystem::exists(*copy));
    }

    void anOfficeSwitchesBetweenPeopleWithTheirScores() {
        testing::ShownWindow window(testing::fillSampleOffice);
        // Everyone's cycles on Today say whose they are.
        const auto todaySays = [&](const QString& start) {
            const auto labels = window.todayPage()->findChildren<QLabel*>();
            return std::any_of(labels.begin(), labels.end(), [&](const QLabel* l) { return l->text().startsWith(start); });
        };
        QVERIFY(todaySays(QStringLiteral("Texas · Jordan Reyes · ")));
        QVERIFY(todaySays(QStringLiteral("Texas · Priya Natarajan · ")));
        QComboBox* switcher = window.personSwitcher();
        QVERIFY(switcher->isVisibleTo(&window));
        QCOMPARE(switcher->count(), 4);
        // No blended number for everyone: each person has their own, worst first.
        QCOMPARE(switcher->itemText(0), QStringLiteral("Everyone"));
        const auto scoreOf = [&](int row) { return switcher->itemText(row).section(QStringLiteral(" · "), 1).toInt(); };
        QVERIFY(scoreOf(1) <= scoreOf(2) && scoreOf(2) <= scoreOf(3));
        QVERIFY(scoreOf(1) < scoreOf(3));
        const int jordanRow = switcher->findText(QStringLiteral("Jordan Reyes · "), Qt::MatchStartsWith);
        QVERIFY(jordanRow > 0);
        // Today lists the same scores, and its ring is the one who needs help most.
        const QString everyone = window.todayPage()->scoreRing()->centreText();
        QCOMPARE(everyone, QString::number(scoreOf(1)));
        screenshot(window, "today-everyone");
        for (int row = 1; row < switcher->count(); ++row)
            QVERIFY(todaySays(switcher->itemText(row).section(QStringLiteral(" · "), 0, 0)));
        QVERIFY(press(*window.todayPage(), QStringLiteral("Show Jordan Reyes's records")));
        QCOMPARE(switcher->currentIndex(), jordanRow);
        switcher->setCurrentIndex(0);

        switcher->setCurrentIndex(jordanRow);
        QCOMPARE(window.store().scopePersonId(),
                 std::optional<std::string>(switcher->itemData(jordanRow).toString().toStdString()));
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), QString::number(scoreOf(jordanRow)));
        QVERIFY(QString::number(scoreOf(jordanRow)) != everyone);
        screenshot(window, "today-office");

        switcher->setCurrentIndex(0);
        QVERIFY(!window.store().scopePersonId());
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), everyone);

        // Someone who only manages the others is not scored, there or on their own.
        Person manager;
        manager.id = "manager";
        manager.name = "Sam Ortiz";
        manager.setManagesOthersOnly(true);
        QVERIFY(window.store().change([&](VaultDocument& doc) { doc.people.push_back(manager); }).ok());
        window.refresh();
        QCOMPARE(switcher->count(), 5);
        QCOMPARE(switcher->itemText(4), QStringLiteral("Sam Ortiz · manages others"));
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), everyone);
        QVERIFY(!todaySays(QStringLiteral("Sam Ortiz")));
        switcher->setCurrentIndex(4);
        QCOMPARE(window.todayPage()->headline(), QStringLiteral("Nothing of yours to score."));
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), QStringLiteral("–"));
        switcher->setCurrentIndex(0);

        // A personal vault has no one to switch between.
        Device single;
        MainWindow own(single.setup(), rules());
        testing::fillSampleVault(own.store());
        own.refresh();
        QVERIFY(!own.personSwitcher()->isVisibleTo(&own));
    }

    void appLockClosesTheVaultAfterIdleTimeAndWhenTheSessionLocks() {
        testing::ShownWindow window(testing::fillSampleVault);
        QCOMPARE(window.idleLockDelay(), std::chrono::milliseconds{0});  // app lock off: nothing to wait for

        QVERIFY(window.store().setAppLock(true).ok());
        window.refresh();
        QCOMPARE(window.idleLockDelay(), std::chrono::milliseconds{15 * 60'000});
        QVERIFY(window.store().prefs().set(Prefs::kIdleLockMinutes, JSONValue(0.01)).ok());  // 600 ms
        window.refresh();
        QCOMPARE(window.idleLockDelay(), std::chrono::milliseconds{600});
        // Input keeps it open...
        for (int i = 0; i < 8; ++i) {
            QTest::qWait(150);
            QTest::mouseMove(window.todayPage(), QPoint(100 + i, 100));
        }
        QCOMPARE(window.pageName(), QStringLiteral("today"));
        // ...and quiet closes it.
        QTRY_COMPARE_WITH_TIMEOUT(window.pageName(), QStringLiteral("lock"), 3000);
        QVERIFY(window.store().doc().people.empty());

        QVERIFY(window.store().prefs().set(Prefs::kIdleLockMinutes, JSONValue(0.0)).ok());
        QTest::mouseClick(window.lockPage()->unlockButton(), Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("today"));
        QCOMPARE(window.idleLockDelay(), std::chrono::milliseconds{0});

        // The desktop's screen saver coming on locks it too.
        auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("screen-saver"));
        if (!bus.isConnected()) QSKIP("no session bus here; run under dbus-run-session");
        auto signal =
            QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/ScreenSaver"),
                                       QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("ActiveChanged"));
        signal << true;
        QVERIFY(bus.send(signal));
        QTRY_COMPARE_WITH_TIMEOUT(window.pageName(), QStringLiteral("lock"), 3000);
        QDBusConnection::disconnectFromBus(QStringLiteral("screen-saver"));
    }

    void everyScreenIsReachableAndTodaysFixesOpenWhereTheyAreMended() {
        testing::ShownWindow window(testing::fillSampleOffice);
        QCOMPARE(window.pageName(), QStringLiteral("today"));
        screenshot(window, "window-today");

        // Every screen by keyboard, in sidebar order, each photographed in the whole window.
        const QStringList& names = testing::screenNames();
        for (int row = 0; row < names.size(); ++row) {
            QTest::keyClick(&window, static_cast<Qt::Key>(Qt::Key_1 + row), Qt::ControlModifier);
            QCOMPARE(window.pageName(), names[row]);
            if (row > 0) screenshot(window, qPrintable(QStringLiteral("window-") + names[row]));
        }

        // Today's "Log CME" opens the CME screen with an activity started for that licence.
        QTest::keyClick(&window, Qt::Key_1, Qt::ControlModifier);
        QAbstractButton* logCME = nullptr;
        for (auto* candidate : window.todayPage()->findChildren<QAbstractButton*>())
            if (candidate->accessibleName().startsWith(QStringLiteral("Log CME: "))) logCME = candidate;
        QVERIFY(logCME);
        QTest::mouseClick(logCME, Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("cme"));
        QVERIFY(window.cmePage()->editor()->isVisible());
        // The gap's open topics are suggested; none is ticked for the user.
        QVERIFY(window.cmePage()->editor()->tickedTopics().isEmpty());

        // "Renew" opens the licence's editor with a renewal proposed.
        QTest::keyClick(&window, Qt::Key_1, Qt::ControlModifier);
        auto* renew = testing::button(*window.todayPage(), QStringLiteral("Renew: Texas license expires in 23 days"));
        QVERIFY(renew);
        QTest::mouseClick(renew, Qt::LeftButton);
        QCOMPARE(window.pageName(), QStringLiteral("licenses"));
        QVERIFY(window.licensesPage()->editor()->isVisible());
        screenshot(window, "window-licenses-renew");
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::MainWindowTest)
#include "MainWindowTest.moc"

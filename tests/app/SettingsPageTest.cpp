#include "AppTestSupport.h"
#include "app/SettingsPage.h"
#include "app/Theme.h"
#ifndef Q_MOC_RUN
#include "platform/ReminderTimer.h"
#endif

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace corvale::app {

using namespace std::chrono_literals;
using testing::canPress;
using testing::field;
using testing::list;
using testing::named;
using testing::OpenVault;
using testing::press;
using testing::problem;

namespace {

void typePassphrase(QWidget& page, const QString& subject, const QString& first, const QString& second) {
    field(page, subject + " passphrase")->setText(first);
    field(page, "Repeat " + subject.toLower() + " passphrase")->setText(second);
}

}  // namespace

class SettingsPageTest : public QObject {
    Q_OBJECT

private slots:
    void reminderDaysAreTidiedAndNonsenseIsTurnedAway() {
        OpenVault vault(testing::fillSampleVault);
        SettingsPage page(vault.context);
        QSignalSpy changed(&page, &Screen::recordsChanged);
        QLineEdit* days = field(page, "Reminder days");
        QCOMPARE(days->text(), QStringLiteral("90, 30, 7"));
        QCOMPARE(list(page, "Primary state")->currentData().toString(), QStringLiteral("TX"));
        QCOMPARE(list(page, "Profession")->currentData().toString(), QStringLiteral("md"));
        QVERIFY(!canPress(page, "Save reminders"));

        const std::string before = encodeVaultDocument(vault.store.doc());
        const std::pair<const char*, const char*> rejected[] = {
            {"30, soon", "“soon” isn't a whole number of days, so use numbers like 90, 30, 7."},
            {"30, 2.5", "“2.5” isn't a whole number of days, so use numbers like 90, 30, 7."},
            {"0", "0 isn't from 1 to 365 days, so pick a lead time within a year."},
            {"400, 30", "400 isn't from 1 to 365 days, so pick a lead time within a year."},
            {" , ", "There are no reminder days, so enter at least one, like 90, 30, 7."},
        };
        for (const auto& [typed, message] : rejected) {
            days->setText(typed);
            QVERIFY(press(page, "Save reminders"));
            QCOMPARE(problem(page, "Reminders problem"), QString::fromUtf8(message));
        }
        QCOMPARE(encodeVaultDocument(vault.store.doc()), before);
        QCOMPARE(changed.count(), 0);

        vault.device.clock.advance(24h);
        days->setText("7, 30 ,90 30;14");
        QComboBox* profession = list(page, "Profession");
        QVERIFY(profession->findText("LPN/LVN") >= 0);
        QCOMPARE(profession->itemData(profession->findText("LPN/LVN")).toString(), QStringLiteral("lpn"));
        profession->setCurrentIndex(profession->findData("np"));
        list(page, "Primary state")->setCurrentIndex(list(page, "Primary state")->findData("CA"));
        QVERIFY(press(page, "Save reminders"));
        const VaultSettings& settings = vault.store.doc().settings;
        QCOMPARE(settings.reminderDays, (std::vector<int>{90, 30, 14, 7}));
        QCOMPARE(settings.profession, std::optional<std::string>("np"));
        QCOMPARE(settings.primaryState, std::optional<std::string>("CA"));
        QCOMPARE(settings.updatedAt, Timestamp::now(vault.device.clock));
        QCOMPARE(days->text(), QStringLiteral("90, 30, 14, 7"));
        QCOMPARE(problem(page, "Reminders problem"), QString());
        QVERIFY(!canPress(page, "Save reminders"));
        QCOMPARE(changed.count(), 1);

        // "None" clears the state rather than storing a blank one.
        list(page, "Primary state")->setCurrentIndex(0);
        QVERIFY(press(page, "Save reminders"));
        QCOMPARE(vault.store.doc().settings.primaryState, std::nullopt);
    }

    void aSwitchRemindsWhileCorvaleIsClosed() {
        OpenVault vault(testing::fillSampleVault);
        std::vector<std::string> ran;
        ReminderTimer timer(vault.device.files, "/config", [&](const std::vector<std::string>& command) {
            ran.push_back(command.back());
            return true;
        });
        {
            SettingsPage without(vault.context);
            QVERIFY(!named<QCheckBox>(without, "Remind when closed")->isVisibleTo(&without));
        }
        vault.context.reminderTimer = &timer;
        vault.context.remindProgram = "/usr/bin/corvale";
        SettingsPage page(vault.context);
        QSignalSpy notified(&page, &Screen::notify);
        auto* remind = named<QCheckBox>(page, "Remind when closed");
        QVERIFY(remind->isVisibleTo(&page) && !remind->isChecked());
        remind->click();
        QCOMPARE(timer.installed(), ReminderTimer::Kind::systemd);
        QCOMPARE(ran.back(), std::string("corvale-remind.timer"));
        QCOMPARE(notified.last().at(0).toString(),
                 QStringLiteral("Corvale will remind you from 8:00 each day and after you log in, even when it is closed."));
        // The switch reads what is there when the page is shown again.
        SettingsPage again(vault.context);
        QVERIFY(named<QCheckBox>(again, "Remind when closed")->isChecked());
        remind->click();
        QCOMPARE(timer.installed(), ReminderTimer::Kind::none);
        QCOMPARE(notified.last().at(0).toString(), QStringLiteral("Corvale reminds you only while it is open."));

        // The weekly review: off until turned on, its day and hour kept as chosen.
        auto* day = named<QComboBox>(page, "Weekly review day");
        QVERIFY(!named<QCheckBox>(page, "Weekly review")->isChecked() && !day->isEnabled());
        named<QCheckBox>(page, "Weekly review")->click();
        QVERIFY(day->isEnabled());
        day->setCurrentIndex(day->findData(6));  // Friday
        named<QComboBox>(page, "Weekly review hour")->setCurrentIndex(17);
        const Prefs& prefs = vault.store.prefs();
        QVERIFY(prefs.flag(Prefs::kWeeklyReview));
        QCOMPARE(prefs.integer(Prefs::kWeeklyReviewWeekday, 0), 6);
        QCOMPARE(prefs.integer(Prefs::kWeeklyReviewHour, 0), 17);
        SettingsPage later(vault.context);
        QCOMPARE(named<QComboBox>(later, "Weekly review day")->currentData().toInt(), 6);

        // The calendar saved where the user chose, and kept there once asked.
        QTemporaryDir disk;
        const QString calendar = disk.filePath("renewals.ics");
        QVERIFY(!named<QCheckBox>(later, "Keep calendar up to date")->isEnabled());
        later.setNextFileChoice(calendar);
        QVERIFY(press(later, "Save calendar…"));
        const QByteArray events = testing::readFile(calendar);
        QVERIFY(events.startsWith("BEGIN:VCALENDAR\r\n"));
        QVERIFY(events.contains("SUMMARY:California license expires\r\n"));
        named<QCheckBox>(later, "Keep calendar up to date")->click();
        QCOMPARE(prefs.value(Prefs::kCalendarFile)->asString(), calendar.toStdString());
        named<QCheckBox>(later, "Keep calendar up to date")->click();
        QVERIFY(prefs.value(Prefs::kCalendarFile)->isNull());
        QCOMPARE(named<QComboBox>(later, "Weekly review hour")->currentData().toInt(), 17);
    }

    void appLockAsksTheOwnerAndARefusalLeavesItAsItWas() {
        OpenVault vault(testing::fillSampleVault);
        SettingsPage page(vault.context);
        QSignalSpy idle(&page, &SettingsPage::idleLockChanged);
        auto& authenticator = vault.device.authenticator;
        auto* appLock = named<QCheckBox>(page, "App lock");
        QComboBox* minutes = list(page, "Lock after idle");
        QVERIFY(!appLock->isChecked());
        QVERIFY(!minutes->isEnabled());
        QCOMPARE(minutes->currentData().toInt(), 15);

        authenticator.answer = AuthenticationResult::failed;
        appLock->click();
        QCOMPARE(authenticator.reasons.back(), std::string("Turn on app lock"));
        QVERIFY(!appLock->isChecked());
        QVERIFY(!vault.store.prefs().flag(Prefs::kAppLock));
        QCOMPARE(problem(page, "Privacy problem"),
                 QStringLiteral("Your password wasn't confirmed, so app lock stays off."));
        QCOMPARE(idle.count(), 0);

        authenticator.answer = AuthenticationResult::passed;
        appLock->click();
        QVERIFY(appLock->isChecked());
        QVERIFY(vault.store.prefs().flag(Prefs::kAppLock));
        QVERIFY(minutes->isEnabled());
        QCOMPARE(problem(page, "Privacy problem"), QString());
        QCOMPARE(idle.count(), 1);

        minutes->setCurrentIndex(minutes->findData(5));
        QCOMPARE(vault.store.prefs().value(Prefs::kIdleLockMinutes)->asNumber(), 5.0);
        QCOMPARE(idle.count(), 2);
        minutes->setCurrentIndex(minutes->findText("Never"));
        QCOMPARE(vault.store.prefs().idleLockMinutes(), 0.0);
        QCOMPARE(idle.count(), 3);
        page.reload();
        QCOMPARE(minutes->currentText(), QStringLiteral("Never"));
        QCOMPARE(idle.count(), 3);  // showing the saved value is no change

        authenticator.answer = AuthenticationResult::failed;
        appLock->click();
        QCOMPARE(authenticator.reasons.back(), std::string("Turn off app lock"));
        QVERIFY(appLock->isChecked());
        QVERIFY(vault.store.prefs().flag(Prefs::kAppLock));
        QCOMPARE(problem(page, "Privacy problem"),
                 QStringLiteral("Your password wasn't confirmed, so app lock stays on."));

        authenticator.answer = AuthenticationResult::unavailable;
        appLock->click();
        QVERIFY(!vault.store.prefs().flag(Prefs::kAppLock));
        QVERIFY(!minutes->isEnabled());
        QCOMPARE(idle.count(), 4);
    }

    void aBackupRestoresTheVaultAsItWasAndABadOneChangesNothing() {
        QTemporaryDir disk;  // archives are files a person carries off this computer
        QVERIFY(disk.isValid());
        const QString archive = disk.filePath("backup.pbbackup");
        OpenVault vault(testing::fillSampleVault);
        const auto scan = vault.store.addDocument(asBytes("licence scan"), DocumentRecord{});
        QVERIFY(scan.ok());
        SettingsPage page(vault.context);
        QSignalSpy phase(&page, &SettingsPage::phaseChanged);
        QCOMPARE(named<QLabel>(page, "Last backup")->text(),
                 QStringLiteral("No backup has been made on this computer yet."));

        QVERIFY(!named<QLineEdit>(page, "Backup passphrase")->isVisibleTo(&page));
        QVERIFY(press(page, "Export backup…"));
        typePassphrase(page, "Backup", "short", "short");
        QVERIFY(press(page, "Save backup…"));
        QCOMPARE(problem(page, "Backup problem"),
                 QStringLiteral("That passphrase is shorter than 8 characters, so choose a longer one."));
        typePassphrase(page, "Backup", "correct horse", "correct hearse");
        QVERIFY(press(page, "Save backup…"));
        QCOMPARE(problem(page, "Backup problem"),
                 QStringLiteral("The two passphrases differ, so type the same one in both fields."));
        QVERIFY(!QFile::exists(archive));

        typePassphrase(page, "Backup", "correct horse", "correct horse");
        page.setNextFileChoice(archive);
        QVERIFY(press(page, "Save backup…"));
        QCOMPARE(problem(page, "Backup problem"), QString());
        QVERIFY(QFile::exists(archive));
        QCOMPARE(named<QLabel>(page, "Last backup")->text(),
                 QStringLiteral("Last backup made November 22, 2026 (today)."));
        QVERIFY(vault.store.prefs().timestamp(Prefs::kLastBackup).has_value());
        QVERIFY(!named<QLineEdit>(page, "Backup passphrase")->isVisibleTo(&page));
        QVERIFY(named<QLineEdit>(page, "Backup passphrase")->text().isEmpty());  // no passphrase lingers

        // Changes after the backup, which the restore should undo.
        QVERIFY(vault.store
                    .change([](VaultDocument& doc) {
                        doc.people[0].specialty = "Hospital medicine";
                        doc.cme.clear();
                    })
                    .ok());
        const std::string changed = encodeVaultDocument(vault.store.doc());
        const auto check = [&](const QString& file, const QString& passphrase) {
            page.setNextFileChoice(file);
            QVERIFY(press(page, "Restore from backup…"));
            field(page, "Restore passphrase")->setText(passphrase);
            QVERIFY(press(page, "Check backup"));
        };

        check(archive, "correct hearse");
        QCOMPARE(problem(page, "Restore problem"), QStringLiteral("That passphrase doesn't unlock this vault."));
        QVERIFY(!canPress(page, "Replace with backup"));

        const QString notABackup = disk.filePath("holiday.pbbackup");
        testing::writeFile(notABackup, "PK but not really an archive");
        check(notABackup, "correct horse");
        QCOMPARE(problem(page, "Restore problem"), QStringLiteral("This file isn't a Corvale vault."));
        QVERIFY(!canPress(page, "Replace with backup"));
        QCOMPARE(vault.store.phase(), VaultPhase::ready);
        QCOMPARE(encodeVaultDocument(vault.store.doc()), changed);
        QCOMPARE(phase.count(), 0);

        check(archive, "correct horse");
        QCOMPARE(problem(page, "Restore problem"), QString());
        QVERIFY(canPress(page, "Replace with backup"));
        // The confirmation stands for the passphrase checked, not one typed since.
        field(page, "Restore passphrase")->setText("correct horsey");
        QVERIFY(!canPress(page, "Replace with backup"));
        field(page, "Restore passphrase")->setText("correct horse");
        QVERIFY(press(page, "Check backup"));
        QCOMPARE(encodeVaultDocument(vault.store.doc()), changed);  // nothing happens before the confirmation

        // The backup changes after its check: the restore refuses it and this vault stays open as it was.
        const QByteArray good = testing::readFile(archive);
        testing::writeFile(archive, "PK but not really an archive");
        QVERIFY(press(page, "Replace with backup"));
        QCOMPARE(problem(page, "Restore problem"), QStringLiteral("This file isn't a Corvale vault."));
        QVERIFY(!canPress(page, "Replace with backup"));
        QCOMPARE(vault.store.phase(), VaultPhase::ready);
        QCOMPARE(encodeVaultDocument(vault.store.doc()), changed);
        QCOMPARE(phase.count(), 0);
        testing::writeFile(archive, good);
        QVERIFY(press(page, "Check backup"));
        QVERIFY(press(page, "Replace with backup"));

        QCOMPARE(phase.count(), 1);
        QCOMPARE(vault.store.phase(), VaultPhase::ready);
        QCOMPARE(vault.store.doc().people.at(0).specialty, std::optional<std::string>("Internal medicine"));
        QCOMPARE(vault.store.doc().cme.size(), std::size_t{5});
        QVERIFY(vault.device.files.exists(vault.store.vaultDirectory() / "blobs" / (scan->blobHash + ".pbb")));
        QVERIFY(!canPress(page, "Replace with backup"));
    }

    void aKeyFileLetsAnotherDeviceJoinTheVault() {
        OpenVault vault(testing::fillSampleVault);
        const auto scan = vault.store.addDocument(asBytes("DEA certificate"), DocumentRecord{});
        QVERIFY(scan.ok());
        SettingsPage page(vault.context);
        QVERIFY(named<QLabel>(page, "Vault folder")->text().contains("/support/Corvale/Vault"));

        QVERIFY(press(page, "Export key file…"));
        typePassphrase(page, "Key file", "two devices", "two devicez");
        QVERIFY(press(page, "Save key file…"));
        QCOMPARE(problem(page, "Key file problem"),
                 QStringLiteral("The two passphrases differ, so type the same one in both fields."));
        typePassphrase(page, "Key file", "two devices", "two devices");
        const std::filesystem::path keyFile = "/tmp/corvale-app-test/vault.key";
        page.setNextFileChoice(QString::fromStdString(keyFile.string()));
        QVERIFY(press(page, "Save key file…"));
        QCOMPARE(problem(page, "Key file problem"), QString());
        QVERIFY(vault.device.files.exists(keyFile));
        QVERIFY(vault.store.flush().ok());

        // What the user carries across: the key file and the vault folder.
        testing::Device laptop;
        const std::filesystem::path carried = "/carried";
        const auto folder = vault.store.vaultDirectory();
        testing::copyFile(vault.device.files, keyFile, laptop.files, carried / "vault.key");
        testing::copyFile(vault.device.files, folder / "vault.pbv", laptop.files, carried / "vault.pbv");
        for (const auto& name : vault.device.files.list(folder / "blobs"))
            testing::copyFile(vault.device.files, folder / "blobs" / name, laptop.files, carried / "blobs" / name);

        // What the page wrote opens with the passphrase typed twice above.
        VaultStore joined(laptop.setup());
        QVERIFY(joined.join(carried, "two devices").ok());
        QCOMPARE(joined.phase(), VaultPhase::ready);
        QCOMPARE(encodeVaultDocument(joined.doc()), encodeVaultDocument(vault.store.doc()));
        QVERIFY(laptop.files.exists(joined.vaultDirectory() / "blobs" / (scan->blobHash + ".pbb")));
    }

    void erasingAsksOnceMoreThenLeavesADeviceWithoutAVault() {
        OpenVault vault(testing::fillSampleVault);
        SettingsPage page(vault.context);
        QSignalSpy phase(&page, &SettingsPage::phaseChanged);
        const auto document = vault.store.vaultDirectory() / "vault.pbv";

        QVERIFY(!canPress(page, "Erase now"));
        QVERIFY(press(page, "Erase this device…"));
        QVERIFY(!problem(page, "Erase warning").isEmpty());
        QVERIFY(press(page, "Keep my vault"));
        QVERIFY(!canPress(page, "Erase now"));
        QCOMPARE(vault.store.phase(), VaultPhase::ready);
        QVERIFY(vault.device.files.exists(document));

        QVERIFY(press(page, "Erase this device…"));
        QVERIFY(press(page, "Erase now"));
        QCOMPARE(phase.count(), 1);
        QCOMPARE(vault.store.phase(), VaultPhase::welcome);
        QVERIFY(vault.store.doc().people.empty());
        QVERIFY(!vault.device.files.exists(document));
        QCOMPARE(vault.device.secrets.itemCount(), std::size_t{0});
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::SettingsPageTest)
#include "SettingsPageTest.moc"

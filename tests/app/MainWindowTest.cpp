#include "AppTestSupport.h"
#include "app/LockPage.h"
#include "app/MainWindow.h"
#include "app/OnboardingPage.h"
#include "app/ProgressRing.h"
#include "app/TodayPage.h"
#include "cli/Commands.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "records/JSONReader.h"
#include "records/NPI.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <sstream>

namespace corvale::app {

using namespace std::chrono_literals;

using testing::Device;
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
        window.resize(1280, 800);
        QDir().mkpath(QStringLiteral(CORVALE_SCREENSHOT_DIR));
        QVERIFY(window.grab().save(QStringLiteral(CORVALE_SCREENSHOT_DIR "/%1.png").arg(QString::fromLatin1(name))));
    }

    static QString errorText(QWidget& page) {
        const auto* label = page.findChild<QLabel*>(QStringLiteral("error"));
        return label && label->isVisibleTo(&page) ? label->text() : QString();
    }

    static void fill(QWidget& page, const QString& accessibleName, const QString& text) {
        for (auto* edit : page.findChildren<QLineEdit*>()) {
            if (edit->accessibleName() == accessibleName) {
                edit->setText(text);
                return;
            }
        }
        QFAIL(qPrintable(QStringLiteral("no field ") + accessibleName));
    }

    static void choose(QWidget& page, const QString& accessibleName, const QString& data) {
        for (auto* box : page.findChildren<QComboBox*>()) {
            if (box->accessibleName() == accessibleName) {
                box->setCurrentIndex(box->findData(data));
                QVERIFY(box->currentIndex() >= 0);
                return;
            }
        }
        QFAIL(qPrintable(QStringLiteral("no list ") + accessibleName));
    }

    static void create(QWidget& page) {
        for (auto* button : page.findChildren<QPushButton*>()) {
            if (button->text() == QStringLiteral("Create vault")) return QTest::mouseClick(button, Qt::LeftButton);
        }
        QFAIL("no Create vault button");
    }

private slots:
    void onboardingCreatesAVaultTheCommandLineReads() {
        Device device;
        auto windowOwner = std::make_unique<MainWindow>(device.setup(), rules());
        MainWindow& window = *windowOwner;
        window.show();
        QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
        OnboardingPage& page = *window.onboardingPage();

        create(page);
        QCOMPARE(errorText(page), QStringLiteral("Enter your name, so the vault knows whose records these are."));
        fill(page, QStringLiteral("Name"), QStringLiteral("Maya Chen"));
        choose(page, QStringLiteral("Degree"), QStringLiteral("NP"));
        fill(page, QStringLiteral("NPI"), QStringLiteral("1234567890"));
        create(page);
        QCOMPARE(errorText(page), QString::fromUtf8(kInvalidNPIMessage.data()));
        fill(page, QStringLiteral("NPI"), QStringLiteral("1234567893"));
        choose(page, QStringLiteral("Primary state"), QStringLiteral("TX"));
        fill(page, QStringLiteral("Other states"), QStringLiteral("ca, xx"));
        create(page);
        QCOMPARE(errorText(page), QStringLiteral("'xx' isn't a state; use its two-letter code, like CA."));
        QCOMPARE(window.pageName(), QStringLiteral("onboarding"));
        for (auto* edit : page.findChildren<QLineEdit*>()) {
            if (edit->accessibleName() != QStringLiteral("Other states")) continue;
            edit->clear();
            QTest::keyClicks(edit, QStringLiteral("ca"));
        }
        QCOMPARE(errorText(page), QString());  // typing clears the problem shown
        for (auto* box : page.findChildren<QCheckBox*>()) {
            if (box->text() == QStringLiteral("BLS card")) box->setChecked(true);
        }
        screenshot(window, "onboarding");
        create(page);
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
        Onboarding onboarding;
        onboarding.owner.name = "Sam Patel";
        onboarding.owner.degree = "MD";
        onboarding.states = {"TX"};
        QVERIFY(window.store().create(onboarding).ok());
        QVERIFY(window.store().change([](VaultDocument& doc) {
            doc.credentials[0].expiresOn = Day{2026, 12, 2};
            doc.credentials[0].documentIds = {"scan"};
            CMEActivity activity;
            activity.id = "cme-1";
            activity.personId = doc.people[0].id;
            activity.title = "Grand rounds";
            activity.completedOn = Day{2026, 3, 2};
            activity.hours = 20;
            activity.category = "cat1";
            doc.cme.push_back(activity);
        }).ok());
        window.refresh();
        // Due in 10 days (12) with 28 of the 48 Texas hours missing (8) and no live copy (2).
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), QStringLiteral("78"));
        QCOMPARE(window.todayPage()->headline(), QStringLiteral("Two things need you this month."));
        screenshot(window, "today");

        QVERIFY(window.store().change([](VaultDocument& doc) { doc.credentials[0].expiresOn = Day{2028, 11, 30}; }).ok());
        window.refresh();
        QCOMPARE(window.todayPage()->scoreRing()->centreText(), QStringLiteral("98"));
        QCOMPARE(window.todayPage()->headline(), QStringLiteral("One credential has no copy attached."));
    }

    void lockingLeavesAnEmptyDocumentAndTheLastEditOnDisk() {
        Device device;
        auto windowOwner = std::make_unique<MainWindow>(device.setup(), rules());
        MainWindow& window = *windowOwner;
        Onboarding onboarding;
        onboarding.owner.name = "Ana Ruiz";
        onboarding.owner.degree = "RN";
        QVERIFY(window.store().create(onboarding).ok());
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
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::MainWindowTest)
#include "MainWindowTest.moc"

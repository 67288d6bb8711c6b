// A first sitting with the keyboard alone: create the vault, add a licence,
// log CME and export a backup, moving only by Tab, typing and shortcuts.

#include "AppTestSupport.h"
#include "app/MainWindow.h"
#include "app/SettingsPage.h"

#include <QApplication>
#include <QComboBox>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace corvale::app {

namespace {

QWidget* focused() { return QApplication::focusWidget(); }

QString nameOf(const QWidget* widget) {
    if (!widget) return {};
    if (!widget->accessibleName().isEmpty()) return widget->accessibleName();
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) return button->text();
    return {};
}

}  // namespace

class KeyboardWalkTest : public QObject {
    Q_OBJECT

    // Presses Tab until `name` has the focus; false if a whole lap never reaches it.
    static bool tabTo(const QString& name) {
        QStringList passed;
        for (int presses = 0; presses < 120; ++presses) {
            if (nameOf(focused()) == name) return true;
            passed << nameOf(focused()) + QLatin1Char('/') + QString::fromLatin1(focused() ? focused()->metaObject()->className() : "none");
            if (!focused()) return false;
            QTest::keyClick(focused(), Qt::Key_Tab);
        }
        qWarning("Tab never reached %s; it went %s", qPrintable(name), qPrintable(passed.mid(0, 40).join(QStringLiteral(" → "))));
        return false;
    }
    static void type(const QString& text) { QTest::keyClicks(focused(), text); }
    static void key(Qt::Key which, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(focused(), which, modifiers);
    }

private slots:
    void onboardingALicenceCMEAndABackupWithTheKeyboardAlone() {
        testing::ShownWindow window;
        window.resize(1280, 800);
        QCOMPARE(window.pageName(), QStringLiteral("onboarding"));

        // Onboarding starts in its first field.
        QTRY_COMPARE(nameOf(focused()), QStringLiteral("Name"));
        type(QStringLiteral("Maya Chen"));
        QVERIFY(tabTo(QStringLiteral("Degree")));
        type(QStringLiteral("NP"));
        QCOMPARE(qobject_cast<QComboBox*>(focused())->currentText(), QStringLiteral("NP"));
        QVERIFY(tabTo(QStringLiteral("Primary state")));
        type(QStringLiteral("Texas"));
        QCOMPARE(qobject_cast<QComboBox*>(focused())->currentData().toString(), QStringLiteral("TX"));
        QVERIFY(tabTo(QStringLiteral("Create vault")));
        key(Qt::Key_Space);
        QTRY_COMPARE(window.pageName(), QStringLiteral("today"));
        const auto& doc = window.store().doc();
        QCOMPARE(doc.people.at(0).name, std::string("Maya Chen"));

        // Licenses, a new credential: the editor opens on its first field, the kind.
        key(Qt::Key_3, Qt::ControlModifier);
        QTRY_COMPARE(window.pageName(), QStringLiteral("licenses"));
        key(Qt::Key_N, Qt::ControlModifier);
        QTRY_COMPARE(nameOf(focused()), QStringLiteral("Kind"));
        type(QStringLiteral("State"));  // a space would open the list, as it does for anyone
        QVERIFY(tabTo(QStringLiteral("State")));
        type(QStringLiteral("California"));
        QVERIFY(tabTo(QStringLiteral("Number")));
        type(QStringLiteral("NP-95001"));
        QVERIFY(tabTo(QStringLiteral("Expires on")));
        type(QStringLiteral("01/31/2028"));
        key(Qt::Key_S, Qt::ControlModifier);
        const auto california = std::find_if(doc.credentials.begin(), doc.credentials.end(), [](const Credential& c) {
            return !c.deleted && c.number == std::optional<std::string>("NP-95001");
        });
        QVERIFY(california != doc.credentials.end());
        QCOMPARE(california->state, std::optional<std::string>("CA"));
        QCOMPARE(california->expiresOn, std::optional(Day{2028, 1, 31}));

        // CME: log an activity and save it, all from the keyboard.
        key(Qt::Key_4, Qt::ControlModifier);
        QTRY_COMPARE(window.pageName(), QStringLiteral("cme"));
        key(Qt::Key_N, Qt::ControlModifier);
        QTRY_COMPARE(nameOf(focused()), QStringLiteral("Title"));
        type(QStringLiteral("Pharmacology update"));
        QVERIFY(tabTo(QStringLiteral("Completed on")));
        key(Qt::Key_A, Qt::ControlModifier);
        type(QStringLiteral("11/02/2026"));
        QVERIFY(tabTo(QStringLiteral("Hours")));
        type(QStringLiteral("2.5"));
        key(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(std::any_of(doc.cme.begin(), doc.cme.end(), [](const CMEActivity& a) {
            return !a.deleted && a.title == "Pharmacology update" && a.completedOn == Day{2026, 11, 2} && a.hours == 2.5;
        }));

        // Settings: a backup, its passphrase typed twice. Only the file name is handed over,
        // as the desktop's own file chooser would.
        key(Qt::Key_8, Qt::ControlModifier);
        QTRY_COMPARE(window.pageName(), QStringLiteral("settings"));
        QTemporaryDir disk;  // a backup goes to the real disk, to be carried off this computer
        QVERIFY(disk.isValid());
        const QString archive = disk.filePath(QStringLiteral("walk.pbbackup"));
        window.findChild<SettingsPage*>()->setNextFileChoice(archive);
        QVERIFY(tabTo(QStringLiteral("Export backup…")));
        key(Qt::Key_Space);
        QTRY_COMPARE(nameOf(focused()), QStringLiteral("Backup passphrase"));
        type(QStringLiteral("correct horse battery"));
        key(Qt::Key_Tab);
        type(QStringLiteral("correct horse battery"));
        QVERIFY(tabTo(QStringLiteral("Save backup…")));
        key(Qt::Key_Space);
        QTRY_VERIFY(QFileInfo(archive).size() > 0);
        QVERIFY(window.statusText().startsWith(QStringLiteral("Backup saved as walk.pbbackup")));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::KeyboardWalkTest)
#include "KeyboardWalkTest.moc"

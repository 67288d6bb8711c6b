#include "app/MainWindow.h"

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace corvale::app {

class MainWindowTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_dataHome;
    QByteArray m_savedDataHome;
    bool m_hadDataHome = false;

    QString vaultFolder() const { return m_dataHome->path() + QStringLiteral("/Corvale/Vault"); }
    QString vaultFile() const { return vaultFolder() + QStringLiteral("/vault.pbv"); }

    static QString labelText(const MainWindow& window, const char* name) {
        const auto* label = window.findChild<QLabel*>(QString::fromLatin1(name));
        return label != nullptr ? label->text() : QStringLiteral("<missing %1>").arg(QString::fromLatin1(name));
    }

    static bool dotShowsPresent(const MainWindow& window) {
        const auto* dot = window.findChild<QLabel*>(QStringLiteral("statusDot"));
        return dot != nullptr && dot->property("present").toBool();
    }

    bool writeVaultFile() const {
        QFile file(vaultFile());
        return QDir().mkpath(vaultFolder()) && file.open(QIODevice::WriteOnly) && file.write("sealed") == 6;
    }

private slots:
    void init() {
        m_hadDataHome = qEnvironmentVariableIsSet("XDG_DATA_HOME");
        m_savedDataHome = qgetenv("XDG_DATA_HOME");
        m_dataHome = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dataHome->isValid());
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome->path()));
    }

    void cleanup() {
        if (m_hadDataHome) {
            qputenv("XDG_DATA_HOME", m_savedDataHome);
        } else {
            qunsetenv("XDG_DATA_HOME");
        }
        m_dataHome.reset();
    }

    void statusFollowsTheVaultFile() {
        MainWindow window;
        QCOMPARE(labelText(window, "vaultLocation"), vaultFolder());
        QCOMPARE(labelText(window, "vaultStatus"), QStringLiteral("No vault on this device yet."));
        QVERIFY(!dotShowsPresent(window));

        // An empty vault folder, or a folder where the file should be, is not a vault.
        QVERIFY(QDir().mkpath(vaultFile()));
        window.refresh();
        QCOMPARE(labelText(window, "vaultStatus"), QStringLiteral("No vault on this device yet."));
        QVERIFY(QDir().rmdir(vaultFile()));

        QVERIFY(writeVaultFile());
        window.refresh();
        QCOMPARE(labelText(window, "vaultStatus"), QStringLiteral("A vault is on this device."));
        QVERIFY(dotShowsPresent(window));

        QVERIFY(QFile::remove(vaultFile()));
        window.refresh();
        QCOMPARE(labelText(window, "vaultStatus"), QStringLiteral("No vault on this device yet."));
        QVERIFY(!dotShowsPresent(window));
    }

    void readsTheDiskOnOpeningAndOnActivation() {
        QVERIFY(writeVaultFile());
        {
            MainWindow window;
            QCOMPARE(labelText(window, "vaultStatus"), QStringLiteral("A vault is on this device."));
        }

        QVERIFY(QFile::remove(vaultFile()));
        MainWindow window;
        QCOMPARE(labelText(window, "vaultStatus"), QStringLiteral("No vault on this device yet."));

        // The user made a vault elsewhere and came back to the window.
        QVERIFY(writeVaultFile());
        QEvent activate(QEvent::WindowActivate);
        QApplication::sendEvent(&window, &activate);
        QCOMPARE(labelText(window, "vaultStatus"), QStringLiteral("A vault is on this device."));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::MainWindowTest)
#include "MainWindowTest.moc"

// F1 and Ctrl+? list the window's shortcuts, read from the shortcuts
// themselves, and Escape puts the list away.

#include "AppTestSupport.h"
#include "app/MainWindow.h"
#include "app/ShortcutList.h"

#include <QApplication>
#include <QShortcut>
#include <QTableWidget>
#include <QTest>

namespace corvale::app {

class ShortcutListTest : public QObject {
    Q_OBJECT

    static QStringList rows(const ShortcutList& list) {
        QStringList lines;
        auto* table = list.findChild<QTableWidget*>();
        for (int row = 0; row < table->rowCount(); ++row)
            lines << table->item(row, 0)->text() + QStringLiteral(": ") + table->item(row, 1)->text();
        return lines;
    }

private slots:
    void f1AndCtrlQuestionMarkListEveryShortcutByWhatItDoesAndEscapeClosesIt() {
        testing::ShownWindow window(testing::fillSampleVault);
        auto* list = window.findChild<ShortcutList*>();
        QVERIFY(list);
        QVERIFY(!list->isVisible());

        QTest::keyClick(&window, Qt::Key_F1);
        QTRY_VERIFY(list->isVisible());
        const QStringList lines = rows(*list);
        QVERIFY2(lines.contains(QStringLiteral("Ctrl+L: Lock the vault")), qPrintable(lines.join(u'\n')));
        QVERIFY(lines.contains(QStringLiteral("Ctrl+1: Go to Today")));
        QVERIFY(lines.contains(QStringLiteral("Ctrl+8: Go to Settings")));
        QVERIFY(lines.contains(QStringLiteral("F1 or Ctrl+? or Ctrl+Shift+?: Show this list of shortcuts")));
        // Screens' own keys come too, each key and meaning once.
        QVERIFY(lines.contains(QStringLiteral("Ctrl+F: Search the credentials")));
        QCOMPARE(QStringList(lines).removeDuplicates(), 0);

        // The list answers the keyboard: focus is in it, Escape closes it.
        QTRY_VERIFY(list->isAncestorOf(QApplication::focusWidget()));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QTRY_VERIFY(!list->isVisible());

        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        // Ctrl+? as a US keyboard sends it: the question mark, with Shift held.
        QTest::keyClick(&window, Qt::Key_Question, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(list->isVisible());
        QTRY_VERIFY(list->isAncestorOf(QApplication::focusWidget()));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QTRY_VERIFY(!list->isVisible());

        // A shortcut added without saying what it does would show as "Unnamed";
        // none of the window's does.
        for (const auto* shortcut : window.findChildren<QShortcut*>())
            QVERIFY2(!shortcut->whatsThis().isEmpty(), qPrintable(shortcut->key().toString()));

        QWidget bare;
        auto* unnamed = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_K), &bare);
        (void)unnamed;
        const auto entries = shortcutsOf(&bare);
        QCOMPARE(entries.size(), 1);
        QCOMPARE(entries.front().keys, QStringLiteral("Ctrl+K"));
        QCOMPARE(entries.front().does, QStringLiteral("Unnamed"));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::ShortcutListTest)
#include "ShortcutListTest.moc"

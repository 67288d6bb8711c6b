// What a screen reader and a keyboard user meet on every screen: each control
// the keyboard stops at has a name, a label that carries information is read
// as its text, titles are headings, rings are progress bars with their value,
// and Tab always leaves a table.

#include "AppTestSupport.h"
#include "app/ActivityEditor.h"
#include "app/CMEPage.h"
#include "app/CredentialEditor.h"
#include "app/LicensesPage.h"
#include "app/MainWindow.h"
#include "app/ProgressRing.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTest>
#include <QTextDocument>

#include <algorithm>
#include <cstdlib>

namespace corvale::app {

using testing::describe;
using testing::Device;
using testing::focusableControls;
using testing::rules;

namespace {

QString plainText(const QLabel& label) {
    if (label.textFormat() == Qt::PlainText || !Qt::mightBeRichText(label.text())) return label.text();
    QTextDocument document;
    document.setHtml(label.text());
    return document.toPlainText();
}

QString accessibleName(QWidget* widget) {
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    return face ? face->text(QAccessible::Name) : QString();
}

// Everything wrong with what `where` shows now, one line a fault.
QStringList faultsOn(QWidget& window, const QString& where) {
    QStringList faults;
    for (auto* control : focusableControls(window)) {
        if (accessibleName(control).trimmed().isEmpty())
            faults << where + QStringLiteral(": a control without a name: ") + describe(control);
    }
    for (auto* label : window.findChildren<QLabel*>()) {
        if (!label->isVisibleTo(&window) || label->text().isEmpty()) continue;
        if (!label->accessibleName().isEmpty() && label->accessibleName() != plainText(*label))
            faults << where + QStringLiteral(": '%1' is read as '%2'").arg(plainText(*label), label->accessibleName());
        const bool title = label->objectName() == QLatin1String("title") ||
                           label->objectName() == QLatin1String("sectionTitle");
        if (title && QAccessible::queryAccessibleInterface(label)->role() != QAccessible::Heading)
            faults << where + QStringLiteral(": the title '%1' is not a heading").arg(label->text());
    }
    for (auto* ring : window.findChildren<ProgressRing*>()) {
        if (!ring->isVisibleTo(&window)) continue;
        QAccessibleInterface* face = QAccessible::queryAccessibleInterface(ring);
        QAccessibleValueInterface* value = face->valueInterface();
        if (face->role() != QAccessible::ProgressBar || !value ||
            value->currentValue().toInt() != qRound(ring->share() * 100) || face->text(QAccessible::Name).isEmpty())
            faults << where + QStringLiteral(": the ring ") + describe(ring) + QStringLiteral(" is not a progress bar with its value");
    }
    // The sidebar goes last: moving through it changes the screen.
    auto views = window.findChildren<QAbstractItemView*>();
    std::stable_partition(views.begin(), views.end(),
                          [](const QAbstractItemView* view) { return !qobject_cast<const QListWidget*>(view); });
    for (auto* view : views) {
        if (!view->isVisibleTo(&window) || !(view->focusPolicy() & Qt::TabFocus) || !view->isEnabled()) continue;
        if (view->model() && view->model()->rowCount() > 1) {
            view->setFocus(Qt::TabFocusReason);
            view->setCurrentIndex(view->model()->index(0, 0));
            QTest::keyClick(view, Qt::Key_Down);
            if (view->currentIndex().row() != 1 && !view->currentIndex().parent().isValid())
                faults << where + QStringLiteral(": the arrow keys do not move through ") + describe(view);
        }
        view->setFocus(Qt::TabFocusReason);
        QTest::keyClick(view, Qt::Key_Tab);
        QWidget* now = QApplication::focusWidget();
        if (now == view || (now && view->isAncestorOf(now)))
            faults << where + QStringLiteral(": Tab cannot leave ") + describe(view);
    }
    return faults;
}

// Tabs through `area` from where it put focus on opening and says where the
// order runs against reading order: up the page, or leftwards within a row.
QStringList tabOrderFaults(QWidget& area, const QString& where) {
    QStringList faults;
    QWidget* previous = QApplication::focusWidget();
    if (!previous || !area.isAncestorOf(previous))
        faults << where + QStringLiteral(" opens without focus in its first field");
    for (int step = 0; step < 60 && previous && area.isAncestorOf(previous); ++step) {
        QTest::keyClick(previous, Qt::Key_Tab);
        QWidget* next = QApplication::focusWidget();
        if (!next || !area.isAncestorOf(next) || next == previous) break;
        const QPoint from = previous->mapTo(&area, QPoint(0, previous->height() / 2));
        const QPoint to = next->mapTo(&area, QPoint(0, next->height() / 2));
        const bool sameRow = std::abs(from.y() - to.y()) < 12;
        if ((!sameRow && to.y() < from.y()) || (sameRow && to.x() < from.x()))
            faults << where + QStringLiteral(": Tab goes from %1 back to %2").arg(describe(previous), describe(next));
        previous = next;
    }
    return faults;
}

}  // namespace

class AccessibilityTest : public QObject {
    Q_OBJECT

private slots:
    void everyScreenNamesItsControlsAndLetsTheKeyboardThrough() {
        QStringList faults;
        {
            testing::ShownWindow window;
            faults << faultsOn(window, QStringLiteral("onboarding"));
        }
        testing::ShownWindow window(testing::fillSampleOffice);
        const QStringList& screens = testing::screenNames();
        for (int screen = 0; screen < screens.size(); ++screen) {
            QTest::keyClick(&window, static_cast<Qt::Key>(Qt::Key_1 + screen), Qt::ControlModifier);
            QTest::qWait(20);
            faults << faultsOn(window, screens[screen]);
        }
        window.showScreen(QStringLiteral("licenses"));
        window.licensesPage()->newCredential();
        QTest::qWait(20);
        auto* credentialEditor = window.findChild<CredentialEditor*>();
        faults << tabOrderFaults(*credentialEditor, QStringLiteral("credential editor"));
        faults << faultsOn(window, QStringLiteral("credential editor"));
        window.showScreen(QStringLiteral("cme"));
        window.cmePage()->logActivity();
        QTest::qWait(20);
        faults << tabOrderFaults(*window.findChild<ActivityEditor*>(), QStringLiteral("activity editor"));
        faults << faultsOn(window, QStringLiteral("activity editor"));
        for (const auto& fault : faults) qWarning("%s", qPrintable(fault));
        QCOMPARE(faults.size(), 0);
    }

    void aScreenSwitchFocusesThePageAndAnErrorIsTiedToItsField() {
        testing::ShownWindow window(testing::fillSampleVault);
        // A screen switch puts focus on the page, so Enter starts nothing.
        for (int screen = 0; screen < testing::screenNames().size(); ++screen) {
            QTest::keyClick(&window, static_cast<Qt::Key>(Qt::Key_1 + screen), Qt::ControlModifier);
            QWidget* focus = QApplication::focusWidget();
            QVERIFY2(!qobject_cast<QAbstractButton*>(focus),
                     qPrintable(QStringLiteral("screen %1 focuses %2").arg(screen + 1).arg(focus ? describe(focus) : QString())));
        }
        // Even from inside another page: focus leaving a hidden page must not land on the next one's button.
        window.showScreen(QStringLiteral("licenses"));
        testing::field(*window.licensesPage(), QStringLiteral("Search credentials"))->setFocus();
        QTest::keyClick(&window, Qt::Key_4, Qt::ControlModifier);
        QCOMPARE(window.pageName(), QStringLiteral("cme"));
        QVERIFY2(!qobject_cast<QAbstractButton*>(QApplication::focusWidget()), qPrintable(describe(QApplication::focusWidget())));

        // A refused save ties what is wrong to the field, which a screen reader reads with its name.
        window.showScreen(QStringLiteral("licenses"));
        window.licensesPage()->newCredential();
        auto* editor = window.findChild<CredentialEditor*>();
        QLineEdit* expires = testing::field(*editor, QStringLiteral("Expires on"));
        expires->setText(QStringLiteral("2027-02-30"));
        QVERIFY(testing::press(*editor, QStringLiteral("Save")));
        const QString sentence = testing::problem(window, QStringLiteral("Expires on error"));
        QCOMPARE(sentence, QStringLiteral("There's no 2027-02-30 on the calendar, so check the day and month."));
        QCOMPARE(QAccessible::queryAccessibleInterface(expires)->text(QAccessible::Description), sentence);

        expires->setText(QStringLiteral("2027-02-28"));
        editor->save();
        QVERIFY(!QAccessible::queryAccessibleInterface(expires)->text(QAccessible::Description).contains(sentence));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::AccessibilityTest)
#include "AccessibilityTest.moc"

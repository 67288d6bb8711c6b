// Dates typed the way the desktop writes them, or as ISO, and picked from a
// calendar with the keyboard alone.

#include "AppTestSupport.h"
#ifndef Q_MOC_RUN  // moc cannot read the records' C++20 headers
#include "app/DateField.h"
#endif

#include <QCalendarWidget>
#include <QLineEdit>
#include <QTest>

namespace corvale::app {

class DateFieldTest : public QObject {
    Q_OBJECT

private slots:
    void readsTheLocalShortFormAndISOAndSaysWhatIsWrong() {
        const QLocale us(QLocale::English, QLocale::UnitedStates);
        const QLocale britain(QLocale::English, QLocale::UnitedKingdom);
        const QLocale germany(QLocale::German, QLocale::Germany);
        const auto day = [](const QString& typed, const QLocale& locale) { return readTypedDay(typed, locale).day; };
        const auto reading = [](const QString& typed, const QLocale& locale) { return readTypedDay(typed, locale).reading; };

        // The same digits are June 1 in the United States and January 6 in Britain.
        QCOMPARE(day(QStringLiteral("06/01/2027"), us), std::optional(Day{2027, 6, 1}));
        QCOMPARE(day(QStringLiteral("06/01/2027"), britain), std::optional(Day{2027, 1, 6}));
        QCOMPARE(day(QStringLiteral("6/1/2027"), us), std::optional(Day{2027, 6, 1}));
        QCOMPARE(day(QStringLiteral("01.06.2027"), germany), std::optional(Day{2027, 6, 1}));
        // ISO reads the same everywhere, and a bare system reads as the United States.
        for (const QLocale& locale : {us, britain, germany, QLocale::c()})
            QCOMPARE(day(QStringLiteral(" 2027-06-01 "), locale), std::optional(Day{2027, 6, 1}));
        QCOMPARE(day(QStringLiteral("06/01/2027"), QLocale::c()), std::optional(Day{2027, 6, 1}));

        QCOMPARE(reading(QString(), us), TypedDay::Reading::empty);
        QCOMPARE(reading(QStringLiteral("   "), us), TypedDay::Reading::empty);
        // A day the calendar lacks is told apart from text that isn't a date.
        QCOMPARE(reading(QStringLiteral("02/30/2027"), us), TypedDay::Reading::notOnTheCalendar);
        QCOMPARE(reading(QStringLiteral("2026-02-29"), us), TypedDay::Reading::notOnTheCalendar);
        QCOMPARE(day(QStringLiteral("02/29/2028"), us), std::optional(Day{2028, 2, 29}));
        for (const QString& typed : {QStringLiteral("13/01/2027"), QStringLiteral("06/01/27"), QStringLiteral("June 1"),
                                    QStringLiteral("2027/06/01/1"), QStringLiteral("2027-06-01T10:00"),
                                    QStringLiteral("00/10/2027"), QStringLiteral("06/01/20277")})
            QVERIFY2(reading(typed, us) == TypedDay::Reading::notADate, qPrintable(typed));

        // Hints and examples follow the same order.
        QCOMPARE(dayForms(us), QStringLiteral("MM/DD/YYYY or YYYY-MM-DD"));
        QCOMPARE(dayForms(britain), QStringLiteral("DD/MM/YYYY or YYYY-MM-DD"));
        QCOMPARE(dayForms(germany), QStringLiteral("DD.MM.YYYY or YYYY-MM-DD"));
        QCOMPARE(localDayText(Day{2027, 1, 31}, us), QStringLiteral("01/31/2027"));
        QCOMPARE(localDayText(Day{2027, 1, 31}, germany), QStringLiteral("31.01.2027"));
        for (const QLocale& locale : {us, britain, germany})
            QCOMPARE(day(localDayText(Day{2031, 12, 9}, locale), locale), std::optional(Day{2031, 12, 9}));
    }

    void theCalendarOpensFromTheKeyboardAndWritesThePickedDay() {
        testing::StyledWindow window;
        auto* field = window.hold(new QLineEdit(&window));
        field->setAccessibleName(QStringLiteral("Expires on"));
        addCalendarPicker(field);
        field->setText(QStringLiteral("2027-06-01"));
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        field->setFocus();

        QTest::keyClick(field, Qt::Key_Down, Qt::AltModifier);
        QCalendarWidget* calendar = nullptr;
        QTRY_VERIFY((calendar = field->findChild<QCalendarWidget*>()) && calendar->isVisible());
        QCOMPARE(calendar->accessibleName(), QStringLiteral("Calendar for Expires on"));
        // It opens on the day already typed; a week on and Enter writes it back.
        QCOMPARE(calendar->selectedDate(), QDate(2027, 6, 1));
        QWidget* grid = calendar->focusWidget() ? calendar->focusWidget() : calendar;
        QTest::keyClick(grid, Qt::Key_Down);
        QTest::keyClick(grid, Qt::Key_Return);
        QCOMPARE(field->text(), QStringLiteral("2027-06-08"));
        QTRY_VERIFY(!field->findChild<QCalendarWidget*>() || !field->findChild<QCalendarWidget*>()->isVisible());

        // The button at the field's end is named for what it does.
        const auto actions = field->actions();
        QVERIFY(std::any_of(actions.begin(), actions.end(), [](const QAction* a) {
            return a->text() == QStringLiteral("Choose expires on from a calendar");
        }));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::DateFieldTest)
#include "DateFieldTest.moc"

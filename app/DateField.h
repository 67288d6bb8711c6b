#pragma once
// Dates as people type them: the desktop's own short form (06/01/2027 in the
// United States, 01/06/2027 in Britain) as well as 2027-06-01, and a calendar
// to pick from instead of typing.

#include "records/Day.h"

#include <QLocale>
#include <QString>

#include <optional>

class QLineEdit;

namespace corvale::app {

struct TypedDay {
    enum class Reading { empty, day, notADate, notOnTheCalendar };
    Reading reading = Reading::empty;
    std::optional<Day> day;  // only when it reads as a day the calendar has
};

// Reads a typed date: ISO, or day, month and four-digit year in the order the
// locale writes them, separated by / . - or spaces.
TypedDay readTypedDay(const QString& typed, const QLocale& locale = QLocale());

// The forms accepted, for hints and errors: "MM/DD/YYYY or YYYY-MM-DD".
QString dayForms(const QLocale& locale = QLocale());
// `day` in the locale's form with a four-digit year: "01/31/2027".
QString localDayText(const Day& day, const QLocale& locale = QLocale());

// A calendar button at the end of the field; the chosen day is written in as YYYY-MM-DD.
void addCalendarPicker(QLineEdit* field);

}  // namespace corvale::app

#include "app/DateField.h"

#include <QAction>
#include <QCalendarWidget>
#include <QDate>
#include <QIcon>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace corvale::app {
namespace {

enum class Part { day, month, year };

// The order the locale writes a short date in. The C locale, as on a bare
// system, reads as the United States does: the boards we track are American.
std::array<Part, 3> orderOf(const QLocale& locale) {
    const QLocale effective = locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : locale;
    const QString format = effective.dateFormat(QLocale::ShortFormat);
    std::array<std::pair<qsizetype, Part>, 3> found{{{format.indexOf(QLatin1Char('d')), Part::day},
                                                      {format.indexOf(QLatin1Char('M')), Part::month},
                                                      {format.indexOf(QLatin1Char('y')), Part::year}}};
    if (found[0].first < 0 || found[1].first < 0 || found[2].first < 0)
        return {Part::month, Part::day, Part::year};
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return {found[0].second, found[1].second, found[2].second};
}

QChar separatorOf(const QLocale& locale) {
    const QLocale effective = locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : locale;
    for (const QChar c : effective.dateFormat(QLocale::ShortFormat))
        if (c == QLatin1Char('/') || c == QLatin1Char('.') || c == QLatin1Char('-')) return c;
    return QLatin1Char('/');
}

// A small calendar drawn in the field's own text colour, so it follows the theme.
QIcon calendarIcon(const QLineEdit* field) {
    const qreal ratio = field->devicePixelRatioF();
    QPixmap pixmap(QSize(16, 16) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ink = field->palette().color(QPalette::Text);
    painter.setPen(QPen(ink, 1.3));
    painter.drawRoundedRect(QRectF(1.5, 3.0, 13.0, 11.5), 2, 2);
    painter.fillRect(QRectF(1.5, 3.0, 13.0, 3.5), ink);
    painter.drawLine(QPointF(5, 1), QPointF(5, 4));
    painter.drawLine(QPointF(11, 1), QPointF(11, 4));
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 3; ++column)
            painter.fillRect(QRectF(4 + column * 3, 8.5 + row * 3, 1.6, 1.6), ink);
    return QIcon(pixmap);
}

}  // namespace

TypedDay readTypedDay(const QString& typed, const QLocale& locale) {
    const QString text = typed.trimmed();
    if (text.isEmpty()) return {};
    static const QRegularExpression iso(QStringLiteral("^(\\d{4})-(\\d{1,2})-(\\d{1,2})$"));
    static const QRegularExpression local(QStringLiteral("^(\\d{1,4})\\s*[/.\\-\\s]\\s*(\\d{1,4})\\s*[/.\\-\\s]\\s*(\\d{1,4})\\.?$"));
    Day day;
    if (const auto match = iso.match(text); match.hasMatch()) {
        day = {match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()};
    } else if (const auto parts = local.match(text); parts.hasMatch()) {
        const auto order = orderOf(locale);
        for (int i = 0; i < 3; ++i) {
            const QString piece = parts.captured(i + 1);
            switch (order[static_cast<std::size_t>(i)]) {
            case Part::day:
                if (piece.size() > 2) return {TypedDay::Reading::notADate, std::nullopt};
                day.day = piece.toInt();
                break;
            case Part::month:
                if (piece.size() > 2) return {TypedDay::Reading::notADate, std::nullopt};
                day.month = piece.toInt();
                break;
            case Part::year:
                // Two digits could be either century; a licence date is worth typing out.
                if (piece.size() != 4) return {TypedDay::Reading::notADate, std::nullopt};
                day.year = piece.toInt();
                break;
            }
        }
    } else {
        return {TypedDay::Reading::notADate, std::nullopt};
    }
    if (day.month < 1 || day.month > 12 || day.day < 1 || day.day > 31) return {TypedDay::Reading::notADate, std::nullopt};
    if (!day.exists()) return {TypedDay::Reading::notOnTheCalendar, std::nullopt};
    return {TypedDay::Reading::day, day};
}

QString dayForms(const QLocale& locale) {
    QStringList pieces;
    for (const Part part : orderOf(locale))
        pieces << (part == Part::day ? QStringLiteral("DD") : part == Part::month ? QStringLiteral("MM") : QStringLiteral("YYYY"));
    return QObject::tr("%1 or YYYY-MM-DD").arg(pieces.join(separatorOf(locale)));
}

QString localDayText(const Day& day, const QLocale& locale) {
    QStringList pieces;
    for (const Part part : orderOf(locale)) {
        switch (part) {
        case Part::day: pieces << QStringLiteral("%1").arg(day.day, 2, 10, QLatin1Char('0')); break;
        case Part::month: pieces << QStringLiteral("%1").arg(day.month, 2, 10, QLatin1Char('0')); break;
        case Part::year: pieces << QStringLiteral("%1").arg(day.year, 4, 10, QLatin1Char('0')); break;
        }
    }
    return pieces.join(separatorOf(locale));
}

void addCalendarPicker(QLineEdit* field) {
    auto* pick = field->addAction(calendarIcon(field), QLineEdit::TrailingPosition);
    pick->setText(QObject::tr("Choose %1 from a calendar").arg(field->accessibleName().toLower()));
    pick->setToolTip(QObject::tr("Choose from a calendar (Alt+Down)"));
    const auto open = [field] {
        auto* popup = new QCalendarWidget(field);
        popup->setWindowFlags(Qt::Popup);
        popup->setAttribute(Qt::WA_DeleteOnClose);
        popup->setAccessibleName(QObject::tr("Calendar for %1").arg(field->accessibleName()));
        if (const auto typed = readTypedDay(field->text()); typed.day)
            popup->setSelectedDate(QDate(typed.day->year, typed.day->month, typed.day->day));
        QObject::connect(popup, &QCalendarWidget::activated, field, [field, popup](QDate date) {
            field->setText(date.toString(Qt::ISODate));
            emit field->textEdited(field->text());
            popup->close();
            field->setFocus();
        });
        QObject::connect(popup, &QCalendarWidget::clicked, popup, &QCalendarWidget::activated);
        popup->adjustSize();
        popup->move(field->mapToGlobal(QPoint(0, field->height())));
        popup->show();
        popup->setFocus();
    };
    QObject::connect(pick, &QAction::triggered, field, open);
    // Alt+Down opens it from the keyboard, as it does on a drop-down.
    auto* keyboard = new QAction(field);
    keyboard->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Down));
    keyboard->setShortcutContext(Qt::WidgetShortcut);
    field->addAction(keyboard);
    QObject::connect(keyboard, &QAction::triggered, field, open);
}

}  // namespace corvale::app

#include "app/FormParts.h"

#include "app/Theme.h"

#include <QAccessible>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QVBoxLayout>

namespace corvale::app {

QLineEdit* lineEdit(const QString& accessibleName, const QString& placeholder, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setAccessibleName(accessibleName);
    edit->setPlaceholderText(placeholder);
    return edit;
}

QLabel* errorLabel(const QString& accessibleName, QWidget* parent) {
    QLabel* label = makeLabel(QString(), "error", parent);
    setHandle(label, accessibleName);
    label->setVisible(false);
    return label;
}

void setHandle(QWidget* widget, const QString& handle) { widget->setProperty("handle", handle); }

void showMessage(QLabel* label, const QString& message) {
    label->setText(message);
    label->setVisible(!message.isEmpty());
    if (auto* field = qobject_cast<QWidget*>(label->property("errorFor").value<QObject*>()))
        field->setAccessibleDescription(message);
    if (!message.isEmpty()) {
        // Said as it appears, not only when the user happens to move onto it.
        QAccessibleEvent alert(label, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
}

void tieError(QLabel* error, QWidget* field) {
    error->setProperty("errorFor", QVariant::fromValue(static_cast<QObject*>(field)));
}

QScrollArea* scrollPage(QWidget* page, QWidget* content, int maxWidth) {
    // A full-width holder in the page's colour, with the capped content in its middle.
    auto* holder = new QWidget;
    holder->setObjectName(QStringLiteral("page"));
    holder->setAttribute(Qt::WA_StyledBackground, true);
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    content->setMaximumWidth(maxWidth);
    row->addStretch(1);
    row->addWidget(content, 1000);
    row->addStretch(1);
    auto* scroll = new QScrollArea(page);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(holder);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);
    return scroll;
}

QString notOnTheCalendar(const QString& typed) {
    return QObject::tr("There's no %1 on the calendar, so check the day and month.").arg(typed);
}

QFrame* card(const QString& heading, const QString& caption, QWidget* parent, QVBoxLayout*& body) {
    auto* frame = new QFrame(parent);
    frame->setObjectName(QStringLiteral("card"));
    body = new QVBoxLayout(frame);
    body->setContentsMargins(24, 20, 24, 22);
    body->setSpacing(12);
    auto* title = makeLabel(heading, "sectionTitle", frame);
    scaleFont(title, 1.15, QFont::DemiBold);
    body->addWidget(title);
    if (!caption.isEmpty()) body->addWidget(makeLabel(caption, "caption", frame));
    return frame;
}

namespace {

void collectLaidOut(QLayoutItem* item, QList<QWidget*>& out);

void collectLaidOut(QLayout* layout, QList<QWidget*>& out) {
    if (!layout) return;
    if (auto* form = qobject_cast<QFormLayout*>(layout)) {
        for (int row = 0; row < form->rowCount(); ++row)
            for (const auto role : {QFormLayout::LabelRole, QFormLayout::FieldRole, QFormLayout::SpanningRole})
                if (QLayoutItem* item = form->itemAt(row, role)) collectLaidOut(item, out);
        return;
    }
    if (auto* grid = qobject_cast<QGridLayout*>(layout)) {
        for (int row = 0; row < grid->rowCount(); ++row)
            for (int column = 0; column < grid->columnCount(); ++column)
                if (QLayoutItem* item = grid->itemAtPosition(row, column)) collectLaidOut(item, out);
        return;
    }
    for (int i = 0; i < layout->count(); ++i) collectLaidOut(layout->itemAt(i), out);
}

void collectLaidOut(QLayoutItem* item, QList<QWidget*>& out) {
    if (QLayout* inner = item->layout()) return collectLaidOut(inner, out);
    QWidget* widget = item->widget();
    if (!widget || out.contains(widget)) return;
    if (auto* scroll = qobject_cast<QScrollArea*>(widget); scroll && scroll->widget())
        return collectLaidOut(scroll->widget()->layout(), out);
    if (widget->layout()) return collectLaidOut(widget->layout(), out);
    if (widget->focusPolicy() & Qt::TabFocus) out << widget;
}

}  // namespace

void orderTabsAsLaidOut(QWidget* root) {
    QList<QWidget*> order;
    collectLaidOut(root->layout(), order);
    for (qsizetype i = 1; i < order.size(); ++i) QWidget::setTabOrder(order[i - 1], order[i]);
}

void centreCard(QWidget* page, QWidget* card) {
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(card);
    row->addStretch(1);
    auto* layout = new QVBoxLayout(page);
    layout->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(2);
}

void clearRows(QVBoxLayout* layout) {
    while (QLayoutItem* item = layout->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();  // gone from view at once, though deleted only when control returns
            widget->deleteLater();
        }
        delete item;
    }
}

QVBoxLayout* rowsCard(const QString& heading, QVBoxLayout* into, QWidget* parent, QWidget** cardOut) {
    auto* card = new QFrame(parent);
    card->setObjectName(QStringLiteral("card"));
    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(22, 18, 22, 18);
    layout->setSpacing(10);
    auto* title = makeLabel(heading, "sectionTitle", card);
    scaleFont(title, 1.15, QFont::DemiBold);
    layout->addWidget(title);
    auto* rows = new QVBoxLayout;
    rows->setSpacing(12);
    layout->addLayout(rows);
    into->addWidget(card);
    if (cardOut) *cardOut = card;
    return rows;
}

}  // namespace corvale::app

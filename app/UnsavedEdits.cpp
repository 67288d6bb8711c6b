#include "app/UnsavedEdits.h"

#include "app/Theme.h"

#include <QAbstractButton>
#include <QAbstractItemModel>
#include <QAbstractItemView>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include <algorithm>
#include <utility>

namespace corvale::app {

QStringList formState(const QWidget* form, const QList<const QWidget*>& except) {
    QStringList state;
    for (const QWidget* widget : form->findChildren<QWidget*>()) {
        if (std::any_of(except.begin(), except.end(),
                        [&](const QWidget* left) { return left == widget || left->isAncestorOf(widget); }))
            continue;
        if (const auto* edit = qobject_cast<const QLineEdit*>(widget)) {
            state << edit->text();
        } else if (const auto* box = qobject_cast<const QComboBox*>(widget)) {
            state << QString::number(box->currentIndex()) + QLatin1Char(':') + box->currentText();
        } else if (const auto* button = qobject_cast<const QAbstractButton*>(widget); button && button->isCheckable()) {
            state << (button->isChecked() ? QStringLiteral("on") : QStringLiteral("off"));
        } else if (const auto* text = qobject_cast<const QPlainTextEdit*>(widget)) {
            state << text->toPlainText();
        } else if (const auto* view = qobject_cast<const QAbstractItemView*>(widget); view && view->model()) {
            // Lists edited in place: their rows, names and ticks.
            const QAbstractItemModel* model = view->model();
            for (int row = 0; row < model->rowCount(); ++row) {
                const QModelIndex index = model->index(row, 0);
                state << index.data().toString() + QLatin1Char(':') + index.data(Qt::CheckStateRole).toString();
            }
            state << QStringLiteral("rows %1").arg(model->rowCount());
        }
    }
    return state;
}

UnsavedEdits::UnsavedEdits(std::function<bool()> hasEdits, std::function<bool()> save, std::function<void()> discard,
                           QWidget* parent)
    : QFrame(parent), m_hasEdits(std::move(hasEdits)), m_save(std::move(save)), m_discard(std::move(discard)) {
    setObjectName(QStringLiteral("undoBar"));
    setAccessibleName(tr("Unsaved changes"));
    auto* question =
        makeLabel(tr("This record has changes you haven't saved, so save or discard them first."), "detail", this);
    question->setWordWrap(true);
    auto* saveButton = new QPushButton(tr("Save"), this);
    saveButton->setAccessibleName(tr("Save changes"));
    auto* discardButton = new QPushButton(tr("Discard"), this);
    discardButton->setAccessibleName(tr("Discard changes"));
    auto* keep = new QPushButton(tr("Keep editing"), this);
    keep->setObjectName(QStringLiteral("link"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 8, 10, 8);
    layout->setSpacing(10);
    layout->addWidget(question, 1);
    layout->addWidget(saveButton);
    layout->addWidget(discardButton);
    layout->addWidget(keep);
    hide();
    connect(saveButton, &QPushButton::clicked, this, &UnsavedEdits::chooseSave);
    connect(discardButton, &QPushButton::clicked, this, &UnsavedEdits::chooseDiscard);
    connect(keep, &QPushButton::clicked, this, &UnsavedEdits::dismiss);
}

bool UnsavedEdits::leave(std::function<void()> then) {
    if (!m_hasEdits()) {
        dismiss();
        then();
        return true;
    }
    m_then = std::move(then);
    show();
    return false;
}

void UnsavedEdits::dismiss() {
    m_then = nullptr;
    hide();
}

void UnsavedEdits::chooseSave() {
    auto then = std::exchange(m_then, nullptr);
    hide();
    // A save refused shows why beside the fields, and the user stays with them.
    if (!m_save()) return;
    if (then) then();
}

void UnsavedEdits::chooseDiscard() {
    auto then = std::exchange(m_then, nullptr);
    hide();
    m_discard();
    if (then) then();
}

bool UnsavedEdits::settleBeforeLock() {
    dismiss();
    if (!m_hasEdits()) return false;
    if (m_save()) return false;
    m_discard();
    return true;
}

}  // namespace corvale::app

#include "app/UndoBar.h"

#include "app/FormParts.h"
#include "app/Theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>

namespace corvale::app {

UndoBar::UndoBar(QWidget* page) : QFrame(page) {
    setObjectName(QStringLiteral("undoBar"));
    m_text = makeLabel(QString(), "detail", this);
    setHandle(m_text, tr("Undo message"));
    m_undo = new QPushButton(tr("Undo"), this);
    m_undo->setAccessibleName(tr("Undo delete"));
    m_undo->setToolTip(tr("Bring back the last deletion (Ctrl+Z)"));
    auto* dismiss = new QPushButton(tr("Dismiss"), this);
    dismiss->setObjectName(QStringLiteral("flat"));
    dismiss->setToolTip(tr("Hide this bar; Ctrl+Z still brings deletions back"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 6, 8, 6);
    layout->setSpacing(10);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_undo);
    layout->addWidget(dismiss);
    hide();

    m_shortcut = new QShortcut(QKeySequence::Undo, page, this, &UndoBar::takeBack);
    m_shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    m_shortcut->setEnabled(false);
    m_shortcut->setWhatsThis(tr("Undo a deletion"));
    connect(m_undo, &QPushButton::clicked, this, &UndoBar::takeBack);
    connect(dismiss, &QPushButton::clicked, this, &QWidget::hide);
}

void UndoBar::deleted(const QString& id, const QString& name) {
    m_trail.append({id, name});
    refresh();
}

void UndoBar::forget() {
    m_trail.clear();
    m_shortcut->setEnabled(false);
    hide();
}

QString UndoBar::message() const {
    if (m_trail.isEmpty()) return {};
    const QString last = tr("Deleted %1.").arg(m_trail.back().name);
    if (m_trail.size() == 1) return last;
    return last + QLatin1Char(' ') + tr("Undo goes back through %1 deletions, newest first.").arg(m_trail.size());
}

void UndoBar::refresh() {
    m_shortcut->setEnabled(!m_trail.isEmpty());
    if (m_trail.isEmpty()) {
        hide();
        return;
    }
    m_text->setText(message());
    show();
}

void UndoBar::takeBack() {
    if (m_trail.isEmpty()) return;
    const Entry newest = m_trail.takeLast();
    refresh();
    emit undoRequested(newest.id);
}

}  // namespace corvale::app

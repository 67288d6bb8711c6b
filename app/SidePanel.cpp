#include "app/SidePanel.h"

#include <QEvent>
#include <QWidget>

namespace corvale::app {

SidePanel::SidePanel(QWidget* list, QWidget* editor, int editorWidth, int listMinimum)
    : QObject(list), m_list(list), m_editor(editor), m_editorWidth(editorWidth), m_listMinimum(listMinimum) {
    m_editor->setFixedWidth(m_editorWidth);
    m_list->parentWidget()->installEventFilter(this);
    m_editor->installEventFilter(this);
}

bool SidePanel::eventFilter(QObject* watched, QEvent* event) {
    const bool resized = watched == m_list->parentWidget() && event->type() == QEvent::Resize;
    const bool shownOrHidden =
        watched == m_editor && (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent);
    if (resized || shownOrHidden) fit();
    return QObject::eventFilter(watched, event);
}

void SidePanel::fit() {
    if (m_fitting) return;
    m_fitting = true;
    QWidget* page = m_list->parentWidget();
    const bool editing = !m_editor->isHidden();
    const bool narrow = page->width() < m_editorWidth + m_listMinimum;
    const bool editorAlone = editing && narrow;
    m_list->setVisible(!editorAlone);
    if (editorAlone) {
        m_editor->setMinimumWidth(0);
        m_editor->setMaximumWidth(QWIDGETSIZE_MAX);
    } else {
        m_editor->setFixedWidth(m_editorWidth);
    }
    m_fitting = false;
}

}  // namespace corvale::app

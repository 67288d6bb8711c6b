#include "app/Theme.h"

#include <QLabel>
#include <QWidget>

namespace corvale::app {

QString appStyleSheet() {
    // palette() keeps backgrounds and text on the system's light or dark scheme.
    return QStringLiteral(R"(
        QWidget#appWindow, QWidget#page { background: palette(window); }
        QFrame#card { background: palette(base); border: 1px solid palette(midlight); border-radius: 12px; }
        QLabel#caption, QLabel#detail, QLabel#footnote { color: #6b7785; }
        QLabel#error { color: #b42318; }
        QListWidget#sidebar { background: palette(base); border: none; border-right: 1px solid palette(midlight);
                              padding-top: 12px; outline: 0; }
        QListWidget#sidebar::item { padding: 8px 16px; border-radius: 8px; margin: 2px 8px; }
        QListWidget#sidebar::item:selected { background: #2b6f97; color: white; }
        QPushButton { padding: 6px 14px; border-radius: 8px; border: 1px solid palette(mid); background: palette(button); }
        QPushButton:focus { border: 2px solid #2b6f97; }
        QPushButton#primary { background: #2b6f97; color: white; border: none; font-weight: 600; }
        QPushButton#primary:disabled { background: palette(mid); }
        QLineEdit, QComboBox { padding: 5px 8px; border-radius: 6px; border: 1px solid palette(mid); background: palette(base); }
        QLineEdit:focus, QComboBox:focus { border: 2px solid #2b6f97; }

        /* ---- Licenses: the credential list, its editor panel and the undo bar ---- */
        QTreeView#credentialList { background: palette(base); border: none; outline: 0; }
        QTreeView#credentialList::item { padding: 7px 4px; border: none; }
        QTreeView#credentialList::item:selected { background: #2b6f97; color: white; }
        QTreeView#credentialList QHeaderView::section { background: palette(base); color: #6b7785; border: none;
                                                         border-bottom: 1px solid palette(midlight); padding: 6px 4px;
                                                         font-weight: 600; }
        QFrame#editorPanel { background: palette(base); border: 1px solid palette(midlight); border-radius: 12px; }
        QScrollArea#editorScroll, QWidget#editorContent { background: palette(base); border: none; }
        QLabel#editorTitle, QLabel#emptyTitle { color: palette(text); }
        QListView#checklist, QListView#documentList, QFrame#editorPanel QPlainTextEdit {
            border: 1px solid palette(mid); border-radius: 6px; background: palette(base); padding: 3px; }
        QListView#checklist:focus, QListView#documentList:focus, QFrame#editorPanel QPlainTextEdit:focus {
            border: 2px solid #2b6f97; }
        QListView#checklist::item, QListView#documentList::item { padding: 4px 2px; }
        QPushButton#link { border: none; background: transparent; color: #2b6f97; padding: 4px 2px; font-weight: 600; }
        QPushButton#link:hover { text-decoration: underline; }
        QPushButton#link:focus { border: none; text-decoration: underline; }
        QFrame#undoBar { background: palette(base); border: 1px solid palette(midlight); border-left: 4px solid #2b6f97;
                         border-radius: 10px; }
        QWidget[screen="licenses"] QComboBox { padding-right: 26px; }
        QWidget[screen="licenses"] QComboBox::drop-down { subcontrol-origin: padding; subcontrol-position: center right;
                                                          width: 24px; border: none; }
        QWidget[screen="licenses"] QComboBox::down-arrow { image: url(:/corvale/images/chevron-down.png);
                                                           width: 12px; height: 12px; }
        QWidget[screen="licenses"] QScrollBar:vertical { border: none; background: transparent; width: 10px; margin: 0; }
        QWidget[screen="licenses"] QScrollBar::handle:vertical { background: palette(mid); min-height: 32px;
                                                                 border-radius: 4px; margin: 0 2px; }
        QWidget[screen="licenses"] QScrollBar::add-line:vertical { height: 0; subcontrol-position: bottom;
                                                                   subcontrol-origin: margin; }
        QWidget[screen="licenses"] QScrollBar::sub-line:vertical { height: 0; subcontrol-position: top;
                                                                   subcontrol-origin: margin; }
        QWidget[screen="licenses"] QScrollBar::add-page:vertical,
        QWidget[screen="licenses"] QScrollBar::sub-page:vertical { background: none; }
        /* ---- end of Licenses ---- */
    )");
}

QColor goodColor() { return QColor(0x1f, 0x8a, 0x5b); }
QColor warnColor() { return QColor(0xc2, 0x7c, 0x0e); }
QColor alertColor() { return QColor(0xb4, 0x23, 0x18); }

QColor colorForShare(double share) {
    if (share >= 0.85) return goodColor();
    if (share >= 0.6) return warnColor();
    return alertColor();
}

QLabel* makeLabel(const QString& text, const char* objectName, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(QString::fromLatin1(objectName));
    label->setWordWrap(true);
    return label;
}

void scaleFont(QWidget* widget, double factor, QFont::Weight weight) {
    QFont font = widget->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setWeight(weight);
    widget->setFont(font);
}

}  // namespace corvale::app

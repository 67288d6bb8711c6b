#include "app/Theme.h"

#include <QLabel>
#include <QWidget>

namespace corvale::app {
namespace {

// The CME screen: its activity table and the editor panel.
QString cmeStyleSheet() {
    return QStringLiteral(R"(
        QTableView#activities { background: palette(base); alternate-background-color: palette(alternate-base);
                                border: 1px solid palette(midlight); border-radius: 10px; outline: 0;
                                selection-background-color: #2b6f97; selection-color: white; }
        QTableView#activities::item { padding: 0 8px; border: none; }
        QTableView#activities QHeaderView::section { background: palette(base); color: #6b7785; font-weight: 600;
                                                     border: none; border-bottom: 1px solid palette(midlight);
                                                     padding: 7px 8px; }
        QTableView#activities QHeaderView { background: transparent; border: none; }
        QWidget#editorForm { background: palette(base); }
        QScrollArea#editorScroll { background: transparent; border: none; }
        QLabel#fieldLabel { font-weight: 600; }
        QListView#topics, QListView#certificates, QPlainTextEdit { border: 1px solid palette(mid); border-radius: 6px;
                                                                   background: palette(base); padding: 2px; }
        QListView#topics::item { padding: 3px 2px; }
        QPlainTextEdit:focus, QListView#topics:focus, QListView#certificates:focus { border: 2px solid #2b6f97; }
        QPushButton#flat { border: none; background: transparent; color: #6b7785; }
        corvale--app--CMEPage QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }
        corvale--app--CMEPage QScrollBar::handle:vertical { background: palette(mid); border-radius: 3px; min-height: 32px; }
        corvale--app--CMEPage QScrollBar::add-line:vertical, corvale--app--CMEPage QScrollBar::sub-line:vertical { height: 0; }
        corvale--app--CMEPage QScrollBar::add-page:vertical, corvale--app--CMEPage QScrollBar::sub-page:vertical { background: none; }
    )");
}

// Profile and settings: record tables, inline panels, and the buttons that destroy.
QString profileAndSettingsStyle() {
    return QStringLiteral(R"(
        QFrame#inset { background: palette(window); border: 1px solid palette(midlight); border-radius: 10px; }
        QLabel#warning { color: #cc3326; font-weight: 600; }
        QPushButton#danger { background: #b42318; color: white; border: none; font-weight: 600; }
        QPushButton#danger:focus { border: 2px solid palette(text); }
        QPushButton#destructive { color: #cc3326; }
        QPlainTextEdit { padding: 4px 6px; border-radius: 6px; border: 1px solid palette(mid); background: palette(base); }
        QPlainTextEdit:focus { border: 2px solid #2b6f97; }
        QLineEdit#secret[readOnly="true"] { background: palette(window); letter-spacing: 2px; }
        QTableView#recordTable { border: 1px solid palette(midlight); border-radius: 8px; background: palette(base);
                                 alternate-background-color: palette(alternate-base);
                                 selection-background-color: #2b6f97; selection-color: white; outline: 0; }
        QTableView#recordTable::item { padding-left: 8px; padding-right: 8px; border: none; }
        QTableView#recordTable QHeaderView { background: transparent; }
        QTableView#recordTable QHeaderView::section { background: transparent; color: #6b7785; border: none;
                                 border-bottom: 1px solid palette(midlight); padding: 6px 10px; font-weight: 600; }
        QListView#requiredItems { border: 1px solid palette(midlight); border-radius: 8px; background: palette(base);
                                  padding: 4px; }
    )");
}


// The Licenses screen: the credential list, its editor panel and the undo bar
// that the CME screen shares.
QString licensesStyleSheet() {
    return QStringLiteral(R"(
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
        QWidget[screen="licenses"] QScrollBar:vertical { border: none; background: transparent; width: 10px; margin: 0; }
        QWidget[screen="licenses"] QScrollBar::handle:vertical { background: palette(mid); min-height: 32px;
                                                                 border-radius: 4px; margin: 0 2px; }
        QWidget[screen="licenses"] QScrollBar::add-line:vertical { height: 0; subcontrol-position: bottom;
                                                                   subcontrol-origin: margin; }
        QWidget[screen="licenses"] QScrollBar::sub-line:vertical { height: 0; subcontrol-position: top;
                                                                   subcontrol-origin: margin; }
        QWidget[screen="licenses"] QScrollBar::add-page:vertical,
        QWidget[screen="licenses"] QScrollBar::sub-page:vertical { background: none; }
    )");
}

}  // namespace

QString appStyleSheet() {
    // palette() keeps backgrounds and text on the system's light or dark scheme.
    return QStringLiteral(R"(
        QWidget#appWindow, QWidget#page { background: palette(window); }
        QFrame#card { background: palette(base); border: 1px solid palette(midlight); border-radius: 12px; }
        QLabel#caption, QLabel#detail, QLabel#footnote { color: #6b7785; }
        QLabel#error { color: #b42318; }
        QWidget#sidePanel { background: palette(base); border-right: 1px solid palette(midlight); }
        QListWidget#sidebar { background: transparent; border: none; padding-top: 4px; outline: 0; }
        QComboBox#personSwitcher { margin-right: 10px; font-weight: 600; }
        QLabel#status { background: palette(base); border-top: 1px solid palette(midlight); padding: 8px 20px; }
        QPushButton#segment { border-radius: 0; padding: 7px 18px; background: palette(base); }
        QPushButton#segment:checked { background: #2b6f97; color: white; border-color: #2b6f97; }
        QListWidget#sidebar::item { padding: 8px 16px; border-radius: 8px; margin: 2px 8px; }
        QListWidget#sidebar::item:selected { background: #2b6f97; color: white; }
        QPushButton { padding: 6px 14px; border-radius: 8px; border: 1px solid palette(mid); background: palette(button); }
        QPushButton:focus { border: 2px solid #2b6f97; }
        QPushButton#primary { background: #2b6f97; color: white; border: none; font-weight: 600; }
        QPushButton#primary:disabled { background: palette(mid); }
        QLineEdit, QComboBox { padding: 5px 8px; border-radius: 6px; border: 1px solid palette(mid); background: palette(base); }
        QLineEdit:focus, QComboBox:focus { border: 2px solid #2b6f97; }
        QComboBox { padding-right: 26px; }
        QComboBox::drop-down { border: none; width: 24px; subcontrol-position: center right; }
        QComboBox::down-arrow { image: url(:/icons/chevron-down.png); width: 16px; height: 16px; }
    )") + cmeStyleSheet() + profileAndSettingsStyle() + licensesStyleSheet();
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

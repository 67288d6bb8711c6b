#include "app/Theme.h"

#include <QLabel>
#include <QWidget>

namespace corvale::app {

namespace {

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
        QComboBox::drop-down { subcontrol-origin: padding; subcontrol-position: center right; width: 26px; border: none; }
        QComboBox::down-arrow { image: url(:/corvale/images/chevron-down.png); width: 12px; height: 12px; }
        QListView#requiredItems { border: 1px solid palette(midlight); border-radius: 8px; background: palette(base);
                                  padding: 4px; }
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
    )") + profileAndSettingsStyle();
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

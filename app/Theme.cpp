#include "app/Theme.h"

#include "app/Accessibility.h"
#include "app/ThemeColors.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QWidget>

#include <string_view>

namespace corvale::app {
namespace {

QString rawStyleSheet();

// A style sheet stops the window's palette reaching its inputs, and Qt 6.4's
// sheets cannot name the placeholder's colour, so each input is given it.
void themePlaceholder(QWidget* widget) {
    if (!widget->inherits("QLineEdit") && !widget->inherits("QPlainTextEdit") && !widget->inherits("QTextEdit")) return;
    QPalette palette = widget->palette();
    const QColor color = themeColor(ColorRole::placeholder, desktopIsDark());
    if (palette.color(QPalette::PlaceholderText) == color) return;
    palette.setColor(QPalette::PlaceholderText, color);
    widget->setPalette(palette);
}

// Repaints the window in the desktop's new scheme when the desktop switches.
class SchemeFollower : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        // The application hears of a new desktop palette even before its event loop runs.
        auto* window = static_cast<QWidget*>(parent());
        if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
            applyTheme(window);
            for (auto* child : window->findChildren<QWidget*>()) themePlaceholder(child);
        } else if (event->type() == QEvent::Polish && watched->isWidgetType()) {
            auto* widget = static_cast<QWidget*>(watched);
            if (widget->window() == window) themePlaceholder(widget);
        }
        return false;
    }
};

// The CME screen: its activity table and the editor panel.
QString cmeStyleSheet() {
    return QStringLiteral(R"(
        QTableView#activities:focus, QTableView#recordTable:focus { border: 2px solid @focus; padding: 0; }
        QTableView#activities { background: @base; alternate-background-color: @alternateBase;
                                border: 1px solid @divider; padding: 1px; border-radius: 10px; outline: 0;
                                selection-background-color: @selection; selection-color: @selectedText; }
        QTableView#activities::item { padding: 0 8px; border: none; }
        QTableView#activities QHeaderView::section { background: @base; color: @muted; font-weight: 600;
                                                     border: none; border-bottom: 1px solid @divider;
                                                     padding: 7px 8px; }
        QTableView#activities QHeaderView { background: transparent; border: none; }
        QWidget#editorForm { background: @base; }
        QScrollArea#editorScroll { background: transparent; border: none; }
        QLabel#fieldLabel { font-weight: 600; }
        QListView#topics, QListView#certificates, QPlainTextEdit { border: 1px solid @border; border-radius: 6px;
                                                                   background: @base; padding: 2px; }
        QListView#topics::item { padding: 3px 2px; }
        QPlainTextEdit:focus, QListView#topics:focus, QListView#certificates:focus { border: 2px solid @focus; }
        QTextBrowser#reportPreview { border: 1px solid @border; background: @base; }
        QTextBrowser#reportPreview:focus { border: 2px solid @focus; }
        QPushButton#flat { border: 2px solid transparent; background: transparent; color: @muted; }
        QPushButton#flat:focus { border-color: @focus; }
        corvale--app--CMEPage QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }
        corvale--app--CMEPage QScrollBar::handle:vertical { background: @border; border-radius: 3px; min-height: 32px; }
        corvale--app--CMEPage QScrollBar::add-line:vertical, corvale--app--CMEPage QScrollBar::sub-line:vertical { height: 0; }
        corvale--app--CMEPage QScrollBar::add-page:vertical, corvale--app--CMEPage QScrollBar::sub-page:vertical { background: none; }
    )");
}

// Profile and settings: record tables, inline panels, and the buttons that destroy.
QString profileAndSettingsStyle() {
    return QStringLiteral(R"(
        QFrame#inset { background: @window; border: 1px solid @divider; border-radius: 10px; }
        QLabel#warning { color: @problem; font-weight: 600; }
        QPushButton#danger { background: @danger; color: @onDanger; border: 2px solid @danger; font-weight: 600; }
        QPushButton#danger:focus { border: 2px solid @focusOnAccent; }
        QPushButton#destructive { color: @problem; }
        QPlainTextEdit { padding: 4px 6px; border-radius: 6px; border: 1px solid @border; background: @base; }
        QPlainTextEdit:focus { border: 2px solid @focus; }
        QLineEdit#secret[readOnly="true"] { background: @window; letter-spacing: 2px; }
        QTableView#recordTable { border: 1px solid @divider; padding: 1px; border-radius: 8px; background: @base;
                                 alternate-background-color: @alternateBase;
                                 selection-background-color: @selection; selection-color: @selectedText; outline: 0; }
        QTableView#recordTable::item { padding-left: 8px; padding-right: 8px; border: none; }
        QTableView#recordTable QHeaderView { background: transparent; }
        QTableView#recordTable QHeaderView::section { background: transparent; color: @muted; border: none;
                                 border-bottom: 1px solid @divider; padding: 6px 10px; font-weight: 600; }
        QListView#requiredItems { border: 1px solid @divider; border-radius: 8px; background: @base;
                                  padding: 4px; }
    )");
}

// The Licenses screen: the credential list, its editor panel and the undo bar
// that the CME screen shares.
QString licensesStyleSheet() {
    return QStringLiteral(R"(
        QTreeView#credentialList, QTreeView#documentTable { background: @base; border: 2px solid transparent;
                                                            border-radius: 6px; outline: 0; }
        QTreeView#credentialList:focus, QTreeView#documentTable:focus { border-color: @focus; }
        QTreeView#credentialList::item, QTreeView#documentTable::item { padding: 7px 4px; border: none; }
        QTreeView#credentialList::item:selected, QTreeView#documentTable::item:selected { background: @selection;
                                                                                         color: @selectedText; }
        QTreeView#credentialList QHeaderView::section, QTreeView#documentTable QHeaderView::section {
                                                         background: @base; color: @muted; border: none;
                                                         border-bottom: 1px solid @divider; padding: 6px 4px;
                                                         font-weight: 600; }
        QFrame#editorPanel { background: @base; border: 1px solid @divider; border-radius: 12px; }
        QScrollArea#editorScroll, QWidget#editorContent { background: @base; border: none; }
        QLabel#editorTitle, QLabel#emptyTitle { color: @text; }
        QListView#checklist, QListView#documentList, QFrame#editorPanel QPlainTextEdit {
            border: 1px solid @border; border-radius: 6px; background: @base; padding: 3px; }
        QListView#checklist:focus, QListView#documentList:focus, QFrame#editorPanel QPlainTextEdit:focus {
            border: 2px solid @focus; }
        QListView#checklist::item, QListView#documentList::item { padding: 4px 2px; }
        QPushButton#link { border: 2px solid transparent; border-radius: 4px; background: transparent; color: @link; padding: 2px 2px; font-weight: 600; }
        QPushButton#link:hover { text-decoration: underline; }
        QPushButton#link:focus { border-color: @focus; text-decoration: underline; }
        QFrame#undoBar { background: @base; border: 1px solid @divider; border-left: 4px solid @accent;
                         border-radius: 10px; }
        QWidget[screen="licenses"] QScrollBar:vertical { border: none; background: transparent; width: 10px; margin: 0; }
        QWidget[screen="licenses"] QScrollBar::handle:vertical { background: @border; min-height: 32px;
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

QString appStyleSheet() { return appStyleSheet(desktopIsDark()); }

QString appStyleSheet(bool dark) { return withThemeColors(rawStyleSheet(), dark); }

void applyTheme(QWidget* window) {
    const bool dark = desktopIsDark();
    window->setPalette(themePalette(dark));
    window->setStyleSheet(appStyleSheet(dark));
    if (!window->findChild<SchemeFollower*>(QString(), Qt::FindDirectChildrenOnly))
        qApp->installEventFilter(new SchemeFollower(window));
}

namespace {

// The sheet with each colour named @role, filled in from the theme table.
QString rawStyleSheet() {
    return QStringLiteral(R"(
        QWidget#appWindow, QWidget#page { background: @window; }
        QFrame#card { background: @base; border: 1px solid @divider; border-radius: 12px; }
        QLabel#caption, QLabel#detail, QLabel#footnote { color: @muted; }
        QLabel#error { color: @problem; }
        QWidget#sidePanel { background: @base; border-right: 1px solid @divider; }
        QListWidget#sidebar { background: transparent; border: 2px solid transparent; border-radius: 8px; padding-top: 2px; outline: 0; }
        QListWidget#sidebar:focus { border-color: @focus; }
        QComboBox#personSwitcher { margin-right: 10px; font-weight: 600; }
        QLabel#status { background: @base; border-top: 1px solid @divider; padding: 8px 20px; }
        QPushButton#segment { border-radius: 0; padding: 7px 18px; background: @base; }
        QPushButton#segment:checked { background: @accent; color: @onAccent; border-color: @accent; }
        QPushButton#segment:checked:focus { border-color: @focusOnAccent; }
        QListWidget#sidebar::item { padding: 8px 16px; border-radius: 8px; margin: 2px 8px; }
        QListWidget#sidebar::item:selected { background: @accent; color: @onAccent; }
        QPushButton { padding: 6px 14px; border-radius: 8px; border: 1px solid @border; background: @base; }
        QPushButton:focus { border: 2px solid @focus; }
        QPushButton#primary { background: @accent; color: @onAccent; border: 2px solid @accent; font-weight: 600; }
        QPushButton#primary:focus { border-color: @focusOnAccent; }
        QPushButton#primary:disabled { background: @divider; border-color: @divider; color: @muted; }
        QLineEdit, QComboBox { padding: 5px 8px; border-radius: 6px; border: 1px solid @border; background: @base; }
        QLineEdit:focus, QComboBox:focus { border: 2px solid @focus; }
        QComboBox { padding-right: 26px; }
        QComboBox::drop-down { border: none; width: 24px; subcontrol-position: center right; }
        QComboBox::down-arrow { image: url(:/icons/chevron-down.png); width: 16px; height: 16px; }
        QComboBox QAbstractItemView { background: @base; color: @text; border: 1px solid @border; outline: 0;
                                      selection-background-color: @selection; selection-color: @selectedText; }
        QComboBox { selection-background-color: @selection; selection-color: @selectedText; }
        QAbstractSpinBox { padding: 4px 6px; border-radius: 6px; border: 1px solid @border; background: @base;
                           color: @text; }
        QAbstractSpinBox:focus { border: 2px solid @focus; }
        QCheckBox, QRadioButton { border: 2px solid transparent; border-radius: 4px; padding: 1px 2px; }
        QCheckBox:focus, QRadioButton:focus { border-color: @focus; }
        QToolButton { border: 2px solid transparent; border-radius: 6px; }
        QToolButton:focus { border-color: @focus; }
        QAbstractItemView { selection-background-color: @selection; selection-color: @selectedText; }
        QMenu { background: @base; color: @text; border: 1px solid @border; }
        QMenu::item:selected { background: @selection; color: @selectedText; }
        QScrollArea { border: 2px solid transparent; }
        QScrollArea:focus { border-color: @focus; }
        QToolTip { background: @base; color: @text; border: 1px solid @border; }
    )") + cmeStyleSheet() +
           profileAndSettingsStyle() + licensesStyleSheet();
}

}  // namespace

QColor goodColor() { return themeColor(ColorRole::good); }
QColor warnColor() { return themeColor(ColorRole::warn); }
QColor alertColor() { return themeColor(ColorRole::alert); }

QColor colorForShare(double share) {
    if (share >= 0.85) return goodColor();
    if (share >= 0.6) return warnColor();
    return alertColor();
}

QLabel* makeLabel(const QString& text, const char* objectName, QWidget* parent) {
    const std::string_view style(objectName);
    auto* label = style == "title" || style == "sectionTitle" ? new HeadingLabel(text, parent) : new QLabel(text, parent);
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

#pragma once
// The list of keyboard shortcuts, opened with F1 or Ctrl+?. It reads the keys
// from the window's own shortcuts and actions, so it cannot fall behind them.

#include <QDialog>
#include <QList>
#include <QString>

class QTableWidget;

namespace corvale::app {

struct ShortcutEntry {
    QString keys;  // as the desktop writes them, e.g. "Ctrl+L"
    QString does;
};

// Every shortcut and action with keys under window, once each, in the order
// they were made. A shortcut without a description is listed as "Unnamed" so
// the list shows the gap instead of hiding the key.
QList<ShortcutEntry> shortcutsOf(const QWidget* window);

class ShortcutList : public QDialog {
    Q_OBJECT
public:
    explicit ShortcutList(QWidget* window);
    // Fills the list afresh and shows it; Escape or Close hides it.
    void showFor(const QWidget* window);
    QList<ShortcutEntry> entries() const { return m_entries; }

private:
    QTableWidget* m_table = nullptr;
    QList<ShortcutEntry> m_entries;
};

// Gives window F1 and Ctrl+? to open its shortcut list.
void installShortcutList(QWidget* window);

}  // namespace corvale::app

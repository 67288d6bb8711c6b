#include "app/ShortcutList.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QKeySequence>
#include <QShortcut>
#include <QTableWidget>
#include <QVBoxLayout>

namespace corvale::app {
namespace {

QString keysText(const QList<QKeySequence>& keys) {
    QStringList words;
    for (const auto& key : keys)
        if (!key.isEmpty()) words << key.toString(QKeySequence::NativeText);
    return words.join(QStringLiteral(" or "));
}

void add(QList<ShortcutEntry>& entries, const QList<QKeySequence>& keys, QString does) {
    const QString text = keysText(keys);
    if (text.isEmpty()) return;
    if (does.isEmpty()) does = QObject::tr("Unnamed");
    for (const auto& entry : entries)
        if (entry.keys == text && entry.does == does) return;
    entries.push_back({text, does});
}

}  // namespace

QList<ShortcutEntry> shortcutsOf(const QWidget* window) {
    QList<ShortcutEntry> entries;
    // Shortcuts: findChildren walks the tree, so screens' own keys come too.
    for (const auto* shortcut : window->findChildren<QShortcut*>())
        add(entries, shortcut->keys(), shortcut->whatsThis());
    for (const auto* action : window->findChildren<QAction*>()) {
        QString does = action->whatsThis().isEmpty() ? action->text() : action->whatsThis();
        add(entries, action->shortcuts(), does.remove(QLatin1Char('&')));
    }
    return entries;
}

ShortcutList::ShortcutList(QWidget* window) : QDialog(window) {
    setWindowTitle(tr("Keyboard shortcuts"));
    setObjectName(QStringLiteral("shortcutList"));
    m_table = new QTableWidget(0, 2, this);
    m_table->setAccessibleName(tr("Keyboard shortcuts"));
    m_table->setHorizontalHeaderLabels({tr("Keys"), tr("What they do")});
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_table, 1);
    layout->addWidget(buttons);
    resize(480, 420);
}

void ShortcutList::showFor(const QWidget* window) {
    m_entries = shortcutsOf(window);
    m_table->setRowCount(static_cast<int>(m_entries.size()));
    for (int row = 0; row < m_entries.size(); ++row) {
        m_table->setItem(row, 0, new QTableWidgetItem(m_entries[row].keys));
        m_table->setItem(row, 1, new QTableWidgetItem(m_entries[row].does));
    }
    m_table->resizeColumnToContents(0);
    m_table->setCurrentCell(0, 0);
    open();
    m_table->setFocus();
}

void installShortcutList(QWidget* window) {
    auto* list = new ShortcutList(window);
    auto* open = new QShortcut(window);
    // Ctrl+? arrives with Shift held on most layouts, and without it on some.
    open->setKeys({QKeySequence(Qt::Key_F1), QKeySequence(Qt::CTRL | Qt::Key_Question),
                   QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Question)});
    open->setContext(Qt::WindowShortcut);
    open->setWhatsThis(QObject::tr("Show this list of shortcuts"));
    QObject::connect(open, &QShortcut::activated, list, [list, window] { list->showFor(window); });
}

}  // namespace corvale::app

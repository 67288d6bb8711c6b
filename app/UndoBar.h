#pragma once
// The bar under a list that says what was just deleted and brings deletions
// back, newest first, one per Undo (or Ctrl+Z while the page has focus).
// The trail is forgotten when the vault locks: undo belongs to one sitting.

#include <QFrame>
#include <QList>
#include <QString>

class QLabel;
class QPushButton;
class QShortcut;

namespace corvale::app {

class UndoBar : public QFrame {
    Q_OBJECT

public:
    // `page` holds the Ctrl+Z shortcut; the bar itself starts hidden.
    explicit UndoBar(QWidget* page);

    // A deletion the user may take back; `name` is how the message names it.
    void deleted(const QString& id, const QString& name);
    // Drops the whole trail, as when the vault locks.
    void forget();
    int depth() const { return static_cast<int>(m_trail.size()); }
    QString message() const;
    QPushButton* undoButton() const { return m_undo; }

signals:
    // The newest deletion: the page brings it back. The bar has already dropped it.
    void undoRequested(const QString& id);

private:
    void takeBack();
    void refresh();

    struct Entry {
        QString id;
        QString name;
    };
    QList<Entry> m_trail;  // oldest first
    QLabel* m_text = nullptr;
    QPushButton* m_undo = nullptr;
    QShortcut* m_shortcut = nullptr;
};

}  // namespace corvale::app

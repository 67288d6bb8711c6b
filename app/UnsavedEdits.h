#pragma once
// Keeps an editor's typing from being dropped on the way to something else.
// The editor records what its form held once a record was loaded; when the
// user moves on with something changed, this inline bar asks Save, Discard
// or Keep editing, and only Save (when it succeeds) or Discard goes on.

#include <QFrame>
#include <QList>
#include <QStringList>

#include <functional>

class QLabel;

namespace corvale::app {

// What the inputs inside `form` hold now, in a fixed order; two readings
// differ exactly when some field was changed. Widgets inside those in
// `except` (ones that save at once, the question itself) are left out.
QStringList formState(const QWidget* form, const QList<const QWidget*>& except = {});

class UnsavedEdits : public QFrame {
    Q_OBJECT

public:
    // `save` answers whether it saved; `discard` closes without saving.
    UnsavedEdits(std::function<bool()> hasEdits, std::function<bool()> save, std::function<void()> discard,
                 QWidget* parent);

    // Runs `then` at once when nothing is unsaved and answers true; otherwise
    // asks, keeps `then` for Save or Discard, and answers false.
    bool leave(std::function<void()> then);
    bool isAsking() const { return !isHidden(); }
    // Drops the question and what was waiting on it.
    void dismiss();

    // What a lock does, which cannot wait for an answer: saves edits that
    // are valid and discards the rest, answering whether anything was lost.
    bool settleBeforeLock();

    void chooseSave();
    void chooseDiscard();

private:
    std::function<bool()> m_hasEdits;
    std::function<bool()> m_save;
    std::function<void()> m_discard;
    std::function<void()> m_then;
};

}  // namespace corvale::app

#pragma once
// One screen of the main window's sidebar. It reads the records through the
// shared context and reloads whenever they or the person in scope change.

#include <QWidget>

#include <functional>

namespace corvale::app {

struct AppContext;

class Screen : public QWidget {
    Q_OBJECT

public:
    Screen(AppContext& context, QWidget* parent = nullptr);

    // Re-reads the records in view. Called after any change, from any screen.
    virtual void reload() = 0;

    // Whether an editor on this screen holds changes not yet saved.
    virtual bool hasUnsavedEdits() const { return false; }
    // Runs `then` at once when nothing is unsaved; otherwise asks the user
    // (Save, Discard, Keep editing) and runs it only after Save or Discard.
    virtual void leave(std::function<void()> then) { then(); }
    // Before a lock, which cannot wait for an answer: valid edits are saved,
    // the rest dropped. Answers whether something was dropped.
    virtual bool settleBeforeLock() { return false; }

signals:
    // This screen changed records through the store; the others reload.
    void recordsChanged();
    // A short confirmation for the window's status line.
    void notify(const QString& text);

protected:
    AppContext& context() const { return m_context; }

private:
    AppContext& m_context;
};

}  // namespace corvale::app

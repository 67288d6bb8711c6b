#pragma once
// One screen of the main window's sidebar. It reads the records through the
// shared context and reloads whenever they or the person in scope change.

#include <QWidget>

namespace corvale::app {

struct AppContext;

class Screen : public QWidget {
    Q_OBJECT

public:
    Screen(AppContext& context, QWidget* parent = nullptr);

    // Re-reads the records in view. Called after any change, from any screen.
    virtual void reload() = 0;

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

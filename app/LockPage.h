#pragma once
// Shown while app lock holds the vault closed: nothing of the records is in memory.

#include <QWidget>

class QLabel;
class QPushButton;

namespace corvale::app {

class LockPage : public QWidget {
    Q_OBJECT

public:
    explicit LockPage(QWidget* parent = nullptr);
    void showError(const QString& message);
    QPushButton* unlockButton() const { return m_unlock; }

signals:
    void unlockRequested();

private:
    QPushButton* m_unlock = nullptr;
    QLabel* m_error = nullptr;
};

}  // namespace corvale::app

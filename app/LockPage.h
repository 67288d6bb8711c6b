#pragma once
// Shown while app lock holds the vault closed: nothing of the records is in memory.

#include "platform/SecureBytes.h"

#include <QWidget>

class QInputDialog;
class QLabel;
class QPushButton;

namespace corvale::app {

// The password typed into the dialog, in a wiping buffer; the field is
// emptied so the dialog keeps no copy.
SecureBytes takePassword(QInputDialog& dialog);

class LockPage : public QWidget {
    Q_OBJECT

public:
    explicit LockPage(QWidget* parent = nullptr);
    void showError(const QString& message);
    QString errorText() const;
    // A standing note beside any error, such as changes waiting to be saved.
    void showNotice(const QString& notice);
    QString noticeText() const;
    QPushButton* unlockButton() const { return m_unlock; }

signals:
    void unlockRequested();

private:
    QPushButton* m_unlock = nullptr;
    QLabel* m_error = nullptr;
    QLabel* m_notice = nullptr;
};

}  // namespace corvale::app

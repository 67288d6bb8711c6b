#pragma once
// Shown when the vault could not be opened at start: the reason as a sentence
// and the ways on that fit it. Trying again is always offered; restoring a
// backup, joining from another device and erasing only for a vault file that
// cannot be read, erasing last and behind a confirmation.

#include <QWidget>

class QLabel;
class QPushButton;

namespace corvale::app {

class StartProblemPage : public QWidget {
    Q_OBJECT

public:
    explicit StartProblemPage(QWidget* parent = nullptr);

    // `unreadable` when the vault file itself is damaged or not a vault;
    // `holderAnswers` when the window holding the vault can be brought forward.
    void showProblem(const QString& message, bool unreadable, bool holderAnswers = false);
    QString message() const;
    QPushButton* retryButton() const { return m_retry; }
    QPushButton* restoreButton() const { return m_restore; }
    QPushButton* joinButton() const { return m_join; }
    QPushButton* eraseButton() const { return m_erase; }
    QPushButton* forwardButton() const { return m_forward; }

signals:
    void retryRequested();
    void forwardRequested();
    void restoreRequested();
    void joinRequested();
    // Emitted only once the user has confirmed.
    void eraseRequested();

private:
    void confirmErase();

    QLabel* m_message = nullptr;
    QPushButton* m_retry = nullptr;
    QPushButton* m_forward = nullptr;
    QPushButton* m_restore = nullptr;
    QPushButton* m_join = nullptr;
    QPushButton* m_erase = nullptr;
};

}  // namespace corvale::app

#pragma once
// The desktop window. Until the record screens land it only tells the user
// where this device's vault lives and whether one is there.

#include <QWidget>

#include <filesystem>

class QEvent;
class QLabel;

namespace corvale::app {

class MainWindow : public QWidget {
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);

    // The folder that holds this device's vault, whether or not it exists yet.
    static std::filesystem::path vaultDirectory();
    // The sealed vault file inside vaultDirectory().
    static std::filesystem::path vaultFile();

    // Re-reads the disk; also runs whenever the window is activated, so a vault
    // created elsewhere shows up when the user comes back.
    void refresh();

protected:
    bool event(QEvent* event) override;

private:
    QLabel* m_location = nullptr;
    QLabel* m_statusDot = nullptr;
    QLabel* m_status = nullptr;
};

}  // namespace corvale::app

#pragma once
// The vault's settings and this device's: reminders, app lock, backups, the
// key file for another device, and erasing. Anything that could lose records
// (restoring over the vault, erasing it) confirms inline first, and anything
// slow runs off the interface thread.

#include "app/Screen.h"

#include <QString>

#include <optional>

class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;

namespace corvale::app {

class SettingsPage : public Screen {
    Q_OBJECT

public:
    explicit SettingsPage(AppContext& context, QWidget* parent = nullptr);
    ~SettingsPage() override;

    void reload() override;
    // For tests and the window: the file the next export/restore/key-file choice returns instead of opening a file
    // dialog (used once).
    void setNextFileChoice(const QString& path);

signals:
    void phaseChanged();     // erased or restored: the window re-routes by the store's phase
    void idleLockChanged();  // the idle minutes or app lock changed
    void dropFolderChanged();  // the drop folder was chosen, changed or turned off

private:
    // Two passphrase fields with their problem line and buttons, shown inline under the button that opened them.
    struct PassphrasePanel {
        QFrame* frame = nullptr;
        QLineEdit* passphrase = nullptr;
        QLineEdit* repeat = nullptr;
        QLabel* error = nullptr;
    };

    QFrame* buildReminders(QWidget* content);
    QFrame* buildDropFolder(QWidget* content);
    QFrame* buildPrivacy(QWidget* content);
    QFrame* buildBackup(QWidget* content);
    QFrame* buildAnotherDevice(QWidget* content);
    QFrame* buildErase(QWidget* content);
    PassphrasePanel passphrasePanel(const QString& subject, const QString& action, QWidget* parent,
                                    void (SettingsPage::*run)());

    void saveReminders();
    void setAppLock(bool enabled);
    void setRemindWhenClosed(bool on);
    void saveCalendar();
    void setWatchDropFolder(bool on);
    void chooseDropFolder();
    void setIdleMinutes(int index);
    void showLastBackup();
    void exportBackup();
    void chooseRestore();
    void checkRestore();
    void restore();
    void exportKeyFile();
    void erase();
    void closePanels();
    QString chooseFile(bool forSaving, const QString& title, const QString& suggestedName, const QString& filter);

    std::optional<QString> m_nextFile;
    QString m_restorePath;
    bool m_filling = false;  // controls are being set from the records, not by the user

    QLineEdit* m_reminderDays = nullptr;
    QComboBox* m_primaryState = nullptr;
    QComboBox* m_profession = nullptr;
    QLabel* m_remindersError = nullptr;
    QPushButton* m_saveReminders = nullptr;

    QCheckBox* m_appLock = nullptr;
    QCheckBox* m_watchDrop = nullptr;
    QLabel* m_dropPath = nullptr;
    QString m_dropFolder;  // the folder chosen, kept while watching is off
    QCheckBox* m_remindClosed = nullptr;
    QCheckBox* m_weekly = nullptr;
    QComboBox* m_weekday = nullptr;
    QComboBox* m_weekHour = nullptr;
    QCheckBox* m_keepCalendar = nullptr;
    QString m_calendarPath;  // the calendar file last saved or kept
    QComboBox* m_idle = nullptr;
    QLabel* m_privacyError = nullptr;

    QLabel* m_lastBackup = nullptr;
    QPushButton* m_exportButton = nullptr;
    PassphrasePanel m_export;
    QPushButton* m_restoreButton = nullptr;
    QFrame* m_restorePanel = nullptr;
    QLabel* m_restoreFile = nullptr;
    QLineEdit* m_restorePassphrase = nullptr;
    QPushButton* m_checkRestore = nullptr;
    QFrame* m_restoreConfirm = nullptr;
    QLabel* m_restoreWarning = nullptr;
    QLabel* m_restoreError = nullptr;

    QPushButton* m_keyButton = nullptr;
    PassphrasePanel m_key;
    QLabel* m_vaultFolder = nullptr;

    QPushButton* m_eraseButton = nullptr;
    QFrame* m_eraseConfirm = nullptr;
    QLabel* m_eraseError = nullptr;
};

}  // namespace corvale::app

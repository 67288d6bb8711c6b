#pragma once
// The window: onboarding, the lock screen or the screens, as the store's
// phase says. Everything it shows comes from the one VaultStore it owns.

#include "app/CalendarFile.h"

#include <QWidget>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QComboBox;
class QLabel;
class QListWidget;
class QStackedWidget;
class QTimer;

// Kept out of this header: the meta-object compiler cannot read the records' C++20 headers.
namespace corvale {
class Clock;
class Notifier;
class ReminderTimer;
class Requirements;
class VaultStore;
struct VaultError;
struct VaultStoreSetup;
}  // namespace corvale

namespace corvale::app {

struct AppContext;
class CMEPage;
class LicensesPage;
class LockPage;
class OnboardingPage;
class ProfilePage;
class Screen;
class SessionWatcher;
class SettingsPage;
class StartProblemPage;
class WindowBeacon;
class DocumentsPage;
class DropFolderWatch;
class ReportPage;
class PlanPage;
class TodayPage;

class MainWindow : public QWidget {
    Q_OBJECT

public:
    MainWindow(const VaultStoreSetup& setup, const Requirements& requirements, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Where the day's reminders go while the window holds the vault (the
    // command-line timer gives way to it); none sends nothing.
    void setNotifier(Notifier* notifier) { m_notifier = notifier; }
    // Lets Settings run `program remind` while the window is closed.
    void setReminderTimer(ReminderTimer* timer, const std::filesystem::path& program);

    VaultStore& store() { return *m_store; }
    AppContext& context() { return *m_context; }

    // Opens the vault as its phase says: onboarding, the lock screen or the
    // screens. The reading and decrypting run off the interface thread.
    void start();
    // Shows the page the phase calls for and recomputes what every screen shows.
    void refresh();
    // "opening", "problem", "onboarding", "lock", or the screen in view: "today", "plan", "licenses", "cme",
    // "report", "profile", "settings".
    QString pageName() const;
    void showScreen(const QString& name);
    // Brings the window forward on a corvale:// link: Today, or a credential or
    // activity in its editor. A link that comes while the vault is locked is
    // followed once it is unlocked; one for a window that finds another holding
    // the vault is handed to that window, and this one closes.
    void openLink(const QString& link);
    // With app lock on: saves what is pending, empties the document and shows
    // the lock screen. Asked for while a long task runs, it happens when the task ends.
    bool lockIfEnabled();
    // How long without input before app lock closes the vault; zero when it never does.
    std::chrono::milliseconds idleLockDelay() const;

    OnboardingPage* onboardingPage() const { return m_onboarding; }
    LockPage* lockPage() const { return m_lock; }
    StartProblemPage* startProblemPage() const { return m_problem; }
    TodayPage* todayPage() const { return m_today; }
    LicensesPage* licensesPage() const { return m_licenses; }
    CMEPage* cmePage() const { return m_cme; }
    ProfilePage* profilePage() const { return m_profile; }
    ReportPage* reportPage() const { return m_report; }
    DocumentsPage* documentsPage() const { return m_documents; }
    DropFolderWatch* dropFolderWatch() const { return m_dropWatch; }
    PlanPage* planPage() const { return m_plan; }
    SettingsPage* settingsPage() const { return m_settings; }
    QComboBox* personSwitcher() const { return m_person; }
    SessionWatcher* sessionWatcher() const { return m_session; }
    WindowBeacon* beacon() const { return m_beacon; }
    QString statusText() const;
    // Whether some screen's editor holds changes not yet saved.
    bool hasUnsavedEdits() const;

protected:
    void changeEvent(QEvent* event) override;
    // With unsaved edits the window stays until they are saved or discarded.
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Files dropped anywhere on an open vault's window go to the Documents screen to be read.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void addScreen(const QString& name, const QString& title, QWidget* page);
    void create();
    void join(const QString& folder, const QString& passphrase);
    void restore(const QString& archive, const QString& passphrase);
    void unlock();
    void showStartProblem(const VaultError& error);
    void retryStart();
    void restoreInsteadOfUnreadable();
    void joinInsteadOfUnreadable();
    void eraseUnreadable();
    void reloadScreens();
    void fillPersonSwitcher(const std::vector<std::pair<QString, QString>>& entries);
    void choosePerson(int index);
    // Asks each screen with unsaved edits in turn; `then` runs once none is left.
    void leaveEditors(std::function<void()> then);
    void openFix(const QString& action, const QString& recordId);
    void notify(const QString& text);
    void armIdleLock();
    // Once a day while the vault is open: what is due goes to the desktop.
    void remindIfNewDay();
    void followPendingLink();
    void bringForward();

    const Clock& m_clock;
    const Requirements& m_requirements;
    std::unique_ptr<VaultStore> m_store;
    std::unique_ptr<AppContext> m_context;
    QStackedWidget* m_pages = nullptr;
    QLabel* m_opening = nullptr;
    OnboardingPage* m_onboarding = nullptr;
    LockPage* m_lock = nullptr;
    StartProblemPage* m_problem = nullptr;
    QWidget* m_shell = nullptr;
    QComboBox* m_person = nullptr;
    QListWidget* m_sidebar = nullptr;
    QStackedWidget* m_screens = nullptr;
    QLabel* m_status = nullptr;
    QTimer* m_statusTimer = nullptr;
    QTimer* m_idleTimer = nullptr;
    SessionWatcher* m_session = nullptr;
    WindowBeacon* m_beacon = nullptr;
    TodayPage* m_today = nullptr;
    LicensesPage* m_licenses = nullptr;
    CMEPage* m_cme = nullptr;
    ReportPage* m_report = nullptr;
    DocumentsPage* m_documents = nullptr;
    DropFolderWatch* m_dropWatch = nullptr;
    PlanPage* m_plan = nullptr;
    ProfilePage* m_profile = nullptr;
    SettingsPage* m_settings = nullptr;
    std::vector<Screen*> m_screenList;
    std::vector<QString> m_screenNames;  // in sidebar order
    bool m_fillingSwitcher = false;
    Notifier* m_notifier = nullptr;
    QString m_pendingLink;  // a corvale:// link waiting for the vault to open
    QString m_remindedOn;  // the day reminders last went out, as YYYY-MM-DD
    QTimer* m_reminderTimer = nullptr;
    CalendarFile m_calendarFile;
    bool m_draftDropped = false;  // said once the vault is open again
    bool m_startFailed = false;
    // The vault file could not be read at start; a restore replaces it once the backup checks out.
    bool m_replacingUnreadable = false;
    bool m_lockDeferred = false;
};

}  // namespace corvale::app

#pragma once
// The window: onboarding, the lock screen or the screens, as the store's
// phase says. Everything it shows comes from the one VaultStore it owns.

#include <QWidget>

#include <memory>

class QListWidget;
class QStackedWidget;

// Kept out of this header: the meta-object compiler cannot read the records' C++20 headers.
namespace corvale {
class Clock;
class Requirements;
class VaultStore;
struct VaultStoreSetup;
}  // namespace corvale

namespace corvale::app {

class LockPage;
class OnboardingPage;
class TodayPage;

class MainWindow : public QWidget {
    Q_OBJECT

public:
    MainWindow(const VaultStoreSetup& setup, const Requirements& requirements, QWidget* parent = nullptr);
    ~MainWindow() override;

    VaultStore& store() { return *m_store; }
    // Shows the page the phase calls for and recomputes what it shows.
    void refresh();
    // "onboarding", "lock" or the screen's name.
    QString pageName() const;
    // With app lock on: saves what is pending, empties the document and shows the lock screen.
    bool lockIfEnabled();

    OnboardingPage* onboardingPage() const { return m_onboarding; }
    LockPage* lockPage() const { return m_lock; }
    TodayPage* todayPage() const { return m_today; }

protected:
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void create();
    void unlock();

    const Clock& m_clock;
    const Requirements& m_requirements;
    std::unique_ptr<VaultStore> m_store;
    QStackedWidget* m_pages = nullptr;
    OnboardingPage* m_onboarding = nullptr;
    LockPage* m_lock = nullptr;
    QWidget* m_shell = nullptr;
    QListWidget* m_sidebar = nullptr;
    QStackedWidget* m_screens = nullptr;
    TodayPage* m_today = nullptr;
};

}  // namespace corvale::app

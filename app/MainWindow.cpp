#include "app/MainWindow.h"

#include "app/LockPage.h"
#include "app/OnboardingPage.h"
#include "app/Theme.h"
#include "app/TodayPage.h"
#include "requirements/Readiness.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>

namespace corvale::app {
namespace {

QString message(const VaultError& error) { return QString::fromStdString(error.message()); }

}  // namespace

MainWindow::MainWindow(const VaultStoreSetup& setup, const Requirements& requirements, QWidget* parent)
    : QWidget(parent), m_clock(setup.clock), m_requirements(requirements), m_store(std::make_unique<VaultStore>(setup)) {
    setObjectName(QStringLiteral("appWindow"));
    setAttribute(Qt::WA_StyledBackground, true);
    setWindowTitle(QStringLiteral("Corvale"));
    setStyleSheet(appStyleSheet());
    setMinimumSize(900, 600);
    resize(1280, 800);

    m_pages = new QStackedWidget(this);
    m_onboarding = new OnboardingPage(m_pages);
    m_lock = new LockPage(m_pages);
    m_shell = new QWidget(m_pages);
    m_pages->addWidget(m_onboarding);
    m_pages->addWidget(m_lock);
    m_pages->addWidget(m_shell);

    m_sidebar = new QListWidget(m_shell);
    m_sidebar->setObjectName(QStringLiteral("sidebar"));
    m_sidebar->setAccessibleName(tr("Screens"));
    m_sidebar->setFixedWidth(200);
    m_screens = new QStackedWidget(m_shell);
    m_today = new TodayPage(m_screens);
    m_screens->addWidget(m_today);
    m_sidebar->addItem(tr("Today"));
    m_sidebar->setCurrentRow(0);
    connect(m_sidebar, &QListWidget::currentRowChanged, m_screens, &QStackedWidget::setCurrentIndex);
    auto* shellLayout = new QHBoxLayout(m_shell);
    shellLayout->setContentsMargins(0, 0, 0, 0);
    shellLayout->setSpacing(0);
    shellLayout->addWidget(m_sidebar);
    shellLayout->addWidget(m_screens, 1);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pages);

    connect(m_onboarding, &OnboardingPage::createRequested, this, &MainWindow::create);
    connect(m_lock, &LockPage::unlockRequested, this, &MainWindow::unlock);

    if (auto started = m_store->start(); !started) m_lock->showError(message(started.error()));
    refresh();
}

MainWindow::~MainWindow() = default;

QString MainWindow::pageName() const {
    if (m_pages->currentWidget() == m_onboarding) return QStringLiteral("onboarding");
    if (m_pages->currentWidget() == m_lock) return QStringLiteral("lock");
    return QStringLiteral("today");
}

void MainWindow::refresh() {
    switch (m_store->phase()) {
    case VaultPhase::loading:
    case VaultPhase::welcome:
        m_pages->setCurrentWidget(m_onboarding);
        return;
    case VaultPhase::locked:
        m_pages->setCurrentWidget(m_lock);
        m_lock->unlockButton()->setFocus();
        return;
    case VaultPhase::ready:
        break;
    }
    m_pages->setCurrentWidget(m_shell);
    const Day today = Day::local(m_clock.now());
    const auto& rules = m_requirements.file();
    const auto readiness = Readiness::compute(m_store->doc(), rules ? &*rules : nullptr, today);
    m_today->display(readiness, today);
}

bool MainWindow::lockIfEnabled() {
    if (!m_store->prefs().flag(Prefs::kAppLock) || m_store->phase() != VaultPhase::ready) return false;
    if (auto locked = m_store->lock(); !locked) {
        m_lock->showError(message(locked.error()));
        return false;
    }
    refresh();
    return true;
}

void MainWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::WindowStateChange && isMinimized()) lockIfEnabled();
    QWidget::changeEvent(event);
}

void MainWindow::hideEvent(QHideEvent* event) {
    lockIfEnabled();
    QWidget::hideEvent(event);
}

void MainWindow::create() {
    if (auto created = m_store->create(m_onboarding->onboarding()); !created) {
        m_onboarding->showError(message(created.error()));
        return;
    }
    refresh();
}

void MainWindow::unlock() {
    if (auto unlocked = m_store->unlock(); !unlocked) {
        m_lock->showError(message(unlocked.error()));
        return;
    }
    m_lock->showError(QString());
    refresh();
}

}  // namespace corvale::app

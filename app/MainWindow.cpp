#include "app/MainWindow.h"

#include "app/Accessibility.h"
#include "app/AppContext.h"
#include "app/CMEPage.h"
#include "app/LicensesPage.h"
#include "app/LockPage.h"
#include "app/LongTask.h"
#include "app/OnboardingPage.h"
#include "app/ProfilePage.h"
#include "app/Screen.h"
#include "app/SecretField.h"
#include "app/SessionWatcher.h"
#include "app/SettingsPage.h"
#include "app/ShortcutList.h"
#include "app/StartProblemPage.h"
#include "app/Theme.h"
#include "app/TodayPage.h"
#include "app/WheelGuard.h"
#include "app/WindowBeacon.h"
#include "app/PlanPage.h"
#include "app/DocumentsPage.h"
#include "app/DropFolderWatch.h"
#include "app/ReportPage.h"
#include "records/RecordLink.h"
#include "requirements/Readiness.h"
#include "requirements/ReminderSender.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QShortcut>
#include <QStackedWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

// The icons live in a static library, so its resources are registered by hand.
static void registerResources() { Q_INIT_RESOURCE(app); }

namespace corvale::app {
namespace {

constexpr int kStatusMilliseconds = 5000;

QString message(const VaultError& error) { return QString::fromStdString(error.message()); }

QString text(const std::string& value) { return QString::fromStdString(value); }

}  // namespace

MainWindow::MainWindow(const VaultStoreSetup& setup, const Requirements& requirements, QWidget* parent)
    : QWidget(parent),
      m_clock(setup.clock),
      m_requirements(requirements),
      m_store(std::make_unique<VaultStore>(setup)),
      m_context(std::make_unique<AppContext>(AppContext{*m_store, requirements, setup.clock, nullptr, {}})) {
    registerResources();
    installAccessibility();
    setObjectName(QStringLiteral("appWindow"));
    setAttribute(Qt::WA_StyledBackground, true);
    setWindowTitle(QStringLiteral("Corvale"));
    applyTheme(this);
    setMinimumSize(900, 600);
    resize(1280, 800);
    setAcceptDrops(true);

    m_pages = new QStackedWidget(this);
    m_opening = makeLabel(tr("Opening your vault…"), "caption", m_pages);
    m_opening->setAlignment(Qt::AlignCenter);
    m_pages->addWidget(m_opening);
    m_onboarding = new OnboardingPage(m_pages);
    m_lock = new LockPage(m_pages);
    m_problem = new StartProblemPage(m_pages);
    m_shell = new QWidget(m_pages);
    m_pages->addWidget(m_onboarding);
    m_pages->addWidget(m_lock);
    m_pages->addWidget(m_problem);
    m_pages->addWidget(m_shell);

    auto* side = new QWidget(m_shell);
    side->setObjectName(QStringLiteral("sidePanel"));
    side->setAttribute(Qt::WA_StyledBackground, true);
    side->setFixedWidth(220);
    m_person = new QComboBox(side);
    m_person->setObjectName(QStringLiteral("personSwitcher"));
    m_person->setAccessibleName(tr("Whose records"));
    m_person->setToolTip(tr("Show one person's records, or everyone's"));
    m_sidebar = new QListWidget(side);
    m_sidebar->setObjectName(QStringLiteral("sidebar"));
    m_sidebar->setAccessibleName(tr("Screens"));
    auto* sideLayout = new QVBoxLayout(side);
    sideLayout->setContentsMargins(10, 14, 0, 0);
    sideLayout->setSpacing(8);
    sideLayout->addWidget(m_person);
    sideLayout->addWidget(m_sidebar, 1);

    m_screens = new QStackedWidget(m_shell);
    m_status = makeLabel(QString(), "status", m_shell);
    m_status->setAccessibleName(tr("Status"));
    m_status->setVisible(false);
    m_statusTimer = new QTimer(this);
    m_statusTimer->setSingleShot(true);
    connect(m_statusTimer, &QTimer::timeout, m_status, &QLabel::hide);
    auto* main = new QVBoxLayout;
    main->setContentsMargins(0, 0, 0, 0);
    main->setSpacing(0);
    main->addWidget(m_screens, 1);
    main->addWidget(m_status);

    m_today = new TodayPage(m_screens);
    addScreen(QStringLiteral("today"), tr("Today"), m_today);
    connect(m_today, &TodayPage::fixRequested, this, &MainWindow::openFix);
    connect(m_today, &TodayPage::personRequested, this, [this](const QString& personId) {
        const int index = m_person->findData(personId);
        if (index >= 0) m_person->setCurrentIndex(index);
    });
    m_plan = new PlanPage(*m_context, m_screens);
    addScreen(QStringLiteral("plan"), tr("Plan"), m_plan);
    connect(m_plan, &PlanPage::fixRequested, this, &MainWindow::openFix);
    m_licenses = new LicensesPage(*m_context, m_screens);
    addScreen(QStringLiteral("licenses"), tr("Licenses"), m_licenses);
    m_cme = new CMEPage(*m_context, m_screens);
    addScreen(QStringLiteral("cme"), tr("CME"), m_cme);
    m_documents = new DocumentsPage(*m_context, m_screens);
    addScreen(QStringLiteral("documents"), tr("Documents"), m_documents);
    m_report = new ReportPage(*m_context, m_screens);
    addScreen(QStringLiteral("report"), tr("Report"), m_report);
    m_profile = new ProfilePage(*m_context, m_screens);
    addScreen(QStringLiteral("profile"), tr("Profile"), m_profile);
    m_settings = new SettingsPage(*m_context, m_screens);
    addScreen(QStringLiteral("settings"), tr("Settings"), m_settings);
    connect(m_settings, &SettingsPage::phaseChanged, this, &MainWindow::refresh);
    connect(m_settings, &SettingsPage::idleLockChanged, this, &MainWindow::armIdleLock);
    m_dropWatch = new DropFolderWatch(setup.files, *m_store, m_clock, this);
    connect(m_settings, &SettingsPage::dropFolderChanged, m_dropWatch, &DropFolderWatch::follow);
    connect(m_dropWatch, &DropFolderWatch::filed, this, [this](int stored, const QStringList& problems) {
        if (stored > 0) reloadScreens();
        const QString news = stored == 1 ? tr("1 document from the drop folder to review.")
                             : stored > 1 ? tr("%1 documents from the drop folder to review.").arg(stored)
                                          : QString();
        const QString said = (QStringList{news} + problems).join(QLatin1Char(' ')).trimmed();
        if (!said.isEmpty()) notify(said);
    });

    m_sidebar->setCurrentRow(0);
    connect(m_sidebar, &QListWidget::currentRowChanged, m_screens, &QStackedWidget::setCurrentIndex);
    connect(m_person, &QComboBox::currentIndexChanged, this, &MainWindow::choosePerson);
    auto* shellLayout = new QHBoxLayout(m_shell);
    shellLayout->setContentsMargins(0, 0, 0, 0);
    shellLayout->setSpacing(0);
    shellLayout->addWidget(side);
    shellLayout->addLayout(main, 1);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pages);

    connect(m_onboarding, &OnboardingPage::createRequested, this, &MainWindow::create);
    connect(m_onboarding, &OnboardingPage::joinRequested, this, &MainWindow::join);
    connect(m_onboarding, &OnboardingPage::restoreRequested, this, &MainWindow::restore);
    connect(m_lock, &LockPage::unlockRequested, this, &MainWindow::unlock);
    connect(m_problem, &StartProblemPage::retryRequested, this, &MainWindow::retryStart);
    connect(m_problem, &StartProblemPage::restoreRequested, this, &MainWindow::restoreInsteadOfUnreadable);
    connect(m_problem, &StartProblemPage::joinRequested, this, &MainWindow::joinInsteadOfUnreadable);
    connect(m_problem, &StartProblemPage::eraseRequested, this, &MainWindow::eraseUnreadable);
    m_beacon = new WindowBeacon(m_store->vaultDirectory(), this);
    connect(m_beacon, &WindowBeacon::raiseRequested, this, &MainWindow::bringForward);
    connect(m_beacon, &WindowBeacon::openRequested, this, &MainWindow::openLink);
    connect(m_problem, &StartProblemPage::forwardRequested, this, [this] {
        // Once the holder is in front this window has nothing to offer; if it did not answer, retrying is left.
        if (m_beacon->bringHolderForward()) {
            close();
            return;
        }
        m_problem->showProblem(message(VaultError::inUse()), false, false);
    });

    m_idleTimer = new QTimer(this);
    m_idleTimer->setSingleShot(true);
    connect(m_idleTimer, &QTimer::timeout, this, &MainWindow::lockIfEnabled);
    // A window left open overnight reminds on the new day too.
    m_reminderTimer = new QTimer(this);
    m_reminderTimer->start(std::chrono::minutes(15));
    connect(m_reminderTimer, &QTimer::timeout, this, &MainWindow::remindIfNewDay);
    qApp->installEventFilter(this);
    guardWheel(this);
    auto* lockNow = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_L), m_shell);
    lockNow->setWhatsThis(tr("Lock the vault"));
    connect(lockNow, &QShortcut::activated, this, &MainWindow::lockIfEnabled);
    installShortcutList(this);
    m_session = new SessionWatcher(this);
    connect(m_session, &SessionWatcher::sessionLocked, this, &MainWindow::lockIfEnabled);

    // Nothing is read until start().
    m_pages->setCurrentWidget(m_opening);
}

MainWindow::~MainWindow() {
    qApp->removeEventFilter(this);
    // Quitting leaves no plain copy behind; a viewer that has one open keeps reading it.
    (void)m_store->clearTemporaryFiles();
}

void MainWindow::addScreen(const QString& name, const QString& title, QWidget* page) {
    m_screens->addWidget(page);
    m_sidebar->addItem(title);
    m_screenNames.push_back(name);
    // Ctrl+1, Ctrl+2... in sidebar order.
    const int row = m_sidebar->count() - 1;
    auto* jump = new QShortcut(QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + row)), m_shell);
    jump->setWhatsThis(tr("Go to %1").arg(title));
    connect(jump, &QShortcut::activated, this, [this, row] {
        m_sidebar->setCurrentRow(row);
        // The page itself takes focus: focus left inside the page going out of view would pass to the
        // next control in the chain, often the new page's main button, where Enter would start something
        // unasked. The page's own shortcuts (Ctrl+N) still reach it, and Tab goes to its first control.
        if (QWidget* shown = m_screens->currentWidget()) shown->setFocus(Qt::ShortcutFocusReason);
    });
    m_sidebar->item(row)->setToolTip(tr("%1 (Ctrl+%2)").arg(title).arg(row + 1));
    if (auto* screen = qobject_cast<Screen*>(page)) {
        m_screenList.push_back(screen);
        connect(screen, &Screen::recordsChanged, this, &MainWindow::refresh);
        connect(screen, &Screen::notify, this, &MainWindow::notify);
    }
}

void MainWindow::start() {
    const auto started = LongTask::run(this, tr("Opening your vault…"), [this] { return m_store->start(); });
    if (!started) {
        showStartProblem(started.error());
        return;
    }
    m_startFailed = false;
    // This window holds the vault now, so another that finds it in use can bring this one forward.
    (void)m_beacon->listen();
    refresh();
}

void MainWindow::showStartProblem(const VaultError& error) {
    using Code = VaultError::Code;
    // Started on a link while another window holds the vault: that window opens it, and this one has no more to do.
    if (error.code == Code::inUse && !m_pendingLink.isEmpty() && m_beacon->openInHolder(m_pendingLink)) {
        m_pendingLink.clear();
        QTimer::singleShot(0, this, &QWidget::close);
        return;
    }
    // Only a vault file that cannot be read is worth replacing; a keyring or a
    // disk that failed once may well work on the next try.
    const bool unreadable = error.code == Code::damaged || error.code == Code::badFormat;
    m_startFailed = true;
    const bool holderAnswers = error.code == Code::inUse && m_beacon->holderAnswers();
    m_problem->showProblem(message(error), unreadable, holderAnswers);
    m_pages->setCurrentWidget(m_problem);
}

void MainWindow::retryStart() {
    m_pages->setCurrentWidget(m_opening);
    start();
}

void MainWindow::restoreInsteadOfUnreadable() {
    m_replacingUnreadable = true;
    m_onboarding->showWay(OnboardingPage::Way::restore);
    m_pages->setCurrentWidget(m_onboarding);
}

void MainWindow::joinInsteadOfUnreadable() {
    m_replacingUnreadable = true;
    m_onboarding->showWay(OnboardingPage::Way::join);
    m_pages->setCurrentWidget(m_onboarding);
}

void MainWindow::eraseUnreadable() {
    if (auto erased = m_store->erase(); !erased) {
        m_problem->showProblem(message(erased.error()), true);
        return;
    }
    m_startFailed = false;
    m_replacingUnreadable = false;
    refresh();
}

QString MainWindow::pageName() const {
    if (m_pages->currentWidget() == m_onboarding) return QStringLiteral("onboarding");
    if (m_pages->currentWidget() == m_lock) return QStringLiteral("lock");
    if (m_pages->currentWidget() == m_opening) return QStringLiteral("opening");
    if (m_pages->currentWidget() == m_problem) return QStringLiteral("problem");
    const int row = m_screens->currentIndex();
    return row >= 0 && static_cast<std::size_t>(row) < m_screenNames.size()
               ? m_screenNames[static_cast<std::size_t>(row)]
               : QString();
}

void MainWindow::showScreen(const QString& name) {
    const auto found = std::find(m_screenNames.begin(), m_screenNames.end(), name);
    if (found != m_screenNames.end()) m_sidebar->setCurrentRow(static_cast<int>(found - m_screenNames.begin()));
}

QString MainWindow::statusText() const { return m_status->isVisible() ? m_status->text() : QString(); }

void MainWindow::refresh() {
    switch (m_store->phase()) {
    case VaultPhase::loading:
        // A restore chosen from the problem page keeps its form in view.
        if (m_pages->currentWidget() != m_onboarding)
            m_pages->setCurrentWidget(m_startFailed ? static_cast<QWidget*>(m_problem) : m_opening);
        return;
    case VaultPhase::welcome:
        m_pages->setCurrentWidget(m_onboarding);
        if (m_store->hasVaultFile()) {
            // Its key is gone: a new vault would strand it, so only joining or restoring is offered.
            m_onboarding->setCreateOffered(false);
            if (m_onboarding->way() == OnboardingPage::Way::create) m_onboarding->showWay(OnboardingPage::Way::join);
            m_onboarding->showNotice(
                message(VaultError::keyMissing()) + QLatin1Char(' ') +
                tr("Join with the key file from your other device, or restore a backup, to open the vault that is "
                   "here."));
        } else {
            m_onboarding->setCreateOffered(true);
            m_onboarding->showNotice(QString());
        }
        m_onboarding->focusFirstField();
        reloadScreens();  // with the document empty, no record stays on a screen
        armIdleLock();
        return;
    case VaultPhase::locked:
        m_pages->setCurrentWidget(m_lock);
        m_lock->showNotice(m_store->lastSaveError()
                               ? tr("Your latest changes couldn't be saved to disk, so Corvale keeps them sealed and "
                                    "saves them again when you unlock.")
                               : QString());
        m_lock->unlockButton()->setFocus();
        reloadScreens();
        armIdleLock();
        return;
    case VaultPhase::ready:
        break;
    }
    m_pages->setCurrentWidget(m_shell);
    reloadScreens();
    armIdleLock();
    m_dropWatch->follow();
    remindIfNewDay();
    followPendingLink();
}

void MainWindow::bringForward() {
    if (isMinimized()) showNormal();
    raise();
    activateWindow();
}

void MainWindow::openLink(const QString& link) {
    if (!RecordLink::parse(link.toStdString())) {
        notify(tr("Corvale can't open %1: it isn't a link to anything in the vault.").arg(link));
        return;
    }
    m_pendingLink = link;
    bringForward();
    followPendingLink();
}

void MainWindow::followPendingLink() {
    if (m_pendingLink.isEmpty() || m_store->phase() != VaultPhase::ready) return;
    const auto link = RecordLink::parse(std::exchange(m_pendingLink, QString()).toStdString());
    if (!link || link->target == RecordLink::Target::today) {
        showScreen(QStringLiteral("today"));
        return;
    }
    const VaultDocument& doc = m_store->doc();
    const auto ownerOf = [&](const auto& records) -> std::optional<std::string> {
        for (const auto& record : records)
            if (record.id == link->recordId && !record.deleted) return record.personId;
        return std::nullopt;
    };
    const bool credential = link->target == RecordLink::Target::credential;
    const auto owner = credential ? ownerOf(doc.credentials) : ownerOf(doc.cme);
    if (!owner) {
        notify(credential ? tr("That credential is no longer in the vault.")
                          : tr("That activity is no longer in the vault."));
        return;
    }
    // Someone else's record in an office vault: the view widens to take it in.
    const auto& scope = m_store->scopePersonId();
    if (scope && *scope != *owner) {
        const int everyone = m_person->findData(QString());
        if (everyone >= 0) m_person->setCurrentIndex(everyone);
    }
    const QString id = text(link->recordId);
    if (credential) {
        showScreen(QStringLiteral("licenses"));
        m_licenses->editCredential(id);
    } else {
        showScreen(QStringLiteral("cme"));
        m_cme->editActivity(id);
    }
}

void MainWindow::setReminderTimer(ReminderTimer* timer, const std::filesystem::path& program) {
    m_context->reminderTimer = timer;
    m_context->remindProgram = program;
    for (Screen* screen : m_screenList) screen->reload();
}

void MainWindow::remindIfNewDay() {
    if (!m_notifier || m_store->phase() != VaultPhase::ready) return;
    const auto now = m_clock.now();
    const Day today = m_context->today();
    Prefs& prefs = m_store->prefs();
    const WeeklyReview review{prefs.flag(Prefs::kWeeklyReview),
                              prefs.integer(Prefs::kWeeklyReviewWeekday, Prefs::kDefaultWeeklyReviewWeekday),
                              prefs.integer(Prefs::kWeeklyReviewHour, Prefs::kDefaultWeeklyReviewHour)};
    // The day's reminders once a day; the weekly review at its hour, which a later check may reach.
    const QString day = text(today.toString());
    const int hour = ReminderPlan::localHour(now);
    if (day == m_remindedOn && !(review.on && ReminderPlan::isWeeklyReviewTime(review.weekday, review.hour, today, hour)))
        return;
    const auto& rules = m_requirements.file();
    const auto readiness = Readiness::compute(m_store->doc(), rules ? &*rules : nullptr, today);
    const auto shown = prefs.textSet(Prefs::kRemindersShown);
    auto due = day == m_remindedOn ? std::vector<Reminder>{}
                                   : ReminderPlan::due(readiness, m_store->doc().settings, today, shown);
    due = ReminderPlan::withWeeklyReview(std::move(due), readiness, review, today, hour, shown);
    if (due.empty()) {
        m_remindedOn = day;
        return;
    }
    // With app lock on, anyone at the screen can read a notification: it says only that something is due.
    const auto sending = sendReminders(*m_notifier, due, prefs.flag(Prefs::kAppLock));
    (void)prefs.setTextSet(Prefs::kRemindersShown, remember(shown, sending, today));
    // A desktop that refused is tried again at the next check.
    if (!sending.failure) m_remindedOn = day;
}

void MainWindow::reloadScreens() {
    const Day today = m_context->today();
    const auto& rules = m_requirements.file();
    const RequirementsFile* file = rules ? &*rules : nullptr;
    m_store->setScopePersonId(m_store->scopePersonId());  // drops a person deleted meanwhile

    // Everyone's scores feed the switcher; the person in scope, if any, feeds Today.
    const auto everyone = Readiness::compute(m_store->doc(), file, today);
    const auto& scope = m_store->scopePersonId();
    if (scope) {
        const Person* chosen = m_context->person(*scope);
        m_today->display(Readiness::compute(m_store->doc(), file, today, *scope), today,
                         chosen && chosen->managesOthersOnly());
    } else {
        m_today->display(everyone, today);
    }

    // Each person's own score, worst first; one blended number would hide who needs help.
    std::vector<std::pair<QString, QString>> entries;
    if (m_context->isOffice()) {
        entries.emplace_back(QString(), tr("Everyone"));
        for (const auto& person : everyone.people)
            entries.emplace_back(text(person.personId),
                                 text(person.name) + QStringLiteral(" · %1").arg(person.score.value));
        for (const Person* person : m_context->people()) {
            const bool scored = std::any_of(everyone.people.begin(), everyone.people.end(),
                                            [&](const PersonStanding& s) { return s.personId == person->id; });
            if (scored) continue;
            // Left out of the scores: one who only manages, or the only one scored, who has the whole score.
            entries.emplace_back(text(person->id), text(person->name) + (person->managesOthersOnly()
                                                                             ? tr(" · manages others")
                                                                             : QStringLiteral(" · %1").arg(everyone.score.value)));
        }
    }
    fillPersonSwitcher(entries);
    for (Screen* screen : m_screenList) screen->reload();
    // A calendar app subscribed to the kept file sees the change too.
    if (const JSONValue* kept = m_store->prefs().value(Prefs::kCalendarFile);
        kept && kept->isString() && m_store->phase() == VaultPhase::ready)
        (void)m_calendarFile.refresh(text(kept->asString()), m_store->doc(), file, today, Timestamp::now(m_clock));
}

void MainWindow::fillPersonSwitcher(const std::vector<std::pair<QString, QString>>& entries) {
    m_fillingSwitcher = true;
    m_person->clear();
    const auto& scope = m_store->scopePersonId();
    const QString current = scope ? text(*scope) : QString();
    for (const auto& [id, label] : entries) {
        m_person->addItem(label, id);
        if (id == current) m_person->setCurrentIndex(m_person->count() - 1);
    }
    m_person->setVisible(!entries.empty());
    m_fillingSwitcher = false;
}

bool MainWindow::hasUnsavedEdits() const {
    return std::any_of(m_screenList.begin(), m_screenList.end(), [](const Screen* s) { return s->hasUnsavedEdits(); });
}

void MainWindow::leaveEditors(std::function<void()> then) {
    for (Screen* screen : m_screenList) {
        if (!screen->hasUnsavedEdits()) continue;
        m_screens->setCurrentWidget(screen);
        m_sidebar->setCurrentRow(m_screens->currentIndex());
        // One editor at a time; the next is asked once this one is settled.
        screen->leave([this, then = std::move(then)]() mutable { leaveEditors(std::move(then)); });
        return;
    }
    then();
}

void MainWindow::choosePerson(int index) {
    if (m_fillingSwitcher || index < 0) return;
    const QString id = m_person->itemData(index).toString();
    if (hasUnsavedEdits()) {
        // The switcher shows whose records are on screen until the edits are saved or discarded.
        {
            const QScopedValueRollback filling(m_fillingSwitcher, true);
            const auto& scope = m_store->scopePersonId();
            m_person->setCurrentIndex(m_person->findData(scope ? text(*scope) : QString()));
        }
        leaveEditors([this, id] {
            const int chosen = m_person->findData(id);
            if (chosen >= 0) m_person->setCurrentIndex(chosen);
        });
        return;
    }
    m_store->setScopePersonId(id.isEmpty() ? std::nullopt : std::optional<std::string>(id.toStdString()));
    reloadScreens();
}

void MainWindow::openFix(const QString& action, const QString& recordId) {
    if (action == QStringLiteral("logCME")) {
        showScreen(QStringLiteral("cme"));
        m_cme->logActivity(recordId);
        return;
    }
    showScreen(QStringLiteral("licenses"));
    if (action == QStringLiteral("renew")) {
        m_licenses->renewCredential(recordId);
    } else if (action == QStringLiteral("attach")) {
        m_licenses->attachTo(recordId);
    } else if (action == QStringLiteral("add")) {
        m_licenses->newCredential();
    } else {
        m_licenses->editCredential(recordId);
    }
}

void MainWindow::notify(const QString& text) {
    m_status->setText(text);
    m_status->setVisible(!text.isEmpty());
    m_statusTimer->start(kStatusMilliseconds);
}

std::chrono::milliseconds MainWindow::idleLockDelay() const {
    if (!m_store->prefs().flag(Prefs::kAppLock)) return std::chrono::milliseconds{0};
    const double minutes = m_store->prefs().idleLockMinutes();
    if (!(minutes > 0)) return std::chrono::milliseconds{0};
    return std::chrono::milliseconds{std::llround(minutes * 60'000)};
}

void MainWindow::armIdleLock() {
    const auto delay = idleLockDelay();
    if (delay.count() > 0 && m_store->phase() == VaultPhase::ready) {
        m_idleTimer->start(static_cast<int>(std::min<long long>(delay.count(), INT32_MAX)));
    } else {
        m_idleTimer->stop();
    }
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
    case QEvent::MouseMove:
    case QEvent::Wheel:
        if (m_idleTimer->isActive()) m_idleTimer->start();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

bool MainWindow::lockIfEnabled() {
    if (LongTask::isBusy()) {
        // The worker still holds the store; the lock waits for it, once however often it is asked.
        if (!m_lockDeferred) {
            m_lockDeferred = true;
            LongTask::whenIdle(this, [this] {
                m_lockDeferred = false;
                lockIfEnabled();
            });
        }
        return false;
    }
    if (!m_store->prefs().flag(Prefs::kAppLock) || m_store->phase() != VaultPhase::ready) return false;
    // A lock cannot wait for an answer: edits that validate are saved (and written by the lock), the rest dropped.
    for (Screen* screen : m_screenList) m_draftDropped = screen->settleBeforeLock() || m_draftDropped;
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

void MainWindow::join(const QString& folder, const QString& passphrase) {
    const std::filesystem::path path = folder.toStdString();
    const SecureBytes secret = secretOf(passphrase);
    const bool replacing =
        m_replacingUnreadable && (m_store->phase() == VaultPhase::loading || m_store->phase() == VaultPhase::locked);
    const auto joined =
        LongTask::run(this, tr("Joining the vault…"), [this, path, &secret, replacing]() -> Result<void, VaultError> {
            if (replacing) {
                // The unreadable vault goes only for one proven to open.
                if (auto checked = m_store->checkJoin(path, secret.text()); !checked) return checked;
                if (auto erased = m_store->erase(); !erased) return erased;
            }
            return m_store->join(path, secret.text());
        });
    if (!joined) {
        m_onboarding->showError(message(joined.error()));
        return;
    }
    m_startFailed = false;
    m_replacingUnreadable = false;
    notify(tr("Joined. This device now holds the vault."));
    refresh();
}

void MainWindow::restore(const QString& archive, const QString& passphrase) {
    const std::filesystem::path path = archive.toStdString();
    const SecureBytes secret = secretOf(passphrase);
    const bool replacing =
        m_replacingUnreadable && (m_store->phase() == VaultPhase::loading || m_store->phase() == VaultPhase::locked);
    const auto restored = LongTask::run(this, tr("Restoring the backup…"),
                                        [this, path, &secret, replacing]() -> Result<void, VaultError> {
                                            if (replacing) {
                                                // The unreadable vault goes only for a backup proven to open.
                                                if (auto checked = m_store->checkBackup(path, secret.text()); !checked)
                                                    return checked;
                                                if (auto erased = m_store->erase(); !erased) return erased;
                                            }
                                            return m_store->restoreBackup(path, secret.text());
                                        });
    if (!restored) {
        m_onboarding->showError(message(restored.error()));
        return;
    }
    m_startFailed = false;
    m_replacingUnreadable = false;
    notify(tr("Restored from the backup."));
    refresh();
}

void MainWindow::unlock() {
    if (auto unlocked = m_store->unlock(); !unlocked) {
        // Closing the password prompt is a choice, not a problem to report.
        const VaultError& error = unlocked.error();
        // With app lock on, an unreadable vault file first shows here: it gets the ways on a failed start gets.
        if (error.code == VaultError::Code::damaged || error.code == VaultError::Code::badFormat) {
            showStartProblem(error);
            return;
        }
        const bool cancelled = error.code == VaultError::Code::cancelled;
        m_lock->showError(cancelled ? QString() : message(error));
        return;
    }
    m_lock->showError(QString());
    refresh();
    if (std::exchange(m_draftDropped, false))
        notify(tr("An edit wasn't complete when Corvale locked, so it wasn't saved; please enter it again."));
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (m_store->phase() == VaultPhase::ready && hasUnsavedEdits()) {
        event->ignore();
        leaveEditors([this] { close(); });
        return;
    }
    QWidget::closeEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (m_pages->currentWidget() == m_shell && event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) paths << url.toLocalFile();
    if (paths.isEmpty() || m_pages->currentWidget() != m_shell) return;
    event->acceptProposedAction();
    showScreen(QStringLiteral("documents"));
    (void)m_documents->importFiles(paths);
}

}  // namespace corvale::app

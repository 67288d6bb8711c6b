#include "app/SettingsPage.h"

#include "app/CalendarFile.h"
#include "requirements/Requirements.h"

#include "platform/ReminderTimer.h"

#include "app/AppContext.h"
#include "app/FormParts.h"
#include "app/LongTask.h"
#include "app/SecretField.h"
#include "app/Theme.h"
#include "platform/Clock.h"
#include "records/Degree.h"
#include "records/EntryRules.h"
#include "records/USState.h"
#include "vault/DropFolder.h"
#include "vault/VaultStore.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QLocale>
#include <QScopedValueRollback>
#include <QTime>
#include <QScrollArea>
#include <QShortcut>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace corvale::app {
namespace {

constexpr int kIdleChoices[] = {0, 1, 5, 15, 30, 60};

QString text(std::string_view value) { return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())); }

std::filesystem::path pathOf(const QString& path) { return std::filesystem::path(path.toStdString()); }

// Slow store work reports only whether it failed, which any thread can hand back.
template <class Value>
std::optional<VaultError> failureOf(const Result<Value, VaultError>& result) {
    if (result) return std::nullopt;
    return result.error();
}

struct ReminderDays {
    std::vector<int> days;  // longest lead first, each once
    QString problem;
};

ReminderDays parseReminderDays(const QString& typed) {
    ReminderDays parsed;
    const auto pieces = typed.split(QRegularExpression(QStringLiteral("[,;\\s]+")), Qt::SkipEmptyParts);
    if (pieces.isEmpty()) {
        parsed.problem = QObject::tr("There are no reminder days, so enter at least one, like 90, 30, 7.");
        return parsed;
    }
    for (const QString& piece : pieces) {
        bool whole = false;
        const int days = piece.toInt(&whole);
        if (!whole) {
            parsed.problem =
                QObject::tr("“%1” isn't a whole number of days, so use numbers like 90, 30, 7.").arg(piece);
            return parsed;
        }
        if (days < 1 || days > 365) {
            parsed.problem = QObject::tr("%1 isn't from 1 to 365 days, so pick a lead time within a year.").arg(days);
            return parsed;
        }
        parsed.days.push_back(days);
    }
    std::sort(parsed.days.begin(), parsed.days.end(), std::greater<>());
    parsed.days.erase(std::unique(parsed.days.begin(), parsed.days.end()), parsed.days.end());
    return parsed;
}

QString daysText(const std::vector<int>& days) {
    QStringList pieces;
    for (const int day : days) pieces << QString::number(day);
    return pieces.join(QStringLiteral(", "));
}

QString idleText(int minutes) {
    if (minutes == 0) return QObject::tr("Never");
    if (minutes == 1) return QObject::tr("After 1 minute");
    return QObject::tr("After %1 minutes").arg(minutes);
}

QFrame* inset(QWidget* parent) {
    auto* frame = new QFrame(parent);
    frame->setObjectName(QStringLiteral("inset"));
    frame->setVisible(false);
    return frame;
}

QLineEdit* passphraseField(const QString& accessibleName, const QString& placeholder, QWidget* parent) {
    auto* field = new QLineEdit(parent);
    field->setEchoMode(QLineEdit::Password);
    field->setAccessibleName(accessibleName);
    field->setPlaceholderText(placeholder);
    field->setMinimumWidth(260);
    return field;
}

QHBoxLayout* buttonRow(std::initializer_list<QPushButton*> buttons, bool alignRight) {
    auto* row = new QHBoxLayout;
    row->setSpacing(10);
    if (alignRight) row->addStretch(1);
    for (QPushButton* button : buttons) row->addWidget(button);
    if (!alignRight) row->addStretch(1);
    return row;
}

}  // namespace

SettingsPage::SettingsPage(AppContext& context, QWidget* parent) : Screen(context, parent) {
    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("page"));
    auto* column = new QVBoxLayout;
    column->setSpacing(18);
    auto* heading = makeLabel(tr("Settings"), "title", content);
    scaleFont(heading, 1.8, QFont::DemiBold);
    column->addWidget(heading);
    column->addWidget(buildReminders(content));
    column->addWidget(buildDropFolder(content));
    column->addWidget(buildPrivacy(content));
    column->addWidget(buildBackup(content));
    column->addWidget(buildAnotherDevice(content));
    column->addWidget(buildErase(content));
    column->addStretch(1);
    for (QFrame* panel : content->findChildren<QFrame*>(QStringLiteral("inset"))) {
        auto* close = new QShortcut(QKeySequence::Cancel, panel);
        close->setContext(Qt::WidgetWithChildrenShortcut);
        close->setWhatsThis(tr("Close the panel"));
        connect(close, &QShortcut::activated, this, &SettingsPage::closePanels);
    }

    // A readable measure on a wide window: the cards keep to one column in the middle.
    auto* holder = new QWidget(content);
    holder->setMaximumWidth(880);
    holder->setLayout(column);
    column->setContentsMargins(0, 0, 0, 0);
    auto* centred = new QHBoxLayout(content);
    centred->setContentsMargins(36, 28, 36, 28);
    centred->addStretch(1);
    centred->addWidget(holder, 100);
    centred->addStretch(1);

    auto* scroll = new QScrollArea(this);

    scroll->setFocusPolicy(Qt::NoFocus);  // only scrolls: Tab goes to what is inside
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);

    reload();
}

SettingsPage::~SettingsPage() = default;

void SettingsPage::setNextFileChoice(const QString& path) { m_nextFile = path; }

QFrame* SettingsPage::buildReminders(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Reminders"),
                         tr("How far ahead Corvale reminds you of an expiry, and whose state rules it reads first."),
                         content, body);
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(10);

    m_reminderDays = new QLineEdit(frame);
    m_reminderDays->setAccessibleName(tr("Reminder days"));
    m_reminderDays->setPlaceholderText(tr("90, 30, 7"));
    m_reminderDays->setMaximumWidth(200);
    auto* daysRow = new QHBoxLayout;
    daysRow->setSpacing(10);
    daysRow->addWidget(m_reminderDays);
    daysRow->addWidget(makeLabel(tr("days before each expiry"), "detail", frame), 1);
    form->addRow(tr("Remind me"), daysRow);

    m_primaryState = new QComboBox(frame);
    m_primaryState->setAccessibleName(tr("Primary state"));
    m_primaryState->setMaximumWidth(320);
    form->addRow(tr("Primary state"), m_primaryState);

    m_profession = new QComboBox(frame);
    m_profession->setAccessibleName(tr("Profession"));
    m_profession->setMaximumWidth(320);
    form->addRow(tr("Profession"), m_profession);
    body->addLayout(form);

    m_remindClosed = new QCheckBox(tr("Remind me on the desktop even when Corvale is closed"), frame);
    m_remindClosed->setAccessibleName(tr("Remind when closed"));
    m_remindClosed->setToolTip(tr("Checked every hour from 8:00 to 22:00 and after you log in, by a systemd user "
                                  "timer; at each login where the desktop has none"));
    form->addRow(QString(), m_remindClosed);
    connect(m_remindClosed, &QCheckBox::toggled, this, &SettingsPage::setRemindWhenClosed);

    // The weekly review: one notification summing up the week ahead, off until turned on.
    m_weekly = new QCheckBox(tr("Sum up the week ahead every"), frame);
    m_weekly->setAccessibleName(tr("Weekly review"));
    m_weekday = new QComboBox(frame);
    m_weekday->setAccessibleName(tr("Weekly review day"));
    const QLocale locale;
    for (int weekday = 1; weekday <= 7; ++weekday)  // 1 Sunday: QLocale counts from Monday as 1
        m_weekday->addItem(locale.dayName(weekday == 1 ? 7 : weekday - 1), weekday);
    m_weekHour = new QComboBox(frame);
    m_weekHour->setAccessibleName(tr("Weekly review hour"));
    for (int hour = 0; hour < 24; ++hour)
        m_weekHour->addItem(locale.toString(QTime(hour, 0), QLocale::ShortFormat), hour);
    auto* weeklyRow = new QHBoxLayout;
    weeklyRow->setSpacing(8);
    weeklyRow->addWidget(m_weekly);
    weeklyRow->addWidget(m_weekday);
    auto* at = makeLabel(tr("at"), "detail", frame);
    at->setWordWrap(false);
    weeklyRow->addWidget(at);
    weeklyRow->addWidget(m_weekHour);
    weeklyRow->addStretch(1);
    form->addRow(QString(), weeklyRow);

    // The renewals as a calendar file, once or kept up to date for a calendar app to subscribe to.
    auto* saveCalendar = new QPushButton(tr("Save calendar…"), frame);
    saveCalendar->setToolTip(tr("Every expiry and cycle end as events, with alarms at the reminder days"));
    m_keepCalendar = new QCheckBox(tr("Keep it up to date after every change"), frame);
    m_keepCalendar->setAccessibleName(tr("Keep calendar up to date"));
    auto* calendarRow = new QHBoxLayout;
    calendarRow->setSpacing(12);
    calendarRow->addWidget(saveCalendar);
    calendarRow->addWidget(m_keepCalendar);
    calendarRow->addStretch(1);
    form->addRow(tr("Calendar"), calendarRow);
    connect(saveCalendar, &QPushButton::clicked, this, &SettingsPage::saveCalendar);
    connect(m_keepCalendar, &QCheckBox::toggled, this, [this](bool keep) {
        if (m_filling) return;
        const auto saved = context().store.prefs().set(
            Prefs::kCalendarFile, keep ? JSONValue(m_calendarPath.toStdString()) : JSONValue());
        showMessage(m_remindersError, saved ? QString() : text(saved.error().message()));
    });
    const auto saveWeekly = [this] {
        if (m_filling) return;
        Prefs& prefs = context().store.prefs();
        const bool saved = prefs.setFlag(Prefs::kWeeklyReview, m_weekly->isChecked()) &&
                           prefs.set(Prefs::kWeeklyReviewWeekday, JSONValue(m_weekday->currentData().toInt())) &&
                           prefs.set(Prefs::kWeeklyReviewHour, JSONValue(m_weekHour->currentData().toInt()));
        showMessage(m_remindersError, saved ? QString() : tr("The weekly review couldn't be saved."));
        m_weekday->setEnabled(m_weekly->isChecked());
        m_weekHour->setEnabled(m_weekly->isChecked());
    };
    connect(m_weekly, &QCheckBox::toggled, this, saveWeekly);
    connect(m_weekday, &QComboBox::currentIndexChanged, this, saveWeekly);
    connect(m_weekHour, &QComboBox::currentIndexChanged, this, saveWeekly);

    m_remindersError = errorLabel(tr("Reminders problem"), frame);
    m_saveReminders = new QPushButton(tr("Save reminders"), frame);
    m_saveReminders->setObjectName(QStringLiteral("primary"));
    // Problems show under the buttons throughout, so a button stays where it was pressed.
    body->addLayout(buttonRow({m_saveReminders}, true));
    body->addWidget(m_remindersError);

    const auto edited = [this] {
        if (m_filling) return;
        m_saveReminders->setEnabled(true);
        showMessage(m_remindersError, {});
    };
    connect(m_reminderDays, &QLineEdit::textChanged, this, edited);
    connect(m_primaryState, &QComboBox::currentIndexChanged, this, edited);
    connect(m_profession, &QComboBox::currentIndexChanged, this, edited);
    connect(m_reminderDays, &QLineEdit::returnPressed, this, &SettingsPage::saveReminders);
    connect(m_saveReminders, &QPushButton::clicked, this, &SettingsPage::saveReminders);
    return frame;
}

QFrame* SettingsPage::buildDropFolder(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Drop folder"),
                         tr("Files a phone or scanner syncs into this folder are read on this computer while "
                            "Corvale is open, stored for you to review, and moved into its Imported folder."),
                         content, body);
    m_watchDrop = new QCheckBox(tr("Watch a drop folder for new documents"), frame);
    m_dropPath = makeLabel(QString(), "detail", frame);
    setHandle(m_dropPath, tr("Drop folder"));
    auto* choose = new QPushButton(tr("Choose folder…"), frame);
    choose->setToolTip(tr("Pick the folder your phone's or scanner's sync app fills"));
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(m_dropPath, 1);
    row->addWidget(choose);
    body->addWidget(m_watchDrop);
    body->addLayout(row);
    connect(m_watchDrop, &QCheckBox::toggled, this, &SettingsPage::setWatchDropFolder);
    connect(choose, &QPushButton::clicked, this, &SettingsPage::chooseDropFolder);
    return frame;
}

void SettingsPage::setWatchDropFolder(bool on) {
    if (m_filling) return;
    const auto saved =
        context().store.prefs().set(Prefs::kDropFolder, on ? JSONValue(m_dropFolder.toStdString()) : JSONValue());
    showMessage(m_privacyError, saved ? QString() : text(saved.error().message()));
    emit dropFolderChanged();
    emit notify(on ? tr("Watching %1 for new documents.").arg(m_dropFolder) : tr("The drop folder is no longer watched."));
}

void SettingsPage::chooseDropFolder() {
    const QString chosen = m_nextFile ? *std::exchange(m_nextFile, std::nullopt)
                                      : QFileDialog::getExistingDirectory(this, tr("Choose the drop folder"), m_dropFolder);
    if (chosen.isEmpty()) return;
    m_dropFolder = chosen;
    m_dropPath->setText(chosen);
    if (m_watchDrop->isChecked()) setWatchDropFolder(true);
    else m_watchDrop->setChecked(true);
}

QFrame* SettingsPage::buildPrivacy(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Privacy"),
                         tr("With app lock on, Corvale locks when its window is minimised or left idle, "
                            "and opens again with your account password."),
                         content, body);
    m_appLock = new QCheckBox(tr("Lock Corvale and ask for my password to open it"), frame);
    m_appLock->setAccessibleName(tr("App lock"));
    body->addWidget(m_appLock);

    m_idle = new QComboBox(frame);
    m_idle->setAccessibleName(tr("Lock after idle"));
    m_idle->setMinimumWidth(200);
    auto* idleRow = new QHBoxLayout;
    idleRow->setSpacing(12);
    auto* idleLabel = makeLabel(tr("Lock after idle"), "detail", frame);
    idleLabel->setWordWrap(false);
    idleLabel->setBuddy(m_idle);
    idleRow->addWidget(idleLabel);
    idleRow->addWidget(m_idle);
    idleRow->addStretch(1);
    body->addLayout(idleRow);

    m_privacyError = errorLabel(tr("Privacy problem"), frame);
    body->addWidget(m_privacyError);

    connect(m_appLock, &QCheckBox::toggled, this, &SettingsPage::setAppLock);
    connect(m_idle, &QComboBox::currentIndexChanged, this, &SettingsPage::setIdleMinutes);
    return frame;
}

SettingsPage::PassphrasePanel SettingsPage::passphrasePanel(const QString& subject, const QString& action,
                                                            QWidget* parent, void (SettingsPage::*run)()) {
    PassphrasePanel panel;
    panel.frame = inset(parent);
    auto* layout = new QVBoxLayout(panel.frame);
    layout->setContentsMargins(18, 14, 18, 14);
    layout->setSpacing(10);
    layout->addWidget(makeLabel(tr("Choose a passphrase of at least %1 characters. Without it, the %2 can't be opened, "
                                   "so keep it somewhere safe.")
                                    .arg(kMinimumPassphraseLength)
                                    .arg(subject),
                                "detail", panel.frame));
    panel.passphrase = passphraseField(tr("%1 passphrase").arg(subject.left(1).toUpper() + subject.mid(1)),
                                       tr("Passphrase"), panel.frame);
    panel.repeat =
        passphraseField(tr("Repeat %1 passphrase").arg(subject), tr("The same passphrase again"), panel.frame);
    auto* fields = new QHBoxLayout;
    fields->setSpacing(10);
    fields->addWidget(panel.passphrase);
    fields->addWidget(panel.repeat);
    fields->addStretch(1);
    layout->addLayout(fields);
    panel.error = errorLabel(tr("%1 problem").arg(subject.left(1).toUpper() + subject.mid(1)), panel.frame);
    auto* cancel = new QPushButton(tr("Cancel"), panel.frame);
    cancel->setAccessibleName(tr("Cancel %1").arg(subject));
    auto* go = new QPushButton(action, panel.frame);
    go->setObjectName(QStringLiteral("primary"));
    layout->addLayout(buttonRow({cancel, go}, true));
    layout->addWidget(panel.error);

    connect(cancel, &QPushButton::clicked, this, &SettingsPage::closePanels);
    connect(go, &QPushButton::clicked, this, run);
    connect(panel.repeat, &QLineEdit::returnPressed, this, run);
    connect(panel.passphrase, &QLineEdit::returnPressed, panel.repeat, [field = panel.repeat] { field->setFocus(); });
    for (QLineEdit* field : {panel.passphrase, panel.repeat})
        connect(field, &QLineEdit::textEdited, panel.error, [label = panel.error] { showMessage(label, {}); });
    return panel;
}

QFrame* SettingsPage::buildBackup(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Backup"),
                         tr("A backup holds every record and document, sealed under a passphrase you choose. "
                            "Keep it somewhere other than this computer."),
                         content, body);
    m_lastBackup = makeLabel(QString(), "detail", frame);
    setHandle(m_lastBackup, tr("Last backup"));
    body->addWidget(m_lastBackup);

    m_exportButton = new QPushButton(tr("Export backup…"), frame);
    m_restoreButton = new QPushButton(tr("Restore from backup…"), frame);
    body->addLayout(buttonRow({m_exportButton, m_restoreButton}, false));

    m_export = passphrasePanel(tr("backup"), tr("Save backup…"), frame, &SettingsPage::exportBackup);
    body->addWidget(m_export.frame);

    m_restorePanel = inset(frame);
    auto* restore = new QVBoxLayout(m_restorePanel);
    restore->setContentsMargins(18, 14, 18, 14);
    restore->setSpacing(10);
    m_restoreFile = makeLabel(QString(), "detail", m_restorePanel);
    m_restoreFile->setAccessibleName(tr("Backup to restore"));
    restore->addWidget(m_restoreFile);
    m_restorePassphrase = passphraseField(tr("Restore passphrase"), tr("The backup's passphrase"), m_restorePanel);
    m_checkRestore = new QPushButton(tr("Check backup"), m_restorePanel);
    m_checkRestore->setObjectName(QStringLiteral("primary"));
    auto* cancel = new QPushButton(tr("Cancel"), m_restorePanel);
    cancel->setAccessibleName(tr("Cancel restore"));
    auto* passRow = new QHBoxLayout;
    passRow->setSpacing(10);
    passRow->addWidget(m_restorePassphrase);
    passRow->addStretch(1);
    passRow->addWidget(cancel);
    passRow->addWidget(m_checkRestore);
    restore->addLayout(passRow);
    m_restoreError = errorLabel(tr("Restore problem"), m_restorePanel);
    restore->addWidget(m_restoreError);

    m_restoreConfirm = new QFrame(m_restorePanel);
    m_restoreConfirm->setVisible(false);
    auto* confirm = new QVBoxLayout(m_restoreConfirm);
    confirm->setContentsMargins(0, 4, 0, 0);
    confirm->setSpacing(10);
    m_restoreWarning = makeLabel(QString(), "warning", m_restoreConfirm);
    m_restoreWarning->setAccessibleName(tr("Restore warning"));
    confirm->addWidget(m_restoreWarning);
    auto* keep = new QPushButton(tr("Keep this vault"), m_restoreConfirm);
    auto* replace = new QPushButton(tr("Replace with backup"), m_restoreConfirm);
    replace->setObjectName(QStringLiteral("danger"));
    confirm->addLayout(buttonRow({keep, replace}, true));
    restore->addWidget(m_restoreConfirm);
    body->addWidget(m_restorePanel);

    connect(m_exportButton, &QPushButton::clicked, this, [this] {
        closePanels();
        m_export.frame->setVisible(true);
        m_export.passphrase->setFocus();
    });
    connect(m_restoreButton, &QPushButton::clicked, this, &SettingsPage::chooseRestore);
    connect(m_checkRestore, &QPushButton::clicked, this, &SettingsPage::checkRestore);
    connect(m_restorePassphrase, &QLineEdit::returnPressed, this, &SettingsPage::checkRestore);
    // A confirmation stands only for the passphrase that was checked.
    connect(m_restorePassphrase, &QLineEdit::textChanged, this, [this] {
        m_restoreConfirm->setVisible(false);
        m_checkRestore->setEnabled(true);
        showMessage(m_restoreError, {});
    });
    connect(cancel, &QPushButton::clicked, this, &SettingsPage::closePanels);
    connect(keep, &QPushButton::clicked, this, &SettingsPage::closePanels);
    connect(replace, &QPushButton::clicked, this, &SettingsPage::restore);
    return frame;
}

QFrame* SettingsPage::buildAnotherDevice(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Another device"),
                         tr("The other computer joins this vault with a key file and a copy of the vault folder; "
                            "it asks for the key file's passphrase once."),
                         content, body);
    m_vaultFolder = makeLabel(QString(), "footnote", frame);
    setHandle(m_vaultFolder, tr("Vault folder"));
    m_vaultFolder->setTextInteractionFlags(Qt::TextSelectableByMouse);
    body->addWidget(m_vaultFolder);
    m_keyButton = new QPushButton(tr("Export key file…"), frame);
    body->addLayout(buttonRow({m_keyButton}, false));
    m_key = passphrasePanel(tr("key file"), tr("Save key file…"), frame, &SettingsPage::exportKeyFile);
    body->addWidget(m_key.frame);
    connect(m_keyButton, &QPushButton::clicked, this, [this] {
        closePanels();
        m_key.frame->setVisible(true);
        m_key.passphrase->setFocus();
    });
    return frame;
}

QFrame* SettingsPage::buildErase(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Erase this device"),
                         tr("Removes the vault, its documents and its key from this computer. "
                            "Backups and key files saved elsewhere stay as they are."),
                         content, body);
    m_eraseButton = new QPushButton(tr("Erase this device…"), frame);
    m_eraseButton->setObjectName(QStringLiteral("destructive"));
    body->addLayout(buttonRow({m_eraseButton}, false));

    m_eraseConfirm = inset(frame);
    auto* confirm = new QVBoxLayout(m_eraseConfirm);
    confirm->setContentsMargins(18, 14, 18, 14);
    confirm->setSpacing(10);
    auto* warning = makeLabel(tr("Everything in this vault will be deleted from this computer. Without a backup or "
                                 "a key file, it can't be brought back."),
                              "warning", m_eraseConfirm);
    warning->setAccessibleName(tr("Erase warning"));
    confirm->addWidget(warning);
    m_eraseError = errorLabel(tr("Erase problem"), m_eraseConfirm);
    auto* keep = new QPushButton(tr("Keep my vault"), m_eraseConfirm);
    auto* eraseNow = new QPushButton(tr("Erase now"), m_eraseConfirm);
    eraseNow->setObjectName(QStringLiteral("danger"));
    confirm->addLayout(buttonRow({keep, eraseNow}, true));
    confirm->addWidget(m_eraseError);
    body->addWidget(m_eraseConfirm);

    connect(m_eraseButton, &QPushButton::clicked, this, [this, keep] {
        closePanels();
        m_eraseConfirm->setVisible(true);
        keep->setFocus();  // the safe answer is the one Return gives
    });
    connect(keep, &QPushButton::clicked, this, &SettingsPage::closePanels);
    connect(eraseNow, &QPushButton::clicked, this, &SettingsPage::erase);
    return frame;
}

void SettingsPage::reload() {
    const QScopedValueRollback filling(m_filling, true);
    const VaultSettings& settings = context().doc().settings;
    Prefs& prefs = context().store.prefs();

    m_reminderDays->setText(daysText(settings.reminderDays));
    m_primaryState->clear();
    m_primaryState->addItem(tr("None"), QString());
    for (const USState& state : USState::all())
        m_primaryState->addItem(text(state.name) + QStringLiteral(" (") + text(state.code) + QStringLiteral(")"),
                                text(state.code));
    m_profession->clear();
    m_profession->addItem(tr("Not set"), QString());
    for (const Degree degree : allDegrees())
        if (const auto code = professionCode(degree)) m_profession->addItem(text(displayName(degree)), text(*code));
    // A value this version does not list stays selectable as it was written.
    const auto select = [](QComboBox* box, const std::optional<std::string>& value) {
        int index = box->findData(value ? text(*value) : QString());
        if (index < 0 && value) {
            box->addItem(text(*value), text(*value));
            index = box->count() - 1;
        }
        box->setCurrentIndex(std::max(index, 0));
    };
    select(m_primaryState, settings.primaryState);
    select(m_profession, settings.profession);
    m_saveReminders->setEnabled(false);
    showMessage(m_remindersError, {});
    ReminderTimer* timer = context().reminderTimer;
    m_remindClosed->setVisible(timer != nullptr);
    m_remindClosed->setChecked(timer && timer->installed() != ReminderTimer::Kind::none);
    const bool weekly = prefs.flag(Prefs::kWeeklyReview);
    m_weekly->setChecked(weekly);
    m_weekday->setCurrentIndex(std::max(
        m_weekday->findData(prefs.integer(Prefs::kWeeklyReviewWeekday, Prefs::kDefaultWeeklyReviewWeekday)), 0));
    m_weekHour->setCurrentIndex(
        std::max(m_weekHour->findData(prefs.integer(Prefs::kWeeklyReviewHour, Prefs::kDefaultWeeklyReviewHour)), 0));
    m_weekday->setEnabled(weekly);
    m_weekHour->setEnabled(weekly);
    const JSONValue* kept = prefs.value(Prefs::kCalendarFile);
    if (kept && kept->isString()) m_calendarPath = text(kept->asString());
    m_keepCalendar->setChecked(kept && kept->isString());
    m_keepCalendar->setEnabled(!m_calendarPath.isEmpty());

    const JSONValue* drop = prefs.value(Prefs::kDropFolder);
    const bool watching = drop && drop->isString() && !drop->asString().empty();
    m_dropFolder = watching ? text(drop->asString())
                            : QString::fromStdString(DropFolder::defaultFolder(QDir::homePath().toStdString()).string());
    m_dropPath->setText(m_dropFolder);
    m_watchDrop->setChecked(watching);

    const bool appLock = prefs.flag(Prefs::kAppLock);
    m_appLock->setChecked(appLock);
    m_idle->clear();
    for (const int minutes : kIdleChoices) m_idle->addItem(idleText(minutes), minutes);
    const int minutes = static_cast<int>(std::lround(prefs.idleLockMinutes()));
    int idleIndex = m_idle->findData(minutes);
    if (idleIndex < 0) {
        m_idle->addItem(idleText(minutes), minutes);
        idleIndex = m_idle->count() - 1;
    }
    m_idle->setCurrentIndex(idleIndex);
    m_idle->setEnabled(appLock);
    showMessage(m_privacyError, {});

    showLastBackup();
    m_vaultFolder->setText(
        tr("Vault folder: %1").arg(QString::fromStdString(context().store.vaultDirectory().string())));
    closePanels();
}

void SettingsPage::closePanels() {
    for (const PassphrasePanel* panel : {&m_export, &m_key}) {
        panel->frame->setVisible(false);
        panel->passphrase->clear();
        panel->repeat->clear();
        showMessage(panel->error, {});
    }
    m_restorePanel->setVisible(false);
    m_restorePassphrase->clear();
    m_restoreConfirm->setVisible(false);
    showMessage(m_restoreError, {});
    m_restorePath.clear();
    m_eraseConfirm->setVisible(false);
    showMessage(m_eraseError, {});
}

void SettingsPage::saveReminders() {
    const ReminderDays parsed = parseReminderDays(m_reminderDays->text());
    if (!parsed.problem.isEmpty()) {
        showMessage(m_remindersError, parsed.problem);
        m_reminderDays->setFocus();
        return;
    }
    const auto optional = [](const QComboBox* box) -> std::optional<std::string> {
        const QString value = box->currentData().toString();
        if (value.isEmpty()) return std::nullopt;
        return value.toStdString();
    };
    const auto primaryState = optional(m_primaryState);
    const auto profession = optional(m_profession);
    const Timestamp now = Timestamp::now(context().clock);
    const auto changed = context().store.change([&](VaultDocument& doc) {
        VaultSettings& settings = doc.settings;
        settings.reminderDays = parsed.days;
        settings.primaryState = primaryState;
        settings.profession = profession;
        settings.updatedAt = now;
    });
    if (!changed) {
        showMessage(m_remindersError, text(changed.error().message()));
        return;
    }
    {
        const QScopedValueRollback filling(m_filling, true);
        m_reminderDays->setText(daysText(parsed.days));
    }
    m_saveReminders->setEnabled(false);
    emit recordsChanged();
    emit notify(tr("Reminders saved."));
}

void SettingsPage::saveCalendar() {
    const QString chosen = chooseFile(true, tr("Save calendar"), QStringLiteral("Corvale renewals.ics"),
                                      tr("Calendars (*.ics)"));
    if (chosen.isEmpty()) return;
    const auto& rules = context().requirements.file();
    QString problem;
    if (!CalendarFile::write(chosen, context().doc(), rules ? &*rules : nullptr, context().today(),
                             Timestamp::now(context().clock), problem)) {
        showMessage(m_remindersError, problem);
        return;
    }
    m_calendarPath = chosen;
    m_keepCalendar->setEnabled(true);
    // A file already kept up to date follows the one just saved.
    if (m_keepCalendar->isChecked()) (void)context().store.prefs().set(Prefs::kCalendarFile, JSONValue(chosen.toStdString()));
    emit notify(tr("Calendar saved as %1.").arg(QFileInfo(chosen).fileName()));
}

void SettingsPage::setRemindWhenClosed(bool on) {
    ReminderTimer* timer = context().reminderTimer;
    if (m_filling || !timer) return;
    if (!on) {
        if (auto removed = timer->remove(); !removed) {
            showMessage(m_remindersError, tr("The reminder timer couldn't be removed from %1.")
                                              .arg(text(removed.error().path.string())));
            return;
        }
        emit notify(tr("Corvale reminds you only while it is open."));
        return;
    }
    const auto installed = timer->install(context().remindProgram);
    if (!installed) {
        const QSignalBlocker blocker(m_remindClosed);
        m_remindClosed->setChecked(false);
        showMessage(m_remindersError, tr("The reminder timer couldn't be written to %1.")
                                          .arg(text(installed.error().path.string())));
        return;
    }
    emit notify(*installed == ReminderTimer::Kind::systemd
                    ? tr("Corvale will remind you from 8:00 each day and after you log in, even when it is closed.")
                    : tr("Corvale will remind you each time you log in, even when it is closed."));
}

void SettingsPage::setAppLock(bool enabled) {
    if (m_filling) return;
    if (auto changed = context().store.setAppLock(enabled); !changed) {
        const QSignalBlocker blocker(m_appLock);
        m_appLock->setChecked(!enabled);
        const bool refused = changed.error().code == VaultError::Code::locked;
        showMessage(m_privacyError, !refused  ? text(changed.error().message())
                                    : enabled ? tr("Your password wasn't confirmed, so app lock stays off.")
                                              : tr("Your password wasn't confirmed, so app lock stays on."));
        return;
    }
    showMessage(m_privacyError, {});
    m_idle->setEnabled(enabled);
    emit idleLockChanged();
    emit notify(enabled ? tr("App lock is on.") : tr("App lock is off."));
}

void SettingsPage::setIdleMinutes(int index) {
    if (m_filling || index < 0) return;
    const int minutes = m_idle->itemData(index).toInt();
    if (auto saved = context().store.prefs().set(Prefs::kIdleLockMinutes, JSONValue(minutes)); !saved) {
        showMessage(m_privacyError, text(saved.error().message()));
        return;
    }
    showMessage(m_privacyError, {});
    emit idleLockChanged();
}

void SettingsPage::showLastBackup() {
    const auto last = context().store.prefs().timestamp(Prefs::kLastBackup);
    if (!last) {
        m_lastBackup->setText(tr("No backup has been made on this computer yet."));
        return;
    }
    const Day made = Day::local(std::chrono::time_point_cast<std::chrono::system_clock::duration>(last->time));
    const int ago = made.daysTo(context().today());
    QString when = text(made.formatted());
    if (ago == 0)
        when += tr(" (today)");
    else if (ago == 1)
        when += tr(" (yesterday)");
    else if (ago > 1)
        when += tr(" (%1 days ago)").arg(ago);
    m_lastBackup->setText(tr("Last backup made %1.").arg(when));
}

QString SettingsPage::chooseFile(bool forSaving, const QString& title, const QString& suggestedName,
                                 const QString& filter) {
    if (m_nextFile) return std::exchange(m_nextFile, std::nullopt).value();
    const QString start = QDir::home().filePath(suggestedName);
    return forSaving ? QFileDialog::getSaveFileName(this, title, start, filter)
                     : QFileDialog::getOpenFileName(this, title, QDir::homePath(), filter);
}

namespace {

// Empty when the two fields hold the same passphrase of a fit length.
QString passphraseProblem(const QLineEdit* passphrase, const QLineEdit* repeat) {
    if (auto tooShort = newPassphraseProblem(takeSecret(passphrase).text()))
        return QString::fromStdString(*tooShort);
    if (passphrase->text() != repeat->text())
        return QObject::tr("The two passphrases differ, so type the same one in both fields.");
    return {};
}

}  // namespace

void SettingsPage::exportBackup() {
    if (const QString problem = passphraseProblem(m_export.passphrase, m_export.repeat); !problem.isEmpty()) {
        showMessage(m_export.error, problem);
        m_export.passphrase->setFocus();
        return;
    }
    const QString chosen = chooseFile(
        true, tr("Save backup"), QStringLiteral("Corvale Backup %1.pbbackup").arg(text(context().today().toString())),
        tr("Corvale backups (*.pbbackup)"));
    if (chosen.isEmpty()) return;
    VaultStore& store = context().store;
    if (auto flushed = store.flush(); !flushed) {
        showMessage(m_export.error, text(flushed.error().message()));
        return;
    }
    const SecureBytes passphrase = takeSecret(m_export.passphrase);
    m_export.passphrase->clear();
    m_export.repeat->clear();
    const std::filesystem::path destination = pathOf(chosen);
    const auto failed = LongTask::run(this, tr("Making the backup…"), [&store, &passphrase, destination] {
        return failureOf(store.exportBackup(passphrase.text(), destination));
    });
    if (failed) {
        showMessage(m_export.error, text(failed->message()));
        return;
    }
    closePanels();
    showLastBackup();
    emit notify(tr("Backup saved as %1.").arg(QFileInfo(chosen).fileName()));
}

void SettingsPage::chooseRestore() {
    const QString chosen =
        chooseFile(false, tr("Choose a backup"), QString(), tr("Corvale backups (*.pbbackup);;All files (*)"));
    if (chosen.isEmpty()) return;
    closePanels();
    m_restorePath = chosen;
    m_restoreFile->setText(
        tr("Restore from “%1”. Enter the passphrase it was made with.").arg(QFileInfo(chosen).fileName()));
    m_restorePanel->setVisible(true);
    m_restorePassphrase->setFocus();
}

void SettingsPage::checkRestore() {
    if (m_restorePath.isEmpty()) return;
    if (m_restorePassphrase->text().isEmpty()) {
        showMessage(m_restoreError, tr("Enter the passphrase the backup was made with."));
        m_restorePassphrase->setFocus();
        return;
    }
    const VaultStore& store = context().store;
    const SecureBytes passphrase = takeSecret(m_restorePassphrase);
    const std::filesystem::path archive = pathOf(m_restorePath);
    const auto failed = LongTask::run(this, tr("Checking the backup…"), [&store, &passphrase, archive] {
        return failureOf(store.checkBackup(archive, passphrase.text()));
    });
    if (failed) {
        showMessage(m_restoreError, text(failed->message()));
        m_restoreConfirm->setVisible(false);
        return;
    }
    showMessage(m_restoreError, {});
    m_restoreWarning->setText(tr("The backup opens. Restoring it replaces every record and document in this vault; "
                                 "anything changed since “%1” was made will be lost.")
                                  .arg(QFileInfo(m_restorePath).fileName()));
    m_restoreConfirm->setVisible(true);
    m_checkRestore->setEnabled(false);
}

void SettingsPage::restore() {
    if (m_restorePath.isEmpty()) return;
    VaultStore& store = context().store;
    const SecureBytes passphrase = takeSecret(m_restorePassphrase);
    const std::filesystem::path archive = pathOf(m_restorePath);
    const QString name = QFileInfo(m_restorePath).fileName();
    // The restore proves the whole backup before it takes the vault's place,
    // so a failure leaves this vault open as it was.
    const auto failed = LongTask::run(this, tr("Restoring the backup…"), [&store, &passphrase, archive] {
        return failureOf(store.replaceWithBackup(archive, passphrase.text()));
    });
    if (failed) {
        showMessage(m_restoreError, text(failed->message()));
        m_restoreConfirm->setVisible(false);
        m_checkRestore->setEnabled(true);
        return;
    }
    closePanels();
    reload();
    emit phaseChanged();
    emit recordsChanged();
    emit notify(tr("Restored the vault from %1.").arg(name));
}

void SettingsPage::exportKeyFile() {
    if (const QString problem = passphraseProblem(m_key.passphrase, m_key.repeat); !problem.isEmpty()) {
        showMessage(m_key.error, problem);
        m_key.passphrase->setFocus();
        return;
    }
    const QString chosen =
        chooseFile(true, tr("Save key file"), text(VaultStore::kKeyFileName), tr("Key files (*.key)"));
    if (chosen.isEmpty()) return;
    VaultStore& store = context().store;
    const SecureBytes passphrase = takeSecret(m_key.passphrase);
    m_key.passphrase->clear();
    m_key.repeat->clear();
    const std::filesystem::path destination = pathOf(chosen);
    const auto failed = LongTask::run(this, tr("Making the key file…"), [&store, &passphrase, destination] {
        return failureOf(store.exportKeyFile(destination, passphrase.text()));
    });
    if (failed) {
        showMessage(m_key.error, text(failed->message()));
        return;
    }
    closePanels();
    emit notify(tr("Key file saved as %1.").arg(QFileInfo(chosen).fileName()));
}

void SettingsPage::erase() {
    const auto erased = context().store.erase();
    closePanels();
    // Erasing leaves the store at its first-run state even when a file stayed behind.
    emit notify(erased ? tr("This device's vault was erased.") : text(erased.error().message()));
    emit phaseChanged();
}

}  // namespace corvale::app

#include "app/CredentialEditor.h"

#include "app/AppContext.h"
#include "platform/Clock.h"
#include "records/CredentialKind.h"
#include "records/Degree.h"
#include "records/DocumentKind.h"
#include "records/RecordEnums.h"
#include "requirements/CMECycle.h"
#include "requirements/CredentialRenewal.h"
#include "requirements/NurseCompact.h"
#include "requirements/Requirements.h"
#include "requirements/RuleData.h"
#include "records/USState.h"
#include "vault/VaultStore.h"

#include "app/DateField.h"
#include "app/FormParts.h"
#include "app/StoredFiles.h"
#include "app/Theme.h"
#include "app/UnsavedEdits.h"
#include "app/WheelGuard.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStandardItemModel>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <optional>

namespace corvale::app {
namespace {

constexpr int kIdRole = Qt::UserRole + 1;
constexpr std::array<const char*, 6> kSchedules{"2", "2N", "3", "3N", "4", "5"};
constexpr std::array<int, 7> kLeadDays{7, 14, 30, 60, 90, 120, 180};

QString leadDaysText(int days) {
    return days == 1 ? QObject::tr("1 day before") : QObject::tr("%1 days before").arg(days);
}

QString text(std::string_view value) { return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())); }
QString text(const std::string& value) { return QString::fromStdString(value); }
QString text(const std::optional<std::string>& value) { return value ? text(*value) : QString(); }

// Only the fields the user changed are written, so a value kept in a form
// the panel does not reproduce exactly (an empty title, untrimmed notes) stays as it was.
void assign(std::optional<std::string>& field, const QString& value) {
    if (value.toStdString() == field.value_or("")) return;
    const std::string trimmed = value.trimmed().toStdString();
    field = trimmed.empty() ? std::nullopt : std::optional<std::string>(trimmed);
}

// "$1,250.50" reads as 1250.5.
std::optional<double> number(QString value) {
    value.remove(QLatin1Char('$')).remove(QLatin1Char(',')).remove(QLatin1Char(' '));
    bool ok = false;
    const double parsed = value.toDouble(&ok);
    return ok ? std::optional<double>(parsed) : std::nullopt;
}

QString numberText(const std::optional<double>& value) { return value ? QString::number(*value, 'g', 12) : QString(); }

// A state is asked for where a board or a state issues the credential.
bool offersState(std::optional<CredentialKind> kind) {
    if (!kind) return true;
    switch (*kind) {
    case CredentialKind::stateLicense:
    case CredentialKind::stateCSR:
    case CredentialKind::hospitalPrivileges:
    case CredentialKind::malpractice:
    case CredentialKind::imlcLOQ:
    case CredentialKind::agreement:
    case CredentialKind::exam:
    case CredentialKind::other:
        return true;
    default:
        return false;
    }
}

QString stateRequiredSentence(CredentialKind kind) {
    return kind == CredentialKind::stateCSR ? QObject::tr("Choose the state that issued this registration.")
                                            : QObject::tr("Choose the state that issued this license.");
}

QString stageName(RenewalStage stage) {
    switch (stage) {
    case RenewalStage::notStarted:
        return QObject::tr("Not started");
    case RenewalStage::gathering:
        return QObject::tr("Gathering documents");
    case RenewalStage::submitted:
        return QObject::tr("Submitted to the board");
    case RenewalStage::approved:
        return QObject::tr("Approved");
    }
    return {};
}

void fillStates(QComboBox* box, const QString& none) {
    box->addItem(none, QString());
    for (const auto& state : USState::all()) box->addItem(text(state.name), text(state.code));
}

// Selects the item holding `data`, adding it when the list has no such item
// so that text the lists do not know is shown and kept.
void select(QComboBox* box, const QString& data, int knownCount) {
    while (box->count() > knownCount) box->removeItem(box->count() - 1);
    int index = box->findData(data);
    if (index < 0) {
        box->addItem(data, data);
        index = box->count() - 1;
    }
    box->setCurrentIndex(index);
}

// Set before any item goes in: a long choice ("State Controlled Substance
// Registration") must not widen the panel past its width.
QComboBox* combo(const QString& accessibleName, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(8);
    box->setAccessibleName(accessibleName);
    return box;
}

QComboBox* editableCombo(const QStringList& suggestions, const QString& accessibleName, QWidget* parent) {
    auto* box = combo(accessibleName, parent);
    box->setEditable(true);
    box->setInsertPolicy(QComboBox::NoInsert);
    box->addItem(QString());
    box->addItems(suggestions);
    return box;
}


}  // namespace

struct CredentialEditor::State {
    std::optional<Credential> original;  // absent while adding
    std::vector<std::string> documentIds;
    std::vector<std::string> storedForNew;  // files stored for a credential not saved yet
    QHash<QString, QLabel*> errors;
    std::vector<QFormLayout*> forms;
    QString proposed;
    bool renewal = false;
};

CredentialEditor::CredentialEditor(AppContext& context, QWidget* parent)
    : QFrame(parent), m_context(context), m_state(std::make_unique<State>()) {
    setObjectName(QStringLiteral("editorPanel"));
    setAccessibleName(tr("Credential editor"));
    build();
    hide();
}

CredentialEditor::~CredentialEditor() = default;

QWidget* CredentialEditor::section(const QString& title, QFormLayout*& form) {
    auto* box = new QWidget;
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    auto* heading = makeLabel(title, "sectionTitle", box);
    scaleFont(heading, 1.0, QFont::DemiBold);
    column->addWidget(heading);
    form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(9);
    column->addLayout(form);
    m_state->forms.push_back(form);
    return box;
}

QWidget* CredentialEditor::withError(QWidget* field, const QString& name) {
    auto* box = new QWidget;
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(3);
    column->addWidget(field);
    auto* error = makeLabel(QString(), "error", box);
    setHandle(error, name + tr(" error"));
    tieError(error, field);
    error->hide();
    column->addWidget(error);
    m_state->errors.insert(name, error);
    return box;
}

void CredentialEditor::build() {
    m_heading = makeLabel(QString(), "editorTitle", this);
    scaleFont(m_heading, 1.3, QFont::DemiBold);
    m_subheading = makeLabel(QString(), "caption", this);

    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("editorContent"));
    auto* sections = new QVBoxLayout(content);
    sections->setContentsMargins(20, 6, 16, 18);
    sections->setSpacing(22);

    // What every credential has.
    sections->addWidget(section(tr("Credential"), m_main));
    m_kind = combo(tr("Kind"), content);
    for (const auto kind : allCredentialKinds()) m_kind->addItem(text(displayName(kind)), text(rawValue(kind)));
    m_kind->setMaxVisibleItems(20);
    m_person = combo(tr("Person"), content);
    m_person->setPlaceholderText(tr("Choose whose it is"));
    m_title = lineEdit(tr("Title"), tr("Optional"), content);
    m_stateBox = combo(tr("State"), content);
    fillStates(m_stateBox, tr("Choose a state"));
    m_stateBox->setMaxVisibleItems(16);
    m_number = lineEdit(tr("Number"), tr("As printed on the credential"), content);
    m_issued = lineEdit(tr("Issued on"), dayForms(), content);
    m_expires = lineEdit(tr("Expires on"), dayForms(), content);
    addCalendarPicker(m_issued);
    addCalendarPicker(m_expires);
    m_suggestion = new QPushButton(content);
    m_suggestion->setObjectName(QStringLiteral("link"));
    m_suggestion->setAccessibleName(tr("Use proposed expiry"));
    m_suggestion->setCursor(Qt::PointingHandCursor);
    m_suggestion->hide();
    auto* expiresBox = new QWidget(content);
    auto* expiresRow = new QHBoxLayout(expiresBox);
    expiresRow->setContentsMargins(0, 0, 0, 0);
    expiresRow->setSpacing(10);
    expiresRow->addWidget(withError(m_expires, tr("Expires on")), 1);
    expiresRow->addWidget(m_suggestion, 0, Qt::AlignTop);
    m_status = lineEdit(tr("Status"), tr("Active"), content);
    m_issuer = lineEdit(tr("Issuer"), tr("Issuing board or body"), content);
    m_stateRow = withError(m_stateBox, tr("State"));
    m_main->addRow(tr("Kind"), m_kind);
    m_main->addRow(tr("Person"), m_person);
    m_main->addRow(tr("Title"), withError(m_title, tr("Title")));
    m_main->addRow(tr("State"), m_stateRow);
    m_main->addRow(tr("Number"), m_number);
    m_main->addRow(tr("Issued on (%1)").arg(dayForms().section(QLatin1Char(' '), 0, 0)), withError(m_issued, tr("Issued on")));
    m_main->addRow(tr("Expires on (%1)").arg(dayForms().section(QLatin1Char(' '), 0, 0)), expiresBox);
    m_main->addRow(tr("Status"), m_status);
    m_main->addRow(tr("Issuer"), m_issuer);

    QFormLayout* form = nullptr;
    m_malpracticeSection = section(tr("Policy"), form);
    m_carrier = lineEdit(tr("Carrier"), QString(), content);
    m_policyNumber = lineEdit(tr("Policy number"), QString(), content);
    m_limits = lineEdit(tr("Limits"), tr("$1M / $3M"), content);
    m_coverage = editableCombo({tr("Claims-made"), tr("Occurrence"), tr("Tail")}, tr("Coverage type"), content);
    form->addRow(tr("Carrier"), m_carrier);
    form->addRow(tr("Policy number"), m_policyNumber);
    form->addRow(tr("Limits"), m_limits);
    form->addRow(tr("Coverage"), m_coverage);
    sections->addWidget(m_malpracticeSection);

    m_schedulesSection = section(tr("Controlled-substance schedules"), form);
    auto* scheduleRow = new QHBoxLayout;
    scheduleRow->setSpacing(14);
    for (const char* schedule : kSchedules) {
        auto* box = new QCheckBox(QString::fromLatin1(schedule), content);
        box->setAccessibleName(tr("Schedule %1").arg(QString::fromLatin1(schedule)));
        scheduleRow->addWidget(box);
        m_schedules.push_back(box);
    }
    scheduleRow->addStretch(1);
    form->addRow(scheduleRow);
    sections->addWidget(m_schedulesSection);

    m_nurseSection = section(tr("Nursing license"), m_nurse);
    m_compact = new QCheckBox(tr("Held under the Nurse Licensure Compact"), content);
    m_compact->setAccessibleName(tr("Compact license"));
    m_multistate = new QCheckBox(tr("Multistate license"), content);
    m_multistate->setAccessibleName(tr("Multistate"));
    m_homeState = combo(tr("Home state"), content);
    fillStates(m_homeState, tr("Not recorded"));
    m_homeState->setMaxVisibleItems(16);
    m_compactNote = makeLabel(QString(), "footnote", content);
    auto* homeBox = new QWidget(content);
    auto* homeColumn = new QVBoxLayout(homeBox);
    homeColumn->setContentsMargins(0, 0, 0, 0);
    homeColumn->setSpacing(4);
    homeColumn->addWidget(m_homeState);
    homeColumn->addWidget(m_compactNote);
    m_licenseType =
        editableCombo({QStringLiteral("RN"), QStringLiteral("LPN"), QStringLiteral("LVN"), QStringLiteral("APRN")},
                      tr("License type"), content);
    m_aprnRole =
        editableCombo({QStringLiteral("CNP"), QStringLiteral("CNM"), QStringLiteral("CNS"), QStringLiteral("CRNA")},
                      tr("APRN role"), content);
    m_populationFocus =
        editableCombo({tr("Family/Individual Across the Lifespan"), tr("Adult-Gerontology Acute Care"),
                       tr("Adult-Gerontology Primary Care"), tr("Pediatrics Acute Care"), tr("Pediatrics Primary Care"),
                       tr("Neonatal"), tr("Women's Health/Gender-Related"), tr("Psychiatric-Mental Health")},
                      tr("Population focus"), content);
    m_nurse->addRow(m_compact);
    m_nurse->addRow(m_multistate);
    m_nurse->addRow(tr("Home state"), homeBox);
    m_nurse->addRow(tr("License type"), m_licenseType);
    m_nurse->addRow(tr("APRN role"), m_aprnRole);
    m_nurse->addRow(tr("Population focus"), m_populationFocus);
    sections->addWidget(m_nurseSection);

    m_cycleSection = section(tr("Continuing education"), form);
    m_cycleStart = lineEdit(tr("CME cycle start"), tr("YYYY-MM"), content);
    m_cycleStart->setToolTip(
        tr("The month this license's education cycle starts, when the board counts from a date of its own"));
    m_hoursOverride = lineEdit(tr("CME hours override"), tr("The state's rule when empty"), content);
    form->addRow(tr("Cycle starts (YYYY-MM)"), withError(m_cycleStart, tr("CME cycle start")));
    form->addRow(tr("Hours required"), withError(m_hoursOverride, tr("CME hours override")));
    sections->addWidget(m_cycleSection);

    sections->addWidget(section(tr("Renewal"), form));
    m_renewalURL = lineEdit(tr("Renewal URL"), tr("https://"), content);
    m_fee = lineEdit(tr("Fee"), tr("In dollars"), content);
    m_leadDays = combo(tr("Reminder lead days"), content);
    m_leadDays->addItem(tr("When the vault reminds"), 0);
    for (const int days : kLeadDays) m_leadDays->addItem(leadDaysText(days), days);
    m_stage = combo(tr("Renewal stage"), content);
    m_stage->addItem(tr("Not tracked"), QString());
    for (const auto stage : allRenewalStages()) m_stage->addItem(stageName(stage), text(rawValue(stage)));
    m_steps = new QStandardItemModel(this);
    m_stepList = new QListView(content);
    m_stepList->setObjectName(QStringLiteral("checklist"));
    m_stepList->setAccessibleName(tr("Renewal checklist"));
    m_stepList->setModel(m_steps);
    m_stepList->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    m_stepList->setFixedHeight(118);
    m_newStep = lineEdit(tr("New step"), tr("A new step"), content);
    auto* addStepButton = new QPushButton(tr("Add step"), content);
    auto* removeStepButton = new QPushButton(tr("Remove step"), content);
    removeStepButton->setObjectName(QStringLiteral("link"));
    auto* newStepRow = new QHBoxLayout;
    newStepRow->setSpacing(8);
    newStepRow->addWidget(m_newStep, 1);
    newStepRow->addWidget(addStepButton);
    auto* stepHint = new QHBoxLayout;
    auto* renameHint = makeLabel(tr("Double-click to rename."), "footnote", content);
    renameHint->setWordWrap(false);
    stepHint->addWidget(renameHint, 1);
    stepHint->addWidget(removeStepButton);
    auto* checklist = new QVBoxLayout;
    checklist->setSpacing(6);
    checklist->addWidget(m_stepList);
    checklist->addLayout(stepHint);
    checklist->addLayout(newStepRow);
    form->addRow(tr("Renewal URL"), withError(m_renewalURL, tr("Renewal URL")));
    form->addRow(tr("Fee"), withError(m_fee, tr("Fee")));
    form->addRow(tr("Remind me"), m_leadDays);
    form->addRow(tr("Stage"), m_stage);
    form->addRow(tr("Checklist"), checklist);

    sections->addWidget(section(tr("Documents"), form));
    m_documents = new QStandardItemModel(this);
    m_documentList = new QListView(content);
    m_documentList->setObjectName(QStringLiteral("documentList"));
    m_documentList->setAccessibleName(tr("Documents"));
    m_documentList->setModel(m_documents);
    m_documentList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_documentList->setFixedHeight(84);
    auto* attach = new QPushButton(tr("Attach…"), content);
    m_openDocument = new QPushButton(tr("Open"), content);
    m_detachDocument = new QPushButton(tr("Remove"), content);
    m_detachDocument->setAccessibleName(tr("Remove document"));
    m_saveCopy = new QPushButton(tr("Save a copy…"), content);
    m_saveCopy->setToolTip(tr("Keep a copy of the file where a program can open it"));
    m_saveCopy->hide();
    auto* documentButtons = new QHBoxLayout;
    documentButtons->setSpacing(8);
    documentButtons->addWidget(attach);
    documentButtons->addWidget(m_openDocument);
    documentButtons->addWidget(m_detachDocument);
    documentButtons->addWidget(m_saveCopy);
    documentButtons->addStretch(1);
    auto* documents = new QVBoxLayout;
    documents->setSpacing(6);
    documents->addWidget(withError(m_documentList, tr("Documents")));
    documents->addLayout(documentButtons);
    form->addRow(documents);

    sections->addWidget(section(tr("Notes"), form));
    m_notes = new QPlainTextEdit(content);
    m_notes->setAccessibleName(tr("Notes"));
    m_notes->setTabChangesFocus(true);
    m_notes->setFixedHeight(84);
    form->addRow(m_notes);
    sections->addStretch(1);

    auto* scroll = new QScrollArea(this);

    scroll->setFocusPolicy(Qt::NoFocus);  // only scrolls: Tab goes to what is inside
    scroll->setObjectName(QStringLiteral("editorScroll"));
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    m_saveError = makeLabel(QString(), "error", this);
    setHandle(m_saveError, tr("Save error"));
    m_saveError->hide();
    auto* cancelButton = new QPushButton(tr("Cancel"), this);
    cancelButton->setToolTip(tr("Close without saving (Esc)"));
    auto* saveButton = new QPushButton(tr("Save"), this);
    saveButton->setObjectName(QStringLiteral("primary"));
    saveButton->setToolTip(tr("Save (Ctrl+S)"));
    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(22, 10, 22, 16);
    // The footer sits at the bottom: a longer error grows it upward and the buttons stay put.
    footer->addWidget(m_saveError, 1);
    footer->addStretch(0);
    footer->addWidget(cancelButton, 0, Qt::AlignBottom);
    footer->addWidget(saveButton, 0, Qt::AlignBottom);

    auto* header = new QVBoxLayout;
    header->setContentsMargins(22, 18, 22, 8);
    header->setSpacing(2);
    header->addWidget(m_heading);
    header->addWidget(m_subheading);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(header);
    layout->addWidget(scroll, 1);
    m_unsaved =
        new UnsavedEdits([this] { return hasUnsavedEdits(); }, [this] { return save(); }, [this] { cancel(); }, this);
    layout->addWidget(m_unsaved);
    layout->addLayout(footer);

    // One label column for every section, so the fields line up down the panel.
    std::vector<QLabel*> labels;
    for (QFormLayout* each : m_state->forms)
        for (int row = 0; row < each->rowCount(); ++row)
            if (QLayoutItem* item = each->itemAt(row, QFormLayout::LabelRole))
                if (auto* label = qobject_cast<QLabel*>(item->widget())) labels.push_back(label);
    int labelWidth = 0;
    for (QLabel* label : labels) labelWidth = std::max(labelWidth, label->sizeHint().width());
    const int fieldHeight = m_number->sizeHint().height();
    for (QLabel* label : labels) {
        label->setMinimumSize(labelWidth, fieldHeight);
        label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    }

    connect(m_kind, &QComboBox::currentIndexChanged, this, &CredentialEditor::updateForKind);
    connect(m_person, &QComboBox::currentIndexChanged, this, &CredentialEditor::updateForKind);
    connect(m_issued, &QLineEdit::textChanged, this, &CredentialEditor::updateSuggestion);
    connect(m_expires, &QLineEdit::textChanged, this, &CredentialEditor::updateSuggestion);
    connect(m_suggestion, &QPushButton::clicked, this, [this] {
        m_expires->setText(m_state->proposed);
        m_expires->setFocus();
    });
    connect(m_homeState, &QComboBox::currentIndexChanged, this, &CredentialEditor::updateCompactNote);
    connect(m_multistate, &QCheckBox::toggled, this, &CredentialEditor::updateCompactNote);
    connect(addStepButton, &QPushButton::clicked, this, &CredentialEditor::addStep);
    connect(m_newStep, &QLineEdit::returnPressed, this, &CredentialEditor::addStep);
    connect(removeStepButton, &QPushButton::clicked, this, &CredentialEditor::removeStep);
    connect(attach, &QPushButton::clicked, this, &CredentialEditor::chooseFileToAttach);
    connect(m_openDocument, &QPushButton::clicked, this, &CredentialEditor::openDocument);
    connect(m_detachDocument, &QPushButton::clicked, this, &CredentialEditor::detachDocument);
    connect(m_saveCopy, &QPushButton::clicked, this, &CredentialEditor::saveCopy);
    connect(m_documentList, &QListView::activated, this, &CredentialEditor::openDocument);
    connect(cancelButton, &QPushButton::clicked, this, &CredentialEditor::cancel);
    connect(saveButton, &QPushButton::clicked, this, &CredentialEditor::save);

    // Enter in a one-line field saves, as in a dialog.
    for (QLineEdit* edit : {m_title, m_number, m_issued, m_expires, m_status, m_issuer, m_carrier, m_policyNumber,
                            m_limits, m_cycleStart, m_hoursOverride, m_renewalURL, m_fee}) {
        connect(edit, &QLineEdit::returnPressed, this, &CredentialEditor::save);
    }
    for (QComboBox* box : {m_coverage, m_licenseType, m_aprnRole, m_populationFocus})
        connect(box->lineEdit(), &QLineEdit::returnPressed, this, &CredentialEditor::save);

    auto* saveShortcut = new QShortcut(QKeySequence::Save, this, this, [this] { save(); });
    saveShortcut->setContext(Qt::WidgetWithChildrenShortcut);
    saveShortcut->setWhatsThis(tr("Save the credential"));
    auto* cancelShortcut = new QShortcut(QKeySequence(Qt::Key_Escape), this, this, &CredentialEditor::cancel);
    cancelShortcut->setContext(Qt::WidgetWithChildrenShortcut);
    cancelShortcut->setWhatsThis(tr("Stop editing the credential"));
    auto* removeStepShortcut = new QShortcut(QKeySequence::Delete, m_stepList, this, &CredentialEditor::removeStep);
    removeStepShortcut->setContext(Qt::WidgetShortcut);
    removeStepShortcut->setWhatsThis(tr("Remove the selected renewal step"));
    auto* detachShortcut = new QShortcut(QKeySequence::Delete, m_documentList, this, &CredentialEditor::detachDocument);
    detachShortcut->setContext(Qt::WidgetShortcut);
    detachShortcut->setWhatsThis(tr("Detach the selected document"));
    // Fields move into their error boxes after they are made, which would send Tab out of reading order.
    orderTabsAsLaidOut(this);
    guardWheel(this);
}

QString CredentialEditor::credentialId() const { return m_state->original ? text(m_state->original->id) : QString(); }

void CredentialEditor::refreshPeople() {
    const QString chosen = m_person->currentData().toString();
    const QSignalBlocker blocker(m_person);
    m_person->clear();
    for (const Person* person : m_context.people()) {
        QString label = text(person->name);
        if (!person->degree.empty()) label += QStringLiteral(", ") + text(person->degree);
        m_person->addItem(label, text(person->id));
    }
    const int index = m_person->findData(chosen);
    if (index >= 0) m_person->setCurrentIndex(index);
}

void CredentialEditor::openNew() {
    m_state->original.reset();
    m_state->renewal = false;
    load();
    m_heading->setText(tr("New credential"));
    m_subheading->setText(tr("Choose the kind first; the fields follow it."));
    m_kind->setFocus();
}

bool CredentialEditor::openCredential(const QString& credentialId) {
    const std::string id = credentialId.toStdString();
    const auto& credentials = m_context.doc().credentials;
    const auto found = std::find_if(credentials.begin(), credentials.end(),
                                    [&](const Credential& c) { return !c.deleted && c.id == id; });
    if (found == credentials.end()) return false;
    m_state->original = *found;
    m_state->renewal = false;
    load();
    m_heading->setText(text(renewTitle(*found)));
    QString whose;
    if (m_context.isOffice())
        if (const Person* person = m_context.person(found->personId))
            whose = text(person->name) + QStringLiteral(" · ");
    m_subheading->setText(whose + (found->expiresOn ? tr("Expires %1").arg(text(found->expiresOn->formatted()))
                                                    : tr("No expiry date recorded")));
    m_title->setFocus();
    return true;
}

bool CredentialEditor::openRenewal(const QString& credentialId) {
    if (!openCredential(credentialId)) return false;
    m_state->renewal = true;
    const Day today = m_context.today();
    m_issued->setText(text(today.toString()));
    m_expires->clear();
    // Renewing early doesn't shorten the next cycle: it runs on from the
    // current expiry, or from today once that has passed.
    const Credential& original = *m_state->original;
    const Day from = original.expiresOn && *original.expiresOn >= today ? *original.expiresOn : today;
    std::optional<Day> expiry;
    const auto kind = credentialKindFromRaw(original.kind);
    const StateRule* rule = original.state ? m_context.requirements.state(*original.state) : nullptr;
    const Person* holder = m_context.person(original.personId);
    const auto degree = holder ? holder->degreeValue() : std::nullopt;
    if (kind == CredentialKind::stateLicense && rule && degree) {
        if (const auto years = rule->renewalYearsFor(*degree))
            expiry = rule->adjustedExpiry(from.addingYears(*years), *degree);
    }
    if (!expiry && kind) expiry = corvale::proposedExpiry(*kind, from);
    if (expiry) m_expires->setText(text(expiry->toString()));
    // A new cycle starts with a fresh checklist.
    m_stage->setCurrentIndex(0);
    for (int row = 0; row < m_steps->rowCount(); ++row) m_steps->item(row)->setCheckState(Qt::Unchecked);
    m_heading->setText(tr("Record a renewal"));
    m_subheading->setText(
        tr("Check the new dates against the renewed %1, then save.").arg(text(renewTitle(*m_state->original))));
    markClean();
    m_expires->setFocus();
    m_expires->selectAll();
    return true;
}

void CredentialEditor::load() {
    clearErrors();
    m_state->storedForNew.clear();
    refreshPeople();
    const Credential blank = [&] {
        Credential fresh;
        fresh.kind = std::string(rawValue(CredentialKind::stateLicense));
        if (const Person* person = m_context.currentPerson(); person && !m_context.asksWhose())
            fresh.personId = person->id;
        return fresh;
    }();
    const Credential& c = m_state->original ? *m_state->original : blank;
    m_state->documentIds = c.documentIds;

    const QSignalBlocker kindBlocker(m_kind), personBlocker(m_person), homeBlocker(m_homeState);
    select(m_kind, text(c.kind), static_cast<int>(allCredentialKinds().size()));
    m_person->setCurrentIndex(m_person->findData(text(c.personId)));
    m_title->setText(text(c.title));
    select(m_stateBox, c.state ? text(*c.state).toUpper() : QString(), static_cast<int>(USState::all().size()) + 1);
    m_number->setText(text(c.number));
    m_issued->setText(c.issuedOn ? text(c.issuedOn->toString()) : QString());
    m_expires->setText(c.expiresOn ? text(c.expiresOn->toString()) : QString());
    m_status->setText(text(c.status));
    m_issuer->setText(text(c.issuer));

    m_carrier->setText(text(c.carrier));
    m_policyNumber->setText(text(c.policyNumber));
    m_limits->setText(text(c.limits));
    m_coverage->setCurrentText(text(c.coverageType));
    for (std::size_t i = 0; i < kSchedules.size(); ++i) {
        const bool held =
            c.schedules && std::find(c.schedules->begin(), c.schedules->end(), kSchedules[i]) != c.schedules->end();
        m_schedules[i]->setChecked(held);
    }

    m_compact->setChecked(c.isCompact);
    m_multistate->setChecked(c.multistate.value_or(false));
    select(m_homeState, c.homeState ? text(*c.homeState).toUpper() : QString(),
           static_cast<int>(USState::all().size()) + 1);
    m_licenseType->setCurrentText(text(c.licenseType));
    m_aprnRole->setCurrentText(text(c.aprnRole));
    m_populationFocus->setCurrentText(text(c.populationFocus));

    m_cycleStart->setText(text(c.cmeCycleStart));
    m_hoursOverride->setText(numberText(c.cmeHoursOverride));

    m_renewalURL->setText(text(c.renewalURL));
    m_fee->setText(numberText(c.fee));
    while (m_leadDays->count() > static_cast<int>(kLeadDays.size()) + 1)
        m_leadDays->removeItem(m_leadDays->count() - 1);
    const int lead = c.reminderLeadDays.value_or(0);
    if (m_leadDays->findData(lead) < 0) m_leadDays->addItem(leadDaysText(lead), lead);
    m_leadDays->setCurrentIndex(m_leadDays->findData(lead));
    m_stage->blockSignals(true);
    select(m_stage, text(c.renewalStage), static_cast<int>(allRenewalStages().size()) + 1);
    m_stage->blockSignals(false);
    m_steps->clear();
    for (const RenewalStep& step : c.renewalSteps.value_or(std::vector<RenewalStep>{})) {
        auto* item = new QStandardItem(text(step.title));
        item->setCheckable(true);
        item->setCheckState(step.done ? Qt::Checked : Qt::Unchecked);
        item->setData(text(step.id), kIdRole);
        m_steps->appendRow(item);
    }
    m_newStep->clear();
    showDocuments();
    m_notes->setPlainText(text(c.notes));

    updateForKind();
    updateCompactNote();
    show();
    markClean();
}

void CredentialEditor::markClean() {
    m_unsaved->dismiss();
    m_clean = formState(this, {m_unsaved, m_documentList});
}

bool CredentialEditor::hasUnsavedEdits() const {
    return isOpen() && formState(this, {m_unsaved, m_documentList}) != m_clean;
}

bool CredentialEditor::leave(std::function<void()> then) { return m_unsaved->leave(std::move(then)); }

bool CredentialEditor::settleBeforeLock() { return m_unsaved->settleBeforeLock(); }

QString CredentialEditor::chosenPersonId() const {
    if (m_context.isOffice() && m_person->currentIndex() >= 0) return m_person->currentData().toString();
    if (m_state->original) return text(m_state->original->personId);
    const Person* current = m_context.currentPerson();
    return current ? text(current->id) : QString();
}

void CredentialEditor::updateForKind() {
    const auto kind = credentialKindFromRaw(m_kind->currentData().toString().toStdString());
    m_main->setRowVisible(m_person, m_context.isOffice());
    m_main->setRowVisible(m_stateRow, offersState(kind));
    m_stateBox->setItemText(0, kind && needsState(*kind) ? tr("Choose a state") : tr("None"));
    m_title->setPlaceholderText(kind == CredentialKind::boardCertification ? tr("Such as ABIM Internal Medicine")
                                : kind == CredentialKind::other            ? tr("Such as Fluoroscopy permit")
                                                                           : tr("Optional"));
    m_malpracticeSection->setVisible(kind == CredentialKind::malpractice);
    m_schedulesSection->setVisible(kind == CredentialKind::dea || kind == CredentialKind::stateCSR);
    m_cycleSection->setVisible(kind == CredentialKind::stateLicense);

    const Person* person = m_context.person(chosenPersonId().toStdString());
    const auto degree = person ? person->degreeValue() : std::nullopt;
    const bool nurse = kind == CredentialKind::stateLicense && degree && isNurse(*degree);
    m_nurseSection->setVisible(nurse);
    const bool advanced = nurse && isAPRN(*degree);
    m_nurse->setRowVisible(m_aprnRole, advanced);
    m_nurse->setRowVisible(m_populationFocus, advanced);
    updateSuggestion();
}

void CredentialEditor::updateSuggestion() {
    m_state->proposed.clear();
    const auto kind = credentialKindFromRaw(m_kind->currentData().toString().toStdString());
    const auto issued = readTypedDay(m_issued->text()).day;
    if (kind && issued && m_expires->text().trimmed().isEmpty()) {
        if (const auto expiry = corvale::proposedExpiry(*kind, *issued)) {
            m_state->proposed = text(expiry->toString());
            m_suggestion->setText(tr("Use %1").arg(text(expiry->shortFormatted())));
        }
    }
    m_suggestion->setVisible(!m_state->proposed.isEmpty());
}

void CredentialEditor::updateCompactNote() {
    const QString home = m_homeState->currentData().toString();
    const bool show = m_multistate->isChecked() && !home.isEmpty();
    m_compactNote->setText(show ? text(NurseCompact::stateSentence(home.toStdString())) : QString());
    m_compactNote->setVisible(show);
}

QString CredentialEditor::proposedExpiry() const { return m_state->proposed; }

QString CredentialEditor::errorFor(const QString& field) const {
    const QLabel* label = m_state->errors.value(field);
    return label && !label->isHidden() ? label->text() : QString();
}

void CredentialEditor::setError(const QString& field, const QString& sentence) {
    if (QLabel* label = m_state->errors.value(field)) showMessage(label, sentence);
}

void CredentialEditor::clearErrors() {
    for (QLabel* label : std::as_const(m_state->errors)) showMessage(label, QString());
    m_saveError->hide();
}

bool CredentialEditor::save() {
    if (!isOpen()) return false;
    clearErrors();
    const auto kind = credentialKindFromRaw(m_kind->currentData().toString().toStdString());
    QWidget* firstWrong = nullptr;
    const auto wrong = [&](QWidget* field, const QString& name, const QString& sentence) {
        setError(name, sentence);
        if (!firstWrong) firstWrong = field;
    };

    if (m_context.isOffice() && m_person->currentIndex() < 0) {
        showMessage(m_saveError, tr("Choose whose credential this is."));
        m_person->setFocus();
        return false;
    }
    const QString personId = chosenPersonId();
    if (personId.isEmpty()) {
        m_saveError->setText(tr("Add the person this credential belongs to on the profile first."));
        m_saveError->show();
        return false;
    }
    const bool stateShown = m_main->isRowVisible(m_stateRow);
    const QString state = m_stateBox->currentData().toString();
    if (stateShown && state.isEmpty() && kind && needsState(*kind))
        wrong(m_stateBox, tr("State"), stateRequiredSentence(*kind));
    else if (stateShown && !state.isEmpty() && !USState::find(state.toStdString()))
        wrong(m_stateBox, tr("State"), text(notAState(state.toStdString())));
    if (kind == CredentialKind::other && m_title->text().trimmed().isEmpty())
        wrong(m_title, tr("Title"), tr("Name this credential, such as Fluoroscopy permit."));

    const auto readDay = [&](QLineEdit* field, const QString& name) -> std::optional<Day> {
        const QString value = field->text().trimmed();
        const TypedDay typed = readTypedDay(value);
        if (typed.reading == TypedDay::Reading::notADate)
            wrong(field, name, tr("Enter the date as %1, such as %2.").arg(dayForms(), localDayText(Day{2027, 1, 31})));
        else if (typed.reading == TypedDay::Reading::notOnTheCalendar)
            wrong(field, name, notOnTheCalendar(value));
        return typed.day;
    };
    const auto issued = readDay(m_issued, tr("Issued on"));
    const auto expires = readDay(m_expires, tr("Expires on"));
    if (issued && expires && *expires < *issued)
        wrong(m_expires, tr("Expires on"), tr("This date comes before the issue date, so check both dates."));

    QString url = m_renewalURL->text().trimmed();
    if (!url.isEmpty()) {
        if (!url.contains(QStringLiteral("://"))) url.prepend(QStringLiteral("https://"));
        const QUrl parsed(url, QUrl::StrictMode);
        if (!parsed.isValid() || parsed.host().isEmpty() || !parsed.host().contains(QLatin1Char('.')) ||
            (parsed.scheme() != QStringLiteral("https") && parsed.scheme() != QStringLiteral("http")))
            wrong(m_renewalURL, tr("Renewal URL"),
                  tr("Enter the board's web address, such as https://www.tmb.state.tx.us."));
    }
    std::optional<double> fee;
    if (!m_fee->text().trimmed().isEmpty()) {
        fee = number(m_fee->text());
        if (!fee || *fee < 0) wrong(m_fee, tr("Fee"), tr("Enter the fee in dollars, such as 280."));
    }
    const bool cycleShown = !m_cycleSection->isHidden();
    const QString cycleStart = m_cycleStart->text().trimmed();
    if (cycleShown && !cycleStart.isEmpty() && !CMECycle::start(cycleStart.toStdString()))
        wrong(m_cycleStart, tr("CME cycle start"),
              tr("Enter the month the education cycle starts as YYYY-MM, such as 2025-02."));
    std::optional<double> hours;
    if (cycleShown && !m_hoursOverride->text().trimmed().isEmpty()) {
        hours = number(m_hoursOverride->text());
        if (!hours || *hours <= 0)
            wrong(m_hoursOverride, tr("CME hours override"),
                  tr("Enter the hours required as a number above zero, such as 50."));
    }
    if (firstWrong) {
        firstWrong->setFocus();
        return false;
    }

    // Start from the record as stored now, so what changed elsewhere since opening stays.
    const bool adding = !m_state->original;
    Credential credential;
    if (!adding) {
        const auto& credentials = m_context.doc().credentials;
        const auto found = std::find_if(credentials.begin(), credentials.end(), [&](const Credential& c) {
            return !c.deleted && c.id == m_state->original->id;
        });
        if (found == credentials.end()) {
            m_saveError->setText(tr("This credential was deleted while it was open, so it wasn't saved."));
            m_saveError->show();
            return false;
        }
        credential = *found;
    } else {
        credential.id = newUUID();
    }
    credential.personId = personId.toStdString();
    credential.kind = m_kind->currentData().toString().toStdString();
    assign(credential.title, m_title->text());
    if (stateShown) assign(credential.state, state);
    assign(credential.number, m_number->text());
    credential.issuedOn = issued;
    credential.expiresOn = expires;
    assign(credential.status, m_status->text());
    assign(credential.issuer, m_issuer->text());
    if (!m_malpracticeSection->isHidden()) {
        assign(credential.carrier, m_carrier->text());
        assign(credential.policyNumber, m_policyNumber->text());
        assign(credential.limits, m_limits->text());
        assign(credential.coverageType, m_coverage->currentText());
    }
    if (!m_schedulesSection->isHidden()) {
        std::vector<std::string> held;
        for (std::size_t i = 0; i < kSchedules.size(); ++i)
            if (m_schedules[i]->isChecked()) held.emplace_back(kSchedules[i]);
        if (held != credential.schedules.value_or(std::vector<std::string>{}))
            credential.schedules = held.empty() ? std::nullopt : std::optional(held);
    }
    if (!m_nurseSection->isHidden()) {
        credential.isCompact = m_compact->isChecked();
        if (m_multistate->isChecked() != credential.multistate.value_or(false))
            credential.multistate = m_multistate->isChecked();
        assign(credential.homeState, m_homeState->currentData().toString());
        assign(credential.licenseType, m_licenseType->currentText());
        if (m_nurse->isRowVisible(m_aprnRole)) {
            assign(credential.aprnRole, m_aprnRole->currentText());
            assign(credential.populationFocus, m_populationFocus->currentText());
        }
    }
    if (cycleShown) {
        assign(credential.cmeCycleStart, cycleStart);
        if (hours != credential.cmeHoursOverride) credential.cmeHoursOverride = hours;
    }
    if (m_renewalURL->text() != text(credential.renewalURL)) assign(credential.renewalURL, url);
    if (fee != credential.fee) credential.fee = fee;
    const int lead = m_leadDays->currentData().toInt();
    if (lead != credential.reminderLeadDays.value_or(0))
        credential.reminderLeadDays = lead > 0 ? std::optional(lead) : std::nullopt;
    assign(credential.renewalStage, m_stage->currentData().toString());
    std::vector<RenewalStep> steps;
    for (int row = 0; row < m_steps->rowCount(); ++row) {
        const QStandardItem* item = m_steps->item(row);
        const QString title = item->text().trimmed();
        if (title.isEmpty()) continue;
        steps.push_back(
            {item->data(kIdRole).toString().toStdString(), title.toStdString(), item->checkState() == Qt::Checked});
    }
    if (steps != credential.renewalSteps.value_or(std::vector<RenewalStep>{}))
        credential.renewalSteps = steps.empty() ? std::nullopt : std::optional(steps);
    credential.documentIds = m_state->documentIds;
    assign(credential.notes, m_notes->toPlainText());
    credential.updatedAt = Timestamp::now(m_context.clock);

    const auto written = m_context.store.change([&](VaultDocument& doc) {
        const auto found = std::find_if(doc.credentials.begin(), doc.credentials.end(),
                                        [&](const Credential& c) { return c.id == credential.id; });
        if (found == doc.credentials.end())
            doc.credentials.push_back(credential);
        else
            *found = credential;
    });
    if (!written) {
        m_saveError->setText(text(written.error().message()));
        m_saveError->show();
        return false;
    }
    const QString id = text(credential.id);
    const QString name = text(renewTitle(credential));
    const bool renewal = m_state->renewal;
    m_state->storedForNew.clear();
    finish();
    emit recordsChanged();
    emit notify(renewal ? tr("Recorded the renewal of %1").arg(name) : tr("Saved %1").arg(name));
    emit saved(id);
    return true;
}

void CredentialEditor::cancel() {
    if (!isOpen()) return;
    // Files stored for a credential that never came to be would belong to nothing.
    if (!m_state->storedForNew.empty()) {
        const Timestamp now = Timestamp::now(m_context.clock);
        const auto stored = m_state->storedForNew;
        (void)m_context.store.change([&](VaultDocument& doc) {
            for (auto& document : doc.documents) {
                if (std::find(stored.begin(), stored.end(), document.id) == stored.end()) continue;
                document.deleted = true;
                document.updatedAt = now;
            }
        });
        m_state->storedForNew.clear();
        emit recordsChanged();
    }
    finish();
}

void CredentialEditor::finish() {
    clearErrors();
    m_state->original.reset();
    m_state->renewal = false;
    hide();
    emit closed();
}

void CredentialEditor::addStep() {
    const QString title = m_newStep->text().trimmed();
    if (title.isEmpty()) return;
    auto* item = new QStandardItem(title);
    item->setCheckable(true);
    item->setCheckState(Qt::Unchecked);
    item->setData(text(newUUID()), kIdRole);
    m_steps->appendRow(item);
    m_newStep->clear();
    m_stepList->setCurrentIndex(item->index());
}

void CredentialEditor::removeStep() {
    const QModelIndex current = m_stepList->currentIndex();
    if (current.isValid()) m_steps->removeRow(current.row());
}

void CredentialEditor::showDocuments() {
    m_documents->clear();
    m_saveCopy->hide();
    const auto& documents = m_context.doc().documents;
    for (const std::string& id : m_state->documentIds) {
        const auto found = std::find_if(documents.begin(), documents.end(),
                                        [&](const DocumentRecord& d) { return !d.deleted && d.id == id; });
        auto* item =
            new QStandardItem(found == documents.end() ? tr("A file no longer in the vault") : text(found->filename));
        item->setData(text(id), kIdRole);
        if (found != documents.end())
            item->setToolTip(tr("%1, %2 KB").arg(text(found->contentType)).arg((found->size + 1023) / 1024));
        m_documents->appendRow(item);
    }
    if (m_documents->rowCount() > 0) m_documentList->setCurrentIndex(m_documents->index(0, 0));
    m_openDocument->setEnabled(m_documents->rowCount() > 0);
    m_detachDocument->setEnabled(m_documents->rowCount() > 0);
}

void CredentialEditor::chooseFileToAttach() {
    if (!isOpen()) return;
    auto* dialog = new QFileDialog(this, tr("Attach a copy"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters(
        {tr("Scans and documents (*.pdf *.png *.jpg *.jpeg *.heic *.tif *.tiff)"), tr("All files (*)")});
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) { attachFile(path); });
    dialog->open();
}

bool CredentialEditor::attachFile(const QString& path) {
    if (!isOpen()) return false;
    if (QLabel* error = m_state->errors.value(tr("Documents"))) showMessage(error, QString());
    const QString filename = QFileInfo(path).fileName();
    const auto kind = documentKindFor(credentialKindFromRaw(m_kind->currentData().toString().toStdString()));
    const auto stored = storeFile(m_context.store, path, chosenPersonId().toStdString(), rawValue(kind));
    if (!stored) {
        setError(tr("Documents"), stored.error());
        return false;
    }
    const std::string id = stored->id;
    m_state->documentIds.push_back(id);
    if (m_state->original) {
        // The copy is in the vault now; the credential points at it at once rather than on save.
        const std::string credentialId = m_state->original->id;
        const Timestamp now = Timestamp::now(m_context.clock);
        (void)m_context.store.change([&](VaultDocument& doc) {
            for (auto& credential : doc.credentials) {
                if (credential.id != credentialId || credential.deleted) continue;
                credential.documentIds.push_back(id);
                credential.updatedAt = now;
            }
        });
    } else {
        m_state->storedForNew.push_back(id);
    }
    showDocuments();
    m_documentList->setCurrentIndex(m_documents->index(m_documents->rowCount() - 1, 0));
    emit recordsChanged();
    emit notify(tr("Attached %1").arg(filename));
    return true;
}

void CredentialEditor::openDocument() {
    const QModelIndex current = m_documentList->currentIndex();
    if (!current.isValid()) return;
    setError(tr("Documents"), QString());
    const auto problem = openStoredDocument(m_context.store, current.data(kIdRole).toString().toStdString());
    if (problem) setError(tr("Documents"), problem->sentence);
    m_saveCopy->setVisible(problem && problem->noViewer);
}

void CredentialEditor::saveCopy() {
    const QModelIndex current = m_documentList->currentIndex();
    if (!current.isValid()) return;
    offerToSaveCopy(this, m_context.store, current.data(kIdRole).toString().toStdString(), current.data().toString(),
                    [this](const std::optional<QString>& problem) {
                        setError(tr("Documents"), problem.value_or(QString()));
                        if (problem) return;
                        m_saveCopy->hide();
                        emit notify(tr("Saved a copy."));
                    });
}

void CredentialEditor::detachDocument() {
    const QModelIndex current = m_documentList->currentIndex();
    if (!current.isValid()) return;
    const std::string id = current.data(kIdRole).toString().toStdString();
    const QString filename = current.data().toString();
    std::erase(m_state->documentIds, id);
    if (m_state->original) {
        const std::string credentialId = m_state->original->id;
        const Timestamp now = Timestamp::now(m_context.clock);
        (void)m_context.store.change([&](VaultDocument& doc) {
            for (auto& credential : doc.credentials) {
                if (credential.id != credentialId || credential.deleted) continue;
                std::erase(credential.documentIds, id);
                credential.updatedAt = now;
            }
        });
        emit recordsChanged();
    }
    showDocuments();
    emit notify(tr("Removed %1 from this credential; the file stays in Documents").arg(filename));
}

}  // namespace corvale::app

#include "app/ActivityEditor.h"

#include "app/AppContext.h"
#include "app/CMECategories.h"
#include "app/DateField.h"
#include "app/FormParts.h"
#include "app/StoredFiles.h"
#include "app/Theme.h"
#include "app/UnsavedEdits.h"
#include "app/WheelGuard.h"
#include "platform/Clock.h"
#include "records/EntryRules.h"
#include "records/RecordEnums.h"
#include "requirements/Hours.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDate>
#include <QFileDialog>
#include <QFileInfo>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <map>

namespace corvale::app {
namespace {

constexpr int kKeyRole = Qt::UserRole + 1;

QString qText(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

std::optional<std::string> optionalText(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) return std::nullopt;
    return trimmed.toStdString();
}

// The topics the person's state licences ask for, keyed by topic key.
std::map<std::string, std::string> topicsOfferedTo(const AppContext& context, std::string_view personId) {
    std::map<std::string, std::string> offered;
    const Person* person = context.person(personId);
    if (!person) return offered;
    const auto degree = person->degreeValue();
    if (!degree) return offered;
    for (const Credential& credential : context.doc().credentials) {
        if (credential.deleted || credential.personId != personId || credential.kind != "stateLicense" ||
            !credential.state)
            continue;
        const StateRule* state = context.requirements.state(*credential.state);
        if (!state) continue;
        const auto resolved = state->resolved(*degree);
        if (!resolved || !resolved->rule.topics) continue;
        for (const TopicRule& topic : *resolved->rule.topics)
            if (!offered.contains(topic.key)) offered.emplace(topic.key, context.requirements.topicName(topic.key));
    }
    return offered;
}

struct FieldColumn {
    QVBoxLayout* layout;
    QLabel* error;
};

// A caption over the input and, under it, the sentence that says what is wrong with it.
FieldColumn field(const QString& caption, QWidget* input, QWidget* parent, bool canBeWrong = true) {
    auto* layout = new QVBoxLayout;
    layout->setSpacing(4);
    auto* label = makeLabel(caption, "fieldLabel", parent);
    label->setBuddy(input);
    layout->addWidget(label);
    layout->addWidget(input);
    if (!canBeWrong) return {layout, nullptr};
    auto* error = makeLabel(QString(), "error", parent);
    setHandle(error, caption + QObject::tr(" error"));
    tieError(error, input);
    error->hide();
    layout->addWidget(error);
    return {layout, error};
}


}  // namespace

struct ActivityEditor::Draft {
    CMEActivity record;
    bool isNew = true;
    // Certificates stored during this edit: dropped again if the edit is abandoned.
    std::vector<std::string> attachedNow;
};

ActivityEditor::ActivityEditor(AppContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_draft(std::make_unique<Draft>()) {
    setAccessibleName(tr("Activity editor"));

    auto* card = new QFrame(this);
    card->setObjectName(QStringLiteral("card"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(card);

    auto* form = new QWidget;
    form->setObjectName(QStringLiteral("editorForm"));
    auto* column = new QVBoxLayout(form);
    column->setContentsMargins(22, 18, 22, 8);
    column->setSpacing(10);

    m_heading = makeLabel(QString(), "sectionTitle", form);
    scaleFont(m_heading, 1.25, QFont::DemiBold);
    column->addWidget(m_heading);
    m_note = makeLabel(QString(), "caption", form);
    column->addWidget(m_note);

    m_person = new QComboBox(form);
    m_person->setAccessibleName(tr("Person"));
    m_person->setPlaceholderText(tr("Choose whose it is"));
    m_personRow = new QWidget(form);
    {
        auto* layout = field(tr("Person"), m_person, m_personRow, false).layout;
        layout->setContentsMargins(0, 0, 0, 0);
        m_personRow->setLayout(layout);
    }
    column->addWidget(m_personRow);

    m_title = lineEdit(tr("Title"), tr("Course or activity"), form);
    auto title = field(tr("Title"), m_title, form);
    m_titleError = title.error;
    column->addLayout(title.layout);

    m_provider = lineEdit(tr("Provider"), tr("Who offered it"), form);
    column->addLayout(field(tr("Provider"), m_provider, form, false).layout);

    m_completed = lineEdit(tr("Completed on"), dayForms(), form);
    addCalendarPicker(m_completed);
    m_hours = lineEdit(tr("Hours"), tr("e.g. 1.5"), form);
    auto completed = field(tr("Completed on (%1)").arg(dayForms().section(QLatin1Char(' '), 0, 0)), m_completed, form);
    auto hours = field(tr("Hours"), m_hours, form);
    m_completedError = completed.error;
    setHandle(m_completedError, tr("Completed on error"));
    m_hoursError = hours.error;
    auto* dateAndHours = new QHBoxLayout;
    dateAndHours->setSpacing(12);
    dateAndHours->addLayout(completed.layout, 3);
    dateAndHours->addLayout(hours.layout, 2);
    column->addLayout(dateAndHours);

    m_category = new QComboBox(form);
    m_category->setAccessibleName(tr("Category"));
    for (const CMECategory category : allCMECategories())
        m_category->addItem(cmeCategoryName(rawValue(category)), qText(rawValue(category)));
    column->addLayout(field(tr("Category"), m_category, form, false).layout);

    m_topics = new QStandardItemModel(this);
    m_topicsView = new QListView(form);
    m_topicsView->setObjectName(QStringLiteral("topics"));
    m_topicsView->setAccessibleName(tr("Topics"));
    m_topicsView->setModel(m_topics);
    m_topicsView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    column->addLayout(field(tr("Topics"), m_topicsView, form, false).layout);
    // Space ticks the current topic, as in any checklist.
    connect(m_topicsView, &QListView::activated, this, [this](const QModelIndex& index) {
        if (auto* item = m_topics->itemFromIndex(index))
            item->setCheckState(item->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
    });

    m_boardApproved = new QCheckBox(tr("Board approved"), form);
    m_boardApproved->setAccessibleName(tr("Board approved"));
    m_cost = lineEdit(tr("Cost"), tr("$"), form);
    auto cost = field(tr("Cost"), m_cost, form);
    m_costError = cost.error;
    auto* approvedAndCost = new QHBoxLayout;
    approvedAndCost->setSpacing(12);
    auto* approvedColumn = new QVBoxLayout;
    approvedColumn->addStretch(1);
    approvedColumn->addWidget(m_boardApproved);
    approvedColumn->addStretch(1);
    approvedAndCost->addLayout(approvedColumn, 3);
    approvedAndCost->addLayout(cost.layout, 2);
    column->addLayout(approvedAndCost);

    m_notes = new QPlainTextEdit(form);
    m_notes->setAccessibleName(tr("Notes"));
    m_notes->setTabChangesFocus(true);
    m_notes->setFixedHeight(56);
    column->addLayout(field(tr("Notes"), m_notes, form, false).layout);

    m_certificates = new QStandardItemModel(this);
    m_certificatesView = new QListView(form);
    m_certificatesView->setObjectName(QStringLiteral("certificates"));
    m_certificatesView->setAccessibleName(tr("Certificates"));
    m_certificatesView->setModel(m_certificates);
    m_certificatesView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_certificatesView->setFixedHeight(48);
    auto certificates = field(tr("Certificates"), m_certificatesView, form);
    m_certificateError = certificates.error;
    auto* attach = new QPushButton(tr("Attach certificate…"), form);
    m_open = new QPushButton(tr("Open"), form);
    m_remove = new QPushButton(tr("Remove"), form);
    m_open->setAccessibleName(tr("Open certificate"));
    m_remove->setAccessibleName(tr("Remove certificate"));
    m_saveCopy = new QPushButton(tr("Save a copy…"), form);
    m_saveCopy->setAccessibleName(tr("Save a copy of the certificate"));
    m_saveCopy->hide();
    auto* certificateButtons = new QHBoxLayout;
    certificateButtons->addWidget(attach);
    certificateButtons->addStretch(1);
    certificateButtons->addWidget(m_open);
    certificateButtons->addWidget(m_remove);
    certificateButtons->addWidget(m_saveCopy);
    certificates.layout->insertLayout(2, certificateButtons);
    column->addLayout(certificates.layout);
    column->addStretch(1);

    auto* scroll = new QScrollArea(card);

    scroll->setFocusPolicy(Qt::NoFocus);  // only scrolls: Tab goes to what is inside
    scroll->setObjectName(QStringLiteral("editorScroll"));
    scroll->setWidget(form);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    m_saveError = makeLabel(QString(), "error", card);
    setHandle(m_saveError, tr("Save error"));
    m_saveError->hide();
    m_delete = new QPushButton(tr("Delete"), card);
    m_delete->setAccessibleName(tr("Delete activity"));
    auto* cancelButton = new QPushButton(tr("Cancel"), card);
    auto* saveButton = new QPushButton(tr("Save"), card);
    saveButton->setObjectName(QStringLiteral("primary"));
    saveButton->setDefault(true);
    saveButton->setToolTip(tr("Save (%1)").arg(QKeySequence(QKeySequence::Save).toString(QKeySequence::NativeText)));
    cancelButton->setToolTip(tr("Cancel (Esc)"));
    auto* buttons = new QHBoxLayout;
    buttons->setContentsMargins(22, 4, 22, 16);
    buttons->addWidget(m_delete);
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(saveButton);

    auto* cardLayout = new QVBoxLayout(card);
    cardLayout->setContentsMargins(1, 1, 1, 1);
    cardLayout->setSpacing(0);
    cardLayout->addWidget(scroll, 1);
    m_unsaved =
        new UnsavedEdits([this] { return hasUnsavedEdits(); }, [this] { return save(); }, [this] { cancel(); }, card);
    cardLayout->addWidget(m_unsaved);
    auto* errorRow = new QHBoxLayout;
    errorRow->setContentsMargins(22, 6, 22, 0);
    errorRow->addWidget(m_saveError);
    cardLayout->addLayout(errorRow);
    cardLayout->addLayout(buttons);

    setTabOrder(m_person, m_title);
    setTabOrder(m_title, m_provider);
    setTabOrder(m_provider, m_completed);
    setTabOrder(m_completed, m_hours);
    setTabOrder(m_hours, m_category);
    setTabOrder(m_category, m_topicsView);
    setTabOrder(m_topicsView, m_boardApproved);
    setTabOrder(m_boardApproved, m_cost);
    setTabOrder(m_cost, m_notes);
    setTabOrder(m_notes, m_certificatesView);
    setTabOrder(m_certificatesView, attach);
    setTabOrder(attach, m_open);
    setTabOrder(m_open, m_remove);
    setTabOrder(m_remove, m_delete);
    setTabOrder(m_delete, cancelButton);
    setTabOrder(cancelButton, saveButton);

    auto* saveKey = new QShortcut(QKeySequence::Save, this);
    saveKey->setContext(Qt::WidgetWithChildrenShortcut);
    saveKey->setWhatsThis(tr("Save the activity"));
    connect(saveKey, &QShortcut::activated, this, &ActivityEditor::save);
    auto* cancelKey = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    cancelKey->setContext(Qt::WidgetWithChildrenShortcut);
    cancelKey->setWhatsThis(tr("Stop editing the activity"));
    connect(cancelKey, &QShortcut::activated, this, &ActivityEditor::cancel);

    connect(saveButton, &QPushButton::clicked, this, &ActivityEditor::save);
    connect(cancelButton, &QPushButton::clicked, this, &ActivityEditor::cancel);
    connect(m_delete, &QPushButton::clicked, this, [this] { emit deleteRequested(activityId()); });
    connect(attach, &QPushButton::clicked, this, &ActivityEditor::chooseAttachment);
    connect(m_open, &QPushButton::clicked, this, &ActivityEditor::openCertificate);
    connect(m_saveCopy, &QPushButton::clicked, this, &ActivityEditor::saveCopy);
    connect(m_remove, &QPushButton::clicked, this, &ActivityEditor::removeCertificate);
    connect(m_certificatesView, &QListView::activated, this, &ActivityEditor::openCertificate);
    connect(m_person, &QComboBox::currentIndexChanged, this, [this] {
        if (m_person->currentIndex() >= 0) fillTopics(tickedTopics());
    });
    guardWheel(this);
    hide();
}

void ActivityEditor::markClean() {
    m_unsaved->dismiss();
    m_clean = formState(this, {m_unsaved});
}

bool ActivityEditor::hasUnsavedEdits() const { return isEditing() && formState(this, {m_unsaved}) != m_clean; }

bool ActivityEditor::leave(std::function<void()> then) { return m_unsaved->leave(std::move(then)); }

bool ActivityEditor::settleBeforeLock() { return m_unsaved->settleBeforeLock(); }

ActivityEditor::~ActivityEditor() = default;

QString ActivityEditor::activityId() const { return m_draft->isNew ? QString() : qText(m_draft->record.id); }

bool ActivityEditor::isEditing() const { return !isHidden(); }

void ActivityEditor::startNew(const QString& personId, const QStringList& tickedTopics, const QString& note) {
    discardAttachments(true);
    m_draft = std::make_unique<Draft>();
    CMEActivity& record = m_draft->record;
    record.personId = personId.toStdString();
    const Person* person = m_context.person(record.personId);
    record.category = std::string(defaultCMECategory(person ? person->degreeValue() : std::nullopt));
    record.completedOn = m_context.today();
    for (const QString& key : tickedTopics) record.topics.push_back(key.toStdString());
    m_heading->setText(tr("Log an activity"));
    m_note->setText(note);
    load();
    m_hours->clear();
    markClean();
    m_title->setFocus();
}

bool ActivityEditor::startEdit(const QString& activityId) {
    const std::string id = activityId.toStdString();
    const auto& cme = m_context.doc().cme;
    const auto found = std::find_if(cme.begin(), cme.end(), [&](const CMEActivity& a) { return !a.deleted && a.id == id; });
    if (found == cme.end()) return false;
    discardAttachments(true);
    m_draft = std::make_unique<Draft>();
    m_draft->record = *found;
    m_draft->isNew = false;
    m_heading->setText(tr("Edit activity"));
    m_note->clear();
    load();
    markClean();
    m_title->setFocus();
    return true;
}

void ActivityEditor::load() {
    const CMEActivity& record = m_draft->record;
    clearErrors();
    m_note->setVisible(!m_note->text().isEmpty());

    {
        const QSignalBlocker blocker(m_person);
        m_person->clear();
        for (const Person* person : m_context.people()) {
            QString label = qText(person->name);
            if (!person->degree.empty()) label += QStringLiteral(", ") + qText(person->degree);
            m_person->addItem(label, qText(person->id));
        }
        m_person->setCurrentIndex(m_person->findData(qText(record.personId)));
    }
    m_personRow->setVisible(m_context.isOffice());

    m_title->setText(qText(record.title));
    m_provider->setText(qText(record.provider.value_or("")));
    m_completed->setText(qText(record.completedOn.toString()));
    m_hours->setText(qText(hoursText(record.hours, HoursRounding::down)));
    int category = m_category->findData(qText(record.category));
    if (category < 0) {
        m_category->addItem(qText(record.category), qText(record.category));
        category = m_category->count() - 1;
    }
    m_category->setCurrentIndex(category);
    QStringList ticked;
    for (const auto& key : record.topics) ticked << qText(key);
    fillTopics(ticked);
    m_boardApproved->setChecked(record.boardApproved.value_or(false));
    m_cost->setText(record.cost ? QString::number(*record.cost, 'f', 2) : QString());
    m_notes->setPlainText(qText(record.notes.value_or("")));
    fillCertificates();
    m_delete->setVisible(!m_draft->isNew);
    show();
}

void ActivityEditor::fillTopics(const QStringList& ticked) {
    const std::string personId = m_person->currentIndex() >= 0 ? m_person->currentData().toString().toStdString()
                                                               : m_draft->record.personId;
    auto offered = topicsOfferedTo(m_context, personId);
    // A topic the activity already carries stays, even when no rule asks for it.
    for (const QString& key : ticked)
        if (!offered.contains(key.toStdString()))
            offered.emplace(key.toStdString(), m_context.requirements.topicName(key.toStdString()));

    std::vector<std::pair<QString, QString>> rows;  // name, key
    for (const auto& [key, name] : offered) rows.emplace_back(qText(name), qText(key));
    std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) {
        return QString::localeAwareCompare(a.first, b.first) < 0;
    });
    m_topics->clear();
    for (const auto& [name, key] : rows) {
        auto* item = new QStandardItem(name);
        item->setData(key, kKeyRole);
        item->setCheckable(true);
        item->setCheckState(ticked.contains(key) ? Qt::Checked : Qt::Unchecked);
        m_topics->appendRow(item);
    }
    if (rows.empty()) {
        auto* item = new QStandardItem(tr("No state asks for particular topics"));
        item->setEnabled(false);
        m_topics->appendRow(item);
    }
    // As tall as the topics need, up to about six; beyond that the list scrolls.
    const int rowHeight = std::max(m_topicsView->sizeHintForRow(0), 18);
    const int frame = 2 * m_topicsView->frameWidth() + 8;
    m_topicsView->setFixedHeight(std::min(m_topics->rowCount(), 6) * rowHeight + frame);
}

QStringList ActivityEditor::offeredTopics() const {
    QStringList keys;
    for (int i = 0; i < m_topics->rowCount(); ++i)
        if (const QString key = m_topics->item(i)->data(kKeyRole).toString(); !key.isEmpty()) keys << key;
    return keys;
}

QStringList ActivityEditor::tickedTopics() const {
    QStringList keys;
    for (int i = 0; i < m_topics->rowCount(); ++i) {
        const QStandardItem* item = m_topics->item(i);
        if (item->checkState() == Qt::Checked) keys << item->data(kKeyRole).toString();
    }
    return keys;
}

void ActivityEditor::fillCertificates() {
    m_certificates->clear();
    m_saveCopy->hide();
    const auto& documents = m_context.doc().documents;
    for (const auto& id : m_draft->record.documentIds) {
        const auto found = std::find_if(documents.begin(), documents.end(),
                                        [&](const DocumentRecord& d) { return !d.deleted && d.id == id; });
        auto* item = new QStandardItem(found == documents.end() ? tr("A file no longer in the vault")
                                                                : qText(found->filename));
        item->setData(qText(id), kKeyRole);
        m_certificates->appendRow(item);
    }
    const bool any = m_certificates->rowCount() > 0;
    if (any) {
        m_certificatesView->setCurrentIndex(m_certificates->index(m_certificates->rowCount() - 1, 0));
    } else {
        auto* item = new QStandardItem(tr("No certificate attached yet"));
        item->setEnabled(false);
        m_certificates->appendRow(item);
    }
    m_open->setEnabled(any);
    m_remove->setEnabled(any);
}

void ActivityEditor::clearErrors() {
    for (QLabel* label : {m_titleError, m_completedError, m_hoursError, m_costError, m_certificateError, m_saveError})
        showMessage(label, QString());
}

void ActivityEditor::showError(QLabel* label, const QString& text) { showMessage(label, text); }

bool ActivityEditor::save() {
    if (!isEditing()) return false;
    clearErrors();
    QWidget* firstWrong = nullptr;
    auto wrong = [&](QLabel* label, QWidget* input, const QString& text) {
        showError(label, text);
        if (!firstWrong) firstWrong = input;
    };

    const QString title = m_title->text().trimmed();
    if (title.isEmpty()) wrong(m_titleError, m_title, tr("Enter the activity's title."));

    std::optional<Day> completedOn;
    const QString dayText = m_completed->text().trimmed();
    if (dayText.isEmpty()) {
        wrong(m_completedError, m_completed, tr("Enter the day you completed it."));
    } else {
        const TypedDay typed = readTypedDay(dayText);
        completedOn = typed.day;
        if (typed.reading == TypedDay::Reading::notADate) {
            wrong(m_completedError, m_completed,
                  tr("Enter the day as %1, for example %2.").arg(dayForms(), localDayText(Day{2026, 3, 14})));
        } else if (typed.reading == TypedDay::Reading::notOnTheCalendar) {
            wrong(m_completedError, m_completed, notOnTheCalendar(dayText));
        } else if (auto ahead = cmeCompletedProblem(*completedOn, m_context.today())) {
            completedOn.reset();
            wrong(m_completedError, m_completed, QString::fromStdString(*ahead));
        }
    }

    std::optional<double> hours;
    if (auto parsed = parseCMEHours(m_hours->text().trimmed().toStdString()))
        hours = *parsed;
    else
        wrong(m_hoursError, m_hours, QString::fromStdString(parsed.error()));

    std::optional<double> cost;
    QString costInput = m_cost->text().trimmed();
    costInput.remove(QLatin1Char('$')).remove(QLatin1Char(','));
    costInput = costInput.trimmed();
    if (!costInput.isEmpty()) {
        bool ok = false;
        const double value = QLocale::c().toDouble(costInput, &ok);
        if (!ok || value < 0 || !std::isfinite(value))
            wrong(m_costError, m_cost, tr("Enter the cost in dollars, or leave it blank."));
        else
            cost = value;
    }

    const std::string personId = m_person->currentIndex() >= 0 ? m_person->currentData().toString().toStdString()
                                                               : m_draft->record.personId;
    if (!m_context.person(personId)) {
        showError(m_saveError, tr("Choose whose activity this is."));
        if (!firstWrong) firstWrong = m_person;
    }
    if (firstWrong) {
        firstWrong->setFocus();
        return false;
    }

    CMEActivity& draft = m_draft->record;
    const Timestamp now = Timestamp::now(m_context.clock);
    auto apply = [&](CMEActivity& target) {
        target.personId = personId;
        target.title = title.toStdString();
        target.provider = optionalText(m_provider->text());
        target.completedOn = *completedOn;
        target.hours = *hours;
        target.category = m_category->currentData().toString().toStdString();
        target.topics.clear();
        for (const QString& key : tickedTopics()) target.topics.push_back(key.toStdString());
        target.documentIds = draft.documentIds;
        target.notes = optionalText(m_notes->toPlainText());
        target.cost = cost;
        // Left unset when never answered, so an untouched box does not claim "not approved".
        if (m_boardApproved->isChecked() || target.boardApproved) target.boardApproved = m_boardApproved->isChecked();
        target.updatedAt = now;
    };

    bool missing = false;
    std::string savedId = draft.id;
    const auto& attachedNow = m_draft->attachedNow;
    const auto changed = m_context.store.change([&](VaultDocument& doc) {
        if (m_draft->isNew) {
            CMEActivity created = draft;
            created.id = newUUID();
            apply(created);
            savedId = created.id;
            doc.cme.push_back(std::move(created));
        } else {
            const auto found = std::find_if(doc.cme.begin(), doc.cme.end(),
                                            [&](const CMEActivity& a) { return !a.deleted && a.id == draft.id; });
            if (found == doc.cme.end()) {
                missing = true;
                return;
            }
            apply(*found);
        }
        // Certificates attached now follow the activity to whoever it ends up with.
        for (DocumentRecord& document : doc.documents) {
            if (std::find(attachedNow.begin(), attachedNow.end(), document.id) == attachedNow.end()) continue;
            if (std::find(draft.documentIds.begin(), draft.documentIds.end(), document.id) == draft.documentIds.end())
                continue;
            if (document.personId != personId) {
                document.personId = personId;
                document.updatedAt = now;
            }
        }
    });
    if (!changed) {
        showError(m_saveError, qText(changed.error().message()));
        return false;
    }
    if (missing) {
        showError(m_saveError, tr("This activity was deleted meanwhile, so there is nothing to save it to."));
        return false;
    }
    discardAttachments(false);
    const QString confirmation =
        m_draft->isNew ? tr("Logged “%1”.").arg(title) : tr("Saved “%1”.").arg(title);
    m_draft->attachedNow.clear();
    finish();
    emit saved(qText(savedId), confirmation);
    return true;
}

void ActivityEditor::cancel() {
    if (!isEditing()) return;
    discardAttachments(true);
    finish();
}

void ActivityEditor::finish() {
    clearErrors();
    hide();
    emit closed();
}

void ActivityEditor::discardAttachments(bool all) {
    auto& attachedNow = m_draft->attachedNow;
    const auto& kept = m_draft->record.documentIds;
    std::erase_if(attachedNow, [&](const std::string& id) {
        return !all && std::find(kept.begin(), kept.end(), id) != kept.end();
    });
    if (attachedNow.empty()) return;
    const Timestamp now = Timestamp::now(m_context.clock);
    const auto dropped = m_context.store.change([&](VaultDocument& doc) {
        for (DocumentRecord& document : doc.documents) {
            if (std::find(attachedNow.begin(), attachedNow.end(), document.id) == attachedNow.end()) continue;
            document.deleted = true;
            document.updatedAt = now;
        }
    });
    attachedNow.clear();
    if (dropped) emit documentsChanged();
}

bool ActivityEditor::attachFile(const QString& path) {
    m_certificateError->hide();
    const std::string personId = m_person->currentIndex() >= 0 ? m_person->currentData().toString().toStdString()
                                                                : m_draft->record.personId;
    const auto added = storeFile(m_context.store, path, personId, "cme");
    if (!added) {
        showError(m_certificateError, added.error());
        return false;
    }
    m_draft->record.documentIds.push_back(added->id);
    m_draft->attachedNow.push_back(added->id);
    fillCertificates();
    emit documentsChanged();
    return true;
}

void ActivityEditor::chooseAttachment() {
    const QString path = QFileDialog::getOpenFileName(this, tr("Attach certificate"), QString(),
                                                      tr("Certificates (*.pdf *.png *.jpg *.jpeg *.heic);;All files (*)"));
    if (!path.isEmpty()) attachFile(path);
}

void ActivityEditor::openCertificate() {
    m_certificateError->hide();
    const QModelIndex current = m_certificatesView->currentIndex();
    if (!current.isValid() || current.data(kKeyRole).toString().isEmpty()) return;
    const auto problem = openStoredDocument(m_context.store, current.data(kKeyRole).toString().toStdString());
    if (problem) showError(m_certificateError, problem->sentence);
    m_saveCopy->setVisible(problem && problem->noViewer);
}

void ActivityEditor::saveCopy() {
    const QModelIndex current = m_certificatesView->currentIndex();
    if (!current.isValid() || current.data(kKeyRole).toString().isEmpty()) return;
    offerToSaveCopy(this, m_context.store, current.data(kKeyRole).toString().toStdString(), current.data().toString(),
                    [this](const std::optional<QString>& problem) {
                        m_certificateError->hide();
                        if (problem) {
                            showError(m_certificateError, *problem);
                            return;
                        }
                        m_saveCopy->hide();
                    });
}

void ActivityEditor::removeCertificate() {
    const QModelIndex current = m_certificatesView->currentIndex();
    if (!current.isValid() || current.data(kKeyRole).toString().isEmpty()) return;
    auto& ids = m_draft->record.documentIds;
    std::erase(ids, current.data(kKeyRole).toString().toStdString());
    fillCertificates();
}

}  // namespace corvale::app

#include "app/ProfilePage.h"

#include "app/AppContext.h"
#include "app/DateField.h"
#include "app/FormParts.h"
#include "app/Theme.h"
#include "app/UnsavedEdits.h"
#include "app/WheelGuard.h"
#include "platform/Clock.h"
#include "records/CredentialKind.h"
#include "records/NPI.h"
#include "records/USState.h"
#include "vault/VaultStore.h"

#include <QAbstractTableModel>
#include <QComboBox>
#include <QCoreApplication>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QShortcut>
#include <QStandardItemModel>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>
#include <vector>

namespace corvale::app {

// Rows of text for a table, each with the id of the record it shows.
class ProfilePage::RowsModel final : public QAbstractTableModel {
public:
    struct Row {
        std::string id;
        QStringList cells;
    };

    RowsModel(QStringList headers, QObject* parent) : QAbstractTableModel(parent), m_headers(std::move(headers)) {}

    void setRows(std::vector<Row> rows) {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
    }
    const std::string& idAt(int row) const { return m_rows.at(static_cast<std::size_t>(row)).id; }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(m_headers.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) return {};
        return m_rows.at(static_cast<std::size_t>(index.row())).cells.value(index.column());
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
        return m_headers.value(section);
    }

private:
    QStringList m_headers;
    std::vector<Row> m_rows;
};

namespace {

constexpr auto kHiddenDate = "••••••••";

QString text(std::string_view value) { return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())); }
QString text(const std::string& value) { return QString::fromStdString(value); }
QString text(const std::optional<std::string>& value) { return value ? text(*value) : QString(); }

// Empty text is no value: optional fields are left out rather than stored blank.
std::optional<std::string> optionalText(const QString& value) {
    const QString trimmed = value.trimmed();
    if (trimmed.isEmpty()) return std::nullopt;
    return trimmed.toStdString();
}
std::optional<std::string> optionalText(const QLineEdit* field) { return optionalText(field->text()); }

QString dayText(const std::optional<Day>& day) { return day ? text(day->toString()) : QString(); }

// An optional typed date: absent when empty, false when it does not read as
// a date or names a day the calendar does not have.
bool readDay(const QLineEdit* field, std::optional<Day>& day) {
    const TypedDay typed = readTypedDay(field->text());
    day = typed.day;
    return typed.reading == TypedDay::Reading::empty || typed.reading == TypedDay::Reading::day;
}

// Why readDay refused the field: a day missing from the calendar, else `format`.
QString dayProblem(const QLineEdit* field, const QString& format) {
    const QString typed = field->text().trimmed();
    return readTypedDay(typed).reading == TypedDay::Reading::notOnTheCalendar ? notOnTheCalendar(typed) : format;
}

QString kindName(const std::string& raw) {
    if (const auto kind = credentialKindFromRaw(raw)) return text(displayName(*kind));
    return text(raw);
}





// A field with its label above and room for a problem below, as one grid cell.
QWidget* cell(const QString& label, QWidget* field, QWidget* parent, QLabel* error = nullptr,
              QWidget* beside = nullptr) {
    auto* box = new QWidget(parent);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    auto* name = makeLabel(label, "caption", box);
    name->setBuddy(field);
    layout->addWidget(name);
    if (beside) {
        auto* row = new QHBoxLayout;
        row->setSpacing(8);
        row->addWidget(field, 1);
        row->addWidget(beside);
        layout->addLayout(row);
    } else {
        layout->addWidget(field);
    }
    if (error) layout->addWidget(error);
    return box;
}

QGridLayout* twoColumns() {
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(20);
    grid->setVerticalSpacing(12);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    return grid;
}

QTableView* recordTable(QAbstractItemModel* model, const QString& accessibleName, QWidget* parent) {
    auto* view = new QTableView(parent);
    view->setObjectName(QStringLiteral("recordTable"));
    view->setAccessibleName(accessibleName);
    view->setTabKeyNavigation(false);
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setShowGrid(false);
    view->setWordWrap(false);
    view->setAlternatingRowColors(true);
    view->verticalHeader()->hide();
    view->horizontalHeader()->setStretchLastSection(true);
    view->horizontalHeader()->setHighlightSections(false);
    view->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    return view;
}

// Tall enough for every row (up to a few), so short lists don't sit in a tall empty box.
void fitRows(QTableView* view, int visibleAtMost = 6) {
    const int rows = std::clamp(view->model()->rowCount(), 1, visibleAtMost);
    const int rowHeight = view->verticalHeader()->defaultSectionSize();
    view->setFixedHeight(view->horizontalHeader()->sizeHint().height() + rows * rowHeight + 2 * view->frameWidth() + 4);
}

std::optional<int> selectedRow(const QTableView* view) {
    const auto rows = view->selectionModel()->selectedRows();
    if (rows.isEmpty()) return std::nullopt;
    return rows.first().row();
}

QPushButton* pushButton(const QString& label, QWidget* parent, const char* objectName = nullptr) {
    auto* button = new QPushButton(label, parent);
    if (objectName) button->setObjectName(QString::fromLatin1(objectName));
    return button;
}

}  // namespace

ProfilePage::ProfilePage(AppContext& context, QWidget* parent) : Screen(context, parent) {
    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("page"));
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(36, 28, 36, 28);
    column->setSpacing(18);
    column->addWidget(buildHeader(content));
    m_unsaved = new UnsavedEdits([this] { return hasUnsavedEdits(); }, [this] { return save(); },
                                 [this] { fillForm(); }, content);
    column->addWidget(m_unsaved);
    auto* details = new QHBoxLayout;
    details->setSpacing(18);
    details->addWidget(buildPersonal(content), 1);
    details->addWidget(buildPractice(content), 1);
    column->addLayout(details);
    column->addWidget(buildWorkHistory(content));
    column->addWidget(buildFacilities(content));
    column->addStretch(1);
    for (QTableView* table : {m_workTable, m_facilityTable})
        connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ProfilePage::updateListButtons);

    m_scroll = scrollPage(this, content, 1320);

    auto* saveShortcut = new QShortcut(QKeySequence::Save, this);
    saveShortcut->setContext(Qt::WidgetWithChildrenShortcut);
    saveShortcut->setWhatsThis(tr("Save the profile"));
    connect(saveShortcut, &QShortcut::activated, this, [this] {
        if (m_save->isEnabled()) save();
    });
    // In a text field, Ctrl+Z undoes typing first, as everywhere else.
    auto* undoShortcut = new QShortcut(QKeySequence::Undo, this);
    undoShortcut->setContext(Qt::WidgetWithChildrenShortcut);
    undoShortcut->setWhatsThis(tr("Undo the last profile change"));
    connect(undoShortcut, &QShortcut::activated, this, [this] {
        if (m_undo->isEnabled()) undo();
    });

    guardWheel(this);
    reload();
}

bool ProfilePage::hasUnsavedEdits() const { return m_dirty && !m_personId.isEmpty(); }

void ProfilePage::leave(std::function<void()> then) { m_unsaved->leave(std::move(then)); }

bool ProfilePage::settleBeforeLock() { return m_unsaved->settleBeforeLock(); }

ProfilePage::~ProfilePage() = default;

QFrame* ProfilePage::buildHeader(QWidget* content) {
    auto* header = new QFrame(content);
    header->setObjectName(QStringLiteral("card"));
    m_title = makeLabel(QString(), "title", header);
    m_title->setWordWrap(false);
    scaleFont(m_title, 1.8, QFont::DemiBold);
    m_subtitle = makeLabel(QString(), "caption", header);
    m_status = makeLabel(QString(), "error", header);
    m_status->setAccessibleName(tr("Profile problem"));
    m_status->setVisible(false);

    m_undo = pushButton(tr("Undo"), header);
    m_undo->setToolTip(tr("Put back the profile as it was before the last save (%1)")
                           .arg(QKeySequence(QKeySequence::Undo).toString(QKeySequence::NativeText)));
    m_save = pushButton(tr("Save"), header, "primary");
    m_save->setToolTip(QKeySequence(QKeySequence::Save).toString(QKeySequence::NativeText));
    connect(m_undo, &QPushButton::clicked, this, &ProfilePage::undo);
    connect(m_save, &QPushButton::clicked, this, &ProfilePage::save);

    auto* words = new QVBoxLayout;
    words->setSpacing(4);
    words->addWidget(m_title);
    words->addWidget(m_subtitle);
    words->addWidget(m_status);
    auto* layout = new QHBoxLayout(header);
    layout->setContentsMargins(26, 22, 26, 22);
    layout->setSpacing(10);
    layout->addLayout(words, 1);
    layout->addWidget(m_undo, 0, Qt::AlignVCenter);
    layout->addWidget(m_save, 0, Qt::AlignVCenter);
    return header;
}

QFrame* ProfilePage::buildPersonal(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Personal details"), QString(), content, body);
    auto* grid = twoColumns();

    m_name = lineEdit(tr("Name"), tr("Full name, as on the licence"), frame);
    m_nameError = errorLabel(tr("Name problem"), frame);
    m_addressAs = lineEdit(tr("Address as"), tr("Dr. Chen"), frame);
    m_degree = new QComboBox(frame);
    m_degree->setAccessibleName(tr("Degree"));
    m_specialty = lineEdit(tr("Specialty"), tr("Internal medicine"), frame);
    m_npi = lineEdit(tr("NPI"), tr("10 digits"), frame);
    m_npi->setMaxLength(10);
    m_npiError = errorLabel(tr("NPI problem"), frame);

    m_dob = lineEdit(tr("Date of birth"), QString(), frame);
    m_dob->setObjectName(QStringLiteral("secret"));
    m_dobToggle = pushButton(tr("Show"), frame);
    m_dobToggle->setAccessibleName(tr("Show date of birth"));
    m_dobNote = makeLabel(QString(), "caption", frame);
    m_dobNote->setAccessibleName(tr("Date of birth note"));
    m_dobNote->setVisible(false);
    connect(m_dobToggle, &QPushButton::clicked, this, [this] {
        if (m_dobShown)
            hideDateOfBirth();
        else
            showDateOfBirth();
    });

    m_email = lineEdit(tr("Email"), tr("name@example.org"), frame);
    m_phone = lineEdit(tr("Phone"), QString(), frame);
    m_languages = lineEdit(tr("Languages"), tr("English, Spanish"), frame);

    grid->addWidget(cell(tr("Name"), m_name, frame, m_nameError), 0, 0);
    grid->addWidget(cell(tr("Address as"), m_addressAs, frame), 0, 1);
    grid->addWidget(cell(tr("Degree"), m_degree, frame), 1, 0);
    grid->addWidget(cell(tr("Specialty"), m_specialty, frame), 1, 1);
    grid->addWidget(cell(tr("NPI"), m_npi, frame, m_npiError), 2, 0);
    grid->addWidget(cell(tr("Date of birth"), m_dob, frame, m_dobNote, m_dobToggle), 2, 1);
    grid->addWidget(cell(tr("Email"), m_email, frame), 3, 0);
    grid->addWidget(cell(tr("Phone"), m_phone, frame), 3, 1);
    grid->addWidget(cell(tr("Languages"), m_languages, frame), 4, 0, 1, 2);
    body->addLayout(grid);
    body->addStretch(1);

    for (QLineEdit* field : {m_name, m_addressAs, m_specialty, m_npi, m_dob, m_email, m_phone, m_languages})
        connect(field, &QLineEdit::textChanged, this, &ProfilePage::noteEdit);
    connect(m_degree, &QComboBox::currentIndexChanged, this, &ProfilePage::noteEdit);
    // A problem stays on screen only until the user starts to fix it.
    connect(m_name, &QLineEdit::textEdited, this, [this] { showMessage(m_nameError, {}); });
    connect(m_npi, &QLineEdit::textEdited, this, [this] { showMessage(m_npiError, {}); });
    connect(m_dob, &QLineEdit::textEdited, this, [this] { showMessage(m_dobNote, {}); });
    return frame;
}

QFrame* ProfilePage::buildPractice(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame = card(tr("Enrolment and practice"), QString(), content, body);
    auto* grid = twoColumns();
    m_taxonomy = lineEdit(tr("Taxonomy"), tr("207R00000X"), frame);
    m_caqhId = lineEdit(tr("CAQH ID"), QString(), frame);
    m_ptan = lineEdit(tr("PTAN"), tr("Medicare PTAN"), frame);
    m_medicaidId = lineEdit(tr("Medicaid ID"), QString(), frame);
    m_practiceAddress = lineEdit(tr("Practice address"), tr("Street, city, state, ZIP"), frame);
    m_practicePhone = lineEdit(tr("Practice phone"), QString(), frame);
    m_notes = new QPlainTextEdit(frame);
    m_notes->setAccessibleName(tr("Notes"));
    m_notes->setPlaceholderText(tr("Anything an office asks about that has no field"));
    m_notes->setTabChangesFocus(true);
    m_notes->setFixedHeight(64);

    grid->addWidget(cell(tr("Taxonomy"), m_taxonomy, frame), 0, 0);
    grid->addWidget(cell(tr("CAQH ID"), m_caqhId, frame), 0, 1);
    grid->addWidget(cell(tr("PTAN"), m_ptan, frame), 1, 0);
    grid->addWidget(cell(tr("Medicaid ID"), m_medicaidId, frame), 1, 1);
    grid->addWidget(cell(tr("Practice address"), m_practiceAddress, frame), 2, 0);
    grid->addWidget(cell(tr("Practice phone"), m_practicePhone, frame), 2, 1);
    grid->addWidget(cell(tr("Notes"), m_notes, frame), 3, 0, 1, 2);
    body->addLayout(grid);
    body->addStretch(1);

    for (QLineEdit* field : {m_taxonomy, m_caqhId, m_ptan, m_medicaidId, m_practiceAddress, m_practicePhone})
        connect(field, &QLineEdit::textChanged, this, &ProfilePage::noteEdit);
    connect(m_notes, &QPlainTextEdit::textChanged, this, &ProfilePage::noteEdit);
    return frame;
}

QFrame* ProfilePage::buildWorkHistory(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame =
        card(tr("Work history"),
             tr("Where you have worked, newest first. Offices ask for it when they credential you."), content, body);
    m_workModel = new RowsModel({tr("Employer"), tr("Role"), tr("From"), tr("To")}, this);
    m_workTable = recordTable(m_workModel, tr("Work history"), frame);
    m_workTable->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    body->addWidget(m_workTable);

    auto* add = pushButton(tr("Add job"), frame);
    m_workEdit = pushButton(tr("Edit job"), frame);
    m_workRemove = pushButton(tr("Remove job"), frame);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(m_workEdit);
    buttons->addWidget(m_workRemove);
    buttons->addStretch(1);
    body->addLayout(buttons);

    m_workForm = new QFrame(frame);
    m_workForm->setObjectName(QStringLiteral("inset"));
    m_workForm->setVisible(false);
    auto* form = new QVBoxLayout(m_workForm);
    form->setContentsMargins(18, 14, 18, 14);
    form->setSpacing(10);
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(10);
    m_employer = lineEdit(tr("Employer"), tr("Hospital, group or agency"), m_workForm);
    m_role = lineEdit(tr("Role"), tr("Hospitalist"), m_workForm);
    m_workFrom = lineEdit(tr("From"), dayForms(), m_workForm);
    addCalendarPicker(m_workFrom);
    m_workTo = lineEdit(tr("To"), tr("Empty while current"), m_workForm);
    addCalendarPicker(m_workTo);
    grid->addWidget(cell(tr("Employer"), m_employer, m_workForm), 0, 0);
    grid->addWidget(cell(tr("Role"), m_role, m_workForm), 0, 1);
    grid->addWidget(cell(tr("From"), m_workFrom, m_workForm), 0, 2);
    grid->addWidget(cell(tr("To"), m_workTo, m_workForm), 0, 3);
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);
    grid->setColumnStretch(2, 1);
    grid->setColumnStretch(3, 1);
    form->addLayout(grid);
    m_workError = errorLabel(tr("Job problem"), m_workForm);
    auto* cancel = pushButton(tr("Cancel"), m_workForm);
    cancel->setAccessibleName(tr("Cancel job"));
    auto* save = pushButton(tr("Save job"), m_workForm, "primary");
    auto* formButtons = new QHBoxLayout;
    formButtons->addStretch(1);
    formButtons->addWidget(cancel);
    formButtons->addWidget(save);
    form->addLayout(formButtons);
    form->addWidget(m_workError);  // under the buttons, which then stay where they were pressed
    body->addWidget(m_workForm);

    connect(add, &QPushButton::clicked, this, [this] { editWork(std::nullopt); });
    connect(m_workEdit, &QPushButton::clicked, this, [this] {
        if (const auto row = selectedRow(m_workTable)) editWork(m_workModel->idAt(*row));
    });
    connect(m_workTable, &QTableView::doubleClicked, this,
            [this](const QModelIndex& index) { editWork(m_workModel->idAt(index.row())); });
    connect(m_workRemove, &QPushButton::clicked, this, &ProfilePage::removeWork);
    connect(cancel, &QPushButton::clicked, this, [this] { m_workForm->setVisible(false); });
    connect(save, &QPushButton::clicked, this, &ProfilePage::saveWork);
    for (QLineEdit* field : {m_employer, m_role, m_workFrom, m_workTo})
        connect(field, &QLineEdit::returnPressed, this, &ProfilePage::saveWork);
    auto* closeWork = new QShortcut(QKeySequence::Cancel, m_workForm);
    closeWork->setContext(Qt::WidgetWithChildrenShortcut);
    closeWork->setWhatsThis(tr("Close the form"));
    connect(closeWork, &QShortcut::activated, this, [this] { m_workForm->setVisible(false); });
    auto* removeKey = new QShortcut(QKeySequence::Delete, m_workTable);
    removeKey->setContext(Qt::WidgetShortcut);
    removeKey->setWhatsThis(tr("Remove the selected row"));
    connect(removeKey, &QShortcut::activated, this, &ProfilePage::removeWork);
    return frame;
}

QFrame* ProfilePage::buildFacilities(QWidget* content) {
    QVBoxLayout* body = nullptr;
    QFrame* frame =
        card(tr("Facilities"), tr("Places you work or are joining, and what each asks you to bring."), content, body);
    m_facilityModel = new RowsModel({tr("Facility"), tr("State"), tr("Starts"), tr("Asks for"), tr("Contact")}, this);
    m_facilityTable = recordTable(m_facilityModel, tr("Facilities"), frame);
    m_facilityTable->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    m_facilityTable->horizontalHeader()->setSectionResizeMode(3, QHeaderView::Stretch);
    body->addWidget(m_facilityTable);

    auto* add = pushButton(tr("Add facility"), frame);
    m_facilityEdit = pushButton(tr("Edit facility"), frame);
    m_facilityRemove = pushButton(tr("Remove facility"), frame);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(m_facilityEdit);
    buttons->addWidget(m_facilityRemove);
    buttons->addStretch(1);
    body->addLayout(buttons);

    m_facilityForm = new QFrame(frame);
    m_facilityForm->setObjectName(QStringLiteral("inset"));
    m_facilityForm->setVisible(false);
    auto* form = new QVBoxLayout(m_facilityForm);
    form->setContentsMargins(18, 14, 18, 14);
    form->setSpacing(10);
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(10);
    m_facilityName = lineEdit(tr("Facility name"), tr("Hospital or clinic"), m_facilityForm);
    m_facilityState = new QComboBox(m_facilityForm);
    m_facilityState->setAccessibleName(tr("Facility state"));
    m_facilityState->addItem(tr("None"), QString());
    for (const USState& state : USState::all())
        m_facilityState->addItem(text(state.name) + QStringLiteral(" (") + text(state.code) + QStringLiteral(")"),
                                 text(state.code));
    m_facilityStart = lineEdit(tr("Start date"), dayForms(), m_facilityForm);
    addCalendarPicker(m_facilityStart);
    m_contactEmail = lineEdit(tr("Contact email"), tr("medical.staff@example.org"), m_facilityForm);
    m_facilityNotes = lineEdit(tr("Facility notes"), QString(), m_facilityForm);

    m_requiredModel = new QStandardItemModel(this);
    for (const CredentialKind kind : allCredentialKinds()) {
        auto* item = new QStandardItem(text(displayName(kind)));
        item->setData(text(rawValue(kind)), Qt::UserRole);
        item->setCheckable(true);
        item->setEditable(false);
        m_requiredModel->appendRow(item);
    }
    m_required = new QListView(m_facilityForm);
    m_required->setObjectName(QStringLiteral("requiredItems"));
    m_required->setAccessibleName(tr("Required items"));
    m_required->setModel(m_requiredModel);
    m_required->setFlow(QListView::LeftToRight);
    m_required->setWrapping(true);
    m_required->setResizeMode(QListView::Adjust);
    // Columns as wide as the longest name, so every tick box lines up under the one above.
    int widest = 0;
    for (const CredentialKind kind : allCredentialKinds())
        widest = std::max(widest, m_required->fontMetrics().horizontalAdvance(text(displayName(kind))));
    const QSize tick(widest + 48, m_required->fontMetrics().height() + 12);
    m_required->setGridSize(tick);
    // Room for three columns, the most a laptop-wide window gives; narrower ones scroll.
    const int rows = static_cast<int>((allCredentialKinds().size() + 2) / 3);
    m_required->setFixedHeight(rows * tick.height() + 2 * m_required->frameWidth() + 10);
    m_required->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_required->setEditTriggers(QAbstractItemView::NoEditTriggers);

    grid->addWidget(cell(tr("Name"), m_facilityName, m_facilityForm), 0, 0);
    grid->addWidget(cell(tr("State"), m_facilityState, m_facilityForm), 0, 1);
    grid->addWidget(cell(tr("Start date"), m_facilityStart, m_facilityForm), 0, 2);
    grid->addWidget(cell(tr("Contact email"), m_contactEmail, m_facilityForm), 1, 0);
    grid->addWidget(cell(tr("Notes"), m_facilityNotes, m_facilityForm), 1, 1, 1, 2);
    grid->addWidget(cell(tr("Asks for"), m_required, m_facilityForm), 2, 0, 1, 3);
    grid->setColumnStretch(0, 2);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);
    form->addLayout(grid);
    m_facilityError = errorLabel(tr("Facility problem"), m_facilityForm);
    auto* cancel = pushButton(tr("Cancel"), m_facilityForm);
    cancel->setAccessibleName(tr("Cancel facility"));
    auto* save = pushButton(tr("Save facility"), m_facilityForm, "primary");
    auto* formButtons = new QHBoxLayout;
    formButtons->addStretch(1);
    formButtons->addWidget(cancel);
    formButtons->addWidget(save);
    form->addLayout(formButtons);
    form->addWidget(m_facilityError);  // under the buttons, which then stay where they were pressed
    body->addWidget(m_facilityForm);

    connect(add, &QPushButton::clicked, this, [this] { editFacility(std::nullopt); });
    connect(m_facilityEdit, &QPushButton::clicked, this, [this] {
        if (const auto row = selectedRow(m_facilityTable)) editFacility(m_facilityModel->idAt(*row));
    });
    connect(m_facilityTable, &QTableView::doubleClicked, this,
            [this](const QModelIndex& index) { editFacility(m_facilityModel->idAt(index.row())); });
    connect(m_facilityRemove, &QPushButton::clicked, this, &ProfilePage::removeFacility);
    connect(cancel, &QPushButton::clicked, this, [this] { m_facilityForm->setVisible(false); });
    connect(save, &QPushButton::clicked, this, &ProfilePage::saveFacility);
    for (QLineEdit* field : {m_facilityName, m_facilityStart, m_contactEmail, m_facilityNotes})
        connect(field, &QLineEdit::returnPressed, this, &ProfilePage::saveFacility);
    auto* closeFacility = new QShortcut(QKeySequence::Cancel, m_facilityForm);
    closeFacility->setContext(Qt::WidgetWithChildrenShortcut);
    closeFacility->setWhatsThis(tr("Close the form"));
    connect(closeFacility, &QShortcut::activated, this, [this] { m_facilityForm->setVisible(false); });
    auto* removeKey = new QShortcut(QKeySequence::Delete, m_facilityTable);
    removeKey->setContext(Qt::WidgetShortcut);
    removeKey->setWhatsThis(tr("Remove the selected row"));
    connect(removeKey, &QShortcut::activated, this, &ProfilePage::removeFacility);
    return frame;
}

void ProfilePage::reload() {
    const Person* person = context().currentPerson();
    const QString id = person ? text(person->id) : QString();
    // Typing in progress survives another screen's change; another person's profile, or none, starts afresh.
    const bool keepTyping = person && m_dirty && id == m_personId;
    if (id != m_personId) {
        m_workForm->setVisible(false);
        m_facilityForm->setVisible(false);
    }
    m_personId = id;
    hideDateOfBirth();
    if (!keepTyping) fillForm();
    fillLists();
    fillHeader();
}

void ProfilePage::fillHeader() {
    const Person* person = context().person(m_personId.toStdString());
    if (!person) {
        m_title->setText(tr("Profile"));
        m_subtitle->setText(tr("There is no one in this vault yet."));
    } else {
        m_title->setText(context().isOffice() ? tr("%1's profile").arg(text(person->name)) : tr("Your profile"));
        QString line = text(person->name);
        if (const auto degree = person->degreeValue()) line += QStringLiteral(", ") + text(displayName(*degree));
        if (person->specialty) line += QStringLiteral(" · ") + text(*person->specialty);
        if (context().isOffice()) line += tr(" · one of %1 people in this vault").arg(context().people().size());
        m_subtitle->setText(line);
    }
    m_undo->setEnabled(context().store.canUndoProfileEdit());
    for (QWidget* part : findChildren<QFrame*>(QStringLiteral("card"))) part->setEnabled(person != nullptr);
}

void ProfilePage::fillForm() {
    const Person* person = context().person(m_personId.toStdString());
    const Person empty;
    const Person& shown = person ? *person : empty;
    const QScopedValueRollback filling(m_filling, true);
    m_name->setText(text(shown.name));
    m_addressAs->setText(text(shown.addressAs));
    m_degree->clear();
    for (const Degree degree : allDegrees()) m_degree->addItem(text(displayName(degree)), text(rawValue(degree)));
    int degreeIndex = m_degree->findData(text(shown.degree));
    // A degree this version does not know stays as it was written.
    if (degreeIndex < 0 && !shown.degree.empty()) {
        m_degree->addItem(text(shown.degree), text(shown.degree));
        degreeIndex = m_degree->count() - 1;
    }
    m_degree->setCurrentIndex(std::max(degreeIndex, 0));
    m_specialty->setText(text(shown.specialty));
    m_npi->setText(text(shown.npi));
    m_email->setText(text(shown.email));
    m_phone->setText(text(shown.phone));
    m_languages->setText(text(shown.languages));
    m_taxonomy->setText(text(shown.taxonomy));
    m_caqhId->setText(text(shown.caqhId));
    m_ptan->setText(text(shown.ptan));
    m_medicaidId->setText(text(shown.medicaidId));
    m_practiceAddress->setText(text(shown.practiceAddress));
    m_practicePhone->setText(text(shown.practicePhone));
    m_notes->setPlainText(text(shown.notes));
    if (m_dobShown)
        m_dob->setText(text(shown.dob));
    else
        hideDateOfBirth();
    showMessage(m_nameError, {});
    showMessage(m_npiError, {});
    showMessage(m_status, {});
    setDirty(false);
}

void ProfilePage::fillLists() {
    const Person* person = context().person(m_personId.toStdString());

    std::vector<const WorkEntry*> jobs;
    if (person && person->workHistory)
        for (const auto& entry : *person->workHistory)
            if (!entry.deleted) jobs.push_back(&entry);
    // Current jobs first, then by start, newest first; undated ones last.
    std::stable_sort(jobs.begin(), jobs.end(), [](const WorkEntry* a, const WorkEntry* b) {
        if (a->endDate.has_value() != b->endDate.has_value()) return !a->endDate.has_value();
        return a->startDate.value_or(Day{0, 1, 1}) > b->startDate.value_or(Day{0, 1, 1});
    });
    std::vector<RowsModel::Row> workRows;
    for (const WorkEntry* entry : jobs) {
        workRows.push_back({entry->id,
                            {text(entry->employer), text(entry->role),
                             entry->startDate ? text(entry->startDate->shortFormatted()) : QString(),
                             entry->endDate ? text(entry->endDate->shortFormatted()) : tr("Current")}});
    }
    m_workModel->setRows(std::move(workRows));
    fitRows(m_workTable);

    std::vector<RowsModel::Row> facilityRows;
    if (person && person->facilities) {
        for (const auto& facility : *person->facilities) {
            if (facility.deleted) continue;
            QStringList items;
            for (const auto& item : facility.requiredItems) items << kindName(item);
            facilityRows.push_back(
                {facility.id,
                 {text(facility.name), facility.state ? text(USState::nameOf(*facility.state)) : QString(),
                  facility.startDate ? text(facility.startDate->shortFormatted()) : QString(),
                  items.join(QStringLiteral(", ")), text(facility.contactEmail)}});
        }
    }
    m_facilityModel->setRows(std::move(facilityRows));
    fitRows(m_facilityTable, 4);
    m_facilityTable->setColumnWidth(0, 240);
    m_facilityTable->setColumnWidth(1, 110);
    m_facilityTable->setColumnWidth(2, 110);

    updateListButtons();
}

void ProfilePage::updateListButtons() {
    const bool job = selectedRow(m_workTable).has_value();
    m_workEdit->setEnabled(job);
    m_workRemove->setEnabled(job);
    const bool facility = selectedRow(m_facilityTable).has_value();
    m_facilityEdit->setEnabled(facility);
    m_facilityRemove->setEnabled(facility);
}

void ProfilePage::noteEdit() {
    if (!m_filling) setDirty(true);
}

void ProfilePage::setDirty(bool dirty) {
    m_dirty = dirty;
    m_save->setEnabled(dirty && !m_personId.isEmpty());
}

void ProfilePage::showDateOfBirth() {
    if (!context().store.authenticate("Show your date of birth")) {
        showMessage(m_dobNote, tr("Your password wasn't confirmed, so the date stays hidden."));
        return;
    }
    const Person* person = context().person(m_personId.toStdString());
    const QScopedValueRollback filling(m_filling, true);
    m_dobShown = true;
    m_dob->setReadOnly(false);
    m_dob->setPlaceholderText(dayForms());
    m_dob->setText(person ? text(person->dob) : QString());
    m_dobToggle->setText(tr("Hide"));
    m_dobToggle->setAccessibleName(tr("Hide date of birth"));
    showMessage(m_dobNote, {});
    m_dob->setFocus();
}

void ProfilePage::hideDateOfBirth() {
    const Person* person = context().person(m_personId.toStdString());
    const bool known = person && person->dob && !person->dob->empty();
    const QScopedValueRollback filling(m_filling, true);
    m_dobShown = false;
    m_dob->setReadOnly(true);
    m_dob->setText(known ? QString::fromUtf8(kHiddenDate) : QString());
    m_dob->setPlaceholderText(known ? QString() : tr("Not recorded"));
    m_dobToggle->setText(tr("Show"));
    m_dobToggle->setAccessibleName(tr("Show date of birth"));
    showMessage(m_dobNote, {});
}

bool ProfilePage::save() {
    const Person* stored = context().person(m_personId.toStdString());
    if (!stored) return false;
    Person person = *stored;  // what the form does not show goes back as it was

    bool valid = true;
    const QString name = m_name->text().trimmed();
    if (name.isEmpty()) {
        showMessage(m_nameError, tr("Enter a name, so the profile says whose records these are."));
        m_name->setFocus();
        valid = false;
    }
    const QString npi = m_npi->text().trimmed();
    if (!npi.isEmpty() && !isValidNPI(npi.toStdString())) {
        showMessage(m_npiError, text(kInvalidNPIMessage));
        if (valid) m_npi->setFocus();
        valid = false;
    }
    std::optional<Day> dob;
    if (m_dobShown && !readDay(m_dob, dob)) {
        showMessage(m_dobNote,
                    dayProblem(m_dob, tr("That date doesn't read as %1, so type it like %2.").arg(dayForms(), localDayText(Day{1984, 6, 2}))));
        if (valid) m_dob->setFocus();
        valid = false;
    }
    if (!valid) return false;

    person.name = name.toStdString();
    person.addressAs = optionalText(m_addressAs);
    person.degree = m_degree->currentData().toString().toStdString();
    person.specialty = optionalText(m_specialty);
    const auto newNPI = optionalText(npi);
    // A check against the registry vouched for the old number, not this one.
    if (newNPI != person.npi) person.npiVerifiedAt.reset();
    person.npi = newNPI;
    person.email = optionalText(m_email);
    person.phone = optionalText(m_phone);
    person.languages = optionalText(m_languages);
    person.taxonomy = optionalText(m_taxonomy);
    person.caqhId = optionalText(m_caqhId);
    person.ptan = optionalText(m_ptan);
    person.medicaidId = optionalText(m_medicaidId);
    person.practiceAddress = optionalText(m_practiceAddress);
    person.practicePhone = optionalText(m_practicePhone);
    person.notes = optionalText(m_notes->toPlainText());
    if (m_dobShown) person.dob = dob ? std::optional<std::string>(dob->toString()) : std::nullopt;

    if (auto updated = context().store.updatePerson(std::move(person)); !updated) {
        showMessage(m_status, text(updated.error().message()));
        return false;
    }
    fillForm();
    fillLists();
    fillHeader();
    emit recordsChanged();
    emit notify(tr("Profile saved."));
    return true;
}

void ProfilePage::undo() {
    if (auto undone = context().store.undoProfileEdit(); !undone) {
        showMessage(m_status, text(undone.error().message()));
        return;
    }
    hideDateOfBirth();
    fillForm();
    fillLists();
    fillHeader();
    emit recordsChanged();
    emit notify(tr("Undid the last profile change."));
}

void ProfilePage::editWork(const std::optional<std::string>& id) {
    const Person* person = context().person(m_personId.toStdString());
    if (!person) return;
    const WorkEntry* entry = nullptr;
    if (id && person->workHistory) {
        for (const auto& candidate : *person->workHistory)
            if (!candidate.deleted && candidate.id == *id) entry = &candidate;
        if (!entry) return;
    }
    m_workEditing = entry ? std::optional<std::string>(entry->id) : std::nullopt;
    m_employer->setText(entry ? text(entry->employer) : QString());
    m_role->setText(entry ? text(entry->role) : QString());
    m_workFrom->setText(entry ? dayText(entry->startDate) : QString());
    m_workTo->setText(entry ? dayText(entry->endDate) : QString());
    showMessage(m_workError, {});
    m_workForm->setVisible(true);
    reveal(m_workForm);
    m_employer->setFocus();
}

void ProfilePage::saveWork() {
    const Person* stored = context().person(m_personId.toStdString());
    if (!stored) return;
    const QString employer = m_employer->text().trimmed();
    if (employer.isEmpty()) {
        showMessage(m_workError, tr("Enter the employer, so the job can be told apart."));
        m_employer->setFocus();
        return;
    }
    std::optional<Day> from;
    std::optional<Day> to;
    const bool fromRead = readDay(m_workFrom, from);
    if (!fromRead || !readDay(m_workTo, to)) {
        showMessage(m_workError,
                    dayProblem(fromRead ? m_workTo : m_workFrom,
                               tr("Dates read as %1, so type them like %2; leave To empty for a current job.")
                                   .arg(dayForms(), localDayText(Day{2021, 7, 1}))));
        return;
    }
    if (from && to && *to < *from) {
        showMessage(m_workError, tr("The job ends before it starts, so check the dates."));
        return;
    }

    Person person = *stored;
    auto& history = person.workHistory ? *person.workHistory : person.workHistory.emplace();
    WorkEntry* entry = nullptr;
    if (m_workEditing) {
        const auto found = std::find_if(history.begin(), history.end(), [&](const WorkEntry& candidate) {
            return !candidate.deleted && candidate.id == *m_workEditing;
        });
        if (found == history.end()) {
            showMessage(m_workError, tr("That job was removed meanwhile, so add it again."));
            return;
        }
        entry = &*found;
    } else {
        entry = &history.emplace_back();
        entry->id = newUUID();
    }
    entry->employer = employer.toStdString();
    entry->role = optionalText(m_role);
    entry->startDate = from;
    entry->endDate = to;
    entry->updatedAt = Timestamp::now(context().clock);

    if (auto updated = context().store.updatePerson(std::move(person)); !updated) {
        showMessage(m_workError, text(updated.error().message()));
        return;
    }
    m_workForm->setVisible(false);
    fillLists();
    fillHeader();
    emit recordsChanged();
    emit notify(m_workEditing ? tr("Job updated.") : tr("Job added to the work history."));
}

void ProfilePage::removeWork() {
    const auto row = selectedRow(m_workTable);
    const Person* stored = context().person(m_personId.toStdString());
    if (!row || !stored || !stored->workHistory) return;
    const std::string id = m_workModel->idAt(*row);
    Person person = *stored;
    QString employer;
    for (auto& entry : *person.workHistory) {
        if (entry.deleted || entry.id != id) continue;
        // A tombstone, so the removal wins over an older copy of this vault.
        entry.deleted = true;
        entry.updatedAt = Timestamp::now(context().clock);
        employer = text(entry.employer);
    }
    if (auto updated = context().store.updatePerson(std::move(person)); !updated) {
        showMessage(m_status, text(updated.error().message()));
        return;
    }
    if (m_workEditing == id) m_workForm->setVisible(false);
    fillLists();
    fillHeader();
    emit recordsChanged();
    emit notify(tr("Removed %1 from the work history. Undo brings it back.").arg(employer));
}

void ProfilePage::editFacility(const std::optional<std::string>& id) {
    const Person* person = context().person(m_personId.toStdString());
    if (!person) return;
    const Facility* facility = nullptr;
    if (id && person->facilities) {
        for (const auto& candidate : *person->facilities)
            if (!candidate.deleted && candidate.id == *id) facility = &candidate;
        if (!facility) return;
    }
    m_facilityEditing = facility ? std::optional<std::string>(facility->id) : std::nullopt;
    m_facilityName->setText(facility ? text(facility->name) : QString());
    const int state = facility && facility->state ? m_facilityState->findData(text(*facility->state)) : 0;
    m_facilityState->setCurrentIndex(std::max(state, 0));
    m_facilityStart->setText(facility ? dayText(facility->startDate) : QString());
    m_contactEmail->setText(facility ? text(facility->contactEmail) : QString());
    m_facilityNotes->setText(facility ? text(facility->notes) : QString());
    for (int row = 0; row < m_requiredModel->rowCount(); ++row) {
        QStandardItem* item = m_requiredModel->item(row);
        const std::string raw = item->data(Qt::UserRole).toString().toStdString();
        const bool asked = facility && std::find(facility->requiredItems.begin(), facility->requiredItems.end(), raw) !=
                                           facility->requiredItems.end();
        item->setCheckState(asked ? Qt::Checked : Qt::Unchecked);
    }
    showMessage(m_facilityError, {});
    m_facilityForm->setVisible(true);
    reveal(m_facilityForm);
    m_facilityName->setFocus();
}

void ProfilePage::reveal(QWidget* form) {
    // The form has just been shown: lay it out now so the scroll knows where it is.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    m_scroll->ensureWidgetVisible(form, 0, 24);
}

void ProfilePage::saveFacility() {
    const Person* stored = context().person(m_personId.toStdString());
    if (!stored) return;
    const QString name = m_facilityName->text().trimmed();
    if (name.isEmpty()) {
        showMessage(m_facilityError, tr("Enter the facility's name."));
        m_facilityName->setFocus();
        return;
    }
    std::optional<Day> start;
    if (!readDay(m_facilityStart, start)) {
        showMessage(m_facilityError,
                    dayProblem(m_facilityStart, tr("The start date reads as %1, so type it like %2, or leave it empty.")
                                                   .arg(dayForms(), localDayText(Day{2027, 1, 15}))));
        m_facilityStart->setFocus();
        return;
    }
    const QString email = m_contactEmail->text().trimmed();
    if (!email.isEmpty() && (!email.contains(QLatin1Char('@')) || email.contains(QLatin1Char(' ')))) {
        showMessage(m_facilityError, tr("That contact email is missing its @ or has a space, so check it."));
        m_contactEmail->setFocus();
        return;
    }

    Person person = *stored;
    auto& facilities = person.facilities ? *person.facilities : person.facilities.emplace();
    Facility* facility = nullptr;
    if (m_facilityEditing) {
        const auto found = std::find_if(facilities.begin(), facilities.end(), [&](const Facility& candidate) {
            return !candidate.deleted && candidate.id == *m_facilityEditing;
        });
        if (found == facilities.end()) {
            showMessage(m_facilityError, tr("That facility was removed meanwhile, so add it again."));
            return;
        }
        facility = &*found;
    } else {
        facility = &facilities.emplace_back();
        facility->id = newUUID();
    }
    // Items this version has no kind for stay; the ticked kinds follow them in listing order.
    std::vector<std::string> items;
    for (const auto& item : facility->requiredItems)
        if (!credentialKindFromRaw(item)) items.push_back(item);
    for (int row = 0; row < m_requiredModel->rowCount(); ++row) {
        const QStandardItem* item = m_requiredModel->item(row);
        if (item->checkState() == Qt::Checked) items.push_back(item->data(Qt::UserRole).toString().toStdString());
    }
    facility->name = name.toStdString();
    facility->state = optionalText(m_facilityState->currentData().toString());
    facility->startDate = start;
    facility->requiredItems = std::move(items);
    facility->contactEmail = optionalText(email);
    facility->notes = optionalText(m_facilityNotes);
    facility->updatedAt = Timestamp::now(context().clock);

    if (auto updated = context().store.updatePerson(std::move(person)); !updated) {
        showMessage(m_facilityError, text(updated.error().message()));
        return;
    }
    m_facilityForm->setVisible(false);
    fillLists();
    fillHeader();
    emit recordsChanged();
    emit notify(m_facilityEditing ? tr("Facility updated.") : tr("Facility added."));
}

void ProfilePage::removeFacility() {
    const auto row = selectedRow(m_facilityTable);
    const Person* stored = context().person(m_personId.toStdString());
    if (!row || !stored || !stored->facilities) return;
    const std::string id = m_facilityModel->idAt(*row);
    Person person = *stored;
    QString name;
    for (auto& facility : *person.facilities) {
        if (facility.deleted || facility.id != id) continue;
        facility.deleted = true;
        facility.updatedAt = Timestamp::now(context().clock);
        name = text(facility.name);
    }
    if (auto updated = context().store.updatePerson(std::move(person)); !updated) {
        showMessage(m_status, text(updated.error().message()));
        return;
    }
    if (m_facilityEditing == id) m_facilityForm->setVisible(false);
    fillLists();
    fillHeader();
    emit recordsChanged();
    emit notify(tr("Removed %1. Undo brings it back.").arg(name));
}

}  // namespace corvale::app

#include "app/LicensesPage.h"

#include "app/FormParts.h"
#include "app/AppContext.h"
#include "platform/Clock.h"
#include "requirements/CredentialRenewal.h"
#include "vault/VaultStore.h"

#include "app/CredentialEditor.h"
#include "app/CredentialListModel.h"
#include "app/SidePanel.h"
#include "app/Theme.h"
#include "app/UndoBar.h"

#include <QComboBox>
#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace corvale::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

using Grouping = CredentialListModel::Grouping;

}  // namespace

LicensesPage::LicensesPage(AppContext& context, QWidget* parent) : Screen(context, parent) {
    setProperty("screen", QStringLiteral("licenses"));
    m_model = new CredentialListModel(this);
    m_proxy = new CredentialSortFilterProxy(this);
    m_proxy->setSourceModel(m_model);

    auto* title = makeLabel(tr("Licenses"), "title", this);
    scaleFont(title, 1.8, QFont::DemiBold);
    title->setWordWrap(false);
    m_summary = makeLabel(QString(), "caption", this);
    setHandle(m_summary, tr("Summary"));

    m_search = new QLineEdit(this);
    m_search->setAccessibleName(tr("Search credentials"));
    m_search->setPlaceholderText(tr("Search by name, number, state or person"));
    m_search->setClearButtonEnabled(true);
    m_search->setMinimumWidth(160);
    m_grouping = new QComboBox(this);
    m_grouping->setAccessibleName(tr("Group by"));
    m_grouping->addItem(tr("Group by status"), static_cast<int>(Grouping::status));
    m_grouping->addItem(tr("Group by kind"), static_cast<int>(Grouping::kind));
    m_delete = new QPushButton(tr("Delete"), this);
    m_delete->setToolTip(tr("Delete the selected credential (Delete)"));
    auto* add = new QPushButton(tr("New credential"), this);
    add->setObjectName(QStringLiteral("primary"));
    add->setToolTip(tr("Add a credential (Ctrl+N)"));
    m_add = add;
    auto* toolbar = new QHBoxLayout;
    toolbar->setSpacing(10);
    toolbar->addWidget(m_search, 2);
    toolbar->addWidget(m_grouping);
    toolbar->addStretch(1);
    toolbar->addWidget(m_delete);
    toolbar->addWidget(add);

    m_undoBar = new UndoBar(this);

    // The list, or an invitation when there is nothing to list.
    auto* listCard = new QFrame(this);
    listCard->setObjectName(QStringLiteral("card"));
    m_view = new QTreeView(listCard);
    m_view->setObjectName(QStringLiteral("credentialList"));
    m_view->setAccessibleName(tr("Credentials"));
    m_view->setModel(m_proxy);
    m_view->setUniformRowHeights(true);
    m_view->setSortingEnabled(true);
    m_view->sortByColumn(CredentialListModel::DaysLeftColumn, Qt::AscendingOrder);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setIndentation(18);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setIconSize(QSize(10, 10));
    QHeaderView* header = m_view->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setSectionResizeMode(CredentialListModel::NameColumn, QHeaderView::Stretch);
    header->setMinimumSectionSize(60);
    m_view->viewport()->installEventFilter(this);
    sizeColumns();
    m_noMatch = makeLabel(QString(), "detail", listCard);
    m_noMatch->setAlignment(Qt::AlignCenter);
    m_noMatch->hide();
    auto* listLayout = new QVBoxLayout(listCard);
    listLayout->setContentsMargins(6, 8, 6, 6);
    listLayout->addWidget(m_view, 1);
    listLayout->addWidget(m_noMatch);
    listLayout->addStretch(0);

    auto* emptyCard = new QFrame(this);
    emptyCard->setObjectName(QStringLiteral("card"));
    m_emptyTitle = makeLabel(QString(), "emptyTitle", emptyCard);
    m_emptyTitle->setAlignment(Qt::AlignCenter);
    scaleFont(m_emptyTitle, 1.4, QFont::DemiBold);
    m_emptyText = makeLabel(QString(), "detail", emptyCard);
    m_emptyText->setAlignment(Qt::AlignCenter);
    m_emptyText->setFixedWidth(440);
    auto* addFirst = new QPushButton(tr("Add your first credential"), emptyCard);
    addFirst->setObjectName(QStringLiteral("primary"));
    auto* emptyLayout = new QVBoxLayout(emptyCard);
    emptyLayout->setSpacing(12);
    emptyLayout->addStretch(2);
    emptyLayout->addWidget(m_emptyTitle, 0, Qt::AlignHCenter);
    emptyLayout->addWidget(m_emptyText, 0, Qt::AlignHCenter);
    emptyLayout->addSpacing(6);
    emptyLayout->addWidget(addFirst, 0, Qt::AlignHCenter);
    emptyLayout->addStretch(3);

    m_body = new QStackedWidget(this);
    m_body->addWidget(listCard);
    m_body->addWidget(emptyCard);

    m_editor = new CredentialEditor(context, this);
    new SidePanel(m_body, m_editor, 390, 500);

    auto* body = new QHBoxLayout;
    body->setSpacing(16);
    body->addWidget(m_body, 1);
    body->addWidget(m_editor);

    auto* heading = new QHBoxLayout;
    heading->setSpacing(14);
    heading->addWidget(title, 0, Qt::AlignBottom);
    heading->addWidget(m_summary, 1, Qt::AlignBottom);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 24, 28, 22);
    layout->setSpacing(14);
    layout->addLayout(heading);
    layout->addLayout(toolbar);
    layout->addWidget(m_undoBar);
    layout->addLayout(body, 1);

    connect(m_search, &QLineEdit::textChanged, this, &LicensesPage::searchChanged);
    connect(m_grouping, &QComboBox::currentIndexChanged, this, &LicensesPage::groupingChanged);
    connect(add, &QPushButton::clicked, this, &LicensesPage::newCredential);
    connect(addFirst, &QPushButton::clicked, this, &LicensesPage::newCredential);
    connect(m_delete, &QPushButton::clicked, this, &LicensesPage::deleteCurrent);
    connect(m_undoBar, &UndoBar::undoRequested, this, &LicensesPage::undoDelete);
    connect(m_view, &QAbstractItemView::activated, this, &LicensesPage::openCurrent);
    connect(m_view, &QTreeView::collapsed, this,
            [this](const QModelIndex& index) { m_collapsed.insert(m_model->groupKey(m_proxy->mapToSource(index))); });
    connect(m_view, &QTreeView::expanded, this,
            [this](const QModelIndex& index) { m_collapsed.remove(m_model->groupKey(m_proxy->mapToSource(index))); });
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this, &LicensesPage::updateActions);
    // A group's title spans the row; the proxy renumbers rows whenever it sorts or filters.
    const auto span = [this] {
        for (int row = 0; row < m_proxy->rowCount(); ++row) m_view->setFirstColumnSpanned(row, {}, true);
    };
    connect(m_proxy, &QAbstractItemModel::modelReset, this, span);
    connect(m_proxy, &QAbstractItemModel::layoutChanged, this, span);
    connect(m_proxy, &QAbstractItemModel::rowsInserted, this, span);

    connect(m_editor, &CredentialEditor::recordsChanged, this, &LicensesPage::changedHere);
    connect(m_editor, &CredentialEditor::notify, this, &LicensesPage::notify);
    connect(m_editor, &CredentialEditor::saved, this, [this](const QString& id) {
        select(id);
        m_view->setFocus();
    });
    connect(m_editor, &CredentialEditor::closed, this, [this] {
        if (m_body->currentIndex() == 0) m_view->setFocus();
        updateActions();
    });

    auto* newShortcut = new QShortcut(QKeySequence::New, this, this, &LicensesPage::newCredential);
    newShortcut->setContext(Qt::WindowShortcut);
    newShortcut->setWhatsThis(tr("Add a credential"));
    auto* deleteShortcut = new QShortcut(QKeySequence::Delete, m_view, this, &LicensesPage::deleteCurrent);
    deleteShortcut->setContext(Qt::WidgetShortcut);
    deleteShortcut->setWhatsThis(tr("Delete the selected credential"));
    auto* findShortcut = new QShortcut(QKeySequence::Find, this, this, [this] {
        m_search->setFocus();
        m_search->selectAll();
    });
    findShortcut->setWhatsThis(tr("Search the credentials"));

    setTabOrder(m_search, m_grouping);
    setTabOrder(m_grouping, m_delete);
    setTabOrder(m_delete, add);
    setTabOrder(add, m_view);
    setTabOrder(m_view, m_editor);
    updateActions();
}

CredentialEditor* LicensesPage::editor() const { return m_editor; }
QAbstractItemView* LicensesPage::view() const { return m_view; }

void LicensesPage::reload() {
    const QString selected = currentCredentialId();
    const auto& scope = context().store.scopePersonId();
    m_model->reload(context().doc(), context().today(), scope ? text(*scope) : QString());

    // Whose each credential is matters only when the vault holds more than one person.
    const bool office = context().isOffice() && !scope;
    if (office != m_office) {
        m_office = office;
        const QSignalBlocker blocker(m_grouping);
        const int byPerson = m_grouping->findData(static_cast<int>(Grouping::person));
        if (office && byPerson < 0) m_grouping->addItem(tr("Group by person"), static_cast<int>(Grouping::person));
        if (!office && byPerson >= 0) {
            if (m_grouping->currentIndex() == byPerson) {
                m_grouping->setCurrentIndex(0);
                m_model->setGrouping(Grouping::status);
            }
            m_grouping->removeItem(byPerson);
        }
    }
    m_view->setColumnHidden(CredentialListModel::PersonColumn, !m_office);
    sizeColumns();

    const bool empty = m_model->credentialCount() == 0;
    m_body->setCurrentIndex(empty ? 1 : 0);
    // Nothing to search, group or delete yet.
    m_search->setVisible(!empty);
    m_grouping->setVisible(!empty);
    m_delete->setVisible(!empty);
    m_add->setVisible(!empty);
    if (empty) {
        const Person* person = scope ? context().person(*scope) : nullptr;
        m_emptyTitle->setText(person ? tr("No credentials for %1 yet").arg(text(person->name))
                                     : tr("No credentials yet"));
        m_emptyText->setText(
            tr("Add a state license, DEA registration, board certification or life-support card, "
               "and Corvale keeps watch over its renewal."));
        // A centred wrapped label is given one line's height unless told how many it needs.
        m_emptyText->setMinimumHeight(m_emptyText->heightForWidth(m_emptyText->width()));
    }
    restoreExpansion();
    if (!selected.isEmpty()) select(selected);
    updateSummary();

    if (m_editor->isOpen()) {
        const std::string open = m_editor->credentialId().toStdString();
        const auto& credentials = context().doc().credentials;
        const bool gone =
            !open.empty() && std::none_of(credentials.begin(), credentials.end(),
                                          [&](const Credential& c) { return !c.deleted && c.id == open; });
        if (gone)
            m_editor->cancel();
        else
            m_editor->refreshPeople();
    }
    updateActions();
}

void LicensesPage::updateSummary() {
    const int total = m_model->credentialCount();
    if (total == 0) {
        m_summary->clear();
        return;
    }
    QStringList parts{total == 1 ? tr("1 credential") : tr("%1 credentials").arg(total)};
    if (const int expired = m_model->countOf(Urgency::expired)) parts << tr("%1 expired").arg(expired);
    if (const int due = m_model->countOf(Urgency::soon) + m_model->countOf(Urgency::due))
        parts << tr("%1 due within 90 days").arg(due);
    m_summary->setText(parts.join(QStringLiteral(" · ")));
}

void LicensesPage::restoreExpansion() {
    for (int row = 0; row < m_proxy->rowCount(); ++row) {
        const QModelIndex group = m_proxy->index(row, 0);
        m_view->setExpanded(group, !m_collapsed.contains(m_model->groupKey(m_proxy->mapToSource(group))));
    }
}

QString LicensesPage::currentCredentialId() const {
    const CredentialRow* row = m_model->credential(m_proxy->mapToSource(m_view->currentIndex()));
    return row ? row->id : QString();
}

void LicensesPage::select(const QString& credentialId) {
    const QModelIndex index = m_proxy->mapFromSource(m_model->indexOf(credentialId));
    if (!index.isValid()) return;
    m_view->setExpanded(index.parent(), true);
    m_view->setCurrentIndex(index);
    m_view->scrollTo(index);
}

void LicensesPage::updateActions() {
    const bool editing = m_editor->isOpen() && !m_editor->credentialId().isEmpty();
    m_delete->setEnabled(editing || !currentCredentialId().isEmpty());
}

bool LicensesPage::hasUnsavedEdits() const { return m_editor->hasUnsavedEdits(); }

void LicensesPage::leave(std::function<void()> then) { m_editor->leave(std::move(then)); }

bool LicensesPage::settleBeforeLock() {
    m_undoBar->forget();
    return m_editor->settleBeforeLock();
}

bool LicensesPage::askBeforeOpening(const QString& credentialId, const std::function<void()>& open) {
    if (!m_editor->hasUnsavedEdits()) return false;
    // The credential being edited stays as typed; any other waits for an answer.
    if (credentialId.isEmpty() || credentialId != m_editor->credentialId()) m_editor->leave(open);
    const QString editing = m_editor->credentialId();
    if (!editing.isEmpty()) select(editing);
    return true;
}

void LicensesPage::openCurrent(const QModelIndex& index) {
    const CredentialRow* row = m_model->credential(m_proxy->mapToSource(index));
    if (row)
        editCredential(row->id);
    else if (index.isValid())
        m_view->setExpanded(index, !m_view->isExpanded(index));
}

void LicensesPage::newCredential() {
    if (askBeforeOpening(QString(), [this] { newCredential(); })) return;
    m_editor->openNew();
}

void LicensesPage::editCredential(const QString& credentialId) {
    if (askBeforeOpening(credentialId, [this, credentialId] { editCredential(credentialId); })) return;
    if (m_editor->openCredential(credentialId)) select(credentialId);
    updateActions();
}

void LicensesPage::renewCredential(const QString& credentialId) {
    if (askBeforeOpening(QString(), [this, credentialId] { renewCredential(credentialId); })) return;
    if (m_editor->openRenewal(credentialId)) select(credentialId);
}

void LicensesPage::attachTo(const QString& credentialId) {
    if (askBeforeOpening(QString(), [this, credentialId] { attachTo(credentialId); })) return;
    if (!m_editor->openCredential(credentialId)) return;
    select(credentialId);
    m_editor->chooseFileToAttach();
}

void LicensesPage::deleteCurrent() {
    // With the editor open, Delete means the credential it shows, whatever row the list is on.
    const QString id = m_editor->isOpen() && !m_editor->credentialId().isEmpty() ? m_editor->credentialId()
                                                                                 : currentCredentialId();
    if (id.isEmpty()) return;
    const std::string wanted = id.toStdString();
    const Timestamp now = Timestamp::now(context().clock);
    QString name;
    const auto done = context().store.change([&](VaultDocument& doc) {
        for (auto& credential : doc.credentials) {
            if (credential.id != wanted || credential.deleted) continue;
            // A tombstone, so the deletion wins when vaults are merged.
            credential.deleted = true;
            credential.updatedAt = now;
            name = text(renewTitle(credential));
        }
    });
    if (!done) {
        emit notify(text(done.error().message()));
        return;
    }
    if (name.isEmpty()) return;
    if (m_editor->credentialId() == id) m_editor->cancel();
    m_undoBar->deleted(id, name);
    changedHere();
    // The keyboard stays in the list with nothing chosen, so a second Delete can't take the next row too.
    m_view->selectionModel()->clear();
    m_view->setFocus();
    updateActions();
    emit notify(tr("Deleted %1").arg(name));
}

void LicensesPage::undoDelete(const QString& deletedId) {
    const std::string wanted = deletedId.toStdString();
    const Timestamp now = Timestamp::now(context().clock);
    QString name;
    const auto done = context().store.change([&](VaultDocument& doc) {
        for (auto& credential : doc.credentials) {
            if (credential.id != wanted || !credential.deleted) continue;
            credential.deleted = false;
            credential.updatedAt = now;
            name = text(renewTitle(credential));
        }
    });
    if (!done) {
        emit notify(text(done.error().message()));
        return;
    }
    if (name.isEmpty()) return;
    changedHere();
    select(deletedId);
    emit notify(tr("Restored %1").arg(name));
}

void LicensesPage::changedHere() {
    reload();
    emit recordsChanged();
}

void LicensesPage::searchChanged(const QString& search) {
    m_proxy->setSearch(search);
    restoreExpansion();
    const bool none = m_proxy->rowCount() == 0 && !m_proxy->search().isEmpty();
    m_noMatch->setText(tr("No credential matches “%1”.").arg(m_proxy->search()));
    m_noMatch->setVisible(none);
    m_view->setVisible(!none);
    updateActions();
}

void LicensesPage::groupingChanged() {
    const QString selected = currentCredentialId();
    m_model->setGrouping(static_cast<Grouping>(m_grouping->currentData().toInt()));
    restoreExpansion();
    if (!selected.isEmpty()) select(selected);
    updateActions();
}

bool LicensesPage::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_view->viewport() && event->type() == QEvent::Resize) sizeColumns();
    return Screen::eventFilter(watched, event);
}

// The columns beside the name keep their widths while there is room; in a
// narrow window they give up width together so the name keeps a third.
void LicensesPage::sizeColumns() {
    static constexpr std::pair<int, int> kWidths[] = {{CredentialListModel::PersonColumn, 112},
                                                      {CredentialListModel::NumberColumn, 98},
                                                      {CredentialListModel::ExpiresColumn, 102},
                                                      {CredentialListModel::DaysLeftColumn, 150},
                                                      {CredentialListModel::StatusColumn, 128}};
    int wanted = 0;
    for (const auto& [column, width] : kWidths)
        if (!m_view->isColumnHidden(column)) wanted += width;
    const int room = m_view->viewport()->width() * 2 / 3;
    for (const auto& [column, width] : kWidths)
        m_view->header()->resizeSection(column, wanted > room && room > 0 ? std::max(60, width * room / wanted) : width);
}

}  // namespace corvale::app

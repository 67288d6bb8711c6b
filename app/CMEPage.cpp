#include "app/CMEPage.h"

#include "app/FormParts.h"
#include "app/ActivityEditor.h"
#include "app/ActivityListModel.h"
#include "app/AppContext.h"
#include "app/CMECategories.h"
#include "app/ProgressRing.h"
#include "app/SidePanel.h"
#include "app/Theme.h"
#include "app/UndoBar.h"
#include "platform/Clock.h"
#include "records/RecordEnums.h"
#include "requirements/Hours.h"
#include "requirements/Readiness.h"
#include "requirements/Requirements.h"
#include "requirements/CredentialRenewal.h"
#include "records/USState.h"
#include "vault/VaultStore.h"

#include <QComboBox>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedLayout>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace corvale::app {
namespace {

QString qText(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

int dayKey(const Day& day) { return day.year * 10000 + day.month * 100 + day.day; }

enum Period { AllTime, ThisYear, LastYear };

// The licence cards take the height their text needs, up to a limit past which they scroll.
class CardArea : public QScrollArea {
public:
    explicit CardArea(QWidget* parent) : QScrollArea(parent) {
        setFocusPolicy(Qt::NoFocus);  // only scrolls: Tab goes to the cards' buttons
    }

    QSize sizeHint() const override {
        const QWidget* content = widget();
        if (!content) return QScrollArea::sizeHint();
        const int width = viewport()->width();
        const int height = content->hasHeightForWidth() ? content->heightForWidth(width) : content->sizeHint().height();
        return {QScrollArea::sizeHint().width(), std::min(height, maximumHeight())};
    }

protected:
    void resizeEvent(QResizeEvent* event) override {
        QScrollArea::resizeEvent(event);
        updateGeometry();
    }
};

QWidget* licenceCard(const StateProgress& progress, const QString& stateName, QWidget* parent) {
    auto* card = new QFrame(parent);
    card->setObjectName(QStringLiteral("card"));
    card->setAccessibleName(QObject::tr("%1 cycle").arg(stateName));
    auto* ring = new ProgressRing(60, card);
    ring->setValue(progress.ringFraction(), QStringLiteral("%1%").arg(std::lround(progress.ringFraction() * 100)));
    ring->setAccessibleName(QObject::tr("%1 cycle progress").arg(stateName));

    auto* words = new QVBoxLayout;
    words->setSpacing(3);
    auto* title = makeLabel(stateName, "licenceTitle", card);
    scaleFont(title, 1.1, QFont::DemiBold);
    words->addWidget(title);
    words->addWidget(makeLabel(qText(progress.cycleStart.shortFormatted() + " – " + progress.cycleEnd.shortFormatted()),
                               "caption", card));
    auto* summary = makeLabel(qText(progress.summary()), "summary", card);
    setHandle(summary, QObject::tr("%1 summary").arg(stateName));
    scaleFont(summary, 1.0, QFont::DemiBold);
    words->addWidget(summary);
    if (progress.cat1Required > kHourTolerance) {
        words->addWidget(makeLabel(QObject::tr("Category 1: %1 of %2 hours")
                                       .arg(qText(hoursText(progress.cat1Done, HoursRounding::down)),
                                            qText(hoursText(progress.cat1Required, HoursRounding::down))),
                                   "detail", card));
    }
    QStringList open;
    for (const auto& line : progress.openTopics()) {
        QString text = QObject::tr("%1, %2 h left")
                           .arg(qText(line.name), qText(hoursText(line.required - line.done, HoursRounding::up)));
        // Hours the clinician did log but that do not count yet: often a course that was approved and not marked so.
        if (line.unapprovedHours > kHourTolerance)
            text += QObject::tr(" (%1 h logged without board approval)")
                        .arg(qText(hoursText(line.unapprovedHours, HoursRounding::down)));
        open << text;
    }
    auto* topics = makeLabel(open.isEmpty() ? QString() : QObject::tr("Still open: %1").arg(open.join(QStringLiteral("; "))),
                             "detail", card);
    setHandle(topics, QObject::tr("%1 open topics").arg(stateName));
    topics->setVisible(!open.isEmpty());
    words->addWidget(topics);
    if (const auto caveat = progress.caveat()) words->addWidget(makeLabel(qText(*caveat), "footnote", card));

    auto* top = new QHBoxLayout;
    top->setSpacing(16);
    top->addWidget(ring, 0, Qt::AlignTop);
    top->addLayout(words, 1);
    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(18, 16, 18, 14);
    layout->setSpacing(10);
    layout->addLayout(top);
    layout->addStretch(1);
    return card;
}

}  // namespace

CMEPage::CMEPage(AppContext& context, QWidget* parent) : Screen(context, parent) {
    m_model = new ActivityListModel(this);
    m_filter = new ActivityFilterModel(m_model, this);

    auto* heading = makeLabel(tr("Continuing education"), "title", this);
    scaleFont(heading, 1.8, QFont::DemiBold);
    auto* logButton = new QPushButton(tr("Log activity"), this);
    logButton->setObjectName(QStringLiteral("primary"));
    logButton->setToolTip(tr("Log an activity (%1)").arg(QKeySequence(QKeySequence::New).toString(QKeySequence::NativeText)));
    auto* header = new QHBoxLayout;
    header->addWidget(heading, 1);
    header->addWidget(logButton, 0, Qt::AlignVCenter);

    m_cardsHeading = makeLabel(QString(), "sectionTitle", this);
    scaleFont(m_cardsHeading, 1.05, QFont::DemiBold);
    auto* cardsContent = new QWidget;
    cardsContent->setObjectName(QStringLiteral("page"));
    m_cards = new QGridLayout(cardsContent);
    m_cards->setContentsMargins(0, 0, 0, 0);
    m_cards->setSpacing(14);
    auto* cardArea = new CardArea(this);
    cardArea->setWidget(cardsContent);
    cardArea->setWidgetResizable(true);
    cardArea->setFrameShape(QFrame::NoFrame);
    cardArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    cardArea->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    cardArea->setMaximumHeight(300);
    m_cardArea = cardArea;

    m_search = new QLineEdit(this);
    m_search->setAccessibleName(tr("Search activities"));
    m_search->setPlaceholderText(tr("Search title or provider"));
    m_search->setClearButtonEnabled(true);
    m_search->setMinimumWidth(140);
    m_category = new QComboBox(this);
    m_category->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_category->setMinimumContentsLength(10);
    m_category->setAccessibleName(tr("Category filter"));
    m_category->addItem(tr("All categories"), QString());
    for (const CMECategory category : allCMECategories())
        m_category->addItem(cmeCategoryName(rawValue(category)), qText(rawValue(category)));
    m_licence = new QComboBox(this);
    m_licence->setAccessibleName(tr("Counts toward"));
    m_licence->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_licence->setMinimumContentsLength(12);
    m_period = new QComboBox(this);
    m_period->setAccessibleName(tr("Period"));
    m_period->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_period->setMinimumContentsLength(8);
    m_period->addItem(tr("All time"), AllTime);
    m_period->addItem(tr("This year"), ThisYear);
    m_period->addItem(tr("Last 12 months"), LastYear);
    m_searchRow = new QHBoxLayout;
    auto* filters = new QHBoxLayout;
    m_filterRow = filters;
    filters->setSpacing(10);
    filters->addWidget(m_search, 3);
    filters->addWidget(m_category, 2);
    auto* countsToward = makeLabel(tr("Counts toward"), "caption", this);
    countsToward->setWordWrap(false);
    countsToward->setBuddy(m_licence);
    filters->addWidget(countsToward);
    filters->addWidget(m_licence, 2);
    filters->addWidget(m_period, 2);

    m_undoBar = new UndoBar(this);

    m_view = new QTableView(this);
    m_view->setObjectName(QStringLiteral("activities"));
    m_view->setAccessibleName(tr("Activities"));
    m_view->setModel(m_filter);
    // Arrows move between rows; Tab moves on, so the table never holds the keyboard.
    m_view->setTabKeyNavigation(false);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setSortingEnabled(true);
    m_view->sortByColumn(ActivityListModel::Completed, Qt::DescendingOrder);
    m_view->setAlternatingRowColors(true);
    m_view->setShowGrid(false);
    m_view->setWordWrap(false);
    m_view->setTextElideMode(Qt::ElideRight);
    m_view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_view->verticalHeader()->hide();
    m_view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_view->verticalHeader()->setDefaultSectionSize(34);
    m_view->horizontalHeader()->setHighlightSections(false);
    m_view->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_view->horizontalHeader()->setStretchLastSection(false);
    m_view->horizontalHeader()->setMinimumSectionSize(28);
    m_view->viewport()->installEventFilter(this);

    m_empty = makeLabel(QString(), "detail", this);
    m_empty->setAlignment(Qt::AlignCenter);
    auto* listHolder = new QWidget(this);
    auto* stack = new QStackedLayout(listHolder);
    stack->addWidget(m_view);
    stack->addWidget(m_empty);
    m_footer = makeLabel(QString(), "caption", this);
    setHandle(m_footer, tr("Total shown"));

    m_listColumn = new QWidget(this);
    auto* column = new QVBoxLayout(m_listColumn);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(14);
    column->addLayout(header);
    column->addWidget(m_cardsHeading);
    column->addWidget(cardArea);
    column->addSpacing(4);
    column->addLayout(m_searchRow);
    column->addLayout(filters);
    column->addWidget(m_undoBar);
    column->addWidget(listHolder, 1);
    column->addWidget(m_footer);

    m_editor = new ActivityEditor(context, this);
    new SidePanel(m_listColumn, m_editor, 400, 640);
    m_listColumn->installEventFilter(this);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(32, 24, 32, 20);
    layout->setSpacing(20);
    layout->addWidget(m_listColumn, 1);
    layout->addWidget(m_editor);

    setTabOrder(logButton, m_search);
    setTabOrder(m_search, m_category);
    setTabOrder(m_category, m_licence);
    setTabOrder(m_licence, m_period);
    setTabOrder(m_period, m_view);

    auto* newKey = new QShortcut(QKeySequence::New, this);
    newKey->setContext(Qt::WidgetWithChildrenShortcut);
    newKey->setWhatsThis(tr("Log a CME activity"));
    connect(newKey, &QShortcut::activated, this, [this] { logActivity(); });
    auto* deleteKey = new QShortcut(QKeySequence::Delete, m_view);
    deleteKey->setContext(Qt::WidgetShortcut);
    deleteKey->setWhatsThis(tr("Delete the selected activity"));
    connect(deleteKey, &QShortcut::activated, this, [this] {
        const QModelIndex current = m_view->currentIndex();
        if (current.isValid()) deleteActivity(current.data(ActivityListModel::IdRole).toString());
    });

    connect(logButton, &QPushButton::clicked, this, [this] { logActivity(); });
    connect(m_view, &QTableView::activated, this,
            [this](const QModelIndex& index) { editActivity(index.data(ActivityListModel::IdRole).toString()); });
    connect(m_search, &QLineEdit::textChanged, this, &CMEPage::applyFilters);
    connect(m_category, &QComboBox::currentIndexChanged, this, &CMEPage::applyFilters);
    connect(m_licence, &QComboBox::currentIndexChanged, this, &CMEPage::applyFilters);
    connect(m_period, &QComboBox::currentIndexChanged, this, &CMEPage::applyFilters);
    connect(m_undoBar, &UndoBar::undoRequested, this, &CMEPage::undoDelete);
    connect(m_editor, &ActivityEditor::saved, this, [this](const QString& id, const QString& confirmation) {
        m_undoBar->hide();
        afterChange(confirmation);
        const int row = m_model->rowOf(id);
        const QModelIndex shown = row < 0 ? QModelIndex() : m_filter->mapFromSource(m_model->index(row, 0));
        if (shown.isValid()) m_view->setCurrentIndex(shown);
    });
    connect(m_editor, &ActivityEditor::closed, this, [this] {
        layoutCards();
        m_view->setFocus();
    });
    connect(m_editor, &ActivityEditor::deleteRequested, this, &CMEPage::deleteActivity);
    connect(m_editor, &ActivityEditor::documentsChanged, this, &CMEPage::recordsChanged);

    reload();
}

QAbstractItemView* CMEPage::view() const { return m_view; }

QString CMEPage::footerText() const { return m_footer->text(); }

bool CMEPage::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_view->viewport() && event->type() == QEvent::Resize) sizeColumns();
    if (watched == m_listColumn && event->type() == QEvent::Resize) placeSearch();
    return Screen::eventFilter(watched, event);
}

// The search shares the filters' row where they all fit, and has a row of its own where they don't.
void CMEPage::placeSearch() {
    const bool together = m_filterRow->indexOf(m_search) >= 0;
    const int oneRow =
        m_filterRow->minimumSize().width() + (together ? 0 : m_search->minimumWidth() + m_filterRow->spacing());
    QBoxLayout* target = m_listColumn->width() < oneRow ? m_searchRow : m_filterRow;
    if (target->indexOf(m_search) >= 0) return;
    (target == m_searchRow ? m_filterRow : m_searchRow)->removeWidget(m_search);
    target->insertWidget(0, m_search, 3);
}

// In a short window the cycle cards give up height, so the activities stay in view.
void CMEPage::resizeEvent(QResizeEvent* event) {
    Screen::resizeEvent(event);
    m_cardArea->setMaximumHeight(std::clamp(height() * 2 / 5, 170, 300));
}

void CMEPage::sizeColumns() {
    auto* header = m_view->horizontalHeader();
    const bool showPerson = !m_view->isColumnHidden(ActivityListModel::Person);
    const int fixed = 104 + 58 + 150 + 34 + (showPerson ? 130 : 0);
    const int rest = std::max(m_view->viewport()->width() - fixed, 300);
    header->resizeSection(ActivityListModel::Completed, 104);
    header->resizeSection(ActivityListModel::Hours, 58);
    header->resizeSection(ActivityListModel::Category, 150);
    header->resizeSection(ActivityListModel::Certificate, 34);
    header->resizeSection(ActivityListModel::Person, 130);
    // The title reads first; provider and topics take what is left.
    const int title = rest * 42 / 100;
    const int provider = rest * 26 / 100;
    header->resizeSection(ActivityListModel::Title, title);
    header->resizeSection(ActivityListModel::Provider, provider);
    header->resizeSection(ActivityListModel::Topics, rest - title - provider);
}

void CMEPage::reload() {
    AppContext& ctx = context();
    const QString selected = m_view->currentIndex().data(ActivityListModel::IdRole).toString();
    m_model->rebuild(ctx);

    const auto& file = ctx.requirements.file();
    const auto& scope = ctx.store.scopePersonId();
    const std::optional<std::string_view> scopeId = scope ? std::optional<std::string_view>(*scope) : std::nullopt;
    const Readiness readiness = Readiness::compute(ctx.doc(), file ? &*file : nullptr, ctx.today(), scopeId);
    const Person* cardPerson = ctx.currentPerson();
    const bool office = ctx.isOffice();
    const CMEActivity* first = ctx.doc().cme.data();

    m_licences.clear();
    m_licenceOrder.clear();
    for (QWidget* card : m_cardWidgets) {
        card->hide();
        card->deleteLater();
    }
    m_cardWidgets.clear();
    // Two licences of one person in one state (an RN and an APRN licence) say which is which.
    std::vector<const Credential*> held;
    for (const StateProgress& progress : readiness.progress) held.push_back(&progress.license);
    const auto titles = distinctTitles(held);
    for (std::size_t index = 0; index < readiness.progress.size(); ++index) {
        const StateProgress& progress = readiness.progress[index];
        const QString id = qText(progress.license.id);
        Licence licence;
        licence.personId = qText(progress.license.personId);
        licence.stateName = qText(USState::nameOf(progress.license.state.value_or("")));
        licence.label = qText(titles[index]);
        if (office && !scope) {
            if (const Person* owner = ctx.person(progress.license.personId))
                licence.label += QStringLiteral(" · ") + qText(owner->name);
        }
        for (const auto& line : progress.openTopics()) licence.openTopics << qText(line.name);
        licence.members.reserve(progress.activities.size());
        for (const CMEActivity* activity : progress.activities)
            licence.members.push_back(static_cast<std::size_t>(activity - first));
        m_licences.insert(id, licence);
        m_licenceOrder << id;

        // Everyone in view: every provider's cycles, each saying whose it is.
        const Person* holder = ctx.person(progress.license.personId);
        const bool named = office && !scope && holder;
        const QString cardTitle =
            named ? licence.stateName + QStringLiteral(" · ") + qText(holder->name) : licence.stateName;
        QWidget* card = licenceCard(progress, cardTitle, nullptr);
        auto* log = new QPushButton(tr("Log CME for %1").arg(licence.stateName), card);
        log->setAccessibleName(named ? tr("Log CME for %1, %2").arg(licence.stateName, qText(holder->name))
                                     : log->text());
        static_cast<QVBoxLayout*>(card->layout())->addWidget(log, 0, Qt::AlignLeft);
        connect(log, &QPushButton::clicked, this, [this, id] { logActivity(id); });
        m_cardWidgets << card;
    }
    if (m_cardWidgets.isEmpty()) {
        auto* none = makeLabel(cardPerson ? tr("Add a state license to see how far its education cycle is done.")
                                          : tr("Add a person to start logging continuing education."),
                               "detail", nullptr);
        m_cardWidgets << none;
    }
    QString cardsTitle = tr("Current cycles");
    if (office && scope && cardPerson) cardsTitle += QStringLiteral(" · ") + qText(cardPerson->name);
    m_cardsHeading->setText(cardsTitle);
    layoutCards();

    fillLicenceFilter();
    m_view->setColumnHidden(ActivityListModel::Person, !office || scope.has_value());
    sizeColumns();
    applyFilters();
    if (!selected.isEmpty()) {
        const int row = m_model->rowOf(selected);
        if (row >= 0) m_view->setCurrentIndex(m_filter->mapFromSource(m_model->index(row, 0)));
    }
}

void CMEPage::layoutCards() {
    while (m_cards->count() > 0) delete m_cards->takeAt(0);
    const int columns = m_editor->isEditing() ? 2 : 3;
    for (int i = 0; i < m_cardWidgets.size(); ++i) m_cards->addWidget(m_cardWidgets[i], i / columns, i % columns);
    for (int c = 0; c < 3; ++c) m_cards->setColumnStretch(c, c < columns ? 1 : 0);
}

void CMEPage::fillLicenceFilter() {
    const QString current = m_licence->currentData().toString();
    const QSignalBlocker blocker(m_licence);
    m_licence->clear();
    m_licence->addItem(tr("All"), QString());
    for (const QString& id : m_licenceOrder) m_licence->addItem(m_licences.value(id).label, id);
    m_licence->setCurrentIndex(std::max(m_licence->findData(current), 0));
}

void CMEPage::applyFilters() {
    m_filter->setSearch(m_search->text());
    m_filter->setCategory(m_category->currentData().toString());

    const Day today = context().today();
    switch (m_period->currentData().toInt()) {
    case ThisYear: m_filter->setPeriod(today.year * 10000 + 101, today.year * 10000 + 1231); break;
    case LastYear: m_filter->setPeriod(dayKey(today.addingMonths(-12)), dayKey(today)); break;
    default: m_filter->setPeriod(std::nullopt, std::nullopt); break;
    }

    const auto licence = m_licences.constFind(m_licence->currentData().toString());
    if (licence == m_licences.constEnd()) {
        m_filter->setMembers(std::nullopt);
    } else {
        std::vector<bool> members(context().doc().cme.size());
        for (const std::size_t index : licence->members)
            if (index < members.size()) members[index] = true;
        m_filter->setMembers(std::move(members));
    }
    updateFooter();
}

void CMEPage::updateFooter() {
    const int shown = m_filter->rowCount();
    const int all = m_model->rowCount();
    const QString hours = qText(hoursText(m_filter->totalHours(), HoursRounding::down));
    const QString hourWord = std::fabs(m_filter->totalHours() - 1.0) < 1e-9 ? tr("hour") : tr("hours");
    const QString activities = all == 1 ? tr("1 activity") : tr("%1 activities").arg(all);
    if (shown == all)
        m_footer->setText(tr("%1, %2 %3").arg(activities, hours, hourWord));
    else
        m_footer->setText(tr("%1 of %2, %3 %4").arg(shown).arg(activities, hours, hourWord));

    if (all == 0)
        m_empty->setText(tr("No activities logged yet. Log one with %1.")
                             .arg(QKeySequence(QKeySequence::New).toString(QKeySequence::NativeText)));
    else
        m_empty->setText(tr("No activities match these filters."));
    auto* stack = static_cast<QStackedLayout*>(m_view->parentWidget()->layout());
    stack->setCurrentWidget(shown == 0 ? static_cast<QWidget*>(m_empty) : m_view);
}

bool CMEPage::hasUnsavedEdits() const { return m_editor->hasUnsavedEdits(); }

void CMEPage::leave(std::function<void()> then) { m_editor->leave(std::move(then)); }

bool CMEPage::settleBeforeLock() {
    m_undoBar->forget();
    return m_editor->settleBeforeLock();
}

void CMEPage::logActivity(const QString& licenseId) {
    if (m_editor->hasUnsavedEdits()) {
        m_editor->leave([this, licenseId] { logActivity(licenseId); });
        return;
    }
    QString personId;
    QString note;
    if (const auto licence = m_licences.constFind(licenseId); licence != m_licences.constEnd()) {
        personId = licence->personId;
        // The open topics are suggested, never ticked: only the user knows what the activity covered.
        note = licence->openTopics.isEmpty()
                   ? tr("Counts toward the %1.").arg(licence->label)
                   : tr("Counts toward the %1. Still open there: %2; tick the ones this activity covered.")
                         .arg(licence->label, licence->openTopics.join(QStringLiteral(", ")));
        m_licence->setCurrentIndex(m_licence->findData(licenseId));
    } else if (const Person* person = context().currentPerson(); person && !context().asksWhose()) {
        personId = qText(person->id);
    }
    m_view->clearSelection();
    m_editor->startNew(personId, {}, note);
    layoutCards();
}

void CMEPage::editActivity(const QString& activityId) {
    if (m_editor->hasUnsavedEdits()) {
        // The same activity again keeps what is typed in it.
        if (m_editor->activityId() != activityId) m_editor->leave([this, activityId] { editActivity(activityId); });
        return;
    }
    if (!m_editor->startEdit(activityId)) {
        emit notify(tr("That activity is no longer in the vault."));
        return;
    }
    const int row = m_model->rowOf(activityId);
    const QModelIndex shown = row < 0 ? QModelIndex() : m_filter->mapFromSource(m_model->index(row, 0));
    if (shown.isValid()) m_view->setCurrentIndex(shown);
    layoutCards();
}

bool CMEPage::setActivityDeleted(const QString& activityId, bool deleted) {
    const std::string id = activityId.toStdString();
    const Timestamp now = Timestamp::now(context().clock);
    bool found = false;
    const auto changed = context().store.change([&](VaultDocument& doc) {
        for (CMEActivity& activity : doc.cme) {
            if (activity.id != id || activity.deleted == deleted) continue;
            activity.deleted = deleted;
            activity.updatedAt = now;
            found = true;
        }
    });
    if (!changed) emit notify(qText(changed.error().message()));
    return changed && found;
}

void CMEPage::deleteActivity(const QString& activityId) {
    const int row = m_model->rowOf(activityId);
    if (row < 0) return;
    const QString title = m_model->row(row).title;
    if (m_editor->isEditing() && m_editor->activityId() == activityId) m_editor->cancel();
    if (!setActivityDeleted(activityId, true)) return;
    const QString quoted = tr("“%1”").arg(title);
    m_undoBar->deleted(activityId, quoted);
    afterChange(tr("Deleted %1.").arg(quoted));
    // Nothing chosen afterwards, so a second Delete can't take the next row too.
    m_view->selectionModel()->clear();
    m_view->setFocus();
}

void CMEPage::undoDelete(const QString& activityId) {
    if (!setActivityDeleted(activityId, false)) return;
    afterChange(tr("Restored the activity."));
    const int row = m_model->rowOf(activityId);
    if (row >= 0) m_view->setCurrentIndex(m_filter->mapFromSource(m_model->index(row, 0)));
}

void CMEPage::afterChange(const QString& confirmation) {
    reload();
    emit recordsChanged();
    emit notify(confirmation);
}

}  // namespace corvale::app

#include "app/CredentialListModel.h"

#include "records/CredentialKind.h"
#include "records/Day.h"
#include "records/RecordEnums.h"
#include "records/VaultDocument.h"
#include "requirements/CredentialRenewal.h"

#include "app/Theme.h"
#include "app/ThemeColors.h"

#include <QFont>
#include <QIcon>
#include <QPainter>
#include <QPixmap>

#include <array>
#include <string_view>
#include <unordered_map>

namespace corvale::app {
namespace {

constexpr quintptr kGroupRow = 0;  // internalId of a group row; a credential row holds its group + 1
QString text(const std::string& value) { return QString::fromStdString(value); }

QColor colorOf(Urgency urgency) {
    switch (urgency) {
    case Urgency::expired:
    case Urgency::soon:
        return alertColor();
    case Urgency::due:
        return warnColor();
    case Urgency::current:
        return goodColor();
    case Urgency::undated:
        break;
    }
    return {};
}

const QIcon& dot(Urgency urgency) {
    // One set per scheme: the desktop may switch while the app runs.
    static std::array<std::array<QIcon, 5>, 2> icons;
    QIcon& icon = icons[desktopIsDark() ? 1 : 0][static_cast<std::size_t>(urgency)];
    if (icon.isNull()) {
        QPixmap pixmap(20, 20);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const QColor color = colorOf(urgency);
        painter.setBrush(color.isValid() ? color : themeColor(ColorRole::neutral));
        painter.drawEllipse(QRectF(4, 4, 12, 12));
        painter.end();
        icon = QIcon(pixmap);
    }
    return icon;
}

QString statusGroupTitle(int order) {
    static const char* const kTitles[] = {QT_TR_NOOP("Expired"), QT_TR_NOOP("Due within 90 days"),
                                          QT_TR_NOOP("Current"), QT_TR_NOOP("No expiry date")};
    return QObject::tr(kTitles[order]);
}

int statusGroup(Urgency urgency) {
    switch (urgency) {
    case Urgency::expired:
        return 0;
    case Urgency::soon:
    case Urgency::due:
        return 1;
    case Urgency::current:
        return 2;
    case Urgency::undated:
        break;
    }
    return 3;
}

int kindOrderOf(const Credential& credential) {
    const auto kinds = allCredentialKinds();
    if (const auto kind = credential.kindValue())
        for (std::size_t i = 0; i < kinds.size(); ++i)
            if (kinds[i] == *kind) return static_cast<int>(i);
    return static_cast<int>(kinds.size());
}

}  // namespace

CredentialListModel::CredentialListModel(QObject* parent) : QAbstractItemModel(parent) {}

QString CredentialListModel::daysLeftText(int daysLeft) {
    if (daysLeft == CredentialRow::kNoExpiry) return tr("no date");
    if (daysLeft == 0) return tr("today");
    if (daysLeft == 1) return tr("tomorrow");
    if (daysLeft == -1) return tr("expired yesterday");
    if (daysLeft < 0) return tr("expired %1 days ago").arg(-daysLeft);
    return tr("in %1 days").arg(daysLeft);
}

void CredentialListModel::reload(const VaultDocument& document, const Day& today, const QString& scopePersonId) {
    beginResetModel();
    m_rows.clear();
    m_personNames.clear();
    m_counts = {};
    const std::string scope = scopePersonId.toStdString();

    // One pass over the people, so each row finds its person without a search.
    constexpr int kTombstoned = -1;
    std::unordered_map<std::string_view, int> personOrder;
    personOrder.reserve(document.people.size());
    for (const Person& person : document.people) {
        personOrder.emplace(person.id, person.deleted ? kTombstoned : static_cast<int>(m_personNames.size()));
        if (!person.deleted) m_personNames.push_back(text(person.name));
    }
    const int unknownPerson = static_cast<int>(m_personNames.size());

    m_rows.reserve(document.credentials.size());
    std::vector<const Credential*> shown;
    shown.reserve(document.credentials.size());
    for (const Credential& credential : document.credentials) {
        if (credential.deleted || (!scope.empty() && credential.personId != scope)) continue;
        int order = unknownPerson;
        if (const auto found = personOrder.find(credential.personId); found != personOrder.end()) {
            if (found->second == kTombstoned) continue;
            order = found->second;
        }
        CredentialRow& row = m_rows.emplace_back();
        shown.push_back(&credential);
        row.id = text(credential.id);
        row.person = order == unknownPerson ? QString() : m_personNames[static_cast<std::size_t>(order)];
        row.personOrder = order;
        if (credential.number) row.number = text(*credential.number);
        if (credential.state) row.state = text(*credential.state);
        if (credential.expiresOn) {
            row.expires = text(credential.expiresOn->shortFormatted());
            row.daysLeft = today.daysTo(*credential.expiresOn);
        }
        row.urgency = urgencyOf(credential, today);
        ++m_counts[static_cast<std::size_t>(row.urgency)];
        row.status = text(statusText(credential, row.urgency));
        if (credential.status) row.statusNote = text(*credential.status);
        row.kindOrder = kindOrderOf(credential);
    }
    const auto titles = distinctTitles(shown);
    for (std::size_t i = 0; i < titles.size(); ++i) m_rows[i].name = text(titles[i]);
    regroup();
    endResetModel();
}

void CredentialListModel::setGrouping(Grouping grouping) {
    if (grouping == m_grouping) return;
    beginResetModel();
    m_grouping = grouping;
    regroup();
    endResetModel();
}

void CredentialListModel::regroup() {
    std::size_t buckets = 4;
    if (m_grouping == Grouping::kind) buckets = allCredentialKinds().size() + 1;
    if (m_grouping == Grouping::person) buckets = m_personNames.size() + 1;
    std::vector<Group> groups(buckets);
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        const CredentialRow& row = m_rows[i];
        const int bucket = m_grouping == Grouping::status ? statusGroup(row.urgency)
                           : m_grouping == Grouping::kind ? row.kindOrder
                                                          : row.personOrder;
        groups[static_cast<std::size_t>(bucket)].rows.push_back(static_cast<int>(i));
    }
    m_groups.clear();
    const auto kinds = allCredentialKinds();
    for (std::size_t bucket = 0; bucket < groups.size(); ++bucket) {
        Group& group = groups[bucket];
        if (group.rows.empty()) continue;
        const int order = static_cast<int>(bucket);
        switch (m_grouping) {
        case Grouping::status:
            group.title = statusGroupTitle(order);
            group.key = QStringLiteral("status:%1").arg(order);
            break;
        case Grouping::kind:
            group.title = bucket < kinds.size()
                              ? QString::fromUtf8(displayName(kinds[bucket]).data(),
                                                  static_cast<qsizetype>(displayName(kinds[bucket]).size()))
                              : tr("Other kinds");
            group.key = QStringLiteral("kind:%1").arg(order);
            break;
        case Grouping::person:
            group.title = bucket < m_personNames.size() ? m_personNames[bucket] : tr("No one in this vault");
            group.key = QStringLiteral("person:") + group.title;
            break;
        }
        m_groups.push_back(std::move(group));
    }
}

const CredentialRow* CredentialListModel::credential(const QModelIndex& index) const {
    if (!index.isValid() || index.internalId() == kGroupRow) return nullptr;
    const auto& group = m_groups[index.internalId() - 1];
    return &m_rows[static_cast<std::size_t>(group.rows[static_cast<std::size_t>(index.row())])];
}

QModelIndex CredentialListModel::indexOf(const QString& credentialId) const {
    for (std::size_t g = 0; g < m_groups.size(); ++g) {
        const auto& rows = m_groups[g].rows;
        for (std::size_t r = 0; r < rows.size(); ++r)
            if (m_rows[static_cast<std::size_t>(rows[r])].id == credentialId)
                return createIndex(static_cast<int>(r), NameColumn, static_cast<quintptr>(g + 1));
    }
    return {};
}

QString CredentialListModel::groupKey(const QModelIndex& groupIndex) const {
    if (!groupIndex.isValid() || groupIndex.internalId() != kGroupRow) return {};
    return m_groups[static_cast<std::size_t>(groupIndex.row())].key;
}

QModelIndex CredentialListModel::index(int row, int column, const QModelIndex& parent) const {
    if (row < 0 || column < 0 || column >= ColumnCount) return {};
    if (!parent.isValid())
        return row < static_cast<int>(m_groups.size()) ? createIndex(row, column, kGroupRow) : QModelIndex();
    if (parent.internalId() != kGroupRow || parent.row() >= static_cast<int>(m_groups.size())) return {};
    const auto& group = m_groups[static_cast<std::size_t>(parent.row())];
    if (row >= static_cast<int>(group.rows.size())) return {};
    return createIndex(row, column, static_cast<quintptr>(parent.row()) + 1);
}

QModelIndex CredentialListModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == kGroupRow) return {};
    return createIndex(static_cast<int>(child.internalId() - 1), 0, kGroupRow);
}

int CredentialListModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return static_cast<int>(m_groups.size());
    if (parent.internalId() != kGroupRow || parent.column() != 0) return 0;
    return static_cast<int>(m_groups[static_cast<std::size_t>(parent.row())].rows.size());
}

int CredentialListModel::columnCount(const QModelIndex&) const { return ColumnCount; }

QVariant CredentialListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    if (const CredentialRow* row = credential(index)) return rowData(*row, index.column(), role);
    return groupData(m_groups[static_cast<std::size_t>(index.row())], index.column(), role);
}

QVariant CredentialListModel::groupData(const Group& group, int column, int role) const {
    switch (role) {
    case Qt::DisplayRole:
        if (column == NameColumn) return QStringLiteral("%1 · %2").arg(group.title).arg(group.rows.size());
        return {};
    case Qt::FontRole: {
        QFont font;
        font.setWeight(QFont::DemiBold);
        return font;
    }
    case IsGroupRole:
        return true;
    case GroupTitleRole:
        return group.title;
    default:
        return {};
    }
}

QVariant CredentialListModel::rowData(const CredentialRow& row, int column, int role) const {
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case NameColumn:
            return row.name;
        case PersonColumn:
            return row.person;
        case NumberColumn:
            return row.number;
        case ExpiresColumn:
            return row.expires;
        case DaysLeftColumn:
            return daysLeftText(row.daysLeft);
        case StatusColumn:
            return row.status;
        default:
            return {};
        }
    case Qt::ForegroundRole:
        if (column == DaysLeftColumn || column == StatusColumn) {
            const QColor color = colorOf(row.urgency);
            if (color.isValid()) return color;
        }
        return {};
    case Qt::DecorationRole:
        if (column == StatusColumn) return dot(row.urgency);
        return {};
    case Qt::ToolTipRole:
        // Narrow columns elide; the tip has the whole text.
        if (column == StatusColumn && !row.statusNote.isEmpty())
            return tr("%1 (recorded status: %2)").arg(row.status, row.statusNote);
        if (column == NameColumn || column == DaysLeftColumn || column == StatusColumn)
            return rowData(row, column, Qt::DisplayRole);
        return {};
    case IdRole:
        return row.id;
    case DaysLeftRole:
        return row.daysLeft;
    case UrgencyRole:
        return static_cast<int>(row.urgency);
    case IsGroupRole:
        return false;
    default:
        return {};
    }
}

QVariant CredentialListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
    case NameColumn:
        return tr("Name");
    case PersonColumn:
        return tr("Person");
    case NumberColumn:
        return tr("Number");
    case ExpiresColumn:
        return tr("Expires");
    case DaysLeftColumn:
        return tr("Days left");
    case StatusColumn:
        return tr("Status");
    default:
        return {};
    }
}

Qt::ItemFlags CredentialListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    if (index.internalId() == kGroupRow) return Qt::ItemIsEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

// ---------------------------------------------------------------- proxy

CredentialSortFilterProxy::CredentialSortFilterProxy(QObject* parent) : QSortFilterProxyModel(parent) {
    // A group stays while any of its credentials matches.
    setRecursiveFilteringEnabled(true);
}

void CredentialSortFilterProxy::setSearch(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed == m_search) return;
    m_search = trimmed;
    invalidateFilter();
}

const CredentialListModel* CredentialSortFilterProxy::credentials() const {
    return static_cast<const CredentialListModel*>(sourceModel());
}

bool CredentialSortFilterProxy::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const {
    if (m_search.isEmpty()) return true;
    const CredentialRow* row = credentials()->credential(credentials()->index(sourceRow, 0, sourceParent));
    if (!row) return false;
    const auto has = [&](const QString& field) { return field.contains(m_search, Qt::CaseInsensitive); };
    return has(row->name) || has(row->number) || has(row->person) ||
           row->state.compare(m_search, Qt::CaseInsensitive) == 0;
}

QVariant CredentialSortFilterProxy::data(const QModelIndex& index, int role) const {
    if (role == Qt::DisplayRole && index.column() == CredentialListModel::NameColumn && !m_search.isEmpty() &&
        QSortFilterProxyModel::data(index, CredentialListModel::IsGroupRole).toBool()) {
        const QModelIndex first = this->index(index.row(), 0);
        return QStringLiteral("%1 · %2").arg(first.data(CredentialListModel::GroupTitleRole).toString()).arg(rowCount(first));
    }
    return QSortFilterProxyModel::data(index, role);
}

bool CredentialSortFilterProxy::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    const CredentialRow* a = credentials()->credential(left);
    const CredentialRow* b = credentials()->credential(right);
    // Groups keep their order: a descending sort asks the reverse question, so answer it reversed.
    if (!a || !b) return sortOrder() == Qt::AscendingOrder ? left.row() < right.row() : left.row() > right.row();

    const auto byName = [&] {
        const int names = QString::compare(a->name, b->name, Qt::CaseInsensitive);
        return names != 0 ? names < 0 : a->personOrder < b->personOrder;
    };
    const auto byText = [&](const QString& x, const QString& y) {
        const int order = QString::compare(x, y, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : byName();
    };
    switch (left.column()) {
    case CredentialListModel::PersonColumn:
        return byText(a->person, b->person);
    case CredentialListModel::NumberColumn:
        return byText(a->number, b->number);
    case CredentialListModel::StatusColumn:
        if (a->urgency != b->urgency) return a->urgency < b->urgency;
        [[fallthrough]];
    case CredentialListModel::ExpiresColumn:
    case CredentialListModel::DaysLeftColumn:
        return a->daysLeft != b->daysLeft ? a->daysLeft < b->daysLeft : byName();
    default:
        return byName();
    }
}

}  // namespace corvale::app

#include "app/ActivityListModel.h"

#include "app/AppContext.h"
#include "app/CMECategories.h"
#include "requirements/Hours.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QApplication>
#include <QStyle>

#include <string_view>
#include <unordered_map>

namespace corvale::app {
namespace {

QString qText(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

int dayKey(const Day& day) { return day.year * 10000 + day.month * 100 + day.day; }

}  // namespace

ActivityListModel::ActivityListModel(QObject* parent) : QAbstractTableModel(parent) {}

void ActivityListModel::rebuild(const AppContext& context) {
    beginResetModel();
    m_rows.clear();
    const VaultDocument& doc = context.doc();
    std::unordered_map<std::string_view, QString> names;
    for (const corvale::Person* person : context.people()) names.emplace(person->id, qText(person->name));
    // A few dozen topics and categories recur across thousands of rows: name each once.
    std::unordered_map<std::string, QString> topicNames;
    std::unordered_map<std::string, QString> categoryNames;
    const auto& scope = context.store.scopePersonId();

    m_rows.reserve(doc.cme.size());
    for (std::size_t i = 0; i < doc.cme.size(); ++i) {
        const CMEActivity& activity = doc.cme[i];
        if (activity.deleted || (scope && activity.personId != *scope)) continue;
        const auto owner = names.find(activity.personId);
        if (owner == names.end()) continue;  // its person was removed
        Row row;
        row.id = qText(activity.id);
        row.personId = qText(activity.personId);
        row.dayKey = dayKey(activity.completedOn);
        row.title = qText(activity.title);
        row.provider = qText(activity.provider.value_or(""));
        row.hours = activity.hours;
        row.category = qText(activity.category);
        auto category = categoryNames.find(activity.category);
        if (category == categoryNames.end())
            category = categoryNames.emplace(activity.category, cmeCategoryName(activity.category)).first;
        row.categoryName = category->second;
        QStringList topics;
        for (const auto& key : activity.topics) {
            auto name = topicNames.find(key);
            if (name == topicNames.end()) name = topicNames.emplace(key, qText(context.requirements.topicName(key))).first;
            topics << name->second;
        }
        row.topics = topics.join(QStringLiteral(", "));
        row.person = owner->second;
        row.certificates = static_cast<int>(activity.documentIds.size());
        row.recordIndex = i;
        m_rows.push_back(std::move(row));
    }
    endResetModel();
}

int ActivityListModel::rowOf(const QString& activityId) const {
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        if (m_rows[i].id == activityId) return static_cast<int>(i);
    return -1;
}

int ActivityListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int ActivityListModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : ColumnCount; }

QVariant ActivityListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Row& r = row(index.row());
    switch (role) {
    case IdRole: return r.id;
    case CategoryRole: return r.category;
    case Qt::TextAlignmentRole:
        return index.column() == Hours ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::DecorationRole:
        if (index.column() == Certificate && r.certificates > 0)
            return QApplication::style()->standardIcon(QStyle::SP_FileIcon);
        return {};
    case Qt::ToolTipRole:
        if (index.column() == Certificate && r.certificates > 0)
            return r.certificates == 1 ? tr("Certificate attached") : tr("%1 certificates attached").arg(r.certificates);
        if (index.column() == Title || index.column() == Topics) return data(index, Qt::DisplayRole);
        return {};
    case Qt::AccessibleTextRole:
        if (index.column() == Certificate) return r.certificates > 0 ? tr("Certificate attached") : tr("No certificate");
        return data(index, Qt::DisplayRole);
    case SortRole:
        switch (index.column()) {
        case Completed: return r.dayKey;
        case Hours: return r.hours;
        case Certificate: return r.certificates;
        default: return data(index, Qt::DisplayRole).toString().toCaseFolded();
        }
    case Qt::DisplayRole:
        switch (index.column()) {
        // Formatted on demand: only the rows on screen ever are.
        case Completed: return qText(Day{r.dayKey / 10000, r.dayKey / 100 % 100, r.dayKey % 100}.shortFormatted());
        case Title: return r.title;
        case Provider: return r.provider;
        case Hours: return qText(hoursText(r.hours, HoursRounding::down));
        case Category: return r.categoryName;
        case Topics: return r.topics;
        case Person: return r.person;
        case Certificate: return r.certificates > 1 ? QString::number(r.certificates) : QString();
        default: return {};
        }
    default: return {};
    }
}

QVariant ActivityListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole)
        return section == Hours ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole) return {};
    switch (section) {
    case Completed: return tr("Completed");
    case Title: return tr("Title");
    case Provider: return tr("Provider");
    case Hours: return tr("Hours");
    case Category: return tr("Category");
    case Topics: return tr("Topics");
    case Person: return tr("Person");
    case Certificate: return role == Qt::AccessibleTextRole ? tr("Certificate") : QString();
    default: return {};
    }
}

ActivityFilterModel::ActivityFilterModel(ActivityListModel* source, QObject* parent)
    : QSortFilterProxyModel(parent), m_source(source) {
    setSourceModel(source);
    setSortRole(ActivityListModel::SortRole);
}

void ActivityFilterModel::setSearch(const QString& text) {
    m_search = text.trimmed();
    invalidateRowsFilter();
}

void ActivityFilterModel::setCategory(const QString& raw) {
    m_category = raw;
    invalidateRowsFilter();
}

void ActivityFilterModel::setPeriod(std::optional<int> fromKey, std::optional<int> toKey) {
    m_from = fromKey;
    m_to = toKey;
    invalidateRowsFilter();
}

void ActivityFilterModel::setMembers(std::optional<std::vector<bool>> members) {
    m_members = std::move(members);
    invalidateRowsFilter();
}

double ActivityFilterModel::totalHours() const {
    double total = 0;
    for (int i = 0; i < rowCount(); ++i) total += m_source->row(mapToSource(index(i, 0)).row()).hours;
    return total;
}

bool ActivityFilterModel::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    const auto& a = m_source->row(left.row());
    const auto& b = m_source->row(right.row());
    switch (left.column()) {
    case ActivityListModel::Completed: return a.dayKey < b.dayKey;
    case ActivityListModel::Hours: return a.hours < b.hours;
    case ActivityListModel::Certificate: return a.certificates < b.certificates;
    default: return QSortFilterProxyModel::lessThan(left, right);
    }
}

bool ActivityFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex&) const {
    const auto& row = m_source->row(sourceRow);
    if (m_members && (row.recordIndex >= m_members->size() || !(*m_members)[row.recordIndex])) return false;
    if (m_from && row.dayKey < *m_from) return false;
    if (m_to && row.dayKey > *m_to) return false;
    if (!m_category.isEmpty() && row.category != m_category) return false;
    if (!m_search.isEmpty() && !row.title.contains(m_search, Qt::CaseInsensitive) &&
        !row.provider.contains(m_search, Qt::CaseInsensitive))
        return false;
    return true;
}

}  // namespace corvale::app

#pragma once
// The credentials in view as a two-level tree: group rows (by status, kind or
// person) with credential rows under them. Rows are copied out of the
// document once per reload, so the model never holds on to records that a
// later edit may move; regrouping reuses them.

#ifndef Q_MOC_RUN
#include "requirements/CredentialStatus.h"
#endif

#include <QAbstractItemModel>
#include <QSortFilterProxyModel>
#include <QString>

#include <array>
#include <limits>
#include <vector>

// Kept out of this header: the meta-object compiler cannot read the records' C++20 headers.
namespace corvale {
struct Day;
struct VaultDocument;
}  // namespace corvale

namespace corvale::app {

using corvale::Urgency;

struct CredentialRow {
    static constexpr int kNoExpiry = std::numeric_limits<int>::max();

    QString id;
    QString name;
    QString person;
    QString number;
    QString state;  // the two-letter code
    QString expires;
    QString status;
    QString statusNote;  // the credential's own status text, if any
    int daysLeft = kNoExpiry;
    Urgency urgency = Urgency::undated;
    int kindOrder = 0;    // listing order of the kind; unknown kinds come last
    int personOrder = 0;  // the person's place in the vault
};

class CredentialListModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { NameColumn, PersonColumn, NumberColumn, ExpiresColumn, DaysLeftColumn, StatusColumn, ColumnCount };
    enum Role {
        IdRole = Qt::UserRole + 1,  // a credential's id; empty on group rows
        DaysLeftRole,               // signed days to the expiry; kNoExpiry without one
        UrgencyRole,                // int of Urgency
        IsGroupRole,
        GroupTitleRole,             // a group's title without its count
    };
    enum class Grouping { status, kind, person };

    explicit CredentialListModel(QObject* parent = nullptr);

    // Live credentials of live people; an empty scope shows everyone's.
    void reload(const VaultDocument& document, const Day& today, const QString& scopePersonId);
    void setGrouping(Grouping grouping);
    Grouping grouping() const { return m_grouping; }

    int credentialCount() const { return static_cast<int>(m_rows.size()); }
    int countOf(Urgency urgency) const { return m_counts[static_cast<std::size_t>(urgency)]; }
    // The credential at `index`, or null for a group row.
    const CredentialRow* credential(const QModelIndex& index) const;
    QModelIndex indexOf(const QString& credentialId) const;
    // Stable across reloads: what a view remembers to keep a group collapsed.
    QString groupKey(const QModelIndex& groupIndex) const;

    static QString daysLeftText(int daysLeft);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    struct Group {
        QString key;
        QString title;
        std::vector<int> rows;  // into m_rows
    };

    void regroup();
    QVariant groupData(const Group& group, int column, int role) const;
    QVariant rowData(const CredentialRow& row, int column, int role) const;

    Grouping m_grouping = Grouping::status;
    std::vector<CredentialRow> m_rows;
    std::vector<QString> m_personNames;  // by personOrder, for grouping by person
    std::vector<Group> m_groups;
    std::array<int, 5> m_counts{};  // by Urgency
};

// Sorts the rows inside each group while the groups keep their own order,
// and filters by what the search field holds.
class CredentialSortFilterProxy : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit CredentialSortFilterProxy(QObject* parent = nullptr);

    // Matches a credential's name, number, state or person, ignoring case.
    void setSearch(const QString& text);
    const QString& search() const { return m_search; }

    // A group's count is of the credentials the search leaves in it.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    const CredentialListModel* credentials() const;

    QString m_search;
};

}  // namespace corvale::app

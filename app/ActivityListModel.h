#pragma once
// The CME activities in view as a table, and the filters the CME screen puts
// over it. Rows are copied out of the document on each rebuild, so the model
// never points into records that a later change may move.

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>
#include <QString>

#include <cstddef>
#include <optional>
#include <vector>

namespace corvale::app {

struct AppContext;

class ActivityListModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Completed, Title, Provider, Hours, Category, Topics, Person, Certificate, ColumnCount };
    enum Role {
        IdRole = Qt::UserRole + 1,
        SortRole,      // a value that sorts the column the way it reads
        CategoryRole,  // the raw category text
    };

    struct Row {
        QString id;
        QString personId;
        int dayKey = 0;  // yyyymmdd, so days compare as numbers
        QString title;
        QString provider;
        double hours = 0;
        QString category;
        QString categoryName;
        QString topics;
        QString person;
        int certificates = 0;
        std::size_t recordIndex = 0;  // position in the document's activity list
    };

    explicit ActivityListModel(QObject* parent = nullptr);

    // The live activities of the people in scope. One pass over the records.
    void rebuild(const AppContext& context);
    const Row& row(int index) const { return m_rows[static_cast<std::size_t>(index)]; }
    // -1 when no row has that id.
    int rowOf(const QString& activityId) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    std::vector<Row> m_rows;
};

// Search text, category, period and the cycle of one licence, all at once.
class ActivityFilterModel : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit ActivityFilterModel(ActivityListModel* source, QObject* parent = nullptr);

    void setSearch(const QString& text);
    // Empty: every category.
    void setCategory(const QString& raw);
    // Inclusive yyyymmdd bounds; absent: no bound.
    void setPeriod(std::optional<int> fromKey, std::optional<int> toKey);
    // The document positions of the activities that count toward a licence;
    // absent: every activity.
    void setMembers(std::optional<std::vector<bool>> members);

    double totalHours() const;

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    // Straight from the rows: sorting tens of thousands through QVariant shows.
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    ActivityListModel* m_source;
    QString m_search;
    QString m_category;
    std::optional<int> m_from;
    std::optional<int> m_to;
    std::optional<std::vector<bool>> m_members;
};

}  // namespace corvale::app

#pragma once
// Continuing education: each state licence's current cycle, the activities
// logged, filtered by what they count toward, and the panel that logs them.

#include "app/Screen.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <cstddef>
#include <vector>

class QAbstractItemView;
class QBoxLayout;
class QComboBox;
class QFrame;
class QGridLayout;
class QLabel;
class QLineEdit;
class QTableView;

namespace corvale::app {

class ActivityEditor;
class ActivityFilterModel;
class ActivityListModel;
class UndoBar;

class CMEPage : public Screen {
    Q_OBJECT

public:
    explicit CMEPage(AppContext& context, QWidget* parent = nullptr);
    void reload() override;
    bool hasUnsavedEdits() const override;
    void leave(std::function<void()> then) override;
    bool settleBeforeLock() override;
    // Opens the editor for a new activity; with a licence id, its open topics
    // come ticked and the licence filter shows that licence.
    void logActivity(const QString& licenseId = QString());
    void editActivity(const QString& activityId);
    ActivityEditor* editor() const { return m_editor; }
    QAbstractItemView* view() const;

    // What the footer says about the activities shown.
    QString footerText() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Licence {
        QString personId;
        QString label;      // "Texas license", with the person's name in an office
        QString stateName;
        QStringList openTopics;  // their names, as suggestions for an activity logged toward it
        std::vector<std::size_t> members;  // positions in the document's activities inside the cycle
    };

    void layoutCards();
    void sizeColumns();
    void placeSearch();
    void fillLicenceFilter();
    void applyFilters();
    void updateFooter();
    void deleteActivity(const QString& activityId);
    void undoDelete(const QString& activityId);
    bool setActivityDeleted(const QString& activityId, bool deleted);
    void afterChange(const QString& confirmation);

    ActivityListModel* m_model = nullptr;
    ActivityFilterModel* m_filter = nullptr;
    QTableView* m_view = nullptr;
    ActivityEditor* m_editor = nullptr;
    QLabel* m_cardsHeading = nullptr;
    QGridLayout* m_cards = nullptr;
    QLineEdit* m_search = nullptr;
    QWidget* m_cardArea = nullptr;
    QWidget* m_listColumn = nullptr;
    QBoxLayout* m_searchRow = nullptr;
    QBoxLayout* m_filterRow = nullptr;
    QComboBox* m_category = nullptr;
    QComboBox* m_licence = nullptr;
    QComboBox* m_period = nullptr;
    UndoBar* m_undoBar = nullptr;
    QLabel* m_footer = nullptr;
    QLabel* m_empty = nullptr;
    QList<QWidget*> m_cardWidgets;
    QHash<QString, Licence> m_licences;  // by licence id
    QStringList m_licenceOrder;          // as the records list them
};

}  // namespace corvale::app

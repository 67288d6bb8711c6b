#pragma once
// Every credential of the people in view: licences, registrations,
// certifications, cards and policies, grouped and sorted by what needs the
// user first, with the editor open beside the list.

#include "app/Screen.h"

#include <QSet>

class QAbstractItemView;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QShortcut;
class QStackedWidget;
class QTreeView;

namespace corvale::app {

class CredentialEditor;
class CredentialListModel;
class CredentialSortFilterProxy;
class UndoBar;

class LicensesPage : public Screen {
    Q_OBJECT

public:
    explicit LicensesPage(AppContext& context, QWidget* parent = nullptr);

    void reload() override;
    bool hasUnsavedEdits() const override;
    void leave(std::function<void()> then) override;
    bool settleBeforeLock() override;
    void newCredential();
    void editCredential(const QString& credentialId);
    // Opens the editor to record a renewal: issue date today, expiry proposed from the kind's typical validity.
    void renewCredential(const QString& credentialId);
    // Opens the editor and the file dialog to attach a copy.
    void attachTo(const QString& credentialId);

    CredentialEditor* editor() const;  // for tests
    QAbstractItemView* view() const;   // for tests

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void sizeColumns();
    // With unsaved edits in the editor: asks first (or keeps them, for the
    // credential already open) and answers true; `open` runs after Save or Discard.
    bool askBeforeOpening(const QString& credentialId, const std::function<void()>& open);
    QString currentCredentialId() const;
    void select(const QString& credentialId);
    void openCurrent(const QModelIndex& index);
    void deleteCurrent();
    void undoDelete(const QString& deletedId);
    void searchChanged(const QString& text);
    void groupingChanged();
    void restoreExpansion();
    void updateSummary();
    void updateActions();
    void changedHere();

    CredentialListModel* m_model = nullptr;
    CredentialSortFilterProxy* m_proxy = nullptr;
    QLabel* m_summary = nullptr;
    QLineEdit* m_search = nullptr;
    QComboBox* m_grouping = nullptr;
    QPushButton* m_delete = nullptr;
    QPushButton* m_add = nullptr;
    UndoBar* m_undoBar = nullptr;
    QStackedWidget* m_body = nullptr;
    QTreeView* m_view = nullptr;
    QLabel* m_noMatch = nullptr;
    QLabel* m_emptyTitle = nullptr;
    QLabel* m_emptyText = nullptr;
    CredentialEditor* m_editor = nullptr;
    QSet<QString> m_collapsed;  // group keys the user folded away
    bool m_office = false;
};

}  // namespace corvale::app

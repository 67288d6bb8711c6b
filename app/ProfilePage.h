#pragma once
// The profile of the person in view: identity, enrolment numbers, practice,
// work history and facilities. Every save replaces the whole person through
// the store, so each one can be undone; the date of birth stays hidden until
// the device owner is confirmed.

#include "app/Screen.h"

#include <QString>

#include <memory>
#include <optional>
#include <string>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QScrollArea;
class QTableView;
class QFrame;
class QListView;
class QStandardItemModel;

namespace corvale::app {

class UnsavedEdits;

class ProfilePage : public Screen {
    Q_OBJECT

public:
    explicit ProfilePage(AppContext& context, QWidget* parent = nullptr);
    ~ProfilePage() override;

    void reload() override;
    bool hasUnsavedEdits() const override;
    void leave(std::function<void()> then) override;
    bool settleBeforeLock() override;

private:
    class RowsModel;

    QFrame* buildHeader(QWidget* content);
    QFrame* buildPersonal(QWidget* content);
    QFrame* buildPractice(QWidget* content);
    QFrame* buildWorkHistory(QWidget* content);
    QFrame* buildFacilities(QWidget* content);
    void fillForm();
    void fillLists();
    void fillHeader();
    void updateListButtons();
    void noteEdit();
    void setDirty(bool dirty);
    bool save();
    void undo();
    void showDateOfBirth();
    void hideDateOfBirth();

    void editWork(const std::optional<std::string>& id);
    // Scrolls an inline form that just opened into view.
    void reveal(QWidget* form);
    void saveWork();
    void removeWork();
    void editFacility(const std::optional<std::string>& id);
    void saveFacility();
    void removeFacility();

    UnsavedEdits* m_unsaved = nullptr;
    QString m_personId;
    bool m_dirty = false;
    bool m_filling = false;  // the form is being filled from the record, not typed in
    bool m_dobShown = false;

    QLabel* m_title = nullptr;
    QLabel* m_subtitle = nullptr;
    QPushButton* m_undo = nullptr;
    QPushButton* m_save = nullptr;
    QLabel* m_status = nullptr;

    QLineEdit* m_name = nullptr;
    QLabel* m_nameError = nullptr;
    QLineEdit* m_addressAs = nullptr;
    QComboBox* m_degree = nullptr;
    QLineEdit* m_specialty = nullptr;
    QLineEdit* m_npi = nullptr;
    QLabel* m_npiError = nullptr;
    QLineEdit* m_dob = nullptr;
    QPushButton* m_dobToggle = nullptr;
    QLabel* m_dobNote = nullptr;
    QLineEdit* m_email = nullptr;
    QLineEdit* m_phone = nullptr;
    QLineEdit* m_languages = nullptr;
    QLineEdit* m_taxonomy = nullptr;
    QLineEdit* m_caqhId = nullptr;
    QLineEdit* m_ptan = nullptr;
    QLineEdit* m_medicaidId = nullptr;
    QLineEdit* m_practiceAddress = nullptr;
    QLineEdit* m_practicePhone = nullptr;
    QPlainTextEdit* m_notes = nullptr;

    RowsModel* m_workModel = nullptr;
    QTableView* m_workTable = nullptr;
    QPushButton* m_workEdit = nullptr;
    QPushButton* m_workRemove = nullptr;
    QScrollArea* m_scroll = nullptr;
    QFrame* m_workForm = nullptr;
    std::optional<std::string> m_workEditing;  // absent: adding
    QLineEdit* m_employer = nullptr;
    QLineEdit* m_role = nullptr;
    QLineEdit* m_workFrom = nullptr;
    QLineEdit* m_workTo = nullptr;
    QLabel* m_workError = nullptr;

    RowsModel* m_facilityModel = nullptr;
    QTableView* m_facilityTable = nullptr;
    QPushButton* m_facilityEdit = nullptr;
    QPushButton* m_facilityRemove = nullptr;
    QFrame* m_facilityForm = nullptr;
    std::optional<std::string> m_facilityEditing;
    QLineEdit* m_facilityName = nullptr;
    QComboBox* m_facilityState = nullptr;
    QLineEdit* m_facilityStart = nullptr;
    QStandardItemModel* m_requiredModel = nullptr;
    QListView* m_required = nullptr;
    QLineEdit* m_contactEmail = nullptr;
    QLineEdit* m_facilityNotes = nullptr;
    QLabel* m_facilityError = nullptr;
};

}  // namespace corvale::app

#pragma once
// The panel beside the credential list that adds or edits one credential.
// Its fields follow the kind (and, for a nurse's licence, the person's
// degree). Saving writes only what the panel shows, so fields it does not
// know and an unknown kind's text survive an edit. Attaching a file to a
// saved credential takes effect at once; to a new one, when it is saved.

#include <QFrame>

#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QListView;
class QPlainTextEdit;
class QPushButton;
class QStandardItemModel;

namespace corvale::app {

struct AppContext;
class UnsavedEdits;

class CredentialEditor : public QFrame {
    Q_OBJECT

public:
    explicit CredentialEditor(AppContext& context, QWidget* parent = nullptr);
    ~CredentialEditor() override;

    void openNew();
    // False when no live credential has this id.
    bool openCredential(const QString& credentialId);
    // The same, with today as the issue date and the expiry the kind usually
    // has from it, ready to record a renewal.
    bool openRenewal(const QString& credentialId);
    bool isOpen() const { return !isHidden(); }
    // Empty while a new credential is being added.
    QString credentialId() const;

    // Checks every field; with a sentence beside each wrong one nothing is written.
    bool save();
    // Closes without writing; files attached to a credential never saved go too.
    void cancel();
    // Stores a copy of the file in the vault and attaches it.
    bool attachFile(const QString& path);
    // Asks for a file to attach without blocking (the dialog is a child of this panel).
    void chooseFileToAttach();

    // The sentence shown beside the field of that accessible name; empty when it is fine.
    QString errorFor(const QString& field) const;
    // The date the "Use …" suggestion would fill in; empty when none is offered.
    QString proposedExpiry() const;
    // Re-reads the people after records changed elsewhere.
    void refreshPeople();

    // Changes typed since the record was opened (a renewal's proposed dates are not the user's).
    bool hasUnsavedEdits() const;
    // See UnsavedEdits: `then` runs now, or after the user saves or discards.
    bool leave(std::function<void()> then);
    bool settleBeforeLock();
    UnsavedEdits* unsavedEdits() const { return m_unsaved; }

signals:
    void closed();
    void saved(const QString& credentialId);
    void recordsChanged();
    void notify(const QString& text);

private:
    struct State;

    void build();
    QWidget* section(const QString& title, QFormLayout*& form);
    QWidget* withError(QWidget* field, const QString& name);
    void load();
    void updateForKind();
    void updateSuggestion();
    void updateCompactNote();
    void setError(const QString& field, const QString& sentence);
    void clearErrors();
    void finish();
    void addStep();
    void removeStep();
    void openDocument();
    void detachDocument();
    // Where no program opens a document: asks where to keep a copy of it.
    void saveCopy();
    void showDocuments();
    QString chosenPersonId() const;

    AppContext& m_context;
    std::unique_ptr<State> m_state;

    QLabel* m_heading = nullptr;
    QLabel* m_subheading = nullptr;
    QLabel* m_saveError = nullptr;
    QFormLayout* m_main = nullptr;
    QComboBox* m_kind = nullptr;
    QComboBox* m_person = nullptr;
    QLineEdit* m_title = nullptr;
    QComboBox* m_stateBox = nullptr;
    QWidget* m_stateRow = nullptr;
    QLineEdit* m_number = nullptr;
    QLineEdit* m_issued = nullptr;
    QLineEdit* m_expires = nullptr;
    QPushButton* m_suggestion = nullptr;
    QLineEdit* m_status = nullptr;
    QLineEdit* m_issuer = nullptr;

    QWidget* m_malpracticeSection = nullptr;
    QLineEdit* m_carrier = nullptr;
    QLineEdit* m_policyNumber = nullptr;
    QLineEdit* m_limits = nullptr;
    QComboBox* m_coverage = nullptr;

    QWidget* m_schedulesSection = nullptr;
    std::vector<QCheckBox*> m_schedules;

    QWidget* m_nurseSection = nullptr;
    QFormLayout* m_nurse = nullptr;
    QCheckBox* m_compact = nullptr;
    QCheckBox* m_multistate = nullptr;
    QComboBox* m_homeState = nullptr;
    QLabel* m_compactNote = nullptr;
    QComboBox* m_licenseType = nullptr;
    QComboBox* m_aprnRole = nullptr;
    QComboBox* m_populationFocus = nullptr;

    QWidget* m_cycleSection = nullptr;
    QLineEdit* m_cycleStart = nullptr;
    QLineEdit* m_hoursOverride = nullptr;

    QLineEdit* m_renewalURL = nullptr;
    QLineEdit* m_fee = nullptr;
    QComboBox* m_leadDays = nullptr;
    QComboBox* m_stage = nullptr;
    QStandardItemModel* m_steps = nullptr;
    QListView* m_stepList = nullptr;
    QLineEdit* m_newStep = nullptr;

    QStandardItemModel* m_documents = nullptr;
    QListView* m_documentList = nullptr;
    QPushButton* m_openDocument = nullptr;
    QPushButton* m_detachDocument = nullptr;
    QPushButton* m_saveCopy = nullptr;

    QPlainTextEdit* m_notes = nullptr;

    UnsavedEdits* m_unsaved = nullptr;
    QStringList m_clean;  // the form as the record filled it
    void markClean();
};

}  // namespace corvale::app

#pragma once
// The panel beside the CME list where one activity is logged or changed. It
// works on a copy of the record and writes it back only on Save, so fields it
// does not show come through an edit unchanged.

#include <QStringList>
#include <QWidget>

#include <functional>
#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPlainTextEdit;
class QPushButton;
class QStandardItemModel;

namespace corvale::app {

struct AppContext;
class UnsavedEdits;

class ActivityEditor : public QWidget {
    Q_OBJECT

public:
    explicit ActivityEditor(AppContext& context, QWidget* parent = nullptr);
    ~ActivityEditor() override;

    // A blank activity for the person, with these topic keys ticked; `note`
    // says what it is being logged for.
    void startNew(const QString& personId, const QStringList& tickedTopics = {}, const QString& note = {});
    // False when no live activity has that id.
    bool startEdit(const QString& activityId);

    // Empty while a new activity is being logged.
    QString activityId() const;
    bool isEditing() const;
    // The topic keys listed, in the order shown, and those ticked.
    QStringList offeredTopics() const;
    QStringList tickedTopics() const;

    // Stores the file in the vault as a CME document and lists it on the activity.
    bool attachFile(const QString& path);

    // Changes made since the activity was opened, certificates included.
    bool hasUnsavedEdits() const;
    // See UnsavedEdits: `then` runs now, or after the user saves or discards.
    bool leave(std::function<void()> then);
    bool settleBeforeLock();
    UnsavedEdits* unsavedEdits() const { return m_unsaved; }

public slots:
    // Writes the activity when every field is valid; otherwise shows why and writes nothing.
    bool save();
    // Closes without writing; certificates attached meanwhile are removed again.
    void cancel();

signals:
    void saved(const QString& activityId, const QString& confirmation);
    void closed();
    void deleteRequested(const QString& activityId);
    // Certificates went into or out of the vault; the activity itself is unchanged until Save.
    void documentsChanged();

private:
    struct Draft;

    void load();
    void fillTopics(const QStringList& ticked);
    void fillCertificates();
    void clearErrors();
    void showError(QLabel* label, const QString& text);
    void chooseAttachment();
    void openCertificate();
    // Where no program opens a certificate: asks where to keep a copy of it.
    void saveCopy();
    void removeCertificate();
    // Drops the documents this session added that the activity no longer lists.
    void discardAttachments(bool all);
    void finish();

    AppContext& m_context;
    std::unique_ptr<Draft> m_draft;
    QLabel* m_heading = nullptr;
    QLabel* m_note = nullptr;
    QWidget* m_personRow = nullptr;
    QComboBox* m_person = nullptr;
    QLineEdit* m_title = nullptr;
    QLineEdit* m_provider = nullptr;
    QLineEdit* m_completed = nullptr;
    QLineEdit* m_hours = nullptr;
    QComboBox* m_category = nullptr;
    QListView* m_topicsView = nullptr;
    QStandardItemModel* m_topics = nullptr;
    QCheckBox* m_boardApproved = nullptr;
    QLineEdit* m_cost = nullptr;
    QPlainTextEdit* m_notes = nullptr;
    QListView* m_certificatesView = nullptr;
    QStandardItemModel* m_certificates = nullptr;
    QPushButton* m_open = nullptr;
    QPushButton* m_remove = nullptr;
    QPushButton* m_saveCopy = nullptr;
    QPushButton* m_delete = nullptr;
    QLabel* m_titleError = nullptr;
    QLabel* m_completedError = nullptr;
    QLabel* m_hoursError = nullptr;
    QLabel* m_costError = nullptr;
    QLabel* m_certificateError = nullptr;
    QLabel* m_saveError = nullptr;

    UnsavedEdits* m_unsaved = nullptr;
    QStringList m_clean;  // the form as the activity filled it
    void markClean();
};

}  // namespace corvale::app

#pragma once
// Every stored document with its kind, whose it is, when it came and whether it still needs review.
// Files dropped on the screen or picked are read on this machine and stored for review; choosing a
// document shows what it proposes (the licence, card or CME activity it belongs to, with the fields
// filled in), to correct and confirm. Copies stored twice can be removed.

#include "app/Screen.h"

#include <QStringList>

#include <memory>
#include <optional>

class QLabel;
class QComboBox;
class QFormLayout;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTreeWidget;

namespace corvale {
class TextRecognizer;
struct DocumentProposal;
}  // namespace corvale

namespace corvale::app {

class DocumentsPage : public Screen {
    Q_OBJECT

public:
    explicit DocumentsPage(AppContext& context, QWidget* parent = nullptr);
    ~DocumentsPage() override;

    void reload() override;
    // Reads and stores each file for review; answers the problems, one line per refused file.
    QStringList importFiles(const QStringList& paths);
    // Shows the document's proposal beside the list; false when no live document has that id.
    bool showDocument(const QString& id);
    // Confirms what the review form holds; false with the problem shown when a value is refused.
    bool confirm();
    void removeDuplicates();

    // For tests: the next file dialog answers with these instead of asking.
    void answerNextFileDialog(const QStringList& paths) { m_nextFiles = paths; }
    QTreeWidget* list() const { return m_list; }
    QLineEdit* field(const QString& name) const;
    // Which record a credential's document is filed with: the id of one of the person's credentials, or "new".
    QComboBox* fileWith() const { return m_fileWith; }
    QString proposalText() const;
    // Whether the chosen document's first page is drawn beside the form.
    bool showsPicture() const;
    QString errorText() const;
    QPushButton* duplicatesButton() const { return m_duplicates; }

protected:
    void showEvent(QShowEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void pickFiles();
    void showSelected();
    void clearReview();

    std::unique_ptr<TextRecognizer> m_recognizer;
    std::unique_ptr<DocumentProposal> m_proposal;
    QLabel* m_caption = nullptr;
    QPushButton* m_add = nullptr;
    QPushButton* m_duplicates = nullptr;
    QLabel* m_problems = nullptr;
    QTreeWidget* m_list = nullptr;
    QWidget* m_review = nullptr;
    QLabel* m_picture = nullptr;
    QLabel* m_target = nullptr;
    QFormLayout* m_fields = nullptr;
    QComboBox* m_fileWith = nullptr;
    QLabel* m_error = nullptr;
    QPushButton* m_confirm = nullptr;
    QPushButton* m_showText = nullptr;
    QPlainTextEdit* m_text = nullptr;
    std::optional<QStringList> m_nextFiles;
    bool m_stale = true;  // the records changed while the screen was out of view
};

}  // namespace corvale::app

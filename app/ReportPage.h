#pragma once
// The readiness report for whoever is in view (one person, or everyone): shown
// as it will print, and saved as the same PDF `corvale report` writes.

#include "app/Screen.h"

#include <QString>

#include <optional>

class QLabel;
class QPushButton;
class QTextBrowser;

namespace corvale::app {

class ReportPage : public Screen {
    Q_OBJECT

public:
    explicit ReportPage(AppContext& context, QWidget* parent = nullptr);

    void reload() override;
    // Writes the PDF to `path` at once, replacing any file there; false with the problem shown when it can't.
    bool saveTo(const QString& path);

    // For tests: the next file dialog answers with this instead of asking.
    void answerNextFileDialog(const QString& path) { m_nextFile = path; }
    QString previewText() const;
    QString errorText() const;
    QPushButton* saveButton() const { return m_save; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void save();

    QLabel* m_whose = nullptr;
    QTextBrowser* m_preview = nullptr;
    QPushButton* m_save = nullptr;
    QLabel* m_error = nullptr;
    std::optional<QString> m_nextFile;
    bool m_stale = true;  // the records changed while the screen was out of view
};

}  // namespace corvale::app

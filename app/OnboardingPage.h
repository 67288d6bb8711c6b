#pragma once
// The first start on a device, with three ways in: create a vault (who it is
// for, their states and the credentials they already hold), join one made on
// another device from its folder and key file, or restore a backup.

#include <QWidget>

#include <memory>
#include <string>
#include <utility>
#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;

namespace corvale {
struct Onboarding;
}  // namespace corvale

namespace corvale::app {

class OnboardingPage : public QWidget {
    Q_OBJECT

public:
    explicit OnboardingPage(QWidget* parent = nullptr);
    ~OnboardingPage() override;

    // What the form last submitted.
    const Onboarding& onboarding() const { return *m_submitted; }

    enum class Way { create, join, restore };
    void showWay(Way way);
    // Puts the keyboard in the first field of the form in view, as the page opens.
    void focusFirstField();
    Way way() const;
    // Hidden while a vault file waits here for its key: a new vault would strand it.
    void setCreateOffered(bool offered);
    bool createOffered() const;
    // A standing note above the ways in, such as why only some are offered.
    void showNotice(const QString& notice);
    QString noticeText() const;

    // Shows why the vault could not be made, joined or restored, on the form
    // in view; the form keeps what was typed.
    void showError(const QString& message);

signals:
    // onboarding() holds the owner, states and first credentials, checked.
    void createRequested();
    // The folder holds the vault file and its key file.
    void joinRequested(const QString& folder, const QString& passphrase);
    void restoreRequested(const QString& archive, const QString& passphrase);

private:
    QWidget* makeCreateForm();
    QWidget* makeJoinForm();
    QWidget* makeRestoreForm();
    QLabel* makeErrorLabel(QWidget* parent);
    void submit();
    void submitJoin();
    void submitRestore();

    QLineEdit* m_name = nullptr;
    QComboBox* m_degree = nullptr;
    QLineEdit* m_specialty = nullptr;
    QLineEdit* m_npi = nullptr;
    QComboBox* m_primaryState = nullptr;
    QLineEdit* m_otherStates = nullptr;
    QCheckBox* m_managerOnly = nullptr;
    std::vector<std::pair<QCheckBox*, std::string>> m_quickList;  // box and the kind it adds
    QLineEdit* m_joinFolder = nullptr;
    QLineEdit* m_joinPassphrase = nullptr;
    QLineEdit* m_backupFile = nullptr;
    QLineEdit* m_backupPassphrase = nullptr;
    std::vector<QPushButton*> m_wayButtons;
    QLabel* m_notice = nullptr;
    QStackedWidget* m_forms = nullptr;
    std::vector<QLabel*> m_errors;  // one per form, in Way order
    std::unique_ptr<Onboarding> m_submitted;
};

}  // namespace corvale::app

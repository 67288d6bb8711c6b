#pragma once
// The first start on a device: who the vault is for, their states and the
// credentials they already hold.

#include <QWidget>

#include <memory>
#include <string>
#include <utility>
#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

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

    // Shows why the vault could not be made; the form keeps what was typed.
    void showError(const QString& message);

signals:
    // onboarding() holds the owner, states and first credentials, checked.
    void createRequested();

private:
    void submit();

    QLineEdit* m_name = nullptr;
    QComboBox* m_degree = nullptr;
    QLineEdit* m_specialty = nullptr;
    QLineEdit* m_npi = nullptr;
    QComboBox* m_primaryState = nullptr;
    QLineEdit* m_otherStates = nullptr;
    QCheckBox* m_managerOnly = nullptr;
    std::vector<std::pair<QCheckBox*, std::string>> m_quickList;  // box and the kind it adds
    QLabel* m_error = nullptr;
    std::unique_ptr<Onboarding> m_submitted;
};

}  // namespace corvale::app

#include "app/OnboardingPage.h"

#include "app/Theme.h"
#include "records/AsciiCase.h"
#include "records/NPI.h"
#include "requirements/USState.h"
#include "vault/VaultStore.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QVBoxLayout>

#include <algorithm>

namespace corvale::app {
namespace {

// Credentials most clinicians hold besides their licences, offered as one tick each.
constexpr std::pair<const char*, const char*> kQuickList[] = {
    {"dea", "DEA registration"},   {"boardCertification", "Board certification"},
    {"bls", "BLS card"},           {"acls", "ACLS card"},
    {"malpractice", "Malpractice insurance"}, {"caqh", "CAQH attestation"},
};

QString text(std::string_view value) { return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())); }

}  // namespace

OnboardingPage::OnboardingPage(QWidget* parent) : QWidget(parent), m_submitted(std::make_unique<Onboarding>()) {
    setObjectName(QStringLiteral("page"));
    setAttribute(Qt::WA_StyledBackground, true);

    auto* title = makeLabel(tr("Welcome to Corvale"), "title", this);
    scaleFont(title, 2.0, QFont::DemiBold);
    auto* tagline = makeLabel(tr("Your licences, CME and documents, in an encrypted vault on this computer. "
                                 "Start with who it's for; you can add everything else later."),
                              "caption", this);
    scaleFont(tagline, 1.1);

    auto* card = new QFrame(this);
    card->setObjectName(QStringLiteral("card"));
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(10);

    m_name = new QLineEdit(card);
    m_name->setPlaceholderText(tr("Full name, as on your licence"));
    m_name->setAccessibleName(tr("Name"));
    form->addRow(tr("Name"), m_name);

    m_degree = new QComboBox(card);
    m_degree->setAccessibleName(tr("Degree"));
    for (const Degree degree : allDegrees()) m_degree->addItem(text(displayName(degree)), text(rawValue(degree)));
    form->addRow(tr("Degree"), m_degree);

    m_specialty = new QLineEdit(card);
    m_specialty->setPlaceholderText(tr("Family medicine, emergency nursing..."));
    m_specialty->setAccessibleName(tr("Specialty"));
    form->addRow(tr("Specialty"), m_specialty);

    m_npi = new QLineEdit(card);
    m_npi->setPlaceholderText(tr("10 digits, optional"));
    m_npi->setMaxLength(10);
    m_npi->setAccessibleName(tr("NPI"));
    form->addRow(tr("NPI"), m_npi);

    m_primaryState = new QComboBox(card);
    m_primaryState->setAccessibleName(tr("Primary state"));
    m_primaryState->addItem(tr("None"), QString());
    for (const USState& state : USState::all()) {
        m_primaryState->addItem(text(state.name) + QStringLiteral(" (") + text(state.code) + QStringLiteral(")"),
                                text(state.code));
    }
    form->addRow(tr("Primary state"), m_primaryState);

    m_otherStates = new QLineEdit(card);
    m_otherStates->setPlaceholderText(tr("Other licence states, like NY, NJ"));
    m_otherStates->setAccessibleName(tr("Other states"));
    form->addRow(tr("Other states"), m_otherStates);

    auto* quick = new QGridLayout;
    quick->setHorizontalSpacing(18);
    int index = 0;
    for (const auto& [kind, label] : kQuickList) {
        auto* box = new QCheckBox(tr(label), card);
        quick->addWidget(box, index / 3, index % 3);
        m_quickList.emplace_back(box, kind);
        ++index;
    }
    form->addRow(tr("You also hold"), quick);

    m_managerOnly = new QCheckBox(tr("I only manage others' credentials and hold no licence myself"), card);
    form->addRow(QString(), m_managerOnly);

    m_error = makeLabel(QString(), "error", card);
    m_error->setVisible(false);
    m_error->setAccessibleName(tr("Problem"));

    auto* create = new QPushButton(tr("Create vault"), card);
    create->setObjectName(QStringLiteral("primary"));
    create->setDefault(true);
    connect(create, &QPushButton::clicked, this, &OnboardingPage::submit);
    connect(m_name, &QLineEdit::returnPressed, this, &OnboardingPage::submit);
    // A problem stays on screen only until the user starts to fix it.
    for (QLineEdit* field : {m_name, m_specialty, m_npi, m_otherStates}) {
        connect(field, &QLineEdit::textEdited, this, [this] { showError(QString()); });
    }

    auto* cardLayout = new QVBoxLayout(card);
    cardLayout->setContentsMargins(28, 24, 28, 24);
    cardLayout->addLayout(form);
    cardLayout->addSpacing(8);
    cardLayout->addWidget(m_error);
    cardLayout->addWidget(create, 0, Qt::AlignRight);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(64, 48, 64, 40);
    layout->setSpacing(8);
    layout->addWidget(title);
    layout->addWidget(tagline);
    layout->addSpacing(20);
    layout->addWidget(card);
    layout->addStretch(1);
    setMaximumWidth(QWIDGETSIZE_MAX);
}

OnboardingPage::~OnboardingPage() = default;

void OnboardingPage::showError(const QString& message) {
    m_error->setText(message);
    m_error->setVisible(!message.isEmpty());
}

void OnboardingPage::submit() {
    Onboarding onboarding;
    onboarding.owner.name = m_name->text().trimmed().toStdString();
    if (onboarding.owner.name.empty()) {
        showError(tr("Enter your name, so the vault knows whose records these are."));
        m_name->setFocus();
        return;
    }
    const QString npi = m_npi->text().trimmed();
    if (!npi.isEmpty() && !isValidNPI(npi.toStdString())) {
        showError(QString::fromUtf8(kInvalidNPIMessage.data(), static_cast<qsizetype>(kInvalidNPIMessage.size())));
        m_npi->setFocus();
        return;
    }
    if (!npi.isEmpty()) onboarding.owner.npi = npi.toStdString();
    onboarding.owner.degree = m_degree->currentData().toString().toStdString();
    if (const QString specialty = m_specialty->text().trimmed(); !specialty.isEmpty()) {
        onboarding.owner.specialty = specialty.toStdString();
    }
    onboarding.owner.isSelf = true;

    if (const QString primary = m_primaryState->currentData().toString(); !primary.isEmpty()) {
        onboarding.states.push_back(primary.toStdString());
    }
    for (QString piece : m_otherStates->text().split(QRegularExpression(QStringLiteral("[,;\\s]+")), Qt::SkipEmptyParts)) {
        const std::string code = asciiUpper(piece.toStdString());
        if (!USState::find(code)) {
            showError(QString::fromStdString(notAState(piece.toStdString())));
            m_otherStates->setFocus();
            return;
        }
        if (std::find(onboarding.states.begin(), onboarding.states.end(), code) == onboarding.states.end()) {
            onboarding.states.push_back(code);
        }
    }
    onboarding.managerOnly = m_managerOnly->isChecked();
    for (const auto& [box, kind] : m_quickList) {
        if (!box->isChecked()) continue;
        Credential credential;
        credential.kind = kind;
        onboarding.credentials.push_back(std::move(credential));
    }
    showError(QString());
    *m_submitted = std::move(onboarding);
    emit createRequested();
}

}  // namespace corvale::app

#include "app/OnboardingPage.h"

#include "app/FormParts.h"
#include "app/Theme.h"
#include "records/AsciiCase.h"
#include "records/NPI.h"
#include "records/USState.h"
#include "vault/VaultStore.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>

namespace corvale::app {
namespace {

// Credentials most clinicians hold besides their licences, offered as one tick each.
constexpr std::pair<const char*, const char*> kQuickList[] = {
    {"dea", "DEA registration"}, {"boardCertification", "Board certification"}, {"bls", "BLS card"},
    {"acls", "ACLS card"},       {"malpractice", "Malpractice insurance"},      {"caqh", "CAQH attestation"},
};

QString text(std::string_view value) { return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())); }

}  // namespace

OnboardingPage::OnboardingPage(QWidget* parent) : QWidget(parent), m_submitted(std::make_unique<Onboarding>()) {
    setObjectName(QStringLiteral("page"));
    setAttribute(Qt::WA_StyledBackground, true);

    auto* title = makeLabel(tr("Welcome to Corvale"), "title", this);
    scaleFont(title, 2.0, QFont::DemiBold);
    auto* tagline =
        makeLabel(tr("Your licences, CME and documents, in an encrypted vault on this computer."), "caption", this);
    scaleFont(tagline, 1.1);

    // Three ways in, as a segmented choice above the one form in view.
    auto* ways = new QHBoxLayout;
    ways->setSpacing(0);
    const std::pair<Way, QString> choices[] = {{Way::create, tr("Create a new vault")},
                                               {Way::join, tr("Join from another device")},
                                               {Way::restore, tr("Restore a backup")}};
    for (const auto& [way, label] : choices) {
        auto* button = new QPushButton(label, this);
        button->setObjectName(QStringLiteral("segment"));
        button->setCheckable(true);
        button->setAutoExclusive(true);
        connect(button, &QPushButton::clicked, this, [this, way = way] { showWay(way); });
        ways->addWidget(button);
        m_wayButtons.push_back(button);
    }
    ways->addStretch(1);

    m_forms = new QStackedWidget(this);
    m_forms->addWidget(makeCreateForm());
    m_forms->addWidget(makeJoinForm());
    m_forms->addWidget(makeRestoreForm());

    // A readable column, centred, however wide the window is.
    auto* column = new QWidget(this);
    column->setMinimumWidth(720);
    column->setMaximumWidth(880);
    column->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto* outer = new QHBoxLayout(this);
    outer->setContentsMargins(48, 48, 48, 40);
    outer->addWidget(column, 1, Qt::AlignHCenter);
    layout->addWidget(title);
    layout->addWidget(tagline);
    m_notice = makeLabel(QString(), "notice", column);
    m_notice->setWordWrap(true);
    m_notice->setVisible(false);
    layout->addWidget(m_notice);
    layout->addSpacing(16);
    layout->addLayout(ways);
    layout->addSpacing(8);
    layout->addWidget(m_forms);
    layout->addStretch(1);
    showWay(Way::create);
}

QLabel* OnboardingPage::makeErrorLabel(QWidget* parent) {
    auto* error = makeLabel(QString(), "error", parent);
    error->setVisible(false);
    setHandle(error, tr("Problem"));
    m_errors.push_back(error);
    return error;
}

QWidget* OnboardingPage::makeCreateForm() {
    auto* card = new QFrame(this);
    card->setObjectName(QStringLiteral("card"));
    auto* intro = makeLabel(tr("Start with who it's for; you can add everything else later."), "caption", card);
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

    auto* error = makeErrorLabel(card);
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
    cardLayout->addWidget(intro);
    cardLayout->addSpacing(6);
    cardLayout->addLayout(form);
    cardLayout->addSpacing(8);
    // The problem shows under the button, so the button stays where it was pressed.
    cardLayout->addWidget(create, 0, Qt::AlignRight);
    cardLayout->addWidget(error);
    return card;
}

namespace {

// A path field with a button that fills it from the system's file chooser.
QLineEdit* pathRow(QFormLayout* form, const QString& label, const QString& placeholder, QWidget* parent,
                   std::function<QString()> choose) {
    auto* row = new QHBoxLayout;
    auto* edit = new QLineEdit(parent);
    edit->setPlaceholderText(placeholder);
    edit->setAccessibleName(label);
    auto* browse = new QPushButton(QObject::tr("Choose…"), parent);
    browse->setAccessibleName(label + QObject::tr(": choose"));
    QObject::connect(browse, &QPushButton::clicked, edit, [edit, choose = std::move(choose)] {
        if (const QString chosen = choose(); !chosen.isEmpty()) edit->setText(chosen);
    });
    row->addWidget(edit, 1);
    row->addWidget(browse);
    form->addRow(label, row);
    return edit;
}

QLineEdit* passphraseRow(QFormLayout* form, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setEchoMode(QLineEdit::Password);
    edit->setAccessibleName(QObject::tr("Passphrase"));
    form->addRow(QObject::tr("Passphrase"), edit);
    return edit;
}

QFormLayout* smallForm() {
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(10);
    return form;
}

QFrame* formCard(QWidget* parent, const QString& intro, QFormLayout* form, QLabel* error, QPushButton* action) {
    auto* card = new QFrame(parent);
    card->setObjectName(QStringLiteral("card"));
    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(28, 24, 28, 24);
    layout->addWidget(makeLabel(intro, "caption", card));
    layout->addSpacing(6);
    layout->addLayout(form);
    layout->addSpacing(8);
    layout->addWidget(action, 0, Qt::AlignRight);
    layout->addWidget(error);
    return card;
}

}  // namespace

QWidget* OnboardingPage::makeJoinForm() {
    auto* holder = new QWidget(this);
    auto* form = smallForm();
    m_joinFolder = pathRow(form, tr("Vault folder"), tr("The folder holding vault.pbv and vault.key"), holder,
                           [this] { return QFileDialog::getExistingDirectory(this, tr("Choose the vault folder")); });
    m_joinPassphrase = passphraseRow(form, holder);
    auto* join = new QPushButton(tr("Join vault"), holder);
    join->setObjectName(QStringLiteral("primary"));
    connect(join, &QPushButton::clicked, this, &OnboardingPage::submitJoin);
    connect(m_joinPassphrase, &QLineEdit::returnPressed, this, &OnboardingPage::submitJoin);
    auto* card = formCard(holder,
                          tr("On the other device, export the key file from Settings and copy it into the vault "
                             "folder. Then choose that folder here and enter the key file's passphrase."),
                          form, makeErrorLabel(holder), join);
    auto* layout = new QVBoxLayout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(card);
    layout->addStretch(1);
    for (QLineEdit* field : {m_joinFolder, m_joinPassphrase})
        connect(field, &QLineEdit::textEdited, this, [this] { showError(QString()); });
    return holder;
}

QWidget* OnboardingPage::makeRestoreForm() {
    auto* holder = new QWidget(this);
    auto* form = smallForm();
    m_backupFile = pathRow(form, tr("Backup file"), tr("Corvale Backup ….pbbackup"), holder, [this] {
        return QFileDialog::getOpenFileName(this, tr("Choose a backup"), QString(),
                                            tr("Corvale backups (*.pbbackup);;All files (*)"));
    });
    m_backupPassphrase = passphraseRow(form, holder);
    auto* restore = new QPushButton(tr("Restore backup"), holder);
    restore->setObjectName(QStringLiteral("primary"));
    connect(restore, &QPushButton::clicked, this, &OnboardingPage::submitRestore);
    connect(m_backupPassphrase, &QLineEdit::returnPressed, this, &OnboardingPage::submitRestore);
    auto* card = formCard(holder,
                          tr("Choose a backup made from Settings and enter the passphrase it was made with. "
                             "Its records and documents become this device's vault."),
                          form, makeErrorLabel(holder), restore);
    auto* layout = new QVBoxLayout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(card);
    layout->addStretch(1);
    for (QLineEdit* field : {m_backupFile, m_backupPassphrase})
        connect(field, &QLineEdit::textEdited, this, [this] { showError(QString()); });
    return holder;
}

OnboardingPage::~OnboardingPage() = default;

void OnboardingPage::showWay(Way way) {
    const auto index = static_cast<int>(way);
    m_forms->setCurrentIndex(index);
    m_wayButtons.at(static_cast<std::size_t>(index))->setChecked(true);
}

void OnboardingPage::focusFirstField() {
    switch (way()) {
    case Way::create: m_name->setFocus(); break;
    case Way::join: m_joinFolder->setFocus(); break;
    case Way::restore: m_backupFile->setFocus(); break;
    }
}

void OnboardingPage::setCreateOffered(bool offered) {
    m_wayButtons.at(static_cast<std::size_t>(Way::create))->setVisible(offered);
}

bool OnboardingPage::createOffered() const {
    return m_wayButtons.at(static_cast<std::size_t>(Way::create))->isVisibleTo(this);
}

void OnboardingPage::showNotice(const QString& notice) {
    m_notice->setText(notice);
    m_notice->setVisible(!notice.isEmpty());
}

QString OnboardingPage::noticeText() const { return m_notice->isVisibleTo(this) ? m_notice->text() : QString(); }

OnboardingPage::Way OnboardingPage::way() const { return static_cast<Way>(m_forms->currentIndex()); }

void OnboardingPage::showError(const QString& message) {
    showMessage(m_errors.at(static_cast<std::size_t>(m_forms->currentIndex())), message);
}

void OnboardingPage::submitJoin() {
    const QString folder = m_joinFolder->text().trimmed();
    if (folder.isEmpty()) {
        showError(tr("Choose the folder that holds the vault and its key file."));
        m_joinFolder->setFocus();
        return;
    }
    if (m_joinPassphrase->text().isEmpty()) {
        showError(tr("Enter the passphrase the key file was made with."));
        m_joinPassphrase->setFocus();
        return;
    }
    showError(QString());
    emit joinRequested(folder, m_joinPassphrase->text());
    m_joinPassphrase->clear();  // used once; a retry is typed again
}

void OnboardingPage::submitRestore() {
    const QString file = m_backupFile->text().trimmed();
    if (file.isEmpty()) {
        showError(tr("Choose the backup file to restore."));
        m_backupFile->setFocus();
        return;
    }
    if (m_backupPassphrase->text().isEmpty()) {
        showError(tr("Enter the passphrase the backup was made with."));
        m_backupPassphrase->setFocus();
        return;
    }
    showError(QString());
    emit restoreRequested(file, m_backupPassphrase->text());
    m_backupPassphrase->clear();
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
    for (QString piece :
         m_otherStates->text().split(QRegularExpression(QStringLiteral("[,;\\s]+")), Qt::SkipEmptyParts)) {
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

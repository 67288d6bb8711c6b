#include "app/StartProblemPage.h"

#include "app/FormParts.h"
#include "app/Theme.h"

#include <QFrame>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvale::app {

StartProblemPage::StartProblemPage(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("page"));
    setAttribute(Qt::WA_StyledBackground, true);

    auto* card = new QFrame(this);
    card->setObjectName(QStringLiteral("card"));
    card->setFixedWidth(460);
    auto* title = makeLabel(tr("Corvale couldn't open your vault"), "title", card);
    scaleFont(title, 1.4, QFont::DemiBold);
    title->setAlignment(Qt::AlignCenter);
    m_message = makeLabel(QString(), "error", card);
    m_message->setAlignment(Qt::AlignCenter);
    m_message->setWordWrap(true);
    m_retry = new QPushButton(tr("Try again"), card);
    m_retry->setObjectName(QStringLiteral("primary"));
    m_retry->setDefault(true);
    m_forward = new QPushButton(tr("Bring the other window forward"), card);
    m_forward->setToolTip(tr("Show the Corvale window that has this vault open"));
    m_restore = new QPushButton(tr("Restore a backup…"), card);
    m_restore->setToolTip(tr("Replace the unreadable vault with a backup, once the backup is checked"));
    m_join = new QPushButton(tr("Join from another device…"), card);
    m_join->setToolTip(tr("Replace the unreadable vault with another device's, once its key file opens it"));
    m_erase = new QPushButton(tr("Erase this vault…"), card);
    m_erase->setToolTip(tr("Remove the unreadable vault and start over"));
    connect(m_retry, &QPushButton::clicked, this, &StartProblemPage::retryRequested);
    connect(m_forward, &QPushButton::clicked, this, &StartProblemPage::forwardRequested);
    connect(m_restore, &QPushButton::clicked, this, &StartProblemPage::restoreRequested);
    connect(m_join, &QPushButton::clicked, this, &StartProblemPage::joinRequested);
    connect(m_erase, &QPushButton::clicked, this, &StartProblemPage::confirmErase);

    auto* cardLayout = new QVBoxLayout(card);
    cardLayout->setContentsMargins(32, 32, 32, 28);
    cardLayout->setSpacing(12);
    cardLayout->addWidget(title);
    cardLayout->addWidget(m_message);
    cardLayout->addWidget(m_forward, 0, Qt::AlignHCenter);
    cardLayout->addWidget(m_retry, 0, Qt::AlignHCenter);
    cardLayout->addWidget(m_restore, 0, Qt::AlignHCenter);
    cardLayout->addWidget(m_join, 0, Qt::AlignHCenter);
    cardLayout->addWidget(m_erase, 0, Qt::AlignHCenter);

    centreCard(this, card);
}

void StartProblemPage::showProblem(const QString& message, bool unreadable, bool holderAnswers) {
    m_message->setText(message);
    m_forward->setVisible(holderAnswers);
    m_restore->setVisible(unreadable);
    m_join->setVisible(unreadable);
    m_erase->setVisible(unreadable);
    if (holderAnswers)
        m_forward->setFocus();
    else
        m_retry->setFocus();
}

QString StartProblemPage::message() const { return m_message->text(); }

void StartProblemPage::confirmErase() {
    const auto answer = QMessageBox::warning(
        this, tr("Erase this vault?"),
        tr("Erasing removes the vault file and its key from this device for good, so restore a backup instead if "
           "you have one."),
        QMessageBox::Cancel | QMessageBox::Discard, QMessageBox::Cancel);
    if (answer == QMessageBox::Discard) emit eraseRequested();
}

}  // namespace corvale::app

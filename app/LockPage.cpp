#include "app/LockPage.h"

#include "app/FormParts.h"
#include "app/Theme.h"

#include <QFrame>
#include <QInputDialog>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvale::app {

LockPage::LockPage(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("page"));
    setAttribute(Qt::WA_StyledBackground, true);

    auto* card = new QFrame(this);
    card->setObjectName(QStringLiteral("card"));
    card->setFixedWidth(420);
    auto* title = makeLabel(tr("Corvale is locked"), "title", card);
    scaleFont(title, 1.6, QFont::DemiBold);
    title->setAlignment(Qt::AlignCenter);
    auto* detail =
        makeLabel(tr("Your records stay sealed until you unlock with your account password."), "detail", card);
    detail->setAlignment(Qt::AlignCenter);
    m_error = makeLabel(QString(), "error", card);
    m_error->setAlignment(Qt::AlignCenter);
    m_error->setVisible(false);
    m_notice = makeLabel(QString(), "notice", card);
    m_notice->setAlignment(Qt::AlignCenter);
    m_notice->setWordWrap(true);
    m_notice->setVisible(false);
    m_unlock = new QPushButton(tr("Unlock"), card);
    m_unlock->setObjectName(QStringLiteral("primary"));
    m_unlock->setDefault(true);
    m_unlock->setAccessibleName(tr("Unlock Corvale"));
    connect(m_unlock, &QPushButton::clicked, this, &LockPage::unlockRequested);

    auto* cardLayout = new QVBoxLayout(card);
    cardLayout->setContentsMargins(32, 32, 32, 14);  // the error line below the button is kept, and fills out the bottom
    cardLayout->setSpacing(12);
    cardLayout->addWidget(title);
    cardLayout->addWidget(detail);
    cardLayout->addWidget(m_notice);
    cardLayout->addWidget(m_unlock, 0, Qt::AlignHCenter);
    // Under the button, and its line kept while hidden: the centred card keeps its size.
    QSizePolicy keep = m_error->sizePolicy();
    keep.setRetainSizeWhenHidden(true);
    m_error->setSizePolicy(keep);
    m_error->setMinimumHeight(m_error->fontMetrics().lineSpacing());
    cardLayout->addWidget(m_error);

    centreCard(this, card);
}

SecureBytes takePassword(QInputDialog& dialog) {
    QString typed = dialog.textValue();
    dialog.setTextValue(QString());
    QByteArray utf8 = typed.toUtf8();
    SecureBytes password(
        ByteView(reinterpret_cast<const std::uint8_t*>(utf8.constData()), static_cast<std::size_t>(utf8.size())));
    // Qt's strings are not ours to wipe once shared; these two are ours alone.
    secureWipe(utf8.data(), static_cast<std::size_t>(utf8.size()));
    typed.fill(QChar(u'\0'));
    return password;
}

void LockPage::showError(const QString& message) {
    showMessage(m_error, message);
}

QString LockPage::errorText() const { return m_error->isVisibleTo(this) ? m_error->text() : QString(); }

void LockPage::showNotice(const QString& notice) {
    m_notice->setText(notice);
    m_notice->setVisible(!notice.isEmpty());
}

QString LockPage::noticeText() const { return m_notice->isVisibleTo(this) ? m_notice->text() : QString(); }

}  // namespace corvale::app

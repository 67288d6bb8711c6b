#include "app/MainWindow.h"

#include "vault/VaultFiles.h"

#include <QEvent>
#include <QFile>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

#include <system_error>

namespace corvale::app {

namespace {

// One accent; everything else is greys so the status is what the eye finds.
constexpr auto kStyleSheet = R"(
    QWidget#mainWindow { background: #f6f7f9; }
    QLabel { color: #1f2933; }
    QLabel#tagline, QLabel#caption, QLabel#footnote { color: #616e7c; }
    QFrame#card { background: #ffffff; border: 1px solid #e4e7eb; border-radius: 12px; }
    QLabel#statusDot { border-radius: 5px; background: #cbd2d9; }
    QLabel#statusDot[present="true"] { background: #2b6f97; }
    QLabel#vaultStatus[present="true"] { color: #2b6f97; }
)";

QString displayPath(const std::filesystem::path& path) { return QFile::decodeName(path.string().c_str()); }

QLabel* makeLabel(const QString& text, const char* name, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(QString::fromLatin1(name));
    label->setWordWrap(true);
    return label;
}

void scaleFont(QWidget* widget, double factor, QFont::Weight weight = QFont::Normal) {
    QFont font = widget->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setWeight(weight);
    widget->setFont(font);
}

}  // namespace

MainWindow::MainWindow(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("mainWindow"));
    setAttribute(Qt::WA_StyledBackground, true);
    setWindowTitle(QStringLiteral("Corvale"));
    setStyleSheet(QString::fromLatin1(kStyleSheet));
    setMinimumSize(560, 380);
    resize(640, 420);

    auto* title = makeLabel(QStringLiteral("Corvale"), "title", this);
    scaleFont(title, 2.0, QFont::DemiBold);

    auto* tagline = makeLabel(tr("Your licences, CME and documents, kept in an encrypted vault on this computer."),
                              "tagline", this);
    scaleFont(tagline, 1.1);

    auto* card = new QFrame(this);
    card->setObjectName(QStringLiteral("card"));

    auto* caption = makeLabel(tr("Vault location"), "caption", card);
    scaleFont(caption, 0.9, QFont::Medium);

    m_location = makeLabel(QString(), "vaultLocation", card);
    m_location->setTextInteractionFlags(Qt::TextSelectableByMouse);

    m_statusDot = new QLabel(card);
    m_statusDot->setObjectName(QStringLiteral("statusDot"));
    m_statusDot->setFixedSize(10, 10);

    m_status = makeLabel(QString(), "vaultStatus", card);
    scaleFont(m_status, 1.0, QFont::Medium);

    auto* statusRow = new QHBoxLayout;
    statusRow->setSpacing(10);
    statusRow->addWidget(m_statusDot, 0, Qt::AlignVCenter);
    statusRow->addWidget(m_status, 1);

    auto* cardLayout = new QVBoxLayout(card);
    cardLayout->setContentsMargins(24, 20, 24, 22);
    cardLayout->setSpacing(6);
    cardLayout->addWidget(caption);
    cardLayout->addWidget(m_location);
    cardLayout->addSpacing(14);
    cardLayout->addLayout(statusRow);

    auto* footnote =
        makeLabel(tr("Your records, CME and documents will appear here in a coming release."), "footnote", this);
    scaleFont(footnote, 0.9);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(48, 44, 48, 36);
    layout->setSpacing(8);
    layout->addWidget(title);
    layout->addWidget(tagline);
    layout->addSpacing(28);
    layout->addWidget(card);
    layout->addStretch(1);
    layout->addWidget(footnote);

    refresh();
}

std::filesystem::path MainWindow::vaultDirectory() {
    return VaultFiles::defaultDirectory();
}

std::filesystem::path MainWindow::vaultFile() { return vaultDirectory() / VaultFiles::kDocumentFileName; }

void MainWindow::refresh() {
    m_location->setText(displayPath(vaultDirectory()));

    // An unreadable folder reads as "no vault": the user can still see where we looked.
    std::error_code error;
    const bool present = std::filesystem::is_regular_file(vaultFile(), error);
    m_status->setText(present ? tr("A vault is on this device.") : tr("No vault on this device yet."));

    for (QWidget* widget : {static_cast<QWidget*>(m_statusDot), static_cast<QWidget*>(m_status)}) {
        widget->setProperty("present", present);
        widget->style()->unpolish(widget);
        widget->style()->polish(widget);
    }
}

bool MainWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) {
        refresh();
    }
    return QWidget::event(event);
}

}  // namespace corvale::app

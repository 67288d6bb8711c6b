#include "app/ReportPage.h"

#include "app/AppContext.h"
#include "app/FormParts.h"
#include "app/Theme.h"
#include "documents/PrintedReport.h"
#include "requirements/ReadinessReport.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSaveFile>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace corvale::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value).toHtmlEscaped(); }

// The printed blocks as the preview's HTML, in the order and words the PDF has.
QString htmlOf(const PrintedReport& report) {
    QString html = QStringLiteral("<h2>%1</h2><p><i>%2</i></p>").arg(text(report.title), text(report.subtitle));
    for (const auto& block : report.blocks) {
        switch (block.kind) {
        case PrintedBlock::Kind::heading: html += QStringLiteral("<h3>%1</h3>").arg(text(block.text)); break;
        case PrintedBlock::Kind::subheading: html += QStringLiteral("<h4>%1</h4>").arg(text(block.text)); break;
        case PrintedBlock::Kind::paragraph: html += QStringLiteral("<p>%1</p>").arg(text(block.text)); break;
        case PrintedBlock::Kind::note: html += QStringLiteral("<p><small>%1</small></p>").arg(text(block.text)); break;
        case PrintedBlock::Kind::table: {
            html += QStringLiteral("<table cellpadding=\"4\" cellspacing=\"0\" width=\"100%\"><tr>");
            for (const auto& column : block.table.columns) html += QStringLiteral("<th align=\"left\">%1</th>").arg(text(column));
            html += QStringLiteral("</tr>");
            for (const auto& row : block.table.rows) {
                html += QStringLiteral("<tr>");
                for (const auto& cell : row)
                    html += QStringLiteral("<td>%1</td>").arg(text(cell).replace(QLatin1Char('\n'), QStringLiteral("<br>")));
                html += QStringLiteral("</tr>");
            }
            html += QStringLiteral("</table>");
            break;
        }
        }
    }
    return html;
}

std::optional<ReadinessReport> reportInView(const AppContext& context) {
    const auto& rules = context.requirements.file();
    const auto& scope = context.store.scopePersonId();
    return ReadinessReport::build(context.doc(), rules ? &*rules : nullptr, context.today(),
                                  scope ? std::optional<std::string_view>(*scope) : std::nullopt);
}

}  // namespace

ReportPage::ReportPage(AppContext& context, QWidget* parent) : Screen(context, parent) {
    setProperty("screen", QStringLiteral("report"));
    auto* content = new QWidget(this);
    auto* title = makeLabel(tr("Report"), "title", content);
    scaleFont(title, 1.8, QFont::DemiBold);
    m_whose = makeLabel(QString(), "caption", content);
    setHandle(m_whose, tr("Whose report"));
    m_preview = new QTextBrowser(content);
    m_preview->setAccessibleName(tr("Report preview"));
    m_preview->setObjectName(QStringLiteral("reportPreview"));
    m_preview->setOpenLinks(false);
    m_preview->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_preview->setMinimumHeight(360);
    m_save = new QPushButton(tr("Save as PDF…"), content);
    m_save->setObjectName(QStringLiteral("primary"));
    m_save->setToolTip(tr("Save this report as a PDF to print, file or send"));
    m_error = errorLabel(tr("Report problem"), content);
    tieError(m_error, m_save);

    auto* actions = new QHBoxLayout;
    actions->addWidget(m_whose, 1);
    actions->addWidget(m_save);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(32, 28, 32, 28);
    layout->setSpacing(12);
    layout->addWidget(title);
    layout->addLayout(actions);
    layout->addWidget(m_error);
    layout->addWidget(m_preview, 1);
    auto* page = new QVBoxLayout(this);
    page->setContentsMargins(0, 0, 0, 0);
    page->addWidget(content);
    connect(m_save, &QPushButton::clicked, this, &ReportPage::save);
}

void ReportPage::showEvent(QShowEvent* event) {
    Screen::showEvent(event);
    if (m_stale) reload();
}

void ReportPage::reload() {
    // A report is one readiness per person: made only for a screen that is looked at.
    // Out of view it holds nothing, so a locked window keeps no record text behind the lock screen.
    m_stale = !isVisible();
    if (m_stale) {
        m_preview->clear();
        return;
    }
    showMessage(m_error, QString());
    const auto report = reportInView(context());
    const bool one = report && report->people.size() == 1;
    m_whose->setText(!report ? QString()
                     : one   ? tr("The readiness of %1, as the PDF will print.").arg(QString::fromStdString(report->people[0].name))
                             : tr("Everyone's readiness, as the PDF will print."));
    m_preview->setHtml(report ? htmlOf(report->printable()) : QString());
    m_save->setEnabled(report.has_value());
}

bool ReportPage::saveTo(const QString& path) {
    showMessage(m_error, QString());
    const auto report = reportInView(context());
    if (!report) return false;
    const auto pdf = writePdf(report->printable());
    if (!pdf) {
        showMessage(m_error, QString::fromStdString(pdf.error().message()));
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(reinterpret_cast<const char*>(pdf->data()), static_cast<qint64>(pdf->size())) !=
            static_cast<qint64>(pdf->size()) ||
        !file.commit()) {
        showMessage(m_error, tr("The report couldn't be written to %1 (%2).").arg(path, file.errorString()));
        return false;
    }
    emit notify(tr("Report saved as %1.").arg(QFileInfo(path).fileName()));
    return true;
}

void ReportPage::save() {
    QString chosen;
    if (m_nextFile) {
        chosen = *std::exchange(m_nextFile, std::nullopt);
    } else {
        const auto report = reportInView(context());
        const QString name = report && report->people.size() == 1
                                 ? tr("Readiness report %1.pdf").arg(QString::fromStdString(report->people[0].name))
                                 : tr("Readiness report.pdf");
        chosen = QFileDialog::getSaveFileName(this, tr("Save report"), QDir::home().filePath(name),
                                              tr("PDF documents (*.pdf)"));
    }
    if (!chosen.isEmpty()) (void)saveTo(chosen);
}

QString ReportPage::previewText() const { return m_preview->toPlainText(); }

QString ReportPage::errorText() const { return m_error->isHidden() ? QString() : m_error->text(); }

}  // namespace corvale::app

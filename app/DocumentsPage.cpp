#include "app/DocumentsPage.h"

#include "app/AppContext.h"
#include "app/FormParts.h"
#include "app/LongTask.h"
#include "app/Theme.h"
#include "documents/reading/DocumentDuplicates.h"
#include "documents/reading/DocumentForReview.h"
#include "documents/reading/DocumentParser.h"
#include "documents/reading/DocumentProposal.h"
#include "platform/linux/DocumentImages.h"
#include "platform/linux/TesseractRecognizer.h"
#include "records/EntryRules.h"
#include "requirements/CredentialRenewal.h"
#include "vault/DocumentFiling.h"
#include "vault/VaultStore.h"

#include <QComboBox>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QImage>
#include <QPixmap>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace corvale::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

enum Column { nameColumn, kindColumn, personColumn, addedColumn, reviewColumn };
constexpr int kPictureSide = 360;

QString kindText(const DocumentRecord& document) {
    const auto kind = document.kind ? documentKindFromRaw(*document.kind) : std::nullopt;
    return kind ? text(std::string(displayName(*kind))) : QObject::tr("Unfiled");
}

QString fieldLabel(std::string_view name) {
    static const std::map<std::string_view, const char*> labels{
        {"kind", "Kind"},         {"state", "State"},           {"number", "Number"},
        {"issuedOn", "Issued"},   {"expiresOn", "Expires"},     {"title", "Title"},
        {"boardStatus", "Status"}, {"multistate", "Multistate"}, {"licenseType", "Licence type"},
        {"hours", "Hours"},       {"completedOn", "Completed"}, {"provider", "Provider"},
        {"category", "Category"}, {"topics", "Topics"}};
    const auto found = labels.find(name);
    return found == labels.end() ? text(std::string(name)) : QObject::tr(found->second);
}

// "Texas license R4821", as reminders and the plan name a credential, with its number.
QString credentialName(const Credential& credential) {
    return text(renewTitle(credential) + (credential.number ? " " + *credential.number : std::string()));
}

QString targetSentence(const DocumentProposal& proposal, const VaultDocument& vault) {
    switch (proposal.target) {
    case DocumentProposal::Target::existingCredential:
        for (const auto& credential : vault.credentials)
            if (credential.id == proposal.credentialId)
                return QObject::tr("This is a copy of your %1. Confirming updates it with what is below.")
                    .arg(credentialName(credential));
        break;
    case DocumentProposal::Target::newCredential:
        return QObject::tr("This is a credential not in the vault yet. Confirming adds it with what is below.");
    case DocumentProposal::Target::newActivity:
        return QObject::tr("This is a CME certificate. Confirming logs the activity below.");
    case DocumentProposal::Target::nothing: break;
    }
    return QObject::tr("This document belongs to no record. Confirming files it as it is; give it a kind to make it a credential.");
}

}  // namespace

DocumentsPage::DocumentsPage(AppContext& context, QWidget* parent)
    : Screen(context, parent), m_recognizer(std::make_unique<TesseractRecognizer>()) {
    setProperty("screen", QStringLiteral("documents"));
    setAcceptDrops(true);
    auto* content = new QWidget(this);
    auto* title = makeLabel(tr("Documents"), "title", content);
    scaleFont(title, 1.8, QFont::DemiBold);
    m_caption = makeLabel(QString(), "caption", content);
    setHandle(m_caption, tr("Documents summary"));
    m_add = new QPushButton(tr("Add documents…"), content);
    m_add->setObjectName(QStringLiteral("primary"));
    m_add->setToolTip(tr("Read scans, photos or PDFs on this computer and file them; you can also drop files here"));
    m_duplicates = new QPushButton(tr("Remove duplicates"), content);
    m_duplicates->setToolTip(tr("Delete documents stored twice, keeping the first of each"));
    m_problems = errorLabel(tr("Import problems"), content);

    m_list = new QTreeWidget(content);
    m_list->setAccessibleName(tr("Documents"));
    m_list->setObjectName(QStringLiteral("documentTable"));
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setHeaderLabels({tr("Document"), tr("Kind"), tr("Whose"), tr("Added"), tr("Review")});
    m_list->header()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
    m_list->setMinimumHeight(180);

    m_review = new QWidget(content);
    m_target = makeLabel(QString(), "detail", m_review);
    m_target->setWordWrap(true);
    setHandle(m_target, tr("What this document proposes"));
    m_fields = new QFormLayout;
    m_fileWith = new QComboBox;
    m_fileWith->setAccessibleName(tr("File with"));
    m_error = errorLabel(tr("Review problem"), m_review);
    m_confirm = new QPushButton(tr("Confirm"), m_review);
    m_confirm->setObjectName(QStringLiteral("primary"));
    m_showText = new QPushButton(tr("Show recognised text"), m_review);
    m_showText->setCheckable(true);
    m_text = new QPlainTextEdit(m_review);
    m_text->setReadOnly(true);
    m_text->setAccessibleName(tr("Recognised text"));
    m_text->setVisible(false);
    m_text->setMinimumHeight(160);
    auto* reviewButtons = new QHBoxLayout;
    reviewButtons->addWidget(m_confirm);
    reviewButtons->addWidget(m_showText);
    reviewButtons->addStretch(1);
    m_picture = new QLabel(m_review);
    m_picture->setAccessibleName(tr("First page of the document"));
    m_picture->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    m_picture->setFixedWidth(kPictureSide);
    auto* reviewLayout = new QVBoxLayout;
    auto* reviewRow = new QHBoxLayout(m_review);
    reviewRow->setContentsMargins(0, 8, 0, 0);
    reviewRow->setSpacing(18);
    reviewRow->addWidget(m_picture, 0, Qt::AlignTop);
    reviewRow->addLayout(reviewLayout, 1);
    reviewLayout->addWidget(m_target);
    auto* fileWithRow = new QWidget(m_review);
    auto* fileWithForm = new QFormLayout(fileWithRow);
    fileWithForm->setContentsMargins(0, 0, 0, 0);
    fileWithForm->addRow(tr("File with"), m_fileWith);
    reviewLayout->addWidget(fileWithRow);
    reviewLayout->addLayout(m_fields);
    reviewLayout->addWidget(m_error);
    reviewLayout->addLayout(reviewButtons);
    reviewLayout->addWidget(m_text);
    m_review->setVisible(false);

    auto* actions = new QHBoxLayout;
    actions->addWidget(m_caption, 1);
    actions->addWidget(m_duplicates);
    actions->addWidget(m_add);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(32, 28, 32, 28);
    layout->setSpacing(12);
    layout->addWidget(title);
    layout->addLayout(actions);
    layout->addWidget(m_problems);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_review);
    scrollPage(this, content, 1180);

    connect(m_add, &QPushButton::clicked, this, &DocumentsPage::pickFiles);
    connect(m_duplicates, &QPushButton::clicked, this, &DocumentsPage::removeDuplicates);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &DocumentsPage::showSelected);
    connect(m_confirm, &QPushButton::clicked, this, [this] { (void)confirm(); });
    connect(m_showText, &QPushButton::toggled, m_text, &QWidget::setVisible);
}

DocumentsPage::~DocumentsPage() = default;

void DocumentsPage::showEvent(QShowEvent* event) {
    Screen::showEvent(event);
    if (m_stale) reload();
}

void DocumentsPage::reload() {
    // Recognised text is record text: out of view, nothing of it is held by the screen.
    m_stale = !isVisible();
    const QString selected = m_list->currentItem() ? m_list->currentItem()->data(0, Qt::UserRole).toString() : QString();
    const QSignalBlocker quiet(m_list);
    m_list->clear();
    clearReview();
    if (m_stale) return;
    const VaultDocument& vault = context().doc();
    m_list->setColumnHidden(personColumn, !context().isOffice());
    int total = 0, toReview = 0;
    for (const auto& document : vault.documents) {
        if (document.deleted || !context().inScope(document.personId)) continue;
        ++total;
        toReview += document.needsReview ? 1 : 0;
        const Person* owner = context().person(document.personId);
        auto* item = new QTreeWidgetItem(
            m_list, {text(document.filename), kindText(document), owner ? text(owner->name) : QString(),
                     text(Day::local(document.addedAt.time).shortFormatted()),
                     document.needsReview ? tr("Needs review") : QString()});
        item->setData(0, Qt::UserRole, text(document.id));
        if (text(document.id) == selected) m_list->setCurrentItem(item);
    }
    const QString count = total == 1 ? tr("1 document") : tr("%1 documents").arg(total);
    m_caption->setText(total == 0      ? tr("No documents yet. Add scans, photos or PDFs, or drop them here.")
                       : toReview == 0 ? tr("%1, all reviewed").arg(count)
                                       : tr("%1, %2 to review").arg(count).arg(toReview));
    m_duplicates->setEnabled(!DocumentDuplicates::copies(vault.documents).empty());
    if (m_list->currentItem()) showSelected();
}

void DocumentsPage::clearReview() {
    m_proposal.reset();
    m_picture->clear();
    while (m_fields->rowCount() > 0) m_fields->removeRow(0);
    m_text->clear();
    showMessage(m_error, QString());
    m_review->setVisible(false);
}

void DocumentsPage::showSelected() {
    const auto* item = m_list->currentItem();
    if (item) (void)showDocument(item->data(0, Qt::UserRole).toString());
    else clearReview();
}

bool DocumentsPage::showDocument(const QString& id) {
    clearReview();
    const DocumentRecord* document = context().doc().liveDocument(id.toStdString());
    if (!document) return false;
    const Guess guess = DocumentParser::parse(document->text.value_or(""), document->filename);
    m_proposal = std::make_unique<DocumentProposal>(DocumentProposal::make(context().doc(), *document, guess));
    m_target->setText(targetSentence(*m_proposal, context().doc()));
    // A credential's document may belong to another of the person's credentials than the one proposed.
    const bool credential = m_proposal->target == DocumentProposal::Target::existingCredential ||
                            m_proposal->target == DocumentProposal::Target::newCredential;
    {
        const QSignalBlocker quiet(m_fileWith);
        m_fileWith->clear();
        m_fileWith->addItem(tr("A new credential"), QStringLiteral("new"));
        for (const auto& held : context().doc().credentials) {
            if (!held.deleted && held.personId == document->personId) m_fileWith->addItem(credentialName(held), text(held.id));
        }
        const int chosen = m_proposal->credentialId ? m_fileWith->findData(text(*m_proposal->credentialId)) : 0;
        m_fileWith->setCurrentIndex(std::max(chosen, 0));
    }
    m_fileWith->parentWidget()->setVisible(credential);
    for (const auto name : m_proposal->fieldNames()) {
        const auto value = m_proposal->fields.find(std::string(name));
        auto* edit = lineEdit(fieldLabel(name), QString(), m_review);
        edit->setObjectName(text(std::string(name)));
        if (value != m_proposal->fields.end()) edit->setText(text(value->second));
        m_fields->addRow(fieldLabel(name), edit);
    }
    m_text->setPlainText(text(document->text.value_or("")));
    // Drawn from the sealed copy in memory; a file that can't be drawn shows a sentence instead.
    std::optional<DocumentImages::Preview> picture;
    if (auto bytes = context().store.documentBytes(document->id))
        if (auto images = DocumentImages::open(ByteView(bytes->data(), bytes->size())))
            picture = images->preview(0, kPictureSide * 2);
    if (picture) {
        const QImage image(picture->rgb.data(), picture->width, picture->height, picture->width * 3,
                           QImage::Format_RGB888);
        m_picture->setPixmap(QPixmap::fromImage(image).scaled(kPictureSide, kPictureSide * 2, Qt::KeepAspectRatio,
                                                              Qt::SmoothTransformation));
    } else {
        m_picture->setText(tr("No picture of this file can be drawn."));
    }
    m_showText->setEnabled(document->text.has_value());
    m_confirm->setText(document->needsReview ? tr("Confirm") : tr("Confirm again"));
    m_review->setVisible(true);
    for (QTreeWidgetItem* item = m_list->topLevelItem(0); item; item = m_list->itemBelow(item))
        if (item->data(0, Qt::UserRole).toString() == id && m_list->currentItem() != item) {
            const QSignalBlocker quiet(m_list);
            m_list->setCurrentItem(item);
        }
    return true;
}

QLineEdit* DocumentsPage::field(const QString& name) const { return m_review->findChild<QLineEdit*>(name); }

bool DocumentsPage::confirm() {
    if (!m_proposal) return false;
    showMessage(m_error, QString());
    DocumentProposal proposal = *m_proposal;
    if (!m_fileWith->parentWidget()->isHidden()) {
        const std::string record = m_fileWith->currentData().toString().toStdString();
        if (auto moved = proposal.set(context().doc(), "record=" + record); !moved) {
            showMessage(m_error, text(moved.error()));
            return false;
        }
    }
    for (const auto name : proposal.fieldNames()) {
        const QLineEdit* edit = field(text(std::string(name)));
        const std::string typed = edit ? edit->text().trimmed().toStdString() : std::string();
        if (typed.empty()) proposal.fields.erase(std::string(name));
        else proposal.fields[std::string(name)] = typed;
    }
    auto filed = confirmProposal(context().store, proposal, Timestamp::now(context().clock), context().today());
    if (!filed) {
        showMessage(m_error, text(filed.error()));
        return false;
    }
    emit notify(*filed ? tr("Filed; the record is updated.") : tr("Reviewed."));
    emit recordsChanged();
    reload();
    return true;
}

void DocumentsPage::removeDuplicates() {
    std::size_t removed = 0;
    auto changed = context().store.change(
        [&](VaultDocument& vault) { removed = DocumentDuplicates::remove(vault, Timestamp::now(context().clock)); });
    if (!changed) {
        showMessage(m_problems, text(changed.error().message()));
        return;
    }
    emit notify(text(DocumentDuplicates::removedSentence(removed)));
    emit recordsChanged();
    reload();
}

void DocumentsPage::pickFiles() {
    QStringList chosen;
    if (m_nextFiles) chosen = *std::exchange(m_nextFiles, std::nullopt);
    else
        chosen = QFileDialog::getOpenFileNames(this, tr("Add documents"), QDir::homePath(),
                                               tr("Documents (*.pdf *.png *.jpg *.jpeg *.tif *.tiff *.heic)"));
    if (!chosen.isEmpty()) (void)importFiles(chosen);
}

QStringList DocumentsPage::importFiles(const QStringList& paths) {
    QStringList problems;
    std::optional<std::string> first;
    const Person* owner = context().currentPerson();
    for (const QString& path : paths) {
        const QString name = QFileInfo(path).fileName();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            problems << tr("%1: it couldn't be opened (%2).").arg(name, file.errorString());
            continue;
        }
        const QByteArray contents = file.readAll();
        if (auto empty = storedFileProblem(name.toStdString(), static_cast<std::size_t>(contents.size()))) {
            problems << text(*empty);
            continue;
        }
        const Bytes bytes(contents.begin(), contents.end());
        auto read = LongTask::run(this, tr("Reading %1…").arg(name), [this, &bytes] { return m_recognizer->read(bytes); });
        if (!read) {
            problems << tr("%1: %2").arg(name, text(read.error().message()));
            continue;
        }
        if (!owner) {
            problems << tr("%1: choose whose documents these are first.").arg(name);
            continue;
        }
        auto added = context().store.addDocument(
            bytes, documentRecordFor(owner->id, name.toStdString(), Timestamp::now(context().clock), read->text));
        if (!added) {
            problems << tr("%1: %2").arg(name, text(added.error().message()));
            continue;
        }
        if (!first) first = added->id;
    }
    showMessage(m_problems, problems.join(QLatin1Char('\n')));
    if (first) {
        emit recordsChanged();
        reload();
        (void)showDocument(text(*first));
        emit notify(tr("Read and stored; check what it proposes, then confirm."));
    }
    return problems;
}

QString DocumentsPage::proposalText() const { return m_review->isHidden() ? QString() : m_target->text(); }

bool DocumentsPage::showsPicture() const { return !m_picture->pixmap().isNull(); }

QString DocumentsPage::errorText() const { return m_error->isHidden() ? QString() : m_error->text(); }

void DocumentsPage::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void DocumentsPage::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) paths << url.toLocalFile();
    if (paths.isEmpty()) return;
    event->acceptProposedAction();
    (void)importFiles(paths);
}

}  // namespace corvale::app

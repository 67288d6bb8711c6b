#include "AppTestSupport.h"
#include "app/DocumentsPage.h"
#include "app/DropFolderWatch.h"
#include "app/SettingsPage.h"

#include <QCheckBox>
#include <QDropEvent>
#include <QMimeData>

#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTreeWidget>

#ifndef Q_MOC_RUN
#include "vault/VaultStore.h"
#endif

namespace corvale::app {

using testing::OpenVault;

QString fixture() { return QStringLiteral(CORVALE_SOURCE_DIR "/tests/cli/data/licence-card.pdf"); }

Bytes fixtureBytes() {
    QFile file(fixture());
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.readAll();
    return Bytes(bytes.begin(), bytes.end());
}

const Credential& texasLicence(const VaultDocument& doc) {
    return *std::find_if(doc.credentials.begin(), doc.credentials.end(),
                         [](const Credential& c) { return !c.deleted && c.state == "TX" && c.kind == "stateLicense"; });
}

class DocumentsPageTest : public QObject {
    Q_OBJECT

private slots:
    void aFileReadHereIsFiledWithItsLicenceOnlyOnceConfirmed() {
        OpenVault vault(testing::fillSampleVault);
        testing::StyledWindow window;
        auto* page = window.hold(new DocumentsPage(vault.context, &window));
        window.resize(1280, 900);
        window.show();
        const auto documentsBefore = vault.store.doc().documents.size();

        QTemporaryDir folder;
        const QString notes = folder.filePath(QStringLiteral("notes.txt"));
        QFile text(notes);
        QVERIFY(text.open(QIODevice::WriteOnly) && text.write("shopping list") > 0);
        text.close();
        const QStringList problems = page->importFiles({fixture(), notes});
        QCOMPARE(problems, QStringList{QStringLiteral("notes.txt: This file isn't a PDF or a picture Corvale can read.")});
        QCOMPARE(vault.store.doc().documents.size(), documentsBefore + 1);
        const DocumentRecord stored = vault.store.doc().documents.back();
        QVERIFY(stored.needsReview);
        QCOMPARE(stored.kind, std::optional<std::string>("license"));
        QCOMPARE(stored.contentType, std::string("application/pdf"));

        // The card is proposed for the Texas licence already there; nothing in it changes yet.
        QVERIFY(page->proposalText().startsWith(QStringLiteral("This is a copy of your Texas license R4821.")));
        QCOMPARE(page->field(QStringLiteral("number"))->text(), QStringLiteral("Q4412"));
        QCOMPARE(page->fileWith()->currentText(), QStringLiteral("Texas license R4821"));
        QVERIFY(page->showsPicture());
        QCOMPARE(texasLicence(vault.store.doc()).number, std::optional<std::string>("R4821"));
        const auto row = page->list()->findItems(QStringLiteral("licence-card.pdf"), Qt::MatchExactly).value(0);
        QVERIFY(row);
        QCOMPARE(row->text(4), QStringLiteral("Needs review"));
        testing::screenshot(window, QStringLiteral("documents-review"));

        page->field(QStringLiteral("expiresOn"))->setText(QStringLiteral("2027-02-30"));
        QVERIFY(!page->confirm());
        QVERIFY(page->errorText().contains(QStringLiteral("isn't on the calendar")));
        QCOMPARE(texasLicence(vault.store.doc()).number, std::optional<std::string>("R4821"));

        page->field(QStringLiteral("expiresOn"))->setText(QStringLiteral("2027-05-31"));
        QVERIFY(page->confirm());
        const Credential& licence = texasLicence(vault.store.doc());
        QCOMPARE(licence.number, std::optional<std::string>("Q4412"));
        QCOMPARE(licence.expiresOn, std::optional<Day>(Day{2027, 5, 31}));
        QVERIFY(std::find(licence.documentIds.begin(), licence.documentIds.end(), stored.id) != licence.documentIds.end());
        QVERIFY(!vault.store.doc().documents.back().needsReview);

        // The same card added again is a duplicate until removed.
        QVERIFY(!page->duplicatesButton()->isEnabled());
        QVERIFY(page->importFiles({fixture()}).isEmpty());
        QVERIFY(page->duplicatesButton()->isEnabled());
        page->duplicatesButton()->click();
        QCOMPARE(page->list()->topLevelItemCount(), static_cast<int>(documentsBefore) + 1);
        QVERIFY(!page->duplicatesButton()->isEnabled());

        // Filed as a credential of its own instead of the one proposed.
        const auto credentialsBefore = vault.store.doc().credentials.size();
        QVERIFY(page->importFiles({fixture()}).isEmpty());
        page->fileWith()->setCurrentIndex(page->fileWith()->findData(QStringLiteral("new")));
        QVERIFY(page->confirm());
        QCOMPARE(vault.store.doc().credentials.size(), credentialsBefore + 1);
        QCOMPARE(vault.store.doc().credentials.back().number, std::optional<std::string>("Q4412"));
    }

    void theDropFolderChosenInSettingsFilesWhatSettlesThereForReview() {
        testing::ShownWindow window(testing::fillSampleVault);
        DropFolderWatch* watch = window.dropFolderWatch();
        QVERIFY(!watch->watching());  // off until chosen
        window.showScreen(QStringLiteral("settings"));
        auto* settings = window.findChild<SettingsPage*>();
        settings->setNextFileChoice(QStringLiteral("/home/ana/Inbox"));
        const auto buttons = settings->findChildren<QPushButton*>();
        const auto choose = std::find_if(buttons.begin(), buttons.end(),
                                         [](const QPushButton* b) { return b->text() == QStringLiteral("Choose folder…"); });
        QVERIFY(choose != buttons.end());
        (*choose)->click();
        QVERIFY(watch->watching());
        QVERIFY(window.device.files.exists("/home/ana/Inbox"));

        const auto documentsBefore = window.store().doc().documents.size();
        QVERIFY(window.device.files.replaceFileAtomically("/home/ana/Inbox/card.pdf", fixtureBytes()));
        watch->look();  // first seen: it may still be arriving
        QVERIFY(!watch->reading());
        watch->look();
        QTRY_VERIFY(!watch->reading());
        QCOMPARE(window.store().doc().documents.size(), documentsBefore + 1);
        QVERIFY(window.store().doc().documents.back().needsReview);
        QVERIFY(window.device.files.exists("/home/ana/Inbox/Imported/card.pdf"));
        QCOMPARE(window.statusText(), QStringLiteral("1 document from the drop folder to review."));

        // A file dropped anywhere on the window is read on the Documents screen.
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(fixture())});
        QDragEnterEvent enter(QPoint(200, 200), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window.window, &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(200, 200), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window.window, &drop);
        QCOMPARE(window.pageName(), QStringLiteral("documents"));
        QCOMPARE(window.store().doc().documents.size(), documentsBefore + 2);

        const auto boxes = settings->findChildren<QCheckBox*>();
        const auto watchBox = std::find_if(boxes.begin(), boxes.end(), [](const QCheckBox* b) {
            return b->text() == QStringLiteral("Watch a drop folder for new documents");
        });
        QVERIFY(watchBox != boxes.end() && (*watchBox)->isChecked());
        (*watchBox)->click();
        QVERIFY(!watch->watching());
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::DocumentsPageTest)
#include "DocumentsPageTest.moc"

#include "AppTestSupport.h"
#include "app/CredentialEditor.h"
#include "app/CredentialListModel.h"
#include "app/LicensesPage.h"
#include "app/StoredFiles.h"
#include "app/Theme.h"
#include "app/UnsavedEdits.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTreeView>
#include <QWheelEvent>

#include <algorithm>
#include <functional>

namespace corvale::app {

using namespace std::chrono_literals;
using testing::choose;
using testing::fill;
using testing::named;
using testing::OpenVault;

namespace {

struct ListedRow {
    QString group;
    QString name;
    QString person;
    QString daysLeft;
    QString status;
    QString id;
    QColor color;
};

// What the list shows, group by group, in the order the view shows it.
std::vector<ListedRow> listed(const LicensesPage& page) {
    const QAbstractItemModel* model = page.view()->model();
    std::vector<ListedRow> rows;
    for (int g = 0; g < model->rowCount(); ++g) {
        const QModelIndex group = model->index(g, 0);
        for (int r = 0; r < model->rowCount(group); ++r) {
            const auto cell = [&](int column, int role = Qt::DisplayRole) {
                return model->index(r, column, group).data(role);
            };
            rows.push_back({group.data().toString(), cell(CredentialListModel::NameColumn).toString(),
                            cell(CredentialListModel::PersonColumn).toString(),
                            cell(CredentialListModel::DaysLeftColumn).toString(),
                            cell(CredentialListModel::StatusColumn).toString(),
                            cell(0, CredentialListModel::IdRole).toString(),
                            cell(CredentialListModel::DaysLeftColumn, Qt::ForegroundRole).value<QColor>()});
        }
    }
    return rows;
}

QStringList groupTitles(const LicensesPage& page) {
    const QAbstractItemModel* model = page.view()->model();
    QStringList titles;
    for (int g = 0; g < model->rowCount(); ++g) titles << model->index(g, 0).data().toString();
    return titles;
}

const ListedRow* rowNamed(const std::vector<ListedRow>& rows, const QString& name, const QString& person = {}) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const ListedRow& row) {
        return row.name == name && (person.isEmpty() || row.person == person);
    });
    return found == rows.end() ? nullptr : &*found;
}

const Credential* credential(const VaultStore& store, const std::function<bool(const Credential&)>& wanted) {
    const auto& all = store.doc().credentials;
    const auto found = std::find_if(all.begin(), all.end(), wanted);
    return found == all.end() ? nullptr : &*found;
}

const Credential* byId(const VaultStore& store, const QString& id) {
    return credential(store, [&](const Credential& c) { return c.id == id.toStdString(); });
}

QString idOf(const VaultStore& store, const std::string& kind, std::optional<std::string> state = {},
             std::optional<std::string> number = {}) {
    const Credential* found = credential(store, [&](const Credential& c) {
        return !c.deleted && c.kind == kind && (!state || c.state == state) && (!number || c.number == number);
    });
    return found ? QString::fromStdString(found->id) : QString();
}

bool shown(CredentialEditor& editor, const QString& field) {
    auto* widget = named<QWidget>(editor, field);
    return widget && widget->isVisibleTo(&editor);
}

Timestamp now(OpenVault& vault) { return Timestamp::now(vault.device.clock); }

// The screen over a filled vault, loaded as the window loads it.
struct Loaded {
    OpenVault vault;
    LicensesPage page{vault.context};
    CredentialEditor& editor = *page.editor();
    explicit Loaded(void (*fill)(VaultStore&) = testing::fillSampleVault) : vault(fill) { page.reload(); }
};

}  // namespace

class LicensesPageTest : public QObject {
    Q_OBJECT

private slots:
    void listsLiveCredentialsInScopeByStatusKindAndPerson() {
        Loaded loaded(testing::fillSampleOffice);
        auto& [vault, page, editor] = loaded;
        const QString acls = idOf(vault.store, "acls");
        QVERIFY(vault.store
                    .change([&](VaultDocument& doc) {
                        for (auto& c : doc.credentials)
                            if (c.id == acls.toStdString()) c.deleted = true;
                    })
                    .ok());
        page.reload();

        QCOMPARE(groupTitles(page), (QStringList{"Expired · 1", "Due within 90 days · 5", "Current · 4"}));
        auto rows = listed(page);
        QCOMPARE(rows.size(), std::size_t{10});
        QVERIFY(!rowNamed(rows, "ACLS card"));

        // At the fixed date, 2026-11-22.
        const ListedRow* bls = rowNamed(rows, "BLS card", "Maya Chen");
        QVERIFY(bls);
        QCOMPARE(bls->group, QStringLiteral("Due within 90 days · 5"));
        QCOMPARE(bls->daysLeft, QStringLiteral("in 39 days"));
        QCOMPARE(bls->status, QStringLiteral("Renew soon"));
        QCOMPARE(bls->color, warnColor());
        const ListedRow* lapsed = rowNamed(rows, "BLS card", "Jordan Reyes");
        QVERIFY(lapsed);
        QCOMPARE(lapsed->group, QStringLiteral("Expired · 1"));
        QCOMPARE(lapsed->daysLeft, QStringLiteral("expired 418 days ago"));
        QCOMPARE(lapsed->status, QStringLiteral("Expired"));
        QCOMPARE(lapsed->color, alertColor());
        const ListedRow* nurseLicence = rowNamed(rows, "Texas license", "Jordan Reyes");
        QVERIFY(nurseLicence);
        QCOMPARE(nurseLicence->daysLeft, QStringLiteral("in 23 days"));
        QCOMPARE(nurseLicence->color, alertColor());
        const ListedRow* board = rowNamed(rows, "ABIM Internal Medicine");
        QVERIFY(board);
        QCOMPARE(board->group, QStringLiteral("Current · 4"));
        QCOMPARE(board->color, goodColor());
        // The California renewal is being gathered, and the list says so.
        QCOMPARE(rowNamed(rows, "California license")->status, QStringLiteral("Renewal started"));

        // Sorted by days left inside each group, both ways; the groups keep their order.
        auto* tree = qobject_cast<QTreeView*>(page.view());
        QVERIFY(tree);
        QStringList ascending, descending;
        for (const auto& row : listed(page))
            if (row.group.startsWith("Due")) ascending << row.daysLeft;
        QCOMPARE(ascending, (QStringList{"in 23 days", "in 39 days", "in 40 days", "in 70 days", "in 70 days"}));
        tree->sortByColumn(CredentialListModel::DaysLeftColumn, Qt::DescendingOrder);
        QCOMPARE(groupTitles(page), (QStringList{"Expired · 1", "Due within 90 days · 5", "Current · 4"}));
        for (const auto& row : listed(page))
            if (row.group.startsWith("Due")) descending << row.daysLeft;
        std::reverse(descending.begin(), descending.end());
        QCOMPARE(descending, ascending);
        tree->sortByColumn(CredentialListModel::NameColumn, Qt::AscendingOrder);
        QCOMPARE(listed(page).at(1).name, QStringLiteral("BLS card"));
        QCOMPARE(listed(page).at(2).name, QStringLiteral("California license"));

        auto* grouping = named<QComboBox>(page, "Group by");
        QVERIFY(grouping);
        grouping->setCurrentIndex(grouping->findData(static_cast<int>(CredentialListModel::Grouping::person)));
        QCOMPARE(groupTitles(page), (QStringList{"Maya Chen · 6", "Jordan Reyes · 2", "Priya Natarajan · 2"}));
        grouping->setCurrentIndex(grouping->findData(static_cast<int>(CredentialListModel::Grouping::kind)));
        QCOMPARE(groupTitles(page).first(), QStringLiteral("State License · 4"));
        QCOMPARE(groupTitles(page).size(), 5);  // licences, DEA, board, BLS, malpractice

        auto* search = named<QLineEdit>(page, "Search credentials");
        search->setText("natarajan");
        rows = listed(page);
        QCOMPARE(rows.size(), std::size_t{2});
        QVERIFY(
            std::all_of(rows.begin(), rows.end(), [](const ListedRow& r) { return r.person == "Priya Natarajan"; }));
        search->setText("RN912");
        QCOMPARE(listed(page).size(), std::size_t{1});
        search->setText("tx");
        QCOMPARE(listed(page).size(), std::size_t{3});  // the three Texas licences, by their state code
        // A group's count is of what the search leaves in it, and goes back when the search is cleared.
        QCOMPARE(groupTitles(page), QStringList{"State License · 3"});
        search->setText("nothing like this");
        QCOMPARE(page.view()->model()->rowCount(), 0);
        search->clear();
        QCOMPARE(groupTitles(page).first(), QStringLiteral("State License · 4"));

        // Narrowed to the nurse: her two credentials, and no person column or grouping by person.
        const std::string nurse = vault.store.doc().people.at(1).id;
        vault.store.setScopePersonId(nurse);
        page.reload();
        rows = listed(page);
        QCOMPARE(rows.size(), std::size_t{2});
        QVERIFY(tree->isColumnHidden(CredentialListModel::PersonColumn));
        QCOMPARE(grouping->findData(static_cast<int>(CredentialListModel::Grouping::person)), -1);
        vault.store.setScopePersonId(std::nullopt);
        page.reload();
        QVERIFY(!tree->isColumnHidden(CredentialListModel::PersonColumn));
    }

    void anEmptyVaultInvitesTheFirstCredential() {
        OpenVault vault(testing::fillSampleVault);
        QVERIFY(vault.store
                    .change([](VaultDocument& doc) {
                        for (auto& c : doc.credentials) c.deleted = true;
                    })
                    .ok());
        testing::StyledWindow window;
        LicensesPage& page = *window.hold(new LicensesPage(vault.context, &window));
        page.reload();
        QVERIFY(!page.view()->isVisibleTo(&page));
        auto* first = testing::button(page, "Add your first credential");
        QVERIFY(first && first->isVisibleTo(&page));
        testing::screenshot(window, "licenses-empty");
        first->click();
        QVERIFY(page.editor()->isOpen());
        QVERIFY(page.editor()->credentialId().isEmpty());
    }

    void theEditorChecksTheStateAndDatesAndProposesAnExpiry() {
        Loaded loaded;
        auto& [vault, page, editor] = loaded;
        // A hint inside an empty field vanishes once typing starts; the label keeps the form in sight.
        page.editCredential(idOf(vault.store, "stateLicense", std::string("CA")));
        int dated = 0;
        for (auto* edit : editor.findChildren<QLineEdit*>()) {
            if (!edit->placeholderText().contains(QStringLiteral("YYYY"))) continue;
            ++dated;
            // The first form the field takes ("MM/DD/YYYY or YYYY-MM-DD"): the label can't carry them all.
            const QString form = QStringLiteral("(%1)").arg(edit->placeholderText().section(QLatin1Char(' '), 0, 0));
            const auto labels = editor.findChildren<QLabel*>();
            const bool labelled = std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
                return label->text().contains(form) && label->buddy() &&
                       (label->buddy() == edit || label->buddy()->isAncestorOf(edit));
            });
            QVERIFY2(labelled, qPrintable(edit->accessibleName()));
        }
        QCOMPARE(dated, 3);

        QSignalSpy changed(&page, &Screen::recordsChanged);
        QSignalSpy notified(&page, &Screen::notify);
        const std::size_t before = vault.store.doc().credentials.size();

        page.newCredential();
        choose(editor, "Kind", "stateLicense");
        fill(editor, "Number", "G99812");
        QVERIFY(!editor.save());
        QCOMPARE(editor.errorFor("State"), QStringLiteral("Choose the state that issued this license."));
        QVERIFY(named<QLabel>(editor, "State error")->isVisibleTo(&editor));
        QCOMPARE(vault.store.doc().credentials.size(), before);
        QCOMPARE(changed.count(), 0);
        choose(editor, "Kind", "stateCSR");
        QVERIFY(!editor.save());
        QCOMPARE(editor.errorFor("State"), QStringLiteral("Choose the state that issued this registration."));

        // A card's issue date proposes its usual expiry, two years on for BLS.
        choose(editor, "Kind", "bls");
        QVERIFY(!shown(editor, "State"));
        fill(editor, "Issued on", "2026-11-22");
        QCOMPARE(editor.proposedExpiry(), QStringLiteral("2028-11-22"));
        auto* suggestion = named<QPushButton>(editor, "Use proposed expiry");
        QVERIFY(suggestion->isVisibleTo(&editor));
        QCOMPARE(suggestion->text(), QStringLiteral("Use Nov 22, 2028"));
        // ... and CAQH's 120 days rather than a year.
        choose(editor, "Kind", "caqh");
        QCOMPARE(editor.proposedExpiry(), QStringLiteral("2027-03-22"));
        choose(editor, "Kind", "boardCertification");
        QVERIFY(editor.proposedExpiry().isEmpty());
        QVERIFY(!suggestion->isVisibleTo(&editor));
        choose(editor, "Kind", "bls");
        suggestion->click();
        QCOMPARE(named<QLineEdit>(editor, "Expires on")->text(), QStringLiteral("2028-11-22"));
        QVERIFY(!suggestion->isVisibleTo(&editor));

        // Wrong dates and numbers are named beside their fields, and nothing is written.
        fill(editor, "Issued on", "2026/11/22");
        fill(editor, "Fee", "forty");
        QVERIFY(!editor.save());
        QCOMPARE(editor.errorFor("Issued on"),
                 QStringLiteral("Enter the date as MM/DD/YYYY or YYYY-MM-DD, such as 01/31/2027."));
        QCOMPARE(editor.errorFor("Fee"), QStringLiteral("Enter the fee in dollars, such as 280."));
        fill(editor, "Issued on", "01/01/2029");
        fill(editor, "Fee", "$45");
        QVERIFY(!editor.save());
        QVERIFY(editor.errorFor("Issued on").isEmpty());
        QCOMPARE(editor.errorFor("Expires on"),
                 QStringLiteral("This date comes before the issue date, so check both dates."));
        QCOMPARE(vault.store.doc().credentials.size(), before);

        fill(editor, "Issued on", "2026-11-22");
        fill(editor, "Renewal URL", "www.heart.org");
        vault.device.clock.advance(1h);
        QVERIFY(editor.save());
        QVERIFY(!editor.isOpen());
        QCOMPARE(vault.store.doc().credentials.size(), before + 1);
        const Credential& added = vault.store.doc().credentials.back();
        QVERIFY(!added.id.empty());
        QCOMPARE(added.kind, std::string("bls"));
        QCOMPARE(added.personId, vault.context.currentPerson()->id);
        QCOMPARE(added.expiresOn, (Day{2028, 11, 22}));
        QCOMPARE(added.fee, std::optional<double>(45));
        QCOMPARE(added.renewalURL, std::optional<std::string>("https://www.heart.org"));
        QCOMPARE(added.state, std::nullopt);
        QCOMPARE(added.updatedAt, now(vault));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(notified.last().at(0).toString(), QStringLiteral("Saved BLS card"));
        QCOMPARE(page.view()->currentIndex().data(CredentialListModel::IdRole).toString(),
                 QString::fromStdString(added.id));

        // Renewing early runs the kind's usual validity on from the current expiry, so no time is lost...
        const QString bls = idOf(vault.store, "bls", std::nullopt, std::string("BLS-88412"));
        page.renewCredential(bls);
        QCOMPARE(named<QLineEdit>(editor, "Issued on")->text(), QStringLiteral("2026-11-22"));
        QCOMPARE(named<QLineEdit>(editor, "Expires on")->text(), QStringLiteral("2028-12-31"));
        editor.cancel();
        // ...and once it has lapsed, from today.
        QVERIFY(vault.store.change([&](VaultDocument& doc) {
            for (auto& c : doc.credentials)
                if (c.id == bls.toStdString()) c.expiresOn = Day{2026, 10, 1};
        }).ok());
        page.reload();
        page.renewCredential(bls);
        QCOMPARE(named<QLineEdit>(editor, "Expires on")->text(), QStringLiteral("2028-11-22"));
        QVERIFY(editor.save());
        QCOMPARE(byId(vault.store, bls)->expiresOn, (Day{2028, 11, 22}));
        QCOMPARE(notified.last().at(0).toString(), QStringLiteral("Recorded the renewal of BLS card"));

        // Escape-like cancel leaves the record as it was.
        page.editCredential(bls);
        fill(editor, "Number", "CHANGED");
        editor.cancel();
        QCOMPARE(byId(vault.store, bls)->number, std::optional<std::string>("BLS-88412"));
    }

    void anOfficeCredentialSaysWhoseItIsAndItsKindsFieldsRoundTrip() {
        Loaded loaded(testing::fillSampleOffice);
        auto& [vault, page, editor] = loaded;
        // With no one chosen, an office says whose a new credential is before it is saved.
        const std::size_t before = vault.store.doc().credentials.size();
        page.newCredential();
        choose(editor, "Kind", "bls");
        fill(editor, "Expires on", "2028-03-01");
        QCOMPARE(named<QComboBox>(editor, QStringLiteral("Person"))->currentIndex(), -1);
        QVERIFY(!editor.save());
        QCOMPARE(testing::problem(editor, QStringLiteral("Save error")), QStringLiteral("Choose whose credential this is."));
        QCOMPARE(vault.store.doc().credentials.size(), before);

        const std::string jordan = vault.store.doc().people.at(1).id;
        choose(editor, "Person", QString::fromStdString(jordan));
        QVERIFY(editor.save());
        QCOMPARE(vault.store.doc().credentials.back().personId, jordan);

        const QString dea = idOf(vault.store, "dea", std::nullopt, std::string("FC3829147"));
        page.editCredential(dea);
        QVERIFY(shown(editor, "Schedule 2N"));
        QVERIFY(!shown(editor, "Carrier"));
        QVERIFY(named<QCheckBox>(editor, "Schedule 2N")->isChecked());
        named<QCheckBox>(editor, "Schedule 2N")->setChecked(false);
        named<QCheckBox>(editor, "Schedule 3N")->setChecked(false);
        QVERIFY(editor.save());
        QCOMPARE(byId(vault.store, dea)->schedules, (std::optional<std::vector<std::string>>({"2", "3", "4", "5"})));

        const QString policy = idOf(vault.store, "malpractice");
        page.editCredential(policy);
        QVERIFY(shown(editor, "Carrier"));
        QVERIFY(!shown(editor, "Schedule 2"));
        QCOMPARE(named<QLineEdit>(editor, "Policy number")->text(), QStringLiteral("LSM-2026-11873"));
        fill(editor, "Carrier", "Texas Medical Liability Trust");
        fill(editor, "Limits", "$2M / $4M");
        named<QComboBox>(editor, "Coverage type")->setCurrentText("Occurrence");
        QVERIFY(editor.save());
        const Credential* saved = byId(vault.store, policy);
        QCOMPARE(saved->carrier, std::optional<std::string>("Texas Medical Liability Trust"));
        QCOMPARE(saved->limits, std::optional<std::string>("$2M / $4M"));
        QCOMPARE(saved->coverageType, std::optional<std::string>("Occurrence"));
        QCOMPARE(saved->policyNumber, std::optional<std::string>("LSM-2026-11873"));

        // A physician's licence has no Compact; the nurse's has, without the APRN fields.
        page.editCredential(idOf(vault.store, "stateLicense", std::string("TX"), std::string("R4821")));
        QVERIFY(!shown(editor, "Compact license"));
        QVERIFY(shown(editor, "CME cycle start"));
        const QString nurseLicence = idOf(vault.store, "stateLicense", std::string("TX"), std::string("RN912044"));
        page.editCredential(nurseLicence);
        QVERIFY(shown(editor, "Compact license"));
        QVERIFY(shown(editor, "Home state"));
        QVERIFY(!shown(editor, "APRN role"));
        named<QCheckBox>(editor, "Compact license")->setChecked(true);
        named<QCheckBox>(editor, "Multistate")->setChecked(true);
        choose(editor, "Home state", "TX");
        named<QComboBox>(editor, "License type")->setCurrentText("RN");
        QVERIFY(editor.save());
        saved = byId(vault.store, nurseLicence);
        QVERIFY(saved->isCompact);
        QCOMPARE(saved->multistate, std::optional<bool>(true));
        QCOMPARE(saved->homeState, std::optional<std::string>("TX"));
        QCOMPARE(saved->licenseType, std::optional<std::string>("RN"));
        QCOMPARE(saved->aprnRole, std::nullopt);

        // The same licence moved to the PA loses the nurse's fields from view.
        page.editCredential(nurseLicence);
        choose(editor, "Person", QString::fromStdString(vault.store.doc().people.at(2).id));
        QVERIFY(!shown(editor, "Compact license"));
    }

    void renewalChecklistEditsSaveAndUnknownFieldsSurvive() {
        Loaded loaded;
        auto& [vault, page, editor] = loaded;
        const QString ca = idOf(vault.store, "stateLicense", std::string("CA"));
        const Timestamp opened = now(vault);
        QVERIFY(vault.store
                    .change([&](VaultDocument& doc) {
                        for (auto& c : doc.credentials) {
                            if (c.id != ca.toStdString()) continue;
                            c.extra["boardPortalId"] = JSONValue(std::string("MBC-4471"));
                            c.programId = "mbc-renewal";
                            c.cycleMonths = 24;
                        }
                        Credential permit;
                        permit.id = "permit-1";
                        permit.personId = doc.people.at(0).id;
                        permit.kind = "telehealthPermit";
                        permit.number = "TP-1";
                        permit.extra["issuingPortal"] = JSONValue(std::string("interstate"));
                        doc.credentials.push_back(permit);
                    })
                    .ok());
        page.reload();

        page.editCredential(ca);
        auto* checklist = named<QListView>(editor, "Renewal checklist");
        QVERIFY(checklist);
        auto* steps = qobject_cast<QStandardItemModel*>(checklist->model());
        QCOMPARE(steps->rowCount(), 3);
        steps->item(1)->setCheckState(Qt::Checked);            // tick
        steps->item(2)->setText("Send the workforce survey");  // rename
        checklist->setCurrentIndex(steps->index(0, 0));
        testing::button(editor, "Remove step")->click();  // remove
        fill(editor, "New step", "Upload fingerprints");
        testing::button(editor, "Add step")->click();  // add
        choose(editor, "Renewal stage", "submitted");

        // A wrong cycle month or hour count stops the save.
        fill(editor, "CME cycle start", "2025-13");
        fill(editor, "CME hours override", "-5");
        QVERIFY(!editor.save());
        QCOMPARE(editor.errorFor("CME cycle start"),
                 QStringLiteral("Enter the month the education cycle starts as YYYY-MM, such as 2025-02."));
        QCOMPARE(editor.errorFor("CME hours override"),
                 QStringLiteral("Enter the hours required as a number above zero, such as 50."));
        QCOMPARE(byId(vault.store, ca)->renewalSteps->size(), std::size_t{3});
        fill(editor, "CME cycle start", "2025-02");
        fill(editor, "CME hours override", "50");

        vault.device.clock.advance(5min);
        QVERIFY(editor.save());
        const Credential* saved = byId(vault.store, ca);
        QCOMPARE(saved->renewalSteps->size(), std::size_t{3});
        QCOMPARE(saved->renewalSteps->at(0), (RenewalStep{"cme", "Finish the CME hours", true}));
        QCOMPARE(saved->renewalSteps->at(1), (RenewalStep{"survey", "Send the workforce survey", false}));
        QCOMPARE(saved->renewalSteps->at(2).title, std::string("Upload fingerprints"));
        QVERIFY(!saved->renewalSteps->at(2).id.empty());
        QCOMPARE(saved->renewalStage, std::optional<std::string>("submitted"));
        QCOMPARE(saved->cmeCycleStart, std::optional<std::string>("2025-02"));
        QCOMPARE(saved->cmeHoursOverride, std::optional<double>(50));
        QVERIFY(saved->updatedAt > opened);
        QCOMPARE(saved->updatedAt, now(vault));
        // What the editor does not show is left as it was.
        QCOMPARE(saved->extra.at("boardPortalId"), JSONValue(std::string("MBC-4471")));
        QCOMPARE(saved->programId, std::optional<std::string>("mbc-renewal"));
        QCOMPARE(saved->cycleMonths, std::optional<int>(24));
        QCOMPARE(saved->renewalURL, std::nullopt);

        // An unknown kind keeps its text through an edit.
        page.editCredential("permit-1");
        QCOMPARE(named<QComboBox>(editor, "Kind")->currentData().toString(), QStringLiteral("telehealthPermit"));
        fill(editor, "Number", "TP-2");
        QVERIFY(editor.save());
        const Credential* permit = byId(vault.store, "permit-1");
        QCOMPARE(permit->kind, std::string("telehealthPermit"));
        QCOMPARE(permit->number, std::optional<std::string>("TP-2"));
        QCOMPARE(permit->extra.at("issuingPortal"), JSONValue(std::string("interstate")));
    }

    void attachesFilesAndDeletesWithUndo() {
        Loaded loaded;
        auto& [vault, page, editor] = loaded;
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QString path = folder.filePath("tx-license.pdf");
        const QByteArray bytes = "%PDF-1.4\n1 0 obj << /Type /Catalog >> endobj\n%%EOF\n";
        testing::writeFile(path, bytes);

        const QString tx = idOf(vault.store, "stateLicense", std::string("TX"));
        const std::size_t before = vault.store.doc().documents.size();
        page.editCredential(tx);
        QVERIFY(editor.attachFile(path));
        const auto& documents = vault.store.doc().documents;
        QCOMPARE(documents.size(), before + 1);
        const DocumentRecord& document = documents.back();
        QCOMPARE(document.filename, std::string("tx-license.pdf"));
        QCOMPARE(document.contentType, std::string("application/pdf"));
        QCOMPARE(document.kind, std::optional<std::string>("license"));
        QCOMPARE(document.personId, byId(vault.store, tx)->personId);
        QCOMPARE(document.size, std::int64_t{bytes.size()});
        // Attached at once, before any save.
        QCOMPARE(byId(vault.store, tx)->documentIds, (std::vector<std::string>{document.id}));
        const auto copy = vault.store.temporaryFile(document.id);
        QVERIFY(copy.ok());
        // Plain copies go to the real disk, where a viewer can open them.
        QCOMPARE(testing::readFile(QString::fromStdString(copy->string())), bytes);
        QVERIFY(vault.store.clearTemporaryFiles().ok());
        auto* list = named<QListView>(editor, "Documents");
        QCOMPARE(list->model()->index(0, 0).data().toString(), QStringLiteral("tx-license.pdf"));

        QVERIFY(!editor.attachFile(folder.filePath("missing.pdf")));
        QCOMPARE(editor.errorFor("Documents"),
                 QStringLiteral("missing.pdf couldn't be read, so nothing was attached."));
        QCOMPARE(vault.store.doc().documents.size(), before + 1);

        // Saving afterwards keeps the attachment; Remove detaches it but keeps the file.
        QVERIFY(editor.save());
        QCOMPARE(byId(vault.store, tx)->documentIds.size(), std::size_t{1});
        page.editCredential(tx);
        testing::button(editor, "Remove document")->click();
        QVERIFY(byId(vault.store, tx)->documentIds.empty());
        QVERIFY(!vault.store.doc().documents.at(before).deleted);
        editor.cancel();

        // Through the file dialog, as Today's fix button does it.
        page.attachTo(tx);
        auto* dialog = editor.findChild<QFileDialog*>();
        QVERIFY(dialog);
        dialog->selectFile(path);
        static_cast<QDialog*>(dialog)->accept();  // accept() is protected on QFileDialog itself
        QCOMPARE(byId(vault.store, tx)->documentIds.size(), std::size_t{1});
        editor.cancel();

        // A file attached to a credential that is never saved goes with it.
        page.newCredential();
        QVERIFY(editor.attachFile(path));
        const std::string orphan = vault.store.doc().documents.back().id;
        editor.cancel();
        QVERIFY(vault.store.doc().documents.back().deleted);
        QCOMPARE(vault.store.doc().documents.back().id, orphan);

        // Delete from the keyboard, then undo from the bar.
        const QString bls = idOf(vault.store, "bls");
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        page.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&page));
        page.editCredential(bls);
        QTest::keyClick(named<QLineEdit>(editor, "Number"), Qt::Key_Escape);
        QVERIFY(!editor.isOpen());
        QVERIFY(page.view()->hasFocus());
        QCOMPARE(page.view()->currentIndex().data(CredentialListModel::IdRole).toString(), bls);
        QTest::keyClick(page.view(), Qt::Key_Return);
        QVERIFY(editor.isOpen());
        QCOMPARE(editor.credentialId(), bls);
        fill(editor, "Number", "BLS-90001");
        QTest::keyClick(named<QLineEdit>(editor, "Number"), Qt::Key_S, Qt::ControlModifier);
        QVERIFY(!editor.isOpen());
        QCOMPARE(byId(vault.store, bls)->number, std::optional<std::string>("BLS-90001"));
        QTest::keyClick(page.view(), Qt::Key_N, Qt::ControlModifier);
        QVERIFY(editor.isOpen());
        QVERIFY(editor.credentialId().isEmpty());
        QTest::keyClick(named<QComboBox>(editor, "Kind"), Qt::Key_Escape);
        QVERIFY(!editor.isOpen());
        page.view()->setFocus();
        vault.device.clock.advance(1min);
        QSignalSpy changed(&page, &Screen::recordsChanged);
        QTest::keyClick(page.view(), Qt::Key_Delete);
        QVERIFY(byId(vault.store, bls)->deleted);
        QCOMPARE(byId(vault.store, bls)->updatedAt, now(vault));
        QVERIFY(!rowNamed(listed(page), "BLS card"));
        QCOMPARE(changed.count(), 1);
        auto* undo = testing::button(page, "Undo");
        QVERIFY(undo && undo->isVisible());
        QCOMPARE(named<QLabel>(page, "Summary")->text(), QStringLiteral("6 credentials · 3 due within 90 days"));
        QCOMPARE(named<QLabel>(page, "Undo message")->text(), QStringLiteral("Deleted BLS card."));
        // A second press doesn't take the row that moved up into its place.
        QVERIFY(page.view()->hasFocus());
        QTest::keyClick(page.view(), Qt::Key_Delete);
        QCOMPARE(changed.count(), 1);

        // With the editor open, Delete means what the editor shows, not the row the list is on.
        const QString dea = idOf(vault.store, "dea");
        page.editCredential(dea);
        page.view()->setCurrentIndex(page.view()->model()->index(0, 0));
        QVERIFY(testing::press(page, "Delete"));
        QVERIFY(byId(vault.store, dea)->deleted);
        QVERIFY(!editor.isOpen());
        QCOMPARE(changed.count(), 2);
        QCOMPARE(std::count_if(vault.store.doc().credentials.begin(), vault.store.doc().credentials.end(),
                               [](const Credential& c) { return c.deleted; }),
                 2);
        QVERIFY(named<QLabel>(page, "Undo message")->text().endsWith("Undo goes back through 2 deletions, newest first."));

        // Undo goes back newest first, from the keyboard and the bar alike.
        vault.device.clock.advance(1min);
        page.view()->setFocus();
        QTest::keyClick(page.view(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(!byId(vault.store, dea)->deleted);
        QVERIFY(byId(vault.store, bls)->deleted);
        QCOMPARE(named<QLabel>(page, "Undo message")->text(), QStringLiteral("Deleted BLS card."));
        undo->click();
        QVERIFY(!byId(vault.store, bls)->deleted);
        QCOMPARE(byId(vault.store, bls)->updatedAt, now(vault));
        QVERIFY(rowNamed(listed(page), "BLS card"));
        QVERIFY(!undo->isVisible());
        QCOMPARE(changed.count(), 4);

        // The trail goes when the vault locks.
        page.editCredential(bls);
        QTest::keyClick(named<QLineEdit>(editor, "Number"), Qt::Key_Escape);
        QTest::keyClick(page.view(), Qt::Key_Delete);
        QVERIFY(byId(vault.store, bls)->deleted);
        QVERIFY(!page.settleBeforeLock());
        QTest::keyClick(page.view(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(byId(vault.store, bls)->deleted);
    }

    void unsavedEditsAskBeforeAnotherRecordOpens() {
        Loaded loaded;
        auto& [vault, page, editor] = loaded;
        const QString tx = idOf(vault.store, "stateLicense", std::string("TX"));
        const QString ca = idOf(vault.store, "stateLicense", std::string("CA"));
        const auto txNumber = byId(vault.store, tx)->number;
        const std::size_t before = vault.store.doc().credentials.size();

        page.editCredential(tx);
        QVERIFY(!editor.hasUnsavedEdits());
        fill(editor, "Number", "TX-EDITED");
        QVERIFY(editor.hasUnsavedEdits());
        page.editCredential(ca);
        // The question comes up and the licence being edited stays as typed.
        QVERIFY(editor.unsavedEdits()->isAsking());
        QCOMPARE(editor.credentialId(), tx);
        QCOMPARE(testing::field(editor, "Number")->text(), QStringLiteral("TX-EDITED"));
        QVERIFY(testing::press(editor, "Keep editing"));
        QCOMPARE(editor.credentialId(), tx);
        QVERIFY(editor.hasUnsavedEdits());

        page.editCredential(ca);
        QVERIFY(testing::press(editor, "Discard changes"));
        QCOMPARE(editor.credentialId(), ca);
        QVERIFY(!editor.hasUnsavedEdits());
        QCOMPARE(byId(vault.store, tx)->number, txNumber);

        fill(editor, "Number", "CA-SAVED");
        page.newCredential();
        QVERIFY(editor.unsavedEdits()->isAsking());
        QVERIFY(testing::press(editor, "Save changes"));
        QCOMPARE(byId(vault.store, ca)->number, std::optional<std::string>("CA-SAVED"));
        QVERIFY(editor.isOpen());
        QVERIFY(editor.credentialId().isEmpty());  // the new one it was on the way to

        // A save the fields refuse keeps the user with them, and a day the calendar lacks is named.
        choose(editor, "Kind", "bls");
        fill(editor, "Expires on", "2027-02-30");
        page.editCredential(tx);
        QVERIFY(testing::press(editor, "Save changes"));
        QVERIFY(editor.credentialId().isEmpty());
        QCOMPARE(editor.errorFor("Expires on"),
                 QStringLiteral("There's no 2027-02-30 on the calendar, so check the day and month."));
        QCOMPARE(vault.store.doc().credentials.size(), before);
        fill(editor, "Issued on", "2026-02-29");
        fill(editor, "Expires on", "2028-02-29");
        QVERIFY(!editor.save());
        QCOMPARE(editor.errorFor("Issued on"),
                 QStringLiteral("There's no 2026-02-29 on the calendar, so check the day and month."));
        QVERIFY(editor.errorFor("Expires on").isEmpty());
        fill(editor, "Issued on", "2026-02-28");
        QVERIFY(editor.save());
        QCOMPARE(vault.store.doc().credentials.back().expiresOn, std::optional<Day>(Day{2028, 2, 29}));
    }

    void theWheelScrollsTheFormAndLeavesAnUnfocusedListAlone() {
        OpenVault vault(testing::fillSampleVault);
        testing::StyledWindow window;
        LicensesPage* page = window.hold(new LicensesPage(vault.context));
        page->reload();
        page->editCredential(idOf(vault.store, "stateLicense", std::string("TX")));
        window.resize(1100, 520);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        CredentialEditor& editor = *page->editor();
        auto* scroll = editor.findChild<QScrollArea*>(QStringLiteral("editorScroll"));
        QVERIFY(scroll && scroll->verticalScrollBar()->maximum() > 0);
        QComboBox* kind = testing::list(editor, "Kind");
        const int kindBefore = kind->currentIndex();
        const auto wheelDown = [](QWidget* target) {
            const QPointF at(target->rect().center());
            QWheelEvent event(at, target->mapToGlobal(at), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(target, &event);
        };

        testing::field(editor, "Number")->setFocus();
        QVERIFY(!kind->hasFocus());
        wheelDown(kind);
        QCOMPARE(kind->currentIndex(), kindBefore);
        QVERIFY(scroll->verticalScrollBar()->value() > 0);  // the form moved instead
        QVERIFY(!kind->hasFocus());
        QCOMPARE(kind->focusPolicy(), Qt::StrongFocus);

        // Once the user is in the list, the wheel is theirs to change it.
        kind->setFocus();
        QVERIFY(kind->hasFocus());
        wheelDown(kind);
        QVERIFY(kind->currentIndex() != kindBefore);
    }

    void aDocumentNoProgramOpensCanBeSavedAsACopy() {
        Loaded loaded;
        auto& [vault, page, editor] = loaded;
        QTemporaryDir folder;
        const QString path = folder.filePath("tx-license.pdf");
        const QByteArray bytes = "%PDF-1.4 a licence no program here reads";
        testing::writeFile(path, bytes);
        page.editCredential(idOf(vault.store, "stateLicense", std::string("TX")));
        QVERIFY(editor.attachFile(path));
        QVERIFY(!testing::canPress(editor, "Save a copy…"));

        std::vector<QUrl> asked;
        setFileOpener([&](const QUrl& url) {
            asked.push_back(url);
            return false;
        });
        QVERIFY(testing::press(editor, "Open"));
        QCOMPARE(asked.size(), std::size_t{1});
        QCOMPARE(editor.errorFor("Documents"),
                 QStringLiteral("No program here opens this kind of file, so save a copy and open it elsewhere."));
        QVERIFY(testing::press(editor, "Save a copy…"));
        auto* dialog = editor.findChild<QFileDialog*>();
        QVERIFY(dialog);
        // Somewhere that cannot take it: the reason shows and the way stays open.
        emit dialog->fileSelected(QStringLiteral("/no-such-folder/tx-license.pdf"));
        QVERIFY(!editor.errorFor("Documents").isEmpty());
        QVERIFY(testing::canPress(editor, "Save a copy…"));
        const std::string target = "/tmp/corvale-app-test/tx-license.pdf";  // on the device's own disk
        emit dialog->fileSelected(QString::fromStdString(target));
        const auto saved = vault.device.files.readFile(target);
        QVERIFY(saved.ok());
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(saved->data()), static_cast<qsizetype>(saved->size())),
                 bytes);
        QVERIFY(editor.errorFor("Documents").isEmpty());
        QVERIFY(!testing::canPress(editor, "Save a copy…"));
        dialog->reject();

        // Where a program opens it, nothing is offered.
        setFileOpener([](const QUrl&) { return true; });
        QVERIFY(testing::press(editor, "Open"));
        QVERIFY(editor.errorFor("Documents").isEmpty());
        QVERIFY(!testing::canPress(editor, "Save a copy…"));
        setFileOpener({});
        QVERIFY(vault.store.clearTemporaryFiles().ok());
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::LicensesPageTest)
#include "LicensesPageTest.moc"

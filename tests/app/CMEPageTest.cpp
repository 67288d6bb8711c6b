#include "AppTestSupport.h"
#include "app/ActivityEditor.h"
#include "app/ActivityListModel.h"
#include "app/CMEPage.h"
#include "app/ProgressRing.h"
#include "app/Theme.h"
#include "app/UnsavedEdits.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QFileInfo>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>

#include <algorithm>

namespace corvale::app {

using testing::choose;
using testing::fill;
using testing::named;
using testing::OpenVault;
using testing::problem;

namespace {

QStringList column(CMEPage& page, int column) {
    QStringList values;
    const QAbstractItemModel* model = page.view()->model();
    for (int row = 0; row < model->rowCount(); ++row) values << model->index(row, column).data().toString();
    return values;
}

QStringList titles(CMEPage& page) { return column(page, ActivityListModel::Title); }

int rowTitled(CMEPage& page, const QString& title) { return static_cast<int>(titles(page).indexOf(title)); }

bool personColumnHidden(CMEPage& page) {
    return qobject_cast<QTableView*>(page.view())->isColumnHidden(ActivityListModel::Person);
}

QStringList liveTitles(const VaultDocument& doc, const std::string& personId = {}) {
    QStringList values;
    for (const auto& activity : doc.cme)
        if (!activity.deleted && (personId.empty() || activity.personId == personId))
            values << QString::fromStdString(activity.title);
    return values;
}

QStringList sorted(QStringList values) {
    values.sort();
    return values;
}

std::string licenceId(const VaultDocument& doc, const std::string& personId, const std::string& state) {
    for (const auto& credential : doc.credentials)
        if (credential.kind == "stateLicense" && credential.personId == personId && credential.state == state)
            return credential.id;
    return {};
}

const CMEActivity* activityTitled(const VaultDocument& doc, const std::string& title) {
    for (const auto& activity : doc.cme)
        if (activity.title == title) return &activity;
    return nullptr;
}

// Cards replaced on a reload linger hidden until the event loop deletes them.
QString labelText(QWidget& root, const QString& accessibleName) {
    for (auto* label : root.findChildren<QLabel*>())
        if (label->property("handle").toString() == accessibleName && label->isVisibleTo(&root)) return label->text();
    return QString();
}

void tick(ActivityEditor& editor, const QString& key) {
    auto* view = named<QAbstractItemView>(editor, QStringLiteral("Topics"));
    QVERIFY(view);
    QAbstractItemModel* model = view->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        const QModelIndex index = model->index(row, 0);
        if (index.data(Qt::UserRole + 1).toString() == key) {
            QVERIFY(model->setData(index, Qt::Checked, Qt::CheckStateRole));
            return;
        }
    }
    QFAIL(qPrintable(QStringLiteral("topic not offered: ") + key));
}

}  // namespace

class CMEPageTest : public QObject {
    Q_OBJECT

private slots:
    void listsTheLiveActivitiesOfThePeopleInView() {
        OpenVault vault(testing::fillSampleOffice);
        const std::string maya = vault.store.doc().people.at(0).id;
        const std::string jordan = vault.store.doc().people.at(1).id;
        QVERIFY(vault.store.change([&](VaultDocument& doc) {
            doc.cme.at(0).deleted = true;  // the board review
            CMEActivity half = testing::activity(maya, "Sepsis update", std::nullopt, Day{2026, 10, 2}, 1.5, "cat1");
            half.documentIds = {"certificate"};
            doc.cme.push_back(half);
        }).ok());

        CMEPage page(vault.context);
        QCOMPARE(sorted(titles(page)), sorted(liveTitles(vault.store.doc())));
        QVERIFY(!titles(page).contains(QStringLiteral("Internal Medicine Board Review")));
        QVERIFY(!personColumnHidden(page));
        // Newest first, dates sorting as dates rather than as text.
        QCOMPARE(column(page, ActivityListModel::Completed).first(), QStringLiteral("Oct 2, 2026"));
        QCOMPARE(titles(page).last(), QStringLiteral("Safe Opioid Prescribing"));

        const int sepsis = rowTitled(page, QStringLiteral("Sepsis update"));
        const int trauma = rowTitled(page, QStringLiteral("Trauma Nursing Core Course"));
        const QAbstractItemModel* model = page.view()->model();
        QCOMPARE(column(page, ActivityListModel::Hours).at(sepsis), QStringLiteral("1.5"));
        QCOMPARE(column(page, ActivityListModel::Hours).at(trauma), QStringLiteral("16"));
        QCOMPARE(column(page, ActivityListModel::Category).at(trauma), QStringLiteral("Nursing CE"));
        QCOMPARE(column(page, ActivityListModel::Person).at(trauma), QStringLiteral("Jordan Reyes"));
        QCOMPARE(model->index(sepsis, ActivityListModel::Certificate).data(Qt::AccessibleTextRole).toString(),
                 QStringLiteral("Certificate attached"));
        QCOMPARE(model->index(trauma, ActivityListModel::Certificate).data(Qt::AccessibleTextRole).toString(),
                 QStringLiteral("No certificate"));
        const int ethics = rowTitled(page, QStringLiteral("Ethics in Clinical Practice"));
        QCOMPARE(column(page, ActivityListModel::Topics).at(ethics), QStringLiteral("Medical ethics"));
        // 2 + 3 + 1 + 6 + 1.5 of Maya's and 16 of Jordan's.
        QCOMPARE(page.footerText(), QStringLiteral("6 activities, 29.5 hours"));
        // Every provider's cycles, each saying whose it is.
        const auto cycles = [&] {
            QStringList names;
            for (auto* ring : page.findChildren<ProgressRing*>())
                if (!ring->parentWidget()->isHidden()) names << ring->accessibleName();
            names.sort();
            return names;
        };
        QCOMPARE(cycles(), QStringList({QStringLiteral("California · Maya Chen cycle progress"),
                                        QStringLiteral("Texas · Jordan Reyes cycle progress"),
                                        QStringLiteral("Texas · Maya Chen cycle progress"),
                                        QStringLiteral("Texas · Priya Natarajan cycle progress")}));

        vault.store.setScopePersonId(jordan);
        page.reload();
        QCOMPARE(titles(page), liveTitles(vault.store.doc(), jordan));
        QVERIFY(personColumnHidden(page));
        QCOMPARE(cycles(), QStringList({QStringLiteral("Texas cycle progress")}));
    }

    void filtersNarrowTheListToWhatCounts() {
        OpenVault vault(testing::fillSampleVault);
        const std::string maya = vault.store.doc().people.at(0).id;
        // Inside California's cycle (from Jan 31, 2025) but before Texas's (from May 31, 2025).
        QVERIFY(vault.store.change([&](VaultDocument& doc) {
            doc.cme.push_back(testing::activity(maya, "Point-of-care ultrasound", "SCCM", Day{2025, 3, 1}, 8, "cat1"));
            doc.cme.push_back(testing::activity(maya, "Winter grand rounds", "SCCM", Day{2025, 12, 10}, 1, "cat1"));
        }).ok());
        CMEPage page(vault.context);
        QCOMPARE(titles(page).size(), 7);

        choose(page, QStringLiteral("Counts toward"), QStringLiteral("Texas license"));
        QVERIFY(!titles(page).contains(QStringLiteral("Point-of-care ultrasound")));
        QCOMPARE(titles(page).size(), 6);
        QCOMPARE(page.footerText(), QStringLiteral("6 of 7 activities, 37 hours"));
        choose(page, QStringLiteral("Counts toward"), QStringLiteral("California license"));
        QCOMPARE(titles(page).size(), 7);

        choose(page, QStringLiteral("Period"), QStringLiteral("This year"));
        QCOMPARE(sorted(titles(page)), sorted({QStringLiteral("Internal Medicine Board Review"),
                                               QStringLiteral("Ethics in Clinical Practice"),
                                               QStringLiteral("Human Trafficking: Recognise and Respond"),
                                               QStringLiteral("Journal club")}));
        choose(page, QStringLiteral("Period"), QStringLiteral("Last 12 months"));  // from Nov 22, 2025
        QCOMPARE(titles(page).size(), 5);
        QVERIFY(titles(page).contains(QStringLiteral("Winter grand rounds")));
        QVERIFY(!titles(page).contains(QStringLiteral("Safe Opioid Prescribing")));
        choose(page, QStringLiteral("Period"), QStringLiteral("All time"));

        choose(page, QStringLiteral("Category filter"), QStringLiteral("Category 2"));
        QCOMPARE(titles(page), QStringList{QStringLiteral("Journal club")});
        choose(page, QStringLiteral("Category filter"), QStringLiteral("All categories"));

        fill(page, QStringLiteral("Search activities"), QStringLiteral("texas medical"));  // the provider
        QCOMPARE(titles(page), QStringList{QStringLiteral("Ethics in Clinical Practice")});
        fill(page, QStringLiteral("Search activities"), QStringLiteral("OPIOID"));
        QCOMPARE(titles(page), QStringList{QStringLiteral("Safe Opioid Prescribing")});
        fill(page, QStringLiteral("Search activities"), QStringLiteral("nothing like this"));
        QVERIFY(titles(page).isEmpty());
        QCOMPARE(page.footerText(), QStringLiteral("0 of 7 activities, 0 hours"));

        // A filter chosen stays chosen when the records change underneath.
        fill(page, QStringLiteral("Search activities"), QString());
        choose(page, QStringLiteral("Counts toward"), QStringLiteral("Texas license"));
        page.reload();
        QCOMPARE(named<QComboBox>(page, QStringLiteral("Counts toward"))->currentText(), QStringLiteral("Texas license"));
        QCOMPARE(titles(page).size(), 6);
    }

    void topicsOfferedComeFromThePersonsOwnStates() {
        OpenVault vault(testing::fillSampleOffice);
        const std::string maya = vault.store.doc().people.at(0).id;
        const std::string jordan = vault.store.doc().people.at(1).id;
        CMEPage page(vault.context);

        // With no one chosen the office is asked whose the activity is before any state's topics are offered.
        page.logActivity();
        QCOMPARE(named<QComboBox>(*page.editor(), QStringLiteral("Person"))->currentIndex(), -1);
        QVERIFY(!page.editor()->save());
        choose(*page.editor(), QStringLiteral("Person"), QStringLiteral("Maya Chen, MD"));
        QStringList offered = page.editor()->offeredTopics();
        for (const char* key : {"medicalEthics", "humanTrafficking", "painManagement"})
            QVERIFY2(offered.contains(QLatin1String(key)), key);
        QVERIFY(!offered.contains(QStringLiteral("jurisprudence")));
        QVERIFY(page.editor()->tickedTopics().isEmpty());
        // Sorted by the names shown.
        auto* topics = named<QAbstractItemView>(*page.editor(), QStringLiteral("Topics"));
        QStringList names;
        for (int row = 0; row < topics->model()->rowCount(); ++row) names << topics->model()->index(row, 0).data().toString();
        QStringList byName = names;
        std::sort(byName.begin(), byName.end(), [](const QString& a, const QString& b) { return a.localeAwareCompare(b) < 0; });
        QCOMPARE(names, byName);

        // Choosing the nurse in the editor offers her board's topics instead, keeping nothing of the MD rules.
        choose(*page.editor(), QStringLiteral("Person"), QStringLiteral("Jordan Reyes, RN"));
        offered = page.editor()->offeredTopics();
        QVERIFY(offered.contains(QStringLiteral("jurisprudence")));
        QVERIFY(!offered.contains(QStringLiteral("medicalEthics")));
        QVERIFY(!offered.contains(QStringLiteral("painManagement")));
        page.editor()->cancel();

        vault.store.setScopePersonId(jordan);
        page.reload();
        page.logActivity();
        QVERIFY(page.editor()->offeredTopics().contains(QStringLiteral("jurisprudence")));
        QVERIFY(!page.editor()->offeredTopics().contains(QStringLiteral("humanTrafficking")));
        page.editor()->cancel();

        // A tag no rule asks for stays listed, and ticked, on the activity that carries it.
        vault.store.setScopePersonId(maya);
        QVERIFY(vault.store.change([](VaultDocument& doc) { doc.cme.at(4).topics = {"wildernessMedicine"}; }).ok());
        page.reload();
        page.editActivity(QString::fromStdString(vault.store.doc().cme.at(4).id));
        QVERIFY(page.editor()->offeredTopics().contains(QStringLiteral("wildernessMedicine")));
        QCOMPARE(page.editor()->tickedTopics(), QStringList{QStringLiteral("wildernessMedicine")});
    }

    void loggingForALicenceMovesItsCard() {
        OpenVault vault(testing::fillSampleVault);
        const std::string maya = vault.store.doc().people.at(0).id;
        const QString california = QString::fromStdString(licenceId(vault.store.doc(), maya, "CA"));
        CMEPage page(vault.context);
        QSignalSpy changed(&page, &Screen::recordsChanged);
        QSignalSpy notified(&page, &Screen::notify);

        QCOMPARE(labelText(page, QStringLiteral("California summary")), QStringLiteral("36 of 50 CME hours"));
        QVERIFY(labelText(page, QStringLiteral("California open topics")).contains(QStringLiteral("Pain management, 9 h left")));

        QVERIFY(testing::press(page, QStringLiteral("Log CME for California")));
        ActivityEditor& editor = *page.editor();
        QVERIFY(editor.isEditing());
        // The licence's open topic is suggested, not ticked for the user.
        QVERIFY(editor.tickedTopics().isEmpty());
        const auto labels = editor.findChildren<QLabel*>();
        QVERIFY(std::any_of(labels.begin(), labels.end(), [](const QLabel* label) {
            return label->text().contains(QStringLiteral("Still open there: Pain management"));
        }));
        tick(editor, QStringLiteral("painManagement"));
        QCOMPARE(named<QComboBox>(page, QStringLiteral("Counts toward"))->currentText(), QStringLiteral("California license"));
        QCOMPARE(named<QLineEdit>(editor, QStringLiteral("Completed on"))->text(), QStringLiteral("2026-11-22"));

        fill(editor, QStringLiteral("Title"), QStringLiteral("  End-of-life care and pain  "));
        fill(editor, QStringLiteral("Provider"), QStringLiteral("CSUSM"));
        fill(editor, QStringLiteral("Completed on"), QStringLiteral("11/01/2026"));
        fill(editor, QStringLiteral("Hours"), QStringLiteral("9"));
        fill(editor, QStringLiteral("Cost"), QStringLiteral("$1,250"));
        QVERIFY(editor.save());
        QVERIFY(!editor.isEditing());

        const CMEActivity* saved = activityTitled(vault.store.doc(), "End-of-life care and pain");
        QVERIFY(saved);
        QCOMPARE(saved->personId, maya);
        QCOMPARE(saved->id.size(), std::size_t{36});
        QVERIFY(saved->updatedAt == Timestamp::now(vault.device.clock));
        QCOMPARE(saved->topics, std::vector<std::string>{"painManagement"});
        QCOMPARE(saved->completedOn, (Day{2026, 11, 1}));
        QCOMPARE(saved->hours, 9.0);
        QCOMPARE(saved->category, std::string("cat1"));
        QCOMPARE(saved->cost, std::optional<double>(1250));
        QVERIFY(!saved->boardApproved);
        QVERIFY(vault.store.hasPendingSave());

        QCOMPARE(labelText(page, QStringLiteral("California summary")), QStringLiteral("45 of 50 CME hours"));
        QVERIFY(!labelText(page, QStringLiteral("California open topics")).contains(QStringLiteral("Pain management")));
        QVERIFY(titles(page).contains(QStringLiteral("End-of-life care and pain")));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(notified.count(), 1);
        QVERIFY(notified.at(0).at(0).toString().contains(QStringLiteral("End-of-life care and pain")));
    }

    void wrongInputIsExplainedAndNothingIsWritten() {
        OpenVault vault(testing::fillSampleVault);
        CMEPage page(vault.context);
        ActivityEditor& editor = *page.editor();
        const std::size_t before = vault.store.doc().cme.size();
        QSignalSpy changed(&page, &Screen::recordsChanged);

        page.show();
        QVERIFY(QTest::qWaitForWindowActive(&page));
        QTest::keyClick(&page, Qt::Key_N, Qt::ControlModifier);
        QVERIFY(editor.isEditing());
        fill(editor, QStringLiteral("Title"), QStringLiteral("Abandoned"));
        fill(editor, QStringLiteral("Hours"), QStringLiteral("2"));
        QTest::keyClick(named<QLineEdit>(editor, QStringLiteral("Hours")), Qt::Key_Escape);
        QVERIFY(!editor.isEditing());
        QCOMPARE(vault.store.doc().cme.size(), before);

        page.logActivity();
        QVERIFY(named<QLineEdit>(editor, QStringLiteral("Title"))->text().isEmpty());
        fill(editor, QStringLiteral("Completed on"), QString());
        QVERIFY(!editor.save());
        QCOMPARE(problem(editor, QStringLiteral("Title error")), QStringLiteral("Enter the activity's title."));
        QCOMPARE(problem(editor, QStringLiteral("Completed on error")), QStringLiteral("Enter the day you completed it."));
        QCOMPARE(problem(editor, QStringLiteral("Hours error")), QStringLiteral("Enter the hours it earned."));

        fill(editor, QStringLiteral("Title"), QStringLiteral("Stroke update"));
        fill(editor, QStringLiteral("Completed on"), QStringLiteral("2026-02-30"));
        fill(editor, QStringLiteral("Hours"), QStringLiteral("0"));
        fill(editor, QStringLiteral("Cost"), QStringLiteral("free"));
        QVERIFY(!editor.save());
        QVERIFY(problem(editor, QStringLiteral("Title error")).isEmpty());
        QCOMPARE(problem(editor, QStringLiteral("Completed on error")),
                 QStringLiteral("There's no 2026-02-30 on the calendar, so check the day and month."));
        QCOMPARE(problem(editor, QStringLiteral("Hours error")), QStringLiteral("Enter the hours as a number above 0."));
        QCOMPARE(problem(editor, QStringLiteral("Cost error")),
                 QStringLiteral("Enter the cost in dollars, or leave it blank."));

        fill(editor, QStringLiteral("Completed on"), QStringLiteral("2026-11-23"));  // tomorrow
        fill(editor, QStringLiteral("Hours"), QStringLiteral("1.125"));
        fill(editor, QStringLiteral("Cost"), QString());
        QVERIFY(!editor.save());
        QCOMPARE(problem(editor, QStringLiteral("Completed on error")),
                 QStringLiteral("That day is still ahead. Enter the day you completed it."));
        QCOMPARE(problem(editor, QStringLiteral("Hours error")), QStringLiteral("Use at most two decimals for the hours."));

        QCOMPARE(vault.store.doc().cme.size(), before);
        QVERIFY(!vault.store.hasPendingSave());
        QCOMPARE(changed.count(), 0);
        QVERIFY(editor.isEditing());

        // Today itself is fine, and so are two decimals.
        fill(editor, QStringLiteral("Completed on"), QStringLiteral("2026-11-22"));
        fill(editor, QStringLiteral("Hours"), QStringLiteral("1.25"));
        QTest::keyClick(named<QLineEdit>(editor, QStringLiteral("Hours")), Qt::Key_S, Qt::ControlModifier);
        QVERIFY(!editor.isEditing());
        QCOMPARE(vault.store.doc().cme.size(), before + 1);
        QCOMPARE(vault.store.doc().cme.back().hours, 1.25);
    }

    void anEditKeepsWhatTheEditorDoesNotShow() {
        OpenVault vault(testing::fillSampleVault);
        QVERIFY(vault.store.change([](VaultDocument& doc) {
            doc.cme.at(1).extra["accreditationId"] = JSONValue(std::string("ACCME-55102"));
            doc.cme.at(1).boardApproved = true;
        }).ok());
        const std::string id = vault.store.doc().cme.at(1).id;
        const Timestamp before = vault.store.doc().cme.at(1).updatedAt;
        vault.device.clock.advance(std::chrono::hours(1));
        CMEPage page(vault.context);

        page.editActivity(QString::fromStdString(id));
        ActivityEditor& editor = *page.editor();
        QCOMPARE(editor.activityId(), QString::fromStdString(id));
        QCOMPARE(named<QLineEdit>(editor, QStringLiteral("Title"))->text(), QStringLiteral("Ethics in Clinical Practice"));
        QCOMPARE(editor.tickedTopics(), QStringList{QStringLiteral("medicalEthics")});
        QVERIFY(named<QCheckBox>(editor, QStringLiteral("Board approved"))->isChecked());
        fill(editor, QStringLiteral("Title"), QStringLiteral("Ethics and professionalism"));
        tick(editor, QStringLiteral("humanTrafficking"));
        named<QPlainTextEdit>(editor, QStringLiteral("Notes"))->setPlainText(QStringLiteral("Live webinar"));
        QVERIFY(editor.save());

        const auto& doc = vault.store.doc();
        QCOMPARE(std::count_if(doc.cme.begin(), doc.cme.end(), [&](const CMEActivity& a) { return a.id == id; }), 1);
        const CMEActivity& edited = doc.cme.at(1);
        QCOMPARE(edited.title, std::string("Ethics and professionalism"));
        QCOMPARE(edited.notes, std::optional<std::string>("Live webinar"));
        QVERIFY(edited.extra.contains("accreditationId"));
        QCOMPARE(edited.extra.at("accreditationId").asString(), std::string("ACCME-55102"));
        QCOMPARE(edited.boardApproved, std::optional<bool>(true));
        QCOMPARE(edited.topics, (std::vector<std::string>{"humanTrafficking", "medicalEthics"}));
        QVERIFY(edited.updatedAt > before);
    }

    void anActivityBeingEditedIsNotLeftSilently() {
        OpenVault vault(testing::fillSampleVault);
        CMEPage page(vault.context);
        ActivityEditor& editor = *page.editor();
        const std::string first = vault.store.doc().cme.at(0).id;
        const std::string second = vault.store.doc().cme.at(1).id;
        const std::string firstTitle = vault.store.doc().cme.at(0).title;

        // A ticked topic is an edit like any typed field.
        page.editActivity(QString::fromStdString(first));
        QVERIFY(!editor.hasUnsavedEdits());
        tick(editor, QStringLiteral("humanTrafficking"));
        QVERIFY(editor.hasUnsavedEdits());
        page.editActivity(QString::fromStdString(second));
        QVERIFY(editor.unsavedEdits()->isAsking());
        QCOMPARE(editor.activityId(), QString::fromStdString(first));
        QVERIFY(testing::press(editor, QStringLiteral("Discard changes")));
        QCOMPARE(editor.activityId(), QString::fromStdString(second));
        const auto& topics = vault.store.doc().cme.at(0).topics;
        QVERIFY(std::find(topics.begin(), topics.end(), "humanTrafficking") == topics.end());

        fill(editor, QStringLiteral("Title"), QStringLiteral("Renamed before logging another"));
        page.logActivity();
        QVERIFY(testing::press(editor, QStringLiteral("Save changes")));
        QCOMPARE(vault.store.doc().cme.at(1).title, std::string("Renamed before logging another"));
        QVERIFY(editor.isEditing());
        QVERIFY(editor.activityId().isEmpty());

        // Before a lock: complete edits are saved, the rest dropped and reported.
        page.editActivity(QString::fromStdString(first));
        fill(editor, QStringLiteral("Title"), QStringLiteral("Saved by the lock"));
        QVERIFY(!page.settleBeforeLock());
        QCOMPARE(vault.store.doc().cme.at(0).title, std::string("Saved by the lock"));
        page.editActivity(QString::fromStdString(first));
        fill(editor, QStringLiteral("Hours"), QStringLiteral("none"));
        QVERIFY(page.settleBeforeLock());
        QVERIFY(!editor.isEditing());
        QCOMPARE(vault.store.doc().cme.at(0).title, std::string("Saved by the lock"));
        QVERIFY(firstTitle != "Saved by the lock");
    }

    void certificatesAreStoredAsCMEDocuments() {
        OpenVault vault(testing::fillSampleVault);
        const std::string maya = vault.store.doc().people.at(0).id;
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QString path = folder.filePath(QStringLiteral("BLS certificate.pdf"));
        testing::writeFile(path, "%PDF-1.4\n1 0 obj << /Type /Catalog >> endobj\ntrailer << /Root 1 0 R >>\n%%EOF\n");
        const std::string id = vault.store.doc().cme.at(4).id;
        const std::size_t documentsBefore = vault.store.doc().documents.size();
        CMEPage page(vault.context);

        // Abandoning the edit takes the stored file away again.
        page.editActivity(QString::fromStdString(id));
        QVERIFY(page.editor()->attachFile(path));
        QCOMPARE(vault.store.doc().documents.size(), documentsBefore + 1);
        page.editor()->cancel();
        QVERIFY(vault.store.doc().documents.back().deleted);
        QVERIFY(vault.store.doc().cme.at(4).documentIds.empty());

        page.editActivity(QString::fromStdString(id));
        QVERIFY(!page.editor()->attachFile(folder.filePath(QStringLiteral("missing.pdf"))));
        QVERIFY(problem(*page.editor(), QStringLiteral("Certificates error")).contains(QStringLiteral("missing.pdf")));
        QCOMPARE(vault.store.doc().documents.size(), documentsBefore + 1);

        QVERIFY(page.editor()->attachFile(path));
        const DocumentRecord stored = vault.store.doc().documents.back();
        QVERIFY(!stored.deleted);
        QCOMPARE(stored.kind, std::optional<std::string>("cme"));
        QCOMPARE(stored.filename, std::string("BLS certificate.pdf"));
        QCOMPARE(stored.contentType, std::string("application/pdf"));
        QCOMPARE(stored.personId, maya);
        QCOMPARE(stored.size, static_cast<std::int64_t>(QFileInfo(path).size()));
        auto* certificates = named<QAbstractItemView>(*page.editor(), QStringLiteral("Certificates"));
        QCOMPARE(certificates->model()->index(0, 0).data().toString(), QStringLiteral("BLS certificate.pdf"));
        // A second file, attached by mistake and removed before saving, does not stay behind.
        QVERIFY(page.editor()->attachFile(path));
        const std::string mistake = vault.store.doc().documents.back().id;
        QCOMPARE(certificates->model()->rowCount(), 2);
        testing::button(*page.editor(), QStringLiteral("Remove certificate"))->click();
        QCOMPARE(certificates->model()->rowCount(), 1);
        QVERIFY(page.editor()->save());
        QVERIFY(vault.store.doc().documents.back().id == mistake && vault.store.doc().documents.back().deleted);

        QCOMPARE(vault.store.doc().cme.at(4).documentIds, std::vector<std::string>{stored.id});
        QVERIFY(std::any_of(vault.store.doc().documents.begin(), vault.store.doc().documents.end(),
                            [&](const DocumentRecord& d) { return d.id == stored.id && !d.deleted; }));
        const int row = rowTitled(page, QStringLiteral("Journal club"));
        QCOMPARE(page.view()->model()->index(row, ActivityListModel::Certificate).data(Qt::AccessibleTextRole).toString(),
                 QStringLiteral("Certificate attached"));
        // The plain copy to open holds the very bytes attached.
        const auto copy = vault.store.temporaryFile(stored.id);
        QVERIFY(copy.ok());
        const QByteArray attached = testing::readFile(path);
        QVERIFY(!attached.isEmpty());
        QCOMPARE(testing::readFile(QString::fromStdString(copy->string())), attached);
        QVERIFY(vault.store.clearTemporaryFiles().ok());
    }

    void deletingLeavesATombstoneThatUndoBringsBack() {
        OpenVault vault(testing::fillSampleVault);
        CMEPage page(vault.context);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        const int row = rowTitled(page, QStringLiteral("Journal club"));
        const std::string id = activityTitled(vault.store.doc(), "Journal club")->id;
        vault.device.clock.advance(std::chrono::minutes(5));

        page.view()->setCurrentIndex(page.view()->model()->index(row, 0));
        page.view()->setFocus();
        QTest::keyClick(page.view(), Qt::Key_Delete);
        const CMEActivity* deleted = activityTitled(vault.store.doc(), "Journal club");
        QVERIFY(deleted->deleted);
        QVERIFY(deleted->updatedAt == Timestamp::now(vault.device.clock));
        QVERIFY(!titles(page).contains(QStringLiteral("Journal club")));
        auto* undo = testing::button(page, QStringLiteral("Undo delete"));
        QVERIFY(undo && undo->isVisible());
        QCOMPARE(named<QLabel>(page, QStringLiteral("Undo message"))->text(), QStringLiteral("Deleted “Journal club”."));
        // A second press doesn't take the row that moved up into its place.
        const auto live = [&] {
            return std::count_if(vault.store.doc().cme.begin(), vault.store.doc().cme.end(),
                                 [](const CMEActivity& a) { return !a.deleted; });
        };
        const auto liveAfterOne = live();
        QTest::keyClick(page.view(), Qt::Key_Delete);
        QCOMPARE(live(), liveAfterOne);

        vault.device.clock.advance(std::chrono::minutes(1));
        undo->click();
        const CMEActivity* restored = activityTitled(vault.store.doc(), "Journal club");
        QVERIFY(!restored->deleted);
        QVERIFY(restored->updatedAt == Timestamp::now(vault.device.clock));
        QVERIFY(titles(page).contains(QStringLiteral("Journal club")));
        QVERIFY(!undo->isVisible());
        QCOMPARE(std::count_if(vault.store.doc().cme.begin(), vault.store.doc().cme.end(),
                               [&](const CMEActivity& a) { return a.id == id; }),
                 1);

        // From the editor too, which closes on the way.
        page.editActivity(QString::fromStdString(id));
        testing::button(*page.editor(), QStringLiteral("Delete activity"))->click();
        QVERIFY(activityTitled(vault.store.doc(), "Journal club")->deleted);
        QVERIFY(!page.editor()->isEditing());
    }

    void aLargeOfficeStaysQuick() {
        OpenVault vault(testing::fillSampleOffice);
        const std::string jordan = vault.store.doc().people.at(1).id;
        QVERIFY(vault.store.change([](VaultDocument& doc) {
            const CMEActivity model = doc.cme.front();
            for (int i = 0; i < 50000; ++i) {
                CMEActivity copy = model;
                copy.id = newUUID();
                copy.personId = doc.people.at(static_cast<std::size_t>(i % 3)).id;
                copy.completedOn = Day{2023 + i % 4, 1 + i % 12, 1 + i % 28};
                copy.topics = {"medicalEthics", "opioidPrescribing"};
                doc.cme.push_back(std::move(copy));
            }
        }).ok());
        // Jordan's license runs to Dec 15, 2026 on a two-year cycle.
        const auto& cme = vault.store.doc().cme;
        const auto inJordansCycle = std::count_if(cme.begin(), cme.end(), [&](const CMEActivity& a) {
            return a.personId == jordan && a.completedOn >= Day{2024, 12, 15} && a.completedOn <= Day{2026, 12, 15};
        });

        CMEPage page(vault.context);
        page.reload();
        choose(page, QStringLiteral("Counts toward"), QStringLiteral("Texas license · Jordan Reyes"));
        QCOMPARE(page.view()->model()->rowCount(), static_cast<int>(inJordansCycle));
        // His own 16-hour course and the 24-hour copies.
        const auto hours = (inJordansCycle - 1) * 24 + 16;
        QCOMPARE(page.footerText(), QStringLiteral("%1 of 50006 activities, %2 hours").arg(inJordansCycle).arg(hours));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::CMEPageTest)
#include "CMEPageTest.moc"

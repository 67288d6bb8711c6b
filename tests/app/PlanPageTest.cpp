#include "AppTestSupport.h"
#include "app/PlanPage.h"

#include <QPushButton>
#include <QSignalSpy>

#ifndef Q_MOC_RUN
#include "requirements/CredentialRenewal.h"
#include "vault/VaultStore.h"
#endif

namespace corvale::app {

using testing::OpenVault;

class PlanPageTest : public QObject {
    Q_OBJECT

private slots:
    void twelveMonthsOfWhatIsComingForWhoeverIsInView() {
        OpenVault vault(testing::fillSampleOffice);
        testing::StyledWindow window;
        auto* page = window.hold(new PlanPage(vault.context, &window));
        page->reload();
        QVERIFY(!page->timelineLines().contains(QStringLiteral("Nothing due.")));  // not made while out of view
        window.resize(1280, 900);
        window.show();

        const Day today = vault.context.today();
        const QStringList lines = page->timelineLines();
        for (int month = 0; month < 12; ++month)
            QVERIFY(lines.contains(QString::fromStdString(Day{today.year, today.month, 1}.addingMonths(month).monthAndYear())));
        QVERIFY(!lines.contains(QString::fromStdString(Day{today.year, today.month, 1}.addingMonths(12).monthAndYear())));
        // Every credential expiring in the twelve months is on it, saying whose in an office.
        const VaultDocument& doc = vault.store.doc();
        const Day end = Day{today.year, today.month, 1}.addingMonths(12);
        int expiring = 0;
        for (const auto& credential : doc.credentials) {
            if (credential.deleted || !credential.expiresOn || *credential.expiresOn < today || !(*credential.expiresOn < end))
                continue;
            ++expiring;
            const auto owner = std::find_if(doc.people.begin(), doc.people.end(),
                                            [&](const Person& p) { return p.id == credential.personId; });
            const QString suffix = QStringLiteral(" for ") + QString::fromStdString(owner->name) + QStringLiteral(" expires");
            QVERIFY2(std::any_of(lines.begin(), lines.end(), [&](const QString& l) { return l.endsWith(suffix); }),
                     qPrintable(suffix));
        }
        QVERIFY(expiring > 0);
        // A lapsed licence costs the most, and the cost is said in words.
        QVERIFY(lines.contains(QStringLiteral("Costs 25 points of the standing score if nothing is done by then")));
        testing::screenshot(window, QStringLiteral("plan-everyone"));

        // Each event's button opens what mends it.
        QSignalSpy fixes(page, &PlanPage::fixRequested);
        const auto buttons = page->findChildren<QPushButton*>();
        const auto renew = std::find_if(buttons.begin(), buttons.end(), [](const QPushButton* b) {
            return b->isVisibleTo(b->window()) && b->text() == QStringLiteral("Renew");
        });
        QVERIFY(renew != buttons.end());
        (*renew)->click();
        QCOMPARE(fixes.count(), 1);
        QCOMPARE(fixes.at(0).at(0).toString(), QStringLiteral("renew"));
        const QString opened = fixes.at(0).at(1).toString();
        QVERIFY(std::any_of(doc.credentials.begin(), doc.credentials.end(),
                            [&](const Credential& c) { return QString::fromStdString(c.id) == opened; }));

        // One person in view: theirs alone, and no name on each line.
        const Person& one = doc.people.at(1);
        vault.store.setScopePersonId(one.id);
        page->reload();
        for (const QString& line : page->timelineLines())
            for (const auto& person : doc.people) QVERIFY2(!line.contains(QString::fromStdString(person.name)), qPrintable(line));

        // Out of view it keeps nothing of the records.
        window.hide();
        page->reload();
        QVERIFY(!page->timelineLines().contains(QStringLiteral("Nothing due.")));
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::PlanPageTest)
#include "PlanPageTest.moc"

// Colour, contrast and focus: every pair of theme colours drawn together reads
// in light and dark, every control shows where the keyboard is, and the
// screens are photographed in both schemes at a large and a small size.

#include "AppTestSupport.h"
#include "app/MainWindow.h"
#include "app/CMEPage.h"
#include "app/LicensesPage.h"
#include "app/ThemeColors.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QHeaderView>
#include <QImage>
#include <QItemSelectionModel>
#include <QTreeView>
#include <QTest>

namespace corvale::app {

using testing::describe;
using testing::DesktopScheme;
using testing::Device;
using testing::focusableControls;
using testing::rules;

namespace {

bool near(QRgb pixel, const QColor& color) {
    return std::abs(qRed(pixel) - color.red()) <= 28 && std::abs(qGreen(pixel) - color.green()) <= 28 &&
           std::abs(qBlue(pixel) - color.blue()) <= 28;
}

int pixelsNear(const QImage& image, const QColor& color) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (near(image.pixel(x, y), color)) ++count;
    return count;
}

}  // namespace

class ThemeTest : public QObject {
    Q_OBJECT

private slots:
    void everyColourPairReadsInLightAndDark() {
        // The checker itself: black on white is the largest contrast there is,
        // and #777 on white falls just short of the text threshold.
        QCOMPARE(qRound(contrastRatio(Qt::black, Qt::white) * 100), 2100);
        QCOMPARE(qRound(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white) * 100), 448);
        QVERIFY(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white) < requiredContrast(PairUse::text));
        QVERIFY(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white) >= requiredContrast(PairUse::largeText));
        QCOMPARE(contrastRatio(Qt::white, QColor(0x2b, 0x6f, 0x97)),
                 contrastRatio(QColor(0x2b, 0x6f, 0x97), Qt::white));

        QStringList failures;
        for (const bool dark : {false, true}) {
            for (const auto& pair : colorPairs()) {
                const double ratio =
                    contrastRatio(themeColor(pair.foreground, dark), themeColor(pair.background, dark));
                if (ratio < requiredContrast(pair.use))
                    failures << QStringLiteral("%1 (%2): %3:1, needs %4:1")
                                    .arg(QString::fromLatin1(pair.where), dark ? u"dark" : u"light")
                                    .arg(ratio, 0, 'f', 2)
                                    .arg(requiredContrast(pair.use));
            }
            // The sheet names only colours the table has.
            const QString sheet = appStyleSheet(dark);
            QVERIFY(!sheet.contains(QLatin1Char('@')));
            QVERIFY(!sheet.contains(QStringLiteral("palette(")));
            QVERIFY(sheet.contains(themeColor(ColorRole::focusRing, dark).name()));
        }
        QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
        // Every role has both values.
        for (const auto& color : themeColors()) QVERIFY(color.light.isValid() && color.dark.isValid());
        QVERIFY(appStyleSheet(false) != appStyleSheet(true));
    }

    void theWindowFollowsTheDesktopsScheme() {
        Device device;
        MainWindow window(device.setup(), rules());
        QCOMPARE(window.palette().color(QPalette::Window), themeColor(ColorRole::window, false));
        {
            DesktopScheme dark(true);
            QCOMPARE(window.palette().color(QPalette::Window), themeColor(ColorRole::window, true));
            QCOMPARE(window.palette().color(QPalette::Text), themeColor(ColorRole::text, true));
            // The theme's highlight, not the desktop's white one under white text.
            QCOMPARE(window.palette().color(QPalette::Highlight), themeColor(ColorRole::selection, true));
            // Controls inside draw with it too: a placeholder in the theme's colour, not the desktop's.
            auto* edit = window.findChild<QLineEdit*>();
            QVERIFY(edit);
            QCOMPARE(edit->palette().color(QPalette::PlaceholderText), themeColor(ColorRole::placeholder, true));
        }
        QCOMPARE(window.palette().color(QPalette::Window), themeColor(ColorRole::window, false));
    }

    // A ring is at least 2 px on every side: pixels in a focus colour that
    // appear when the control takes focus must cover twice its outline, less
    // what rounded corners cut off.
    void everyControlOnEveryScreenShowsAFocusRing() {
        for (const bool dark : {false, true}) {
            DesktopScheme scheme(dark);
            testing::ShownWindow window(testing::fillSampleOffice);
            const QColor ring = themeColor(ColorRole::focusRing, dark);
            const QColor ringOnAccent = themeColor(ColorRole::focusOnAccent, dark);
            QStringList failures;
            int checked = 0;
            for (int screen = 0; screen < testing::screenNames().size(); ++screen) {
                QTest::keyClick(&window, static_cast<Qt::Key>(Qt::Key_1 + screen), Qt::ControlModifier);
                QTest::qWait(20);
                for (auto* control : focusableControls(window)) {
                    window.setFocus();
                    const QImage before = control->grab().toImage();
                    control->setFocus(Qt::OtherFocusReason);
                    if (!control->hasFocus()) continue;
                    const QImage after = control->grab().toImage();
                    const int ringPixels = std::max(pixelsNear(after, ring) - pixelsNear(before, ring),
                                                    pixelsNear(after, ringOnAccent) - pixelsNear(before, ringOnAccent));
                    const int outline = 2 * (control->width() + control->height());
                    if (ringPixels < outline * 3 / 2)
                        failures << QStringLiteral("%1 on screen %2 (%3): %4 ring pixels, needs %5")
                                        .arg(describe(control))
                                        .arg(screen + 1)
                                        .arg(dark ? u"dark" : u"light")
                                        .arg(ringPixels)
                                        .arg(outline * 3 / 2);
                    ++checked;
                }
            }
            QVERIFY(checked > 20);
            QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
        }
    }

    void aDropDownsHighlightedItemReads() {
        for (const bool dark : {false, true}) {
            DesktopScheme scheme(dark);
            testing::ShownWindow window(testing::fillSampleOffice);
            auto* people = window.findChild<QComboBox*>(QStringLiteral("personSwitcher"));
            QVERIFY(people && people->count() > 1);
            people->showPopup();
            QAbstractItemView* view = people->view();
            QTRY_VERIFY(view->isVisible());
            // As the arrow keys leave it: current and selected.
            view->setCurrentIndex(people->model()->index(1, 0));
            view->selectionModel()->select(view->currentIndex(), QItemSelectionModel::ClearAndSelect);
            const QImage image = view->viewport()->grab().toImage();
            const QRect row = view->visualRect(view->currentIndex()).intersected(image.rect());
            const QColor background = image.pixelColor(row.left() + 1, row.center().y());
            double best = 1;
            for (int y = row.top(); y <= row.bottom(); ++y)
                for (int x = row.left(); x <= row.right(); ++x)
                    best = std::max(best, contrastRatio(image.pixelColor(x, y), background));
            image.save(QStringLiteral(CORVALE_SCREENSHOT_DIR "/theme-drop-down-%1.png").arg(dark ? u"dark" : u"light"));
            QVERIFY2(best >= 4.5, qPrintable(QStringLiteral("highlighted item at %1:1 in %2").arg(best).arg(dark)));
            people->hidePopup();
        }
    }

    void screensInLightAndDarkAtLargeAndSmallSizes() {
        for (const bool dark : {false, true}) {
            DesktopScheme scheme(dark);
            testing::ShownWindow window(testing::fillSampleOffice);
            const auto shoot = [&](const QString& name, QSize size) {
                const QString file = QStringLiteral("theme-%1-%2-%3x%4").arg(name, dark ? u"dark" : u"light");
                testing::screenshot(window, file.arg(size.width()).arg(size.height()), size);
            };
            const QStringList& names = testing::screenNames();
            for (int screen = 0; screen < names.size(); ++screen) {
                QTest::keyClick(&window, static_cast<Qt::Key>(Qt::Key_1 + screen), Qt::ControlModifier);
                QCOMPARE(window.pageName(), names[screen]);
                for (const QSize size : {QSize(1920, 1080), QSize(900, 600)}) {
                    shoot(names[screen], size);
                    // The name reads first, so it keeps its share of a narrow list.
                    if (auto* list = testing::named<QTreeView>(window, QStringLiteral("Credentials")))
                        QVERIFY(list->header()->sectionSize(0) * 4 >= list->viewport()->width());
                }
            }
            // Each editor beside its list where both fit, and on its own where they don't.
            window.licensesPage()->newCredential();
            window.cmePage()->logActivity();
            for (const QString& screen : {QStringLiteral("licenses"), QStringLiteral("cme")}) {
                window.showScreen(screen);
                for (const QSize size : {QSize(1920, 1080), QSize(1280, 800), QSize(900, 600)})
                    shoot(screen + QStringLiteral("-editor"), size);
            }
        }
    }
};

}  // namespace corvale::app

QTEST_MAIN(corvale::app::ThemeTest)
#include "ThemeTest.moc"

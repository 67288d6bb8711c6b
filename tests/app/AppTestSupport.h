#pragma once
// What the app's tests share: one device in memory on 2026-11-22, the state
// rules delivered with the program, a realistic clinician's vault, and
// helpers that drive widgets by their accessible names.

// Hidden from the meta-object compiler, which cannot read the records' C++20 headers.
#ifndef Q_MOC_RUN

#include "app/AppContext.h"
#include "app/MainWindow.h"
#include "app/Theme.h"
#include "platform/Clock.h"
#include "platform/Scheduler.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>

#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace corvale::app::testing {

using namespace std::chrono_literals;

// Plain copies go to the real disk, and starting or locking a vault clears
// every copy in its folder: each test process gets a folder of its own.
inline const std::filesystem::path& plainCopyFolder() {
    static const struct Folder {
        std::filesystem::path path =
            std::filesystem::temp_directory_path() / ("corvale-app-test-" + std::to_string(::getpid()));
        ~Folder() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    } folder;
    return folder.path;
}

struct Device {
    InMemoryFileSystem files;
    InMemorySecretStore secrets;
    FixedClock clock{std::chrono::sys_days{std::chrono::year{2026} / 11 / 22} + 12h};
    ManualScheduler scheduler;
    ScriptedAuthenticator authenticator{AuthenticationResult::unavailable};

    Device() {
        (void)files.createDirectories("/tmp/corvale-app-test");
        (void)files.createDirectories(plainCopyFolder());
    }
    VaultStoreSetup setup() {
        return {files, secrets, clock, scheduler, authenticator, "/support", "/config/prefs.json", plainCopyFolder()};
    }
};

inline const Requirements& rules() {
    static const Requirements requirements = [] {
        PosixFileSystem files;
        return Requirements::load(files, {CORVALE_RESOURCES_DIR});
    }();
    return requirements;
}

// Dr. Maya Chen, internist in Texas and California with a DEA registration,
// the cards and policy a hospitalist carries, and a year of CME; some of it
// current, some due soon, one copy attached.
void fillSampleVault(VaultStore& store);
// An office: the sample clinician with a nurse and a PA beside her.
void fillSampleOffice(VaultStore& store);
// An activity as a clinician logs it, for tests that add their own beside the samples'.
CMEActivity activity(const std::string& personId, const std::string& title, std::optional<std::string> provider, Day on,
                     double hours, const std::string& category, std::vector<std::string> topics = {});

// The screens in sidebar order, which Ctrl+1 to Ctrl+7 open.
inline const QStringList& screenNames() {
    static const QStringList names{"today", "plan", "licenses", "cme", "documents", "report", "profile", "settings"};
    return names;
}

// A store over the device with its own context, for testing one screen alone.
struct OpenVault {
    Device device;
    VaultStore store{device.setup()};
    AppContext context{store, rules(), device.clock, nullptr, {}};

    explicit OpenVault(void (*fill)(VaultStore&) = nullptr) {
        if (fill) fill(store);
    }
};

// A main window over a device the test holds elsewhere, shown and started.
struct StartedWindow : MainWindow {
    explicit StartedWindow(Device& device) : MainWindow(device.setup(), rules()) {
        show();
        start();
    }
};

// Made before the window that runs on it, and so gone only after it.
struct OwnDevice {
    Device device;
};
// A main window on a device of its own, filled, shown and started, as a user first meets it.
struct ShownWindow : OwnDevice, MainWindow {
    MainWindow& window = *this;  // for tests that hold the window apart from its device
    explicit ShownWindow(void (*fill)(VaultStore&) = nullptr) : MainWindow(device.setup(), rules()) {
        if (fill) fill(store());
        show();
        start();
        (void)QTest::qWaitForWindowActive(this);
    }
};

// What a dark desktop hands the app: its own palette, not the theme's.
inline QPalette darkDesktop() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
    palette.setColor(QPalette::WindowText, QColor(0xf0, 0xf0, 0xf0));
    palette.setColor(QPalette::Base, QColor(0x2a, 0x2a, 0x2a));
    palette.setColor(QPalette::Text, QColor(0xf0, 0xf0, 0xf0));
    palette.setColor(QPalette::Button, QColor(0x30, 0x30, 0x30));
    palette.setColor(QPalette::ButtonText, QColor(0xf0, 0xf0, 0xf0));
    palette.setColor(QPalette::Highlight, QColor(0xf0, 0xf0, 0xf0));
    palette.setColor(QPalette::HighlightedText, QColor(0xff, 0xff, 0xff));
    return palette;
}

// Sets the desktop's scheme for one test and puts the one before back after.
struct DesktopScheme {
    QPalette before = QApplication::palette();
    explicit DesktopScheme(bool dark) {
        QApplication::setPalette(dark ? darkDesktop() : QApplication::style()->standardPalette());
    }
    ~DesktopScheme() { QApplication::setPalette(before); }
};

// A bare window styled as the app's, holding one screen, to drive or photograph it alone.
class StyledWindow : public QWidget {
public:
    StyledWindow() {
        setObjectName(QStringLiteral("appWindow"));
        setAttribute(Qt::WA_StyledBackground, true);
        applyTheme(this);
        m_layout = new QVBoxLayout(this);
        m_layout->setContentsMargins(0, 0, 0, 0);
    }
    template <class Page>
    Page* hold(Page* page) {
        m_layout->addWidget(page);
        return page;
    }

private:
    QVBoxLayout* m_layout = nullptr;
};

// A wrapped sentence squeezed into less height than its lines need is cut off mid-line.
inline QStringList clippedSentences(QWidget& root) {
    QStringList clipped;
    for (auto* label : root.findChildren<QLabel*>()) {
        if (!label->isVisible() || !label->wordWrap() || label->text().isEmpty()) continue;
        if (label->height() < label->heightForWidth(label->width())) clipped << label->text();
    }
    return clipped;
}


// Controls the keyboard stops at and the user can see, leaving out the
// editor inside a spin box or combo box: its frame is the box's.
inline QList<QWidget*> focusableControls(QWidget& root) {
    QList<QWidget*> controls;
    for (auto* widget : root.findChildren<QWidget*>()) {
        if (!(widget->focusPolicy() & Qt::TabFocus) || !widget->isVisibleTo(&root) || !widget->isEnabled()) continue;
        if (widget->focusProxy()) continue;
        const QWidget* parent = widget->parentWidget();
        if (qobject_cast<const QAbstractSpinBox*>(parent) || qobject_cast<const QComboBox*>(parent)) continue;
        if (widget->width() < 8 || widget->height() < 8) continue;
        controls << widget;
    }
    return controls;
}

inline QString describe(const QWidget* widget) {
    const QString name = widget->accessibleName().isEmpty() ? widget->objectName() : widget->accessibleName();
    const auto* button = qobject_cast<const QAbstractButton*>(widget);
    return QStringLiteral("%1 '%2'").arg(QString::fromLatin1(widget->metaObject()->className()),
                                         button && name.isEmpty() ? button->text() : name);
}

// Controls drawn over one another or past the window's edge, which the
// user cannot reach or read.
inline QStringList misplacedControls(QWidget& root) {
    QStringList faults;
    const QList<QWidget*> controls = focusableControls(root);
    const QRect window = root.rect();
    // What shows of a control once its parents have clipped it, in the root's coordinates.
    const auto shown = [&](QWidget* control) {
        QRect rect(control->mapTo(&root, QPoint(0, 0)), control->size());
        for (QWidget* up = control->parentWidget(); up && up != &root; up = up->parentWidget())
            rect &= QRect(up->mapTo(&root, QPoint(0, 0)), up->size());
        return rect;
    };
    for (qsizetype i = 0; i < controls.size(); ++i) {
        const QRect at = shown(controls[i]);
        // Inside a scroll area a control may sit beyond the window until scrolled to.
        bool inScrollArea = false;
        for (QWidget* up = controls[i]->parentWidget(); up && up != &root; up = up->parentWidget())
            if (up->objectName() == QLatin1String("qt_scrollarea_viewport")) inScrollArea = true;
        if (!inScrollArea && (!window.contains(at) || at.size() != controls[i]->size()))
            faults << describe(controls[i]) + QStringLiteral(" is cut off by the window");
        for (qsizetype j = i + 1; j < controls.size(); ++j) {
            if (controls[i]->isAncestorOf(controls[j]) || controls[j]->isAncestorOf(controls[i])) continue;
            const QRect other = shown(controls[j]);
            if (at.intersected(other).width() > 2 && at.intersected(other).height() > 2)
                faults << describe(controls[i]) + QStringLiteral(" overlaps ") + describe(controls[j]);
        }
    }
    return faults;
}

inline void screenshot(QWidget& widget, const QString& name, QSize size = {1280, 800}) {
    widget.resize(size);
    // Rows added to a visible layout show themselves on later turns of the event loop,
    // more of them on a busy machine; a sentence really cut off stays cut off.
    QTest::qWait(50);
    (void)QTest::qWaitFor([&] { return clippedSentences(widget).isEmpty(); }, 2000);
    QDir().mkpath(QStringLiteral(CORVALE_SCREENSHOT_DIR));
    QVERIFY(widget.grab().save(QStringLiteral(CORVALE_SCREENSHOT_DIR "/%1.png").arg(name)));
    const QStringList clipped = clippedSentences(widget);
    QVERIFY2(clipped.isEmpty(), qPrintable(name + QStringLiteral(" cuts off: ") + clipped.join(QStringLiteral(" | "))));
    const QStringList misplaced = misplacedControls(widget);
    QVERIFY2(misplaced.isEmpty(), qPrintable(name + QStringLiteral(": ") + misplaced.join(QStringLiteral(" | "))));
}

// What a file on the real disk holds; nothing when it can't be read.
inline QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A file on the real disk, where a file dialog would find it.
inline void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

// A file carried from one device's disk to another's, as a synced folder would.
inline void copyFile(FileSystem& from, const std::filesystem::path& source, FileSystem& to,
                     const std::filesystem::path& target) {
    auto bytes = from.readFile(source);
    if (!bytes.ok() || !to.createDirectories(target.parent_path()).ok() ||
        !to.replaceFileAtomically(target, *bytes).ok())
        qFatal("cannot copy %s", source.c_str());
}

template <class Widget>
Widget* named(QWidget& root, const QString& accessibleName) {
    for (auto* widget : root.findChildren<Widget*>())
        if (widget->accessibleName() == accessibleName || widget->property("handle").toString() == accessibleName)
            return widget;
    return nullptr;
}

inline QAbstractButton* button(QWidget& root, const QString& text) {
    for (auto* candidate : root.findChildren<QAbstractButton*>())
        if (candidate->text() == text || candidate->accessibleName() == text) return candidate;
    return nullptr;
}

// The input with that accessible name; a test that names one the screen lacks stops at once.
inline QLineEdit* field(QWidget& root, const QString& name) {
    auto* found = named<QLineEdit>(root, name);
    if (!found) qFatal("no field %s", qPrintable(name));
    return found;
}

inline QComboBox* list(QWidget& root, const QString& name) {
    auto* found = named<QComboBox>(root, name);
    if (!found) qFatal("no list %s", qPrintable(name));
    return found;
}

// Types into the field of that name the user can see, where a screen holds several.
inline void fill(QWidget& root, const QString& name, const QString& text) {
    for (auto* edit : root.findChildren<QLineEdit*>())
        if (edit->accessibleName() == name && edit->isVisibleTo(&root)) return edit->setText(text);
    field(root, name)->setText(text);
}

// Picks the item whose value, or else whose text, is `item`.
inline void choose(QWidget& root, const QString& name, const QString& item) {
    QComboBox* box = list(root, name);
    const int index = box->findData(item) >= 0 ? box->findData(item) : box->findText(item);
    if (index < 0) qFatal("no %s in list %s", qPrintable(item), qPrintable(name));
    box->setCurrentIndex(index);
}

// The problem a label shows, or nothing while it is hidden.
inline QString problem(QWidget& root, const QString& name) {
    auto* label = named<QLabel>(root, name);
    if (!label) qFatal("no label %s", qPrintable(name));
    return label->isVisibleTo(&root) ? label->text() : QString();
}

inline bool canPress(QWidget& root, const QString& name) {
    QAbstractButton* found = button(root, name);
    return found && found->isVisibleTo(&root) && found->isEnabled();
}

// Presses a button the user can see and use; false when they couldn't.
inline bool press(QWidget& root, const QString& name) {
    if (!canPress(root, name)) return false;
    button(root, name)->click();
    return true;
}

}  // namespace corvale::app::testing

#endif  // Q_MOC_RUN

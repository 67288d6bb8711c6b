#include "app/LockPage.h"
#include "app/MainWindow.h"
#include "platform/linux/DBusNotifier.h"
#include "app/QtScheduler.h"
#include "platform/Paths.h"
#include "platform/ProcessHardening.h"
#include "platform/ReminderTimer.h"
#include "platform/linux/LibsecretSecretStore.h"
#include "platform/linux/PamAuthenticator.h"
#include "platform/linux/PosixFileSystem.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QApplication>
#include <QInputDialog>

#include <filesystem>

int main(int argc, char* argv[]) {
    using namespace corvale;
    (void)hardenProcess();  // before anything reads a key; a refusal leaves the app usable
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvale"));
    QApplication::setApplicationDisplayName(QStringLiteral("Corvale"));
    // Matches the installed desktop entry, so the desktop gives the window its icon and name.
    QGuiApplication::setDesktopFileName(QStringLiteral("com.corvale.Corvale"));

    PosixFileSystem files;
    LibsecretSecretStore secrets;
    SystemClock clock;
    app::QtScheduler scheduler;
    // The account password, asked in a dialog that names why it is wanted.
    PamAuthenticator authenticator([](const std::string& reason) -> std::optional<SecureBytes> {
        QInputDialog dialog(QApplication::activeWindow());
        dialog.setWindowTitle(QString::fromStdString(reason));
        dialog.setLabelText(QObject::tr("%1: enter the password you use to sign in to this computer.")
                                .arg(QString::fromStdString(reason)));
        dialog.setTextEchoMode(QLineEdit::Password);
        if (dialog.exec() != QDialog::Accepted) return std::nullopt;
        return app::takePassword(dialog);
    });

    app::MainWindow window(VaultStoreSetup::standard(files, secrets, clock, scheduler, authenticator),
                           Requirements::shared());
    DBusNotifier notifier;
    notifier.setClickHandler([&window](const std::string& link) { window.openLink(QString::fromStdString(link)); });
    window.setNotifier(&notifier);
    // The command line beside this program (installed) or in the build tree's cli folder.
    const std::filesystem::path folder = QCoreApplication::applicationDirPath().toStdString();
    for (const auto& program : {folder / "corvale", folder.parent_path() / "cli" / "corvale"}) {
        std::error_code missing;
        if (!std::filesystem::is_regular_file(program, missing)) continue;
        static ReminderTimer timer(files, paths::configurationDirectory(), ReminderTimer::systemRunner());
        window.setReminderTimer(&timer, program);
        break;
    }
    // A corvale:// link from a notification, a calendar event or the desktop's link handler.
    const QStringList arguments = QApplication::arguments();
    for (qsizetype at = 1; at < arguments.size(); ++at)
        if (arguments[at].startsWith(QStringLiteral("corvale:"))) window.openLink(arguments[at]);
    window.show();
    window.start();
    return QApplication::exec();
}

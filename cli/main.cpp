#include "cli/Commands.h"
#include "cli/DesktopApp.h"
#include "platform/ProcessHardening.h"
#include "platform/linux/LibsecretSecretStore.h"
#include "platform/linux/PamAuthenticator.h"
#include "platform/linux/PosixFileSystem.h"

#include <iostream>

int main(int argc, char** argv) {
    (void)corvale::hardenProcess();  // before the key or any record is read
    if (argc == 1) return corvale::openDesktopApp();
    corvale::PosixFileSystem files;
    corvale::LibsecretSecretStore secrets;
    corvale::SystemClock clock;
    // Each command is one short run that flushes before it returns, so nothing waits on a timer.
    corvale::ManualScheduler scheduler;
    // App lock asks for the login password on the terminal; it stays in a wiping buffer all the way to PAM.
    corvale::PamAuthenticator authenticator(
        [](const std::string& reason) { return corvale::promptOnTerminal(reason + ": your login password: "); });
    auto setup = corvale::VaultStoreSetup::standard(files, secrets, clock, scheduler, authenticator);
    return corvale::runCommandLine(std::vector<std::string>(argv + 1, argv + argc), std::cin, std::cout, std::cerr,
                                   setup);
}

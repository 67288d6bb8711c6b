// Opens a real vault the way the programs do, writes a record, reports its key
// and then waits to be killed: the other half of the secrets crash test.
// Usage: vault_secret_crash_child <scratch folder> <a name to write>
#include "platform/Crypto.h"
#include "platform/ProcessHardening.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/VaultKeychain.h"
#include "vault/VaultStore.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    using namespace corvale;
    (void)hardenProcess();
    if (argc != 3 || ::chdir(argv[1]) != 0) return 2;
    const std::filesystem::path root = argv[1];
    PosixFileSystem disk;
    InMemorySecretStore secrets;
    SystemClock clock;
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;
    VaultStore store({disk, secrets, clock, scheduler, authenticator, root / "home/.local/share",
                      root / "home/.config/corvale/prefs.json", root / "tmp"});
    if (!store.start()) return 3;
    Onboarding onboarding;
    onboarding.owner.id = newUUID();
    onboarding.owner.name = argv[2];
    onboarding.owner.degree = "MD";
    onboarding.owner.isSelf = true;
    if (!store.create(std::move(onboarding))) return 4;
    const bool changed = store
                             .change([&](VaultDocument& document) {
                                 CMEActivity activity;
                                 activity.id = newUUID();
                                 activity.personId = document.people.front().id;
                                 activity.title = std::string(argv[2]) + " grand rounds";
                                 activity.hours = 1;
                                 activity.category = "cat1";
                                 document.cme.push_back(activity);
                             })
                             .ok();
    if (!changed || !store.flush()) return 5;
    auto key = secrets.load(VaultKeychain::service(), std::string(VaultKeychain::kAccount));
    if (!key || !*key) return 6;
    std::printf("%d %s\n", ::prctl(PR_GET_DUMPABLE), crypto::hexLower((*key)->view()).c_str());
    std::fflush(stdout);
    for (;;) ::pause();
}

#include "platform/Crypto.h"
#include "platform/linux/PosixFileSystem.h"
#include "support/DiskFiles.h"
#include "vault/VaultFiles.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <thread>

namespace corvale {
namespace {

namespace fs = std::filesystem;

// Kills a process that saves in a loop at random moments: every time, the
// vault must open and hold a document at least as new as the last one seen.
TEST(CrashSafety, AVaultKilledMidSaveOpensWithTheOldOrTheNewDocument) {
    const test_support::TemporaryFolder temporary;
    const fs::path& folder = temporary.path;
    PosixFileSystem disk;
    const Bytes keyBytes = crypto::randomBytes(32);
    VaultFiles files(disk, SecureBytes(keyBytes), folder, folder);

    // Large enough that a kill often lands inside a write.
    VaultDocument document = VaultDocument::makeEmpty();
    for (int i = 0; i < 1000; ++i) {
        CMEActivity cme;
        cme.id = newUUID();
        cme.personId = "p";
        cme.title = "Grand rounds " + std::to_string(i);
        cme.category = "cat1";
        document.cme.push_back(cme);
    }
    document.extra["counter"] = 0;
    ASSERT_TRUE(files.saveDocument(document));

    const std::string hexKey = crypto::hexLower(keyBytes);
    const auto launch = [&] {
        const pid_t child = fork();
        if (child == 0) {
            execl(CORVALE_CRASH_SAVER, CORVALE_CRASH_SAVER, folder.c_str(), hexKey.c_str(), nullptr);
            _exit(127);
        }
        return child;
    };
    const auto counterOnDisk = [&] { return files.loadDocument()->extra.at("counter").asNumber(); };

    // How long the saver takes to finish its first save differs by build; kills are spread around it.
    const auto began = std::chrono::steady_clock::now();
    const pid_t probe = launch();
    ASSERT_GE(probe, 0);
    while (counterOnDisk() < 1 && std::chrono::steady_clock::now() - began < std::chrono::seconds(30))
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    const auto firstSave = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began);
    kill(probe, SIGKILL);
    waitpid(probe, nullptr, 0);
    ASSERT_GE(counterOnDisk(), 1) << "the saver never saved";

    std::mt19937 random(20261121);
    std::uniform_int_distribution<long> pause(firstSave.count() / 2, firstSave.count() * 3 + 20);
    double lastSeen = counterOnDisk();
    int roundsThatSaved = 0;
    for (int round = 0; round < 200; ++round) {
        const pid_t child = launch();
        ASSERT_GE(child, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(pause(random)));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the saver stopped by itself in round " << round;

        const auto opened = files.loadDocument();
        ASSERT_TRUE(opened) << "round " << round << ": " << opened.error().message();
        const double counter = opened->extra.at("counter").asNumber();
        ASSERT_GE(counter, lastSeen) << "round " << round;
        roundsThatSaved += counter > lastSeen;
        ASSERT_EQ(opened->cme.size(), 1000u);
        lastSeen = counter;
    }
    // Kills that all landed before the first save would test nothing.
    EXPECT_GT(roundsThatSaved, 50);

    // Killed writers leave their temporaries behind; the next holder of the vault sweeps them.
    ASSERT_TRUE(files.removeStaleTemporaries());
    EXPECT_EQ(disk.list(folder), std::vector<std::string>{"vault.pbv"});
}

}  // namespace
}  // namespace corvale

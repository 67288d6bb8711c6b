#pragma once
// One device running the command line in-process: its own keyring, clock and
// support folder, on a file system that several devices may share.

#include "cli/Commands.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "platform/memory/RecordingNotifier.h"
#include "records/JSONReader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <sstream>

namespace corvale::clitest {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct Outcome {
    int code = -1;
    std::string out, err;

    std::string line() const { return out.substr(0, out.find('\n')); }
    JSONValue json() const {
        auto parsed = parseJSON(out);
        EXPECT_TRUE(parsed.ok()) << out;
        return parsed ? *parsed : JSONValue();
    }
};

// One device: its own keyring and support folder, on a file system that may be shared.
struct Device {
    InMemoryFileSystem& files;
    InMemorySecretStore secrets;
    FixedClock clock{
        std::chrono::system_clock::time_point(1'795'000'000s)};  // 2026-11-18: the tests' CME was done by then
    ManualScheduler scheduler;
    ScriptedAuthenticator authenticator{AuthenticationResult::unavailable};  // as headless unless a test answers
    fs::path root;
    fs::path plainCopies;
    PassphrasePrompt prompt;  // none: as when no terminal is there
    StateData stateData;      // the delivered state files unless a test gives its own
    RecordingNotifier notifier;  // the desktop, as far as reminders can tell
    std::vector<std::string> openedLinks;  // what a click asked the app to open
    bool vaultFreeWhenOpened = false;      // whether the app so started could have opened the vault

    Device(InMemoryFileSystem& fileSystem, fs::path where)
        : files(fileSystem),
          root(std::move(where)),
          plainCopies(fs::temp_directory_path() /
                      ("cli-test-" + std::to_string(::getpid()) + root.filename().string())) {}
    ~Device() { fs::remove_all(plainCopies); }

    VaultStoreSetup setup() {
        return {files,      secrets, clock, scheduler, authenticator, root / "support", root / "config/prefs.json",
                plainCopies};
    }
    Outcome run(std::vector<std::string> args, const std::string& input = "") {
        std::istringstream in(input);
        std::ostringstream out, err;
        Outcome outcome;
        const auto openLink = [this](const std::string& link) {
            openedLinks.push_back(link);
            VaultStore app(setup());
            vaultFreeWhenOpened = static_cast<bool>(app.start());
        };
        outcome.code =
            runCommandLine(std::move(args), in, out, err, setup(), prompt, stateData, &notifier, openLink);
        outcome.out = out.str();
        outcome.err = err.str();
        return outcome;
    }
    JSONValue counts() { return *run({"status", "--json"}).json().find("counts"); }
    // App lock turned on as Settings turns it on, with nothing asked of the user yet.
    void turnOnAppLock() {
        VaultStore store(setup());
        ASSERT_TRUE(store.start().ok());
        ASSERT_TRUE(store.setAppLock(true).ok());
        authenticator.reasons.clear();
    }
    fs::path vaultFile() { return VaultStore(setup()).vaultDirectory() / "vault.pbv"; }
};

}  // namespace corvale::clitest

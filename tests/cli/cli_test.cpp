#include "TestDevice.h"
#include "cli/DesktopApp.h"
#include "cli/SafeOutput.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace corvale {
namespace {

using namespace clitest;

double count(const JSONValue& counts, std::string_view list) { return counts.find(list)->asNumber(); }

class CommandLineTest : public ::testing::Test {
protected:
    InMemoryFileSystem files;
    Device device{files, "/a"};

    // Where the tests keep the files they hand to commands.
    void SetUp() override { ASSERT_TRUE(files.createDirectories("/home").ok()); }

    std::string init() {
        auto made = device.run({"init", "--name", "Ana Ruiz", "--degree", "MD", "--state", "ca"});
        EXPECT_EQ(made.code, 0) << made.err;
        return made.line();
    }
};

TEST_F(CommandLineTest, InitCreatesTheVaultAndStatusCountsIt) {
    auto before = device.run({"status", "--json"});
    EXPECT_EQ(before.code, 0);
    EXPECT_EQ(before.json(), JSONValue(JSONValue::Object{{"phase", "welcome"}}));
    auto noVault = device.run({"list", "people"});
    EXPECT_EQ(noVault.code, 1);
    EXPECT_EQ(noVault.err, VaultError::noVault().message() + "\n");

    const std::string vaultId = init();
    auto status = device.run({"status", "--json"}).json();
    EXPECT_EQ(status.find("phase")->asString(), "ready");
    EXPECT_EQ(status.find("vaultId")->asString(), vaultId);
    EXPECT_EQ(count(*status.find("counts"), "people"), 1);
    EXPECT_EQ(count(*status.find("counts"), "credentials"), 1);  // the starter licence for the state
    auto licences = device.run({"list", "credentials", "--json"}).json().asArray();
    ASSERT_EQ(licences.size(), 1u);
    EXPECT_EQ(licences[0].find("state")->asString(), "CA");

    auto again = device.run({"init", "--name", "Bo", "--degree", "RN"});
    EXPECT_EQ(again.code, 1);
    EXPECT_EQ(again.err, VaultError::vaultExists().message() + "\n");
}

TEST_F(CommandLineTest, AppLockAsksForTheLoginPasswordAndRefusesWithoutATerminal) {
    init();
    device.turnOnAppLock();
    EXPECT_EQ(device.run({"status", "--json"}).json().find("phase")->asString(), "locked");
    const auto writesBefore = files.writeCount(device.vaultFile());

    // A script has no terminal to type the password on, so it gets nothing, even where PAM could not ask.
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"list", "people"}, {"add", "person", "--name", "Bo", "--degree", "RN"}, {"today"}}) {
        auto refused = device.run(args);
        EXPECT_EQ(refused.code, 1) << args[0];
        EXPECT_EQ(refused.err,
                  "App lock is on and there's no terminal to ask for your login password on, so run this command in "
                  "a terminal.\n");
        EXPECT_TRUE(refused.out.empty()) << refused.out;
    }
    EXPECT_TRUE(device.authenticator.reasons.empty());

    device.prompt = [](std::string_view) { return std::optional(SecureBytes(asBytes("login password"))); };
    device.authenticator.answer = AuthenticationResult::failed;
    auto wrong = device.run({"list", "people"});
    EXPECT_EQ(wrong.code, 1);
    EXPECT_EQ(wrong.err, "Your login password wasn't accepted, so the vault stays locked.\n");
    EXPECT_EQ(wrong.out.find("Ana Ruiz"), std::string::npos);
    EXPECT_EQ(files.writeCount(device.vaultFile()), writesBefore);

    device.authenticator.answer = AuthenticationResult::passed;
    EXPECT_NE(device.run({"list", "people"}).out.find("Ana Ruiz"), std::string::npos);
    EXPECT_EQ(device.authenticator.reasons, (std::vector<std::string>{"Unlock Corvale", "Unlock Corvale"}));
}

TEST_F(CommandLineTest, TheEditorsRulesHoldOnTheCommandLine) {
    init();
    const auto writesBefore = files.writeCount(device.vaultFile());
    const std::vector<std::pair<std::vector<std::string>, std::string>> refused = {
        // The test device's today is 2026-11-18.
        {{"--hours", "1", "--completed", "2026-11-19"}, "That day is still ahead. Enter the day you completed it."},
        {{"--hours", "0", "--completed", "2026-11-18"}, "Enter the hours as a number above 0."},
        {{"--hours", "1e9", "--completed", "2026-11-18"}, "Enter the hours as a number above 0."},
        {{"--hours", "1.255", "--completed", "2026-11-18"}, "Use at most two decimals for the hours."},
    };
    for (const auto& [options, sentence] : refused) {
        std::vector<std::string> args = {"add", "cme", "--title", "Airway"};
        args.insert(args.end(), options.begin(), options.end());
        auto outcome = device.run(args);
        EXPECT_EQ(outcome.code, 2) << sentence;
        EXPECT_NE(outcome.err.find(sentence), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(device.run({"add", "cme", "--title", "Airway", "--hours", "1.25", "--completed", "2026-11-18"}).code, 0);

    ASSERT_TRUE(files.replaceFileAtomically("/home/scan.pdf", {}).ok());
    auto empty = device.run({"doc", "add", "/home/scan.pdf"});
    EXPECT_EQ(empty.code, 1);
    EXPECT_EQ(empty.err, "scan.pdf is empty, so choose the file that holds the document.\n");
    EXPECT_EQ(count(device.counts(), "documents"), 0);
    EXPECT_EQ(count(device.counts(), "cme"), 1);
    EXPECT_EQ(files.writeCount(device.vaultFile()), writesBefore + 1);  // only the good activity
}

TEST_F(CommandLineTest, NewPassphrasesMeetTheAppsMinimumLength) {
    init();
    const std::string tooShort = "That passphrase is shorter than 8 characters, so choose a longer one.\n";
    auto backup = device.run({"backup", "export", "--passphrase-stdin", "--out", "/home/b.pbbackup"}, "seven77\n");
    EXPECT_EQ(backup.code, 1);
    EXPECT_EQ(backup.err, tooShort);
    EXPECT_FALSE(files.exists("/home/b.pbbackup"));
    auto keyFile = device.run({"keyfile", "export", "/home/vault.key", "--passphrase-stdin"}, "seven77\n");
    EXPECT_EQ(keyFile.code, 1);
    EXPECT_EQ(keyFile.err, tooShort);
    EXPECT_FALSE(files.exists("/home/vault.key"));
    device.prompt = [](std::string_view) { return std::optional(SecureBytes(asBytes("short"))); };
    EXPECT_EQ(device.run({"keyfile", "export", "/home/vault.key"}).err, tooShort);

    // An existing passphrase is not held to it: it only has to open what it sealed.
    ASSERT_EQ(device.run({"keyfile", "export", "/home/vault.key", "--passphrase-stdin"}, "eight888\r\n").code, 0);
    Device other(files, "/b");
    EXPECT_EQ(other.run({"join", "/home", "--passphrase-stdin"}, "eight88").err,
              VaultError::wrongPassphrase().message() + "\n");
}

TEST_F(CommandLineTest, ControlCharactersInRecordsArePrintedEscaped) {
    init();
    const std::string hostile =
        "Ann\x1b]0;pwned\x07 \xc2\x9b"
        "31m Zo\xc3\xab \xe6\x9d\x8e\x7f";
    const std::string shown = "Ann\\x1b]0;pwned\\x07 \\u009b31m Zo\xc3\xab \xe6\x9d\x8e\\u007f";
    auto added = device.run({"add", "person", "--name", hostile, "--degree", "NP"});
    ASSERT_EQ(added.code, 0) << added.err;
    ASSERT_EQ(device
                  .run({"add", "credential", "--kind", "dea", "--expires", "2026-12-01", "--person", added.line(),
                        "--title", hostile})
                  .code,
              0);
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"list", "people"}, {"show", "person", added.line()}, {"list", "credentials"}, {"today"}}) {
        auto outcome = device.run(args);
        ASSERT_EQ(outcome.code, 0) << args[0] << outcome.err;
        EXPECT_NE(outcome.out.find(shown), std::string::npos) << args[0] << ": " << outcome.out;
        EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos) << args[0];
        EXPECT_EQ(outcome.out.find('\x07'), std::string::npos) << args[0];
        EXPECT_EQ(outcome.out.find("\xc2\x9b"), std::string::npos) << args[0];
    }
    // JSON keeps its meaning: the escaped C1 is a JSON escape of the same character.
    auto json = device.run({"show", "person", added.line(), "--json"});
    EXPECT_EQ(json.json().find("name")->asString(), hostile);
    EXPECT_EQ(json.out.find('\x1b'), std::string::npos);
    // An id typed back at the command line is echoed in errors, escaped too.
    EXPECT_EQ(device.run({"show", "person", "x\x1b[2J"}).err, "No person has the id x\\x1b[2J.\n");
}

TEST_F(CommandLineTest, ClearingPlainCopiesNeedsNeitherTheKeyNorTheVault) {
    init();
    ASSERT_TRUE(files.replaceFileAtomically("/home/card.png", asBytes("png bytes")).ok());
    const std::string id = device.run({"doc", "add", "/home/card.png"}).line();
    const fs::path copy = device.run({"doc", "open", id}).line();
    ASSERT_TRUE(fs::exists(copy));

    VaultStore app(device.setup());  // the app has the vault open
    ASSERT_TRUE(app.start().ok());
    ASSERT_EQ(device.run({"list", "documents"}).err, VaultError::inUse().message() + "\n");
    device.secrets.failNext(100, -1);  // and the secret store answers nothing
    auto cleared = device.run({"doc", "clear-temp"});
    EXPECT_EQ(cleared.code, 0) << cleared.err;
    EXPECT_FALSE(fs::exists(copy));
}

TEST_F(CommandLineTest, InvalidCredentialsAreUsageErrorsAndSaveNothing) {
    init();
    const auto writesBefore = files.writeCount(device.vaultFile());
    const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
        {{"--kind", "passport"}, "stateLicense"},
        {{"--kind", "stateLicense"}, "--state"},
        {{"--kind", "dea", "--expires", "2026/01/31"}, "2026/01/31"},
        {{"--kind", "dea", "--expires", "2027-02-30"}, "isn't on the calendar"},
        {{"--kind", "dea", "--issued", "2026-02-29"}, "2026-02-29"},
        {{"--kind", "dea", "--issued", "2026-02-01", "--expires", "2026-01-31"}, "2026-01-31"},
        {{"--kind", "stateLicense", "--state", "Cal"}, "Cal"},
    };
    for (const auto& [options, named] : bad) {
        std::vector<std::string> args = {"add", "credential"};
        args.insert(args.end(), options.begin(), options.end());
        auto outcome = device.run(args);
        EXPECT_EQ(outcome.code, 2) << named;
        EXPECT_NE(outcome.err.find(named), std::string::npos) << outcome.err;
        EXPECT_TRUE(outcome.out.empty());
    }
    EXPECT_EQ(files.writeCount(device.vaultFile()), writesBefore);
    EXPECT_EQ(count(device.counts(), "credentials"), 1);
}

TEST_F(CommandLineTest, UsageErrorsExitTwo) {
    init();
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {},
             {"frobnicate"},
             {"add"},
             {"list", "widgets"},
             {"add", "cme", "--title", "x", "--hours", "-1", "--completed", "2026-01-01"},
             {"add", "cme", "--title", "x", "--hours", "1h", "--completed", "2026-01-01"},
             {"add", "cme", "--title", "x", "--hours", "2", "--completed", "2026-01-01", "--category", "cat9"}}) {
        EXPECT_EQ(device.run(args).code, 2) << (args.empty() ? "" : args[0]);
    }
    auto degree = device.run({"add", "person", "--name", "Bo", "--degree", "Dr"});
    EXPECT_EQ(degree.code, 2);
    EXPECT_NE(degree.err.find("CRNA"), std::string::npos) << degree.err;

    auto refused = device.run({"erase"});
    EXPECT_EQ(refused.code, 2);
    EXPECT_NE(refused.err.find("--yes"), std::string::npos);
    EXPECT_EQ(count(device.counts(), "people"), 1);
    EXPECT_EQ(device.run({"erase", "--yes"}).code, 0);
    EXPECT_EQ(device.run({"status", "--json"}).json().find("phase")->asString(), "welcome");
}

TEST_F(CommandLineTest, AddListShowDeleteRoundTrip) {
    init();
    const std::string bo = device.run({"add", "person", "--name", "Bo Lind", "--degree", "NP"}).line();
    auto added = device.run(
        {"add", "credential", "--kind", "dea", "--number", "BL123", "--expires", "2027-1-31", "--person", bo});
    ASSERT_EQ(added.code, 0) << added.err;
    const std::string id = added.line();

    EXPECT_NE(device.run({"list", "credentials"}).out.find(id + "\tdea\t-\tBL123\t2027-01-31"), std::string::npos);
    auto shown = device.run({"show", "credential", id, "--json"}).json();
    EXPECT_EQ(shown.find("personId")->asString(), bo);
    EXPECT_EQ(shown.find("expiresOn")->asString(), "2027-01-31");
    EXPECT_NE(device.run({"show", "credentials", id}).out.find("number: BL123\n"), std::string::npos);

    auto cme = device.run(
        {"add", "cme", "--title", "Airway", "--hours", "1.5", "--completed", "2026-03-02", "--topic", "opioids"});
    ASSERT_EQ(cme.code, 0) << cme.err;
    auto activity = device.run({"show", "cme", cme.line(), "--json"}).json();
    EXPECT_EQ(activity.find("hours")->asNumber(), 1.5);
    EXPECT_EQ(activity.find("category")->asString(), "other");
    const std::string self = device.run({"list", "people", "--json"}).json().asArray()[0].find("id")->asString();
    EXPECT_EQ(activity.find("personId")->asString(), self);  // the user, not the only other person

    device.clock.advance(1h);
    EXPECT_EQ(device.run({"delete", "credential", id}).code, 0);
    EXPECT_EQ(count(device.counts(), "credentials"), 1);
    EXPECT_EQ(device.run({"list", "credentials"}).out.find(id), std::string::npos);
    EXPECT_EQ(device.run({"show", "credential", id}).code, 1);
    EXPECT_EQ(device.run({"delete", "credential", id}).code, 1);
    {
        VaultStore store(device.setup());
        ASSERT_TRUE(store.start().ok());
        const auto& kept = store.doc().credentials;
        auto tomb = std::find_if(kept.begin(), kept.end(), [&](const Credential& c) { return c.id == id; });
        ASSERT_NE(tomb, kept.end());
        EXPECT_TRUE(tomb->deleted);
        EXPECT_EQ(tomb->updatedAt, Timestamp::now(device.clock));
    }

    // With the user gone and two people left, nobody is the obvious owner.
    EXPECT_EQ(device.run({"delete", "person", self}).code, 0);
    device.run({"add", "person", "--name", "Cy", "--degree", "PA"});
    auto ownerless = device.run({"add", "credential", "--kind", "bls"});
    EXPECT_EQ(ownerless.code, 1);
    EXPECT_EQ(ownerless.err, "Choose a person with --person, so the record has an owner.\n");
    EXPECT_EQ(device.run({"add", "credential", "--kind", "bls", "--person", self}).code, 1);
}

TEST_F(CommandLineTest, DocumentsAreStoredAndOpenedAsPlainCopies) {
    init();
    ASSERT_TRUE(files.replaceFileAtomically("/home/Licence.PDF", asBytes("%PDF-1.4 licence")).ok());
    EXPECT_EQ(device.run({"doc", "add", "/home/Licence.PDF", "--kind", "passport"}).code, 2);
    auto added = device.run({"doc", "add", "/home/Licence.PDF", "--kind", "license"});
    ASSERT_EQ(added.code, 0) << added.err;

    auto record = device.run({"show", "document", added.line(), "--json"}).json();
    EXPECT_EQ(record.find("contentType")->asString(), "application/pdf");
    EXPECT_EQ(record.find("filename")->asString(), "Licence.PDF");
    EXPECT_EQ(record.find("size")->asNumber(), 16);

    auto opened = device.run({"doc", "open", added.line()});
    ASSERT_EQ(opened.code, 0) << opened.err;
    const fs::path copy = opened.line();
    std::ifstream plain(copy, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(plain), {}), "%PDF-1.4 licence");
    EXPECT_EQ(device.run({"doc", "clear-temp"}).code, 0);
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_EQ(device.run({"doc", "add", "/home/missing.png"}).code, 1);
}

TEST_F(CommandLineTest, KeyFileExportLetsASecondDeviceJoin) {
    const std::string vaultId = init();
    const fs::path folder = device.vaultFile().parent_path();

    auto noTerminal = device.run({"keyfile", "export", (folder / "vault.key").string()});
    EXPECT_EQ(noTerminal.code, 1);
    EXPECT_EQ(noTerminal.err, "A passphrase is needed, so pass it on standard input with --passphrase-stdin.\n");
    device.prompt = [n = 0](std::string_view) mutable {
        return std::optional(SecureBytes(asBytes(n++ ? "tw0 words" : "two words")));
    };
    EXPECT_EQ(device.run({"keyfile", "export", (folder / "vault.key").string()}).code, 1);  // mistyped repeat
    EXPECT_FALSE(files.exists(folder / "vault.key"));
    auto exported = device.run({"keyfile", "export", (folder / "vault.key").string(), "--passphrase-stdin"},
                               "correct horse\nnext line");
    ASSERT_EQ(exported.code, 0) << exported.err;

    Device other(files, "/b");
    auto wrong = other.run({"join", folder.string(), "--passphrase-stdin"}, "correct");
    EXPECT_EQ(wrong.code, 1);
    EXPECT_EQ(wrong.err, VaultError::wrongPassphrase().message() + "\n");
    EXPECT_EQ(other.run({"status", "--json"}).json().find("phase")->asString(), "welcome");

    auto joined = other.run({"join", folder.string(), "--passphrase-stdin"}, "correct horse\n");
    ASSERT_EQ(joined.code, 0) << joined.err;
    EXPECT_EQ(joined.line(), vaultId);
    EXPECT_EQ(other.counts(), device.counts());
}

TEST(DesktopApp, IsFoundBesideTheProgramOrInTheBuildTreeAndOnlyWhenItCanRun) {
    namespace fs = std::filesystem;
    const fs::path root = fs::temp_directory_path() / ("corvale-app-lookup-" + std::to_string(::getpid()));
    fs::remove_all(root);
    const auto place = [](const fs::path& file, fs::perms perms) {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "#!/bin/sh\n";
        fs::permissions(file, perms);
    };
    const auto runnable = fs::perms::owner_all;
    const auto readable = fs::perms::owner_read | fs::perms::owner_write;

    place(root / "build/app/corvale-app", runnable);
    EXPECT_EQ(findDesktopApp(root / "build/cli/corvale"), root / "build/app/corvale-app");
    place(root / "build/cli/corvale-app", runnable);  // one beside the program wins
    EXPECT_EQ(findDesktopApp(root / "build/cli/corvale"), root / "build/cli/corvale-app");

    place(root / "usr/bin/corvale-app", readable);
    EXPECT_EQ(findDesktopApp(root / "usr/bin/corvale"), std::nullopt);
    EXPECT_EQ(findDesktopApp(root / "empty/corvale"), std::nullopt);
    fs::remove_all(root);
}

}  // namespace
}  // namespace corvale

namespace corvale::cli {
namespace {

TEST(EscapeControls, KeepsTextAndEscapesControlsEvenAcrossSeparateWrites) {
    EXPECT_EQ(escapeControls("Zo\xc3\xab \xe6\x9d\x8e\tok\n"), "Zo\xc3\xab \xe6\x9d\x8e\tok\n");
    EXPECT_EQ(escapeControls("\x1b[2J\r\x08\x7f"), "\\x1b[2J\\x0d\\x08\\u007f");
    // C1 controls written as UTF-8 and as the bare bytes an 8-bit terminal obeys.
    EXPECT_EQ(escapeControls("\xc2\x9b\xc2\x85\xc2\xa0"), "\\u009b\\u0085\xc2\xa0");
    EXPECT_EQ(escapeControls("a\x9b"
                             "b\xff"),
              "a\\x9bb\\xff");
    // A sequence cut short shows its bytes instead of swallowing what follows.
    EXPECT_EQ(escapeControls("\xc3(\xe6\x9d"), "\\xc3(\\xe6\\x9d");

    std::ostringstream target;
    {
        EscapingBuffer buffer(target);
        std::ostream out(&buffer);
        for (const char c : std::string_view("\xc2\x9b\xe6\x9d\x8e\x1b")) out << c;
    }
    EXPECT_EQ(target.str(), "\\u009b\xe6\x9d\x8e\\x1b");
}

}  // namespace
}  // namespace corvale::cli

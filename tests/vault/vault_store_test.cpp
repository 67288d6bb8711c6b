#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/AppIdentity.h"
#include "vault/VaultFiles.h"
#include "vault/VaultKeychain.h"
#include "vault/VaultStore.h"

#include "DiskDevice.h"
#include "support/Outcomes.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>

namespace corvale {
namespace {

using namespace test_support;

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// One device: its disk, its secret store, its clock and its event loop.
struct Device {
    InMemoryFileSystem files;
    InMemorySecretStore secrets;
    FixedClock clock{std::chrono::system_clock::time_point{} + 1'780'000'000s};
    ManualScheduler scheduler;
    ScriptedAuthenticator authenticator;
    fs::path home;

    explicit Device(fs::path folder = "/home/ana") : home(std::move(folder)) {
        (void)files.createDirectories(home / "tmp");
    }
    VaultStoreSetup setup() {
        return {
            files,       secrets, clock, scheduler, authenticator, home / "share", home / "config/Corvale/prefs.json",
            home / "tmp"};
    }
    fs::path vaultFile() { return home / "share/Corvale/Vault/vault.pbv"; }
};

Onboarding nurse(std::vector<std::string> states) {
    Onboarding onboarding;
    onboarding.owner.name = "Ana Ruiz";
    onboarding.owner.degree = "NP";
    onboarding.states = std::move(states);
    Credential bls;
    bls.kind = "bls";
    bls.expiresOn = Day{2028, 3, 1};
    onboarding.credentials.push_back(bls);
    return onboarding;
}

std::size_t liveCredentials(const VaultDocument& document) {
    return static_cast<std::size_t>(std::count_if(document.credentials.begin(), document.credentials.end(),
                                                  [](const Credential& c) { return !c.deleted; }));
}

TEST(VaultStore, StartsInTheRightPhaseAndCreatesAFirstVault) {
    Device device;
    {
        VaultStore store(device.setup());
        ASSERT_TRUE(store.start());
        EXPECT_EQ(store.phase(), VaultPhase::welcome);
        EXPECT_EQ(store.change([](VaultDocument&) {}).error().code, VaultError::Code::noVault);

        const auto vaultId = store.create(nurse({"TX", "NM"}));
        ASSERT_TRUE(vaultId);
        EXPECT_EQ(store.phase(), VaultPhase::ready);
        const VaultDocument& doc = store.doc();
        ASSERT_EQ(doc.people.size(), 1u);
        EXPECT_TRUE(doc.people[0].isSelf);
        EXPECT_EQ(doc.settings.primaryState, "TX");
        EXPECT_EQ(doc.settings.profession, "np");
        // The BLS card plus one licence to fill in per chosen state, all owned by the owner.
        EXPECT_EQ(liveCredentials(doc), 3u);
        for (const auto& credential : doc.credentials) EXPECT_EQ(credential.personId, doc.people[0].id);
        EXPECT_EQ(device.files.writeCount(device.vaultFile()), 1u);
        EXPECT_EQ(store.create(nurse({})).error().code, VaultError::Code::vaultExists);
    }
    // App lock off: the next start opens at once, with no prompt.
    VaultStore again(device.setup());
    ASSERT_TRUE(again.start());
    EXPECT_EQ(again.phase(), VaultPhase::ready);
    EXPECT_EQ(again.doc().people.at(0).name, "Ana Ruiz");
    EXPECT_FALSE(again.doc().people.at(0).managesOthersOnly());
    EXPECT_TRUE(device.authenticator.reasons.empty());

    // An office manager holds no licence: none is made for the chosen states, and the choice outlives a restart.
    Device office;
    {
        VaultStore store(office.setup());
        ASSERT_TRUE(store.start());
        Onboarding manager = nurse({"TX"});
        manager.credentials.clear();
        manager.managerOnly = true;
        ASSERT_TRUE(store.create(std::move(manager)));
        EXPECT_EQ(liveCredentials(store.doc()), 0u);
    }
    VaultStore reopened(office.setup());
    ASSERT_TRUE(reopened.start());
    EXPECT_TRUE(reopened.doc().people.at(0).managesOthersOnly());
}

TEST(VaultStore, ABurstOfEditsIsOneWriteAndLockingFlushesIt) {
    Device device;
    VaultStore store(device.setup());
    ASSERT_TRUE(store.create(nurse({})));
    const auto writes = device.files.writeCount(device.vaultFile());
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(store.change([&](VaultDocument& doc) { doc.people[0].notes = "edit " + std::to_string(i); }));
        device.scheduler.advance(390ms);  // each edit restarts the wait
    }
    EXPECT_EQ(device.files.writeCount(device.vaultFile()), writes);
    device.scheduler.advance(10ms);
    EXPECT_EQ(device.files.writeCount(device.vaultFile()), writes + 1);
    EXPECT_FALSE(store.hasPendingSave());

    // With app lock on, locking writes the edit made just before and forgets every record.
    ASSERT_TRUE(store.setAppLock(true));
    ASSERT_TRUE(store.change([](VaultDocument& doc) { doc.people[0].notes = "last words"; }));
    ASSERT_TRUE(store.lock());
    EXPECT_EQ(store.phase(), VaultPhase::locked);
    EXPECT_TRUE(store.doc().people.empty());

    device.authenticator.answer = AuthenticationResult::failed;
    EXPECT_EQ(store.unlock().error().code, VaultError::Code::wrongPassword);
    EXPECT_EQ(store.phase(), VaultPhase::locked);
    device.authenticator.answer = AuthenticationResult::cancelled;
    EXPECT_EQ(store.unlock().error().code, VaultError::Code::cancelled);
    EXPECT_EQ(store.phase(), VaultPhase::locked);
    EXPECT_FALSE(store.authenticate("Show your date of birth"));
    // A device that cannot ask at all must never shut its owner out.
    device.authenticator.answer = AuthenticationResult::unavailable;
    ASSERT_TRUE(store.unlock());
    EXPECT_EQ(store.doc().people.at(0).notes, "last words");
    EXPECT_EQ(device.authenticator.reasons.back(), "Unlock Corvale");
}

// What vault.pbv holds, read past the store with the key from the secret store.
std::string notesOnDisk(FileSystem& files, SecretStore& secrets, const fs::path& folder) {
    auto key = VaultKeychain(secrets).requireVaultKey();
    if (!key) return "no key";
    auto document = VaultFiles(files, std::move(key).value(), folder).loadDocument();
    if (!document) return document.error().message();
    return document->people.at(0).notes.value_or("");
}

TEST(VaultStore, ALockWhoseSaveFailsStillLocksAndSavesAfterUnlock) {
    Device device;
    VaultStore store(device.setup());
    ASSERT_TRUE(store.create(nurse({})));
    ASSERT_TRUE(store.setAppLock(true));
    ASSERT_TRUE(store.change([](VaultDocument& doc) { doc.people[0].notes = "written on a full disk"; }));
    device.files.failWritesAfter(0);

    ASSERT_TRUE(store.lock());
    EXPECT_EQ(store.phase(), VaultPhase::locked);
    EXPECT_TRUE(store.doc().people.empty());
    EXPECT_FALSE(store.hasPendingSave()) << "a retry would run without the key";
    ASSERT_TRUE(store.lastSaveError());
    EXPECT_EQ(store.lastSaveError()->file.code, FileError::Code::noSpace);
    EXPECT_EQ(store.change([](VaultDocument&) {}).error().code, VaultError::Code::locked);
    device.scheduler.advance(10s);  // nothing scheduled may touch the closed vault

    // Still full at unlock: the edit is back in the document and waits for a retry.
    ASSERT_TRUE(store.unlock());
    EXPECT_EQ(store.doc().people.at(0).notes, "written on a full disk");
    EXPECT_TRUE(store.hasPendingSave());
    ASSERT_TRUE(store.lock());
    EXPECT_TRUE(store.doc().people.empty());

    device.files.clearWriteFailures();
    ASSERT_TRUE(store.unlock());
    EXPECT_FALSE(store.lastSaveError());
    EXPECT_FALSE(store.hasPendingSave());
    EXPECT_FALSE(device.files.exists(device.vaultFile().parent_path() / "vault.pending"));
    EXPECT_EQ(notesOnDisk(device.files, device.secrets, device.vaultFile().parent_path()), "written on a full disk");
}

// Real folders: one made read-only, and one whose vault.pbv cannot be
// replaced while the folder still takes the sealed pending file, which
// then outlives a quit.
TEST(VaultStore, ALockInAnUnwritableFolderLocksAndLaterSaves) {
    DiskDevice device;
    const fs::path folder = device.vaultFolder();
    const fs::path vaultFile = folder / "vault.pbv";
    auto store = std::make_unique<VaultStore>(device.setup());
    ASSERT_TRUE(store->create(nurse({})));
    ASSERT_TRUE(store->setAppLock(true));

    // chmod does not stop root, who runs these tests in CI containers.
    if (::geteuid() != 0) {
        ASSERT_TRUE(store->change([](VaultDocument& doc) { doc.people[0].notes = "read-only folder"; }));
        fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
        ASSERT_TRUE(store->lock());
        EXPECT_TRUE(store->doc().people.empty());
        EXPECT_EQ(store->lastSaveError()->file.code, FileError::Code::permissionDenied);
        fs::permissions(folder, fs::perms::owner_all);
        ASSERT_TRUE(store->unlock());
        EXPECT_FALSE(store->lastSaveError());
        EXPECT_EQ(notesOnDisk(device.files, device.secrets, folder), "read-only folder");
    }

    ASSERT_TRUE(store->change([](VaultDocument& doc) { doc.people[0].notes = "kept through a quit"; }));
    fs::rename(vaultFile, device.home / "vault.aside");
    fs::create_directories(vaultFile / "in-the-way");
    ASSERT_TRUE(store->lock());
    EXPECT_TRUE(store->doc().people.empty());
    EXPECT_TRUE(fs::exists(folder / "vault.pending"));
    store.reset();  // the app quits while the disk still refuses

    fs::remove_all(vaultFile);
    fs::rename(device.home / "vault.aside", vaultFile);
    VaultStore later(device.setup());
    ASSERT_TRUE(later.start());
    ASSERT_TRUE(later.unlock());
    EXPECT_EQ(later.doc().people.at(0).notes, "kept through a quit");
    EXPECT_FALSE(fs::exists(folder / "vault.pending"));
    EXPECT_FALSE(later.hasPendingSave());
}

TEST(VaultStore, ProfileEditsUndoInTurnAndTheScopeNamesOnlyALivePerson) {
    Device device;
    VaultStore store(device.setup());
    ASSERT_TRUE(store.create(nurse({"TX"})));
    const Person original = store.doc().people.at(0);
    EXPECT_FALSE(store.canUndoProfileEdit());

    Person first = original;
    first.phone = "512-555-0100";
    ASSERT_TRUE(store.updatePerson(first));
    Person second = store.doc().people.at(0);
    second.specialty = "Family practice";
    ASSERT_TRUE(store.updatePerson(second));
    Person stranger = original;
    stranger.id = "nobody";
    EXPECT_EQ(store.updatePerson(stranger).error().code, VaultError::Code::noSuchRecord);

    ASSERT_TRUE(store.undoProfileEdit());
    EXPECT_EQ(store.doc().people.at(0).phone, "512-555-0100");
    EXPECT_FALSE(store.doc().people.at(0).specialty);
    ASSERT_TRUE(store.undoProfileEdit());
    EXPECT_FALSE(store.doc().people.at(0).phone);
    EXPECT_FALSE(store.canUndoProfileEdit());
    EXPECT_TRUE(store.hasPendingSave());

    store.setScopePersonId(original.id);
    EXPECT_EQ(store.scopePersonId(), original.id);
    store.setScopePersonId(std::string("nobody"));
    EXPECT_FALSE(store.scopePersonId());

    // Locking forgets the earlier values with the rest of the records.
    ASSERT_TRUE(store.updatePerson(first));
    ASSERT_TRUE(store.setAppLock(true));
    ASSERT_TRUE(store.lock());
    EXPECT_FALSE(store.canUndoProfileEdit());
    EXPECT_EQ(device.authenticator.reasons.back(), "Turn on app lock");
    device.authenticator.answer = AuthenticationResult::failed;
    EXPECT_FALSE(store.authenticate("Show your date of birth"));
    device.authenticator.answer = AuthenticationResult::unavailable;
    EXPECT_TRUE(store.authenticate("Show your date of birth"));
}

TEST(VaultStore, AVaultWithoutItsKeyWaitsUntouchedAndOnlyOneProcessHoldsIt) {
    Device device;
    {
        VaultStore store(device.setup());
        ASSERT_TRUE(store.create(nurse({})));
    }
    const Bytes sealed = device.files.readFile(device.vaultFile()).value();
    ASSERT_TRUE(device.secrets.remove(std::string(kAppIdentifier) + ".vault", "vault-key"));
    VaultStore store(device.setup());
    ASSERT_TRUE(store.start());
    EXPECT_EQ(store.phase(), VaultPhase::welcome);
    EXPECT_EQ(store.create(nurse({})).error().code, VaultError::Code::vaultExists);
    EXPECT_EQ(device.files.readFile(device.vaultFile()).value(), sealed);

    VaultStore second(device.setup());
    EXPECT_EQ(messageOf(second.start()),
              "This vault is open in another Corvale window or command, so close it there and try again.");
}

TEST(VaultStore, TheRealDiskLockHoldsAcrossStoresAndEndsWithThem) {
    DiskDevice device;
    {
        VaultStore first(device.setup());
        ASSERT_TRUE(first.start());
        VaultStore second(device.setup());
        EXPECT_EQ(second.start().error().code, VaultError::Code::inUse);
    }
    VaultStore later(device.setup());
    EXPECT_TRUE(later.start());
}

TEST(VaultStore, AnotherDeviceJoinsWithTheKeyFileAndOnlyTheRightPassphrase) {
    Device first;
    VaultStore store(first.setup());
    const auto vaultId = store.create(nurse({"TX"}));
    ASSERT_TRUE(vaultId);
    const std::string scan = "%PDF-1.4 licence";
    const auto added = store.addDocument(asBytes(scan), DocumentRecord{});
    ASSERT_TRUE(added);
    ASSERT_TRUE(store.flush());
    const fs::path carried = "/carry";
    ASSERT_TRUE(first.files.createDirectories(carried / "blobs"));
    ASSERT_TRUE(store.exportKeyFile(carried / "vault.key", "correct horse"));
    const fs::path vaultFolder = first.home / "share/Corvale/Vault";
    ASSERT_TRUE(first.files.replaceFileAtomically(carried / "vault.pbv",
                                                  first.files.readFile(vaultFolder / "vault.pbv").value()));
    const std::string blob = added->blobHash + ".pbb";
    ASSERT_TRUE(first.files.replaceFileAtomically(carried / "blobs" / blob,
                                                  first.files.readFile(vaultFolder / "blobs" / blob).value()));

    // The second device shares the disk here only to read the carried folder.
    Device second("/home/ana-laptop");
    VaultStoreSetup onFirstDisk{first.files,
                                second.secrets,
                                second.clock,
                                second.scheduler,
                                second.authenticator,
                                second.home / "share",
                                second.home / "prefs.json",
                                first.home / "tmp"};
    VaultStore joiner(onFirstDisk);
    // Vetting reads only: a wrong passphrase or a folder whose vault the key does not open is said, and nothing is
    // written.
    const auto writes = first.files.writeCount();
    EXPECT_EQ(joiner.checkJoin(carried, "battery staple").error().code, VaultError::Code::wrongPassphrase);
    EXPECT_TRUE(joiner.checkJoin(carried, "correct horse"));
    Bytes altered = first.files.readFile(carried / "vault.pbv").value();
    altered.back() ^= 1;
    ASSERT_TRUE(first.files.createDirectories("/altered"));
    ASSERT_TRUE(
        first.files.replaceFileAtomically("/altered/vault.key", first.files.readFile(carried / "vault.key").value()));
    ASSERT_TRUE(first.files.replaceFileAtomically("/altered/vault.pbv", altered));
    EXPECT_EQ(joiner.checkJoin("/altered", "correct horse").error().code, VaultError::Code::damaged);
    EXPECT_EQ(first.files.writeCount(), writes + 2);
    EXPECT_EQ(second.secrets.itemCount(), 0u);

    EXPECT_EQ(messageOf(joiner.join(carried, "battery staple")), "That passphrase doesn't unlock this vault.");
    EXPECT_EQ(second.secrets.itemCount(), 0u);
    EXPECT_FALSE(first.files.exists(second.home / "share/Corvale/Vault/vault.pbv"));

    ASSERT_TRUE(joiner.join(carried, "correct horse"));
    EXPECT_EQ(joiner.phase(), VaultPhase::ready);
    EXPECT_EQ(joiner.doc().vaultId, *vaultId);
    const auto copy = joiner.temporaryFile(added->id);
    ASSERT_TRUE(copy);

    ASSERT_TRUE(joiner.erase());
    EXPECT_EQ(joiner.phase(), VaultPhase::welcome);
    EXPECT_EQ(second.secrets.itemCount(), 0u);
    EXPECT_FALSE(first.files.exists(second.home / "share/Corvale/Vault/vault.pbv"));
}

TEST(VaultStore, JoiningTakesOnlyPlainFilesOfBoundedSizeAndTheBlobsTheDocumentNeeds) {
    TemporaryFolder folder;
    const fs::path& root = folder.path;
    PosixFileSystem disk;
    InMemorySecretStore officeSecrets;
    InMemorySecretStore laptopSecrets;
    SystemClock clock;
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;
    const fs::path carried = root / "carried";
    std::string scanBlob;
    std::string cvBlob;
    std::string droppedBlob;
    {
        VaultStore office({disk, officeSecrets, clock, scheduler, authenticator, root / "office", root / "office.json",
                           root / "tmp"});
        ASSERT_TRUE(office.create(nurse({"TX"})));
        const auto scan = office.addDocument(asBytes("licence scan"), DocumentRecord{});
        const auto cv = office.addDocument(asBytes("curriculum vitae"), DocumentRecord{});
        const auto dropped = office.addDocument(asBytes("old CV"), DocumentRecord{});
        ASSERT_TRUE(scan && cv && dropped);
        ASSERT_TRUE(office.change([](VaultDocument& doc) { doc.documents.back().deleted = true; }));
        ASSERT_TRUE(office.flush());
        fs::create_directories(carried);
        ASSERT_TRUE(office.exportKeyFile(carried / "vault.key", "correct horse"));
        fs::copy(office.vaultDirectory() / "vault.pbv", carried / "vault.pbv");
        fs::copy(office.vaultDirectory() / "blobs", carried / "blobs");
        scanBlob = scan->blobHash + ".pbb";
        cvBlob = cv->blobHash + ".pbb";
        droppedBlob = dropped->blobHash + ".pbb";
    }
    ASSERT_TRUE(fs::exists(carried / "blobs" / droppedBlob));

    VaultStore laptop(
        {disk, laptopSecrets, clock, scheduler, authenticator, root / "laptop", root / "laptop.json", root / "tmp"});
    const auto refused = [&](const std::string& label, const fs::path& file, const std::function<void()>& plant,
                             FileError::Code code) {
        const fs::path kept = root / "kept";
        fs::rename(file, kept);
        plant();
        const auto joined = laptop.join(carried, "correct horse");
        fs::remove_all(file);
        fs::rename(kept, file);
        ASSERT_FALSE(joined) << label;
        EXPECT_EQ(joined.error().file.code, code) << label << ": " << joined.error().message();
        EXPECT_EQ(laptop.phase(), VaultPhase::welcome) << label;
        EXPECT_EQ(laptopSecrets.itemCount(), 0u) << label;
        EXPECT_FALSE(fs::exists(laptop.vaultDirectory() / "vault.pbv")) << label;
        EXPECT_FALSE(fs::exists(laptop.vaultDirectory() / "blobs")) << label;
    };
    for (const fs::path& file : {carried / "vault.key", carried / "vault.pbv", carried / "blobs" / cvBlob}) {
        const std::string name = file.filename().string();
        refused(
            name + " as a link", file, [&] { fs::create_symlink(root / "kept", file); }, FileError::Code::notAFile);
        refused(
            name + " as a folder", file, [&] { fs::create_directory(file); }, FileError::Code::notAFile);
        // A pipe would block a plain open for ever.
        refused(
            name + " as a pipe", file, [&] { ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); }, FileError::Code::notAFile);
    }
    refused(
        "oversized key file", carried / "vault.key",
        [&] {
            std::ofstream out(carried / "vault.key");
            out << std::string(VaultFiles::kKeyFileMaxBytes + 1, ' ');
        },
        FileError::Code::tooLarge);
    refused(
        "missing blob", carried / "blobs" / scanBlob, [] {}, FileError::Code::notFound);

    // Sealed under the right key but not the bytes its name promises.
    fs::copy_file(carried / "blobs" / scanBlob, root / "scan", fs::copy_options::overwrite_existing);
    fs::copy_file(carried / "blobs" / cvBlob, carried / "blobs" / scanBlob, fs::copy_options::overwrite_existing);
    EXPECT_EQ(failedWith(laptop.join(carried, "correct horse")), VaultError::Code::damaged);
    EXPECT_EQ(laptopSecrets.itemCount(), 0u);
    fs::copy_file(root / "scan", carried / "blobs" / scanBlob, fs::copy_options::overwrite_existing);

    ASSERT_TRUE(laptop.join(carried, "correct horse"));
    EXPECT_EQ(laptop.phase(), VaultPhase::ready);
    // The blob no live record refers to stayed behind.
    std::vector<std::string> expected{scanBlob, cvBlob};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(disk.list(laptop.vaultDirectory() / "blobs"), expected);
}

TEST(VaultStore, AnOlderInstallationMovesAcrossOnce) {
    Device device;
    {
        VaultStore store(device.setup());
        ASSERT_TRUE(store.create(nurse({})));
        ASSERT_TRUE(store.setAppLock(false));
    }
    // Make the vault look like an older installation's.
    const std::string service = std::string(kAppIdentifier) + ".vault";
    const auto key = device.secrets.load(service, "vault-key").value();
    ASSERT_TRUE(device.secrets.save(std::string(kOlderAppIdentifier) + ".vault", "vault-key", (*key).view()));
    ASSERT_TRUE(device.secrets.remove(service, "vault-key"));
    ASSERT_TRUE(device.files.rename(device.home / "share/Corvale", device.home / "share/Pembrose"));
    ASSERT_TRUE(device.files.createDirectories(device.home / "config/Pembrose"));
    ASSERT_TRUE(device.files.replaceFileAtomically(device.home / "config/Pembrose/prefs.json",
                                                   asBytes(R"({"seenTips":["t1"]})")));
    ASSERT_TRUE(device.files.removeFile(device.home / "config/Corvale/prefs.json"));

    VaultStore store(device.setup());
    ASSERT_TRUE(store.start());
    EXPECT_EQ(store.phase(), VaultPhase::ready);
    EXPECT_TRUE(store.prefs().flag(Prefs::kMigrated));
    ASSERT_TRUE(store.prefs().value("seenTips"));
    EXPECT_FALSE(device.files.exists(device.home / "share/Pembrose"));
    // One item holds the key afterwards: the older one went once it was copied.
    EXPECT_FALSE(device.secrets.load(VaultKeychain::olderService(), "vault-key").value());
    EXPECT_EQ(device.secrets.itemCount(), 1u);
}

TEST(VaultStore, EraseLeavesNoItemHoldingTheKeyUnderEitherName) {
    Device device;
    {
        VaultStore store(device.setup());
        ASSERT_TRUE(store.create(nurse({})));
        // As an earlier migration left it: the key under the older name as well.
        const auto key = device.secrets.load(VaultKeychain::service(), "vault-key").value();
        ASSERT_TRUE(device.secrets.save(VaultKeychain::olderService(), "vault-key", (*key).view()));
        ASSERT_TRUE(store.erase());
        EXPECT_EQ(device.secrets.itemCount(), 0u);
    }

    // The next start must not bring the key back from anywhere.
    VaultStore again(device.setup());
    ASSERT_TRUE(again.start());
    EXPECT_EQ(again.phase(), VaultPhase::welcome);
    EXPECT_EQ(device.secrets.itemCount(), 0u);
}

TEST(VaultStore, ADocumentCopySavedElsewhereIsWholeOrNotThere) {
    Device device;
    VaultStore store(device.setup());
    ASSERT_TRUE(store.create(nurse({})));
    const auto added = store.addDocument(asBytes("licence scan"), DocumentRecord{});
    ASSERT_TRUE(added);
    ASSERT_TRUE(device.files.createDirectories("/home/ana/Documents"));
    ASSERT_TRUE(store.saveDocumentCopy(added->id, "/home/ana/Documents/licence.pdf"));
    EXPECT_EQ(asText(device.files.readFile("/home/ana/Documents/licence.pdf").value()), "licence scan");

    device.files.failWritesAfter(4);
    EXPECT_EQ(failedWith(store.saveDocumentCopy(added->id, "/home/ana/Documents/again.pdf")),
              VaultError::Code::storage);
    EXPECT_FALSE(device.files.exists("/home/ana/Documents/again.pdf"));
    EXPECT_EQ(device.files.list("/home/ana/Documents"), std::vector<std::string>{"licence.pdf"});
    device.files.clearWriteFailures();

    EXPECT_EQ(store.saveDocumentCopy("no-such-id", "/home/ana/Documents/x.pdf").error().code,
              VaultError::Code::noSuchRecord);
    ASSERT_TRUE(store.setAppLock(true));
    ASSERT_TRUE(store.lock());
    EXPECT_EQ(store.saveDocumentCopy(added->id, "/home/ana/Documents/x.pdf").error().code, VaultError::Code::locked);
}

TEST(VaultStore, PlainCopiesGoOnLockAndAtTheNextStartButOutliveTheProcessThatMadeThem) {
    TemporaryFolder folder;
    const fs::path& temporary = folder.path;
    Device device;
    VaultStoreSetup setup = device.setup();
    setup.temporaryDirectory = temporary;
    fs::path copy;
    {
        VaultStore store(setup);
        ASSERT_TRUE(store.create(nurse({})));
        const auto added = store.addDocument(asBytes("licence scan"), DocumentRecord{});
        ASSERT_TRUE(added);
        // Locking clears them even with the app lock off, when the records themselves stay open.
        copy = store.temporaryFile(added->id).value();
        ASSERT_TRUE(fs::exists(copy));
        ASSERT_TRUE(store.lock());
        EXPECT_EQ(store.phase(), VaultPhase::ready);
        EXPECT_FALSE(fs::exists(copy));

        ASSERT_TRUE(store.setAppLock(true));
        copy = store.temporaryFile(added->id).value();
        ASSERT_TRUE(store.lock());
        EXPECT_EQ(store.phase(), VaultPhase::locked);
        EXPECT_FALSE(fs::exists(copy));

        ASSERT_TRUE(store.unlock());
        copy = store.temporaryFile(added->id).value();
    }
    // A command that prints a copy's path and ends leaves it for the viewer.
    EXPECT_TRUE(fs::exists(copy));
    VaultStore next(setup);
    ASSERT_TRUE(next.start());
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_TRUE(fs::is_empty(temporary));
}

}  // namespace
}  // namespace corvale

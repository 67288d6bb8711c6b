#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/VaultKeychain.h"
#include "vault/VaultStore.h"

#include "DiskDevice.h"
#include "support/HandLaidArchive.h"
#include "support/Outcomes.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

namespace corvale {
namespace {

using namespace test_support;

using namespace std::chrono_literals;
namespace fs = std::filesystem;

Onboarding anaRuiz() {
    Onboarding onboarding;
    onboarding.owner.name = "Ana Ruiz";
    onboarding.owner.degree = "MD";
    return onboarding;
}

TEST(VaultBackup, RestoresOnAFreshDeviceWithEveryRecordAndLiveDocumentOnce) {
    DiskDevice office;
    VaultStore store(office.setup());
    ASSERT_TRUE(store.create(anaRuiz()));
    const auto licence = store.addDocument(asBytes("licence scan"), DocumentRecord{});
    const auto sameScan = store.addDocument(asBytes("licence scan"), DocumentRecord{});
    const auto dropped = store.addDocument(asBytes("old CV"), DocumentRecord{});
    ASSERT_TRUE(licence && sameScan && dropped);
    ASSERT_TRUE(store.change([&](VaultDocument& doc) { doc.documents.back().deleted = true; }));

    const auto archive = store.exportBackup("pass phrase");
    ASSERT_TRUE(archive) << archive.error().message();
    const fs::path folder = office.home / "tmp" / VaultStore::defaultBackupFolderName();
    EXPECT_EQ(*archive, folder / "Corvale Backup 2026-11-18.pbbackup");
    EXPECT_EQ(fs::symlink_status(folder).permissions(), fs::perms::owner_all);
    const auto entries = ZipReader::entries(readAll(*archive));
    std::vector<std::string> names;
    for (const auto& [name, bytes] : entries) names.push_back(name);
    EXPECT_EQ(names, (std::vector<std::string>{"blobs/" + licence->blobHash + ".pbb", "vault.key", "vault.pbv"}));
    EXPECT_TRUE(store.prefs().timestamp(Prefs::kLastBackup));

    DiskDevice fresh;
    VaultStore restored(fresh.setup());
    EXPECT_EQ(messageOf(restored.restoreBackup(*archive, "not it")), "That passphrase doesn't unlock this vault.");
    EXPECT_EQ(fresh.secrets.itemCount(), 0u);
    EXPECT_FALSE(fs::exists(restored.vaultDirectory() / "vault.pbv"));
    EXPECT_FALSE(fs::exists(restored.vaultDirectory() / "blobs" / (licence->blobHash + ".pbb")));

    ASSERT_TRUE(restored.restoreBackup(*archive, "pass phrase"));
    EXPECT_EQ(restored.phase(), VaultPhase::ready);
    EXPECT_EQ(encodeVaultDocument(restored.doc()), encodeVaultDocument(store.doc()));
    const auto copy = restored.temporaryFile(sameScan->id);
    ASSERT_TRUE(copy);
    EXPECT_EQ(readAll(*copy), Bytes(asBytes("licence scan").begin(), asBytes("licence scan").end()));
    EXPECT_EQ(restored.restoreBackup(*archive, "pass phrase").error().code, VaultError::Code::vaultExists);
}

// Made by Python's zipfile and cryptography (data/make_golden.py), not by us.
TEST(VaultBackup, RestoresABackupAnotherImplementationWrote) {
    const fs::path golden = fs::path(CORVALE_TEST_DATA_DIR) / "golden-backup.pbbackup";
    Bytes expectedScan(asBytes("%PDF-1.4\n% golden licence scan\n").begin(),
                       asBytes("%PDF-1.4\n% golden licence scan\n").end());
    for (int i = 0; i < 256; ++i) expectedScan.push_back(static_cast<std::uint8_t>(i));

    const auto check = [&](VaultStore& store, fs::path& plainCopy) {
        ASSERT_FALSE(store.restoreBackup(golden, "correct horse battery staple"));
        const auto restored = store.restoreBackup(golden, "correct horse battery staple \u2713");
        ASSERT_TRUE(restored) << restored.error().message();
        const VaultDocument& doc = store.doc();
        EXPECT_EQ(doc.vaultId, "7d0c5a8e-3f1b-4c2a-9e6d-0b1a2c3d4e5f");
        ASSERT_EQ(doc.people.size(), 1u);
        EXPECT_EQ(doc.people[0].name, "Dana Whitfield");
        ASSERT_EQ(doc.credentials.size(), 1u);
        EXPECT_EQ(doc.credentials[0].expiresOn, Day::parse("2027-06-30"));
        ASSERT_EQ(doc.cme.size(), 1u);
        EXPECT_EQ(doc.cme[0].hours, 7.0);
        const auto copy = store.temporaryFile("d-golden");
        ASSERT_TRUE(copy) << copy.error().message();
        plainCopy = *copy;
    };

    DiskDevice disk;
    VaultStore onDisk(disk.setup());
    fs::path diskCopy;
    check(onDisk, diskCopy);
    if (HasFatalFailure()) return;
    EXPECT_EQ(readAll(diskCopy), expectedScan);

    // The same archive into a file system that is not the disk takes the other path.
    InMemoryFileSystem memory;
    InMemorySecretStore secrets;
    FixedClock clock{std::chrono::system_clock::time_point{} + 1'795'003'200s};
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;
    // Plain copies always land on the real disk, for the viewer to open.
    VaultStore inMemory({memory, secrets, clock, scheduler, authenticator, "/share", "/prefs.json", disk.home});
    fs::path memoryCopy;
    check(inMemory, memoryCopy);
    if (HasFatalFailure()) return;
    EXPECT_EQ(readAll(memoryCopy), expectedScan);
    EXPECT_TRUE(memory.exists(fs::path("/share") / "Corvale/Vault/blobs" /
                              "0bc72d96495b6fab65e4ca75f64f1fec6f927682bc95ee17c70161cb53913f4c.pbb"));
}

TEST(VaultBackup, ADamagedBlobStopsTheRestoreWithoutAVault) {
    DiskDevice office;
    VaultStore store(office.setup());
    ASSERT_TRUE(store.create(anaRuiz()));
    ASSERT_TRUE(store.addDocument(Bytes(4096, 0x5A), DocumentRecord{}));
    const auto archive = store.exportBackup("pass phrase");
    ASSERT_TRUE(archive);

    // Flip a byte inside the blob's data; the directory still lists it whole.
    Bytes bytes = readAll(*archive);
    const auto entries = ZipReader::entries(bytes);
    const auto blob =
        std::find_if(entries.begin(), entries.end(), [](const auto& e) { return e.first.starts_with("blobs/"); });
    ASSERT_NE(blob, entries.end());
    const auto at = std::search(bytes.begin(), bytes.end(), blob->second.begin(), blob->second.end());
    ASSERT_NE(at, bytes.end());
    at[100] ^= 0x01;
    writeAll(*archive, bytes);

    DiskDevice fresh;
    VaultStore restored(fresh.setup());
    EXPECT_EQ(failedWith(restored.restoreBackup(*archive, "pass phrase")), VaultError::Code::archive);
    EXPECT_EQ(restored.phase(), VaultPhase::welcome);
    EXPECT_FALSE(fs::exists(restored.vaultDirectory() / "vault.pbv"));
    EXPECT_EQ(fresh.secrets.itemCount(), 0u);
}

TEST(VaultBackup, TheDefaultFolderIsThisUsersOwnOrNothingIsWritten) {
    DiskDevice office;
    VaultStore store(office.setup());
    ASSERT_TRUE(store.create(anaRuiz()));
    const fs::path folder = office.home / "tmp" / VaultStore::defaultBackupFolderName();
    EXPECT_NE(VaultStore::defaultBackupFolderName().find(std::to_string(::geteuid())), std::string::npos);

    // A link planted where the folder goes is refused, not followed.
    const fs::path elsewhere = office.home / "elsewhere";
    fs::create_directories(elsewhere);
    fs::create_directories(office.home / "tmp");
    fs::create_directory_symlink(elsewhere, folder);
    EXPECT_EQ(messageOf(store.exportBackup("pass phrase")),
              "Corvale isn't allowed to use " + folder.string() + ", so check the folder's permissions.");
    EXPECT_TRUE(fs::is_empty(elsewhere));
    EXPECT_FALSE(store.prefs().timestamp(Prefs::kLastBackup));

    // Another user's folder is refused too; only root can make one to try it with.
    fs::remove(folder);
    fs::create_directory(folder);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(folder.c_str(), 65534, 65534), 0);
        ASSERT_FALSE(store.exportBackup("pass phrase"));
        EXPECT_TRUE(fs::is_empty(folder));
        ASSERT_EQ(::chown(folder.c_str(), 0, 0), 0);
    }

    // A folder of ours that anyone may write to is tightened before the archive goes in.
    fs::permissions(folder, fs::perms::all);
    const auto archive = store.exportBackup("pass phrase");
    ASSERT_TRUE(archive) << archive.error().message();
    EXPECT_EQ(archive->parent_path(), folder);
    EXPECT_EQ(fs::symlink_status(folder).permissions(), fs::perms::owner_all);
}

TEST(VaultBackup, AnArchiveThatIsNotABackupChangesNothing) {
    DiskDevice device;
    const fs::path foreign = device.home / "photos.zip";
    ZipWriter writer;
    writer.add("vault.pbv", asBytes("not sealed"));
    writeAll(foreign, writer.finish());
    VaultStore store(device.setup());
    for (const fs::path& path : {foreign, device.home / "missing.pbbackup"}) {
        const auto result = store.restoreBackup(path, "pass phrase");
        ASSERT_FALSE(result);
        EXPECT_EQ(store.phase(), VaultPhase::welcome);
    }
    EXPECT_EQ(store.restoreBackup(foreign, "x").error().message(), "This file isn't a Corvale vault.");
    EXPECT_EQ(device.secrets.itemCount(), 0u);
}

Bytes rebuilt(std::map<std::string, Bytes> entries) {
    ZipWriter writer;
    for (const auto& [name, bytes] : entries) writer.add(name, bytes);
    return writer.finish();
}

// Everything of a vault a failed restore must leave alone: every file under
// its folder, byte for byte, and its key.
struct VaultSnapshot {
    std::map<std::string, Bytes> files;
    std::optional<Bytes> key;
    bool operator==(const VaultSnapshot&) const = default;
};

VaultSnapshot snapshot(FileSystem& disk, SecretStore& secrets, const fs::path& vault) {
    VaultSnapshot result;
    for (const fs::path& folder : {vault, vault / "blobs"}) {
        for (const auto& name : disk.list(folder)) {
            const auto path = folder / name;
            if (auto bytes = disk.readFile(path)) result.files[path.lexically_relative(vault).string()] = *bytes;
        }
    }
    if (auto key = secrets.load(VaultKeychain::service(), std::string(VaultKeychain::kAccount)); key && *key)
        result.key = Bytes((*key)->view().begin(), (*key)->view().end());
    return result;
}

// The archive laid out again with a second directory record for `name`: its bytes are then claimed twice.
Bytes withRepeatedRecord(const Bytes& zip, const std::string& name) {
    HandLaidArchive archive;
    for (const auto& [entry, bytes] : ZipReader::entries(zip)) {
        const auto at = archive.local(entry, bytes);
        archive.central(entry, bytes, at);
        if (entry == name) archive.central(entry, bytes, at);
    }
    return archive.finish();
}

// Bad backups of the office's vault, each refused by a restore over the home vault with the sentence given.
struct BadBackup {
    std::string label;
    Bytes archive;
    std::string passphrase;
    std::string message;
};

std::vector<BadBackup> badBackups(const Bytes& good, const std::string& scanName, const std::string& cvName) {
    const auto entries = ZipReader::entries(good);
    const std::string damaged = "This backup is damaged, so restore from another copy of it.";
    std::vector<BadBackup> cases;
    cases.push_back({"wrong passphrase", good, "pass phrases", "That passphrase doesn't unlock this vault."});
    cases.push_back({"overlapping", withRepeatedRecord(good, scanName), "pass phrase",
                     "This backup's files overlap or disagree about their names, so restore from another copy of it."});
    {
        auto swapped = entries;
        std::swap(swapped[scanName], swapped[cvName]);
        cases.push_back({"blob under another's name", rebuilt(std::move(swapped)), "pass phrase", damaged});
    }
    {
        // Sealed under the right key and named for its bytes, but no record refers to it.
        auto extra = entries;
        extra["blobs/" + std::string(64, 'a') + ".pbb"] = entries.at(scanName);
        cases.push_back({"stray blob", rebuilt(std::move(extra)), "pass phrase", damaged});
        auto missing = entries;
        missing.erase(cvName);
        cases.push_back({"missing blob", rebuilt(std::move(missing)), "pass phrase", damaged});
    }
    {
        // Still a key file that opens, but longer than any key file need be.
        auto padded = entries;
        padded["vault.key"].resize(VaultFiles::kKeyFileMaxBytes + 1, ' ');
        cases.push_back(
            {"oversized key file", rebuilt(std::move(padded)), "pass phrase", "This file isn't a Corvale vault."});
    }
    // Damage that checksums cannot see, because the archive was rebuilt around it.
    for (const std::string& name : {scanName, std::string("vault.pbv")}) {
        auto flipped = entries;
        flipped[name][40] ^= 0x01;
        cases.push_back({name + " flipped", rebuilt(std::move(flipped)), "pass phrase", damaged});
    }
    {
        auto notADocument = entries;
        notADocument["vault.pbv"] = entries.at(scanName);  // sealed under the right key, but no document
        cases.push_back({"not a document", rebuilt(std::move(notADocument)), "pass phrase", damaged});
        auto keyless = entries;
        keyless.erase("vault.key");
        cases.push_back(
            {"no key file", rebuilt(std::move(keyless)), "pass phrase", "This file isn't a Corvale vault."});
    }
    return cases;
}

TEST(VaultBackup, ARestoreOverAVaultReplacesItWholeOrLeavesItExactlyAsItWas) {
    DiskDevice office;
    VaultStore source(office.setup());
    ASSERT_TRUE(source.create(anaRuiz()));
    const auto scan = source.addDocument(asBytes("licence scan"), DocumentRecord{});
    const auto cv = source.addDocument(asBytes("curriculum vitae"), DocumentRecord{});
    const auto old = source.addDocument(asBytes("old CV"), DocumentRecord{});
    ASSERT_TRUE(scan && cv && old);
    ASSERT_TRUE(source.change([](VaultDocument& doc) { doc.documents.back().deleted = true; }));
    // An extra blob a record no longer refers to also has a valid name: a backup made with it is refused.
    const auto archive = source.exportBackup("pass phrase", office.home / "office.pbbackup");
    ASSERT_TRUE(archive) << archive.error().message();
    EXPECT_TRUE(source.checkBackup(*archive, "pass phrase"));  // a vault vouches for its own backup
    const Bytes good = readAll(*archive);
    const std::string scanName = "blobs/" + scan->blobHash + ".pbb";
    const std::string cvName = "blobs/" + cv->blobHash + ".pbb";
    {
        auto withStray = ZipReader::entries(good);
        withStray["blobs/" + old->blobHash + ".pbb"] =
            readAll(source.vaultDirectory() / "blobs" / (old->blobHash + ".pbb"));
        auto cases = badBackups(good, scanName, cvName);
        cases.push_back({"unreferenced blob", rebuilt(std::move(withStray)), "pass phrase",
                         "This backup is damaged, so restore from another copy of it."});

        DiskDevice home;
        VaultStore store(home.setup());
        ASSERT_TRUE(store.create(anaRuiz()));
        ASSERT_TRUE(store.addDocument(asBytes("home scan"), DocumentRecord{}));
        ASSERT_TRUE(store.change([](VaultDocument& doc) { doc.people[0].specialty = "Cardiology"; }));
        const std::string before = encodeVaultDocument(store.doc());
        ASSERT_TRUE(store.flush());
        const VaultSnapshot kept = snapshot(home.files, home.secrets, store.vaultDirectory());
        ASSERT_EQ(kept.files.size(), 3u);  // .lock, vault.pbv and the one blob
        for (const auto& bad : cases) {
            const fs::path path = home.home / "bad.pbbackup";
            writeAll(path, bad.archive);
            // The check before a restore refuses the same backups with the same words, touching nothing either.
            EXPECT_EQ(messageOf(store.checkBackup(path, bad.passphrase)), bad.message) << bad.label;
            const auto restored = store.replaceWithBackup(path, bad.passphrase);
            ASSERT_FALSE(restored) << bad.label;
            EXPECT_EQ(restored.error().message(), bad.message) << bad.label;
            EXPECT_EQ(snapshot(home.files, home.secrets, store.vaultDirectory()), kept) << bad.label;
            EXPECT_FALSE(fs::exists(store.vaultDirectory().parent_path() / ".Vault.incoming")) << bad.label;
            EXPECT_EQ(store.phase(), VaultPhase::ready) << bad.label;
            EXPECT_EQ(encodeVaultDocument(store.doc()), before) << bad.label;
        }

        // The good one replaces the vault: the office's records, only its live blobs, its key.
        ASSERT_TRUE(store.checkBackup(*archive, "pass phrase"));
        const auto restored = store.replaceWithBackup(*archive, "pass phrase");
        ASSERT_TRUE(restored) << restored.error().message();
        EXPECT_EQ(encodeVaultDocument(store.doc()), encodeVaultDocument(source.doc()));
        const VaultSnapshot now = snapshot(home.files, home.secrets, store.vaultDirectory());
        const VaultSnapshot fromOffice = snapshot(office.files, office.secrets, source.vaultDirectory());
        EXPECT_EQ(now.key, fromOffice.key);
        std::vector<std::string> names;
        for (const auto& [name, bytes] : now.files) names.push_back(name);
        EXPECT_EQ(names, (std::vector<std::string>{".lock", scanName, cvName, "vault.pbv"}));
        EXPECT_EQ(now.files.at(scanName), fromOffice.files.at(scanName));
        EXPECT_FALSE(fs::exists(store.vaultDirectory().parent_path() / ".Vault.incoming"));
        // The lock came along: another store still finds the vault in use.
        VaultStore other(home.setup());
        EXPECT_EQ(other.start().error().code, VaultError::Code::inUse);
    }

    // On a device with no open vault but a vault file whose key is gone, a bad backup leaves that file too.
    DiskDevice keyless;
    {
        VaultStore first(keyless.setup());
        ASSERT_TRUE(first.create(anaRuiz()));
    }
    ASSERT_TRUE(keyless.secrets.remove(VaultKeychain::service(), std::string(VaultKeychain::kAccount)));
    VaultStore waiting(keyless.setup());
    ASSERT_TRUE(waiting.start());
    ASSERT_EQ(waiting.phase(), VaultPhase::welcome);
    const VaultSnapshot orphan = snapshot(keyless.files, keyless.secrets, waiting.vaultDirectory());
    const fs::path path = keyless.home / "bad.pbbackup";
    writeAll(path, withRepeatedRecord(good, scanName));
    EXPECT_FALSE(waiting.restoreBackup(path, "pass phrase"));
    EXPECT_EQ(snapshot(keyless.files, keyless.secrets, waiting.vaultDirectory()), orphan);
    EXPECT_EQ(waiting.phase(), VaultPhase::welcome);
    ASSERT_TRUE(waiting.restoreBackup(*archive, "pass phrase"));
    EXPECT_EQ(waiting.doc().vaultId, source.doc().vaultId);
}

// A disk that fills midway, or refuses the final swap: the old vault and key stay.
TEST(VaultBackup, ARestoreThatFailsOnTheDiskLeavesTheVaultAndItsKey) {
    DiskDevice office;
    VaultStore source(office.setup());
    ASSERT_TRUE(source.create(anaRuiz()));
    ASSERT_TRUE(source.addDocument(Bytes(4096, 0x11), DocumentRecord{}));
    ASSERT_TRUE(source.addDocument(Bytes(4096, 0x22), DocumentRecord{}));
    const auto archive = source.exportBackup("pass phrase", office.home / "office.pbbackup");
    ASSERT_TRUE(archive);

    InMemoryFileSystem memory;
    InMemorySecretStore secrets;
    FixedClock clock{std::chrono::system_clock::time_point{} + 1'795'003'200s};
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;
    VaultStore store({memory, secrets, clock, scheduler, authenticator, "/share", "/prefs.json", office.home / "tmp"});
    ASSERT_TRUE(store.create(anaRuiz()));
    ASSERT_TRUE(store.addDocument(asBytes("home scan"), DocumentRecord{}));
    ASSERT_TRUE(store.change([](VaultDocument& doc) { doc.people[0].specialty = "Cardiology"; }));
    const std::string before = encodeVaultDocument(store.doc());
    ASSERT_TRUE(store.flush());
    const VaultSnapshot kept = snapshot(memory, secrets, store.vaultDirectory());

    // Room for the first blob and not the second; then room for all but no swap.
    memory.failWritesAfter(5000);
    auto restored = store.replaceWithBackup(*archive, "pass phrase");
    ASSERT_FALSE(restored);
    EXPECT_EQ(restored.error().message(), "The disk is full, so free some space and try again.");
    EXPECT_EQ(snapshot(memory, secrets, store.vaultDirectory()), kept);
    EXPECT_FALSE(memory.exists("/share/Corvale/.Vault.incoming"));
    memory.clearWriteFailures();

    memory.setExchangeFails(true);
    restored = store.replaceWithBackup(*archive, "pass phrase");
    ASSERT_FALSE(restored);
    EXPECT_EQ(snapshot(memory, secrets, store.vaultDirectory()), kept);  // the new key was put back
    EXPECT_FALSE(memory.exists("/share/Corvale/.Vault.incoming"));
    EXPECT_EQ(encodeVaultDocument(store.doc()), before);
    EXPECT_EQ(memory.heldLocks(), 1u);

    memory.setExchangeFails(false);
    ASSERT_TRUE(store.replaceWithBackup(*archive, "pass phrase"));
    EXPECT_EQ(encodeVaultDocument(store.doc()), encodeVaultDocument(source.doc()));
    EXPECT_EQ(memory.heldLocks(), 1u);
    VaultStore other({memory, secrets, clock, scheduler, authenticator, "/share", "/prefs.json", office.home / "tmp"});
    EXPECT_EQ(other.start().error().code, VaultError::Code::inUse);
}

}  // namespace
}  // namespace corvale

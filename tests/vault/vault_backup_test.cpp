#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/VaultStore.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

namespace corvale {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// A device on the real disk: archives are files a person carries elsewhere.
struct DiskDevice {
    fs::path home;
    PosixFileSystem files;
    InMemorySecretStore secrets;
    // Noon UTC, so the local date is the 18th in every zone within eleven hours of it.
    FixedClock clock{std::chrono::system_clock::time_point{} + 1'795'003'200s};
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;

    DiskDevice() {
        char pattern[] = "/tmp/corvale-backup-XXXXXX";
        home = mkdtemp(pattern);
    }
    ~DiskDevice() { fs::remove_all(home); }
    VaultStoreSetup setup() {
        return {files, secrets, clock, scheduler, authenticator, home / "share", home / "prefs.json", home / "tmp"};
    }
};

Bytes fileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

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
    const auto entries = ZipReader::entries(fileBytes(*archive));
    std::vector<std::string> names;
    for (const auto& [name, bytes] : entries) names.push_back(name);
    EXPECT_EQ(names, (std::vector<std::string>{"blobs/" + licence->blobHash + ".pbb", "vault.key", "vault.pbv"}));
    EXPECT_TRUE(store.prefs().timestamp(Prefs::kLastBackup));

    DiskDevice fresh;
    VaultStore restored(fresh.setup());
    const auto wrong = restored.restoreBackup(*archive, "not it");
    ASSERT_FALSE(wrong);
    EXPECT_EQ(wrong.error().message(), "That passphrase doesn't unlock this vault.");
    EXPECT_EQ(fresh.secrets.itemCount(), 0u);
    EXPECT_FALSE(fs::exists(restored.vaultDirectory() / "vault.pbv"));
    EXPECT_FALSE(fs::exists(restored.vaultDirectory() / "blobs" / (licence->blobHash + ".pbb")));

    ASSERT_TRUE(restored.restoreBackup(*archive, "pass phrase"));
    EXPECT_EQ(restored.phase(), VaultPhase::ready);
    EXPECT_EQ(encodeVaultDocument(restored.doc()), encodeVaultDocument(store.doc()));
    const auto copy = restored.temporaryFile(sameScan->id);
    ASSERT_TRUE(copy);
    EXPECT_EQ(fileBytes(*copy), Bytes(asBytes("licence scan").begin(), asBytes("licence scan").end()));
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
    EXPECT_EQ(fileBytes(diskCopy), expectedScan);

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
    EXPECT_EQ(fileBytes(memoryCopy), expectedScan);
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
    Bytes bytes = fileBytes(*archive);
    const auto entries = ZipReader::entries(bytes);
    const auto blob = std::find_if(entries.begin(), entries.end(), [](const auto& e) { return e.first.starts_with("blobs/"); });
    ASSERT_NE(blob, entries.end());
    const auto at = std::search(bytes.begin(), bytes.end(), blob->second.begin(), blob->second.end());
    ASSERT_NE(at, bytes.end());
    at[100] ^= 0x01;
    std::ofstream(*archive, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));

    DiskDevice fresh;
    VaultStore restored(fresh.setup());
    const auto result = restored.restoreBackup(*archive, "pass phrase");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, VaultError::Code::archive);
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
    const auto refused = store.exportBackup("pass phrase");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().message(),
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
    const Bytes bytes = writer.finish();
    std::ofstream(foreign, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                   static_cast<std::streamsize>(bytes.size()));
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

void writeFile(const fs::path& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TEST(VaultBackup, CheckingABackupProvesEveryPartWithoutTouchingTheOpenVault) {
    DiskDevice office;
    VaultStore store(office.setup());
    ASSERT_TRUE(store.create(anaRuiz()));
    const auto scan = store.addDocument(asBytes("licence scan"), DocumentRecord{});
    const auto cv = store.addDocument(asBytes("curriculum vitae"), DocumentRecord{});
    ASSERT_TRUE(scan && cv);
    ASSERT_TRUE(store.flush());
    const auto archive = store.exportBackup("pass phrase");
    ASSERT_TRUE(archive) << archive.error().message();
    const Bytes vaultBefore = fileBytes(store.vaultDirectory() / "vault.pbv");

    EXPECT_TRUE(store.checkBackup(*archive, "pass phrase"));
    const auto wrong = store.checkBackup(*archive, "pass phrases");
    ASSERT_FALSE(wrong);
    EXPECT_EQ(wrong.error().code, VaultError::Code::wrongPassphrase);

    // Damage that checksums cannot see, because the archive was rebuilt around it.
    const auto entries = ZipReader::entries(fileBytes(*archive));
    const std::string scanName = "blobs/" + scan->blobHash + ".pbb";
    const std::string cvName = "blobs/" + cv->blobHash + ".pbb";
    const std::string damaged = "This backup is damaged, so restore from another copy of it.";
    const auto expectDamaged = [&](const std::string& what, std::map<std::string, Bytes> altered) {
        const fs::path path = office.home / (what + ".pbbackup");
        writeFile(path, rebuilt(std::move(altered)));
        const auto checked = store.checkBackup(path, "pass phrase");
        ASSERT_FALSE(checked) << what;
        EXPECT_EQ(checked.error().message(), damaged) << what;
    };
    {
        auto altered = entries;
        altered[scanName][40] ^= 0x01;
        expectDamaged("flipped-blob", std::move(altered));
    }
    {
        auto altered = entries;
        std::swap(altered[scanName], altered[cvName]);
        expectDamaged("swapped-blobs", std::move(altered));
    }
    {
        auto altered = entries;
        altered["vault.pbv"] = altered[scanName];  // sealed under the right key, but no document
        expectDamaged("not-a-document", std::move(altered));
    }
    {
        auto altered = entries;
        altered.erase("vault.key");
        const fs::path path = office.home / "keyless.pbbackup";
        writeFile(path, rebuilt(std::move(altered)));
        EXPECT_EQ(store.checkBackup(path, "pass phrase").error().code, VaultError::Code::badFormat);
    }

    EXPECT_EQ(store.phase(), VaultPhase::ready);
    EXPECT_EQ(fileBytes(store.vaultDirectory() / "vault.pbv"), vaultBefore);
    EXPECT_EQ(office.secrets.itemCount(), 1u);
    EXPECT_EQ(store.doc().documents.size(), 2u);
}

}  // namespace
}  // namespace corvale

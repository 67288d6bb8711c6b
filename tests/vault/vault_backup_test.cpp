#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/VaultStore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

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

TEST(VaultBackup, RestoresOnAFreshDeviceWithEveryRecordAndLiveDocumentOnce) {
    DiskDevice office;
    VaultStore store(office.setup());
    Onboarding onboarding;
    onboarding.owner.name = "Ana Ruiz";
    onboarding.owner.degree = "MD";
    ASSERT_TRUE(store.create(onboarding));
    const auto licence = store.addDocument(asBytes("licence scan"), DocumentRecord{});
    const auto sameScan = store.addDocument(asBytes("licence scan"), DocumentRecord{});
    const auto dropped = store.addDocument(asBytes("old CV"), DocumentRecord{});
    ASSERT_TRUE(licence && sameScan && dropped);
    ASSERT_TRUE(store.change([&](VaultDocument& doc) { doc.documents.back().deleted = true; }));

    const auto archive = store.exportBackup("pass phrase");
    ASSERT_TRUE(archive) << archive.error().message();
    EXPECT_EQ(*archive, office.home / "tmp/PembrosePreview/Corvale Backup 2026-11-18.pbbackup");
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

}  // namespace
}  // namespace corvale

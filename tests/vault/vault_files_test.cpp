#include "vault/VaultFiles.h"

#include "platform/Crypto.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/Sealer.h"
#include "vault/VaultKeychain.h"

#include "VaultTestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>

namespace corvale {
namespace {

using test::countingBytes;
using test::countingKey;
using test::TemporaryFolder;

const std::filesystem::path kVaultDirectory = "/home/clinician/.local/share/Corvale/Vault";
// SHA-256("abc") from FIPS 180-2.
constexpr std::string_view kAbcHash = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

VaultDocument sampleDocument() {
    VaultDocument document = VaultDocument::makeEmpty();
    DocumentRecord record;
    record.id = "doc-1";
    record.personId = "person-1";
    record.filename = "state-licence.pdf";
    record.contentType = "application/pdf";
    record.blobHash = std::string(kAbcHash);
    record.size = 3;
    document.documents.push_back(record);
    return document;
}

mode_t modeOf(const std::filesystem::path& path) {
    struct stat info {};
    EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

void expectRoundTrip(FileSystem& fileSystem, const std::filesystem::path& directory) {
    const VaultDocument document = sampleDocument();
    {
        VaultFiles files(fileSystem, countingKey(0x40), directory);
        auto missing = files.loadDocument();
        ASSERT_FALSE(missing);
        EXPECT_EQ(missing.error().code, VaultError::Code::storage);
        EXPECT_EQ(missing.error().file.code, FileError::Code::notFound);
        ASSERT_TRUE(files.saveDocument(document));
    }

    // What is on disk is an envelope of exactly the encoded document.
    auto onDisk = fileSystem.readFile(directory / "vault.pbv");
    ASSERT_TRUE(onDisk);
    auto plain = Sealer::open(*onDisk, countingKey(0x40).view());
    ASSERT_TRUE(plain);
    EXPECT_EQ(asText(*plain), encodeVaultDocument(document));

    VaultFiles reopened(fileSystem, countingKey(0x40), directory);
    auto loaded = reopened.loadDocument();
    ASSERT_TRUE(loaded) << loaded.error().message();
    EXPECT_EQ(loaded->vaultId, document.vaultId);
    EXPECT_EQ(encodeVaultDocument(*loaded), encodeVaultDocument(document));
}

TEST(VaultFiles, DocumentRoundTripsInMemoryAndOnDisk) {
    InMemoryFileSystem memory;
    expectRoundTrip(memory, kVaultDirectory);

    TemporaryFolder folder;
    PosixFileSystem disk;
    // Intermediate folders are created as needed.
    expectRoundTrip(disk, folder.path() / "share" / "Corvale" / "Vault");
    EXPECT_EQ(modeOf(folder.path() / "share" / "Corvale" / "Vault" / "vault.pbv") & 077, 0u);

    EXPECT_EQ(VaultFiles::defaultDirectory().filename(), "Vault");
    EXPECT_EQ(VaultFiles::defaultDirectory().parent_path().filename(), "Corvale");
}

TEST(VaultFiles, FailedSaveLeavesThePreviousFileWhole) {
    InMemoryFileSystem fileSystem;
    VaultFiles files(fileSystem, countingKey(0x40), kVaultDirectory);
    const VaultDocument first = sampleDocument();
    ASSERT_TRUE(files.saveDocument(first));
    const Bytes before = *fileSystem.readFile(kVaultDirectory / "vault.pbv");

    VaultDocument second = first;
    second.documents.clear();
    fileSystem.failWritesAfter(10);
    auto saved = files.saveDocument(second);
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error().code, VaultError::Code::storage);
    EXPECT_EQ(saved.error().file.code, FileError::Code::noSpace);
    EXPECT_EQ(saved.error().message(), saved.error().file.message());

    EXPECT_EQ(*fileSystem.readFile(kVaultDirectory / "vault.pbv"), before);
    auto loaded = files.loadDocument();
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->documents.size(), 1u);
}

TEST(VaultFiles, UnreadableVaultFilesAreTellingErrors) {
    InMemoryFileSystem fileSystem;
    VaultFiles files(fileSystem, countingKey(0x40), kVaultDirectory);
    ASSERT_TRUE(fileSystem.createDirectories(kVaultDirectory));
    const auto path = kVaultDirectory / "vault.pbv";

    VaultFiles stranger(fileSystem, countingKey(0x41), kVaultDirectory);
    ASSERT_TRUE(stranger.saveDocument(sampleDocument()));
    auto otherKey = files.loadDocument();
    ASSERT_FALSE(otherKey);
    EXPECT_EQ(otherKey.error().code, VaultError::Code::damaged);

    ASSERT_TRUE(fileSystem.replaceFileAtomically(path, asBytes("{\"format\":\"pembrose-vault\"}")));
    auto garbage = files.loadDocument();
    ASSERT_FALSE(garbage);
    EXPECT_EQ(garbage.error().code, VaultError::Code::badFormat);
    EXPECT_EQ(garbage.error().message(), "This file isn't a Corvale vault.");

    // Sealed correctly, but not a vault inside.
    for (const std::string_view inside : {std::string_view("not json"), std::string_view("{\"format\":\"other\"}")}) {
        auto sealed = Sealer::seal(asBytes(inside), countingKey(0x40).view());
        ASSERT_TRUE(sealed);
        ASSERT_TRUE(fileSystem.replaceFileAtomically(path, *sealed));
        auto notVault = files.loadDocument();
        ASSERT_FALSE(notVault) << inside;
        EXPECT_EQ(notVault.error().code, VaultError::Code::badFormat) << inside;
    }
}

TEST(VaultFiles, BlobsAreNamedByContentAndStoredOnce) {
    InMemoryFileSystem fileSystem;
    VaultFiles files(fileSystem, countingKey(0x40), kVaultDirectory);
    const auto blobs = kVaultDirectory / "blobs";

    auto hash = files.storeBlob(asBytes("abc"));
    ASSERT_TRUE(hash);
    EXPECT_EQ(*hash, kAbcHash);
    EXPECT_EQ(fileSystem.list(blobs), std::vector<std::string>{std::string(kAbcHash) + ".pbb"});
    const std::size_t writes = fileSystem.writeCount();

    auto again = files.storeBlob(asBytes("abc"));
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, kAbcHash);
    EXPECT_EQ(fileSystem.writeCount(), writes);
    EXPECT_EQ(fileSystem.list(blobs).size(), 1u);

    auto empty = files.storeBlob({});
    ASSERT_TRUE(empty);
    EXPECT_EQ(*empty, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");

    auto read = files.readBlob(kAbcHash);
    ASSERT_TRUE(read);
    EXPECT_EQ(asText(*read), "abc");
    auto readEmpty = files.readBlob(*empty);
    ASSERT_TRUE(readEmpty);
    EXPECT_TRUE(readEmpty->empty());

    // A blob put in another's place opens under the key but is not that document.
    auto swapped = fileSystem.readFile(blobs / (*empty + ".pbb"));
    ASSERT_TRUE(swapped);
    ASSERT_TRUE(fileSystem.replaceFileAtomically(blobs / (std::string(kAbcHash) + ".pbb"), *swapped));
    auto mismatch = files.readBlob(kAbcHash);
    ASSERT_FALSE(mismatch);
    EXPECT_EQ(mismatch.error().code, VaultError::Code::damaged);

    const std::string absentHash(64, 'a');
    auto absent = files.readBlob(absentHash);
    ASSERT_FALSE(absent);
    EXPECT_EQ(absent.error().code, VaultError::Code::storage);
    EXPECT_EQ(absent.error().file.code, FileError::Code::notFound);
}

TEST(VaultFiles, ReadBlobRefusesHashTextThatIsNotAHash) {
    InMemoryFileSystem fileSystem;
    VaultFiles files(fileSystem, countingKey(0x40), kVaultDirectory);
    ASSERT_TRUE(files.saveDocument(sampleDocument()));
    const std::string upper = "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD";
    for (const std::string& hash :
         {std::string(), std::string(kAbcHash.substr(1)), std::string(kAbcHash) + "0", upper,
          "../vault.pbv" + std::string(52, '0'), std::string(63, '0') + "g", std::string(63, '0') + "/",
          std::string(32, '0') + std::string(1, '\0') + std::string(31, '0')}) {
        auto read = files.readBlob(hash);
        ASSERT_FALSE(read) << hash;
        EXPECT_EQ(read.error().code, VaultError::Code::badFormat) << hash;
    }
}

TEST(VaultFiles, ReadsABlobSealedByAnIndependentImplementation) {
    InMemoryFileSystem fileSystem;
    const std::string hash = "0bc72d96495b6fab65e4ca75f64f1fec6f927682bc95ee17c70161cb53913f4c";
    const auto path = kVaultDirectory / "blobs" / (hash + ".pbb");
    ASSERT_TRUE(fileSystem.createDirectories(path.parent_path()));
    ASSERT_TRUE(fileSystem.replaceFileAtomically(path, test::readGolden("golden-blob.pbb")));

    Bytes expected(asBytes("%PDF-1.4\n% golden licence scan\n").begin(),
                   asBytes("%PDF-1.4\n% golden licence scan\n").end());
    const Bytes tail = countingBytes(0, 256);
    expected.insert(expected.end(), tail.begin(), tail.end());

    VaultFiles files(fileSystem, countingKey(0x40), kVaultDirectory);
    auto read = files.readBlob(hash);
    ASSERT_TRUE(read) << read.error().message();
    EXPECT_EQ(*read, expected);

    const std::size_t writes = fileSystem.writeCount();
    auto stored = files.storeBlob(expected);
    ASSERT_TRUE(stored);
    EXPECT_EQ(*stored, hash);
    EXPECT_EQ(fileSystem.writeCount(), writes);
}

TEST(VaultFiles, TemporaryCopiesArePrivateAndCleared) {
    InMemoryFileSystem fileSystem;
    TemporaryFolder temporary;
    VaultFiles files(fileSystem, countingKey(0x40), kVaultDirectory, temporary.path());
    const Bytes scan = countingBytes(0, 200);
    auto hash = files.storeBlob(scan);
    ASSERT_TRUE(hash);

    DocumentRecord record;
    record.id = "../../escape";
    record.filename = "../..\x01/licence\n.pdf";
    record.blobHash = *hash;

    auto path = files.temporaryFile(record);
    ASSERT_TRUE(path) << path.error().message();
    const auto root = files.plainCopiesDirectory();
    EXPECT_EQ(root.parent_path(), temporary.path());
    EXPECT_EQ(root.filename(), "corvale-" + std::to_string(::geteuid()) + "-plain");
    EXPECT_EQ(path->parent_path().parent_path(), root);

    const std::string name = path->filename().string();
    EXPECT_EQ(name.find('/'), std::string::npos);
    EXPECT_EQ(name.find(".."), std::string::npos);
    for (const char c : name) {
        EXPECT_GE(static_cast<unsigned char>(c), 0x20) << name;
    }
    EXPECT_TRUE(name.ends_with(".pdf")) << name;

    EXPECT_EQ(modeOf(root), 0700u);
    EXPECT_EQ(modeOf(path->parent_path()), 0700u);
    EXPECT_EQ(modeOf(*path), 0600u);
    PosixFileSystem disk;
    auto copied = disk.readFile(*path);
    ASSERT_TRUE(copied);
    EXPECT_EQ(*copied, scan);

    // Viewing again replaces the copy rather than failing on it.
    auto again = files.temporaryFile(record);
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, *path);

    record.blobHash = "not-a-hash";
    EXPECT_EQ(files.temporaryFile(record).error().code, VaultError::Code::badFormat);

    ASSERT_TRUE(files.clearTemporaryFiles());
    EXPECT_FALSE(std::filesystem::exists(root));
    EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));
    EXPECT_TRUE(files.clearTemporaryFiles());
}

TEST(VaultFiles, EraseRemovesFilesCopiesAndKey) {
    InMemoryFileSystem fileSystem;
    InMemorySecretStore store;
    VaultKeychain keychain(store);
    TemporaryFolder temporary;
    VaultFiles files(fileSystem, countingKey(0x40), kVaultDirectory, temporary.path());

    const auto fill = [&] {
        ASSERT_TRUE(keychain.saveVaultKey(countingKey(0x40)));
        ASSERT_TRUE(files.saveDocument(sampleDocument()));
        auto hash = files.storeBlob(asBytes("abc"));
        ASSERT_TRUE(hash);
        DocumentRecord record;
        record.id = "doc-1";
        record.filename = "licence.pdf";
        record.blobHash = *hash;
        ASSERT_TRUE(files.temporaryFile(record));
    };
    const auto expectGone = [&] {
        EXPECT_FALSE(fileSystem.exists(kVaultDirectory / "vault.pbv"));
        EXPECT_FALSE(fileSystem.exists(kVaultDirectory / "blobs"));
        EXPECT_TRUE(fileSystem.list(kVaultDirectory / "blobs").empty());
        EXPECT_FALSE(std::filesystem::exists(files.plainCopiesDirectory()));
    };

    fill();
    ASSERT_TRUE(files.erase(keychain));
    expectGone();
    EXPECT_EQ(store.itemCount(), 0u);
    EXPECT_FALSE(files.hasDocument());

    // A refusing keychain is reported, but the files still go.
    fill();
    store.failNext(1, -25300);
    auto erased = files.erase(keychain);
    ASSERT_FALSE(erased);
    EXPECT_EQ(erased.error().message(), "Keychain error -25300.");
    expectGone();
}

}  // namespace
}  // namespace corvale

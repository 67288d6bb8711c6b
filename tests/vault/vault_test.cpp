#include "platform/Crypto.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemoryFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "records/JSONReader.h"
#include "records/JSONWriter.h"
#include "vault/KeyFile.h"
#include "vault/Sealer.h"
#include "vault/VaultFiles.h"
#include "vault/VaultKeychain.h"

#include "support/DiskFiles.h"
#include "support/Outcomes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace corvale {
namespace {

using namespace test_support;

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Code = VaultError::Code;

// Written by data/make_golden.py with an independent AES-GCM/PBKDF2.
Bytes readGolden(const std::string& name) {
    Bytes bytes = readAll(fs::path(CORVALE_TEST_DATA_DIR) / name);
    EXPECT_FALSE(bytes.empty()) << "missing golden file " << name;
    return bytes;
}

// first, first+1, …: the pattern the golden files use.
Bytes counting(std::uint8_t first, std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(first + i);
    }
    return bytes;
}

SecureBytes countingKey(std::uint8_t first) { return SecureBytes(counting(first, 32)); }

const std::string kPassphrase = "Tr1cuspid valve & 4 coffees";
// Ends in U+2713, so the passphrase's UTF-8 bytes are what count.
const std::string kGoldenPassphrase = "correct horse battery staple \xE2\x9C\x93";
// 2025-03-01T14:05:09.120Z
const FixedClock kClock(std::chrono::sys_days(std::chrono::year{2025} / 3 / 1) + 14h + 5min + 9s + 120ms);
const fs::path kDirectory = "/home/clinician/.local/share/Corvale/Vault";
// SHA-256("abc") from FIPS 180-2.
const std::string kAbcHash = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

std::string fastKeyFile(const SecureBytes& key) {
    auto file = KeyFile::make(key, kPassphrase, "vault-1", kClock, 1000);
    EXPECT_TRUE(file);
    return file ? file->toJSON() : std::string();
}

TEST(Sealer, LayoutMatchesAnIndependentImplementation) {
    const SecureBytes key = countingKey(0);
    const Bytes nonce = counting(0xA0, 12);
    auto empty = Sealer::seal({}, key.view(), nonce);
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->size(), 32u);
    EXPECT_EQ(asText(ByteView(*empty).first(16)), "PBV1" + std::string(asText(nonce)));
    EXPECT_TRUE(Sealer::open(*empty, key.view()).value().empty());

    const std::string plain = "Corvale sealed envelope, golden sample.\n";
    const Bytes golden = readGolden("golden-envelope.pbv");
    EXPECT_EQ(Sealer::seal(asBytes(plain), key.view(), nonce).value(), golden);
    auto opened = Sealer::open(golden, key.view());
    ASSERT_TRUE(opened);
    EXPECT_EQ(asText(*opened), plain);

    // Without a given nonce every seal draws its own.
    auto first = Sealer::seal(asBytes(plain), key.view());
    auto second = Sealer::seal(asBytes(plain), key.view());
    ASSERT_TRUE(first && second);
    EXPECT_NE(Bytes(first->begin() + 4, first->begin() + 16), Bytes(second->begin() + 4, second->begin() + 16));
}

TEST(Sealer, RefusesWhatItCannotTrust) {
    const SecureBytes key = countingKey(7);
    auto empty = Sealer::seal({}, key.view());
    ASSERT_TRUE(empty);
    EXPECT_EQ(failedWith(Sealer::open(ByteView(*empty).first(31), key.view())), Code::badFormat);
    EXPECT_EQ(failedWith(Sealer::open(*empty, countingKey(8).view())), Code::damaged);

    auto sealed = Sealer::seal(asBytes("DEA 2026"), key.view());
    ASSERT_TRUE(sealed);
    for (std::size_t position = 0; position < sealed->size(); ++position) {
        for (const std::uint8_t mask : {std::uint8_t{0x01}, std::uint8_t{0x80}, std::uint8_t{0xFF}}) {
            Bytes altered = *sealed;
            altered[position] ^= mask;
            // Within the magic it is no envelope at all; elsewhere authentication fails.
            const Code expected = position < 4 ? Code::badFormat : Code::damaged;
            EXPECT_EQ(failedWith(Sealer::open(altered, key.view())), expected) << position << " " << int{mask};
        }
    }

    // A wrong-sized key or nonce is an error, not a crash in the crypto library.
    for (const std::size_t size : {0u, 11u, 13u, 16u, 31u, 33u}) {
        EXPECT_EQ(failedWith(Sealer::seal(asBytes("x"), counting(0, size))), Code::sealFailed) << size;
        EXPECT_EQ(failedWith(Sealer::seal(asBytes("x"), key.view(), counting(0, size))), Code::sealFailed) << size;
        EXPECT_EQ(failedWith(Sealer::open(*sealed, counting(0, size))), Code::sealFailed) << size;
    }
}

TEST(VaultError, MessagesAreShownToTheUserAsWritten) {
    FileError full;
    full.code = FileError::Code::noSpace;
    full.path = "/home/clinician/vault.pbv";
    const std::pair<VaultError, std::string> cases[] = {
        {VaultError::keychain(-25300), "Keychain error -25300."},
        {VaultError::keyringRefused(7),
         "The keyring turned down Corvale's request (error 7), so unlock your keyring and try again."},
        {VaultError::keyringLocked(), "Your keyring is locked, so unlock it and try again."},
        {VaultError::noKeyring(),
         "No keyring is running on this desktop, so sign in to a desktop session with GNOME "
         "Keyring or KWallet and try again."},
        {VaultError::badFormat(), "This file isn't a Corvale vault."},
        {VaultError::wrongPassword(), "That password isn't right, so try again."},
        {VaultError::wrongPassphrase(), "That passphrase doesn't unlock this vault."},
        {VaultError::keyMissing(), "The vault key is missing from this device."},
        {VaultError::noSyncFolder(), "Choose a sync folder first."},
        {VaultError::damaged(),
         "This vault file is damaged or was sealed with another key, so restore it from a backup."},
        {VaultError::sealFailed(),
         "Encryption isn't working on this device right now, so restart Corvale and try again."},
        {VaultError::storage(full), full.message()},
    };
    for (const auto& [error, message] : cases) {
        EXPECT_EQ(error.message(), message);
    }
}

TEST(KeyFile, WritesTheEightFieldsAndRoundTrips) {
    const std::string json = fastKeyFile(countingKey(0x40));
    auto root = parseJSON(json);
    ASSERT_TRUE(root && root->isObject());
    // Exactly these keys, sorted, with integers written without a fraction.
    const JSONObject& fields = root->asObject();
    EXPECT_EQ(json, R"({"createdAt":"2025-03-01T14:05:09.120Z","format":"pembrose-key","iterations":1000,)"
                    R"("kdf":"PBKDF2-SHA256","salt":)" +
                        writeJSON(fields.at("salt")) + R"(,"vaultId":"vault-1","version":1,"wrappedKey":)" +
                        writeJSON(fields.at("wrappedKey")) + "}");

    // Anyone can unwrap the key with the documented derivation and envelope.
    auto salt = crypto::base64Decode(fields.at("salt").asString());
    auto wrapped = crypto::base64Decode(fields.at("wrappedKey").asString());
    ASSERT_TRUE(salt && wrapped);
    EXPECT_EQ(salt->size(), 16u);
    auto passphraseKey = PBKDF2::deriveKey(kPassphrase, *salt, 1000);
    ASSERT_TRUE(passphraseKey);
    EXPECT_EQ(Sealer::open(*wrapped, passphraseKey->view()).value(), counting(0x40, 32));
    auto opened = KeyFile::parse(json).value().open(kPassphrase);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(*opened == countingKey(0x40));

    // Each file of the same key gets its own salt and nonce.
    auto other = parseJSON(fastKeyFile(countingKey(0x40)));
    ASSERT_TRUE(other);
    EXPECT_NE(other->asObject().at("salt"), fields.at("salt"));
    EXPECT_NE(other->asObject().at("wrappedKey"), fields.at("wrappedKey"));
}

TEST(KeyFile, MalformedFilesAreBadFormat) {
    const std::string json = fastKeyFile(countingKey(0x40));
    const JSONObject base = parseJSON(json).value().asObject();
    std::vector<std::pair<std::string, std::string>> cases = {
        {"not JSON", "pembrose-key"}, {"truncated", json.substr(0, 40)}, {"array", "[1,2]"}, {"empty", "{}"}};
    const auto withField = [&](const std::string& name, std::initializer_list<JSONValue> values) {
        for (const JSONValue& value : values) {
            JSONObject object = base;
            object[name] = value;
            cases.emplace_back(name + " = " + writeJSON(value), writeJSON(JSONValue(std::move(object))));
        }
    };
    for (const auto& [name, value] : base) {
        JSONObject object = base;
        object.erase(name);
        cases.emplace_back("no " + name, writeJSON(JSONValue(std::move(object))));
        withField(name, {nullptr, JSONValue::Array{}, value.isString() ? JSONValue(1) : JSONValue("1")});
    }
    withField("format", {"pembrose-vault"});
    withField("version", {2, 1.5});
    withField("kdf", {"scrypt"});
    withField("iterations", {0, -310000, 1000.5, 10'000'001, 1e300});
    withField("salt", {"not*base64!", "EBESExQVFhcYGRobHB0eHw" /* unpadded */, ""});
    // Too short, then long enough but without the magic.
    withField("wrappedKey", {"@@@@", crypto::base64Encode(counting(0, 31)), crypto::base64Encode(counting(0, 64))});
    withField("createdAt", {"last Tuesday"});
    // An extra key nested far too deep, which would otherwise be recursed into.
    {
        std::string text = writeJSON(JSONValue(base));
        text.pop_back();
        cases.emplace_back("deep extra",
                           text + R"(,"comment":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}");
    }
    for (const auto& [label, text] : cases) {
        EXPECT_EQ(failedWith(KeyFile::parse(text)), Code::badFormat) << label;
    }

    // The iteration limit is inclusive, and unknown extra keys are tolerated.
    JSONObject atLimit = base;
    atLimit["iterations"] = 10'000'000;
    atLimit["comment"] = "exported from the laptop";
    auto parsed = KeyFile::parse(writeJSON(JSONValue(std::move(atLimit))));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->iterations, 10'000'000u);
}

TEST(KeyFile, OpensTheIndependentGoldenFileAndDerivesAtFullStrength) {
    auto file = KeyFile::parse(asText(readGolden("golden-key.json")));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->vaultId, "7d0c5a8e-3f1b-4c2a-9e6d-0b1a2c3d4e5f");
    EXPECT_EQ(file->createdAt.toString(), "2025-03-01T14:05:09.120Z");
    auto key = file->open(kGoldenPassphrase);
    ASSERT_TRUE(key);
    EXPECT_TRUE(*key == countingKey(0x40));
    EXPECT_EQ(failedWith(file->open("correct horse battery staple")), Code::wrongPassphrase);

    auto derived = PBKDF2::deriveKey(kGoldenPassphrase, counting(0x10, 16), 310000);
    ASSERT_TRUE(derived);
    EXPECT_EQ(crypto::hexLower(derived->view()), "db9d1a7526eaf77d696e946675d81f676fe4c346d04d93dcda13719f23212786");
    EXPECT_EQ(KeyFile::make(countingKey(0x40), kPassphrase, "vault-1", kClock).value().iterations, 310000u);
}

TEST(VaultKeychain, OneItemUnderFixedNamesLeftAloneByRefusalsAndWrongPassphrases) {
    InMemorySecretStore store;
    VaultKeychain keychain(store);
    EXPECT_EQ(failedWith(keychain.requireVaultKey()), Code::keyMissing);
    ASSERT_TRUE(keychain.saveVaultKey(countingKey(1)));
    ASSERT_TRUE(keychain.saveVaultKey(countingKey(2)));
    // Other builds find the key by these exact names.
    auto raw = store.load("com.corvale.Corvale.vault", "vault-key");
    ASSERT_TRUE(raw && raw->has_value());
    EXPECT_TRUE(**raw == countingKey(2));
    EXPECT_EQ(store.itemCount(), 1u);

    // A refusal must not read as "no key", or the app would make a new one.
    store.failNext(3, 2);
    EXPECT_EQ(messageOf(keychain.loadVaultKey()),
              "The keyring turned down Corvale's request (error 2), so unlock your keyring and try again.");
    EXPECT_EQ(failedWith(keychain.saveVaultKey(countingKey(3))), Code::keyringRefused);
    EXPECT_EQ(failedWith(keychain.deleteVaultKey()), Code::keyringRefused);
    // A locked keyring or none at all is said as such, never as a number.
    store.failNext(1, 2, SecretStoreFailure::Kind::locked);
    EXPECT_EQ(messageOf(keychain.loadVaultKey()), "Your keyring is locked, so unlock it and try again.");
    store.failNext(1, 2, SecretStoreFailure::Kind::noService);
    EXPECT_EQ(failedWith(keychain.requireVaultKey()), Code::noKeyring);

    const KeyFile keyFile = KeyFile::parse(fastKeyFile(countingKey(9))).value();
    for (const std::string& attempt :
         {std::string(), kPassphrase.substr(1), "t" + kPassphrase.substr(1), kPassphrase + " "}) {
        EXPECT_EQ(messageOf(keychain.joinWithKeyFile(keyFile, attempt)), "That passphrase doesn't unlock this vault.");
    }
    // The right passphrase, but what it unwraps is no 32-byte key.
    KeyFile forged = keyFile;
    forged.wrappedKey =
        Sealer::seal(counting(0, 31), PBKDF2::deriveKey(kPassphrase, keyFile.salt, 1000)->view()).value();
    EXPECT_EQ(failedWith(keychain.joinWithKeyFile(forged, kPassphrase)), Code::wrongPassphrase);
    store.failNext(1, -34018);
    EXPECT_EQ(failedWith(keychain.joinWithKeyFile(keyFile, kPassphrase)), Code::keyringRefused);
    EXPECT_TRUE(keychain.requireVaultKey().value() == countingKey(2));
    EXPECT_TRUE(keychain.joinWithKeyFile(keyFile, kPassphrase).value() == countingKey(9));
    EXPECT_TRUE(keychain.requireVaultKey().value() == countingKey(9));

    ASSERT_TRUE(keychain.deleteVaultKey());
    EXPECT_EQ(store.itemCount(), 0u);
    EXPECT_TRUE(keychain.deleteVaultKey());
    // Something under our name that cannot be a key counts as none.
    ASSERT_TRUE(store.save(VaultKeychain::service(), "vault-key", counting(0, 16)));
    EXPECT_FALSE(keychain.loadVaultKey().value().has_value());
}

TEST(VaultFiles, DocumentRoundTripsAndBadFilesAreReported) {
    InMemoryFileSystem fileSystem;
    VaultFiles files(fileSystem, countingKey(0x40), kDirectory);
    const fs::path path = kDirectory / "vault.pbv";
    auto missing = files.loadDocument();
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().file.code, FileError::Code::notFound);

    VaultDocument document = VaultDocument::makeEmpty();
    document.documents.resize(1);
    document.documents[0].id = "doc-1";
    document.documents[0].filename = "state-licence.pdf";
    ASSERT_TRUE(files.saveDocument(document));
    // What is on disk is an envelope of exactly the encoded document.
    const Bytes saved = fileSystem.readFile(path).value();
    EXPECT_EQ(asText(Sealer::open(saved, countingKey(0x40).view()).value()), encodeVaultDocument(document));
    auto loaded = VaultFiles(fileSystem, countingKey(0x40), kDirectory).loadDocument();
    ASSERT_TRUE(loaded) << loaded.error().message();
    EXPECT_EQ(encodeVaultDocument(*loaded), encodeVaultDocument(document));

    fileSystem.failWritesAfter(10);
    auto failed = files.saveDocument(VaultDocument::makeEmpty());
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().file.code, FileError::Code::noSpace);
    EXPECT_EQ(fileSystem.readFile(path).value(), saved);
    fileSystem.clearWriteFailures();

    ASSERT_TRUE(VaultFiles(fileSystem, countingKey(0x41), kDirectory).saveDocument(document));
    EXPECT_EQ(failedWith(files.loadDocument()), Code::damaged);
    // Garbage, or sealed correctly with no vault inside.
    const Bytes notJSON = Sealer::seal(asBytes("not json"), countingKey(0x40).view()).value();
    const Bytes otherFormat = Sealer::seal(asBytes("{\"format\":\"other\"}"), countingKey(0x40).view()).value();
    for (const ByteView contents :
         {asBytes("{\"format\":\"pembrose-vault\"}"), ByteView(notJSON), ByteView(otherFormat)}) {
        ASSERT_TRUE(fileSystem.replaceFileAtomically(path, contents));
        EXPECT_EQ(failedWith(files.loadDocument()), Code::badFormat);
    }

    // Sealed under the key but nested past any limit: damaged, and no stack overflow on the way.
    const std::string deep = R"({"format":"pembrose-vault","vaultId":"v","future":)" + std::string(100'000, '[') +
                             std::string(100'000, ']') + "}";
    ASSERT_TRUE(fileSystem.replaceFileAtomically(path, Sealer::seal(asBytes(deep), countingKey(0x40).view()).value()));
    EXPECT_EQ(messageOf(files.loadDocument()),
              "This vault file is damaged or was sealed with another key, so restore it from a backup.");
}

TEST(VaultFiles, BlobsAreStoredOnceUnderTheirHashAndChecked) {
    InMemoryFileSystem fileSystem;
    VaultFiles files(fileSystem, countingKey(0x40), kDirectory);
    const fs::path blobs = kDirectory / "blobs";
    const std::string golden = "0bc72d96495b6fab65e4ca75f64f1fec6f927682bc95ee17c70161cb53913f4c";
    ASSERT_TRUE(fileSystem.createDirectories(blobs));
    ASSERT_TRUE(fileSystem.replaceFileAtomically(blobs / (golden + ".pbb"), readGolden("golden-blob.pbb")));
    const std::string_view head = "%PDF-1.4\n% golden licence scan\n";
    Bytes scan(head.begin(), head.end());
    const Bytes tail = counting(0, 256);
    scan.insert(scan.end(), tail.begin(), tail.end());
    auto read = files.readBlob(golden);
    ASSERT_TRUE(read) << read.error().message();
    EXPECT_EQ(*read, scan);

    const std::size_t writes = fileSystem.writeCount();
    EXPECT_EQ(files.storeBlob(scan).value(), golden);
    EXPECT_EQ(files.storeBlob(asBytes("abc")).value(), kAbcHash);
    EXPECT_EQ(files.storeBlob(asBytes("abc")).value(), kAbcHash);
    EXPECT_EQ(fileSystem.writeCount(), writes + 1);
    EXPECT_EQ(fileSystem.list(blobs), (std::vector<std::string>{golden + ".pbb", kAbcHash + ".pbb"}));
    EXPECT_EQ(asText(files.readBlob(kAbcHash).value()), "abc");

    // Another blob in its place opens under the key but is not that document.
    ASSERT_TRUE(fileSystem.replaceFileAtomically(blobs / (kAbcHash + ".pbb"), readGolden("golden-blob.pbb")));
    EXPECT_EQ(failedWith(files.readBlob(kAbcHash)), Code::damaged);
    EXPECT_EQ(failedWith(files.readBlob(std::string(64, 'a'))), Code::storage);

    // Only 64 lower-case hex characters may become part of a path.
    for (const std::string& hash : {std::string(), kAbcHash.substr(1), kAbcHash + "0",
                                    std::string("BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"),
                                    "../vault.pbv" + std::string(52, '0'), std::string(63, '0') + "g",
                                    std::string(63, '0') + "/", std::string(32, '0') + '\0' + std::string(31, '0')}) {
        EXPECT_EQ(failedWith(files.readBlob(hash)), Code::badFormat) << hash;
    }
}

TEST(VaultFiles, PlainCopiesAreOwnerOnlyUnderSafeNamesAndCleared) {
    InMemoryFileSystem fileSystem;
    TemporaryFolder temporary;
    VaultFiles files(fileSystem, countingKey(0x40), kDirectory, temporary.path);
    DocumentRecord record;
    record.id = "../../escape";
    record.filename = "../../licence.pdf";
    record.blobHash = files.storeBlob(counting(0, 200)).value();

    auto path = files.temporaryFile(record);
    ASSERT_TRUE(path) << path.error().message();
    const fs::path root = temporary.path / ("corvale-" + std::to_string(::geteuid()) + "-plain");
    EXPECT_EQ(files.plainCopiesDirectory(), root);
    EXPECT_EQ(*path, root / "_._escape" / "_._licence.pdf");
    EXPECT_EQ(fs::status(root).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(path->parent_path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(*path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(PosixFileSystem().readFile(*path).value(), counting(0, 200));
    // Viewing again replaces the copy rather than failing on it.
    EXPECT_EQ(files.temporaryFile(record).value(), *path);

    ASSERT_TRUE(files.clearTemporaryFiles());
    EXPECT_TRUE(fs::is_empty(temporary.path));
    EXPECT_TRUE(files.clearTemporaryFiles());
    record.blobHash = "not-a-hash";
    EXPECT_EQ(failedWith(files.temporaryFile(record)), Code::badFormat);
}

TEST(VaultFiles, EraseRemovesEverythingEvenWhenTheKeychainRefuses) {
    InMemoryFileSystem fileSystem;
    InMemorySecretStore store;
    VaultKeychain keychain(store);
    TemporaryFolder temporary;
    VaultFiles files(fileSystem, countingKey(0x40), kDirectory, temporary.path);
    for (const bool refuse : {false, true}) {
        ASSERT_TRUE(keychain.saveVaultKey(countingKey(0x40)));
        // The item an older installation left: it holds the same key.
        ASSERT_TRUE(store.save(VaultKeychain::olderService(), "vault-key", countingKey(0x40).view()));
        ASSERT_TRUE(files.saveDocument(VaultDocument::makeEmpty()));
        DocumentRecord record;
        record.id = "doc-1";
        record.filename = "licence.pdf";
        record.blobHash = files.storeBlob(asBytes("abc")).value();
        ASSERT_TRUE(files.temporaryFile(record));
        if (refuse) {
            store.failNext(1, -25300);
        }
        EXPECT_EQ(failedWith(files.erase(keychain)), refuse ? std::optional(Code::keyringRefused) : std::nullopt);
        EXPECT_FALSE(files.hasDocument());
        EXPECT_FALSE(fileSystem.exists(kDirectory / "blobs"));
        EXPECT_FALSE(fs::exists(files.plainCopiesDirectory()));
        EXPECT_EQ(store.itemCount(), refuse ? 1u : 0u);
    }
}

TEST(PlainCopies, FileNamesAreSanitised) {
    const std::pair<std::string, std::string> cases[] = {
        {"Approbationsurkunde \xC3\x84rztekammer.pdf", "Approbationsurkunde \xC3\x84rztekammer.pdf"},
        {"", "document"},
        {"..", "document"},
        {".bashrc", "bashrc"},
        {"../../etc/passwd", "_._etc_passwd"},
        {"tab\there\nnl\x7f", "tab_here_nl_"},
        {"c1\xC2\x85next", "c1_next"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(sanitisedFileName(input, "document"), expected) << input;
    }
    // Long names keep their extension and are never cut inside a character:
    // after a one-byte prefix the 200-byte mark falls inside an "é".
    std::string accents;
    for (int i = 0; i < 150; ++i) {
        accents += "\xC3\xA9";
    }
    EXPECT_EQ(sanitisedFileName("x" + accents + ".pdf", "document"), "x" + accents.substr(0, 194) + ".pdf");
    EXPECT_EQ(sanitisedFileName(std::string(300, 'x'), "document"), std::string(200, 'x'));
}

TEST(PlainCopies, NeverWritesThroughWhatSomeoneElsePlanted) {
    TemporaryFolder temporary;
    TemporaryFolder elsewhere;
    PlainCopies copies(temporary.path);
    const fs::path root = copies.root();
    const fs::path copy = root / "doc-1" / "scan.png";
    // A look-alike folder that others may write to is tightened before use.
    ASSERT_EQ(::mkdir(root.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(root.c_str(), 0777), 0);
    ASSERT_TRUE(copies.write("doc-1", "scan.png", asBytes("png")));
    EXPECT_EQ(fs::status(root).permissions(), fs::perms::owner_all);

    // A link where the copy goes is replaced, not followed.
    ASSERT_TRUE(fs::remove(copy));
    fs::create_symlink(elsewhere.path / "victim", copy);
    ASSERT_TRUE(copies.write("doc-1", "scan.png", asBytes("png")));
    EXPECT_FALSE(fs::exists(elsewhere.path / "victim"));
    EXPECT_FALSE(fs::is_symlink(copy));

    // So is a link in place of the folder, and clearing removes only the link.
    ASSERT_TRUE(copies.clear());
    fs::create_directory_symlink(elsewhere.path, root);
    EXPECT_EQ(failedWith(copies.write("doc-1", "scan.png", asBytes("png"))), Code::storage);
    EXPECT_TRUE(fs::is_empty(elsewhere.path));
    ASSERT_TRUE(copies.clear());
    EXPECT_TRUE(fs::exists(elsewhere.path));
    EXPECT_FALSE(fs::exists(fs::symlink_status(root)));
}

}  // namespace
}  // namespace corvale

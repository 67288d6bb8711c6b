#include "vault/VaultStore.h"

#include "platform/Paths.h"
#include "vault/AppIdentity.h"
#include "vault/KeyFile.h"
#include "vault/Sealer.h"

#include <algorithm>
#include <utility>

namespace corvale {

namespace {

constexpr std::string_view kLockFileName = ".lock";
// Beside the vault folder, so swapping the two is a rename on one disk.
constexpr std::string_view kStagingFolderName = ".Vault.incoming";

Failure<VaultError> storageFailure(const FileError& error) { return fail(VaultError::storage(error)); }

bool hasLicenceFor(const std::vector<Credential>& credentials, const std::string& state) {
    return std::any_of(credentials.begin(), credentials.end(), [&](const Credential& credential) {
        return credential.kindValue() == CredentialKind::stateLicense && credential.state == state;
    });
}

}  // namespace

std::string_view rawValue(VaultPhase phase) {
    switch (phase) {
    case VaultPhase::loading:
        return "loading";
    case VaultPhase::welcome:
        return "welcome";
    case VaultPhase::locked:
        return "locked";
    case VaultPhase::ready:
        return "ready";
    }
    return "loading";
}

VaultStoreSetup VaultStoreSetup::standard(FileSystem& files, SecretStore& secrets, const Clock& clock,
                                          Scheduler& scheduler, DeviceAuthenticator& authenticator) {
    return {files,
            secrets,
            clock,
            scheduler,
            authenticator,
            paths::applicationSupportDirectory(),
            Prefs::defaultFile(),
            paths::temporaryDirectory()};
}

VaultStore::VaultStore(VaultStoreSetup setup)
    : m_setup(std::move(setup)), m_keychain(m_setup.secrets), m_prefs(m_setup.files, m_setup.prefsFile) {}

VaultStore::~VaultStore() {
    // Quitting with a save that fails leaves the edit sealed beside the vault for the next start.
    if (m_phase == VaultPhase::ready && !flush()) (void)keepUnsaved();
}

std::filesystem::path VaultStore::stagingDirectory() const {
    return m_setup.supportDirectory / kFolderName / kStagingFolderName;
}

bool VaultStore::hasVaultFile() const { return files({}).hasDocument(); }

std::filesystem::path VaultStore::pendingPath() const { return vaultDirectory() / kPendingFileName; }

std::filesystem::path VaultStore::vaultDirectory() const { return m_setup.supportDirectory / kFolderName / "Vault"; }

VaultFiles VaultStore::files(SecureBytes key) const {
    return VaultFiles(m_setup.files, std::move(key), vaultDirectory(), m_setup.temporaryDirectory);
}

Result<void, VaultError> VaultStore::holdVault() {
    if (m_lock) return {};
    if (auto made = m_setup.files.createDirectories(vaultDirectory()); !made) return storageFailure(made.error());
    auto lock = m_setup.files.lockExclusively(vaultDirectory() / kLockFileName);
    if (!lock) return storageFailure(lock.error());
    if (!*lock) return fail(VaultError::inUse());
    m_lock = std::move(**lock);
    return {};
}

Result<void, VaultError> VaultStore::start() {
    if (m_phase != VaultPhase::loading) return {};
    m_prefs.load();
    runMigration();
    if (auto held = holdVault(); !held) return held;
    // Best effort: leftovers only cost space. A staging folder left by a
    // crash holds either a restore that never took place or the vault it replaced.
    (void)files({}).removeStaleTemporaries();
    (void)m_setup.files.removeAll(stagingDirectory());
    // Plain copies a crash or a killed process left: none is in use by a vault not yet open.
    (void)clearTemporaryFiles();
    auto key = m_keychain.loadVaultKey();
    if (!key) return fail(key.error());
    // A vault file without its key stays untouched: the user brings the key back by joining or restoring.
    if (!files({}).hasDocument() || !*key) {
        m_phase = VaultPhase::welcome;
        return {};
    }
    if (m_prefs.flag(Prefs::kAppLock)) {
        m_phase = VaultPhase::locked;
        return {};
    }
    return openWith(std::move(**key));
}

void VaultStore::runMigration() {
    if (m_prefs.flag(Prefs::kMigrated)) return;
    const auto olderFolder = m_setup.supportDirectory / kOlderFolderName;
    const auto folder = m_setup.supportDirectory / kFolderName;
    // Best effort throughout: whatever cannot move stays where it was, and the app starts as new.
    if (m_setup.files.exists(olderFolder) && !m_setup.files.exists(folder))
        (void)m_setup.files.rename(olderFolder, folder);
    const std::string olderService = VaultKeychain::olderService();
    const std::string account(VaultKeychain::kAccount);
    if (auto current = m_setup.secrets.load(VaultKeychain::service(), account); current && !*current) {
        // The older item goes once its copy is safe: erase must not miss a second key.
        if (auto legacy = m_setup.secrets.load(olderService, account); legacy && *legacy) {
            if (m_setup.secrets.save(VaultKeychain::service(), account, (*legacy)->view()))
                (void)m_setup.secrets.remove(olderService, account);
        }
    }
    (void)m_prefs.adoptMissing(m_setup.prefsFile.parent_path().parent_path() / kOlderFolderName /
                               m_setup.prefsFile.filename());
    (void)m_prefs.setFlag(Prefs::kMigrated, true);
}

Result<void, VaultError> VaultStore::openWith(SecureBytes key) {
    auto document = files(key.clone()).loadDocument();
    if (!document) return fail(document.error());
    // What a failed save left sealed is newer than vault.pbv: from this run's
    // lock, or from a run that quit before it could save.
    std::optional<Bytes> unsaved = std::move(m_unsaved);
    if (!unsaved && m_setup.files.exists(pendingPath())) {
        if (auto read = m_setup.files.readFile(pendingPath())) unsaved = std::move(read).value();
    }
    std::optional<VaultDocument> newer;
    if (unsaved) {
        // One that no longer opens under this key (a vault joined or restored since) is stale, not newer.
        if (auto plain = Sealer::open(*unsaved, key.view())) {
            if (auto decoded = decodeVaultDocument(std::move(*plain))) newer = std::move(decoded).value();
        }
    }
    m_doc = newer ? std::move(*newer) : std::move(document).value();
    m_key = std::move(key);
    m_phase = VaultPhase::ready;
    if (newer) {
        // Opening succeeds either way; a save that fails again is retried on the next edit or flush.
        if (!save()) scheduleSave();
    } else if (unsaved) {
        (void)m_setup.files.removeFile(pendingPath());
    }
    return {};
}

Result<void, VaultError> VaultStore::unlockWithoutAuth() {
    if (m_phase == VaultPhase::ready) return {};
    if (!files({}).hasDocument()) return fail(VaultError::noVault());
    auto key = m_keychain.requireVaultKey();
    if (!key) return fail(key.error());
    return openWith(std::move(key).value());
}

Result<void, VaultError> VaultStore::unlock() {
    if (m_phase == VaultPhase::ready) return {};
    if (m_phase != VaultPhase::locked) return fail(VaultError::noVault());
    switch (m_setup.authenticator.authenticate("Unlock Corvale")) {
    case AuthenticationResult::failed:
        return fail(VaultError::wrongPassword());
    case AuthenticationResult::cancelled:
        return fail(VaultError::cancelled());
    case AuthenticationResult::passed:
    case AuthenticationResult::unavailable:
        break;
    }
    return unlockWithoutAuth();
}

Result<void, VaultError> VaultStore::lock() {
    // Plain copies are records outside the vault: they go whether or not the app lock holds the rest.
    (void)clearTemporaryFiles();
    if (m_phase != VaultPhase::ready || !m_prefs.flag(Prefs::kAppLock)) return {};
    if (!flush()) {
        if (auto kept = keepUnsaved(); !kept) {
            scheduleSave();  // still open, so keep trying as any failed save does
            return kept;
        }
    }
    m_doc = VaultDocument{};
    m_profileUndo.clear();
    m_key = SecureBytes{};
    m_phase = VaultPhase::locked;
    return {};
}

Result<void, VaultError> VaultStore::setAppLock(bool enabled) {
    if (m_prefs.flag(Prefs::kAppLock) == enabled) return {};
    const std::string reason = enabled ? "Turn on app lock" : "Turn off app lock";
    if (!admits(m_setup.authenticator.authenticate(reason))) return fail(VaultError::locked());
    return m_prefs.setFlag(Prefs::kAppLock, enabled);
}

Result<void, VaultError> VaultStore::requireReady() const {
    switch (m_phase) {
    case VaultPhase::ready:
        return {};
    case VaultPhase::locked:
        return fail(VaultError::locked());
    case VaultPhase::loading:
    case VaultPhase::welcome:
        break;
    }
    return fail(VaultError::noVault());
}

Result<std::string, VaultError> VaultStore::create(Onboarding onboarding) {
    if (auto started = start(); !started) return fail(started.error());
    if (m_phase != VaultPhase::welcome || files({}).hasDocument()) return fail(VaultError::vaultExists());

    const Timestamp now = Timestamp::now(m_setup.clock);
    VaultDocument document = VaultDocument::makeEmpty();
    Person owner = std::move(onboarding.owner);
    if (owner.id.empty()) owner.id = newUUID();
    owner.isSelf = true;
    owner.setManagesOthersOnly(onboarding.managerOnly);
    owner.updatedAt = now;
    if (!onboarding.states.empty()) document.settings.primaryState = onboarding.states.front();
    if (!onboarding.managerOnly) {
        if (const auto degree = owner.degreeValue()) {
            if (const auto code = professionCode(*degree)) document.settings.profession = std::string(*code);
        }
        // One licence to fill in for each chosen state the first credentials do not already cover.
        for (const auto& state : onboarding.states) {
            if (hasLicenceFor(onboarding.credentials, state)) continue;
            Credential licence;
            licence.kind = std::string(rawValue(CredentialKind::stateLicense));
            licence.state = state;
            onboarding.credentials.push_back(std::move(licence));
        }
    }
    for (auto& credential : onboarding.credentials) {
        if (credential.id.empty()) credential.id = newUUID();
        credential.personId = owner.id;
        credential.updatedAt = now;
        document.credentials.push_back(std::move(credential));
    }
    document.settings.updatedAt = now;
    document.people.push_back(std::move(owner));

    SecureBytes key = makeVaultKey();
    if (auto saved = m_keychain.saveVaultKey(key); !saved) return fail(saved.error());
    if (auto written = files(key.clone()).saveDocument(document); !written) {
        (void)m_keychain.deleteVaultKey();  // no key without its vault
        return fail(written.error());
    }
    m_doc = std::move(document);
    m_key = std::move(key);
    m_phase = VaultPhase::ready;
    return m_doc.vaultId;
}

Result<void, VaultError> VaultStore::change(const std::function<void(VaultDocument&)>& edit) {
    if (auto ready = requireReady(); !ready) return ready;
    edit(m_doc);
    scheduleSave();
    return {};
}

bool VaultStore::authenticate(const std::string& reason) { return admits(m_setup.authenticator.authenticate(reason)); }

void VaultStore::setScopePersonId(std::optional<std::string> personId) {
    const bool live = personId && std::any_of(m_doc.people.begin(), m_doc.people.end(), [&](const Person& person) {
                          return !person.deleted && person.id == *personId;
                      });
    m_scopePersonId = live ? std::move(personId) : std::nullopt;
}

Result<void, VaultError> VaultStore::updatePerson(Person person) {
    if (auto ready = requireReady(); !ready) return ready;
    auto found = std::find_if(m_doc.people.begin(), m_doc.people.end(),
                              [&](const Person& existing) { return !existing.deleted && existing.id == person.id; });
    if (found == m_doc.people.end()) return fail(VaultError::noSuchRecord());
    person.updatedAt = Timestamp::now(m_setup.clock);
    m_profileUndo.push_back(std::exchange(*found, std::move(person)));
    scheduleSave();
    return {};
}

Result<void, VaultError> VaultStore::undoProfileEdit() {
    if (auto ready = requireReady(); !ready) return ready;
    if (m_profileUndo.empty()) return {};
    Person earlier = std::move(m_profileUndo.back());
    m_profileUndo.pop_back();
    auto found = std::find_if(m_doc.people.begin(), m_doc.people.end(),
                              [&](const Person& existing) { return existing.id == earlier.id; });
    if (found == m_doc.people.end()) return fail(VaultError::noSuchRecord());
    // The restored value is a newer change than the one it undoes.
    earlier.updatedAt = Timestamp::now(m_setup.clock);
    *found = std::move(earlier);
    scheduleSave();
    return {};
}

void VaultStore::scheduleSave() {
    if (m_pendingSave) m_setup.scheduler.cancel(*m_pendingSave);
    m_pendingSave = m_setup.scheduler.schedule(kSaveDelay, [this] {
        m_pendingSave.reset();
        // A failed background save keeps the edit in memory; the next edit or flush tries again.
        if (!save()) scheduleSave();
    });
}

Result<void, VaultError> VaultStore::save() {
    auto saved = files(m_key.clone()).saveDocument(m_doc);
    if (!saved) {
        m_lastSaveError = saved.error();
        return saved;
    }
    m_lastSaveError.reset();
    m_unsaved.reset();
    // vault.pbv now holds everything the pending file did.
    if (m_setup.files.exists(pendingPath())) (void)m_setup.files.removeFile(pendingPath());
    return {};
}

Result<void, VaultError> VaultStore::keepUnsaved() {
    if (m_pendingSave) m_setup.scheduler.cancel(*m_pendingSave);
    m_pendingSave.reset();  // its retry would need the key that is about to go
    auto sealed = files(m_key.clone()).sealedDocument(m_doc);
    if (!sealed) return fail(sealed.error());
    // Best effort: the folder that refused vault.pbv may refuse this too, and memory still holds it.
    (void)m_setup.files.replaceFileAtomically(pendingPath(), *sealed);
    m_unsaved = std::move(sealed).value();
    return {};
}

Result<void, VaultError> VaultStore::flush() {
    if (!m_pendingSave) return {};
    m_setup.scheduler.cancel(*m_pendingSave);
    m_pendingSave.reset();
    auto saved = save();
    if (!saved) scheduleSave();
    return saved;
}

Result<DocumentRecord, VaultError> VaultStore::addDocument(ByteView bytes, DocumentRecord record) {
    if (auto ready = requireReady(); !ready) return fail(ready.error());
    auto hash = files(m_key.clone()).storeBlob(bytes);
    if (!hash) return fail(hash.error());
    const Timestamp now = Timestamp::now(m_setup.clock);
    if (record.id.empty()) record.id = newUUID();
    record.blobHash = std::move(hash).value();
    record.size = static_cast<std::int64_t>(bytes.size());
    record.addedAt = now;
    record.updatedAt = now;
    m_doc.documents.push_back(record);
    scheduleSave();
    return record;
}

Result<std::filesystem::path, VaultError> VaultStore::temporaryFile(std::string_view documentId) {
    if (auto ready = requireReady(); !ready) return fail(ready.error());
    const DocumentRecord* found = m_doc.liveDocument(documentId);
    if (!found) return fail(VaultError::noSuchRecord());
    return files(m_key.clone()).temporaryFile(*found);
}

Result<SecureBytes, VaultError> VaultStore::documentBytes(std::string_view documentId) {
    if (auto ready = requireReady(); !ready) return fail(ready.error());
    const DocumentRecord* found = m_doc.liveDocument(documentId);
    if (!found) return fail(VaultError::noSuchRecord());
    auto plain = files(m_key.clone()).readBlob(found->blobHash);
    if (!plain) return fail(plain.error());
    SecureBytes bytes{ByteView(*plain)};
    secureWipe(plain->data(), plain->size());
    return bytes;
}

Result<void, VaultError> VaultStore::saveDocumentCopy(std::string_view documentId,
                                                      const std::filesystem::path& destination) {
    auto plain = documentBytes(documentId);
    if (!plain) return fail(plain.error());
    if (auto written = m_setup.files.replaceFileAtomically(destination, ByteView(plain->data(), plain->size())); !written)
        return storageFailure(written.error());
    return {};
}

Result<void, VaultError> VaultStore::clearTemporaryFiles() { return files({}).clearTemporaryFiles(); }

Result<void, VaultError> VaultStore::exportKeyFile(const std::filesystem::path& path, std::string_view passphrase) {
    if (auto ready = requireReady(); !ready) return ready;
    auto keyFile = KeyFile::make(m_key, passphrase, m_doc.vaultId, m_setup.clock);
    if (!keyFile) return fail(keyFile.error());
    const std::string json = keyFile->toJSON();
    if (auto written = m_setup.files.replaceFileAtomically(path, asBytes(json)); !written)
        return storageFailure(written.error());
    return {};
}

Result<VaultStore::JoinFolder, VaultError> VaultStore::readJoinFolder(const std::filesystem::path& folder,
                                                                      std::string_view passphrase) const {
    // The folder may be shared with others: nothing in it is followed or trusted by its name alone.
    auto keyText = m_setup.files.readRegularFile(folder / kKeyFileName, VaultFiles::kKeyFileMaxBytes);
    if (!keyText) return storageFailure(keyText.error());
    auto keyFile = KeyFile::parse(asText(*keyText));
    if (!keyFile) return fail(keyFile.error());
    auto key = keyFile->open(passphrase);
    if (!key) return fail(key.error());
    auto sealed = m_setup.files.readRegularFile(folder / VaultFiles::kDocumentFileName, VaultFiles::kDocumentMaxBytes);
    if (!sealed) return storageFailure(sealed.error());
    auto plain = Sealer::open(*sealed, key->view(), kJSONReadPadding);
    if (!plain) return fail(plain.error());
    auto document = decodeVaultDocument(std::move(*plain));
    if (!document) return fail(VaultError::badFormat());
    return JoinFolder{std::move(key).value(), std::move(sealed).value(), VaultFiles::referencedBlobs(*document)};
}

Result<void, VaultError> VaultStore::join(const std::filesystem::path& folder, std::string_view passphrase) {
    if (auto started = start(); !started) return started;
    if (m_phase == VaultPhase::ready || m_phase == VaultPhase::locked) return fail(VaultError::vaultExists());

    auto joining = readJoinFolder(folder, passphrase);
    if (!joining) return fail(joining.error());
    const auto blobsFolder = folder / VaultFiles::kBlobsFolderName;
    return install(std::move(joining->key), joining->sealedDocument, joining->blobs,
                   [&](const std::string& hash) -> Result<Bytes, VaultError> {
                       auto blob = m_setup.files.readRegularFile(blobsFolder / VaultFiles::blobFileName(hash),
                                                                 VaultFiles::kBlobMaxBytes);
                       if (!blob) return storageFailure(blob.error());
                       return std::move(blob).value();
                   });
}

Result<void, VaultError> VaultStore::checkJoin(const std::filesystem::path& folder, std::string_view passphrase) const {
    auto joining = readJoinFolder(folder, passphrase);
    if (!joining) return fail(joining.error());
    return {};
}

Result<void, VaultError> VaultStore::install(
    SecureBytes key, const Bytes& sealedDocument, const std::set<std::string>& blobs,
    const std::function<Result<Bytes, VaultError>(const std::string& hash)>& sealedBlob) {
    auto previousKey = m_keychain.loadVaultKey();
    if (!previousKey) return fail(previousKey.error());

    FileSystem& disk = m_setup.files;
    const auto staging = stagingDirectory();
    const auto stagedBlobs = staging / VaultFiles::kBlobsFolderName;
    std::unique_ptr<FileLock> stagingLock;
    const auto abandon = [&](VaultError error) {
        stagingLock.reset();
        (void)disk.removeAll(staging);
        return fail(std::move(error));
    };
    if (auto cleared = disk.removeAll(staging); !cleared) return storageFailure(cleared.error());
    if (auto made = disk.createDirectories(stagedBlobs); !made) return abandon(VaultError::storage(made.error()));
    // Locked before it becomes the vault folder, so the vault is never without its lock.
    {
        auto lock = disk.lockExclusively(staging / kLockFileName);
        if (!lock) return abandon(VaultError::storage(lock.error()));
        if (!*lock) return abandon(VaultError::inUse());
        stagingLock = std::move(**lock);
    }
    for (const std::string& hash : blobs) {
        auto sealed = sealedBlob(hash);
        if (!sealed) return abandon(sealed.error());
        if (auto checked = VaultFiles::checkSealedBlob(*sealed, key, hash); !checked) return abandon(checked.error());
        // Nothing reads the staging folder until the swap, so each file is written in place
        // and the folders flushed once, which keeps a large restore near the speed of copying.
        if (auto written = disk.createFile(stagedBlobs / VaultFiles::blobFileName(hash), *sealed); !written)
            return abandon(VaultError::storage(written.error()));
    }
    if (auto written = disk.createFile(staging / VaultFiles::kDocumentFileName, sealedDocument); !written)
        return abandon(VaultError::storage(written.error()));
    disk.flushFolder(stagedBlobs);
    disk.flushFolder(staging);

    // The files stay as they were on any failure from here, so the key that opens them must too
    // (saving replaces the item, and a refused save may already have removed the old one).
    const auto putBackKey = [&] {
        if (*previousKey)
            (void)m_keychain.saveVaultKey(**previousKey);
        else
            (void)m_keychain.deleteVaultKey();
    };
    if (auto saved = m_keychain.saveVaultKey(key); !saved) {
        putBackKey();
        return abandon(saved.error());
    }
    if (auto swapped = disk.exchange(staging, vaultDirectory()); !swapped) {
        putBackKey();
        return abandon(VaultError::storage(swapped.error()));
    }
    // The staging path now names the replaced vault, and its lock file the one this process held.
    m_lock = std::move(stagingLock);
    (void)disk.removeAll(staging);
    (void)files({}).clearTemporaryFiles();  // plain copies of the replaced vault's documents
    if (m_pendingSave) m_setup.scheduler.cancel(*m_pendingSave);
    m_pendingSave.reset();
    m_doc = VaultDocument{};
    m_profileUndo.clear();
    m_scopePersonId.reset();
    m_key = SecureBytes{};
    m_phase = VaultPhase::welcome;
    return openWith(std::move(key));
}

Result<void, VaultError> VaultStore::erase() {
    if (auto held = holdVault(); !held) return held;
    if (m_pendingSave) m_setup.scheduler.cancel(*m_pendingSave);
    m_pendingSave.reset();
    auto erased = files({}).erase(m_keychain);
    (void)m_setup.files.removeFile(pendingPath());
    m_unsaved.reset();
    m_lastSaveError.reset();
    m_doc = VaultDocument{};
    m_profileUndo.clear();
    m_scopePersonId.reset();
    m_key = SecureBytes{};
    m_phase = VaultPhase::welcome;
    return erased;
}

}  // namespace corvale

#pragma once
// The single owner of the open vault: the decrypted document, the phase it is
// in, the debounced save, and the vault's life cycle (create, unlock, lock,
// join, back up, restore, erase). Everything that changes records goes
// through `change`. Not thread-safe: it belongs to one thread, which also
// drives its Scheduler.

#include "platform/Clock.h"
#include "platform/DeviceAuthenticator.h"
#include "platform/FileSystem.h"
#include "platform/Scheduler.h"
#include "platform/SecretStore.h"
#include "records/VaultDocument.h"
#include "vault/Prefs.h"
#include "vault/VaultError.h"
#include "vault/VaultFiles.h"
#include "vault/VaultKeychain.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

enum class VaultPhase { loading, welcome, locked, ready };

std::string_view rawValue(VaultPhase phase);

struct VaultStoreSetup {
    FileSystem& files;
    SecretStore& secrets;
    const Clock& clock;
    Scheduler& scheduler;
    DeviceAuthenticator& authenticator;
    // Holds Corvale/Vault (and an older installation's Pembrose folder).
    std::filesystem::path supportDirectory;
    std::filesystem::path prefsFile;
    // Where plain copies and exported backups are made.
    std::filesystem::path temporaryDirectory;

    // The real locations of this user.
    static VaultStoreSetup standard(FileSystem& files, SecretStore& secrets, const Clock& clock, Scheduler& scheduler,
                                    DeviceAuthenticator& authenticator);
};

// What onboarding gathers before the first save.
struct Onboarding {
    Person owner;
    std::vector<std::string> states;  // the owner's licence states, primary first
    std::vector<Credential> credentials;
    bool managerOnly = false;  // the owner manages others and holds no licences
};

class VaultStore {
public:
    static constexpr std::chrono::milliseconds kSaveDelay{400};
    static constexpr std::string_view kKeyFileName = "vault.key";
    static constexpr std::string_view kPendingFileName = "vault.pending";

    explicit VaultStore(VaultStoreSetup setup);
    // Quitting writes what is pending.
    ~VaultStore();
    VaultStore(const VaultStore&) = delete;
    VaultStore& operator=(const VaultStore&) = delete;

    VaultPhase phase() const { return m_phase; }
    // Empty whenever the phase is not ready.
    const VaultDocument& doc() const { return m_doc; }
    Prefs& prefs() { return m_prefs; }
    std::filesystem::path vaultDirectory() const;
    // Whether vault.pbv is here, opened or not (its key may be missing).
    bool hasVaultFile() const;
    bool hasPendingSave() const { return m_pendingSave.has_value(); }
    // Why the last save of this document failed; absent once a save succeeds.
    // Survives a lock, so the lock screen can say the latest changes wait.
    const std::optional<VaultError>& lastSaveError() const { return m_lastSaveError; }

    // loading → welcome (no vault or no key), locked (app lock on) or ready.
    // inUse when another process holds this vault.
    Result<void, VaultError> start();
    // From welcome: a fresh key in the secret store and a new document, saved at once.
    Result<std::string, VaultError> create(Onboarding onboarding);
    Result<void, VaultError> unlockWithoutAuth();
    // From locked: asks the device owner ("Unlock Corvale"); a wrong password
    // (wrongPassword) or a closed prompt (cancelled) leaves the vault locked.
    Result<void, VaultError> unlock();
    // Only with app lock on: flushes the pending save, then forgets the
    // document and the key. A save that fails does not stop the lock: the
    // document is kept sealed under the key, in memory and in vault.pending
    // where the folder allows, and becomes the document again on unlock,
    // where its save is retried. Fails only when even sealing fails, and then
    // stays open so nothing is lost.
    Result<void, VaultError> lock();
    Result<void, VaultError> setAppLock(bool enabled);

    // Applies an edit to the open document and schedules the debounced save:
    // a burst of edits gives one write. `locked` unless the vault is ready.
    Result<void, VaultError> change(const std::function<void(VaultDocument&)>& edit);
    // Writes the pending save now, if any.
    Result<void, VaultError> flush();

    // Asks the device owner; true when they pass or the device cannot ask at all.
    bool authenticate(const std::string& reason);

    // The person the screens are narrowed to; absent shows everyone. Kept only
    // while it names a live person.
    const std::optional<std::string>& scopePersonId() const { return m_scopePersonId; }
    void setScopePersonId(std::optional<std::string> personId);

    // Replaces the person with the same id, remembering the earlier value so
    // the edit can be undone. `noSuchRecord` when no live person has that id.
    Result<void, VaultError> updatePerson(Person person);
    bool canUndoProfileEdit() const { return !m_profileUndo.empty(); }
    // Puts back the value the last `updatePerson` replaced.
    Result<void, VaultError> undoProfileEdit();

    // Stores the bytes as a sealed blob and adds the record (hash, size, time filled in).
    Result<DocumentRecord, VaultError> addDocument(ByteView bytes, DocumentRecord record);
    Result<std::filesystem::path, VaultError> temporaryFile(std::string_view documentId);
    // The document's plain bytes in a wiping buffer, for a preview drawn in memory.
    Result<SecureBytes, VaultError> documentBytes(std::string_view documentId);
    // The document's plain bytes written atomically to `destination`, for a
    // copy the user keeps where they chose (when nothing here can open it).
    Result<void, VaultError> saveDocumentCopy(std::string_view documentId, const std::filesystem::path& destination);
    Result<void, VaultError> clearTemporaryFiles();

    // Writes the vault key, wrapped under the passphrase, as a key file.
    Result<void, VaultError> exportKeyFile(const std::filesystem::path& path, std::string_view passphrase);
    // From welcome: `folder` holds vault.pbv, vault.key and perhaps blobs/.
    // Reads only plain files of bounded size, never through links, and takes
    // only the blobs the document refers to, each proven before it is copied.
    // Any failure, a wrong passphrase first, changes nothing.
    Result<void, VaultError> join(const std::filesystem::path& folder, std::string_view passphrase);
    // Whether join would open that folder's vault: the passphrase opens the key
    // file, and the document opens under the key. Reads only, so it can vet a
    // folder before an unreadable vault is erased for it.
    Result<void, VaultError> checkJoin(const std::filesystem::path& folder, std::string_view passphrase) const;

    // A passphrase-protected archive of the key file, the sealed document and the
    // sealed blobs of every live document, written atomically. By default
    // "Corvale Backup <today>.pbbackup" in the temporary directory's backup
    // folder, which must be this user's own: a link or another user's folder there is refused.
    static std::string defaultBackupFolderName();
    Result<std::filesystem::path, VaultError> exportBackup(std::string_view passphrase,
                                                           std::optional<std::filesystem::path> destination = {});
    // From welcome (or after erase). The backup is proven whole before this
    // device changes: its key opens with the passphrase, its archive is
    // consistent, its document opens, and it holds exactly the blobs the
    // document refers to, each opening under the key to bytes of its name.
    // Any failure leaves what was on the device, files and key, as it was.
    Result<void, VaultError> restoreBackup(const std::filesystem::path& archive, std::string_view passphrase);
    // The same over the open vault, which stays open and unchanged (its
    // pending edits saved) unless the whole backup takes its place.
    Result<void, VaultError> replaceWithBackup(const std::filesystem::path& archive, std::string_view passphrase);
    // Whether restoring would succeed as far as the archive goes. Reads only.
    Result<void, VaultError> checkBackup(const std::filesystem::path& archive, std::string_view passphrase) const;

    // Back to the first-run state: vault file, blobs, plain copies and key gone.
    Result<void, VaultError> erase();

private:
    Result<void, VaultError> requireReady() const;
    Result<void, VaultError> holdVault();
    Result<void, VaultError> openWith(SecureBytes key);
    // Makes a vault brought from elsewhere this device's: builds it in a
    // staging folder beside the vault's (the document and each of `blobs`,
    // fetched sealed by `sealedBlob` and proven under the key), saves the key,
    // then swaps the staging folder into the vault's place in one step and
    // opens it. A failure removes the staging folder and puts the old key back.
    Result<void, VaultError> install(
        SecureBytes key, const Bytes& sealedDocument, const std::set<std::string>& blobs,
        const std::function<Result<Bytes, VaultError>(const std::string& hash)>& sealedBlob);
    Result<void, VaultError> restoreFrom(const std::filesystem::path& archive, std::string_view passphrase);
    // What a join folder holds once its key file opened and its document decoded.
    struct JoinFolder {
        SecureBytes key;
        Bytes sealedDocument;
        std::set<std::string> blobs;  // the hashes the document refers to
    };
    Result<JoinFolder, VaultError> readJoinFolder(const std::filesystem::path& folder,
                                                  std::string_view passphrase) const;
    std::filesystem::path stagingDirectory() const;
    void scheduleSave();
    // Writes the document now and notes whether it worked.
    Result<void, VaultError> save();
    // Seals the unsaved document so it can outlive the key in memory.
    Result<void, VaultError> keepUnsaved();
    std::filesystem::path pendingPath() const;
    void runMigration();
    VaultFiles files(SecureBytes key) const;

    VaultStoreSetup m_setup;
    VaultKeychain m_keychain;
    Prefs m_prefs;
    VaultPhase m_phase = VaultPhase::loading;
    VaultDocument m_doc;
    SecureBytes m_key;
    std::unique_ptr<FileLock> m_lock;
    std::optional<Scheduler::TaskId> m_pendingSave;
    std::optional<VaultError> m_lastSaveError;
    // The document a failed save left behind, sealed under the vault key.
    std::optional<Bytes> m_unsaved;
    std::optional<std::string> m_scopePersonId;
    std::vector<Person> m_profileUndo;
};

}  // namespace corvale

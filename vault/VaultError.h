#pragma once
// Everything that can go wrong opening, reading or writing the vault, with a
// message fit to show the user as it is.

#include "platform/FileSystem.h"

#include <cstdint>
#include <string>

namespace corvale {

struct VaultError {
    enum class Code {
        keychain,         // a platform keychain refused; see `status`
        keyringRefused,   // the keyring refused for a reason of its own; see `status`
        keyringLocked,    // the keyring stayed locked
        noKeyring,        // no keyring answers on this desktop
        badFormat,        // not a vault or key file at all
        wrongPassphrase,  // a key file that the passphrase does not open
        keyMissing,       // no vault key on this device
        noSyncFolder,     // syncing before a folder was chosen
        damaged,          // sealed data that fails authentication under a well-formed key
        sealFailed,       // the crypto library refused to run
        storage,          // the file system failed; see `file`
        inUse,            // another process holds this vault
        locked,           // records asked for while the vault is not open
        vaultExists,      // creating or restoring over a vault that is there
        noVault,          // opening where there is nothing to open
        noSuchRecord,     // an id this vault does not hold
        wrongPassword,    // the account password did not pass app lock
        cancelled,        // the owner closed the password prompt; nothing to show
        archive,          // a backup archive could not be written or read; see `detail`
    };

    Code code = Code::badFormat;
    std::int32_t status = 0;  // keychain and keyringRefused: the store's own number, a detail for support
    FileError file;           // storage only
    std::string detail;       // archive only: the archive's own sentence

    std::string message() const;

    static VaultError keychain(std::int32_t status);
    static VaultError keyringRefused(std::int32_t status);
    static VaultError keyringLocked() { return withCode(Code::keyringLocked); }
    static VaultError noKeyring() { return withCode(Code::noKeyring); }
    static VaultError badFormat() { return withCode(Code::badFormat); }
    static VaultError wrongPassphrase() { return withCode(Code::wrongPassphrase); }
    static VaultError keyMissing() { return withCode(Code::keyMissing); }
    static VaultError noSyncFolder() { return withCode(Code::noSyncFolder); }
    static VaultError damaged() { return withCode(Code::damaged); }
    static VaultError sealFailed() { return withCode(Code::sealFailed); }
    static VaultError storage(FileError error);
    static VaultError inUse() { return withCode(Code::inUse); }
    static VaultError locked() { return withCode(Code::locked); }
    static VaultError vaultExists() { return withCode(Code::vaultExists); }
    static VaultError noVault() { return withCode(Code::noVault); }
    static VaultError noSuchRecord() { return withCode(Code::noSuchRecord); }
    static VaultError wrongPassword() { return withCode(Code::wrongPassword); }
    static VaultError cancelled() { return withCode(Code::cancelled); }
    static VaultError archive(std::string detail) {
        VaultError error = withCode(Code::archive);
        error.detail = std::move(detail);
        return error;
    }

private:
    static VaultError withCode(Code code) {
        VaultError error;
        error.code = code;
        return error;
    }
};

}  // namespace corvale

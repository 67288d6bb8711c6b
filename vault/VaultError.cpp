#include "vault/VaultError.h"

#include <utility>

namespace corvale {

VaultError VaultError::keychain(std::int32_t status) {
    VaultError error = withCode(Code::keychain);
    error.status = status;
    return error;
}

VaultError VaultError::keyringRefused(std::int32_t status) {
    VaultError error = withCode(Code::keyringRefused);
    error.status = status;
    return error;
}

VaultError VaultError::storage(FileError error) {
    VaultError result = withCode(Code::storage);
    result.file = std::move(error);
    return result;
}

std::string VaultError::message() const {
    switch (code) {
    case Code::keychain:
        return "Keychain error " + std::to_string(status) + ".";
    case Code::keyringRefused:
        return "The keyring turned down Corvale's request (error " + std::to_string(status) +
               "), so unlock your keyring and try again.";
    case Code::keyringLocked:
        return "Your keyring is locked, so unlock it and try again.";
    case Code::noKeyring:
        return "No keyring is running on this desktop, so sign in to a desktop session with GNOME Keyring or KWallet "
               "and try again.";
    case Code::badFormat:
        return "This file isn't a Corvale vault.";
    case Code::wrongPassphrase:
        return "That passphrase doesn't unlock this vault.";
    case Code::keyMissing:
        return "The vault key is missing from this device.";
    case Code::noSyncFolder:
        return "Choose a sync folder first.";
    case Code::damaged:
        return "This vault file is damaged or was sealed with another key, so restore it from a backup.";
    case Code::sealFailed:
        return "Encryption isn't working on this device right now, so restart Corvale and try again.";
    case Code::storage:
        return file.message();
    case Code::inUse:
        return "This vault is open in another Corvale window or command, so close it there and try again.";
    case Code::locked:
        return "The vault is locked, so unlock it first.";
    case Code::vaultExists:
        return "A vault is already on this device, so open it, or join or restore it if its key is missing.";
    case Code::noVault:
        return "There's no vault on this device yet, so create, join or restore one first.";
    case Code::noSuchRecord:
        return "That record isn't in this vault, so check its id.";
    case Code::archive:
        return detail;
    case Code::wrongPassword:
        return "That password isn't right, so try again.";
    case Code::cancelled:
        return "Unlocking was cancelled, so Corvale stays locked.";
    }
    return "This file isn't a Corvale vault.";
}

}  // namespace corvale

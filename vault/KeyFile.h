#pragma once
// The passphrase-protected copy of the vault key that lets another device
// join the vault. JSON with sorted keys:
//   format "pembrose-key", version 1, kdf "PBKDF2-SHA256", iterations,
//   salt (base64), wrappedKey (base64 of a sealed envelope holding the 32-byte
//   vault key under the passphrase key), vaultId, createdAt.

#include "platform/Bytes.h"
#include "platform/Clock.h"
#include "platform/Result.h"
#include "platform/SecureBytes.h"
#include "records/Timestamp.h"
#include "vault/VaultError.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvale {

inline constexpr std::string_view kKeyFileFormat = "pembrose-key";
inline constexpr int kKeyFileVersion = 1;
inline constexpr std::string_view kKeyFileKdf = "PBKDF2-SHA256";
inline constexpr std::uint32_t kKeyFileIterations = 310'000;
// Far above anything we write; a file asking for more is hostile or broken and
// would hang the app.
inline constexpr std::uint32_t kKeyFileMaxIterations = 10'000'000;
inline constexpr std::size_t kKeyFileSaltSize = 16;
inline constexpr std::size_t kVaultKeySize = 32;

struct PBKDF2 {
    // PBKDF2-HMAC-SHA256 over the passphrase's UTF-8 bytes, 32 bytes long.
    static Result<SecureBytes, VaultError> deriveKey(std::string_view passphrase, ByteView salt,
                                                     std::uint32_t iterations);
};

// A fresh random vault key.
SecureBytes makeVaultKey();

struct KeyFile {
    std::uint32_t iterations = kKeyFileIterations;
    Bytes salt;
    Bytes wrappedKey;
    std::string vaultId;
    Timestamp createdAt;

    static Result<KeyFile, VaultError> make(const SecureBytes& vaultKey, std::string_view passphrase,
                                            std::string vaultId, const Clock& clock);
    // Same with a chosen iteration count; tests use a low one to stay fast.
    static Result<KeyFile, VaultError> make(const SecureBytes& vaultKey, std::string_view passphrase,
                                            std::string vaultId, const Clock& clock, std::uint32_t iterations);

    // badFormat for anything that is not a well-formed key file of a version we read.
    static Result<KeyFile, VaultError> parse(std::string_view json);

    std::string toJSON() const;

    // The vault key, or wrongPassphrase. Touches nothing outside this object.
    Result<SecureBytes, VaultError> open(std::string_view passphrase) const;
};

}  // namespace corvale

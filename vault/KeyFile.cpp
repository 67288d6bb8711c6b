#include "vault/KeyFile.h"

#include "platform/Crypto.h"
#include "records/JSONReader.h"
#include "records/JSONValue.h"
#include "records/JSONWriter.h"
#include "vault/Sealer.h"

#include <cmath>
#include <optional>
#include <utility>

namespace corvale {

namespace {

const std::string* stringField(const JSONValue& root, std::string_view key) {
    const JSONValue* value = root.find(key);
    return value != nullptr && value->isString() ? &value->asString() : nullptr;
}

// Whole numbers only: 1.5 or 1e400 is not a version or an iteration count.
std::optional<double> integerField(const JSONValue& root, std::string_view key) {
    const JSONValue* value = root.find(key);
    if (value == nullptr || !value->isNumber()) {
        return std::nullopt;
    }
    const double number = value->asNumber();
    if (!std::isfinite(number) || std::floor(number) != number) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

Result<SecureBytes, VaultError> PBKDF2::deriveKey(std::string_view passphrase, ByteView salt,
                                                  std::uint32_t iterations) {
    SecureBytes key = crypto::pbkdf2Sha256(passphrase, salt, iterations, kVaultKeySize);
    if (key.size() != kVaultKeySize) {
        return fail(VaultError::sealFailed());
    }
    return key;
}

SecureBytes makeVaultKey() {
    SecureBytes key(kVaultKeySize);
    crypto::fillRandom({key.data(), key.size()});
    return key;
}

Result<KeyFile, VaultError> KeyFile::make(const SecureBytes& vaultKey, std::string_view passphrase, std::string vaultId,
                                          const Clock& clock) {
    return make(vaultKey, passphrase, std::move(vaultId), clock, kKeyFileIterations);
}

Result<KeyFile, VaultError> KeyFile::make(const SecureBytes& vaultKey, std::string_view passphrase, std::string vaultId,
                                          const Clock& clock, std::uint32_t iterations) {
    if (vaultKey.size() != kVaultKeySize || iterations == 0 || iterations > kKeyFileMaxIterations) {
        return fail(VaultError::sealFailed());
    }
    KeyFile file;
    file.iterations = iterations;
    file.salt = crypto::randomBytes(kKeyFileSaltSize);
    file.vaultId = std::move(vaultId);
    file.createdAt = Timestamp::now(clock);

    auto passphraseKey = PBKDF2::deriveKey(passphrase, file.salt, iterations);
    if (!passphraseKey) {
        return fail(passphraseKey.error());
    }
    auto wrapped = Sealer::seal(vaultKey.view(), passphraseKey->view());
    if (!wrapped) {
        return fail(wrapped.error());
    }
    file.wrappedKey = std::move(wrapped).value();
    return file;
}

Result<KeyFile, VaultError> KeyFile::parse(std::string_view json) {
    auto parsed = parseJSON(json);
    if (!parsed || !parsed->isObject()) {
        return fail(VaultError::badFormat());
    }
    const JSONValue& root = *parsed;

    const std::string* format = stringField(root, "format");
    const std::string* kdf = stringField(root, "kdf");
    const std::string* salt = stringField(root, "salt");
    const std::string* wrappedKey = stringField(root, "wrappedKey");
    const std::string* vaultId = stringField(root, "vaultId");
    const std::string* createdAt = stringField(root, "createdAt");
    const auto version = integerField(root, "version");
    const auto iterations = integerField(root, "iterations");
    if (format == nullptr || *format != kKeyFileFormat || kdf == nullptr || *kdf != kKeyFileKdf || salt == nullptr ||
        wrappedKey == nullptr || vaultId == nullptr || createdAt == nullptr || !version ||
        *version != kKeyFileVersion || !iterations || *iterations < 1 || *iterations > kKeyFileMaxIterations) {
        return fail(VaultError::badFormat());
    }

    auto saltBytes = crypto::base64Decode(*salt);
    auto wrappedBytes = crypto::base64Decode(*wrappedKey);
    auto created = Timestamp::parse(*createdAt);
    if (!saltBytes || saltBytes->empty() || !wrappedBytes || !Sealer::looksSealed(*wrappedBytes) || !created) {
        return fail(VaultError::badFormat());
    }

    KeyFile file;
    file.iterations = static_cast<std::uint32_t>(*iterations);
    file.salt = std::move(*saltBytes);
    file.wrappedKey = std::move(*wrappedBytes);
    file.vaultId = *vaultId;
    file.createdAt = *created;
    return file;
}

std::string KeyFile::toJSON() const {
    JSONObject object;
    object.emplace("format", std::string(kKeyFileFormat));
    object.emplace("version", kKeyFileVersion);
    object.emplace("kdf", std::string(kKeyFileKdf));
    object.emplace("iterations", static_cast<long long>(iterations));
    object.emplace("salt", crypto::base64Encode(salt));
    object.emplace("wrappedKey", crypto::base64Encode(wrappedKey));
    object.emplace("vaultId", vaultId);
    object.emplace("createdAt", createdAt.toString());
    return writeJSON(JSONValue(std::move(object)));
}

Result<SecureBytes, VaultError> KeyFile::open(std::string_view passphrase) const {
    auto passphraseKey = PBKDF2::deriveKey(passphrase, salt, iterations);
    if (!passphraseKey) {
        return fail(passphraseKey.error());
    }
    auto plain = Sealer::open(wrappedKey, passphraseKey->view());
    if (!plain) {
        return fail(VaultError::wrongPassphrase());
    }
    // A wrapped value of the wrong size can only come from a different key
    // file format or a forged one; either way this passphrase opens no vault.
    SecureBytes key{ByteView(*plain)};
    secureWipe(plain->data(), plain->size());
    if (key.size() != kVaultKeySize) {
        return fail(VaultError::wrongPassphrase());
    }
    return key;
}

}  // namespace corvale

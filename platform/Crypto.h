#pragma once
// The cryptographic primitives the core uses. Implemented on OpenSSL 3 on Linux.
// All functions are thread-safe. Verification answers false; nothing throws.

#include "platform/Bytes.h"
#include "platform/SecureBytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvale::crypto {

inline constexpr std::size_t kAesKeySize = 32;
inline constexpr std::size_t kGcmNonceSize = 12;
inline constexpr std::size_t kGcmTagSize = 16;

using Sha256Digest = std::array<std::uint8_t, 32>;

// Secure random bytes from the system source. Aborts if the source fails:
// continuing without randomness would be worse than stopping.
void fillRandom(std::span<std::uint8_t> out);
Bytes randomBytes(std::size_t count);

Sha256Digest sha256(ByteView data);

// AES-256-GCM. Appends ciphertext and the 16-byte tag to `out`, so a caller
// can write its own header first without copying the ciphertext after.
// Returns false, leaving `out` as it was, only if the library refuses (wrong key or nonce size).
bool aesGcmSeal(ByteView key, ByteView nonce, ByteView additionalData, ByteView plain, Bytes& out);

// Verifies and decrypts ciphertext||tag into `plain`. False when verification fails.
bool aesGcmOpen(ByteView key, ByteView nonce, ByteView additionalData, ByteView cipherAndTag, Bytes& plain);

// PBKDF2-HMAC-SHA256; empty result when the library refuses the parameters.
SecureBytes pbkdf2Sha256(std::string_view passphrase, ByteView salt, std::uint32_t iterations,
                         std::size_t length);

std::string base64Encode(ByteView data);
// Strict standard alphabet with padding; absent on any malformed input.
std::optional<Bytes> base64Decode(std::string_view text);

std::string hexLower(ByteView data);

}  // namespace corvale::crypto

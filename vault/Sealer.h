#pragma once
// The sealed envelope used for vault.pbv, every blob and the wrapped key:
//   "PBV1" | 12-byte nonce | AES-256-GCM ciphertext | 16-byte tag
// The magic is also the additional authenticated data, so a header swapped
// onto another file's body fails to open.

#include "platform/Bytes.h"
#include "platform/Result.h"
#include "vault/VaultError.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace corvale {

class Sealer {
public:
    static constexpr std::array<std::uint8_t, 4> kMagic = {'P', 'B', 'V', '1'};
    static constexpr std::size_t kNonceOffset = 4;
    static constexpr std::size_t kHeaderSize = 16;
    static constexpr std::size_t kMinimumSize = 32;  // header and tag around an empty plaintext

    // A fresh random nonce for every call.
    static Result<Bytes, VaultError> seal(ByteView plain, ByteView key);
    // Deterministic; for known-answer checks. Never reuse a nonce with one key.
    static Result<Bytes, VaultError> seal(ByteView plain, ByteView key, ByteView nonce);

    // badFormat when it cannot be an envelope; damaged when it fails
    // authentication (wrong key or altered bytes); sealFailed for a key that is
    // not 32 bytes.
    // `spareCapacity` reserves room past the plain bytes, so a parser that
    // reads ahead can use the buffer where it lies.
    static Result<Bytes, VaultError> open(ByteView envelope, ByteView key, std::size_t spareCapacity = 0);

    static bool looksSealed(ByteView bytes);
};

}  // namespace corvale

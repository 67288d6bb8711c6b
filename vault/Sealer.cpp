#include "vault/Sealer.h"

#include "platform/Crypto.h"

#include <algorithm>

namespace corvale {

namespace {

ByteView magicView() { return {Sealer::kMagic.data(), Sealer::kMagic.size()}; }

}  // namespace

Result<Bytes, VaultError> Sealer::seal(ByteView plain, ByteView key) {
    std::array<std::uint8_t, crypto::kGcmNonceSize> nonce{};
    crypto::fillRandom(nonce);
    return seal(plain, key, nonce);
}

Result<Bytes, VaultError> Sealer::seal(ByteView plain, ByteView key, ByteView nonce) {
    if (key.size() != crypto::kAesKeySize || nonce.size() != crypto::kGcmNonceSize) {
        return fail(VaultError::sealFailed());
    }
    Bytes cipher;
    if (!crypto::aesGcmSeal(key, nonce, magicView(), plain, cipher)) {
        return fail(VaultError::sealFailed());
    }
    Bytes envelope;
    envelope.reserve(kHeaderSize + cipher.size());
    envelope.insert(envelope.end(), kMagic.begin(), kMagic.end());
    envelope.insert(envelope.end(), nonce.begin(), nonce.end());
    envelope.insert(envelope.end(), cipher.begin(), cipher.end());
    return envelope;
}

bool Sealer::looksSealed(ByteView bytes) {
    return bytes.size() >= kMinimumSize && std::equal(kMagic.begin(), kMagic.end(), bytes.begin());
}

Result<Bytes, VaultError> Sealer::open(ByteView envelope, ByteView key, std::size_t spareCapacity) {
    if (!looksSealed(envelope)) {
        return fail(VaultError::badFormat());
    }
    if (key.size() != crypto::kAesKeySize) {
        return fail(VaultError::sealFailed());
    }
    Bytes plain;
    plain.reserve(envelope.size() - kMinimumSize + spareCapacity);
    if (!crypto::aesGcmOpen(key, envelope.subspan(kNonceOffset, crypto::kGcmNonceSize), magicView(),
                            envelope.subspan(kHeaderSize), plain)) {
        return fail(VaultError::damaged());
    }
    return plain;
}

}  // namespace corvale

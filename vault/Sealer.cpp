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
    Bytes envelope(kHeaderSize);
    envelope.reserve(kHeaderSize + plain.size() + crypto::kGcmTagSize);
    std::copy(kMagic.begin(), kMagic.end(), envelope.begin());
    std::copy(nonce.begin(), nonce.end(), envelope.begin() + kMagic.size());
    if (!crypto::aesGcmSeal(key, nonce, magicView(), plain, envelope)) {
        return fail(VaultError::sealFailed());
    }
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

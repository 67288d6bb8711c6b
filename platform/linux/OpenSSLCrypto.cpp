#include "platform/Crypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>

namespace corvale {

void secureWipe(void* data, std::size_t size) {
    if (data != nullptr && size != 0) {
        OPENSSL_cleanse(data, size);
    }
}

}  // namespace corvale

namespace corvale::crypto {

namespace {

struct CipherContextFree {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, CipherContextFree>;

// OpenSSL takes int lengths; feed larger buffers in pieces.
constexpr std::size_t kMaxChunk = std::size_t{1} << 30;

// Some OpenSSL entry points dislike a null pointer even with a zero length.
const unsigned char kEmpty[1] = {0};

const unsigned char* pointerOrEmpty(ByteView bytes) { return bytes.empty() ? kEmpty : bytes.data(); }

bool addAdditionalData(EVP_CIPHER_CTX* context, ByteView data, bool encrypting) {
    for (std::size_t offset = 0; offset < data.size(); offset += kMaxChunk) {
        const auto chunk = static_cast<int>(std::min(kMaxChunk, data.size() - offset));
        int written = 0;
        const int ok = encrypting ? EVP_EncryptUpdate(context, nullptr, &written, data.data() + offset, chunk)
                                  : EVP_DecryptUpdate(context, nullptr, &written, data.data() + offset, chunk);
        if (ok != 1) {
            return false;
        }
    }
    return true;
}

// GCM is a stream mode: output length always equals input length.
bool transform(EVP_CIPHER_CTX* context, ByteView in, std::uint8_t* out, bool encrypting) {
    for (std::size_t offset = 0; offset < in.size(); offset += kMaxChunk) {
        const auto chunk = static_cast<int>(std::min(kMaxChunk, in.size() - offset));
        int written = 0;
        const int ok = encrypting ? EVP_EncryptUpdate(context, out + offset, &written, in.data() + offset, chunk)
                                  : EVP_DecryptUpdate(context, out + offset, &written, in.data() + offset, chunk);
        if (ok != 1 || written != chunk) {
            return false;
        }
    }
    return true;
}

CipherContext startGcm(ByteView key, ByteView nonce, bool encrypting) {
    if (key.size() != kAesKeySize || nonce.size() != kGcmNonceSize) {
        return nullptr;
    }
    CipherContext context(EVP_CIPHER_CTX_new());
    if (!context) {
        return nullptr;
    }
    const auto init = encrypting ? EVP_EncryptInit_ex : EVP_DecryptInit_ex;
    if (init(context.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) != 1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_IVLEN, static_cast<int>(kGcmNonceSize), nullptr) != 1 ||
        init(context.get(), nullptr, nullptr, key.data(), nonce.data()) != 1) {
        return nullptr;
    }
    return context;
}

constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int base64Value(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

}  // namespace

void fillRandom(std::span<std::uint8_t> out) {
    for (std::size_t offset = 0; offset < out.size(); offset += kMaxChunk) {
        const auto chunk = static_cast<int>(std::min(kMaxChunk, out.size() - offset));
        if (RAND_bytes(out.data() + offset, chunk) != 1) {
            std::abort();
        }
    }
}

Bytes randomBytes(std::size_t count) {
    Bytes bytes(count);
    fillRandom(bytes);
    return bytes;
}

Sha256Digest sha256(ByteView data) {
    Sha256Digest digest{};
    unsigned int length = 0;
    if (EVP_Digest(pointerOrEmpty(data), data.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1 ||
        length != digest.size()) {
        // Only an allocation failure inside OpenSSL gets here.
        std::abort();
    }
    return digest;
}

bool aesGcmSeal(ByteView key, ByteView nonce, ByteView additionalData, ByteView plain, Bytes& out) {
    const std::size_t start = out.size();
    CipherContext context = startGcm(key, nonce, true);
    if (!context || !addAdditionalData(context.get(), additionalData, true)) {
        return false;
    }
    out.resize(start + plain.size() + kGcmTagSize);
    std::uint8_t* cipher = out.data() + start;
    int finalLength = 0;
    if (!transform(context.get(), plain, cipher, true) ||
        EVP_EncryptFinal_ex(context.get(), cipher + plain.size(), &finalLength) != 1 || finalLength != 0 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(kGcmTagSize),
                            cipher + plain.size()) != 1) {
        out.resize(start);
        return false;
    }
    return true;
}

bool aesGcmOpen(ByteView key, ByteView nonce, ByteView additionalData, ByteView cipherAndTag, Bytes& plain) {
    plain.clear();
    if (cipherAndTag.size() < kGcmTagSize) {
        return false;
    }
    CipherContext context = startGcm(key, nonce, false);
    if (!context || !addAdditionalData(context.get(), additionalData, false)) {
        return false;
    }
    const ByteView cipher = cipherAndTag.first(cipherAndTag.size() - kGcmTagSize);
    std::array<std::uint8_t, kGcmTagSize> tag{};
    std::copy(cipherAndTag.end() - static_cast<std::ptrdiff_t>(kGcmTagSize), cipherAndTag.end(), tag.begin());

    // Decrypt in place into the caller's buffer to avoid copying large files;
    // unverified bytes are wiped before anyone can see them.
    plain.resize(cipher.size());
    int finalLength = 0;
    std::uint8_t finalBlock[16];
    const bool ok =
        transform(context.get(), cipher, plain.data(), false) &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, static_cast<int>(kGcmTagSize), tag.data()) == 1 &&
        EVP_DecryptFinal_ex(context.get(), finalBlock, &finalLength) == 1 && finalLength == 0;
    if (!ok) {
        secureWipe(plain.data(), plain.size());
        plain.clear();
        return false;
    }
    return true;
}

SecureBytes pbkdf2Sha256(std::string_view passphrase, ByteView salt, std::uint32_t iterations, std::size_t length) {
    if (iterations == 0 || iterations > static_cast<std::uint32_t>(INT_MAX) || length == 0 ||
        length > static_cast<std::size_t>(INT_MAX) || passphrase.size() > static_cast<std::size_t>(INT_MAX) ||
        salt.size() > static_cast<std::size_t>(INT_MAX)) {
        return {};
    }
    SecureBytes key(length);
    const char* password = passphrase.empty() ? "" : passphrase.data();
    if (PKCS5_PBKDF2_HMAC(password, static_cast<int>(passphrase.size()), pointerOrEmpty(salt),
                          static_cast<int>(salt.size()), static_cast<int>(iterations), EVP_sha256(),
                          static_cast<int>(length), key.data()) != 1) {
        return {};
    }
    return key;
}

std::string base64Encode(ByteView data) {
    std::string text;
    text.reserve((data.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= data.size(); i += 3) {
        const std::uint32_t group = (std::uint32_t{data[i]} << 16) | (std::uint32_t{data[i + 1]} << 8) | data[i + 2];
        text.push_back(kBase64Alphabet[(group >> 18) & 0x3F]);
        text.push_back(kBase64Alphabet[(group >> 12) & 0x3F]);
        text.push_back(kBase64Alphabet[(group >> 6) & 0x3F]);
        text.push_back(kBase64Alphabet[group & 0x3F]);
    }
    const std::size_t rest = data.size() - i;
    if (rest > 0) {
        std::uint32_t group = std::uint32_t{data[i]} << 16;
        if (rest == 2) {
            group |= std::uint32_t{data[i + 1]} << 8;
        }
        text.push_back(kBase64Alphabet[(group >> 18) & 0x3F]);
        text.push_back(kBase64Alphabet[(group >> 12) & 0x3F]);
        text.push_back(rest == 2 ? kBase64Alphabet[(group >> 6) & 0x3F] : '=');
        text.push_back('=');
    }
    return text;
}

std::optional<Bytes> base64Decode(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::size_t padding = 0;
    if (!text.empty() && text.back() == '=') {
        padding = text[text.size() - 2] == '=' ? 2 : 1;
    }
    const std::size_t significant = text.size() - padding;
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t accumulator = 0;
    int bits = 0;
    for (std::size_t i = 0; i < significant; ++i) {
        const int value = base64Value(text[i]);
        if (value < 0) {
            return std::nullopt;  // includes '=' anywhere but the end
        }
        accumulator = (accumulator << 6) | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<std::uint8_t>(accumulator >> bits));
            accumulator &= (std::uint32_t{1} << bits) - 1;
        }
    }
    // Leftover bits must be zero so every byte string has exactly one encoding.
    if (accumulator != 0) {
        return std::nullopt;
    }
    return bytes;
}

std::string hexLower(ByteView data) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(data.size() * 2);
    for (const std::uint8_t byte : data) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 0x0F]);
    }
    return text;
}

}  // namespace corvale::crypto

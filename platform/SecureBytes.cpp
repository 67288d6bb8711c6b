#include "platform/SecureBytes.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace corvale {
namespace {

// OpenSSL's secure heap rather than mlock on ordinary allocations: it is one
// mmap'd arena, locked and marked MADV_DONTDUMP as a whole, with guard pages,
// so a key never shares a page with other data and nothing has to count which
// buffers still pin a page. It lies outside the malloc that AddressSanitizer
// replaces, so sanitizer builds run it unchanged. A refused mlock (a small
// RLIMIT_MEMLOCK) still leaves the arena out of core files.
constexpr std::size_t kArenaSize = 256 * 1024;
constexpr std::size_t kSmallestBlock = 32;

void initialiseArena() {
    static const bool started = [] {
        return CRYPTO_secure_malloc_initialized() != 0 || CRYPTO_secure_malloc_init(kArenaSize, kSmallestBlock) != 0;
    }();
    (void)started;
}

std::uint8_t* allocateZeroed(std::size_t size) {
    initialiseArena();
    // No file and line, so a full arena does not leave an error on OpenSSL's queue.
    void* memory = CRYPTO_secure_zalloc(size, nullptr, 0);
    if (memory == nullptr) {
        memory = CRYPTO_zalloc(size, nullptr, 0);  // the arena is full: an ordinary, still wiped, buffer
    }
    if (memory == nullptr) {
        std::abort();  // as `new` would fail: exhaustion, not an expected error
    }
    return static_cast<std::uint8_t*>(memory);
}

}  // namespace

SecureBytes::SecureBytes(std::size_t size) {
    if (size == 0) {
        return;
    }
    m_data = allocateZeroed(size);
    m_size = size;
}

SecureBytes::SecureBytes(ByteView bytes) : SecureBytes(bytes.size()) {
    if (!bytes.empty()) {
        std::copy(bytes.begin(), bytes.end(), m_data);
    }
}

SecureBytes::~SecureBytes() { release(); }

SecureBytes::SecureBytes(SecureBytes&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)) {}

SecureBytes& SecureBytes::operator=(SecureBytes&& other) noexcept {
    if (this != &other) {
        release();
        m_data = std::exchange(other.m_data, nullptr);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

void SecureBytes::release() {
    if (m_data != nullptr) {
        // Wipes first, and frees from whichever heap holds the buffer.
        CRYPTO_secure_clear_free(m_data, m_size, nullptr, 0);
    }
    m_data = nullptr;
    m_size = 0;
}

bool operator==(const SecureBytes& a, const SecureBytes& b) {
    if (a.m_size != b.m_size) {
        return false;
    }
    // Touch every byte so the time taken says nothing about where they differ;
    // volatile keeps the compiler from adding an early exit.
    volatile std::uint8_t difference = 0;
    for (std::size_t i = 0; i < a.m_size; ++i) {
        difference = static_cast<std::uint8_t>(difference | (a.m_data[i] ^ b.m_data[i]));
    }
    return difference == 0;
}

}  // namespace corvale

#pragma once
// Owns secret bytes (keys, passphrase-derived material) and wipes them when
// released. Move-only so a key is never silently duplicated. Not thread-safe.
// The bytes live in memory that is kept out of core files and, where the
// limits allow, out of swap.

#include "platform/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvale {

void secureWipe(void* data, std::size_t size);

class SecureBytes {
public:
    SecureBytes() = default;
    explicit SecureBytes(std::size_t size);
    explicit SecureBytes(ByteView bytes);
    ~SecureBytes();

    SecureBytes(SecureBytes&& other) noexcept;
    SecureBytes& operator=(SecureBytes&& other) noexcept;
    SecureBytes(const SecureBytes&) = delete;
    SecureBytes& operator=(const SecureBytes&) = delete;

    std::uint8_t* data() { return m_data; }
    const std::uint8_t* data() const { return m_data; }
    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    ByteView view() const { return {m_data, m_size}; }
    // For secret text (a passphrase, a password): the bytes read as UTF-8, without a copy.
    std::string_view text() const { return asText(view()); }

    // An explicit copy for the rare place that must hold the key twice.
    SecureBytes clone() const { return SecureBytes(view()); }

    friend bool operator==(const SecureBytes& a, const SecureBytes& b);

private:
    void release();

    std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0;
};

}  // namespace corvale

#include "platform/SecureBytes.h"

#include <algorithm>
#include <utility>

namespace corvale {

SecureBytes::SecureBytes(std::size_t size) {
    if (size == 0) {
        return;
    }
    m_data = new std::uint8_t[size]();
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
        secureWipe(m_data, m_size);
        delete[] m_data;
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
